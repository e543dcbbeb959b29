#pragma once

// The wizard in a window under the virtual display, its sound card a JACK server of the test's
// own, into which the tests' record player plays; and what the end-to-end tests show of it.
#include "app/MainComponent.h"
#include "capture/CaptureTestSupport.h"
#include "capture/JackServer.h"
#include "project/Project.h"
#include "support/Snapshots.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <memory>
#include <string>

namespace
{
/** A record segment: a tone per channel of `frames` frames. */
inline std::string toneSegment (int leftHz, int rightHz, double amplitude, int frames)
{
    return "tone:" + std::to_string (leftHz) + ":" + std::to_string (rightHz) + ":" + std::to_string (amplitude) + ":" +
           std::to_string (frames);
}

/** A click as the user makes it, and the messages it sets off delivered. */
inline void clickAndWait (juce::Button& button)
{
    button.triggerClick();
    pumpMessages();
}

/** Puts back the settings an end-to-end test changes, for the tests that follow in this process. */
struct RestoredSettings
{
    ~RestoredSettings()
    {
        project.setOutputFormat (formatWav);
        project.setThreshold (-55);
        project.setMinSilence (2);
        project.setSilenceLength (15);
        project.resetDeviceSettings();
    }
    Project& project;
};

/** The wizard in a window of its own, its device a JACK server of the test's own. */
class JackWizard
{
public:
    /** Starts a server named after `purpose` and this process, checks that the record player
        reaches it, and opens the wizard on it; a fatal failure when any of that fails. */
    void start (const juce::String& purpose, const juce::File& folder)
    {
        const StartLock startLock;
        const auto serverName = "groovesmith-" + purpose + "-" + juce::String ((int) getpid());
        setenv ("JACK_DEFAULT_SERVER", serverName.toRawUTF8(), 1);
        server = std::make_unique<JackServer> (serverName, folder.getChildFile ("jackd.log"));
        ASSERT_TRUE (server->isRunning());
        juce::String playerOutput;
        ASSERT_EQ (runRecordPlayer ({ "--probe" }, playerOutput), 0) << playerOutput;
        chooseJackDevice();

        window.setUsingNativeTitleBar (true);
        wizard = new MainComponent (&window);
        window.setContentOwned (wizard, false);
        window.centreWithSize (435, 380);
        window.setVisible (true);
    }

    // The server goes last, after the window and the wizard in it.
    std::unique_ptr<JackServer> server;
    juce::DocumentWindow window{ "Groove Smith", juce::Colours::lightgrey, 0, true };
    MainComponent* wizard = nullptr; // owned by the window
};
} // namespace
