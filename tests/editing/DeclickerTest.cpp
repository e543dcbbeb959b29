// The declicker: 52 samples late, clicks replaced by straight lines.
#include "editing/Declicker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace
{
const double twoPi = 6.283185307179586;

/** The detector's ratio for each sample, computed on its own: it depends on the input alone. */
std::vector<float> detectorRatios (const DeclickerState& start, const std::vector<float>& input)
{
    DeclickerState s = start;
    std::vector<float> ratios;

    for (float x : input)
    {
        const float y = s.b1 * s.x1 + s.b0 * x + s.b2 * s.x2 - s.a1 * s.y1 - s.a2 * s.y2;
        s.y2 = s.y1;
        s.y1 = y;
        s.x2 = s.x1;
        s.x1 = x;
        const float energy = y * y;
        s.energyRing[s.energyPos] = energy;
        s.energyPos = (s.energyPos + 1) % 32;
        const float old = s.energyRing[s.energyPos];
        s.averages[1] = s.slowCoef * energy + s.slowKeep * s.averages[1];
        s.averages[2] = s.fastCoef * s.averages[1] + s.fastKeep * s.averages[2];
        s.averages[3] = s.fastCoef * old + s.fastKeep * s.averages[3];
        s.delayedEnergy = s.fastCoef * s.averages[3] + s.fastKeep * s.delayedEnergy;
        const float reference = 5.4f * s.averages[2] - s.delayedEnergy;
        ratios.push_back (s.delayedEnergy / (reference + 1.0e-6f));
    }

    return ratios;
}

DeclickerState freshDeclicker (float threshold)
{
    DeclickerState state;
    setupDeclicker (state, 44100.0);
    state.threshold = threshold;
    return state;
}

std::vector<float> declick (DeclickerState& state, const std::vector<float>& input)
{
    auto output = input;

    for (size_t start = 0; start + 256 <= output.size(); start += 256)
        processDeclicker (state, output.data() + start);

    return output;
}

/** A quiet tone, with clicks added where asked. */
std::vector<float> toneWithClicks (int length, std::vector<int> clickStarts)
{
    std::vector<float> signal ((size_t) length);

    for (int n = 0; n < length; ++n)
        signal[(size_t) n] = 0.1f * (float) std::sin (twoPi * 300.0 * n / 44100.0);

    for (int start : clickStarts)
    {
        signal[(size_t) start] += 0.8f;
        signal[(size_t) start + 1] -= 0.6f;
        signal[(size_t) start + 2] += 0.5f;
    }

    return signal;
}

/** A stretch the declicker replaces: from its first detection to 14 samples after the last
    detection that kept the hold running. */
struct Stretch
{
    int first = 0;
    int end = 0;
};

std::vector<Stretch> stretches (const std::vector<float>& ratios, float threshold)
{
    std::vector<Stretch> found;

    for (int n = 0; n < (int) ratios.size(); ++n)
    {
        if (! (ratios[(size_t) n] > threshold))
            continue;

        if (! found.empty() && n <= found.back().end)
            found.back().end = n + 14;
        else
            found.push_back ({ n, n + 14 });
    }

    return found;
}

std::vector<int> detections (const std::vector<float>& ratios, float threshold, int from, int to)
{
    std::vector<int> found;

    for (int n = from; n < to; ++n)
        if (ratios[(size_t) n] > threshold)
            found.push_back (n);

    return found;
}
} // namespace

