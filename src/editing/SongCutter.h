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
    user's own and stay.

    Nothing changes until every new track is written: a Cancel, a failure, or too few places to
    cut for the number given leave the list and the files as they were.
*/
class SongCutter
{
public:
    explicit SongCutter (Project& project);

    /** The whole flow for a right click on `clickedRow` with `selectedRows` selected; true when the
        list changed. */
    bool run (int clickedRow, const juce::SparseSet<int>& selectedRows);

    /** The number of songs asked in the box "Find the songs": 0 when the field is left empty, so
        that the program decides; nothing on a cancel or when the field holds no number from 1 up
        (the user is told). */
    std::optional<int> askForSongs() const;

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

    /** The number the new tracks start from: the first replaced row's own, or its place. */
    int firstNumber (int row) const;

    /** Renames the temporary files into place and replaces the rows; false, with everything put
        back, when a file could not be moved. */
    bool putInPlace (const juce::Array<int>& rows, const std::vector<juce::File>& parts, const juce::File& folder);

    Project& project;
    std::vector<juce::int64> cuts;
    juce::Array<juce::File> newTracks;

    JUCE_DECLARE_NON_COPYABLE (SongCutter)
};
