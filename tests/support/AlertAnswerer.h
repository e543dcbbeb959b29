#pragma once

// Answers the program's real alert windows as a user would, by pressing their buttons, or acts
// while one shows: for tests that run the real dialog implementation instead of the scripted one.
#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>
#include <map>

/** Watches for a modal alert window on the message thread and presses one of its buttons. */
class AlertAnswerer : private juce::Timer
{
public:
    /** Presses `buttonToPress` in the first alert that becomes modal; `inspect`, when given,
        sees the window first. */
    explicit AlertAnswerer (juce::String buttonToPress, std::function<void (juce::AlertWindow&)> inspect = {})
        : inspectWindow (std::move (inspect))
    {
        anyTitle = std::move (buttonToPress);
        startTimer (20);
    }

    /** Answers alerts by their titles, again and again: `answers` maps a title to the button to
        press. An alert whose title is not there is left alone. */
    explicit AlertAnswerer (std::map<juce::String, juce::String> answers, int intervalMs = 5)
        : byTitle (std::move (answers)),
          repeat (true)
    {
        startTimer (intervalMs);
    }

    /** An alert of this title is answered only once this many milliseconds have passed since it
        was first seen; the others at once. */
    void delayAnswer (const juce::String& windowTitle, int milliseconds) { delays[windowTitle] = milliseconds; }

    /** Stops answering. */
    void stop() { stopTimer(); }

    juce::String title;           // of the last alert answered
    int buttons = 0;              // of the last alert answered
    bool answered = false;        // at least one alert was answered
    juce::StringArray titlesSeen; // every alert seen, once each time it appeared

private:
    void timerCallback() override
    {
        auto* window = dynamic_cast<juce::AlertWindow*> (juce::Component::getCurrentlyModalComponent());
        if (window == nullptr)
        {
            seen = nullptr;
            return;
        }

        if (window != seen.getComponent())
        {
            seen = window;
            seenAt = juce::Time::getMillisecondCounter();
            titlesSeen.add (window->getName());
        }

        juce::String button = anyTitle;
        if (repeat)
        {
            const auto found = byTitle.find (window->getName());
            if (found == byTitle.end())
                return;
            button = found->second;
        }

        const auto delay = delays.find (window->getName());
        if (delay != delays.end() && juce::Time::getMillisecondCounter() - seenAt < (juce::uint32) delay->second)
            return;

        if (! repeat)
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
                seen = nullptr;
                return;
            }
        }
    }

    juce::String anyTitle;
    std::map<juce::String, juce::String> byTitle;
    std::map<juce::String, int> delays;
    bool repeat = false;
    std::function<void (juce::AlertWindow&)> inspectWindow;
    juce::Component::SafePointer<juce::Component> seen;
    juce::uint32 seenAt = 0;
};

/** Runs `action` on the message thread once an alert of `title` is modal. The box runs a modal
    loop of its own, so a test that waits for it cannot act while it shows: this acts from a
    timer, which runs inside that loop. */
class WhenShowing : private juce::Timer
{
public:
    WhenShowing (juce::String titleToWaitFor, std::function<void()> actionToRun)
        : title (std::move (titleToWaitFor)),
          action (std::move (actionToRun))
    {
        startTimer (2);
    }

    bool done = false;

private:
    void timerCallback() override
    {
        auto* modal = juce::Component::getCurrentlyModalComponent();
        if (modal == nullptr || modal->getName() != title)
            return;
        stopTimer();
        done = true;
        action();
    }

    juce::String title;
    std::function<void()> action;
};
