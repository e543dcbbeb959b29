// Split and merge on real files: 960-frame blocks at 44100 Hz, stereo, 16 bits.
#include "editing/MergeThread.h"
#include "editing/SplitThread.h"

#include "WavFiles.h"
#include "support/StatusKeeping.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>

using WavFiles::Audio;

namespace
{
struct SplitFrames
{
    int start = 0;
    int end = 0;
};

/** The frames a split writes to each part, counted as the worker counts them. */
SplitFrames splitFrames (double seconds, double rate, double length)
{
    const double position = std::floor (seconds * rate + 0.5); // the nearest frame
    const int n = 960;
    double count = 0.0;
    int taken = n;
    SplitFrames frames;

    for (;;)
    {
        if (count + n < position)
        {
            frames.start += n;
            count += n;
        }
        else
        {
            taken = (int) (position - count);
            frames.start += taken;
            count = position;
        }

        if (count >= position || length <= count)
            break;
    }

    // What the start part left of the block in hand, then whole blocks.
    frames.end = n - taken;

    for (;;)
    {
        frames.end += n;
        count += n;

        if (length <= count)
            break;
    }

    return frames;
}

/** Sample for sample within the one step that 16 bits to float and back may take. */
void expectSameSound (const std::vector<int>& actual, int actualFrom, const std::vector<int>& expected,
                      int expectedFrom, int count)
{
    for (int i = 0; i < count; ++i)
        ASSERT_NEAR (actual[(size_t) (actualFrom + i)], expected[(size_t) (expectedFrom + i)], 1)
            << "frame " << actualFrom + i;
}

void expectSilence (const std::vector<int>& samples, int from)
{
    for (size_t i = (size_t) from; i < samples.size(); ++i)
        ASSERT_EQ (samples[i], 0) << "frame " << i;
}

/** Random 16-bit stereo audio that reaches both ends of the scale: full scale, one step
    below it, and values above half of it, where a conversion to float and back loses a step
    first. */
Audio fullScaleNoise (int frames, juce::int64 seed)
{
    Audio audio;
    audio.channels.assign (2, std::vector<int> ((size_t) frames));
    juce::Random random (seed);
    const int edges[] = { 32767, -32768, 32766, -32767, 16384, -16385, 30000, -30001 };

    for (auto& channel : audio.channels)
        for (int n = 0; n < frames; ++n)
            channel[(size_t) n] = random.nextInt (4) == 0 ? edges[random.nextInt (8)] : random.nextInt (65536) - 32768;

    return audio;
}

/** `count` samples of `actual` from `actualFrom` are exactly those of `expected` from `expectedFrom`. */
void expectSameSamples (const std::vector<int>& actual, int actualFrom, const std::vector<int>& expected,
                        int expectedFrom, int count)
{
    ASSERT_GE ((int) actual.size(), actualFrom + count);
    ASSERT_GE ((int) expected.size(), expectedFrom + count);
    for (int i = 0; i < count; ++i)
        ASSERT_EQ (actual[(size_t) (actualFrom + i)], expected[(size_t) (expectedFrom + i)])
            << "frame " << actualFrom + i;
}

using StatusKeepingSplit = StatusKeeping<SplitThread>;
using StatusKeepingMerge = StatusKeeping<MergeThread>;

juce::File file (const char* name)
{
    return WavFiles::folder().getChildFile (name);
}
} // namespace

TEST (Split, theStartPartEndsAtThePositionAndTheEndPartIsPaddedToWholeBlocks)
{
    const auto source = file ("side.wav");
    const auto audio = WavFiles::tone (145530); // 3.3 seconds
    WavFiles::write (source, audio);

    ASSERT_TRUE (splitFile (source, 1.5, file ("a.wav"), file ("b.wav")));

    const auto start = WavFiles::read (file ("a.wav"));
    const auto end = WavFiles::read (file ("b.wav"));
    const auto expected = splitFrames (1.5, 44100.0, 145530.0);
    EXPECT_EQ (start.frames(), 66150);
    EXPECT_EQ (expected.start, 66150);
    EXPECT_EQ (end.frames(), expected.end);
    EXPECT_EQ (end.frames() % 960, 960 - 66150 % 960);
    EXPECT_EQ (start.rate, 44100.0);
    EXPECT_EQ (start.bits, 16);
    EXPECT_TRUE (start.metadata.getAllKeys().isEmpty());

    for (size_t c = 0; c < 2; ++c)
    {
        expectSameSound (start.channels[c], 0, audio.channels[c], 0, 66150);
        expectSameSound (end.channels[c], 0, audio.channels[c], 66150, 145530 - 66150);
        expectSilence (end.channels[c], 145530 - 66150);
    }
}

