#include "capture/TooHighMeterComponent.h"

void TooHighMeterComponent::setTooHigh (bool isTooHigh)
{
    tooHigh = isTooHigh;
    repaint();
}

void TooHighMeterComponent::paint (juce::Graphics& g)
{
    if (tooHigh)
        juce::LookAndFeel_V2::drawGlassSphere (g, 0.0f, 0.0f, 14.0f, juce::Colours::red, 0.5f);
    else
        g.fillAll (juce::Colours::lightgrey);
}
