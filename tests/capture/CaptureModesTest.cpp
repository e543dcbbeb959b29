// The other sides of the capture callback: the level test and calibration runs, echo, the
// sound preview and meters, the input filters in the signal path, mono devices, missing
// channels and files that cannot be created.
#include "CaptureRunFixture.h"

#include "capture/RiaaFilter.h"

using namespace capture_test;

namespace
{
juce::String trackTime (int samples)
{
    return "TRACK TIME " + juce::String (samples);
}

/** A block with rumble-range content, so that filter state matters from block to block. */
StereoBlock rumblyBlock (int numSamples, int index)
{
    auto block = toneBlock (numSamples, index, 0.3f);
    for (int i = 0; i < numSamples; ++i)
    {
        const double t = (index * numSamples + i) / 44100.0;
        const auto low = static_cast<float> (0.4 * std::sin (2.0 * juce::MathConstants<double>::pi * 18.0 * t));
        block.left[(size_t) i] += low;
        block.right[(size_t) i] -= low;
    }
    return block;
}

juce::IIRFilter makeRumbleFilter()
{
    juce::IIRFilter filter;
    filter.setCoefficients (juce::IIRCoefficients::makeHighPass (44100.0, 50.0));
    return filter;
}

std::unique_ptr<RiaaFilter> makeRiaaFilter()
{
    auto filter = std::make_unique<RiaaFilter>();
    filter->setSampleRate (44100.0f);
    filter->setMode (1);
    filter->loadCoefficients();
    filter->reset();
    return filter;
}

/** The input filters as a fresh run applies them: what the file, the preview and the echo get. */
struct ReferenceFilters
{
    juce::IIRFilter rumbleLeft = makeRumbleFilter(), rumbleRight = makeRumbleFilter();
    std::unique_ptr<RiaaFilter> riaaLeft = makeRiaaFilter(), riaaRight = makeRiaaFilter();

    StereoBlock apply (StereoBlock block, bool rumble, bool riaa)
    {
        const auto size = static_cast<int> (block.left.size());
        if (rumble)
        {
            rumbleLeft.processSamples (block.left.data(), size);
            rumbleRight.processSamples (block.right.data(), size);
        }
        if (riaa)
        {
            riaaLeft->processInPlace (block.left.data(), size);
            riaaRight->processInPlace (block.right.data(), size);
        }
        return block;
    }
};
} // namespace

TEST_F (CaptureRun, aLevelTestWritesNothingAndRunsUntilThePageStopsIt)
{
    ASSERT_TRUE (audio->start (false));
    feedTones (5);
    feedSilence (30); // well past the silence that would end a capture
    pumpMessages();

    EXPECT_EQ (log.events, juce::StringArray ("STARTED"));
    EXPECT_EQ (audio->getStatus().phase, CaptureStatus::running);
    EXPECT_TRUE (audio->isStarted());
    EXPECT_TRUE (dialogs.alerts().empty());

    audio->stop();
    pumpMessages();
    EXPECT_EQ (log.events, juce::StringArray ("STARTED", "END"));
    EXPECT_EQ (folder.getNumberOfChildFiles (juce::File::findFilesAndDirectories), 0);
    EXPECT_EQ (project->trackCount(), 0);
}

TEST_F (CaptureRun, inALevelTestTheWatchdogReportsButTheRunWaitsForThePage)
{
    AudioCallback::setClock (&frozenClock);
    ASSERT_TRUE (audio->start (false));
    feedTones (11);
    feedTones (3);
    juce::Thread::sleep (700);
    pumpMessages();

    EXPECT_EQ (log.events, juce::StringArray ("STARTED", "ERROR"));
    EXPECT_EQ (audio->getStatus().phase, CaptureStatus::running);
    EXPECT_TRUE (audio->isStarted());

    audio->stop();
    pumpMessages();
    EXPECT_EQ (log.events, juce::StringArray ("STARTED", "ERROR", "END"));
}

