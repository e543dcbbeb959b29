#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

class Project;

/**
    A small warning on the capture page that the input is losing blocks: "Dropouts: " and the
    dropouts of the run so far. It shows only while dropouts happen, and goes once three seconds
    of audio have passed without one, or when the run ends. The engine counts; this only looks.
*/
class DropoutIndicator : public juce::Label, private juce::Timer
{
public:
    explicit DropoutIndicator (Project* project);
    ~DropoutIndicator() override;

    /** Begins to follow the engine's run. */
    void runStarted();

    /** The run is over: the indicator goes. */
    void runEnded();

    /** Looks at the engine's counts now, as each tick of the timer does. */
    void update();

    /** How often the counts are looked at, in milliseconds. */
    static constexpr int interval = 100;

    /** Audio without a dropout after which the indicator goes, in seconds. */
    static constexpr int secondsShown = 3;

    /** Where the page places it: the strip under the banner, above the title, which no control
        of the page uses. */
    static juce::Rectangle<int> pageBounds() { return { 230, 61, 190, 18 }; }

private:
    void timerCallback() override { update(); }

    Project* project;

    JUCE_DECLARE_NON_COPYABLE (DropoutIndicator)
};
