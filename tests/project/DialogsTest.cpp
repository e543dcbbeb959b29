// The real windows behind the dialog seam: what the program shows when no test answers for it.
#include "project/Dialogs.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

namespace
{
/** Answers the alert window that becomes modal, by pressing the button with this text. */
class AlertAnswerer : private juce::Timer
{
public:
    explicit AlertAnswerer (juce::String buttonToPress, std::function<void (juce::AlertWindow&)> inspect = {})
        : button (std::move (buttonToPress)),
          inspectWindow (std::move (inspect))
    {
        startTimer (20);
    }

    juce::String title;
    int buttons = 0;
    bool answered = false;

private:
    void timerCallback() override
    {
        auto* window = dynamic_cast<juce::AlertWindow*> (juce::Component::getCurrentlyModalComponent());
        if (window == nullptr)
            return;

        stopTimer();
        title = window->getName();
        buttons = window->getNumButtons();
        if (inspectWindow)
            inspectWindow (*window);

        for (auto* child : window->getChildren())
        {
            if (auto* candidate = dynamic_cast<juce::TextButton*> (child);
                candidate != nullptr && candidate->getButtonText() == button)
            {
                answered = true;
                candidate->triggerClick();
            }
        }
    }

    juce::String button;
    std::function<void (juce::AlertWindow&)> inspectWindow;
};
} // namespace

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
