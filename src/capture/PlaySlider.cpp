#include "capture/PlaySlider.h"

#include "capture/AudioReader.h"

#include <optional>

/** The time text: attached to the slider, above it, unless the owner gave it a place of its own,
    which it then keeps (an attached label otherwise goes back above its slider at each text). */
class PlaySlider::TimeLabel : public juce::Label
{
public:
    TimeLabel()
        : juce::Label ("time")
    {
    }

    void componentMovedOrResized (juce::Component& owner, bool wasMoved, bool wasResized) override
    {
        if (fixedBounds.has_value())
            setBounds (*fixedBounds);
        else
            juce::Label::componentMovedOrResized (owner, wasMoved, wasResized);
    }

    std::optional<juce::Rectangle<int>> fixedBounds;
};

PlaySlider::PlaySlider (const juce::String& componentName)
    : juce::Slider (componentName),
      timeLabel (std::make_unique<TimeLabel>())
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

juce::Label& PlaySlider::getTimeLabel()
{
    return *timeLabel;
}

void PlaySlider::setTimeLabelBounds (juce::Rectangle<int> bounds)
{
    timeLabel->fixedBounds = bounds;
    timeLabel->setBounds (bounds);
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
