// The preview player: what reaches the sound card when a file plays, pauses, stops and is let go.
#include "CaptureTestSupport.h"
#include "PlaybackFixture.h"

using namespace playback_test;

TEST_F (PlaybackTest, aFilePlaysItsOwnSamplesOnBothOutputsUntilItsEnd)
{
    const auto sound = rampSound (8000);
    auto& reader = newReader();

    reader.play (writeWav ("ramp.wav", sound, 44100.0), 0.0);
    EXPECT_TRUE (reader.isPlaying());
    EXPECT_EQ (reader.getPosition(), 0);
    EXPECT_EQ (reader.getTotalLength(), 8000.0);
    EXPECT_EQ (reader.getSampleRate(), 44100.0);

    const auto output = device->runBlocks (20);
    expectSound (output, 0, sound, 0, 8000);

    juce::AudioBuffer<float> after (2, output.getNumSamples() - 8000);
    for (int channel = 0; channel < 2; ++channel)
        after.copyFrom (channel, 0, output, channel, 8000, after.getNumSamples());
    EXPECT_TRUE (isSilent (after));

    EXPECT_FALSE (reader.isPlaying()); // finished
    EXPECT_TRUE (isSilent (device->runBlocks (2)));
}

TEST_F (PlaybackTest, aNewPlayerPlaysNothingAndKnowsNoFile)
{
    auto& reader = newReader();

    EXPECT_FALSE (reader.isPlaying());
    EXPECT_EQ (reader.getPosition(), 0);
    EXPECT_EQ (reader.getTotalLength(), 0.0);
    EXPECT_EQ (reader.getSampleRate(), 44100.0);
    EXPECT_FALSE (reader.isPaused());
    EXPECT_EQ (reader.getPausePosition(), -1.0);
    EXPECT_TRUE (isSilent (device->runBlocks (4)));
}

TEST_F (PlaybackTest, aFileAtAnotherRateThanTheDevicesKeepsItsPitch)
{
    // 1000 Hz recorded at 48000 Hz, played on a device running at 44100 Hz.
    const auto sound = sineSound (11025, 1000.0, 48000.0);
    auto& reader = newReader();
    reader.play (writeWav ("sine48k.wav", sound, 48000.0), 0.0);

    EXPECT_EQ (reader.getSampleRate(), 48000.0);
    // The length counts in the file's own samples, not in the device's.
    EXPECT_EQ (reader.getTotalLength(), 11025.0);

    const auto output = device->runBlocks (16);
    const int length = output.getNumSamples() - 64;
    const double expectedChanges = 2.0 * 1000.0 * length / 44100.0; // about 369
    const double untoldRateChanges = expectedChanges * 44100.0 / 48000.0;
    EXPECT_NEAR (signChanges (output, 0, 64, length), expectedChanges, 3.0);
    EXPECT_NEAR (signChanges (output, 1, 64, length), expectedChanges, 3.0);
    EXPECT_GT (std::abs (signChanges (output, 0, 64, length) - untoldRateChanges), 20.0);
    EXPECT_GT (output.getMagnitude (0, 64, length), 0.45f);
}

TEST_F (PlaybackTest, aFileAtTheDevicesOtherRateKeepsItsPitchToo)
{
    setDeviceRate (48000.0);
    const auto sound = sineSound (11025, 441.0, 22050.0);
    auto& reader = newReader();
    reader.play (writeWav ("sine22k.wav", sound, 22050.0), 0.0);

    EXPECT_EQ (reader.getSampleRate(), 22050.0);
    const auto output = device->runBlocks (32);
    const int length = output.getNumSamples() - 64;
    EXPECT_NEAR (signChanges (output, 0, 64, length), 2.0 * 441.0 * length / 48000.0, 3.0);
}

