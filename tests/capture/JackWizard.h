#pragma once

// The wizard in a window under the virtual display, its sound card a JACK server of the test's
// own, into which the tests' record player plays; and what the end-to-end tests show of it.
#include "app/MainComponent.h"
#include "capture/CaptureTestSupport.h"
#include "capture/JackServer.h"

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

/** Saves what a component shows, as a PNG file among the test's artefacts. */
inline void saveSnapshot (juce::Component& component, const juce::String& name)
{
    const juce::File folder (GROOVESMITH_ARTEFACT_DIR);
    folder.createDirectory();
    const auto file = folder.getChildFile (name + ".png");
    file.deleteFile();
    juce::FileOutputStream stream (file);
    juce::PNGImageFormat().writeImageToStream (component.createComponentSnapshot (component.getLocalBounds()), stream);
}

/**
    Starts a JACK server named `serverName` and opens the wizard in `window` on it, as a user
    who chose that device on the setup page: the wizard, owned by the window, or null when the
    server or the record player did not come up.
*/
inline MainComponent* openWizardOnJack (juce::DocumentWindow& window, std::unique_ptr<JackServer>& server,
                                        const juce::String& serverName, const juce::File& logFile,
                                        juce::String& playerOutput)
{
    const StartLock startLock;
    setenv ("JACK_DEFAULT_SERVER", serverName.toRawUTF8(), 1);
    server = std::make_unique<JackServer> (serverName, logFile);
    if (! server->isRunning() || runRecordPlayer ({ "--probe" }, playerOutput) != 0)
        return nullptr;
    chooseJackDevice();

    window.setUsingNativeTitleBar (true);
    auto* wizard = new MainComponent (&window);
    window.setContentOwned (wizard, false);
    window.centreWithSize (435, 380);
    window.setVisible (true);
    return wizard;
}
} // namespace
