#pragma once

#include "encoding/AlbumPlaylist.h"
#include "encoding/CoverEmbedder.h"
#include "encoding/ReplayGainMeter.h"

#include <vector>

class Project;

/**
    What the encode run adds to the finished album after its own steps, as the format page's
    toggles ask: the front cover inside each FLAC, Ogg and MP3 file, their ReplayGain (of each
    track, and of the album once the run is through), and a playlist of the album beside the
    tracks. None of it can fail a track: a file that cannot take what it should is left as the
    run made it, and `report` tells what could not be added.

    The run hands `meter` to each track's convertor, then calls `conversionFailed` or, after the
    track's tags and final name, `trackFinished`; and `albumFinished` when every track got
    through. All of it runs on the message thread.
*/
class AlbumExtras
{
public:
    /** Takes the toggles, the output format and the front cover as they are when the run starts. */
    explicit AlbumExtras (Project& project);

    /** What a track's convertor hands its samples to while it encodes them. */
    ReplayGainMeter* meter() { return &gainMeter; }

    /** The track's conversion failed: what was measured of it is forgotten. */
    void conversionFailed();

    /** The track is finished at `file`, tagged and named; `converted` is false for a track that
        was already in the chosen format. */
    void trackFinished (const juce::File& file, const juce::String& title, bool converted);

    /** Every track got through: the album's gain goes into its files, and the playlist is written. */
    void albumFinished();

    /** Empty when everything was added; otherwise the text for the run's final message: a
        heading, then for each thing not added a line with the file's path and what it lacks. */
    juce::String report() const;

private:
    struct Finished
    {
        juce::File file;
        bool hasTrackGain;
    };

    /** The track's ReplayGain and length from a decoding of the file itself. */
    std::optional<ReplayGainMeter::Track> scan (const juce::File& file);

    /** True when the volume has room for the file to grow by `bytes`. */
    static bool roomToGrow (const juce::File& file, juce::int64 bytes);

    /** The length of a finished file as its header tells it, in whole seconds; -1 when unknown. */
    static int secondsOf (const juce::File& file);

    void couldNotAdd (const juce::File& file, const juce::String& what);

    Project& project;
    const int format;
    const bool taggable;
    const bool embedCover;
    const bool replayGain;
    const bool playlist;

    CoverEmbedder cover;
    bool coverReported = false;
    ReplayGainMeter gainMeter;
    AlbumPlaylist albumPlaylist;
    std::vector<Finished> finished;
    juce::String problems;

    JUCE_DECLARE_NON_COPYABLE (AlbumExtras)
};