TEST (Split, atPositionZeroTheStartPartHasOnlyAHeaderAndTheFirstBlockGoesWhole)
{
    const auto source = file ("side.wav");
    const auto audio = WavFiles::tone (5000);
    WavFiles::write (source, audio);

    ASSERT_TRUE (splitFile (source, 0.0, file ("a.wav"), file ("b.wav")));

    EXPECT_EQ (WavFiles::read (file ("a.wav")).frames(), 0);
    const auto end = WavFiles::read (file ("b.wav"));
    EXPECT_EQ (end.frames(), splitFrames (0.0, 44100.0, 5000.0).end);
    EXPECT_EQ (end.frames(), 960 + 960 * 6);
    expectSameSound (end.channels[0], 0, audio.channels[0], 0, 5000);
    expectSilence (end.channels[0], 5000);
}

TEST (Split, aPositionPastTheEndPutsEverythingInWholeBlocksFirstAndOneBlockOfSilenceAfter)
{
    const auto source = file ("side.wav");
    const auto audio = WavFiles::tone (2000);
    WavFiles::write (source, audio);

    ASSERT_TRUE (splitFile (source, 5000.0 / 44100.0, file ("a.wav"), file ("b.wav")));

    const auto start = WavFiles::read (file ("a.wav"));
    const auto end = WavFiles::read (file ("b.wav"));
    EXPECT_EQ (start.frames(), 2880);
    // The start part took its last block whole: none of it goes to the end part again.
    EXPECT_EQ (end.frames(), 960);
    expectSameSound (start.channels[1], 0, audio.channels[1], 0, 2000);
    expectSilence (start.channels[1], 2000);
    expectSilence (end.channels[0], 0);
    expectSilence (end.channels[1], 0);
}

TEST (Split, lessThanABlockAfterThePositionGivesAnEndPartOfAtMostTwoBlocks)
{
    const auto source = file ("side.wav");
    const auto audio = WavFiles::tone (10000);
    WavFiles::write (source, audio);

    ASSERT_TRUE (splitFile (source, 9500.0 / 44100.0, file ("a.wav"), file ("b.wav")));

    const auto end = WavFiles::read (file ("b.wav"));
    EXPECT_EQ (WavFiles::read (file ("a.wav")).frames(), 9500);
    EXPECT_EQ (end.frames(), splitFrames (9500.0 / 44100.0, 44100.0, 10000.0).end);
    EXPECT_LE (end.frames(), 2 * 960);
    expectSameSound (end.channels[0], 0, audio.channels[0], 9500, 500);
    expectSilence (end.channels[0], 500);
}

TEST (Split, aSourceAtAnotherRateComesOutAt44100WithCountsInWhatComesOut)
{
    const auto source = file ("48k.wav");
    const auto audio = WavFiles::tone (96000, 48000.0, 1000.0); // two seconds
    WavFiles::write (source, audio);

    ASSERT_TRUE (splitFile (source, 1.0, file ("a.wav"), file ("b.wav")));

    // Two seconds at 44100 Hz, cut after the first.
    const auto start = WavFiles::read (file ("a.wav"));
    const auto end = WavFiles::read (file ("b.wav"));
    const auto expected = splitFrames (1.0, 44100.0, 88200.0);
    EXPECT_EQ (start.rate, 44100.0);
    EXPECT_EQ (start.frames(), 44100);
    EXPECT_EQ (end.frames(), expected.end);
    EXPECT_GE (end.frames(), 44100);

    // The tone keeps its pitch, 2000 sign changes a second.
    EXPECT_NEAR (WavFiles::signChanges (start.channels[0], 0, 44100), 2000, 4);
    EXPECT_NEAR (WavFiles::signChanges (end.channels[0], 0, 44100), 2000, 4);
}

TEST (Split, aMonoSourceComesOutAsTwoEqualChannels)
{
    const auto source = file ("mono.wav");
    auto audio = WavFiles::tone (8000);
    audio.channels.pop_back();
    WavFiles::write (source, audio);

    ASSERT_TRUE (splitFile (source, 0.1, file ("a.wav"), file ("b.wav")));

    for (const char* name : { "a.wav", "b.wav" })
    {
        const auto part = WavFiles::read (file (name));
        ASSERT_EQ (part.channels.size(), 2u);
        EXPECT_EQ (part.channels[0], part.channels[1]) << name;
    }

    expectSameSound (WavFiles::read (file ("a.wav")).channels[1], 0, audio.channels[0], 0, 4410);
}

