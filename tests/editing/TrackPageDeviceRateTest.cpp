// The track page's transport on a sound card that runs at 48000 Hz, as a desktop's sound server
// does: the seek bar, the pause and the split count in the track's own time, for tracks at 44100
// and at 48000 Hz.
#include "TrackPageFixture.h"

#include "capture/PlaySlider.h"

#include <cmath>

using namespace trackpage_test;

namespace
{
constexpr double deviceRate = 48000.0;

/** A track of two seconds at `trackRate` in the list, the device at 48000 Hz, nothing playing. */
class TrackOnA48kDevice : public TrackPageTest, public ::testing::WithParamInterface<double>
{
protected:
    void SetUp() override
    {
        TrackPageTest::SetUp();
        auto setup = project->getAudioDeviceSetup();
        setup.sampleRate = deviceRate;
        ASSERT_TRUE (project->setAudioDeviceSetup (setup, true).isEmpty());
        device = dynamic_cast<FakeAudioDevice*> (project->getCurrentAudioDevice());
        ASSERT_NE (device, nullptr);
        ASSERT_EQ (device->getCurrentSampleRate(), deviceRate);

        trackRate = GetParam();
        audio = WavFiles::tone ((int) (2 * trackRate), trackRate, 400.0, 0.4);
        file = addWav ("Track1.wav", audio);
        showTracks();
        clickRow (page->trackList, 0);
    }

    /** The device plays `seconds` of its own time, counting only the blocks that the player
        filled (one that comes before the read-ahead has its sound leaves the position where it
        was); then the page's timer looks. */
    void playFor (double seconds)
    {
        auto* reader = page->getReader();
        ASSERT_NE (reader, nullptr);
        const int blocks = (int) std::lround (seconds * deviceRate / 512.0);
        for (int played = 0, tries = 0; played < blocks && tries < 20000; ++tries)
        {
            const auto before = reader->getPosition();
            device->runBlocks (1);
            if (reader->getPosition() != before)
                ++played;
            else
                juce::Thread::sleep (1);
        }
        tick();
    }

    double trackRate = 44100.0;
    WavFiles::Audio audio;
    juce::File file;
};
} // namespace

TEST_P (TrackOnA48kDevice, theSeekBarShowsTheTracksOwnTimeAndLength)
{
    press (page->playButton);
    ASSERT_NE (page->getReader(), nullptr);
    EXPECT_EQ (page->positionSlider.getMaximum(), 2 * trackRate);
    EXPECT_EQ (page->positionSlider.getTimeText(), "0.00 / 2.00");

    playFor (1.0);

    // A second of the device's time is a second of the track's, whatever either rate is.
    const double value = page->positionSlider.getValue();
    EXPECT_EQ (value, (double) page->getReader()->getPosition());
    EXPECT_NEAR (value, trackRate, trackRate * 0.03);
    EXPECT_TRUE (page->positionSlider.getTimeText().startsWith ("0.9") ||
                 page->positionSlider.getTimeText().startsWith ("1.0"))
        << page->positionSlider.getTimeText();
    EXPECT_TRUE (page->positionSlider.getTimeText().endsWith (" / 2.00")) << page->positionSlider.getTimeText();
}

TEST_P (TrackOnA48kDevice, theSplitLandsWhereTheUserPaused)
{
    press (page->playButton);
    playFor (1.0);
    pressWhileRunning (page->playButton);
    const double paused = page->getPausePosition();
    ASSERT_NE (paused, -1.0);
    EXPECT_EQ (page->positionSlider.getValue(), paused);

    // What was heard: a second of the track, less the little the resampler holds.
    EXPECT_NEAR (paused / trackRate, 1.0, 0.03);

    const auto second = file.getNonexistentSibling (true);
    press (page->splitButton);
    ASSERT_EQ (project->trackCount(), 2);
    EXPECT_EQ (project->trackPath (1), second.getFullPathName());

    // The split writes at 44100 Hz: the first part ends at the paused time, in the track's time.
    const auto first = WavFiles::read (file);
    EXPECT_EQ (first.rate, 44100.0);
    EXPECT_NEAR (first.frames(), paused / trackRate * 44100.0, 1.0);
    // The rest follows in whole blocks of the split: nothing of the track is lost.
    const int rest = WavFiles::read (second).frames();
    EXPECT_GE (rest, 2 * 44100 - first.frames());
    EXPECT_LT (rest, 2 * 44100 - first.frames() + 2 * 960);
}

INSTANTIATE_TEST_SUITE_P (TrackRates, TrackOnA48kDevice, ::testing::Values (44100.0, 48000.0),
                          [] (const ::testing::TestParamInfo<double>& info)
                          { return "At" + std::to_string ((int) info.param) + "Hz"; });
