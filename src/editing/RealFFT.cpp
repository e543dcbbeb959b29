#include "editing/RealFFT.h"

#include "editing/FloatVector.h"
#include "editing/LaneForm.h"

#include <cmath>
#include <utility>

namespace
{
// pi as the tables use it: the arctangent is rounded to single precision first.
const double tablePi = 4.0 * (double) (float) std::atan (1.0);

namespace fourLanes
{
using Lanes = FloatVector;
#include "editing/RealFFTPasses.inc"
} // namespace fourLanes

#if GROOVESMITH_FLOAT_VECTOR_AVX2
#pragma GCC push_options
#pragma GCC target("avx2")
namespace eightLanes
{
using Lanes = WideFloatVector;
#include "editing/RealFFTPasses.inc"
} // namespace eightLanes
#pragma GCC pop_options

/** Whether a transform of 2^bitCount points runs in eight lanes: they need 64 points. */
bool useEightLanes (int bitCount)
{
    return bitCount >= 6 && LaneForms::active() == LaneForm::eightLanes;
}
#endif
} // namespace

float RealFFT::tableCosine (int level, int i)
{
    return (float) std::cos ((double) i * tablePi / (double) (1 << (level + 1)));
}

RealFFT::RealFFT (int lengthToUse)
    : sqrt2Over2 ((float) std::sqrt (2.0) * 0.5f),
      length (lengthToUse),
      bitCount ((int) std::floor (std::log ((double) lengthToUse) / std::log (2.0) + 0.5))
{
    jassert (length > 0 && juce::isPowerOfTwo (length));

    // Bit-reversed counter: toggle the top bit, and carry downwards while a toggle cleared it.
    bitReverseTable.calloc ((size_t) length);
    int reversed = 0;

    for (int i = 1; i < length; ++i)
    {
        int bit = length >> 1;

        while (bit > 0)
        {
            reversed ^= bit;

            if ((reversed & bit) != 0)
                break;

            bit >>= 1;
        }

        bitReverseTable[i] = reversed;
    }

    // One section of cosines per level, from level 2 up to bitCount - 2.
    if (bitCount >= 4)
    {
        cosineTable.calloc ((size_t) ((1 << (bitCount - 1)) - 4));

        for (int level = 2; level <= bitCount - 2; ++level)
        {
            float* section = cosineTable + sectionStart (level);

            for (int i = 0; i < (1 << level); ++i)
                section[i] = tableCosine (level, i);
        }
    }

    if (bitCount >= 3)
        scratch.calloc ((size_t) length);
}

//==============================================================================
void RealFFT::forward (float* f, const float* x)
{
    switch (bitCount)
    {
        case 0:
            f[0] = x[0];
            return;

        case 1:
            f[0] = x[0] + x[1];
            f[1] = x[0] - x[1];
            return;

        case 2:
        {
            f[1] = x[0] - x[2];
            f[3] = x[1] - x[3];
            const float b0 = x[0] + x[2];
            const float b2 = x[1] + x[3];
            f[0] = b0 + b2;
            f[2] = b0 - b2;
            return;
        }

        default:
            if (bitCount >= 5)
                forwardPasses (f, x);
            else
                forwardPassesSmall (f, x);
            return;
    }
}

void RealFFT::forwardPassesSmall (float* f, const float* x)
{
    // bitCount - 1 passes in all: start where an odd or even count of them ends in `f`.
    float* d = (bitCount & 1) != 0 ? scratch.get() : f;
    float* s = (bitCount & 1) != 0 ? f : scratch.get();
    const int* rev = bitReverseTable;

    // First two passes at once, reading through the bit-reversed order.
    for (int c = 0; c < length; c += 4)
    {
        const float x0 = x[rev[c]];
        const float x1 = x[rev[c + 1]];
        const float x2 = x[rev[c + 2]];
        const float x3 = x[rev[c + 3]];

        d[c + 1] = x0 - x1;
        d[c + 3] = x2 - x3;
        const float s0 = x0 + x1;
        const float s1 = x2 + x3;
        d[c] = s0 + s1;
        d[c + 2] = s0 - s1;
    }

    std::swap (d, s);

    // Third pass, whose twiddles are 0, 45 and 90 degrees.
    for (int c = 0; c < length; c += 8)
    {
        d[c] = s[c] + s[c + 4];
        d[c + 4] = s[c] - s[c + 4];
        d[c + 2] = s[c + 2];
        d[c + 6] = s[c + 6];

        float v = (s[c + 5] - s[c + 7]) * sqrt2Over2;
        d[c + 1] = s[c + 1] + v;
        d[c + 3] = s[c + 1] - v;

        v = (s[c + 5] + s[c + 7]) * sqrt2Over2;
        d[c + 5] = v + s[c + 3];
        d[c + 7] = v - s[c + 3];
    }

    // The remaining passes join pairs of half-complex spectra of D points into one of 2 * D.
    for (int pass = 3; pass < bitCount; ++pass)
    {
        std::swap (d, s);
        fourLanes::joinPass (d, s, length, 1 << pass, cosineTable + sectionStart (pass - 1));
    }
}