TEST_F (CaptureRun, calibrationSetsTheThresholdFiveAboveTheLoudBlocksForFiveSeconds)
{
    auto loud = toneBlock (blockSize, 1, 0.5f);
    auto quiet = toneBlock (blockSize, 2, 0.2f);
    auto louder = toneBlock (blockSize, 3, 0.7f);
    const float loudLevel = levelIndexOf (loud.left.data(), loud.right.data(), blockSize);
    const float quietLevel = levelIndexOf (quiet.left.data(), quiet.right.data(), blockSize);
    const float louderLevel = levelIndexOf (louder.left.data(), louder.right.data(), blockSize);
    ASSERT_GT (loudLevel, 15.0f);
    ASSERT_LT (quietLevel + 5.0f, std::floor (loudLevel) + 5.0f - 5.0f);
    ASSERT_GT (louderLevel, std::floor (loudLevel));

    ASSERT_TRUE (audio->start (false));
    project->setCalibrationRequested (true);

    feed (loud);
    EXPECT_FALSE (project->calibrationRequested);
    EXPECT_TRUE (project->calibrating);
    EXPECT_EQ (project->threshold, static_cast<int> (std::floor (loudLevel)) + 5);

    feed (quiet); // well below the threshold less five: no change
    EXPECT_EQ (project->threshold, static_cast<int> (std::floor (loudLevel)) + 5);

    feed (louder);
    const int calibrated = static_cast<int> (std::floor (louderLevel)) + 5;
    EXPECT_EQ (project->threshold, calibrated);
    EXPECT_EQ (project->getSettings().getIntValue ("threshold"), calibrated);

    // Five seconds are fifty blocks of a tenth of a second; the run ends at the next one.
    feedSilence (47);
    EXPECT_TRUE (project->calibrating);
    EXPECT_EQ (audio->getStatus().phase, CaptureStatus::running);
    feedSilence (1);
    EXPECT_FALSE (project->calibrating);
    EXPECT_EQ (audio->getStatus().phase, CaptureStatus::stopRequested);

    ASSERT_TRUE (waitForEnd());
    EXPECT_EQ (log.events, juce::StringArray ("STARTED", "END"));
    EXPECT_EQ (project->threshold, calibrated);
    EXPECT_EQ (folder.getNumberOfChildFiles (juce::File::findFilesAndDirectories), 0);
}

TEST_F (CaptureRun, echoCopiesTheFilteredInputToTheOutputsAndClearsThemOnceWhenTurnedOff)
{
    project->setPreamp (false);
    project->rumbleOn = true;
    project->echoOn = true;
    ASSERT_TRUE (audio->start (false));

    ReferenceFilters reference;
    const auto raw = rumblyBlock (blockSize, 0);
    const auto deviceBuffers = feed (raw);
    const auto filtered = reference.apply (raw, true, true);
    EXPECT_TRUE (outputs[0] == filtered.left);
    EXPECT_TRUE (outputs[1] == filtered.right);
    EXPECT_FALSE (filtered.left == raw.left);

    // The device's own input buffers stay as they came: under JACK other clients read them.
    EXPECT_TRUE (deviceBuffers.left == raw.left);
    EXPECT_TRUE (deviceBuffers.right == raw.right);

    project->echoOn = false;
    std::fill (outputs[0].begin(), outputs[0].end(), 0.25f);
    std::fill (outputs[1].begin(), outputs[1].end(), 0.25f);
    feed (rumblyBlock (blockSize, 1));
    EXPECT_TRUE (outputs[0] == std::vector<float> ((size_t) blockSize, 0.0f));
    EXPECT_TRUE (outputs[1] == std::vector<float> ((size_t) blockSize, 0.0f));

    // After that the outputs are left alone.
    std::fill (outputs[0].begin(), outputs[0].end(), 0.25f);
    std::fill (outputs[1].begin(), outputs[1].end(), 0.25f);
    feed (rumblyBlock (blockSize, 2));
    EXPECT_TRUE (outputs[0] == std::vector<float> ((size_t) blockSize, 0.25f));
    EXPECT_TRUE (outputs[1] == std::vector<float> ((size_t) blockSize, 0.25f));
    audio->stop();
}