TEST (Split, aMissingSourceFailsAndTouchesNothing)
{
    EXPECT_FALSE (splitFile (file ("missing.wav"), 1.0, file ("a.wav"), file ("b.wav")));
    EXPECT_FALSE (file ("a.wav").exists());
    EXPECT_FALSE (file ("b.wav").exists());

    // The parts of an earlier split stay as they were: the check comes before any delete.
    ASSERT_TRUE (file ("a.wav").replaceWithText ("an old start part"));
    ASSERT_TRUE (file ("b.wav").replaceWithText ("an old end part"));
    EXPECT_FALSE (splitFile (file ("missing.wav"), 1.0, file ("a.wav"), file ("b.wav")));
    EXPECT_EQ (file ("a.wav").loadFileAsString(), "an old start part");
    EXPECT_EQ (file ("b.wav").loadFileAsString(), "an old end part");
}

TEST (Split, anUnreadableSourceFailsAndLeavesAnEmptyStartPart)
{
    file ("junk.wav").replaceWithText ("no audio here");
    file ("b.wav").replaceWithText ("an old end part");

    EXPECT_FALSE (splitFile (file ("junk.wav"), 1.0, file ("a.wav"), file ("b.wav")));

    EXPECT_TRUE (file ("a.wav").existsAsFile());
    EXPECT_EQ (WavFiles::read (file ("a.wav")).frames(), 0);
    EXPECT_FALSE (file ("b.wav").exists());
}

TEST (Split, cancelDuringTheFirstPartDeletesTheStartPart)
{
    const auto source = file ("long.wav");
    WavFiles::write (source, WavFiles::tone (44100 * 30));

    SplitThread worker (source, 25.0, file ("a.wav"), file ("b.wav"));
    std::atomic<bool> asked{ false };
    WavFiles::watchReading (*worker.formatManager, WavFiles::exitAfter (worker, 0, 100000, asked));
    worker.runThread (juce::Thread::Priority::normal);

    EXPECT_TRUE (asked);
    EXPECT_FALSE (worker.success);
    EXPECT_FALSE (file ("a.wav").exists());
    EXPECT_FALSE (file ("b.wav").exists());
    EXPECT_TRUE (source.existsAsFile());
}

TEST (Split, cancelDuringTheSecondPartDeletesOnlyTheEndPart)
{
    const auto source = file ("long.wav");
    WavFiles::write (source, WavFiles::tone (44100 * 30));

    SplitThread worker (source, 10.0, file ("a.wav"), file ("b.wav"));
    std::atomic<bool> asked{ false };
    WavFiles::watchReading (*worker.formatManager, WavFiles::exitAfter (worker, 0, 441000 + 100000, asked));
    worker.runThread (juce::Thread::Priority::normal);

    EXPECT_TRUE (asked);
    EXPECT_FALSE (worker.success);
    EXPECT_EQ (WavFiles::read (file ("a.wav")).frames(), 441000);
    EXPECT_FALSE (file ("b.wav").exists());
}

TEST (Split, theCancelButtonStopsASplit)
{
    const auto source = file ("long.wav");
    WavFiles::write (source, WavFiles::tone (44100 * 20));

    // The worker waits inside a read of its second part until the press has reached it.
    SplitThread worker (source, 1.0, file ("a.wav"), file ("b.wav"));
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

    EXPECT_FALSE (worker.success);
    EXPECT_TRUE (cancel.pressed);
    EXPECT_EQ (cancel.windowTitle, "Splitting...");
    EXPECT_FALSE (file ("b.wav").exists());
}