TEST (Declicker, setUpGivesTheFixedHighPassAndTheRateDependentAverages)
{
    const auto state = freshDeclicker (1.3f);

    EXPECT_EQ (state.slowCoef, (float) (502.6544189453125 / 44100.0));
    EXPECT_NEAR (state.slowCoef, 0.011398059f, 1.0e-9f);
    EXPECT_NEAR (state.fastCoef, 0.113980588f, 1.0e-8f);
    EXPECT_EQ (state.slowKeep, 1.0f - state.slowCoef);
    EXPECT_EQ (state.fastKeep, 1.0f - state.fastCoef);
    EXPECT_EQ (state.b0, 0.601322f);
    EXPECT_EQ (state.b1, -1.202645f);
    EXPECT_EQ (state.b2, 0.601322f);
    EXPECT_EQ (state.a1, -0.953107f);
    EXPECT_EQ (state.a2, 0.452182f);
    EXPECT_EQ (state.energyRingLength, 32);
    EXPECT_EQ (state.delayRingLength, 53);
    EXPECT_EQ (state.hold, -1);
    EXPECT_EQ (state.lastGoodIndex, -1.0f);
    EXPECT_EQ (state.lastGoodValue, 0.0f);

    DeclickerState at48;
    setupDeclicker (at48, 48000.0);
    EXPECT_EQ (at48.slowCoef, (float) (502.6544189453125 / 48000.0));
    EXPECT_EQ (at48.b0, 0.601322f);
}

TEST (Declicker, withoutDetectionsTheOutputIsTheInputDelayedBy52Samples)
{
    std::mt19937 generator (5);
    std::uniform_real_distribution<float> distribution (-0.9f, 0.9f);
    std::vector<float> input (256 * 8);

    for (auto& x : input)
        x = distribution (generator);

    auto state = freshDeclicker (1.0e30f);
    const auto output = declick (state, input);

    for (size_t n = 0; n < 52; ++n)
        ASSERT_EQ (output[n], 0.0f) << n;

    for (size_t n = 52; n < output.size(); ++n)
        ASSERT_EQ (output[n], input[n - 52]) << n;
}

TEST (Declicker, aClickIsReplacedByAStraightLineEnding14SamplesAfterTheLastDetection)
{
    const float threshold = 1.5f;
    const auto input = toneWithClicks (256 * 6, { 600 });
    const auto ratios = detectorRatios (freshDeclicker (threshold), input);
    const auto found = detections (ratios, threshold, 0, (int) input.size());

    ASSERT_FALSE (found.empty());
    const int first = found.front();
    const int last = found.back();
    const int end = last + 14;
    ASSERT_EQ (first / 256, end / 256) << "the test wants the repair inside one block";
    ASSERT_LT (first, 600 + 52) << "the stretch must begin before the delayed click";
    ASSERT_GT (end, 600 + 52 + 2) << "and end after it";

    auto state = freshDeclicker (threshold);
    const auto output = declick (state, input);

    // Outside the stretch, the delayed input, bit for bit.
    for (int n = 52; n < (int) output.size(); ++n)
    {
        if (n < first || n > end)
        {
            ASSERT_EQ (output[(size_t) n], input[(size_t) n - 52]) << n;
        }
    }

    // Inside, a line from the last clean sample to the delayed sample 14 after the last detection.
    const float from = input[(size_t) first - 1 - 52];
    const float to = input[(size_t) end - 52];
    const float slope = (to - from) / (float) (end - (first - 1));

    for (int n = first; n <= end; ++n)
        ASSERT_NEAR (output[(size_t) n], from + slope * (float) (n - first + 1), 1.0e-6f) << n;

    EXPECT_NEAR (output[(size_t) end], to, 1.0e-6f);

    // The click itself is gone.
    for (int n = 600 + 52; n < 600 + 52 + 3; ++n)
        EXPECT_GT (std::abs (output[(size_t) n] - input[(size_t) n - 52]), 0.3f) << n;
}

