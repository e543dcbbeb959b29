// The seek bar of the track page: its time text, its label during drags, and the seek it makes.
#include "PlaybackFixture.h"

#include "capture/PlaySlider.h"

using namespace playback_test;

namespace
{
juce::MouseEvent mouseAt (juce::Component& component, float x, juce::Point<float> downAt, bool dragged)
{
    const auto now = juce::Time::getCurrentTime();
    return juce::MouseEvent (juce::Desktop::getInstance().getMainMouseSource(), { x, 10.0f },
                             juce::ModifierKeys (juce::ModifierKeys::leftButtonModifier), 1.0f, 0.0f, 0.0f, 0.0f, 0.0f,
                             &component, &component, now, downAt, now, 1, dragged);
}

struct LabelChanges : public juce::Label::Listener
{
    void labelTextChanged (juce::Label*) override { ++count; }
    int count = 0;
};
} // namespace

TEST (SeekBar, timeTextShowsMinutesOnlyFromOneMinuteOn)
{
    PlaySlider slider;
    slider.setTrackInfo (44100.0, 182.5 * 44100.0);

    slider.updateTime ((juce::int64) (65.4 * 44100.0), false);
    EXPECT_EQ (slider.getTimeText(), "1:05.40 / 3:02.50");

    slider.updateTime ((juce::int64) (5.07 * 44100.0), false);
    EXPECT_EQ (slider.getTimeText(), "5.07 / 3:02.50");

    slider.updateTime (0, false);
    EXPECT_EQ (slider.getTimeText(), "0.00 / 3:02.50");

    slider.updateTime (44100 * 70, false);
    EXPECT_EQ (slider.getTimeText(), "1:10.00 / 3:02.50");

    slider.updateTime (44100 * 600 + 441 * 99, false);
    EXPECT_EQ (slider.getTimeText(), "10:00.99 / 3:02.50");
}

TEST (SeekBar, timeTextCountsAtTheTracksOwnRate)
{
    PlaySlider slider;
    slider.setTrackInfo (48000.0, 480000.0);

    slider.updateTime (48000 * 61 + 480, false);
    EXPECT_EQ (slider.getTimeText(), "1:01.01 / 10.00");

    slider.updateTime (48000, false);
    EXPECT_EQ (slider.getTimeText(), "1.00 / 10.00"); // at 44100 this would read 1.08
}

TEST (SeekBar, trackInfoIsTruncatedToWholeNumbers)
{
    PlaySlider slider;
    slider.setTrackInfo (44100.9, 2.0 * 44100.0 + 0.99);

    slider.updateTime (44100, false);
    EXPECT_EQ (slider.getTimeText(), "1.00 / 2.00");

    EXPECT_EQ (PlaySlider::formatSamples (44099, 44100), "0.99");
    EXPECT_EQ (PlaySlider::formatSamples (441, 44100), "0.01");
    EXPECT_EQ (PlaySlider::formatSamples (440, 44100), "0.00");
}

TEST (SeekBar, aDragInProgressIsNotDisturbedByTheTimer)
{
    PlaySlider slider;
    slider.setTrackInfo (44100.0, 441000.0);
    slider.updateTime (44100, false);
    ASSERT_EQ (slider.getTimeText(), "1.00 / 10.00");

    slider.setDragging (true);
    slider.updateTime (88200, false);
    EXPECT_EQ (slider.getTimeText(), "1.00 / 10.00");
    slider.setTimeText ({}, false);
    EXPECT_EQ (slider.getTimeText(), "1.00 / 10.00");

    slider.updateTime (88200, true);
    EXPECT_EQ (slider.getTimeText(), "2.00 / 10.00");

    slider.setDragging (false);
    slider.setTimeText ({}, false);
    EXPECT_EQ (slider.getTimeText(), "");
}

TEST (SeekBar, theLabelIsWrittenWithoutNotification)
{
    PlaySlider slider;
    LabelChanges changes;
    slider.getTimeLabel().addListener (&changes);

    slider.setTimeText ("1.00 / 2.00", false);
    slider.updateTime (100, true);
    EXPECT_EQ (changes.count, 0);
    EXPECT_EQ (slider.getTimeText(), "0.00 / 0.00");

    slider.getTimeLabel().removeListener (&changes);
}