//==============================================================================
void RealFFT::inverse (const float* f, float* x)
{
    switch (bitCount)
    {
        case 0:
            x[0] = f[0];
            return;

        case 1:
            x[0] = f[0] + f[1];
            x[1] = f[0] - f[1];
            return;

        case 2:
        {
            const float b0 = f[0] + f[2];
            const float b2 = f[0] - f[2];
            x[0] = b0 + 2.0f * f[1];
            x[2] = b0 - 2.0f * f[1];
            x[1] = b2 + 2.0f * f[3];
            x[3] = b2 - 2.0f * f[3];
            return;
        }

        default:
            if (bitCount >= 5)
                inversePasses (f, x);
            else
                inversePassesSmall (f, x);
            return;
    }
}

void RealFFT::inversePassesSmall (const float* f, float* x)
{
    // The passes before the last alternate between `x` and `scratch`, and must end in
    // `scratch`: the last one reads from it and scatters into `x`.
    float* spare = (bitCount & 1) != 0 ? x : scratch.get();
    float* d = (bitCount & 1) != 0 ? scratch.get() : x;
    const float* s = f;

    for (int pass = bitCount - 1; pass >= 3; --pass)
    {
        fourLanes::splitPass (d, s, length, 1 << pass, cosineTable + sectionStart (pass - 1));
        s = d;
        std::swap (d, spare);
    }

    // Third pass undone.
    for (int c = 0; c < length; c += 8)
    {
        d[c] = s[c] + s[c + 4];
        d[c + 4] = s[c] - s[c + 4];
        d[c + 2] = s[c + 2] * 2.0f;
        d[c + 6] = s[c + 6] * 2.0f;

        d[c + 1] = s[c + 1] + s[c + 3];
        d[c + 3] = s[c + 5] - s[c + 7];

        const float vr = s[c + 1] - s[c + 3];
        const float vi = s[c + 5] + s[c + 7];
        d[c + 5] = (vr + vi) * sqrt2Over2;
        d[c + 7] = (vi - vr) * sqrt2Over2;
    }

    // First two passes undone, written through the bit-reversed order.
    const int* rev = bitReverseTable;

    for (int c = 0; c < length; c += 4)
    {
        const float b0 = d[c] + d[c + 2];
        const float b2 = d[c] - d[c + 2];
        const float b1 = d[c + 1] * 2.0f;
        const float b3 = d[c + 3] * 2.0f;

        x[rev[c]] = b0 + b1;
        x[rev[c + 1]] = b0 - b1;
        x[rev[c + 2]] = b2 + b3;
        x[rev[c + 3]] = b2 - b3;
    }
}

//==============================================================================
// From 32 points on, the passes run in vector lanes (RealFFTPasses.inc).

void RealFFT::forwardPasses (float* f, const float* x)
{
#if GROOVESMITH_FLOAT_VECTOR_AVX2
    if (useEightLanes (bitCount))
    {
        eightLanes::forwardPasses (*this, f, x);
        return;
    }
#endif

    fourLanes::forwardPasses (*this, f, x);
}

void RealFFT::inversePasses (const float* f, float* x)
{
#if GROOVESMITH_FLOAT_VECTOR_AVX2
    if (useEightLanes (bitCount))
    {
        eightLanes::inversePasses (*this, f, x);
        return;
    }
#endif

    fourLanes::inversePasses (*this, f, x);
}

void RealFFT::rescale (float* data) const
{
    const float factor = (float) (1.0 / (double) length);

    for (int i = 0; i < length; ++i)
        data[i] *= factor;
}
