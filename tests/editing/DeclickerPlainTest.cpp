// The declicker against its plain one-sample-at-a-time form: alone and in pairs, the same bits
// and the same state, with clicks at block edges and a stretch where every sample is detected.
#include "editing/Declicker.h"

#include "PlainFilters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace
{
bool sameBits (float a, float b)
{
    return a == b || (std::isnan (a) && std::isnan (b));
}
} // namespace

TEST (DeclickerPlain, aloneAndInPairsItGivesTheBitsOfThePlainCode)
{
    std::mt19937 generator (4);
    std::uniform_real_distribution<float> hiss (-0.05f, 0.05f);
    std::vector<float> input (256 * 200);

    for (size_t n = 0; n < input.size(); ++n)
        input[n] = 0.4f * (float) std::sin (6.283185307179586 * 440.0 * (double) n / 44100.0) + hiss (generator) +
                   (n % 3001 == 100 ? 0.7f : 0.0f);

    for (int start : { 255, 256, 511 - 2, 1024 + 250, 4096 })
        input[(size_t) start] += 0.9f;

    for (size_t n = 20000; n < 20600; ++n)
        input[n] = (n % 2 == 0 ? 0.95f : -0.95f) * (float) (n - 19990) / 600.0f;

    for (float threshold : { 1.0f, 1.3f, 1.7f, 2.0f })
    {
        DeclickerState alone, pairLeft, pairRight, plain;

        for (auto* state : { &alone, &pairLeft, &pairRight, &plain })
        {
            setupDeclicker (*state, 44100.0);
            state->threshold = threshold;
        }

        auto a = input, b = input, c = input, d = input;

        for (size_t start = 0; start < input.size(); start += 256)
        {
            processDeclicker (alone, a.data() + start);
            processDeclickerPair (pairLeft, c.data() + start, pairRight, d.data() + start);
            PlainFilters::processDeclicker (plain, b.data() + start);
        }

        for (size_t n = 0; n < input.size(); ++n)
        {
            ASSERT_TRUE (sameBits (a[n], b[n])) << "threshold " << threshold << ", sample " << n;
            ASSERT_TRUE (sameBits (c[n], b[n]) && sameBits (d[n], b[n]))
                << "pair, threshold " << threshold << ", sample " << n;
        }

        EXPECT_NE (a, input); // something was repaired
        EXPECT_EQ (alone.hold, plain.hold);
        EXPECT_EQ (alone.lastGoodIndex, plain.lastGoodIndex);
        EXPECT_EQ (alone.lastGoodValue, plain.lastGoodValue);
        EXPECT_EQ (alone.reference, plain.reference);
        EXPECT_EQ (alone.delayPos, plain.delayPos);
        EXPECT_EQ (alone.energyPos, plain.energyPos);
        EXPECT_EQ (alone.averages[3], plain.averages[3]);
    }
}
