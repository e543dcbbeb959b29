// The real FFT: its tables, its half-complex spectrum, and the way back.
#include "editing/RealFFT.h"
#include "editing/FloatVector.h"
#include "editing/LaneForm.h"

#include "PlainFilters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace
{
std::vector<float> randomSignal (int length, unsigned seed)
{
    std::mt19937 generator (seed);
    std::uniform_real_distribution<float> distribution (-1.0f, 1.0f);
    std::vector<float> signal ((size_t) length);

    for (auto& x : signal)
        x = distribution (generator);

    return signal;
}

std::vector<int> powersOfTwo()
{
    std::vector<int> lengths;

    for (int length = 1; length <= 4096; length *= 2)
        lengths.push_back (length);

    return lengths;
}

/** The spectrum in the half-complex layout, computed in double precision straight from the sums. */
std::vector<double> halfComplexDft (const std::vector<float>& x)
{
    const int n = (int) x.size();
    const double pi = 3.14159265358979323846;
    std::vector<double> spectrum ((size_t) n);

    for (int k = 0; k <= n / 2; ++k)
    {
        double re = 0.0, im = 0.0;

        for (int t = 0; t < n; ++t)
        {
            const double angle = 2.0 * pi * (double) ((long long) k * t % n) / n;
            re += x[(size_t) t] * std::cos (angle);
            im += x[(size_t) t] * std::sin (angle);
        }

        spectrum[(size_t) k] = re;

        if (k > 0 && k < n / 2)
            spectrum[(size_t) (n / 2 + k)] = im;
    }

    return spectrum;
}

int reverseBits (int value, int bits)
{
    int reversed = 0;

    for (int b = 0; b < bits; ++b)
        if ((value & (1 << b)) != 0)
            reversed |= 1 << (bits - 1 - b);

    return reversed;
}
} // namespace

TEST (RealFFT, forwardThenInverseThenRescaleGivesBackTheInputAtEveryLength)
{
    for (int length : powersOfTwo())
    {
        RealFFT fft (length);
        const auto input = randomSignal (length, (unsigned) length);
        std::vector<float> spectrum ((size_t) length), output ((size_t) length);

        fft.forward (spectrum.data(), input.data());
        fft.inverse (spectrum.data(), output.data());
        fft.rescale (output.data());

        for (int i = 0; i < length; ++i)
            ASSERT_NEAR (output[(size_t) i], input[(size_t) i], 4.0e-6) << "length " << length << ", sample " << i;
    }
}

TEST (RealFFT, inverseWithoutRescaleMultipliesByTheLength)
{
    for (int length : powersOfTwo())
    {
        RealFFT fft (length);
        const auto input = randomSignal (length, 7u);
        std::vector<float> spectrum ((size_t) length), output ((size_t) length);

        fft.forward (spectrum.data(), input.data());
        fft.inverse (spectrum.data(), output.data());

        for (int i = 0; i < length; ++i)
            ASSERT_NEAR (output[(size_t) i] / (float) length, input[(size_t) i], 4.0e-6) << "length " << length;
    }
}

TEST (RealFFT, forwardAgreesWithADoublePrecisionDftInTheHalfComplexLayout)
{
    for (int length : powersOfTwo())
    {
        RealFFT fft (length);
        const auto input = randomSignal (length, 1000u + (unsigned) length);
        std::vector<float> spectrum ((size_t) length);
        fft.forward (spectrum.data(), input.data());

        const auto expected = halfComplexDft (input);

        // Single-precision rounding grows with the number of passes and the size of the sums.
        const double tolerance = 2.0e-7 * (fft.bitCount + 1) * std::sqrt ((double) length) * 4.0;

        for (int k = 0; k < length; ++k)
            ASSERT_NEAR (spectrum[(size_t) k], expected[(size_t) k], tolerance)
                << "length " << length << ", entry " << k;
    }
}

TEST (RealFFT, imaginaryPartsHoldTheSineCorrelationAndTheNyquistTermSitsInTheMiddle)
{
    const int length = 64;
    RealFFT fft (length);
    std::vector<float> input ((size_t) length), spectrum ((size_t) length);

    for (int t = 0; t < length; ++t)
        input[(size_t) t] =
            (float) (std::sin (2.0 * 3.14159265358979323846 * 5.0 * t / length) + ((t & 1) != 0 ? -0.5 : 0.5) + 0.25);

    fft.forward (spectrum.data(), input.data());

    EXPECT_NEAR (spectrum[0], 0.25 * length, 1.0e-4);     // DC
    EXPECT_NEAR (spectrum[32], 0.5 * length, 1.0e-4);     // Nyquist
    EXPECT_NEAR (spectrum[32 + 5], 0.5 * length, 1.0e-4); // bin 5: sine, positive
    EXPECT_NEAR (spectrum[5], 0.0, 1.0e-4);               // bin 5: no cosine
    EXPECT_NEAR (spectrum[32 + 6], 0.0, 1.0e-4);
}

