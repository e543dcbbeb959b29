#include "capture/DropoutIndicator.h"

#include "capture/Audio.h"
#include "project/Project.h"

DropoutIndicator::DropoutIndicator (Project* projectToUse)
    : juce::Label ("dropouts"),
      project (projectToUse)
{
    setJustificationType (juce::Justification::centredRight);
    setFont (juce::Font (13.0f, juce::Font::bold));
    setColour (juce::Label::textColourId, juce::Colour (0xffc0161b));
    setBorderSize ({});
    setInterceptsMouseClicks (false, false);
}

DropoutIndicator::~DropoutIndicator()
{
    stopTimer();
}

void DropoutIndicator::runStarted()
{
    update();
    startTimer (interval);
}

void DropoutIndicator::runEnded()
{
    stopTimer();
    setVisible (false);
}

void DropoutIndicator::update()
{
    auto* engine = Audio::getInstance();
    auto* callback = engine != nullptr ? engine->getCallback() : nullptr;
    if (callback == nullptr)
    {
        setVisible (false);
        return;
    }

    // The counts are the audio thread's; reading them is all this does.
    const int dropouts = callback->getRunDropouts();
    const auto lastDropout = callback->getLastDropoutSample();
    const auto sinceLast = callback->getRunSamples() - lastDropout;
    const bool recent = dropouts > 0 && lastDropout >= 0 &&
                        sinceLast < (juce::int64) secondsShown * juce::jmax (1, callback->getSampleRate());

    if (recent)
        setText (project->translate ("Dropouts: ") + juce::String (dropouts), juce::dontSendNotification);

    setVisible (recent);
}
