#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <memory>

class AudioReader;

/**
    The seek bar of the track page. Its value is a position in samples; a label of its own
    shows "position / total" as minutes, seconds and hundredths. A finished drag moves the
    player, and while a drag goes on the owner's timer leaves the label alone.
*/
class PlaySlider : public juce::Slider
{
public:
    explicit PlaySlider (const juce::String& componentName = {});
    ~PlaySlider() override;

    /** Where the owner keeps its player; the slot may hold null. */
    void setReaderSlot (AudioReader** slot) { readerSlot = slot; }
    void setDragging (bool isDragging) { dragging = isDragging; }
    bool isDragging() const { return dragging; }

    /** The rate and length of the file playing, both truncated to whole numbers. */
    void setTrackInfo (double sampleRate, double totalSamples);

    juce::String getTimeText() const;

    /** Writes the label without notification; during a drag only a forced text gets through. */
    void setTimeText (const juce::String& text, bool force);

    /** Shows the time of a position, as the owner's timer does with force false. */
    void updateTime (juce::int64 position, bool force);

    /** "position / total" for a position in samples, at the track's rate. */
    juce::String timeTextFor (juce::int64 position) const;

    /** Minutes, seconds and hundredths of a sample count: "1:05.40", "5.07". */
    static juce::String formatSamples (juce::int64 samples, juce::int64 sampleRate);

    juce::Label& getTimeLabel();

    /** Keeps the time text at this place in the slider's parent, whatever the text and however
        the slider moves; by default it sits above the slider. */
    void setTimeLabelBounds (juce::Rectangle<int> bounds);

    void startedDragging() override;
    void stoppedDragging() override;
    void valueChanged() override;

private:
    class TimeLabel;

    AudioReader** readerSlot = nullptr;
    bool dragging = false;
    std::unique_ptr<TimeLabel> timeLabel;
    juce::int64 sampleRate = 44100;
    juce::int64 totalSamples = 0;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (PlaySlider)
};