TEST_F (PlaybackTest, aToneThroughA48kHzDeviceSoundsAtItsOwnFrequency)
{
    setDeviceRate (48000.0);
    // Two seconds of 1000 Hz at 44100 Hz, as a captured track holds them.
    const auto sound = sineSound (88200, 1000.0, 44100.0);
    auto& reader = newReader();
    reader.play (writeWav ("tone.wav", sound, 44100.0), 0.0);

    // A second of the device's output. The device here runs far faster than a real one: each
    // block leaves the read-ahead a moment to keep up, as real time would.
    juce::AudioBuffer<float> output (2, 48000);
    output.clear();
    for (int at = 0; at + blockSize <= 48000; at += blockSize)
    {
        juce::Thread::sleep (3);
        const auto block = device->runBlocks (1);
        for (int c = 0; c < 2; ++c)
            output.copyFrom (c, at, block, c, 0, blockSize);
    }

    // The frequency in the device's time: rising crossings of the wave, counted with a margin
    // so that nothing near zero counts twice.
    const int start = 256, end = 48000 - blockSize;
    for (int c = 0; c < 2; ++c)
    {
        int rises = 0;
        bool low = false;
        for (int i = start; i < end; ++i)
        {
            const auto value = output.getSample (c, i);
            if (value < -0.1f)
                low = true;
            else if (value > 0.1f && low)
            {
                ++rises;
                low = false;
            }
        }
        EXPECT_NEAR (rises * 48000.0 / (end - start), 1000.0, 3.0) << "channel " << c;
    }
    EXPECT_GT (output.getMagnitude (0, start, end - start), 0.45f);
}

TEST_F (PlaybackTest, onA48kHzDevicePositionsCountInTheFilesOwnSamples)
{
    setDeviceRate (48000.0);
    const auto sound = rampSound (88200);
    auto& reader = newReader();
    reader.play (writeWav ("ramp.wav", sound, 44100.0), 22050.0);

    EXPECT_EQ (reader.getTotalLength(), 88200.0);
    EXPECT_EQ (reader.getPosition(), 22050);

    reader.setPosition (30000.0);
    EXPECT_EQ (reader.getPosition(), 30000);

    // 48 blocks of the device's are 24576 of its samples: 22579.2 of the file's. Each block
    // leaves the read-ahead a moment to keep up, as real time would; a block it still misses
    // counts a little short.
    for (int block = 0; block < 48; ++block)
    {
        juce::Thread::sleep (3);
        device->runBlocks (1);
    }
    EXPECT_NEAR ((double) reader.getPosition(), 30000.0 + 48 * 512 * 44100.0 / 48000.0, 480.0);
}

TEST_F (PlaybackTest, playingFromAPositionStartsAtThatSampleTruncated)
{
    const auto sound = rampSound (8000);
    auto& reader = newReader();
    reader.play (writeWav ("ramp.wav", sound, 44100.0), 4000.7);

    EXPECT_TRUE (reader.isPlaying());
    EXPECT_EQ (reader.getPosition(), 4000);

    const auto output = device->runBlocks (4);
    expectSound (output, 0, sound, 4000, 2048);
}

TEST_F (PlaybackTest, settingThePositionMovesThePlayTruncated)
{
    const auto sound = rampSound (10000);
    auto& reader = newReader();
    reader.play (writeWav ("ramp.wav", sound, 44100.0), 0.0);

    reader.setPosition (5000.9);
    EXPECT_EQ (reader.getPosition(), 5000);

    const auto output = device->runBlocks (2);
    expectSound (output, 0, sound, 5000, 1024);
}

TEST_F (PlaybackTest, aPauseKeepsThePositionAndSilencesTheOutput)
{
    const auto sound = rampSound (8000);
    auto& reader = newReader();
    reader.play (writeWav ("ramp.wav", sound, 44100.0), 0.0);
    device->runBlocks (4);
    const auto position = reader.getPosition();
    ASSERT_GT (position, 2000);

    // No audio thread runs, so the place cannot move on before the pause takes it; the stop waits
    // out the transport's own time-out.
    reader.togglePause();

    EXPECT_FALSE (reader.isPlaying());
    EXPECT_EQ (reader.getPausePosition(), (double) position);
    EXPECT_FALSE (reader.isPaused()); // the owner's mark is the owner's to set
    device->runBlocks (1);            // the transport fades its last block out
    EXPECT_TRUE (isSilent (device->runBlocks (4)));
}

