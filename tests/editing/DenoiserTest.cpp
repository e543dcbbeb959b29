// The denoiser: a spectral gate on 1024-point frames, 896 samples late.
#include "editing/Denoiser.h"
#include "editing/LaneForm.h"

#include "PlainFilters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace
{
const double twoPi = 6.283185307179586;

std::vector<float> noise (int length, float level, unsigned seed)
{
    std::mt19937 generator (seed);
    std::uniform_real_distribution<float> distribution (-level, level);
    std::vector<float> signal ((size_t) length);

    for (auto& x : signal)
        x = distribution (generator);

    return signal;
}

/** Runs the signal through a fresh denoiser block by block; the length is a multiple of 256. */
std::vector<float> denoise (const std::vector<float>& input, float threshold)
{
    DenoiserState state;
    setupDenoiser (state, 44100.0);
    state.threshold = threshold;
    auto output = input;

    for (size_t start = 0; start + 256 <= output.size(); start += 256)
        processDenoiser (state, output.data() + start);

    return output;
}
} // namespace

TEST (Denoiser, setUpGivesTheStatedSizesAndClearedRings)
{
    DenoiserState state;
    setupDenoiser (state, 48000.0);

    EXPECT_EQ (state.threshold, 0.01f);
    EXPECT_EQ (state.blockLength, 256);
    EXPECT_EQ (state.inputRingLength, 1024);
    EXPECT_EQ (state.hop, 128);
    EXPECT_EQ (state.outputRingLength, 256);
    EXPECT_EQ (state.outputWrite, 0);
    EXPECT_EQ (state.outputRead, 0);
    EXPECT_EQ (state.fftLength, 1024);
    EXPECT_EQ (state.halfLength, 512);
    EXPECT_EQ (state.binCount, 513);
    EXPECT_EQ (state.sampleRate, 48000.0f);
    ASSERT_NE (state.fft, nullptr);
    EXPECT_EQ (state.fft->length, 1024);

    for (int i = 0; i < 1024; ++i)
    {
        ASSERT_EQ (state.inputRing[i], 0.0f);
        ASSERT_EQ (state.overlapRing[i], 0.0f);
    }
}

TEST (Denoiser, windowIsAPeriodicHannWhoseEightCopiesAddToOne)
{
    DenoiserState state;
    setupDenoiser (state, 44100.0);

    EXPECT_EQ (state.window[0], 0.0f);
    EXPECT_EQ (state.window[512], 0.25f);
    EXPECT_NEAR (state.window[256], 0.125f, 1.0e-7f);

    for (int i = 0; i < 1024; ++i)
    {
        const float angle = (float) (i * 6.2831854820251465 / 1024.0);
        ASSERT_EQ (state.window[i], (1.0f - (float) std::cos ((double) angle)) * 0.125f) << i;
    }

    for (int i = 0; i < 128; ++i)
    {
        double sum = 0.0;

        for (int copy = 0; copy < 8; ++copy)
            sum += state.window[i + 128 * copy];

        ASSERT_NEAR (sum, 1.0, 1.0e-6) << i;
    }
}

TEST (Denoiser, thresholdZeroGivesTheInputDelayedBy896Samples)
{
    const auto input = noise (256 * 40, 0.5f, 1u);
    const auto output = denoise (input, 0.0f);

    for (size_t n = 0; n < 896; ++n)
        ASSERT_NEAR (output[n], 0.0f, 1.0e-6f) << n;

    for (size_t n = 896; n < output.size(); ++n)
        ASSERT_NEAR (output[n], input[n - 896], 2.0e-6f) << n;
}

TEST (Denoiser, anImpulseComesOut896SamplesLater)
{
    std::vector<float> input (256 * 12, 0.0f);
    input[1000] = 1.0f;
    const auto output = denoise (input, 0.0f);

    for (size_t n = 0; n < output.size(); ++n)
        ASSERT_NEAR (output[n], n == 1896 ? 1.0f : 0.0f, 1.0e-6f) << n;
}

TEST (Denoiser, theLast896InputSamplesStayInTheRingsAndAreLost)
{
    std::vector<float> input (256 * 10, 0.0f);
    const auto tail = noise (896, 0.8f, 2u);
    std::copy (tail.begin(), tail.end(), input.end() - 896);

    const auto output = denoise (input, 0.0f);

    for (size_t n = 0; n < output.size(); ++n)
        ASSERT_NEAR (output[n], 0.0f, 1.0e-6f) << n;

    // One sample earlier and it would have come out as the very last one.
    std::vector<float> earlier (256 * 10, 0.0f);
    earlier[earlier.size() - 897] = 0.5f;
    EXPECT_NEAR (denoise (earlier, 0.0f).back(), 0.5f, 1.0e-6f);
}

