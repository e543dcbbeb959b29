#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

/** The saturation lamp between the level bars: a red glass sphere while the input is too loud. */
class TooHighMeterComponent : public juce::Component, public juce::ChangeBroadcaster
{
public:
    TooHighMeterComponent() = default;

    void setTooHigh (bool isTooHigh);
    bool isTooHigh() const { return tooHigh; }

    void paint (juce::Graphics& g) override;

private:
    bool tooHigh = false;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TooHighMeterComponent)
};
