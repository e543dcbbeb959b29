#include "editing/Declicker.h"

#include <algorithm>
#include <cmath>
#include <iterator>

void setupDeclicker (DeclickerState& state, double sampleRate)
{
    state = DeclickerState();
    state.sampleRate = (float) sampleRate;
    std::fill (std::begin (state.energyRing), std::end (state.energyRing), 0.0f);
    std::fill (std::begin (state.delayRing), std::end (state.delayRing), 0.0f);
    std::fill (std::begin (state.averages), std::end (state.averages), 0.0f);

    // Time constants of the energy averages; the high-pass below is fixed.
    state.slowCoef = (float) (502.6544189453125 / sampleRate);
    state.fastCoef = (float) (5026.5439453125 / sampleRate);
    state.slowKeep = 1.0f - state.slowCoef;
    state.fastKeep = 1.0f - state.fastCoef;

    state.b0 = 0.601322f;
    state.b1 = -1.202645f;
    state.b2 = 0.601322f;
    state.a1 = -0.953107f;
    state.a2 = 0.452182f;
}

namespace
{
/** One channel's running values, held in locals for the length of a block: the block's samples
    are floats too, and written in place, so the compiler could not keep the state's own fields
    in registers. The arithmetic is exactly the state's. */
struct Channel
{
    explicit Channel (DeclickerState& stateToUse, float* blockToUse)
        : s (stateToUse),
          block (blockToUse),
          delayPos (s.delayPos),
          energyPos (s.energyPos),
          slow (s.averages[1]),
          slowSmoothed (s.averages[2]),
          delayedSmoothed (s.averages[3]),
          delayedEnergy (s.delayedEnergy),
          y2 (s.y2),
          y1 (s.y1),
          x2 (s.x2),
          x1 (s.x1),
          hold (s.hold),
          lastGoodValue (s.lastGoodValue),
          lastGoodIndex (s.lastGoodIndex)
    {
    }

    void sample (int i)
    {
        const float x = block[i];

        // The signal as it leaves: the input of 52 samples ago.
        s.delayRing[delayPos] = x;
        delayPos = delayPos + 1 == 53 ? 0 : delayPos + 1;
        const float delayed = s.delayRing[delayPos];

        const float y = s.b1 * x1 + s.b0 * x + s.b2 * x2 - s.a1 * y1 - s.a2 * y2;
        y2 = y1;
        y1 = y;
        x2 = x1;
        x1 = x;

        const float energy = y * y;
        s.energyRing[energyPos] = energy;
        energyPos = (energyPos + 1) & 31;
        const float oldEnergy = s.energyRing[energyPos];

        slow = s.slowCoef * energy + s.slowKeep * slow;
        slowSmoothed = s.fastCoef * slow + s.fastKeep * slowSmoothed;
        delayedSmoothed = s.fastCoef * oldEnergy + s.fastKeep * delayedSmoothed;
        delayedEnergy = s.fastCoef * delayedSmoothed + s.fastKeep * delayedEnergy;

        reference = 5.4f * slowSmoothed - delayedEnergy;
        const float ratio = delayedEnergy / (reference + 1.0e-6f);

        if (ratio > s.threshold)
        {
            hold = 14;
        }
        else if (hold < 0)
        {
            block[i] = delayed;
            lastGoodValue = delayed;
            lastGoodIndex = (float) i;
        }
        else if (hold == 0)
        {
            // The click is over: a straight line from the last clean sample to this one.
            const float slope = (delayed - lastGoodValue) / ((float) i - lastGoodIndex);

            for (int j = (int) lastGoodIndex + 1; j <= i; ++j)
            {
                lastGoodValue += slope;
                block[j] = lastGoodValue;
            }
        }

        --hold;
    }

    void finish()
    {
        if (hold >= 0)
        {
            // The click runs on into the next block: lay the ramp now, aimed at the delayed
            // sample where it will end, and let the next block's repair count from its index 0.
            const float target = s.delayRing[(delayPos + hold) % 53];
            const float slope = (target - lastGoodValue) / ((float) (hold + 256) - lastGoodIndex);

            for (int j = (int) lastGoodIndex + 1; j < 256; ++j)
            {
                lastGoodValue += slope;
                block[j] = lastGoodValue;
            }

            --hold;
            lastGoodIndex = -1.0f;
        }

        s.delayPos = delayPos;
        s.energyPos = energyPos;
        s.averages[1] = slow;
        s.averages[2] = slowSmoothed;
        s.averages[3] = delayedSmoothed;
        s.delayedEnergy = delayedEnergy;
        s.reference = reference;
        s.y2 = y2;
        s.y1 = y1;
        s.x2 = x2;
        s.x1 = x1;
        s.hold = hold;
        s.lastGoodValue = lastGoodValue;
        s.lastGoodIndex = lastGoodIndex;
    }

    DeclickerState& s;
    float* block;
    int delayPos, energyPos;
    float slow, slowSmoothed, delayedSmoothed, delayedEnergy, reference = 0.0f;
    float y2, y1, x2, x1;
    int hold;
    float lastGoodValue, lastGoodIndex;
};
} // namespace

void processDeclicker (DeclickerState& state, float* block)
{
    Channel channel (state, block);

    for (int i = 0; i < 256; ++i)
        channel.sample (i);

    channel.finish();
}

void processDeclickerPair (DeclickerState& first, float* firstBlock, DeclickerState& second, float* secondBlock)
{
    // Two independent channels in one loop, so that their chains of dependent operations
    // overlap.
    Channel a (first, firstBlock);
    Channel b (second, secondBlock);

    for (int i = 0; i < 256; ++i)
    {
        a.sample (i);
        b.sample (i);
    }

    a.finish();
    b.finish();
}