TEST_F (PlaybackTest, aResumeTakesThePausedSamplesForSecondsAndDoesNotComeBackToThePlace)
{
    const auto sound = rampSound (8000);
    auto& reader = newReader();
    reader.play (writeWav ("ramp.wav", sound, 44100.0), 0.0);
    device->runBlocks (4);
    const auto position = reader.getPosition();

    // No audio thread runs, so the place cannot move on before the pause takes it; the stop waits
    // out the transport's own time-out.
    reader.togglePause();
    ASSERT_EQ (reader.getPausePosition(), (double) position);

    reader.togglePause();
    EXPECT_EQ (reader.getPausePosition(), -1.0);
    EXPECT_TRUE (reader.isPlaying());
    // 2051 samples become 2051 seconds, far past the end of a file of 8000 samples.
    EXPECT_EQ (reader.getPosition(), position * 44100);

    EXPECT_TRUE (isSilent (device->runBlocks (4)));
    EXPECT_FALSE (reader.isPlaying());
}

TEST_F (PlaybackTest, aPauseAtTheVeryStartResumesAtTheStart)
{
    // Zero samples are zero seconds: the one place a resume finds again.
    const auto sound = rampSound (8000);
    auto& reader = newReader();
    reader.play (writeWav ("ramp.wav", sound, 44100.0), 0.0);

    reader.togglePause(); // with no audio thread, the stop waits out the transport's own time-out
    EXPECT_EQ (reader.getPausePosition(), 0.0);

    reader.togglePause();
    EXPECT_EQ (reader.getPosition(), 0);
    const auto output = device->runBlocks (2);
    expectSound (output, 0, sound, 0, 1024);
}

TEST_F (PlaybackTest, theOwnersPausedMarkChangesNothingInThePlay)
{
    const auto sound = rampSound (8000);
    auto& reader = newReader();
    reader.play (writeWav ("ramp.wav", sound, 44100.0), 0.0);

    reader.setPaused (true);
    EXPECT_TRUE (reader.isPaused());
    EXPECT_TRUE (reader.isPlaying());
    expectSound (device->runBlocks (2), 0, sound, 0, 1024);

    reader.setPaused (false);
    EXPECT_FALSE (reader.isPaused());
}

TEST_F (PlaybackTest, stopSilencesThePlay)
{
    const auto sound = rampSound (8000);
    auto& reader = newReader();
    reader.play (writeWav ("ramp.wav", sound, 44100.0), 0.0);
    device->runBlocks (2);

    {
        auto blocks = device->runBlocksInBackground();
        reader.stop();
    }

    EXPECT_FALSE (reader.isPlaying());
    EXPECT_TRUE (isSilent (device->runBlocks (4)));
}

TEST_F (PlaybackTest, playingAnotherFileReplacesTheFirst)
{
    const auto first = rampSound (8000);
    auto second = rampSound (6000);
    for (auto& value : second.left)
        value = -value;

    auto& reader = newReader();
    reader.play (writeWav ("first.wav", first, 44100.0), 0.0);
    device->runBlocks (2);

    reader.play (writeWav ("second.wav", second, 22050.0), 0.0);
    EXPECT_TRUE (reader.isPlaying());
    EXPECT_EQ (reader.getSampleRate(), 22050.0);
    EXPECT_EQ (reader.getPosition(), 0);

    const auto output = device->runBlocks (4);
    // At half the device's rate every sample of the file lasts two of the device's.
    const int changes = signChanges (output, 0, 0, output.getNumSamples());
    EXPECT_EQ (changes, 0);
    EXPECT_LT (output.getSample (0, 100), 0.0f);
    EXPECT_NEAR (output.getSample (0, 200), second.leftAt (100), 0.002f);
}