TEST (Denoiser, directCurrentAndNyquistSurviveAnyThreshold)
{
    std::vector<float> input (256 * 40);

    for (size_t n = 0; n < input.size(); ++n)
        input[n] = 0.3f + ((n & 1) != 0 ? -0.2f : 0.2f);

    const auto output = denoise (input, 1.0e30f);

    // Once the rings are full of signal, every frame's DC and Nyquist terms rebuild it.
    for (size_t n = 896 + 1024; n < output.size(); ++n)
        ASSERT_NEAR (output[n], input[n - 896], 1.0e-5f) << n;
}

TEST (Denoiser, aToneBelowTheThresholdIsRemovedAndOneAboveKept)
{
    // Bin 64 of a 1024-point frame; windowed, its magnitude is about 0.5 * 512 * 0.125 = 32.
    std::vector<float> input (256 * 40);

    for (size_t n = 0; n < input.size(); ++n)
        input[n] = 0.5f * (float) std::sin (twoPi * 64.0 * (double) n / 1024.0);

    const auto removed = denoise (input, 40.0f);
    const auto kept = denoise (input, 20.0f);

    for (size_t n = 896 + 1024; n < input.size(); ++n)
    {
        ASSERT_NEAR (removed[n], 0.0f, 1.0e-5f) << n;
        ASSERT_NEAR (kept[n], input[n - 896], 1.0e-5f) << n;
    }
}

TEST (Denoiser, aBinWhoseMagnitudeEqualsTheThresholdIsKept)
{
    // The block's second hop analyses 768 zeros and the block itself; its spectrum stays in the
    // state after the block.
    const auto block = noise (256, 0.5f, 3u);
    DenoiserState probe;
    setupDenoiser (probe, 44100.0);
    probe.threshold = 0.0f;
    auto copy = block;
    processDenoiser (probe, copy.data());

    const int bin = 37;
    const float re = probe.spectrum[bin];
    const float im = probe.spectrum[512 + bin];
    const float magnitude = std::sqrt (re * re + im * im);
    ASSERT_GT (magnitude, 0.0f);

    for (float threshold : { magnitude, std::nextafter (magnitude, 1.0e30f) })
    {
        DenoiserState state;
        setupDenoiser (state, 44100.0);
        state.threshold = threshold;
        copy = block;
        processDenoiser (state, copy.data());

        if (threshold == magnitude)
        {
            EXPECT_EQ (state.spectrum[bin], re);
            EXPECT_EQ (state.spectrum[512 + bin], im);
        }
        else
        {
            EXPECT_EQ (state.spectrum[bin], 0.0f);
            EXPECT_EQ (state.spectrum[512 + bin], 0.0f);
        }
    }
}

TEST (Denoiser, givesTheSameBitsAsThePlainCodeInEveryLaneWidth)
{
    std::vector<float> input (256 * 300);
    const auto hiss = noise ((int) input.size(), 0.05f, 4u);

    for (size_t n = 0; n < input.size(); ++n)
        input[n] =
            0.4f * (float) std::sin (twoPi * 440.0 * (double) n / 44100.0) + hiss[n] + (n % 7000 == 5 ? 0.7f : 0.0f);

    input[5000] = std::nanf (""); // a NaN magnitude keeps its bin, in every width

    for (auto form : LaneForms::availableForms())
        for (float threshold : { 0.0f, 0.05f, 0.2f, 1.0f, 8.0f })
        {
            const ScopedLaneForm use (form);
            DenoiserState fast, plain;
            setupDenoiser (fast, 44100.0);
            setupDenoiser (plain, 44100.0);
            fast.threshold = plain.threshold = threshold;
            auto a = input, b = input;

            for (size_t start = 0; start < input.size(); start += 256)
            {
                processDenoiser (fast, a.data() + start);
                PlainFilters::processDenoiser (plain, b.data() + start);
            }

            for (size_t n = 0; n < input.size(); ++n)
                ASSERT_TRUE (a[n] == b[n] || (std::isnan (a[n]) && std::isnan (b[n])))
                    << (form == LaneForm::eightLanes ? "eight" : "four") << " lanes, threshold " << threshold
                    << ", sample " << n << ": " << a[n] << " against " << b[n];
        }
}

TEST (Denoiser, aNanMagnitudeKeepsItsBin)
{
    std::vector<float> block (256, 0.0f);
    block[200] = std::nanf ("");
    DenoiserState state;
    setupDenoiser (state, 44100.0);
    state.threshold = 1.0e30f;
    processDenoiser (state, block.data());

    // Every bin's magnitude is NaN (one of its parts at least), so none was zeroed.
    for (int k = 1; k < 512; ++k)
        ASSERT_TRUE (std::isnan (state.spectrum[k]) || std::isnan (state.spectrum[512 + k])) << k;
}
