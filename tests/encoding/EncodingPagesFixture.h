#pragma once

#include "encoding/AudioFiles.h"
#include "support/WizardFixture.h"

#include <functional>
#include <map>

/**
    The wizard for the format, album and final pages: each test starts from no settings file
    and leaves none behind, may start the program again on settings of its own, and reads the
    settings back from the disk as the next start of the program will.
*/
class EncodingPagesTest : public WizardTest
{
protected:
    void SetUp() override
    {
        removeSettings();
        WizardTest::SetUp();
    }

    void TearDown() override
    {
        WizardTest::TearDown();
        removeSettings();
    }

    static void removeSettings() { Project::settingsFileLocation().deleteFile(); }

    /** Ends the program and starts it again on a settings file holding these values. */
    void restartWith (const std::map<juce::String, juce::String>& values)
    {
        wizard.reset();

        juce::String text ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PROPERTIES>\n");
        for (const auto& [key, value] : values)
            text << "  <VALUE name=\"" << key << "\" val=\"" << value << "\"/>\n";
        text << "</PROPERTIES>\n";

        const auto file = Project::settingsFileLocation();
        file.getParentDirectory().createDirectory();
        ASSERT_TRUE (file.replaceWithText (text));

        wizard = std::make_unique<MainComponent> (&window);
        wizard->quitProgram = [this] { ++quitCount; };
        wizard->setSize (435, 380);
    }

    /** The value of a key in the settings file on disk once pending changes are saved; "(none)" when absent. */
    juce::String onDisk (const juce::String& key)
    {
        project().getSettings().saveIfNeeded();
        const auto xml = juce::XmlDocument::parse (Project::settingsFileLocation());
        if (xml == nullptr)
            return "(no file)";

        for (auto* value : xml->getChildWithTagNameIterator ("VALUE"))
            if (value->getStringAttribute ("name").equalsIgnoreCase (key))
                return value->getStringAttribute ("val");
        return "(none)";
    }

    /** Shows a page as the pages that move the wizard do, and brings the buttons in step. */
    void showPage (int index)
    {
        MainComponent::pages[(size_t) MainComponent::currentPage]->setVisible (false);
        MainComponent::currentPage = index;
        MainComponent::pages[(size_t) index]->setVisible (true);
        wizard->updateTitle();
        wizard->updateButtons();
    }

    /** Lets the message loop run until `done` holds, or gives up after a long while. */
    static bool waitUntil (const std::function<bool()>& done)
    {
        for (int i = 0; i < 1000 && ! done(); ++i)
            runMessageLoopFor (10);
        return done();
    }
};
