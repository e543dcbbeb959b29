#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

/** A text button that can show itself active under a light orange veil (a run in progress). */
class TwoStateButton : public juce::TextButton
{
public:
    explicit TwoStateButton (const juce::String& buttonText);

    /** Only stores the state: the caller repaints. */
    void setActive (bool isActive) { active = isActive; }
    bool isActive() const { return active; }

    const juce::String& getOriginalText() const { return text; }

    void paintButton (juce::Graphics& g, bool shouldDrawButtonAsHighlighted, bool shouldDrawButtonAsDown) override;

private:
    bool active = false;
    juce::String text;
    juce::Colour overlayColour = juce::Colours::orange;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TwoStateButton)
};
