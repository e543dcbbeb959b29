#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

class Project;

/** Copies or moves one file behind a progress window. The copy is done in one call, so Cancel
    cannot interrupt it. */
class CopyMyFile : public juce::ThreadWithProgressWindow
{
public:
    /** The window's title and status are shown in the user's language when `projectForTexts`
        is given, as every worker's are. */
    CopyMyFile (const juce::File& source, const juce::File& destination, bool move, Project* projectForTexts = nullptr);

    void run() override;

    juce::File source;
    juce::File destination;
    bool move;
    bool result = false;

protected:
    /** Puts the status line in the window. */
    virtual void showStatus (const juce::String& text) { setStatusMessage (text); }

private:
    Project* project;

    JUCE_DECLARE_NON_COPYABLE (CopyMyFile)
};
