#include "capture/MeterComponent.h"

MeterComponent::MeterComponent()
    : gradient (std::make_unique<juce::ColourGradient> (juce::Colours::red.withAlpha (0.6f), 0.0f, 30.0f,
                                                        juce::Colours::orange.withAlpha (0.4f), 0.0f, 100.0f, false))
{
}

MeterComponent::~MeterComponent() = default;

void MeterComponent::setLevel (float newLevel)
{
    level = juce::jlimit (0.0f, 1.0f, newLevel);
    repaint();
}

void MeterComponent::paint (juce::Graphics& g)
{
    const int width = getWidth();
    const int height = getHeight();

    g.fillAll (juce::Colours::lightgrey);

    const int top = (int) ((1.0f - level) * (float) height);
    g.setGradientFill (*gradient);
    g.fillRect (0, top, width, height - top);

    juce::LookAndFeel_V2::drawBevel (g, 0, 0, width, height, 2, juce::Colour (100, 100, 100), juce::Colours::white);
}