TEST (Declicker, aClickRunningPastTheBlockEndIsRampedTowardsWhereItWillEndAndFinishedFromIndexZero)
{
    const float threshold = 1.5f;
    std::vector<float> input;
    std::vector<float> ratios;
    int clickStart = -1;

    // Place the click so that hold is still running when the first block of three ends.
    for (int start = 100; start < 250 && clickStart < 0; ++start)
    {
        input = toneWithClicks (256 * 3, { start });
        ratios = detectorRatios (freshDeclicker (threshold), input);
        const auto found = detections (ratios, threshold, 0, 768);

        if (! found.empty() && found.back() >= 243 && found.back() < 250 && found.front() > 60)
            clickStart = start;
    }

    ASSERT_GE (clickStart, 0);
    const auto found = detections (ratios, threshold, 0, 768);
    const int first = found.front();
    const int last = found.back();

    auto state = freshDeclicker (threshold);
    auto output = input;
    processDeclicker (state, output.data());

    // The first block's ramp: from the last clean sample, aimed at the delayed sample at which
    // hold will run out, which is one sample sooner than within a block.
    const int holdLeft = state.hold;
    EXPECT_EQ (holdLeft, last - 243);
    EXPECT_EQ (state.lastGoodIndex, -1.0f);

    const float from = input[(size_t) first - 1 - 52];
    const float target = input[(size_t) (256 + holdLeft) - 52];
    const float slope1 = (target - from) / ((float) (holdLeft + 1 + 256) - (float) (first - 1));
    float value = from;

    for (int n = first; n < 256; ++n)
    {
        value += slope1;
        ASSERT_EQ (output[(size_t) n], value) << n;
    }

    // The next block finishes the line at its index holdLeft, counting from index 0.
    processDeclicker (state, output.data() + 256);
    const float end = input[(size_t) (256 + holdLeft) - 52];
    const float slope2 = (end - value) / (float) (holdLeft + 1);

    for (int i = 0; i <= holdLeft; ++i)
    {
        value += slope2;
        ASSERT_EQ (output[(size_t) (256 + i)], value) << i;
    }

    EXPECT_NEAR (output[(size_t) (256 + holdLeft)], end, 1.0e-6f);

    for (int n = 256 + holdLeft + 1; n < 512; ++n)
        ASSERT_EQ (output[(size_t) n], input[(size_t) n - 52]) << n;
}

TEST (Declicker, aClickFirstDetectedAtIndexZeroAfterACleanBlockStaysRawUndelayedInput)
{
    const float threshold = 1.5f;
    std::vector<float> input;
    std::vector<int> found;

    for (int start = 150; start < 256; ++start)
    {
        input = toneWithClicks (256 * 3, { start });
        found = detections (detectorRatios (freshDeclicker (threshold), input), threshold, 0, 768);

        if (! found.empty() && found.front() == 256)
            break;
    }

    ASSERT_FALSE (found.empty());
    ASSERT_EQ (found.front(), 256);
    const int end = found.back() + 14;
    ASSERT_LT (end, 512);

    auto state = freshDeclicker (threshold);
    const auto output = declick (state, input);

    // The first block is clean and leaves lastGoodIndex at 255: the repair's divisor is then
    // negative and its loop never runs.
    for (int n = 52; n < 256; ++n)
        ASSERT_EQ (output[(size_t) n], input[(size_t) n - 52]) << n;

    for (int n = 256; n <= end; ++n)
        ASSERT_EQ (output[(size_t) n], input[(size_t) n]) << n;

    for (int n = end + 1; n < 768; ++n)
        ASSERT_EQ (output[(size_t) n], input[(size_t) n - 52]) << n;
}

TEST (Declicker, whileEverySampleIsDetectedNothingIsWrittenAndTheNextRepairDividesByIndexPlusOne)
{
    const auto input = toneWithClicks (256 * 3, {});
    auto state = freshDeclicker (1.0e30f);
    auto output = input;

    processDeclicker (state, output.data());
    EXPECT_EQ (state.lastGoodIndex, 255.0f);
    const float lastClean = output[255];

    // Every sample over the threshold: hold stays at 14, nothing is written, and the ramp at the
    // block's end starts after index 255, so the block stays as it came in.
    state.threshold = -1.0e30f;
    processDeclicker (state, output.data() + 256);

    for (int n = 256; n < 512; ++n)
        ASSERT_EQ (output[(size_t) n], input[(size_t) n]) << n;

    EXPECT_EQ (state.hold, 12);
    EXPECT_EQ (state.lastGoodIndex, -1.0f);

    // Clean again: hold runs out at index 12, and the line from the last clean value starts at
    // index 0, over 13 steps.
    state.threshold = 1.0e30f;
    processDeclicker (state, output.data() + 512);

    const float end = input[(size_t) (512 + 12) - 52];
    const float slope = (end - lastClean) / 13.0f;
    float value = lastClean;

    for (int i = 0; i <= 12; ++i)
    {
        value += slope;
        ASSERT_EQ (output[(size_t) (512 + i)], value) << i;
    }

    for (int n = 512 + 13; n < 768; ++n)
        ASSERT_EQ (output[(size_t) n], input[(size_t) n - 52]) << n;
}

