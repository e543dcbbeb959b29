#pragma once

#include "app/MainComponent.h"
#include "app/Page.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

/** The wizard as the window holds it, 435 by 380, with scripted dialogs. */
class WizardTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        window.setSize (435, 380);
        wizard = std::make_unique<MainComponent> (&window);
        wizard->quitProgram = [this] { ++quitCount; };
        wizard->setSize (435, 380);
    }

    void TearDown() override
    {
        wizard.reset();
        // A list saved by one test must not be offered to the next one in the same process.
        Project::savedTrackListFile().deleteFile();
    }

    Project& project() { return wizard->getProject(); }

    /** A click as the user makes it: the button's own click, delivered through the message loop. */
    static void click (juce::Button& button)
    {
        button.triggerClick();
        runMessageLoopFor (5);
    }

    void next() { click (wizard->nextButton); }
    void back() { click (wizard->backButton); }

    juce::String title() const { return window.getName(); }

    int visiblePage() const
    {
        int visible = -1;
        for (size_t i = 0; i < MainComponent::pages.size(); ++i)
        {
            if (MainComponent::pages[i]->isVisible())
            {
                EXPECT_EQ (visible, -1) << "two pages visible";
                visible = (int) i;
            }
        }
        return visible;
    }

    FakeDialogs dialogs;
    juce::Component window;
    std::unique_ptr<MainComponent> wizard;
    int quitCount = 0;
};
