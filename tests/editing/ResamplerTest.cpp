// The 45-to-33 resampler on real files: declared slower, written at 44100 Hz in 960-frame blocks.
#include "editing/ResamplerThread.h"

#include "WavFiles.h"
#include "support/StatusKeeping.h"

#include <gtest/gtest.h>

#include <atomic>

namespace
{
/** Frames written: whole blocks until they cover the input's length, each frame at 44100 Hz
    standing for `ratio` of a frame at the input's rate. */
int resampledFrames (double length, double ratio, double rate = 44100.0)
{
    juce::int64 written = 0;

    do
        written += 960;
    while ((double) written * ratio * (rate / 44100.0) < length);

    return (int) written;
}

juce::File file (const char* name)
{
    return WavFiles::folder().getChildFile (name);
}

using StatusKeepingResampler = StatusKeeping<ResamplerThread>;

int temporaryWavFiles()
{
    return juce::File::getSpecialLocation (juce::File::tempDirectory)
        .getNumberOfChildFiles (juce::File::findFiles, "*.wav");
}
} // namespace

TEST (Resampler, inPlaceTheTrackBecomesSlowerAndLowerAt44100Stereo16Bits)
{
    auto track = file ("Track1.wav");
    WavFiles::write (track, WavFiles::tone (88200, 44100.0, 1000.0));
    const int temporaryBefore = temporaryWavFiles();

    EXPECT_TRUE (resampleFile (&track, 0.74));

    const auto result = WavFiles::read (track);
    EXPECT_EQ (result.rate, 44100.0);
    EXPECT_EQ (result.bits, 16);
    EXPECT_EQ (result.channels.size(), 2u);
    EXPECT_EQ (result.frames(), resampledFrames (88200.0, 0.74));
    EXPECT_EQ (result.frames(), 120000); // 88200 / 0.74, up to whole blocks

    // 1000 Hz comes out at 740 Hz: 1480 sign changes a second.
    EXPECT_NEAR (WavFiles::signChanges (result.channels[0], 0, 44100), 1480, 4);
    EXPECT_EQ (temporaryWavFiles(), temporaryBefore);
}

TEST (Resampler, withAnOutputFileTheInputStaysAsItWas)
{
    auto input = file ("in.wav");
    auto output = file ("out.wav");
    const auto audio = WavFiles::tone (30000, 44100.0, 500.0);
    WavFiles::write (input, audio);

    EXPECT_TRUE (resampleFile (&input, &output, 0.74));

    EXPECT_EQ (WavFiles::read (input).channels, audio.channels);
    EXPECT_EQ (WavFiles::read (output).frames(), resampledFrames (30000.0, 0.74));
}

TEST (Resampler, aFileAt48kHzIsDeclaredAt35520AndSlowedTheSameWay)
{
    auto track = file ("48k.wav");
    WavFiles::write (track, WavFiles::tone (96000, 48000.0, 1000.0));

    EXPECT_TRUE (resampleFile (&track, 0.74));

    const auto result = WavFiles::read (track);
    EXPECT_EQ (result.rate, 44100.0);
    // Its two seconds come out whole, slowed to 2 / 0.74 seconds at 44100 Hz.
    EXPECT_EQ (result.frames(), resampledFrames (96000.0, 0.74, 48000.0));
    EXPECT_EQ (result.frames(), 120000);
    EXPECT_NEAR (WavFiles::signChanges (result.channels[0], 0, 44100), 1480, 4);
}

TEST (Resampler, aRatioOfOnePassesTheFileThroughWithTheLastBlockFilledWithSilence)
{
    auto input = file ("in.wav");
    auto output = file ("out.wav");
    const auto audio = WavFiles::tone (5000);
    WavFiles::write (input, audio);

    EXPECT_TRUE (resampleFile (&input, &output, 1.0));

    const auto result = WavFiles::read (output);
    ASSERT_EQ (result.frames(), 5760);

    for (size_t c = 0; c < 2; ++c)
    {
        for (int n = 0; n < 5000; ++n)
            ASSERT_NEAR (result.channels[c][(size_t) n], audio.channels[c][(size_t) n], 1) << n;

        for (int n = 5000; n < 5760; ++n)
            ASSERT_EQ (result.channels[c][(size_t) n], 0) << n;
    }
}

