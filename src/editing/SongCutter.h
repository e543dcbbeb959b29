#pragma once

#include "editing/CapturedSide.h"
#include "editing/FindSongsThread.h"

#include <functional>
#include <optional>

class Project;

/**
    "find the songs..." of the track list: asks how many songs the side holds, cuts the audio
    where the songs are, and puts the new tracks in the list in place of the rows they came from.

    The audio is the side file of the capture run that the clicked row came from, when there is
    one; otherwise the selected rows' audio joined in list order (the clicked row alone when it is
    not among them). The rows it replaces become rows `Track<k>` in the same place of the list,
    numbered on from the first replaced row's number (its own when it is named `Track<k>`, its
    place in the list otherwise), with new WAV files beside the first row's file (beside the side
    file for a side). A name that belongs to another row or to a file that stays is not taken:
    the track gets the first free name "Track<k> (2)", "Track<k> (3)", and so on, and the user is
    told. In a rip project the replaced files are deleted; in an encode project they are the
    user's own and stay. After a cut of a side, the side's record holds the new tracks and their
    places, so that the side is cut again from its start the next time, never from the last cut.

    The side window cuts the same audio at the places the user marked (`cutAt`), the same way.

    Nothing changes until every new track is written: a Cancel, a failure, or too few places to
    cut for the number given leave the list and the files as they were.
*/
class SongCutter
{
public:
    explicit SongCutter (Project& project);

    /** The audio a right click on a row cuts, and the rows it replaces. */
    struct Audio
    {
        juce::Array<int> rows;            // the rows replaced, in list order
        juce::Array<juce::File> files;    // the side file, or the rows' files, joined in this order
        juce::File folder;                // where the new tracks go
        std::optional<CapturedSide> side; // the side, when the audio is one
    };

    /** The whole flow for a right click on `clickedRow` with `selectedRows` selected; true when the
        list changed. */
    bool run (int clickedRow, const juce::SparseSet<int>& selectedRows);

    /** The number of songs asked in the box "Find the songs": 0 when the field is left empty, so
        that the program decides; nothing on a cancel or when the field holds no number from 1 up
        (the user is told). */
    std::optional<int> askForSongs() const;

    /** Which audio a right click on `clickedRow` cuts: the side file of the row, or else the
        selected rows joined (the clicked row alone when it is not among them). Nothing for a row
        that is not in the list. */
    std::optional<Audio> chooseAudio (int clickedRow, const juce::SparseSet<int>& selectedRows) const;

    /** Finds `songs` songs in the audio (0: the finder decides) and puts them in place of its
        rows; true when the list changed. */
    bool cutIntoSongs (const Audio& audio, int songs);

    /** Cuts the audio at these frames of it, ascending, each inside it, and puts the tracks in
        place of its rows, as finding the songs does; true when the list changed. */
    bool cutAt (const Audio& audio, const std::vector<juce::int64>& cutsToMake);

    /** Where a row's side file is looked up; tests put a side in its place. */
    std::function<std::optional<CapturedSide> (const Project&, int row)> findSide = capturedSideOf;

    /** Runs the worker behind its progress window; tests replace it to hold the worker. */
    std::function<void (FindSongsThread&)> runWorker = [] (FindSongsThread& worker)
    { worker.runThread (juce::Thread::Priority::normal); };

    /** After a run that changed the list: where the source was cut, in its frames, and the new
        tracks' files in order. */
    const std::vector<juce::int64>& getCuts() const { return cuts; }
    const juce::Array<juce::File>& getNewTracks() const { return newTracks; }

private:
    juce::String translate (const juce::String& text) const;

    /** Runs the worker on the audio, with the songs to find or the cuts to make, and puts the
        tracks in place. */
    bool cut (const Audio& audio, int songs, const std::vector<juce::int64>* given);

    /** The number the new tracks start from: the first replaced row's own, or its place. */
    int firstNumber (int row) const;

    /** Renames the temporary files into place and replaces the rows; false, with everything put
        back, when a file could not be moved. */
    bool putInPlace (const juce::Array<int>& rows, const std::vector<juce::File>& parts, const juce::File& folder);

    /** After a cut of a side: the new tracks are its record's places, so that the next cut starts
        from the side again. */
    void recordTheSide (const CapturedSide& side, juce::int64 sideLength) const;

    Project& project;
    std::vector<juce::int64> cuts;
    juce::Array<juce::File> newTracks;

    JUCE_DECLARE_NON_COPYABLE (SongCutter)
};
