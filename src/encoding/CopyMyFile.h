#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

/** Copies or moves one file behind a progress window. The copy is done in one call, so Cancel
    cannot interrupt it. */
class CopyMyFile : public juce::ThreadWithProgressWindow
{
public:
    CopyMyFile (const juce::File& source, const juce::File& destination, bool move);

    void run() override;

    juce::File source;
    juce::File destination;
    bool move;
    bool result = false;

private:
    JUCE_DECLARE_NON_COPYABLE (CopyMyFile)
};
