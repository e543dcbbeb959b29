#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <memory>

/** One vertical level bar of the capture page: a red-to-orange bar rising from the bottom in a bevelled well. */
class MeterComponent : public juce::Component, public juce::ChangeBroadcaster
{
public:
    MeterComponent();
    ~MeterComponent() override;

    /** Shows a level from 0.0 (empty) to 1.0 (full); values outside are held at the ends. */
    void setLevel (float newLevel);
    float getLevel() const { return level; }

    void paint (juce::Graphics& g) override;

private:
    std::unique_ptr<juce::ColourGradient> gradient;
    float level = 0.0f;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (MeterComponent)
};
