// The real windows behind the dialog seam: what the program shows when no test answers for it.
#include "project/Dialogs.h"
#include "support/AlertAnswerer.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

TEST (RealDialogs, theErrorBoxIsAModalAlertWithItsTitleAndButton)
{
    AlertAnswerer answerer ("ok");
    showError ("Something went wrong");
    EXPECT_TRUE (answerer.answered);
    EXPECT_EQ (answerer.title, "Groove Smith : Error");
    EXPECT_EQ (answerer.buttons, 1);
}

TEST (RealDialogs, aQuestionReturnsTheValueOfThePressedButton)
{
    AlertAnswerer answerer ("Delete it");
    EXPECT_EQ (showYesNoCancel (juce::MessageBoxIconType::InfoIcon, "Saved track list found",
                                "What do you want to do with it ?", "Load it", "Delete it", "Nothing"),
               2);
    EXPECT_EQ (answerer.title, "Saved track list found");
    EXPECT_EQ (answerer.buttons, 3);
}

TEST (RealDialogs, textFieldsComeBackAsTyped)
{
    AlertAnswerer answerer ("ok", [] (juce::AlertWindow& window) { window.getTextEditor ("gap")->setText ("4"); });

    AlertRequest request;
    request.title = "Capture Parameters";
    request.fieldNames = { "threshold", "gap" };
    request.fieldLabels = { "threshold", "gap" };
    request.fieldValues = { "-125", "2" };
    request.buttons.push_back ({ "ok", 1, juce::KeyPress (juce::KeyPress::returnKey) });

    EXPECT_EQ (Dialogs::get().runAlert (request), 1);
    EXPECT_EQ (request.fieldValues, juce::StringArray ({ "-125", "4" }));
}

TEST (RealDialogs, aBoxAskedFromAnotherThreadShowsOnTheMessageThreadAndWaitsForTheAnswer)
{
    AlertAnswerer answerer ("ok");

    std::atomic<bool> returned{ false };
    std::thread audioThread (
        [&returned]
        {
            showMessage (juce::MessageBoxIconType::WarningIcon, "End Capture", "No more stream detected", "ok");
            returned = true;
        });

    for (int i = 0; i < 500 && ! returned; ++i)
        runMessageLoopFor (10);
    audioThread.join();

    EXPECT_TRUE (returned);
    EXPECT_TRUE (answerer.answered);
    EXPECT_EQ (answerer.title, "End Capture");
}

//==============================================================================
namespace
{
/** A thread that asks "End Capture" as the audio callback does, and what it got back. */
struct AskingThread
{
    explicit AskingThread (AlertWithdrawal& withdrawal)
        : thread (
              [this, &withdrawal]
              {
                  AlertRequest request;
                  request.icon = juce::MessageBoxIconType::WarningIcon;
                  request.title = "End Capture";
                  request.message = "No more stream detected";
                  request.buttons.push_back ({ "ok", 7, juce::KeyPress (juce::KeyPress::returnKey) });
                  request.withdrawal = &withdrawal;
                  result = Dialogs::get().runAlert (request);
                  returned = true;
              })
    {
    }

    ~AskingThread()
    {
        if (thread.joinable())
            thread.join();
    }

    /** Waits, without letting the message loop run, until the asking thread waits. */
    static bool waitUntilWaiting (const AlertWithdrawal& withdrawal)
    {
        for (int i = 0; i < 5000 && ! withdrawal.isWaiting(); ++i)
            juce::Thread::sleep (1);
        return withdrawal.isWaiting();
    }

    std::atomic<int> result{ -1 };
    std::atomic<bool> returned{ false };
    std::thread thread;
};

/** Lets the message loop run until `done` says so, at most ten seconds. */
bool runUntil (const std::function<bool()>& done)
{
    for (int i = 0; i < 1000 && ! done(); ++i)
        runMessageLoopFor (10);
    return done();
}

/** True when an alert window is modal now. */
bool anAlertIsShowing()
{
    return dynamic_cast<juce::AlertWindow*> (juce::Component::getCurrentlyModalComponent()) != nullptr;
}
} // namespace

TEST (RealDialogs, anAnsweredBoxReturnsItsButtonToTheAskingThread)
{
    AlertAnswerer answerer ("ok");
    AlertWithdrawal withdrawal;
    AskingThread asking (withdrawal);

    ASSERT_TRUE (runUntil ([&asking] { return asking.returned.load(); }));
    EXPECT_EQ (asking.result, 7);
    EXPECT_TRUE (answerer.answered);
    EXPECT_EQ (answerer.title, "End Capture");
    EXPECT_FALSE (withdrawal.isWaiting());
}

