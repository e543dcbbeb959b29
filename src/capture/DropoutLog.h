#pragma once

#include <juce_core/juce_core.h>

/**
    How many dropouts each track file of the session lost while it was being captured, by the
    file's full path. The audio callback adds to it when it finds lost input, which is rare; a
    file that is created anew starts again from none. Kept for the life of the program.
*/
class DropoutLog
{
public:
    /** Adds `count` dropouts to the file at `path`. */
    static void add (const juce::String& path, int count);

    /** The file at `path` is made anew: its count goes. */
    static void forget (const juce::String& path);

    /** Dropouts of the file at `path`, 0 when none were found. */
    static int countFor (const juce::String& path);

    /** The files with dropouts, and their counts. */
    static juce::StringPairArray all();

    /** Empties the log, as at the start of the program; for tests. */
    static void clear();
};