TEST_F (CaptureRun, thePreviewGetsTheFilteredLeftChannelAndTheMetersTheRawLevels)
{
    project->setPreamp (false);
    ASSERT_TRUE (audio->start (true));

    ReferenceFilters reference;
    std::vector<float> expectedPreview;
    float rawLeft = 0, rawRight = 0;
    for (int i = 0; i < 3; ++i)
    {
        auto raw = toneBlock (blockSize, i, 0.3f + 0.1f * i);
        juce::AudioBuffer<float> copy (2, blockSize);
        copy.copyFrom (0, 0, raw.left.data(), blockSize);
        copy.copyFrom (1, 0, raw.right.data(), blockSize);
        rawLeft = copy.getRMSLevel (0, 0, blockSize);
        rawRight = copy.getRMSLevel (1, 0, blockSize);

        feed (raw);
        const auto filtered = reference.apply (raw, false, true);
        expectedPreview.insert (expectedPreview.end(), filtered.left.begin(), filtered.left.end());
    }

    const auto preview = project->takeWaveformSamples();
    ASSERT_EQ (preview.size(), static_cast<int> (expectedPreview.size()));
    EXPECT_TRUE (std::equal (preview.begin(), preview.end(), expectedPreview.begin()));
    EXPECT_EQ (project->levelPair[0], rawLeft);
    EXPECT_EQ (project->levelPair[1], rawRight);
    EXPECT_NE (rawLeft, rawRight);
    audio->stop();
}

TEST_F (CaptureRun, theRumbleFilterResumesWithoutResetWhenSwitchedBackOn)
{
    project->echoOn = true;
    ASSERT_TRUE (audio->start (false));

    auto referenceLeft = makeRumbleFilter();
    auto referenceRight = makeRumbleFilter();

    for (int i = 0; i < 8; ++i)
    {
        project->rumbleOn = i < 3 || i >= 5;
        auto expected = rumblyBlock (blockSize, i);
        if (project->rumbleOn)
        {
            referenceLeft.processSamples (expected.left.data(), blockSize);
            referenceRight.processSamples (expected.right.data(), blockSize);
        }

        feed (rumblyBlock (blockSize, i));
        EXPECT_TRUE (outputs[0] == expected.left) << "block " << i;
        EXPECT_TRUE (outputs[1] == expected.right) << "block " << i;
    }
    audio->stop();
}

TEST_F (CaptureRun, theRiaaEmulationFollowsTheRumbleFilterAndEachRunStartsFromSilence)
{
    project->setPreamp (false);
    project->rumbleOn = true;
    project->echoOn = true;

    for (int run = 0; run < 2; ++run)
    {
        ASSERT_TRUE (audio->start (false));

        auto rumbleLeft = makeRumbleFilter();
        auto rumbleRight = makeRumbleFilter();
        auto riaaLeft = makeRiaaFilter();
        auto riaaRight = makeRiaaFilter();

        // The first run ends on a loud block; the second still starts from zeroed filters.
        for (int i = 0; i < 3; ++i)
        {
            auto expected = rumblyBlock (blockSize, 10 * run + i);
            rumbleLeft.processSamples (expected.left.data(), blockSize);
            rumbleRight.processSamples (expected.right.data(), blockSize);
            riaaLeft->processInPlace (expected.left.data(), blockSize);
            riaaRight->processInPlace (expected.right.data(), blockSize);

            feed (rumblyBlock (blockSize, 10 * run + i));
            EXPECT_TRUE (outputs[0] == expected.left) << "run " << run << " block " << i;
            EXPECT_TRUE (outputs[1] == expected.right) << "run " << run << " block " << i;
        }

        audio->stop();
    }
}

