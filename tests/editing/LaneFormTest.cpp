// The lane widths of the filters: which one is used, and every lane operation against the plain
// form. The transform and the denoiser are held to the plain code in every width by their own
// tests.
#include "editing/LaneForm.h"
#include "editing/FloatVector.h"

#include <gtest/gtest.h>
#include <juce_core/juce_core.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace
{
bool sameBits (float a, float b)
{
    return a == b || (std::isnan (a) && std::isnan (b));
}

template <typename Vector>
std::vector<float> lanesOf (Vector vector)
{
    std::vector<float> lanes ((size_t) Vector::lanes);
    vector.store (lanes.data());
    return lanes;
}

bool sameLanes (const std::vector<float>& a, const std::vector<float>& b)
{
    if (a.size() != b.size())
        return false;

    for (size_t i = 0; i < a.size(); ++i)
        if (! sameBits (a[i], b[i]))
            return false;

    return true;
}

#if GROOVESMITH_FLOAT_VECTOR_AVX2
/** An eight-lane vector's lanes; compiled for AVX2 like its callers, which pass the vector in an
    AVX register. */
__attribute__ ((target ("avx2"))) std::vector<float> wideLanes (WideFloatVector vector)
{
    std::vector<float> lanes (8);
    vector.store (lanes.data());
    return lanes;
}

/** Every eight-lane operation on the inputs, one row of eight results each, in AVX2 code. */
__attribute__ ((target ("avx2"))) std::vector<std::vector<float>> wideResults (const float* a, const float* b,
                                                                               const float* c)
{
    const auto x = WideFloatVector::load (a), y = WideFloatVector::load (b), z = WideFloatVector::load (c);
    std::vector<std::vector<float>> rows{ wideLanes (x + y),
                                          wideLanes (x - y),
                                          wideLanes (x * y),
                                          wideLanes (x / y),
                                          wideLanes (WideFloatVector::sqrt (x * x)),
                                          wideLanes (x.reversed()),
                                          wideLanes (x.tailReversed()),
                                          wideLanes (WideFloatVector::zeroWhereGreater (x, z, y)),
                                          wideLanes (WideFloatVector::fill (c[3])),
                                          wideLanes (WideFloatVector::zero()) };

    // Groups of eight: lane m of row j goes to group m's entry j, and back.
    WideFloatVector in[8];

    for (int j = 0; j < 8; ++j)
        in[j] = WideFloatVector::load (a + 8 * j);

    // Groups placed out of order, as the transform's bit-reversed offsets place them.
    const int offsets[] = { 0, 32, 16, 48, 8, 40, 24, 56 };
    float groups[64];
    WideFloatVector::storeGroupsOfEight (in, groups, offsets);

    for (int m = 0; m < 8; ++m)
        rows.emplace_back (groups + offsets[m], groups + offsets[m] + 8);

    WideFloatVector out[8];
    WideFloatVector::loadGroupsOfEight (out, a, offsets);

    for (auto& row : out)
        rows.push_back (wideLanes (row));

    return rows;
}
#endif
} // namespace

