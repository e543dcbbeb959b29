#pragma once

#include <juce_core/juce_core.h>

#include <optional>
#include <vector>

class Project;

/** A side file of the capture, and the rows of the track list that hold its audio. */
struct CapturedSide
{
    juce::File file;                             // everything the capture heard in one run
    juce::Array<int> rows;                       // the rows cut from it, in list order
    std::vector<juce::Range<juce::int64>> spans; // where each of those rows lies in the side, in its frames
    juce::File record;                           // the side's record, told the new tracks after a cut;
                                                 // none when there is nothing to tell
};

/**
    The side file of the capture run that a row's track came from, when that side can stand in
    for the audio of its rows: finding the songs, and the side window, then cut the side again
    from its start instead of joining the selected rows.

    A side stands in only where nothing the user did is lost by it. It must be whole, and every
    row of the list that came from it must still hold the side's own samples: as the capture cut
    it, or cut further by a split (the parts follow one another in the list), or joined by a merge
    with the tracks after it. A row whose audio was changed (filtered, resampled, brought in from
    elsewhere under the name) holds something the side does not have: then there is no side, and
    the rows themselves are what there is. A row of the side whose file is gone still counts as
    the side's: its audio is there. Rows of the side that were taken out of the list are not
    among the rows, but their audio, being in the side, comes back with the side's next cut.

    An encode project has no sides: its tracks are the user's own files.
*/
std::optional<CapturedSide> capturedSideOf (const Project& project, int row);