TEST_F (CaptureRun, withAPreampTheSignalReachesTheFileUnfiltered)
{
    project->setPreamp (true);
    project->rumbleOn = false;
    ASSERT_TRUE (audio->start (true));
    const auto raw = rumblyBlock (blockSize, 0);
    const auto written = feed (raw);
    audio->stop();
    pumpMessages();

    EXPECT_TRUE (written.left == raw.left);
    expectFileHolds (track ("Track1.wav"), { raw });
}

TEST_F (CaptureRun, loudPassagesClipOnlyAtTheSixteenBitFile)
{
    project->setPreamp (false); // the emulation adds some 20 dB to low notes
    project->echoOn = true;
    ASSERT_TRUE (audio->start (true));
    auto raw = rumblyBlock (blockSize, 0);
    for (auto& sample : raw.left)
        sample *= 2.0f;
    feed (raw);
    const auto filtered = ReferenceFilters().apply (raw, false, true);
    audio->stop();
    pumpMessages();

    const auto peak = juce::FloatVectorOperations::findMaximum (outputs[0].data(), blockSize);
    EXPECT_GT (peak, 1.5f); // unbounded in the float path
    expectFileHolds (track ("Track1.wav"), { filtered });
    const auto contents = readWav (track ("Track1.wav"));
    EXPECT_EQ (*std::max_element (contents.left.begin(), contents.left.end()), 32767);
}

TEST_F (CaptureRun, aStartDuringARunCarriesTheRunOnWithoutAnEnd)
{
    // Calibrate runs; then Test is clicked.
    ASSERT_TRUE (audio->start (false));
    project->setCalibrationRequested (true);
    feedTones (10);
    pumpMessages();
    ASSERT_EQ (log.events, juce::StringArray ("STARTED"));
    ASSERT_TRUE (project->calibrating);

    ASSERT_TRUE (audio->start (false));
    pumpMessages();
    EXPECT_EQ (log.events, juce::StringArray ("STARTED", "STARTED"));
    EXPECT_TRUE (audio->isStarted());
    EXPECT_EQ (audio->getStatus().phase, CaptureStatus::running);

    // The calibration's five seconds go on from its own first block, and their end ends the run.
    feedSilence (40);
    EXPECT_TRUE (project->calibrating);
    feedSilence (1);
    EXPECT_FALSE (project->calibrating);
    EXPECT_EQ (audio->getStatus().phase, CaptureStatus::stopRequested);

    ASSERT_TRUE (waitForEnd());
    EXPECT_EQ (log.events, juce::StringArray ("STARTED", "STARTED", "END"));
    EXPECT_FALSE (audio->isStarted());
}

TEST_F (CaptureRun, afterAStopNoBlockReachesTheEngineAndTheDeviceServesTheNextRun)
{
    ASSERT_TRUE (audio->start (false));
    feedTones (2);
    audio->stop();
    project->takeWaveformSamples();
    project->setLevelPair (0.0f, 0.0f);

    feedTones (3);
    EXPECT_TRUE (project->takeWaveformSamples().isEmpty());
    EXPECT_EQ (project->levelPair[0], 0.0f);

    ASSERT_TRUE (audio->start (false));
    feedTones (1);
    EXPECT_EQ (project->takeWaveformSamples().size(), blockSize);
    EXPECT_GT (project->levelPair[0], 0.0f);
    audio->stop();
    pumpMessages();
    EXPECT_EQ (log.events, juce::StringArray ("STARTED", "END", "STARTED", "END"));
}

TEST_F (CaptureRun, withoutADeviceStartRefusesAndSaysNothing)
{
    project->closeAudioDevice();
    ASSERT_EQ (project->getCurrentAudioDevice(), nullptr);

    EXPECT_FALSE (audio->start (true));
    pumpMessages();
    EXPECT_FALSE (audio->isStarted());
    EXPECT_TRUE (log.events.isEmpty());
    EXPECT_EQ (project->firstTrackPending, -1);
}