TEST (Resampler, aRatioOfOneGivesBackTheSamplesBitForBit)
{
    auto input = file ("in.wav");
    auto output = file ("out.wav");
    WavFiles::Audio audio;
    audio.channels.assign (2, std::vector<int> (4000));
    juce::Random random (3);
    for (auto& channel : audio.channels)
        for (auto& value : channel)
            value = random.nextBool() ? (random.nextBool() ? 32767 : -32768) : random.nextInt (65536) - 32768;
    WavFiles::write (input, audio);

    EXPECT_TRUE (resampleFile (&input, &output, 1.0));

    const auto result = WavFiles::read (output);
    ASSERT_EQ (result.frames(), 4800);
    for (size_t c = 0; c < 2; ++c)
        for (int n = 0; n < 4000; ++n)
            ASSERT_EQ (result.channels[c][(size_t) n], audio.channels[c][(size_t) n]) << n;
}

TEST (Resampler, aMonoFileComesOutAsTwoEqualChannels)
{
    auto track = file ("mono.wav");
    auto audio = WavFiles::tone (10000);
    audio.channels.pop_back();
    WavFiles::write (track, audio);

    EXPECT_TRUE (resampleFile (&track, 0.74));

    const auto result = WavFiles::read (track);
    ASSERT_EQ (result.channels.size(), 2u);
    EXPECT_EQ (result.channels[0], result.channels[1]);
}

TEST (Resampler, cancelInPlaceLeavesNoFileAtTheInputsPathAndStillSucceeds)
{
    auto track = file ("long.wav");
    WavFiles::write (track, WavFiles::tone (44100 * 30));
    const int temporaryBefore = temporaryWavFiles();

    StatusKeepingResampler worker (&track, nullptr, 0.74);
    EXPECT_TRUE (worker.inPlace);
    EXPECT_EQ (worker.outputFile.getFileExtension(), ".wav");
    std::atomic<bool> asked{ false };
    WavFiles::watchReading (*worker.formatManager, WavFiles::exitAfter (worker, 0, 100000, asked));
    worker.runThread (juce::Thread::Priority::normal);

    EXPECT_TRUE (asked);
    EXPECT_TRUE (worker.success);
    EXPECT_FALSE (track.exists());
    EXPECT_FALSE (worker.outputFile.exists());
    EXPECT_EQ (temporaryWavFiles(), temporaryBefore);
}

TEST (Resampler, theCancelButtonDeletesOutputAndInput)
{
    auto input = file ("long.wav");
    auto output = file ("out.wav");
    WavFiles::write (input, WavFiles::tone (44100 * 20));

    ResamplerThread worker (&input, &output, 0.74);
    std::atomic<bool> reached{ false };
    WavFiles::watchReading (*worker.formatManager,
                            [&] (int, juce::int64 readEnd)
                            {
                                if (readEnd > 200000 && ! reached.exchange (true))
                                    for (int i = 0; i < 20000 && ! worker.threadShouldExit(); ++i)
                                        juce::Thread::sleep (1);
                            });
    WavFiles::CancelWhen cancel ([&] { return reached.load(); });
    worker.runThread (juce::Thread::Priority::normal);

    EXPECT_TRUE (cancel.pressed);
    EXPECT_EQ (cancel.windowTitle, "Resampling...");
    EXPECT_TRUE (worker.success);
    EXPECT_FALSE (input.exists());
    EXPECT_FALSE (output.exists());
}

TEST (Resampler, aMissingOrNullInputFails)
{
    auto missing = file ("missing.wav");
    const int temporaryBefore = temporaryWavFiles();

    EXPECT_FALSE (resampleFile (&missing, 0.74));
    EXPECT_FALSE (resampleFile (nullptr, 0.74));
    EXPECT_FALSE (missing.exists());
    EXPECT_EQ (temporaryWavFiles(), temporaryBefore);
}

TEST (Resampler, anUnreadableInputFailsAndLeavesTheTemporaryOutputEmpty)
{
    auto junk = file ("junk.wav");
    junk.replaceWithText ("no audio here");

    ResamplerThread worker (&junk, nullptr, 0.74);
    worker.runThread (juce::Thread::Priority::normal);

    EXPECT_FALSE (worker.success);
    EXPECT_EQ (junk.loadFileAsString(), "no audio here");
    EXPECT_TRUE (worker.outputFile.existsAsFile());
    EXPECT_EQ (WavFiles::read (worker.outputFile).frames(), 0);
    worker.outputFile.deleteFile();
}

TEST (Resampler, showsTheTracksName)
{
    auto track = file ("My Track.wav");
    WavFiles::write (track, WavFiles::tone (2000));

    StatusKeepingResampler worker (&track, nullptr, 0.74);
    EXPECT_EQ (worker.getAlertWindow()->getName(), "Resampling...");
    worker.runThread (juce::Thread::Priority::normal);

    EXPECT_TRUE (worker.success);
    EXPECT_EQ (worker.shown, juce::StringArray ("My Track"));
}
