// Split, merge and the 45-to-33 resampler on sources at every rate from 8000 to 192000 Hz: what
// comes out at 44100 Hz keeps the source's whole duration, and a mark in the source's sound is
// heard at the same time in the output.
#include "editing/MergeThread.h"
#include "editing/ResamplerThread.h"
#include "editing/SplitThread.h"

#include "WavFiles.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
const double rates[] = { 8000.0, 11025.0, 16000.0, 22050.0, 32000.0, 44100.0, 48000.0, 88200.0, 96000.0, 192000.0 };

/** How far from its time a mark may be heard: the resampler's filters smear a step over a few
    frames at most. */
constexpr int tolerance = 44; // one millisecond

juce::File file (const juce::String& name)
{
    return WavFiles::folder().getChildFile (name);
}

/** `seconds` of silence at `rate`, stereo, with a mark at each of `marks` (in seconds): 20 ms at
    half of full scale, which any resampling keeps as a clear step. */
WavFiles::Audio marked (double rate, double seconds, std::initializer_list<double> marks)
{
    WavFiles::Audio audio;
    audio.rate = rate;
    const auto frames = (size_t) std::llround (seconds * rate);
    audio.channels.assign (2, std::vector<int> (frames));

    for (const double mark : marks)
    {
        const auto first = (size_t) std::llround (mark * rate);
        const auto last = std::min (frames, first + (size_t) std::llround (0.02 * rate));

        for (size_t n = first; n < last; ++n)
        {
            audio.channels[0][n] = 16000;
            audio.channels[1][n] = -16000;
        }
    }

    return audio;
}

/** The first frame at or after `from` where a mark is heard on both channels; -1 when none is. */
int markAfter (const WavFiles::Audio& audio, int from)
{
    for (int n = std::max (0, from); n < audio.frames(); ++n)
        if (audio.channels[0][(size_t) n] > 8000 && audio.channels[1][(size_t) n] < -8000)
            return n;

    return -1;
}

/** Frames at 44100 Hz in `seconds`. */
int at44100 (double seconds)
{
    return (int) std::llround (seconds * 44100.0);
}
} // namespace

TEST (SourceRates, aSplitCutsWhereItWasAskedAndKeepsTheWholeSourceAtAnyRate)
{
    for (const double rate : rates)
    {
        SCOPED_TRACE (rate);
        const auto source = file ("source.wav");
        WavFiles::write (source, marked (rate, 3.0, { 1.0, 2.0 }));

        ASSERT_TRUE (splitFile (source, 1.5, file ("start.wav"), file ("end.wav")));

        const auto start = WavFiles::read (file ("start.wav"));
        const auto end = WavFiles::read (file ("end.wav"));
        EXPECT_EQ (start.rate, 44100.0);
        EXPECT_EQ (start.frames(), at44100 (1.5));
        EXPECT_GE (end.frames(), at44100 (1.5)) << "the end part keeps the rest of the source";
        EXPECT_LT (end.frames(), at44100 (1.5) + 960) << "and at most one block of silence after it";
        EXPECT_NEAR (markAfter (start, 0), at44100 (1.0), tolerance);
        EXPECT_NEAR (markAfter (end, 0), at44100 (0.5), tolerance);
    }
}

TEST (SourceRates, aMergeKeepsBothSourcesWholeAtAnyRate)
{
    for (size_t i = 0; i < std::size (rates); ++i)
    {
        // The second file at another rate than the first.
        const double firstRate = rates[i];
        const double secondRate = rates[(i + 3) % std::size (rates)];
        SCOPED_TRACE (juce::String (firstRate) + " then " + juce::String (secondRate));
        WavFiles::write (file ("one.wav"), marked (firstRate, 2.0, { 1.0 }));
        WavFiles::write (file ("two.wav"), marked (secondRate, 1.0, { 0.5 }));
        file ("both.wav").deleteFile();

        ASSERT_TRUE (mergeFiles (file ("one.wav"), file ("two.wav"), file ("both.wav")));

        const auto both = WavFiles::read (file ("both.wav"));
        EXPECT_EQ (both.rate, 44100.0);
        EXPECT_EQ (both.frames(), at44100 (3.0));
        EXPECT_NEAR (markAfter (both, 0), at44100 (1.0), tolerance);
        EXPECT_NEAR (markAfter (both, at44100 (1.5)), at44100 (2.5), tolerance);
    }
}

TEST (SourceRates, theSpeedCorrectionSlowsTheWholeSourceBy074AtAnyRate)
{
    for (const double rate : rates)
    {
        SCOPED_TRACE (rate);
        auto track = file ("track.wav");
        WavFiles::write (track, marked (rate, 2.0, { 1.0 }));

        ASSERT_TRUE (resampleFile (&track, 0.74));

        const auto slowed = WavFiles::read (track);
        const int whole = (int) std::ceil (2.0 / 0.74 * 44100.0);
        EXPECT_EQ (slowed.rate, 44100.0);
        EXPECT_GE (slowed.frames(), whole) << "the whole source, slowed";
        EXPECT_LT (slowed.frames(), whole + 960) << "and at most one block of silence after it";
        EXPECT_EQ (slowed.frames() % 960, 0);
        EXPECT_NEAR (markAfter (slowed, 0), at44100 (1.0 / 0.74), tolerance);
    }
}