TEST (Declicker, aNegativeRatioIsNoDetection)
{
    // A delayed energy far above the slow average makes the reference negative.
    auto state = freshDeclicker (1.0f);
    state.averages[3] = 1.0f;
    state.delayedEnergy = 1.0f;

    std::vector<float> input (256, 1.0e-5f);
    const auto ratios = detectorRatios (state, input);
    ASSERT_LT (ratios[0], 0.0f);
    ASSERT_LT (ratios[10], 0.0f);

    auto output = input;
    processDeclicker (state, output.data());

    // Counted clean: the delayed (still empty) signal goes out, not the raw input.
    for (int n = 0; n <= 10; ++n)
        ASSERT_EQ (output[(size_t) n], 0.0f) << n;
}

TEST (Declicker, theLast52InputSamplesStayInTheRingAndAreLost)
{
    std::vector<float> input (256 * 2, 0.0f);

    for (size_t n = input.size() - 52; n < input.size(); ++n)
        input[n] = 0.25f;

    auto state = freshDeclicker (1.0e30f);
    const auto output = declick (state, input);

    for (float x : output)
        ASSERT_EQ (x, 0.0f);
}

TEST (Declicker, aNanRatioCountsAsClean)
{
    auto input = toneWithClicks (256 * 2, { 300 });
    input[10] = std::nanf ("");

    // From the NaN on, every ratio is NaN: no detection, even of the click.
    auto state = freshDeclicker (1.5f);
    const auto output = declick (state, input);

    for (size_t n = 52; n < output.size(); ++n)
    {
        if (n == 62)
            ASSERT_TRUE (std::isnan (output[n]));
        else
            ASSERT_EQ (output[n], input[n - 52]) << n;
    }
}

TEST (Declicker, twoChannelsSideBySideGiveWhatEachGivesAlone)
{
    const auto left = toneWithClicks (256 * 12, { 300, 700, 1500, 2800 });
    auto right = toneWithClicks (256 * 12, { 511, 1900 });

    for (size_t n = 0; n < right.size(); ++n)
        right[n] *= 0.7f;

    auto aloneLeft = freshDeclicker (1.2f), aloneRight = freshDeclicker (1.2f);
    auto pairLeft = freshDeclicker (1.2f), pairRight = freshDeclicker (1.2f);
    auto a = left, b = right, c = left, d = right;

    for (size_t start = 0; start < left.size(); start += 256)
    {
        processDeclicker (aloneLeft, a.data() + start);
        processDeclicker (aloneRight, b.data() + start);
        processDeclickerPair (pairLeft, c.data() + start, pairRight, d.data() + start);
    }

    EXPECT_EQ (a, c);
    EXPECT_EQ (b, d);
    EXPECT_EQ (pairLeft.hold, aloneLeft.hold);
    EXPECT_EQ (pairRight.lastGoodValue, aloneRight.lastGoodValue);
    EXPECT_NE (a, left); // something was repaired
}

