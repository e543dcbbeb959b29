#pragma once

#include <juce_core/juce_core.h>

#include <optional>

class Project;

/** A side file of the capture, and the rows of the track list that hold its audio. */
struct CapturedSide
{
    juce::File file;       // everything the capture heard in one run
    juce::Array<int> rows; // the rows cut from it, in list order
};

/**
    The side file of the capture run that a row's track came from, when there is one. This is the
    one place where the track page learns of side files: finding the songs cuts that side again,
    from the start, instead of joining the selected rows. Until the capture keeps a record of its
    sides, no row has one, and the selected rows are joined.
*/
std::optional<CapturedSide> capturedSideOf (const Project& project, int row);
