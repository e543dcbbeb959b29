#include "capture/TwoStateButton.h"

TwoStateButton::TwoStateButton (const juce::String& buttonText)
    : juce::TextButton (buttonText),
      text (buttonText)
{
}

void TwoStateButton::paintButton (juce::Graphics& g, bool shouldDrawButtonAsHighlighted, bool shouldDrawButtonAsDown)
{
    juce::TextButton::paintButton (g, shouldDrawButtonAsHighlighted, shouldDrawButtonAsDown);

    g.setColour (overlayColour.withAlpha (active ? 0.2f : 0.0f));
    g.fillRoundedRectangle (getLocalBounds().toFloat(), 50.0f);
}
