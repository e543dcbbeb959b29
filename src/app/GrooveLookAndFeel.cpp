#include "app/GrooveLookAndFeel.h"

GrooveLookAndFeel::GrooveLookAndFeel()
    : juce::LookAndFeel_V4 (juce::LookAndFeel_V4::getLightColourScheme())
{
    const auto background = juce::Colours::lightgrey;
    getCurrentColourScheme().setUIColour (ColourScheme::windowBackground, background);
    getCurrentColourScheme().setUIColour (ColourScheme::widgetBackground, background.brighter (0.4f));

    setColour (juce::ResizableWindow::backgroundColourId, background);
    setColour (juce::Label::textColourId, juce::Colours::black);
    setColour (juce::ToggleButton::textColourId, juce::Colours::black);
    setColour (juce::ToggleButton::tickColourId, juce::Colours::black);
    setColour (juce::ToggleButton::tickDisabledColourId, juce::Colours::darkgrey);
    setColour (juce::GroupComponent::textColourId, juce::Colours::black);
    setColour (juce::GroupComponent::outlineColourId, juce::Colours::grey);
    setColour (juce::TextButton::buttonColourId, juce::Colour (0xffe8e8e8));
    setColour (juce::TextButton::textColourOffId, juce::Colours::black);
    setColour (juce::TextEditor::backgroundColourId, juce::Colours::white);
    setColour (juce::TextEditor::textColourId, juce::Colours::black);
    setColour (juce::AlertWindow::backgroundColourId, juce::Colour (0xffececec));
    setColour (juce::AlertWindow::textColourId, juce::Colours::black);
}