TEST (Split, thePositionIsShownInMinutesSecondsAndHundredthsFromTheStart)
{
    EXPECT_EQ (SplitThread::positionText (61.5 * 44100.0, 44100.0), "1:01.6150");
    EXPECT_EQ (SplitThread::positionText (0.0, 44100.0), "0.00");
    EXPECT_EQ (SplitThread::positionText (0.25 * 44100.0, 44100.0), "0.25");
    EXPECT_EQ (SplitThread::positionText (5.25 * 44100.0, 44100.0), "5.525");
    EXPECT_EQ (SplitThread::positionText (605.5 * 48000.0, 48000.0), "10:05.60550");

    const auto source = file ("My Side.wav");
    WavFiles::write (source, WavFiles::tone (44100 * 62));
    StatusKeepingSplit worker (source, 61.5, file ("a.wav"), file ("b.wav"));
    EXPECT_EQ (worker.getAlertWindow()->getName(), "Splitting...");
    worker.runThread (juce::Thread::Priority::normal);

    EXPECT_TRUE (worker.success);
    EXPECT_EQ (worker.shown, juce::StringArray ("Splitting My Side\nat 1:01.6150"));
}

TEST (Split, aSourceAt44100ComesOutBitForBitInItsTwoParts)
{
    const auto source = file ("noise.wav");
    const auto audio = fullScaleNoise (30000, 14);
    WavFiles::write (source, audio);

    ASSERT_TRUE (splitFile (source, 12345.0 / 44100.0, file ("a.wav"), file ("b.wav")));

    const auto start = WavFiles::read (file ("a.wav"));
    const auto end = WavFiles::read (file ("b.wav"));
    ASSERT_EQ (start.frames(), 12345);

    for (size_t c = 0; c < 2; ++c)
    {
        expectSameSamples (start.channels[c], 0, audio.channels[c], 0, 12345);
        expectSameSamples (end.channels[c], 0, audio.channels[c], 12345, 30000 - 12345);
        expectSilence (end.channels[c], 30000 - 12345);
    }
}

TEST (Split, aCutOnAWholeNumberOfBlocksWritesNoSampleTwiceAndLosesNone)
{
    const auto source = file ("noise.wav");
    const auto audio = fullScaleNoise (10000, 8);
    WavFiles::write (source, audio);

    for (const int cut : { 960, 1920, 4800, 9600 })
    {
        SCOPED_TRACE (cut);
        ASSERT_TRUE (splitFile (source, cut / 44100.0, file ("a.wav"), file ("b.wav")));

        const auto start = WavFiles::read (file ("a.wav"));
        const auto end = WavFiles::read (file ("b.wav"));
        ASSERT_EQ (start.frames(), cut);
        ASSERT_GE (end.frames(), 10000 - cut);
        EXPECT_LT (end.frames(), 10000 - cut + 960) << "at most one block of silence after the rest";

        for (size_t c = 0; c < 2; ++c)
        {
            expectSameSamples (start.channels[c], 0, audio.channels[c], 0, cut);
            expectSameSamples (end.channels[c], 0, audio.channels[c], cut, 10000 - cut);
            expectSilence (end.channels[c], 10000 - cut);
        }
    }
}

TEST (Merge, sourcesAt44100ComeOutBitForBit)
{
    const auto first = fullScaleNoise (20000, 21);
    const auto second = fullScaleNoise (15001, 22);
    WavFiles::write (file ("one.wav"), first);
    WavFiles::write (file ("two.wav"), second);

    ASSERT_TRUE (mergeFiles (file ("one.wav"), file ("two.wav"), file ("both.wav")));

    const auto both = WavFiles::read (file ("both.wav"));
    ASSERT_EQ (both.frames(), 35001);

    for (size_t c = 0; c < 2; ++c)
    {
        expectSameSamples (both.channels[c], 0, first.channels[c], 0, 20000);
        expectSameSamples (both.channels[c], 20000, second.channels[c], 0, 15001);
    }
}

TEST (Merge, theOutputHoldsExactlyBothFilesOneAfterTheOther)
{
    const auto first = WavFiles::tone (57330, 44100.0, 440.0);
    const auto second = WavFiles::tone (30870, 44100.0, 660.0);
    WavFiles::write (file ("one.wav"), first);
    WavFiles::write (file ("two.wav"), second);

    ASSERT_TRUE (mergeFiles (file ("one.wav"), file ("two.wav"), file ("both.wav")));

    const auto both = WavFiles::read (file ("both.wav"));
    EXPECT_EQ (both.frames(), 57330 + 30870);
    EXPECT_EQ (both.rate, 44100.0);
    EXPECT_EQ (both.bits, 16);

    for (size_t c = 0; c < 2; ++c)
    {
        expectSameSound (both.channels[c], 0, first.channels[c], 0, 57330);
        expectSameSound (both.channels[c], 57330, second.channels[c], 0, 30870);
    }

    EXPECT_TRUE (file ("one.wav").existsAsFile());
    EXPECT_TRUE (file ("two.wav").existsAsFile());
}

