#include "app/MainComponent.h"
#include "app/MyJUCEApplication.h"
#include "app/Page.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"
#include "support/ProgramProcesses.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

#include <algorithm>

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

    // The program's quit, caught here: a real one would end the message loop of every test
    // that runs after this one in the same process.
    int quits = 0;
    wizard->quitProgram = [&quits] { ++quits; };

    const auto track = testHome().getChildFile ("Track1.wav");
    track.replaceWithText ("audio");
    wizard->getProject().addTrack (track.getFullPathName(), formatWav);

    auto* peer = window.getPeer();
    ASSERT_NE (peer, nullptr);
    peer->handleUserClosingWindow();

    EXPECT_EQ (quits, 1);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (track.existsAsFile());
    EXPECT_EQ (wizard->getProject().trackCount(), 1);
}

//==============================================================================
namespace
{
/** The visible top-level windows on the display, whatever their titles: the program's main
    window and any other window (an alert, say) that a process opened. */
int countVisibleWindows()
{
    // Every name matches the pattern, even an empty one.
    return findWindows ("^", true).size();
}

/** The program's main windows on the display, by their title. */
int countProgramWindows()
{
    return findWindows ("^Groovesmith -- Page").size();
}
} // namespace

TEST (Application, aSecondStartShowsNothingAndEnds)
{
    const juce::File program (GROOVESMITH_EXECUTABLE);
    ASSERT_TRUE (program.existsAsFile());
    const ProgramTurn turn;
    ASSERT_TRUE (turn.isHeld());
    ASSERT_TRUE (waitFor (noInstanceRunning, 120000)) << "Groove Smith is already running on this machine";

    // A display of this test's own, so that other tests' windows do not count.
    const OwnDisplay display;
    ASSERT_TRUE (display.isReady());

    ASSERT_EQ (countProgramWindows(), 0);
    const int emptyDisplay = countVisibleWindows();
    ASSERT_GE (emptyDisplay, 0);
    juce::ChildProcess first;
    const EndsWithTheTest firstEnds{ first };
    ASSERT_TRUE (first.start (program.getFullPathName(), 0));
    // Its window is made again as it opens: the count is taken once the window stays.
    ASSERT_TRUE (settledWindowNamed ("Groovesmith -- Page", 30000).isNotEmpty())
        << "the first start shows no window: is Groove Smith already running on this machine?";
    ASSERT_EQ (countVisibleWindows(), emptyDisplay + 1) << "the first start shows more than its window";

    // While the second start lives, and after it, the display holds the first one's window alone.
    juce::ChildProcess second;
    const EndsWithTheTest secondEnds{ second };
    ASSERT_TRUE (second.start (program.getFullPathName(), 0));
    int mostWindows = 0;
    const auto deadline = juce::Time::getMillisecondCounter() + 20000;
    while (second.isRunning() && juce::Time::getMillisecondCounter() < deadline)
        mostWindows = std::max (mostWindows, countVisibleWindows());
    EXPECT_TRUE (second.waitForProcessToFinish (1000)) << "the second start did not end by itself";
    EXPECT_EQ (second.getExitCode(), 0u);
    EXPECT_LE (mostWindows, emptyDisplay + 1) << "the second start opened a window";

    EXPECT_TRUE (first.isRunning());
    juce::Thread::sleep (300);
    EXPECT_EQ (countProgramWindows(), 1);
    EXPECT_EQ (countVisibleWindows(), emptyDisplay + 1);
}
