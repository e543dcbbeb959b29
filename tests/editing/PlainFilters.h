#pragma once

// The filters' hot paths written the plain way, one scalar operation after another, as the
// yardstick for the faster code in the program: both must give the same bits.
#include "editing/Declicker.h"
#include "editing/Denoiser.h"

#include <cmath>
#include <utility>

namespace PlainFilters
{
inline void forwardPasses (RealFFT& fft, float* f, const float* x)
{
    const int bitCount = fft.bitCount;
    const int length = fft.length;
    const float sqrt2Over2 = fft.sqrt2Over2;
    const float* cosineTable = fft.cosineTable;
    float* scratch = fft.scratch;

    // bitCount - 1 passes in all: start where an odd or even count of them ends in `f`.
    float* d = (bitCount & 1) != 0 ? scratch : f;
    float* s = (bitCount & 1) != 0 ? f : scratch;
    const int* rev = fft.bitReverseTable;

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

        const int D = 1 << pass;
        const int H = D >> 1;
        const float* table = cosineTable + RealFFT::sectionStart (pass - 1);

        for (int c = 0; c < length; c += 2 * D)
        {
            const float* s1 = s + c;
            const float* s2 = s1 + D;
            float* d1 = d + c;
            float* d2 = d1 + D;

            d1[0] = s1[0] + s2[0];
            d2[0] = s1[0] - s2[0];
            d1[H] = s1[H];
            d2[H] = s2[H];

            for (int i = 1; i < H; ++i)
            {
                const float co = table[i];
                const float si = table[H - i];

                float v = s2[i] * co - s2[H + i] * si;
                d1[i] = s1[i] + v;
                d1[D - i] = s1[i] - v;

                v = s2[i] * si + s2[H + i] * co;
                d2[i] = v + s1[H + i];
                d2[D - i] = v - s1[H + i];
            }
        }
    }
}