TEST (Merge, aMissingInputFailsBeforeAnythingIsWritten)
{
    WavFiles::write (file ("one.wav"), WavFiles::tone (1000));

    EXPECT_FALSE (mergeFiles (file ("one.wav"), file ("missing.wav"), file ("both.wav")));
    EXPECT_FALSE (mergeFiles (file ("missing.wav"), file ("one.wav"), file ("both.wav")));
    EXPECT_FALSE (file ("both.wav").exists());
}

TEST (Merge, anUnreadableFirstInputFailsAndLeavesAnEmptyOutput)
{
    file ("junk.wav").replaceWithText ("no audio here");
    WavFiles::write (file ("two.wav"), WavFiles::tone (1000));

    EXPECT_FALSE (mergeFiles (file ("junk.wav"), file ("two.wav"), file ("both.wav")));
    EXPECT_TRUE (file ("both.wav").existsAsFile());
    EXPECT_EQ (WavFiles::read (file ("both.wav")).frames(), 0);
}

TEST (Merge, anUnreadableSecondInputFails)
{
    WavFiles::write (file ("one.wav"), WavFiles::tone (1000));
    file ("junk.wav").replaceWithText ("no audio here");

    EXPECT_FALSE (mergeFiles (file ("one.wav"), file ("junk.wav"), file ("both.wav")));
    EXPECT_TRUE (file ("one.wav").existsAsFile());
}

TEST (Merge, cancelDuringTheFirstFileDeletesTheFirstInputAndStillSucceeds)
{
    const int length = 44100 * 30;
    WavFiles::write (file ("one.wav"), WavFiles::tone (length));
    WavFiles::write (file ("two.wav"), WavFiles::tone (44100));

    MergeThread worker (file ("one.wav"), file ("two.wav"), file ("both.wav"));
    std::atomic<bool> asked{ false };
    WavFiles::watchReading (*worker.formatManager, WavFiles::exitAfter (worker, 0, 100000, asked));
    worker.runThread (juce::Thread::Priority::normal);

    EXPECT_TRUE (asked);
    EXPECT_TRUE (worker.success);
    EXPECT_FALSE (file ("one.wav").exists());
    EXPECT_TRUE (file ("two.wav").existsAsFile());

    // What was written so far stays, as a complete file.
    const int written = WavFiles::read (file ("both.wav")).frames();
    EXPECT_GT (written, 0);
    EXPECT_LT (written, length);
    EXPECT_EQ (written % 960, 0);
}

TEST (Merge, cancelDuringTheSecondFileDeletesTheFirstInputAndStillSucceeds)
{
    const int length = 44100 * 10 + 17;
    WavFiles::write (file ("one.wav"), WavFiles::tone (length));
    WavFiles::write (file ("two.wav"), WavFiles::tone (44100 * 30));

    MergeThread worker (file ("one.wav"), file ("two.wav"), file ("both.wav"));
    std::atomic<bool> asked{ false };
    WavFiles::watchReading (*worker.formatManager, WavFiles::exitAfter (worker, 1, 100000, asked));
    worker.runThread (juce::Thread::Priority::normal);

    EXPECT_TRUE (asked);
    EXPECT_TRUE (worker.success);
    EXPECT_FALSE (file ("one.wav").exists());
    EXPECT_TRUE (file ("two.wav").existsAsFile());

    const int written = WavFiles::read (file ("both.wav")).frames();
    EXPECT_GT (written, length);
    EXPECT_LT (written, length + 44100 * 30);
    EXPECT_EQ ((written - length) % 960, 0);
}

TEST (Merge, showsWhatIsAppendedToWhat)
{
    WavFiles::write (file ("Side A.wav"), WavFiles::tone (3000));
    WavFiles::write (file ("Side B.wav"), WavFiles::tone (2000));

    StatusKeepingMerge worker (file ("Side A.wav"), file ("Side B.wav"), file ("Joined.wav"));
    EXPECT_EQ (worker.getAlertWindow()->getName(), "Merging...");
    worker.runThread (juce::Thread::Priority::normal);

    EXPECT_TRUE (worker.success);
    EXPECT_EQ (worker.shown, juce::StringArray ("Appending Side A\nto\nJoined", "Appending Side B\nto\nJoined"));
    EXPECT_EQ (WavFiles::read (file ("Joined.wav")).frames(), 5000);
}
