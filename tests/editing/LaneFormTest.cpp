// The filters in every lane width give the bits of the plain code: the transform, the
// denoiser's gate and the declicker, with the width forced one way and the other.
#include "editing/LaneForm.h"
#include "editing/Declicker.h"
#include "editing/Denoiser.h"
#include "editing/FloatVector.h"
#include "editing/RealFFT.h"

#include "PlainFilters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace
{
const double twoPi = 6.283185307179586;

std::vector<float> randomSignal (int length, unsigned seed, float level = 1.0f)
{
    std::mt19937 generator (seed);
    std::uniform_real_distribution<float> distribution (-level, level);
    std::vector<float> signal ((size_t) length);

    for (auto& x : signal)
        x = distribution (generator);

    return signal;
}

/** Music-like test signal: a tone, hiss, and now and then a click. */
std::vector<float> crackle (int length)
{
    auto signal = randomSignal (length, 4u, 0.05f);

    for (size_t n = 0; n < signal.size(); ++n)
        signal[n] += 0.4f * (float) std::sin (twoPi * 440.0 * (double) n / 44100.0) + (n % 3001 == 100 ? 0.7f : 0.0f);

    return signal;
}

std::vector<LaneForm> everyForm()
{
    std::vector<LaneForm> forms{ LaneForm::fourLanes };

    if (LaneForms::eightLanesAvailable())
        forms.push_back (LaneForm::eightLanes);

    return forms;
}

const char* nameOf (LaneForm form)
{
    return form == LaneForm::eightLanes ? "eight lanes" : "four lanes";
}

bool sameBits (float a, float b)
{
    return a == b || (std::isnan (a) && std::isnan (b));
}
} // namespace

TEST (LaneForm, theWidestFormIsChosenAndEightLanesAreUsedOnlyWhereTheProcessorHasThem)
{
    EXPECT_EQ (LaneForms::eightLanesAvailable(), juce::SystemStats::hasAVX2() && GROOVESMITH_FLOAT_VECTOR_AVX2);
    EXPECT_EQ (LaneForms::active(), LaneForms::eightLanesAvailable() ? LaneForm::eightLanes : LaneForm::fourLanes);

    {
        ScopedLaneForm four (LaneForm::fourLanes);
        EXPECT_EQ (LaneForms::active(), LaneForm::fourLanes);

        {
            ScopedLaneForm eight (LaneForm::eightLanes);
            EXPECT_EQ (LaneForms::active(),
                       LaneForms::eightLanesAvailable() ? LaneForm::eightLanes : LaneForm::fourLanes);
        }

        EXPECT_EQ (LaneForms::active(), LaneForm::fourLanes);
    }

    EXPECT_EQ (LaneForms::active(), LaneForms::eightLanesAvailable() ? LaneForm::eightLanes : LaneForm::fourLanes);
}

TEST (LaneForm, theTransformGivesTheBitsOfThePlainPassesInEveryFormAtEveryLength)
{
    for (auto form : everyForm())
    {
        ScopedLaneForm use (form);

        for (int length = 8; length <= 8192; length *= 2)
        {
            RealFFT fft (length);
            const auto input = randomSignal (length, 7u + (unsigned) length);
            std::vector<float> fast ((size_t) length), plain ((size_t) length);
            std::vector<float> fastBack ((size_t) length), plainBack ((size_t) length);

            fft.forward (fast.data(), input.data());
            PlainFilters::forwardPasses (fft, plain.data(), input.data());

            for (int k = 0; k < length; ++k)
                ASSERT_EQ (fast[(size_t) k], plain[(size_t) k])
                    << nameOf (form) << ", forward, length " << length << ", entry " << k;

            fft.inverse (fast.data(), fastBack.data());
            PlainFilters::inversePasses (fft, plain.data(), plainBack.data());

            for (int k = 0; k < length; ++k)
                ASSERT_EQ (fastBack[(size_t) k], plainBack[(size_t) k])
                    << nameOf (form) << ", inverse, length " << length << ", entry " << k;
        }
    }
}

TEST (LaneForm, theDenoiserGivesTheBitsOfThePlainCodeInEveryForm)
{
    auto input = crackle (256 * 200);
    input[5000] = std::nanf (""); // a NaN magnitude keeps its bin, in every form

    for (auto form : everyForm())
    {
        ScopedLaneForm use (form);

        for (float threshold : { 0.0f, 0.05f, 0.2f, 1.0f, 8.0f })
        {
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
                ASSERT_TRUE (sameBits (a[n], b[n])) << nameOf (form) << ", threshold " << threshold << ", sample " << n;
        }
    }
}

TEST (LaneForm, theDeclickerGivesTheBitsOfThePlainCodeInEveryForm)
{
    auto input = crackle (256 * 200);

    // Clicks at and around block edges, and a stretch where every sample is detected.
    for (int start : { 255, 256, 511 - 2, 1024 + 250, 4096 })
        input[(size_t) start] += 0.9f;

    for (size_t n = 20000; n < 20600; ++n)
        input[n] = (n % 2 == 0 ? 0.95f : -0.95f) * (float) (n - 19990) / 600.0f;

    for (auto form : everyForm())
    {
        ScopedLaneForm use (form);

        for (float threshold : { 1.0f, 1.3f, 1.7f, 2.0f })
        {
            DeclickerState fast, pairLeft, pairRight, plain;

            for (auto* state : { &fast, &pairLeft, &pairRight, &plain })
            {
                setupDeclicker (*state, 44100.0);
                state->threshold = threshold;
            }

            auto a = input, b = input, c = input, d = input;

            for (size_t start = 0; start < input.size(); start += 256)
            {
                processDeclicker (fast, a.data() + start);
                processDeclickerPair (pairLeft, c.data() + start, pairRight, d.data() + start);
                PlainFilters::processDeclicker (plain, b.data() + start);
            }

            for (size_t n = 0; n < input.size(); ++n)
            {
                ASSERT_TRUE (sameBits (a[n], b[n])) << nameOf (form) << ", threshold " << threshold << ", sample " << n;
                ASSERT_TRUE (sameBits (c[n], b[n]) && sameBits (d[n], b[n]))
                    << nameOf (form) << ", pair, threshold " << threshold << ", sample " << n;
            }

            EXPECT_EQ (fast.hold, plain.hold);
            EXPECT_EQ (fast.lastGoodIndex, plain.lastGoodIndex);
            EXPECT_EQ (fast.lastGoodValue, plain.lastGoodValue);
            EXPECT_EQ (fast.reference, plain.reference);
            EXPECT_EQ (fast.delayPos, plain.delayPos);
            EXPECT_EQ (fast.energyPos, plain.energyPos);
        }

        EXPECT_NE (input, std::vector<float> (input.size(), 0.0f));
    }
}
