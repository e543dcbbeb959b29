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

void processDeclicker (DeclickerState& s, float* block)
{
    for (int i = 0; i < 256; ++i)
    {
        const float x = block[i];

        // The signal as it leaves: the input of 52 samples ago.
        s.delayRing[s.delayPos] = x;
        s.delayPos = s.delayPos + 1 == 53 ? 0 : s.delayPos + 1;
        const float delayed = s.delayRing[s.delayPos];

        const float y = s.b1 * s.x1 + s.b0 * x + s.b2 * s.x2 - s.a1 * s.y1 - s.a2 * s.y2;
        s.y2 = s.y1;
        s.y1 = y;
        s.x2 = s.x1;
        s.x1 = x;

        const float energy = y * y;
        s.energyRing[s.energyPos] = energy;
        s.energyPos = (s.energyPos + 1) & 31;
        const float oldEnergy = s.energyRing[s.energyPos];

        s.averages[1] = s.slowCoef * energy + s.slowKeep * s.averages[1];
        s.averages[2] = s.fastCoef * s.averages[1] + s.fastKeep * s.averages[2];
        s.averages[3] = s.fastCoef * oldEnergy + s.fastKeep * s.averages[3];
        s.delayedEnergy = s.fastCoef * s.averages[3] + s.fastKeep * s.delayedEnergy;

        s.reference = 5.4f * s.averages[2] - s.delayedEnergy;
        const float ratio = s.delayedEnergy / (s.reference + 1.0e-6f);

        if (ratio > s.threshold)
        {
            s.hold = 14;
        }
        else if (s.hold < 0)
        {
            block[i] = delayed;
            s.lastGoodValue = delayed;
            s.lastGoodIndex = (float) i;
        }
        else if (s.hold == 0)
        {
            // The click is over: a straight line from the last clean sample to this one.
            const float slope = (delayed - s.lastGoodValue) / ((float) i - s.lastGoodIndex);

            for (int j = (int) s.lastGoodIndex + 1; j <= i; ++j)
            {
                s.lastGoodValue += slope;
                block[j] = s.lastGoodValue;
            }
        }

        --s.hold;
    }

    if (s.hold >= 0)
    {
        // The click runs on into the next block: lay the ramp now, aimed at the delayed sample
        // where it will end, and let the next block's repair count from its index 0.
        const float target = s.delayRing[(s.delayPos + s.hold) % 53];
        const float slope = (target - s.lastGoodValue) / ((float) (s.hold + 256) - s.lastGoodIndex);

        for (int j = (int) s.lastGoodIndex + 1; j < 256; ++j)
        {
            s.lastGoodValue += slope;
            block[j] = s.lastGoodValue;
        }

        --s.hold;
        s.lastGoodIndex = -1.0f;
    }
}