TEST (RealFFT, shortLengthsAreWrittenOut)
{
    {
        RealFFT fft (1);
        const float x[] = { 0.75f };
        float f[1], back[1];
        fft.forward (f, x);
        EXPECT_EQ (f[0], 0.75f);
        fft.inverse (f, back);
        EXPECT_EQ (back[0], 0.75f);
    }
    {
        RealFFT fft (2);
        const float x[] = { 0.5f, 0.25f };
        float f[2], back[2];
        fft.forward (f, x);
        EXPECT_EQ (f[0], 0.75f);
        EXPECT_EQ (f[1], 0.25f);
        fft.inverse (f, back);
        EXPECT_EQ (back[0], 1.0f);
        EXPECT_EQ (back[1], 0.5f);
    }
    {
        RealFFT fft (4);
        const float x[] = { 1.0f, 2.0f, 4.0f, 8.0f };
        float f[4], back[4];
        fft.forward (f, x);
        EXPECT_EQ (f[0], 15.0f);
        EXPECT_EQ (f[1], -3.0f); // x0 - x2
        EXPECT_EQ (f[2], -5.0f); // (x0 + x2) - (x1 + x3)
        EXPECT_EQ (f[3], -6.0f); // x1 - x3
        fft.inverse (f, back);
        EXPECT_EQ (back[0], 4.0f);
        EXPECT_EQ (back[1], 8.0f);
        EXPECT_EQ (back[2], 16.0f);
        EXPECT_EQ (back[3], 32.0f);
    }
}

TEST (RealFFT, bitReverseTableReversesTheLowBits)
{
    for (int length : powersOfTwo())
    {
        RealFFT fft (length);
        EXPECT_EQ (1 << fft.bitCount, length);
        EXPECT_EQ (fft.bitReverseTable[0], 0);

        for (int i = 0; i < length; ++i)
            ASSERT_EQ (fft.bitReverseTable[i], reverseBits (i, fft.bitCount)) << "length " << length << ", entry " << i;
    }
}

TEST (RealFFT, cosineTableHoldsOneSectionPerLevel)
{
    RealFFT fft (1024);
    EXPECT_EQ (fft.bitCount, 10);

    // Levels 2 to 8, section L from entry 2^L - 4 with 2^L entries: 508 in all.
    EXPECT_EQ (RealFFT::sectionStart (2), 0);
    EXPECT_EQ (RealFFT::sectionStart (8), 252);
    EXPECT_EQ (RealFFT::sectionStart (8) + 256, 508);

    const long double pi = 4.0L * (long double) (float) std::atan (1.0);

    for (int level = 2; level <= 8; ++level)
    {
        const float* section = fft.cosineTable + RealFFT::sectionStart (level);
        EXPECT_EQ (section[0], 1.0f);

        for (int i = 0; i < (1 << level); ++i)
        {
            const float expected = (float) std::cos ((long double) i * pi / (long double) (1 << (level + 1)));
            ASSERT_NEAR (section[i], expected, std::nextafter (std::abs (expected), 2.0f) - std::abs (expected))
                << "level " << level << ", entry " << i;
            ASSERT_EQ (section[i], RealFFT::tableCosine (level, i));
        }
    }

    // Level 2: cos (i * pi / 8).
    EXPECT_NEAR (fft.cosineTable[2], 0.70710677f, 1.0e-7f);
    EXPECT_NEAR (fft.cosineTable[1], 0.9238795f, 1.0e-7f);
}

TEST (RealFFT, smallLengthsHaveNoCosinesAndTheSmallestNoScratch)
{
    EXPECT_EQ (RealFFT (8).cosineTable.get(), nullptr);
    EXPECT_NE (RealFFT (8).scratch.get(), nullptr);
    EXPECT_EQ (RealFFT (4).scratch.get(), nullptr);
    EXPECT_NE (RealFFT (16).cosineTable.get(), nullptr);
}

TEST (RealFFT, squareRootOfTwoHalvedIsTakenFromTheSinglePrecisionRoot)
{
    RealFFT fft (1024);
    EXPECT_EQ (fft.sqrt2Over2, (float) std::sqrt (2.0) * 0.5f);
    EXPECT_EQ (fft.sqrt2Over2, 0.70710677f);
}