TEST_F (CaptureRun, aBlockWithAMissingChannelIsSkipped)
{
    ASSERT_TRUE (audio->start (true));
    project->setLevelPair (0.125f, 0.125f);

    auto block = toneBlock (blockSize, 0);
    device->deliver ({ nullptr, nullptr }, { outputs[0].data(), outputs[1].data() }, blockSize);
    device->deliver ({ block.left.data(), nullptr }, { outputs[0].data(), outputs[1].data() }, blockSize);
    pumpMessages();

    EXPECT_EQ (project->levelPair[0], 0.125f);
    EXPECT_TRUE (project->takeWaveformSamples().isEmpty());
    EXPECT_EQ (log.events, juce::StringArray ("STARTED"));

    // A missing first channel is passed over: the next two present ones are used.
    std::vector<StereoBlock> written;
    auto present = toneBlock (blockSize, 1);
    device->deliver ({ nullptr, present.left.data(), present.right.data() }, { outputs[0].data() }, blockSize);
    written.push_back (present);
    audio->stop();
    pumpMessages();
    expectFileHolds (track ("Track1.wav"), written);
}

TEST_F (CaptureRun, whenNoFileCanBeCreatedTheBlocksAreLostWithoutAWord)
{
    const auto missing = folder.getChildFile ("not there");
    project->captureFolder = missing.getFullPathName();
    ASSERT_TRUE (audio->start (true));
    feedTones (3);
    audio->stop();
    pumpMessages();

    EXPECT_FALSE (missing.exists());
    EXPECT_EQ (log.events, juce::StringArray ("STARTED", "TRACK", trackTime (0), trackTime (blockSize),
                                              trackTime (2 * blockSize), "END"));
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_EQ (TrackWriter::getInstance ({}, 0, 0)->getSamplesWritten(), 3 * blockSize);
}

TEST_F (CaptureRun, aTrackNameThatCannotBeCreatedFallsBackToAZeroPaddedOne)
{
    // Something that is no file stands in the way of Track1.wav.
    ASSERT_TRUE (track ("Track1.wav").createDirectory());
    ASSERT_TRUE (track ("Track1.wav").getChildFile ("keep").replaceWithText ("x"));

    ASSERT_TRUE (audio->start (true));
    std::vector<StereoBlock> written;
    feedTones (2, &written);
    audio->stop();
    pumpMessages();

    expectFileHolds (track ("Track01.wav"), written);
    EXPECT_TRUE (track ("Track1.wav").getChildFile ("keep").existsAsFile());
    EXPECT_EQ (trackPaths(), juce::StringArray (track ("Track01.wav").getFullPathName()));
}

class MonoCaptureRun : public CaptureRun
{
protected:
    MonoCaptureRun() { numInputs = 1; }
};

TEST_F (MonoCaptureRun, aMonoDeviceGivesTwoEqualChannelsFilteredOnce)
{
    project->setPreamp (false);
    project->rumbleOn = true;
    ASSERT_TRUE (audio->start (true));

    auto rumble = makeRumbleFilter();
    auto riaa = makeRiaaFilter();
    std::vector<StereoBlock> expected;
    for (int i = 0; i < 3; ++i)
    {
        auto block = rumblyBlock (blockSize, i);
        rumble.processSamples (block.left.data(), blockSize);
        riaa->processInPlace (block.left.data(), blockSize);
        block.right = block.left;
        expected.push_back (block);

        feed (rumblyBlock (blockSize, i));
        EXPECT_EQ (project->levelPair[0], project->levelPair[1]);
        EXPECT_GT (project->levelPair[0], 0.0f);
    }
    audio->stop();
    pumpMessages();

    expectFileHolds (track ("Track1.wav"), expected);
    const auto contents = readWav (track ("Track1.wav"));
    EXPECT_TRUE (contents.left == contents.right);
}
