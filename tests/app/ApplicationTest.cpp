#include "app/MainComponent.h"
#include "app/MyJUCEApplication.h"
#include "app/Page.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

TEST (Application, namesItselfAndAllowsOneInstance)
{
    MyJUCEApplication application;
    EXPECT_EQ (application.getApplicationName(), "Tonewell Groove Smith");
    EXPECT_EQ (application.getApplicationVersion(), "1.0");
    EXPECT_FALSE (application.moreThanOneInstanceAllowed());
    EXPECT_EQ (application.getMainWindow(), nullptr);
}

TEST (Application, startsWithOneCentredWindowOfFixedSize)
{
    FakeDialogs dialogs;
    MyJUCEApplication application;
    application.initialise ("--ignored --arguments");
    runMessageLoopFor (200);

    auto* window = application.getMainWindow();
    ASSERT_NE (window, nullptr);
    EXPECT_TRUE (window->isOnDesktop());
    EXPECT_TRUE (window->isVisible());
    EXPECT_TRUE (window->isOpaque());
    EXPECT_TRUE (window->isUsingNativeTitleBar());
    EXPECT_FALSE (window->isResizable());
    EXPECT_EQ (window->getBackgroundColour(), juce::Colours::lightgrey);
    EXPECT_EQ (window->getWidth(), 435);
    EXPECT_EQ (window->getHeight(), 380);

    const auto area = juce::Desktop::getInstance().getDisplays().getPrimaryDisplay()->userArea;
    EXPECT_NEAR (window->getBounds().getCentreX(), area.getCentreX(), 1);
    EXPECT_NEAR (window->getBounds().getCentreY(), area.getCentreY(), 1);

    auto* wizard = dynamic_cast<MainComponent*> (window->getContentComponent());
    ASSERT_NE (wizard, nullptr);
    EXPECT_EQ (window->getName(), "Groovesmith -- Page 1 / 7");
    EXPECT_EQ (wizard->getBounds(), juce::Rectangle<int> (0, 0, 435, 380));
    EXPECT_EQ (wizard->nextButton.getBounds(), juce::Rectangle<int> (344, 350, 70, 25));
    EXPECT_EQ (MainComponent::currentPage, 0);
    EXPECT_TRUE (MainComponent::pages[0]->isVisible());
    EXPECT_TRUE (dialogs.alerts().empty());

    application.shutdown();
    EXPECT_EQ (application.getMainWindow(), nullptr);
}

TEST (Application, theTitleBarHasNoButtons)
{
    MainDialog window;
    EXPECT_EQ (window.getCloseButton(), nullptr);
    EXPECT_EQ (window.getMinimiseButton(), nullptr);
    EXPECT_EQ (window.getMaximiseButton(), nullptr);
    EXPECT_EQ (window.getDesktopWindowStyleFlags() &
                   (juce::ComponentPeer::windowHasCloseButton | juce::ComponentPeer::windowHasMinimiseButton |
                    juce::ComponentPeer::windowHasMaximiseButton),
               0);
}

TEST (Application, aCloseRequestFromThePlatformQuitsWithoutAQuestionEvenWithTracks)
{
    FakeDialogs dialogs;
    MainDialog window;
    runMessageLoopFor (100);
    auto* wizard = dynamic_cast<MainComponent*> (window.getContentComponent());
    ASSERT_NE (wizard, nullptr);

    const auto track = testHome().getChildFile ("Track1.wav");
    track.replaceWithText ("audio");
    wizard->getProject().addTrack (track.getFullPathName(), formatWav);

    ASSERT_FALSE (juce::MessageManager::getInstance()->hasStopMessageBeenSent());
    auto* peer = window.getPeer();
    ASSERT_NE (peer, nullptr);
    peer->handleUserClosingWindow();

    EXPECT_TRUE (juce::MessageManager::getInstance()->hasStopMessageBeenSent());
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (track.existsAsFile());
}

//==============================================================================
namespace
{
/** The program's top-level windows on the display, as the display server lists them. */
int countProgramWindows()
{
    juce::ChildProcess search;
    if (! search.start (juce::StringArray{ "xdotool", "search", "--onlyvisible", "--name", "^Groovesmith -- Page" }))
        return -1;
    auto lines = juce::StringArray::fromLines (search.readAllProcessOutput());
    lines.removeEmptyStrings();
    return lines.size();
}

bool waitFor (std::function<bool()> condition, int milliseconds)
{
    const auto end = juce::Time::getMillisecondCounter() + (juce::uint32) milliseconds;
    while (juce::Time::getMillisecondCounter() < end)
    {
        if (condition())
            return true;
        juce::Thread::sleep (50);
    }
    return condition();
}
} // namespace

TEST (Application, aSecondStartShowsNothingAndEnds)
{
    const juce::File program (GROOVESMITH_EXECUTABLE);
    ASSERT_TRUE (program.existsAsFile());

    // A display of this test's own, so that other tests' windows do not count.
    juce::ChildProcess display;
    ASSERT_TRUE (
        display.start (juce::StringArray{ "Xvfb", "-displayfd", "1", "-screen", "0", "800x600x24", "-nolisten", "tcp" },
                       juce::ChildProcess::wantStdOut));
    juce::String number;
    for (int i = 0; i < 200 && ! number.endsWithChar ('\n'); ++i)
    {
        char c = 0;
        if (display.readProcessOutput (&c, 1) == 1)
            number += juce::String::charToString (c);
    }
    ASSERT_TRUE (number.trim().containsOnly ("0123456789") && number.trim().isNotEmpty());
    const auto previousDisplay = juce::SystemStats::getEnvironmentVariable ("DISPLAY", {});
    setenv ("DISPLAY", (":" + number.trim()).toRawUTF8(), 1);

    ASSERT_EQ (countProgramWindows(), 0);

    juce::ChildProcess first;
    ASSERT_TRUE (first.start (program.getFullPathName(), 0));
    ASSERT_TRUE (waitFor ([] { return countProgramWindows() == 1; }, 20000))
        << "the first start shows no window: is Groove Smith already running on this machine?";

    juce::ChildProcess second;
    ASSERT_TRUE (second.start (program.getFullPathName(), 0));
    EXPECT_TRUE (second.waitForProcessToFinish (20000)) << "the second start did not end by itself";
    EXPECT_EQ (second.getExitCode(), 0u);

    EXPECT_TRUE (first.isRunning());
    juce::Thread::sleep (300);
    EXPECT_EQ (countProgramWindows(), 1);

    first.kill();
    first.waitForProcessToFinish (5000);
    display.kill();
    setenv ("DISPLAY", previousDisplay.toRawUTF8(), 1);
}