TEST (RealFFT, rescaleMultipliesByTheReciprocalOfTheLength)
{
    RealFFT fft (8);
    float data[] = { 8.0f, -16.0f, 1.0f, 0.0f, 2.0f, 4.0f, 3.0f, -8.0f };
    fft.rescale (data);
    EXPECT_EQ (data[0], 1.0f);
    EXPECT_EQ (data[1], -2.0f);
    EXPECT_EQ (data[2], 0.125f);
    EXPECT_EQ (data[7], -1.0f);
}

TEST (RealFFT, givesTheSameBitsAsThePlainPassesAtEveryLengthInEveryLaneWidth)
{
    for (auto form : LaneForms::availableForms())
        for (int length = 8; length <= 8192; length *= 2)
        {
            const ScopedLaneForm use (form);
            const char* width = form == LaneForm::eightLanes ? "eight lanes" : "four lanes";
            RealFFT fft (length);
            const auto input = randomSignal (length, 99u + (unsigned) length);
            std::vector<float> fast ((size_t) length), plain ((size_t) length);
            std::vector<float> fastBack ((size_t) length), plainBack ((size_t) length);

            fft.forward (fast.data(), input.data());
            PlainFilters::forwardPasses (fft, plain.data(), input.data());

            for (int k = 0; k < length; ++k)
                ASSERT_EQ (fast[(size_t) k], plain[(size_t) k])
                    << width << ", forward, length " << length << ", entry " << k;

            fft.inverse (fast.data(), fastBack.data());
            PlainFilters::inversePasses (fft, plain.data(), plainBack.data());

            for (int k = 0; k < length; ++k)
                ASSERT_EQ (fastBack[(size_t) k], plainBack[(size_t) k])
                    << width << ", inverse, length " << length << ", entry " << k;
        }
}

TEST (FloatVector, everyLaneOperationMatchesThePlainArrayForm)
{
    std::mt19937 generator (17);
    std::uniform_real_distribution<float> distribution (-2.0f, 2.0f);
    float a[4], b[4], c[4], d[4];

    auto same = [] (FloatVector fast, ScalarFloatVector plain)
    {
        float lanes[4];
        fast.store (lanes);

        for (int i = 0; i < 4; ++i)
            if (! (lanes[i] == plain.v[i] || (std::isnan (lanes[i]) && std::isnan (plain.v[i]))))
                return false;

        return true;
    };

    for (int round = 0; round < 1000; ++round)
    {
        for (int i = 0; i < 4; ++i)
        {
            a[i] = distribution (generator);
            b[i] = distribution (generator);
            c[i] = distribution (generator);
            d[i] = round % 7 == 0 && i == 2 ? std::nanf ("") : distribution (generator);
        }

        const auto fa = FloatVector::load (a), fb = FloatVector::load (b);
        const auto pa = ScalarFloatVector::load (a), pb = ScalarFloatVector::load (b);

        ASSERT_TRUE (same (fa + fb, pa + pb));
        ASSERT_TRUE (same (fa - fb, pa - pb));
        ASSERT_TRUE (same (fa * fb, pa * pb));
        ASSERT_TRUE (same (fa / fb, pa / pb));
        ASSERT_TRUE (same (FloatVector::sqrt (fa * fa), ScalarFloatVector::sqrt (pa * pa)));
        ASSERT_TRUE (same (fa.reversed(), pa.reversed()));
        ASSERT_TRUE (same (fa.tailReversed(), pa.tailReversed()));
        ASSERT_TRUE (same (fa.withFirstOf (fb), pa.withFirstOf (pb)));
        ASSERT_TRUE (same (FloatVector::zeroWhereGreater (fa, FloatVector::load (d), fb),
                           ScalarFloatVector::zeroWhereGreater (pa, ScalarFloatVector::load (d), pb)));

        auto f0 = fa, f1 = fb, f2 = FloatVector::load (c), f3 = FloatVector::load (d);
        auto p0 = pa, p1 = pb, p2 = ScalarFloatVector::load (c), p3 = ScalarFloatVector::load (d);
        FloatVector::transpose (f0, f1, f2, f3);
        ScalarFloatVector::transpose (p0, p1, p2, p3);
        ASSERT_TRUE (same (f0, p0) && same (f1, p1) && same (f2, p2) && same (f3, p3));
        EXPECT_EQ (p1.v[0], a[1]);
        EXPECT_EQ (p0.v[3], d[0]);
    }
}