TEST (Declicker, aRepairEndingOnABlocksLastSampleLeavesItsIndexStaleForAClickAtTheNextBlocksStart)
{
    // Two clicks, the second a softer one: the first one's repair ends on index 255, and the
    // second is first detected at index 0 of the next block, with no clean sample in between.
    const float threshold = 1.3f;
    std::vector<float> input;
    std::vector<Stretch> found;
    bool placed = false;

    for (float softer = 0.6f; softer < 0.95f && ! placed; softer += 0.1f)
    {
        for (int first = 150; first < 240 && ! placed; ++first)
        {
            for (int second = first + 8; second < 256 && ! placed; ++second)
            {
                input = toneWithClicks (256 * 3, { first });
                input[(size_t) second] += 0.8f * softer;
                input[(size_t) second + 1] -= 0.6f * softer;
                input[(size_t) second + 2] += 0.5f * softer;
                found = stretches (detectorRatios (freshDeclicker (threshold), input), threshold);
                placed = found.size() == 2 && found[0].end == 255 && found[1].first == 256 && found[1].end < 512;
            }
        }
    }

    ASSERT_TRUE (placed);
    auto state = freshDeclicker (threshold);
    auto output = input;
    processDeclicker (state, output.data());

    // The first repair is a line that ends on the delayed sample at index 255, and leaves the
    // index of the last clean sample as it was.
    const int lastClean = found[0].first - 1;
    EXPECT_EQ (state.hold, -1);
    EXPECT_EQ (state.lastGoodIndex, (float) lastClean);
    EXPECT_NEAR (output[255], input[255 - 52], 1.0e-6f);
    EXPECT_EQ (state.lastGoodValue, output[255]);

    for (int n = 52; n < found[0].first; ++n)
        ASSERT_EQ (output[(size_t) n], input[(size_t) n - 52]) << n;

    // In the next block that stale index lies ahead of where the second click ends: the
    // repair's divisor is negative, its loop never runs, and the click stays as raw, undelayed
    // input.
    processDeclicker (state, output.data() + 256);
    const int secondEnd = found[1].end - 256;
    ASSERT_LT (secondEnd, lastClean);

    for (int n = 256; n <= found[1].end; ++n)
        ASSERT_EQ (output[(size_t) n], input[(size_t) n]) << n;

    for (int n = found[1].end + 1; n < 512; ++n)
        ASSERT_EQ (output[(size_t) n], input[(size_t) n - 52]) << n;

    EXPECT_EQ (state.lastGoodIndex, 255.0f);
}

TEST (Declicker, theStrongestMomentOfALargeClickIsNoDetectionAndOnlyTheRunningHoldCoversIt)
{
    // A click on a groove: for a few samples at its strongest the delayed energy outgrows 5.4
    // times the average, the reference turns negative and so does the ratio.
    const float threshold = 1.3f;
    const auto input = toneWithClicks (256 * 3, { 300 });
    const auto ratios = detectorRatios (freshDeclicker (threshold), input);
    const auto found = stretches (ratios, threshold);
    ASSERT_EQ (found.size(), 1u);
    ASSERT_EQ (found[0].first / 256, found[0].end / 256) << "the test wants the repair inside one block";

    std::vector<int> negative;
    for (int n = found[0].first; n <= found[0].end; ++n)
        if (ratios[(size_t) n] < 0.0f)
            negative.push_back (n);

    ASSERT_FALSE (negative.empty()) << "no negative ratio inside the stretch";

    auto state = freshDeclicker (threshold);
    const auto output = declick (state, input);

    // The whole stretch, the samples of no detection included, is one straight line from the
    // last clean sample to the delayed sample 14 after the last detection.
    const int first = found[0].first;
    const int end = found[0].end;
    const float from = input[(size_t) first - 1 - 52];
    const float to = input[(size_t) end - 52];
    const float slope = (to - from) / (float) (end - (first - 1));

    for (int n = first; n <= end; ++n)
        ASSERT_NEAR (output[(size_t) n], from + slope * (float) (n - first + 1), 1.0e-6f) << n;

    for (int n : negative)
        EXPECT_GT (std::abs (output[(size_t) n] - input[(size_t) n - 52]), 0.0f) << n;

    // The click, delayed, lies inside the stretch and is gone.
    ASSERT_LE (first, 300 + 52);
    ASSERT_GE (end, 300 + 52 + 2);
    for (int n = 300 + 52; n < 300 + 52 + 3; ++n)
        EXPECT_GT (std::abs (output[(size_t) n] - input[(size_t) n - 52]), 0.3f) << n;

    for (int n = 52; n < (int) output.size(); ++n)
    {
        if (n < first || n > end)
        {
            ASSERT_EQ (output[(size_t) n], input[(size_t) n - 52]) << n;
        }
    }
}
