#include "capture/PlaySlider.h"

#include "capture/AudioReader.h"

PlaySlider::PlaySlider (const juce::String& componentName)
    : juce::Slider (componentName),
      timeLabel (std::make_unique<juce::Label> ("time"))
{
    timeLabel->setJustificationType (juce::Justification::centred);
    // The owner may lay the label over the bar: clicks go through to the slider.
    timeLabel->setInterceptsMouseClicks (false, false);
    timeLabel->attachToComponent (this, false);
}

PlaySlider::~PlaySlider()
{
    timeLabel.reset();
}

void PlaySlider::setTrackInfo (double newSampleRate, double newTotalSamples)
{
    sampleRate = (juce::int64) newSampleRate;
    totalSamples = (juce::int64) newTotalSamples;
}

juce::String PlaySlider::getTimeText() const
{
    return timeLabel->getText();
}

void PlaySlider::setTimeText (const juce::String& text, bool force)
{
    if (dragging && ! force)
        return;

    timeLabel->setText (text, juce::dontSendNotification);
}

void PlaySlider::updateTime (juce::int64 position, bool force)
{
    setTimeText (timeTextFor (position), force);
}

juce::String PlaySlider::timeTextFor (juce::int64 position) const
{
    return formatSamples (position, sampleRate) + " / " + formatSamples (totalSamples, sampleRate);
}

juce::String PlaySlider::formatSamples (juce::int64 samples, juce::int64 rate)
{
    // A track whose rate is not known yet is counted at the CD rate rather than divided by zero.
    if (rate < 1)
        rate = 44100;

    const juce::int64 seconds = samples / rate;
    const juce::int64 remainder = samples % rate;
    const int hundredths = (int) ((double) remainder / (double) rate * 100.0);

    const juce::int64 minutes = seconds / 60;
    const juce::int64 secs = seconds % 60;

    juce::String text;
    if (minutes > 0)
    {
        text << minutes << ":";
        if (secs <= 9)
            text << "0";
    }

    text << secs << ".";
    if (hundredths <= 9)
        text << "0";
    text << hundredths;

    return text;
}

void PlaySlider::startedDragging()
{
    dragging = true;
}

void PlaySlider::valueChanged()
{
    // The label follows the thumb, drag or not.
    setTimeText (timeTextFor ((juce::int64) getValue()), true);
}

void PlaySlider::stoppedDragging()
{
    if (readerSlot != nullptr && *readerSlot != nullptr)
        (*readerSlot)->setPosition (getValue());

    setTimeText (timeTextFor ((juce::int64) getValue()), false);
    dragging = false;
}
