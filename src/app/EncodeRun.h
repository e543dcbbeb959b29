#pragma once

#include "encoding/AlbumExtras.h"
#include "encoding/AlbumFiles.h"
#include "encoding/WrittenFiles.h"

#include <juce_core/juce_core.h>

#include <memory>
#include <vector>

class Project;

/**
    The encode run, on Next from the format page: each track of the list, in order, becomes a
    file of the chosen format (through a WAV file first when its own format cannot be read by
    the convertor), is tagged and given its final name in the album folder; the covers go
    there too, and the sources are cleaned up afterwards. After each track's own steps, and at
    the end, the album's extras are added (AlbumExtras). Everything runs on the message
    thread, one track at a time, each conversion behind its own progress window.
*/
class EncodeRun
{
public:
    EncodeRun (Project& project, AlbumFiles& album);

    /** True when the run got through and the wizard may go to the last page; false when it
        stopped on the format page after telling the user. */
    bool run();

    /** The intermediate WAV file's path: `destination` cut at the position of the source's last
        dot, then ".wav". The cut comes from the source and may shorten the name; it never
        reaches into the destination's folder, and when it would, the whole name is kept. */
    static juce::String intermediatePath (const juce::String& source, const juce::String& destination);

private:
    /** False when the run must end at once. */
    bool encodeTrack (int index);

    /** The destination folder of an encode project; none keeps the files beside their sources. */
    void chooseDestination();

    /** A path that the run may write: the user picks another while `path` cannot be written,
        or is a file of someone else's. "" when the user cancels. */
    juce::String freePlaceFor (juce::String path, const juce::String& target, const WrittenFiles::Origin& origin) const;

    /** True for a file the program made and may replace: a temporary WAV file, or a file an
        earlier run made for the track that comes from `origin`, unchanged since. */
    bool isOurs (const juce::String& path, const WrittenFiles::Origin& origin) const;

    /** Moves the finished file to its final name, in place of the file an earlier run made there
        for the same track. The result is where the file is afterwards. */
    juce::File moveToAlbum (const juce::String& title, const juce::String& file, int trackNumber,
                            const WrittenFiles::Origin& origin);

    /** Keeps, in the record, the files this run wrote, as they are when it ends. */
    void recordWrittenFiles();

    void trackFailed (const juce::String& source);
    void cleanUp();

    Project& project;
    AlbumFiles& album;

    WrittenFiles record;
    std::vector<std::pair<juce::String, WrittenFiles::Origin>> written; // by this run

    std::vector<juce::String> temporaries;
    juce::String failedTracks;
    bool allConverted = true;
    std::unique_ptr<AlbumExtras> extras;

    JUCE_DECLARE_NON_COPYABLE (EncodeRun)
};