TEST (RealDialogs, aBoxWithdrawnBeforeItOpensIsNeverShownAndTheAskingThreadGoesOnAtOnce)
{
    AlertAnswerer watcher (std::map<juce::String, juce::String>{});
    AlertWithdrawal withdrawal;
    AskingThread asking (withdrawal);

    // The message thread is busy while the box is asked; then it withdraws it, before its
    // message to show the box has been delivered.
    ASSERT_TRUE (AskingThread::waitUntilWaiting (withdrawal));
    withdrawal.withdraw();
    asking.thread.join();
    EXPECT_TRUE (asking.returned);
    EXPECT_EQ (asking.result, 0);

    // The message that would have shown it arrives and shows nothing.
    runMessageLoopFor (200);
    EXPECT_TRUE (watcher.titlesSeen.isEmpty()) << watcher.titlesSeen.joinIntoString (", ");
    EXPECT_FALSE (anAlertIsShowing());
}

TEST (RealDialogs, aBoxWithdrawnWhileItShowsIsClosed)
{
    AlertWithdrawal withdrawal;

    // Withdrawn from inside the box's own loop, as a message handled while it shows would be.
    WhenShowing whenShowing ("End Capture", [&withdrawal] { withdrawal.withdraw(); });
    AskingThread asking (withdrawal);

    ASSERT_TRUE (runUntil ([&asking] { return asking.returned.load() && ! anAlertIsShowing(); }));
    EXPECT_TRUE (whenShowing.done);
    EXPECT_EQ (asking.result, 0);
}

TEST (RealDialogs, aBoxWithdrawnFromAnotherThreadWhileItShowsIsClosed)
{
    AlertWithdrawal withdrawal;
    std::thread other;
    WhenShowing whenShowing ("End Capture",
                             [&withdrawal, &other] { other = std::thread ([&withdrawal] { withdrawal.withdraw(); }); });
    AskingThread asking (withdrawal);

    ASSERT_TRUE (runUntil ([&asking] { return asking.returned.load() && ! anAlertIsShowing(); }));
    other.join();
    EXPECT_TRUE (whenShowing.done);
    EXPECT_EQ (asking.result, 0);
}

TEST (RealDialogs, aWithdrawalRefusesLaterBoxesUntilTheyAreAllowedAgain)
{
    AlertWithdrawal withdrawal;
    withdrawal.withdraw();
    EXPECT_TRUE (withdrawal.isWithdrawn());

    // Refused at once, with nothing shown and no message loop needed.
    {
        AskingThread asking (withdrawal);
        asking.thread.join();
        EXPECT_EQ (asking.result, 0);
    }
    runMessageLoopFor (100);
    EXPECT_FALSE (anAlertIsShowing());

    withdrawal.allow();
    AlertAnswerer answerer ("ok");
    AskingThread asking (withdrawal);
    ASSERT_TRUE (runUntil ([&asking] { return asking.returned.load(); }));
    EXPECT_EQ (asking.result, 7);
    EXPECT_TRUE (answerer.answered);
}

TEST (RealDialogs, aWithdrawalRacingTheBoxFromTwoThreadsAlwaysEndsTheWait)
{
    // The withdrawal comes at every moment around the box: before it is asked, while its message
    // waits, while it opens, while it shows. Each time the asking thread returns and no box stays.
    juce::Random random (13);
    for (int round = 0; round < 40; ++round)
    {
        AlertWithdrawal withdrawal;
        const int delayMs = random.nextInt (30);
        std::thread withdrawing (
            [&withdrawal, delayMs]
            {
                juce::Thread::sleep (delayMs);
                withdrawal.withdraw();
            });
        AskingThread asking (withdrawal);

        const bool ended = runUntil ([&asking] { return asking.returned.load() && ! anAlertIsShowing(); });
        withdrawing.join();
        ASSERT_TRUE (ended) << "round " << round << ", withdrawn after " << delayMs << " ms";
        EXPECT_EQ (asking.result, 0) << "round " << round;
    }
}

TEST (RealDialogs, withdrawalsNestSoThatAlertsComeBackOnlyOnceEveryOneHasEnded)
{
    // Two threads may each take the box back around a wait of their own: the first to finish
    // must not let the audio thread ask again while the other still waits for it.
    AlertWithdrawal withdrawal;
    withdrawal.withdraw();
    withdrawal.withdraw();
    withdrawal.allow();
    EXPECT_TRUE (withdrawal.isWithdrawn());
    {
        AskingThread asking (withdrawal);
        asking.thread.join();
        EXPECT_EQ (asking.result, 0);
    }
    withdrawal.allow();
    EXPECT_FALSE (withdrawal.isWithdrawn());

    // An allow too many changes nothing.
    withdrawal.allow();
    withdrawal.withdraw();
    EXPECT_TRUE (withdrawal.isWithdrawn());
}

