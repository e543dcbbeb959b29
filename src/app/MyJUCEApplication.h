#pragma once

#include "app/MainDialog.h"

#include <memory>

/** The application object: one instance at a time, one window. */
class MyJUCEApplication : public juce::JUCEApplication
{
public:
    void initialise (const juce::String& commandLine) override;
    void shutdown() override;

    const juce::String getApplicationName() override { return "Tonewell Groove Smith"; }
    const juce::String getApplicationVersion() override { return "1.0"; }
    bool moreThanOneInstanceAllowed() override { return false; }

    /** A second start sends its command line here; there is nothing to do with it. */
    void anotherInstanceStarted (const juce::String&) override {}

    MainDialog* getMainWindow() const { return mainWindow.get(); }

private:
    std::unique_ptr<MainDialog> mainWindow;
};