inline void inversePasses (RealFFT& fft, const float* f, float* x)
{
    const int bitCount = fft.bitCount;
    const int length = fft.length;
    const float sqrt2Over2 = fft.sqrt2Over2;
    const float* cosineTable = fft.cosineTable;
    float* scratch = fft.scratch;

    // The passes before the last alternate between `x` and `scratch`, and must end in
    // `scratch`: the last one reads from it and scatters into `x`.
    float* spare = (bitCount & 1) != 0 ? x : scratch;
    float* d = (bitCount & 1) != 0 ? scratch : x;
    const float* s = f;

    for (int pass = bitCount - 1; pass >= 3; --pass)
    {
        const int D = 1 << pass;
        const int H = D >> 1;
        const float* table = cosineTable + RealFFT::sectionStart (pass - 1);

        for (int c = 0; c < length; c += 2 * D)
        {
            const float* s1 = s + c;
            const float* s2 = s1 + D;
            float* d1 = d + c;
            float* d2 = d1 + D;

            d1[0] = s1[0] + s2[0];
            d2[0] = s1[0] - s2[0];
            d1[H] = s1[H] * 2.0f;
            d2[H] = s2[H] * 2.0f;

            for (int i = 1; i < H; ++i)
            {
                const float co = table[i];
                const float si = table[H - i];

                d1[i] = s1[i] + s1[D - i];
                d1[H + i] = s2[i] - s2[D - i];

                const float vr = s1[i] - s1[D - i];
                const float vi = s2[i] + s2[D - i];
                d2[i] = vr * co + vi * si;
                d2[H + i] = vi * co - vr * si;
            }
        }

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
    const int* rev = fft.bitReverseTable;

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

/** One denoiser hop, as processDenoiser does it. */
inline void gateFrame (DenoiserState& s)
{
    for (int i = 0; i < 1024; ++i)
        s.frame[i] = s.inputRing[(s.inputPos + i) & 1023] * s.window[i];

    forwardPasses (*s.fft, s.spectrum, s.frame);

    // Bins 1 to 511 are kept or zeroed whole; DC and Nyquist are never touched.
    for (int k = 1; k < 512; ++k)
    {
        const float re = s.spectrum[k];
        const float im = s.spectrum[512 + k];
        const float magnitude = std::sqrt (re * re + im * im);

        if (s.threshold > magnitude)
        {
            s.spectrum[k] = 0.0f;
            s.spectrum[512 + k] = 0.0f;
        }
    }

    inversePasses (*s.fft, s.spectrum, s.frameOut);
    const float factor = (float) (1.0 / 1024.0);

    for (int i = 0; i < 1024; ++i)
        s.frameOut[i] *= factor;

    for (int i = 0; i < 1024; ++i)
        s.overlapRing[(s.overlapPos + i) & 1023] += s.frameOut[i];

    for (int i = 0; i < 128; ++i)
    {
        float& settled = s.overlapRing[(s.overlapPos + i) & 1023];
        s.outputRing[(s.outputWrite + i) & 255] = settled;
        settled = 0.0f;
    }

    s.overlapPos = (s.overlapPos + 128) & 1023;
    s.outputWrite = (s.outputWrite + 128) & 255;
}

/** processDenoiser with the plain hop. */
inline void processDenoiser (DenoiserState& s, float* block)
{
    for (;;)
    {
        while (s.hopFill < 128 && s.blockPos < 256)
        {
            s.inputRing[s.inputPos] = block[s.blockPos];
            ++s.blockPos;
            ++s.hopFill;
            s.inputPos = (s.inputPos + 1) & 1023;
        }

        if (s.hopFill == 128)
        {
            s.hopFill = 0;
            gateFrame (s);
            continue;
        }

        if (s.blockPos == 256)
        {
            s.blockPos = 0;
            break;
        }
    }

    for (int i = 0; i < 256; ++i)
        block[i] = s.outputRing[(s.outputRead + i) & 255];

    s.outputRead = (s.outputRead + 256) & 255;
}
/** processDeclicker, one sample after another on the state's own fields. */
inline void processDeclicker (DeclickerState& s, float* block)
{
    for (int i = 0; i < 256; ++i)
    {
        const float x = block[i];

        s.delayRing[s.delayPos] = x;
        s.delayPos = (s.delayPos + 1) % 53;
        const float d = s.delayRing[s.delayPos];

        const float y = s.b1 * s.x1 + s.b0 * x + s.b2 * s.x2 - s.a1 * s.y1 - s.a2 * s.y2;
        s.y2 = s.y1;
        s.y1 = y;
        s.x2 = s.x1;
        s.x1 = x;

        const float e = y * y;
        s.energyRing[s.energyPos] = e;
        s.energyPos = (s.energyPos + 1) % 32;
        const float e31 = s.energyRing[s.energyPos];

        s.averages[1] = s.slowCoef * e + s.slowKeep * s.averages[1];
        s.averages[2] = s.fastCoef * s.averages[1] + s.fastKeep * s.averages[2];
        s.averages[3] = s.fastCoef * e31 + s.fastKeep * s.averages[3];
        s.delayedEnergy = s.fastCoef * s.averages[3] + s.fastKeep * s.delayedEnergy;

        s.reference = 5.400000095367432f * s.averages[2] - s.delayedEnergy;
        const float ratio = s.delayedEnergy / (s.reference + 9.999999974752427e-07f);

        if (ratio > s.threshold)
        {
            s.hold = 14;
        }
        else if (s.hold < 0)
        {
            block[i] = d;
            s.lastGoodValue = d;
            s.lastGoodIndex = (float) i;
        }
        else if (s.hold == 0)
        {
            const float slope = (d - s.lastGoodValue) / ((float) i - s.lastGoodIndex);

            for (int j = (int) s.lastGoodIndex + 1; j <= i; ++j)
            {
                block[j] = s.lastGoodValue + slope;
                s.lastGoodValue += slope;
            }
        }

        s.hold -= 1;
    }

    if (s.hold >= 0)
    {
        const float target = s.delayRing[(s.delayPos + s.hold) % 53];
        const float slope = (target - s.lastGoodValue) / ((float) (s.hold + 256) - s.lastGoodIndex);

        for (int j = (int) s.lastGoodIndex + 1; j < 256; ++j)
        {
            block[j] = s.lastGoodValue + slope;
            s.lastGoodValue += slope;
        }

        s.hold -= 1;
        s.lastGoodIndex = -1.0f;
    }
}
} // namespace PlainFilters