TEST (SeekBar, theLabelFollowsTheValueEvenDuringADrag)
{
    PlaySlider slider;
    slider.setTrackInfo (44100.0, 441000.0);
    slider.setRange (0.0, 441000.0, 1.0);
    slider.setDragging (true);

    slider.setValue (3.0 * 44100.0, juce::sendNotificationSync);
    EXPECT_EQ (slider.getTimeText(), "3.00 / 10.00");
}

TEST (SeekBar, theTimeLabelIsNamedCentredAndJoinsTheSlidersParent)
{
    juce::Component page;
    page.setSize (480, 360);
    page.setVisible (true);
    PlaySlider slider ("slider");
    EXPECT_EQ (slider.getTimeLabel().getName(), "time");
    EXPECT_EQ (slider.getTimeLabel().getJustificationType(), juce::Justification (juce::Justification::centred));
    EXPECT_EQ (slider.getTimeLabel().getAttachedComponent(), &slider);

    page.addAndMakeVisible (slider);
    EXPECT_EQ (slider.getTimeLabel().getParentComponent(), &page);
    EXPECT_TRUE (slider.getTimeLabel().isVisible());

    // Laid over the bar, the label lets the mouse through to it.
    slider.setBounds (215, 212, 200, 20);
    slider.getTimeLabel().setBounds (215, 212, 200, 20);
    EXPECT_EQ (page.getComponentAt (300, 220), &slider);
}

TEST (SeekBar, stoppingADragWithNoPlayerOnlyEndsTheDrag)
{
    PlaySlider slider;
    AudioReader* none = nullptr;
    slider.setReaderSlot (&none);
    slider.setTrackInfo (44100.0, 441000.0);
    slider.setRange (0.0, 441000.0, 1.0);

    slider.startedDragging();
    EXPECT_TRUE (slider.isDragging());
    slider.setValue (44100.0, juce::dontSendNotification);
    slider.stoppedDragging();
    EXPECT_FALSE (slider.isDragging());
    // The stop's own text is refused, as the drag was still on when it was written.
    EXPECT_EQ (slider.getTimeText(), "");

    slider.setReaderSlot (nullptr);
    slider.startedDragging();
    slider.stoppedDragging();
    EXPECT_FALSE (slider.isDragging());
}

TEST_F (PlaybackTest, draggingTheSeekBarMovesThePlayerWhenTheDragEnds)
{
    const auto sound = rampSound (10000);
    AudioReader* reader = &newReader();
    reader->play (writeWav ("ramp.wav", sound, 44100.0), 0.0);

    juce::Component page;
    page.setSize (400, 300);
    PlaySlider slider ("slider");
    page.addAndMakeVisible (slider);
    slider.setBounds (0, 0, 200, 20);
    slider.setSliderStyle (juce::Slider::LinearHorizontal);
    slider.setTextBoxStyle (juce::Slider::NoTextBox, false, 0, 0);
    slider.setRange (0.0, reader->getTotalLength(), 1.0);
    slider.setReaderSlot (&reader);
    slider.setTrackInfo (reader->getSampleRate(), reader->getTotalLength());

    const juce::Point<float> downAt{ 20.0f, 10.0f };
    slider.mouseDown (mouseAt (slider, 20.0f, downAt, false));
    EXPECT_TRUE (slider.isDragging());
    slider.mouseDrag (mouseAt (slider, 100.0f, downAt, true));
    EXPECT_TRUE (slider.isDragging());
    EXPECT_EQ (reader->getPosition(), 0); // nothing moves during the drag

    const auto value = slider.getValue();
    ASSERT_GT (value, 1000.0);
    ASSERT_LT (value, 9000.0);
    EXPECT_EQ (slider.getTimeText(), slider.timeTextFor ((juce::int64) value));

    slider.mouseUp (mouseAt (slider, 100.0f, downAt, true));
    EXPECT_FALSE (slider.isDragging());
    EXPECT_EQ (reader->getPosition(), (juce::int64) value);

    const auto output = device->runBlocks (1);
    expectSound (output, 0, sound, (int) value, 512);
}