namespace
{
/** Once the box is showing and its window has the keyboard focus (a new window gets it from the
    display a moment after it opens), notes what has the focus, lets `inspect` see the box, and
    presses its button "ok". */
class FocusWatcher : private juce::Timer
{
public:
    explicit FocusWatcher (std::function<void (juce::AlertWindow&)> inspectToUse)
        : inspect (std::move (inspectToUse))
    {
        startTimer (5);
    }

    juce::Component* focused = nullptr;

private:
    void timerCallback() override
    {
        auto* window = dynamic_cast<juce::AlertWindow*> (juce::Component::getCurrentlyModalComponent());
        if (window == nullptr)
            return;

        focused = juce::Component::getCurrentlyFocusedComponent();
        if ((focused == nullptr || ! window->isParentOf (focused)) && ++waits < 2000)
            return;

        stopTimer();
        inspect (*window);
        for (auto* child : window->getChildren())
            if (auto* button = dynamic_cast<juce::TextButton*> (child);
                button != nullptr && button->getButtonText() == "ok")
                button->triggerClick();
    }

    std::function<void (juce::AlertWindow&)> inspect;
    int waits = 0;
};
} // namespace

TEST (RealDialogs, aFieldAskedToHaveTheFocusHasItWhenTheBoxOpensAndTabGoesOnToTheReturnButton)
{
    juce::Component* field = nullptr;
    juce::Component* first = nullptr;
    juce::String afterField, afterThat;
    bool returnLeftToTheBox = false;

    FocusWatcher answerer (
        [&] (juce::AlertWindow& window)
        {
            field = window.getTextEditor ("songs");
            const auto traverser = window.createKeyboardFocusTraverser();
            first = traverser->getDefaultComponent (&window);
            if (auto* next = dynamic_cast<juce::Button*> (traverser->getNextComponent (field)))
            {
                afterField = next->getButtonText();
                if (auto* last = dynamic_cast<juce::Button*> (traverser->getNextComponent (next)))
                    afterThat = last->getButtonText();
            }
            // One line: Return is the box's, which presses "ok".
            returnLeftToTheBox = ! field->keyPressed (juce::KeyPress (juce::KeyPress::returnKey));
        });

    AlertRequest request;
    request.title = "Find the songs";
    request.fieldNames = { "songs" };
    request.fieldLabels = { "Number of songs:" };
    request.fieldValues = { "" };
    request.focusedField = 0;
    request.buttons.push_back ({ "cancel", 0, juce::KeyPress (juce::KeyPress::escapeKey) });
    request.buttons.push_back ({ "ok", 1, juce::KeyPress (juce::KeyPress::returnKey) });

    EXPECT_EQ (Dialogs::get().runAlert (request), 1);
    ASSERT_NE (field, nullptr);
    EXPECT_EQ (first, field);
    EXPECT_EQ (answerer.focused, field);
    EXPECT_EQ (afterField, "ok");
    EXPECT_EQ (afterThat, "cancel");
    EXPECT_TRUE (returnLeftToTheBox);
}

TEST (RealDialogs, aMultiLineFieldTakesReturnAsANewLineAndComesBackAsTyped)
{
    juce::TextEditor* editor = nullptr;
    juce::String afterField;
    juce::String label;

    FocusWatcher answerer (
        [&] (juce::AlertWindow& window)
        {
            editor = dynamic_cast<juce::TextEditor*> (window.getCustomComponent (0));
            if (editor == nullptr)
                return;
            label = editor->getName();
            editor->setText ("A1 One", false);
            editor->moveCaretToEnd();
            EXPECT_TRUE (editor->keyPressed (juce::KeyPress (juce::KeyPress::returnKey)));
            editor->insertTextAtCaret ("A2 Two");
            EXPECT_FALSE (editor->keyPressed (juce::KeyPress (juce::KeyPress::tabKey)));
            const auto traverser = window.createKeyboardFocusTraverser();
            if (auto* next = dynamic_cast<juce::Button*> (traverser->getNextComponent (editor)))
                afterField = next->getButtonText();
        });

    AlertRequest request;
    request.title = "Titles from the sleeve";
    request.fieldNames = { "titles" };
    request.fieldLabels = { "Titles:" };
    request.fieldValues = { "" };
    request.multiLineFields = true;
    request.focusedField = 0;
    request.buttons.push_back ({ "cancel", 0, juce::KeyPress (juce::KeyPress::escapeKey) });
    request.buttons.push_back ({ "ok", 1, juce::KeyPress (juce::KeyPress::returnKey) });

    EXPECT_EQ (Dialogs::get().runAlert (request), 1);
    ASSERT_NE (editor, nullptr);
    EXPECT_EQ (label, "Titles:");
    EXPECT_EQ (answerer.focused, editor);
    EXPECT_EQ (afterField, "ok");
    EXPECT_EQ (request.fieldValues, juce::StringArray ("A1 One\nA2 Two"));
}
