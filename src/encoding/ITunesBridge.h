#pragma once

#include <juce_core/juce_core.h>

class Project;

/**
    One connection to iTunes for one track. iTunes runs only where it was made for; elsewhere
    the connection cannot be made, `state` is -1, and every operation that needs iTunes answers
    -1, so that each iTunes format fails as if iTunes were not installed.

    Integer results: 0 for success, -1 for failure.
*/
class ITunesBridge
{
public:
    ITunesBridge();

    /** Keeps iTunes' own window out of sight; nothing to do where there is no iTunes. */
    static void hideWindow();

    /** A new connection with its encoder set for `format`, iTunes' window hidden before and
        after; null when the encoder cannot be set, after restoring it. */
    static std::unique_ptr<ITunesBridge> withEncoderFor (int format);

    int prepareEncoder (int format);
    int convertFile (const juce::String& source, const juce::String& destination);
    int restoreEncoder();
    int addToLibrary (const juce::String& path, Project* project);

    /** Renames a converted file to its final name ("07 - Artist - Title.m4a"), in the encoding
        destination when there is one. Returns the new path, or "" after an error box. */
    static juce::String moveToFinalName (const juce::String& path, Project* project);

    int state = -1; // -1 when iTunes could not be reached

private:
    JUCE_DECLARE_NON_COPYABLE (ITunesBridge)
};
