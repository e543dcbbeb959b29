#pragma once

#include <juce_core/juce_core.h>

#include <optional>
#include <vector>

/**
    What the program knows of one side file: `Side<k>.wav`, everything a capture run heard from
    Capture to its end, and where each track file of that run lies in it. The record lives in a
    small text file beside the side, `Side<k>.tracks`, so that it outlives the program as the
    track files do; nothing of it is kept only in memory.

    The capture writes a record as its run goes (SideWriter). The rest of the program asks it:

    - `findFor (trackPath)`: the side that a row of the track list came from, with the places of
      all the tracks that came from that side, in the side's order;
    - `canBeCutAgain()`: whether the side may stand in for its tracks' audio;
    - `replacePlaces (places)`: after the side was cut again into new track files, the new tracks
      become the side's record, so that the next cut starts from the side again.

    A track's place is its first sample in the side and its length, both in the side's samples
    (sample frames, at the side's rate): the track file holds exactly those samples of the side.
    The record follows a track that is renamed through Project (Project::setTrackPath), and a
    track file that a later run writes anew under the same name leaves the record of the side it
    came from before.

    The record file is plain UTF-8 text, one item a line:

        Groove Smith side record 1
        side Side1.wav
        rate 44100
        whole yes
        ended yes
        samples 2646000
        track 0 441000 Track1.wav
        track 529200 300000 Track2.wav

    `whole` is "no" once the side lost audio (a writer that fell behind, a disk that filled up),
    `ended` is "no" while the run goes on (and after a run that was killed), `samples` is what
    the side file holds once the run has ended. A track line holds its first sample, its length
    and the track's file: its name when it lies beside the record, otherwise its full path
    (backslashes, line feeds and carriage returns escaped as \\, \n and \r).
*/
class SideRecord
{
public:
    /** Where one track file lies in the side, in the side's samples. */
    struct Place
    {
        juce::String path;      // the track file, as the track list names it
        juce::int64 first = 0;  // its first sample in the side
        juce::int64 length = 0; // its length in samples

        bool operator== (const Place& other) const
        {
            return path == other.path && first == other.first && length == other.length;
        }
    };

    /** A record with no places yet, for `sideFile` (Side<k>.wav) at `sampleRate`. */
    SideRecord (const juce::File& sideFile, int sampleRate);

    //==============================================================================
    // For the rest of the program.

    /** The record of the side that the track file at `trackPath` came from, if any: the records
        beside the track are searched for its path (the latest side wins, should two name it). */
    static std::optional<SideRecord> findFor (const juce::String& trackPath);

    /** The side file, Side<k>.wav. */
    const juce::File& getSideFile() const { return sideFile; }

    /** The record's own file, Side<k>.tracks beside the side. */
    juce::File getRecordFile() const { return recordFileFor (sideFile); }

    /** The number k of Side<k>.wav. */
    int getSideNumber() const;

    int getSampleRate() const { return sampleRate; }

    /** The places of the side's tracks, ordered by their first sample. */
    const std::vector<Place>& getPlaces() const { return places; }

    /** The place of the track file at `trackPath`, or null. */
    const Place* placeOf (const juce::String& trackPath) const;

    /** False once the side lost audio: then it must not be cut again. */
    bool isWhole() const { return whole; }

    /** True once the run that wrote the side has ended. */
    bool hasEnded() const { return ended; }

    /** Samples of the side, as its run left it; 0 until the run has ended. */
    juce::int64 getSideSamples() const { return sideSamples; }

    /** True when the side can stand in for its tracks' audio: it is whole, its file is a WAV file
        there to read, and every place lies within it. Otherwise the tracks' own files are what
        there is. */
    bool canBeCutAgain() const;

    /** After the side was cut again: `newPlaces` become its tracks, in the side's order, and the
        record file is written. Those tracks leave the records of other sides. False when the
        record could not be written. */
    bool replacePlaces (std::vector<Place> newPlaces);

    //==============================================================================
    // For the capture, which writes the record as the run goes.

    /** Adds the place of a track, or replaces the place of the same file. */
    void setPlace (const Place& place);

    void setWhole (bool isWholeNow) { whole = isWholeNow; }
    void setEnded (bool hasEndedNow) { ended = hasEndedNow; }
    void setSideSamples (juce::int64 samples) { sideSamples = samples; }

    /** Writes the record file, replacing the one before in one step. False when it could not. */
    bool save() const;

    /** Reads a record file; nothing when the file is not one. */
    static std::optional<SideRecord> load (const juce::File& recordFile);

    /** Reads a record from its text, as if it were the file `recordFile`. */
    static std::optional<SideRecord> parse (const juce::String& text, const juce::File& recordFile);

    /** The text of the record file. */
    juce::String toText() const;

    /** Side<k>.tracks beside Side<k>.wav. */
    static juce::File recordFileFor (const juce::File& sideFile);

    /** Side<number>.wav in `folder`, or the first side after it whose file and record are both
        free: a side of an earlier session is never written over. `number` becomes the one taken. */
    static juce::File nextFreeSideFile (const juce::File& folder, int& number);

    /** The ending of record files, ".tracks". */
    static constexpr const char* recordEnding = ".tracks";

    //==============================================================================
    // For Project, which keeps the records in step with the track list.

    /** A track file moved from `oldPath` to `newPath` (a rename): the records follow it. A place
        held by a file that the move replaced goes. */
    static void followMove (const juce::String& oldPath, const juce::String& newPath);

    /** The file at `trackPath` is written anew by another side: records other than `keep` drop it. */
    static void releaseTrack (const juce::String& trackPath, const juce::File& keep);

    /** Deletes the side files and records that the tracks at `trackPaths` came from; the number
        of sides deleted. */
    static int deleteSidesOf (const juce::StringArray& trackPaths);

private:
    /** The records in `folder`, with their files. */
    static std::vector<SideRecord> recordsIn (const juce::File& folder);

    void sortPlaces();

    juce::File sideFile;
    int sampleRate = 0;
    bool whole = true;
    bool ended = false;
    juce::int64 sideSamples = 0;
    std::vector<Place> places;
};