TEST (LaneForm, everyEightLaneOperationMatchesThePlainArrayForm)
{
#if GROOVESMITH_FLOAT_VECTOR_AVX2
    if (! LaneForms::eightLanesAvailable())
        GTEST_SKIP() << "the processor has no AVX2";

    std::mt19937 generator (23);
    std::uniform_real_distribution<float> distribution (-2.0f, 2.0f);

    for (int round = 0; round < 300; ++round)
    {
        std::vector<float> a (64), b (8), c (8);

        for (auto& x : a)
            x = distribution (generator);

        for (int i = 0; i < 8; ++i)
        {
            b[(size_t) i] = distribution (generator);
            c[(size_t) i] = round % 5 == 0 && i == 6 ? std::nanf ("") : distribution (generator);
        }

        // Every lane worked out one float at a time.
        auto each = [&] (auto op)
        {
            std::vector<float> lanes (8);

            for (size_t i = 0; i < 8; ++i)
                lanes[i] = op (i);

            return lanes;
        };

        std::vector<std::vector<float>> plain{
            each ([&] (size_t i) { return a[i] + b[i]; }),
            each ([&] (size_t i) { return a[i] - b[i]; }),
            each ([&] (size_t i) { return a[i] * b[i]; }),
            each ([&] (size_t i) { return a[i] / b[i]; }),
            each ([&] (size_t i) { return std::sqrt (a[i] * a[i]); }),
            each ([&] (size_t i) { return a[7 - i]; }),
            each ([&] (size_t i) { return i == 0 ? a[0] : a[8 - i]; }),
            each ([&] (size_t i) { return c[i] > b[i] ? 0.0f : a[i]; }),
            each ([&] (size_t) { return c[3]; }),
            each ([&] (size_t) { return 0.0f; }),
        };

        const size_t offsets[] = { 0, 32, 16, 48, 8, 40, 24, 56 };

        for (size_t m = 0; m < 8; ++m)
            plain.push_back (each ([&] (size_t j) { return a[8 * j + m]; }));

        for (size_t j = 0; j < 8; ++j)
            plain.push_back (each ([&] (size_t m) { return a[offsets[m] + j]; }));

        const auto wide = wideResults (a.data(), b.data(), c.data());
        ASSERT_EQ (wide.size(), plain.size());

        for (size_t row = 0; row < plain.size(); ++row)
            ASSERT_TRUE (sameLanes (wide[row], plain[row])) << "round " << round << ", operation " << row;
    }
#else
    GTEST_SKIP() << "built without the eight-lane form";
#endif
}

TEST (LaneForm, theFourLaneLoadAndPeakOperationsMatchThePlainArrayForm)
{
    std::mt19937 generator (31);
    std::uniform_int_distribution<int> sample (std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    std::uniform_real_distribution<float> distribution (-2.0f, 2.0f);

    for (int round = 0; round < 1000; ++round)
    {
        int ints[4];
        float a[4], b[4];

        for (int i = 0; i < 4; ++i)
        {
            ints[i] = round == 0 ? (i == 0 ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max() - i)
                                 : sample (generator);
            a[i] = round % 7 == 0 && i == 1 ? std::nanf ("") : distribution (generator);
            b[i] = round % 11 == 0 && i == 2 ? -0.0f : distribution (generator);
        }

        const auto top = lanesOf (FloatVector::fromTop16Bits (ints));
        const auto plainTop = lanesOf (ScalarFloatVector::fromTop16Bits (ints));
        ASSERT_TRUE (sameLanes (top, plainTop));

        for (int i = 0; i < 4; ++i)
            ASSERT_EQ (top[(size_t) i], (float) (short) (ints[i] >> 16));

        const auto fa = FloatVector::load (a), fb = FloatVector::load (b);
        const auto pa = ScalarFloatVector::load (a), pb = ScalarFloatVector::load (b);
        ASSERT_TRUE (sameLanes (lanesOf (FloatVector::abs (fa)), lanesOf (ScalarFloatVector::abs (pa))));
        ASSERT_TRUE (sameLanes (lanesOf (FloatVector::max (fa, fb)), lanesOf (ScalarFloatVector::max (pa, pb))));
        ASSERT_TRUE (sameLanes (lanesOf (FloatVector::max (fb, fa)), lanesOf (ScalarFloatVector::max (pb, pa))));

        FloatVector low, high;
        ScalarFloatVector plainLow, plainHigh;
        FloatVector::interleave (fa, fb, low, high);
        ScalarFloatVector::interleave (pa, pb, plainLow, plainHigh);
        ASSERT_TRUE (sameLanes (lanesOf (low), lanesOf (plainLow)));
        ASSERT_TRUE (sameLanes (lanesOf (high), lanesOf (plainHigh)));
        ASSERT_TRUE (sameBits (lanesOf (low)[1], b[0]) && sameBits (lanesOf (high)[2], a[3]));
    }

    // A NaN never wins the peak, whichever side it comes from.
    const float withNan[] = { std::nanf (""), 0.5f, -3.0f, 1.0f };
    const float zeros[] = { 0.0f, 0.0f, 0.0f, 0.0f };
    const auto peaks =
        lanesOf (FloatVector::max (FloatVector::abs (FloatVector::load (withNan)), FloatVector::load (zeros)));
    EXPECT_EQ (peaks, (std::vector<float>{ 0.0f, 0.5f, 3.0f, 1.0f }));
}

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