TEST_F (PlaybackTest, anUnreadableFilePlaysNothingAndSaysNothing)
{
    const auto notSound = testHome().getChildFile ("notes.wav");
    ASSERT_TRUE (notSound.replaceWithText ("this is not a sound file"));

    auto& reader = newReader();
    reader.play (notSound, 0.0);
    EXPECT_FALSE (reader.isPlaying());
    EXPECT_EQ (reader.getSampleRate(), 44100.0);
    EXPECT_EQ (reader.getTotalLength(), 0.0);
    EXPECT_TRUE (isSilent (device->runBlocks (4)));

    auto& other = newReader();
    other.play (testHome().getChildFile ("missing.wav"), 1000.0);
    EXPECT_FALSE (other.isPlaying());
    EXPECT_TRUE (isSilent (device->runBlocks (4)));

    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (PlaybackTest, anUnreadableFileAfterAGoodOneStopsThePlayAndPlaysNothing)
{
    const auto notSound = testHome().getChildFile ("notes.wav");
    ASSERT_TRUE (notSound.replaceWithText ("this is not a sound file"));

    auto& reader = newReader();
    reader.play (writeWav ("ramp.wav", rampSound (8000), 22050.0), 0.0);
    device->runBlocks (2);

    {
        auto blocks = device->runBlocksInBackground();
        reader.play (notSound, 0.0);
    }
    EXPECT_FALSE (reader.isPlaying());
    EXPECT_EQ (reader.getTotalLength(), 0.0);
    EXPECT_EQ (reader.getSampleRate(), 22050.0); // the last file started
    EXPECT_TRUE (isSilent (device->runBlocks (4)));
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (PlaybackTest, aPlayerLetGoWhilePlayingLeavesTheDeviceSilentAndFreeForTheNext)
{
    const auto sound = rampSound (8000);
    const auto file = writeWav ("ramp.wav", sound, 44100.0);
    {
        std::unique_ptr<FakeAudioDevice::BackgroundBlocks> blocks;
        AudioReader reader (project.get());
        reader.play (file, 0.0);
        device->runBlocks (2);

        // The reader is let go while it plays, with the audio thread running.
        blocks = device->runBlocksInBackground();
    }
    EXPECT_TRUE (isSilent (device->runBlocks (4)));
    EXPECT_TRUE (device->isPlaying());

    auto& next = newReader();
    next.play (file, 0.0);
    expectSound (device->runBlocks (4), 0, sound, 0, 2048);
}

TEST_F (PlaybackTest, aPlayerThatNeverPlayedIsLetGoQuietly)
{
    {
        AudioReader reader (project.get());
    }
    EXPECT_TRUE (isSilent (device->runBlocks (2)));
    EXPECT_TRUE (device->isPlaying());
}

TEST_F (PlaybackTest, aNewPlayerDetachesTheOneBeforeIt)
{
    const auto first = rampSound (8000);
    auto second = rampSound (8000);
    for (auto& value : second.right)
        value = -value;

    auto& earlier = newReader();
    earlier.play (writeWav ("first.wav", first, 44100.0), 0.0);
    device->runBlocks (1);
    const auto earlierPosition = earlier.getPosition();

    auto& later = newReader();
    EXPECT_TRUE (isSilent (device->runBlocks (2)));
    EXPECT_EQ (earlier.getPosition(), earlierPosition);

    later.play (writeWav ("second.wav", second, 44100.0), 0.0);
    expectSound (device->runBlocks (2), 0, second, 0, 1024);
    EXPECT_EQ (earlier.getPosition(), earlierPosition);
}

TEST_F (PlaybackTest, aNewPlayerDetachesTheCaptureEngineToo)
{
    EventLog log;
    auto* engine = Audio::getInstance (project.get(), &log);
    ASSERT_TRUE (engine->start (false));
    device->runBlocks (1);
    ASSERT_EQ (project->takeWaveformSamples().size(), blockSize);

    // The preview and the capture never run side by side.
    auto& reader = newReader();
    device->runBlocks (2);
    EXPECT_TRUE (project->takeWaveformSamples().isEmpty());

    const auto sound = rampSound (4000);
    reader.play (writeWav ("ramp.wav", sound, 44100.0), 0.0);
    expectSound (device->runBlocks (2), 0, sound, 0, 1024);
    EXPECT_TRUE (project->takeWaveformSamples().isEmpty());

    engine->removeActionListener (&log);
}

TEST_F (PlaybackTest, aPreviewPlaysWhenACaptureRunHasEnded)
{
    EventLog log;
    auto* engine = Audio::getInstance (project.get(), &log);
    ASSERT_TRUE (engine->start (false));
    device->runBlocks (2);
    engine->stop();
    EXPECT_TRUE (device->isPlaying());

    const auto sound = rampSound (4000);
    newReader().play (writeWav ("ramp.wav", sound, 44100.0), 0.0);
    expectSound (device->runBlocks (3), 0, sound, 0, 1536);

    engine->removeActionListener (&log);
}
