#pragma once

#include <juce_core/juce_core.h>

/**
    Asks the user for another place when a file cannot go where it was meant to go. With a
    `source` that exists, the file is moved to the chosen place.
*/
struct SaveElsewhere
{
    juce::File source; // may be empty
    juce::File target;

    /** The chosen path (the moved source's, when there is one), or "" when cancelled. */
    juce::String ask();
};
