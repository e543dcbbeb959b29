#include "editing/RealFFT.h"

#include "editing/FloatVector.h"

#include <cmath>
#include <utility>

namespace
{
// pi as the tables use it: the arctangent is rounded to single precision first.
const double tablePi = 4.0 * (double) (float) std::atan (1.0);

/** One pass joining half-complex spectra of D points into spectra of 2 * D points. */
void joinPass (float* d, const float* s, int length, int D, const float* table)
{
    const int H = D >> 1;

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

        const int scalarEnd = H < 4 ? H : 4;

        for (int i = 1; i < scalarEnd; ++i)
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

        for (int i = 4; i < H; i += 4)
        {
            const auto co = FloatVector::load (table + i);
            const auto si = FloatVector::load (table + H - i - 3).reversed();
            const auto a = FloatVector::load (s1 + i);
            const auto b = FloatVector::load (s1 + H + i);
            const auto c2 = FloatVector::load (s2 + i);
            const auto e = FloatVector::load (s2 + H + i);

            const auto v = c2 * co - e * si;
            (a + v).store (d1 + i);
            (a - v).reversed().store (d1 + D - i - 3);

            const auto w = c2 * si + e * co;
            (w + b).store (d2 + i);
            (w - b).reversed().store (d2 + D - i - 3);
        }
    }
}

/** The inverse of joinPass, times two. */
void splitPass (float* d, const float* s, int length, int D, const float* table)
{
    const int H = D >> 1;

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

        const int scalarEnd = H < 4 ? H : 4;

        for (int i = 1; i < scalarEnd; ++i)
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

        for (int i = 4; i < H; i += 4)
        {
            const auto co = FloatVector::load (table + i);
            const auto si = FloatVector::load (table + H - i - 3).reversed();
            const auto p = FloatVector::load (s1 + i);
            const auto q = FloatVector::load (s1 + D - i - 3).reversed();
            const auto r = FloatVector::load (s2 + i);
            const auto t = FloatVector::load (s2 + D - i - 3).reversed();

            (p + q).store (d1 + i);
            (r - t).store (d1 + H + i);

            const auto vr = p - q;
            const auto vi = r + t;
            (vr * co + vi * si).store (d2 + i);
            (vi * co - vr * si).store (d2 + H + i);
        }
    }
}
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
        joinPass (d, s, length, 1 << pass, cosineTable + sectionStart (pass - 1));
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
        splitPass (d, s, length, 1 << pass, cosineTable + sectionStart (pass - 1));
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
// From 32 points on, the same arithmetic in four lanes. The first three passes are done at once
// for four groups of eight outputs whose bit-reversed inputs lie side by side; the later passes
// work on four neighbouring entries at a time. Each output gets exactly the operations, in the
// same order, of the plain passes above, so the bits are the same.

namespace
{
/** Position j of a group of eight reads input k * N / 8, with k = j's three bits reversed. */
constexpr int reversed3[] = { 0, 4, 2, 6, 1, 5, 3, 7 };

/** joinPass for D = 8: each group of 16 in two pairs of vectors, lane 0 and the middle entries
    handled by moving single lanes. */
void joinPass8 (float* d, const float* s, int length, const float* table)
{
    const auto co = FloatVector::load (table);
    const auto si = co.tailReversed(); // lane i holds table[4 - i] from lane 1 on

    for (int c = 0; c < length; c += 16)
    {
        const auto a = FloatVector::load (s + c);
        const auto b = FloatVector::load (s + c + 4);
        const auto c2 = FloatVector::load (s + c + 8);
        const auto e = FloatVector::load (s + c + 12);

        const auto v = c2 * co - e * si;
        const auto w = c2 * si + e * co;

        (a + v).withFirstOf (a + c2).store (d + c);
        (a - v).withFirstOf (b).tailReversed().store (d + c + 4);
        (w + b).withFirstOf (a - c2).store (d + c + 8);
        (w - b).withFirstOf (e).tailReversed().store (d + c + 12);
    }
}

/** splitPass for D = 8, in the same way. */
void splitPass8 (float* d, const float* s, int length, const float* table)
{
    const auto co = FloatVector::load (table);
    const auto si = co.tailReversed();
    const auto two = FloatVector::fill (2.0f);

    for (int c = 0; c < length; c += 16)
    {
        const auto p = FloatVector::load (s + c);
        const auto b = FloatVector::load (s + c + 4);
        const auto r = FloatVector::load (s + c + 8);
        const auto l = FloatVector::load (s + c + 12);
        const auto q = b.tailReversed(); // lane i holds s1[8 - i] from lane 1 on
        const auto t = l.tailReversed(); // lane i holds s2[8 - i] from lane 1 on

        const auto vr = p - q;
        const auto vi = r + t;

        (p + q).withFirstOf (p + r).store (d + c);
        (r - t).withFirstOf (b * two).store (d + c + 4);
        (vr * co + vi * si).withFirstOf (p - r).store (d + c + 8);
        (vi * co - vr * si).withFirstOf (l * two).store (d + c + 12);
    }
}
} // namespace

void RealFFT::forwardPasses (float* f, const float* x)
{
    // One write for the first three passes, then one per later pass: start where their count
    // ends in `f`.
    float* d = (bitCount & 1) != 0 ? f : scratch.get();
    float* s = (bitCount & 1) != 0 ? scratch.get() : f;
    const int eighth = length >> 3;
    const auto root = FloatVector::fill (sqrt2Over2);

    for (int q = 0; q < eighth; q += 4)
    {
        FloatVector p[8];

        for (int j = 0; j < 8; ++j)
            p[j] = FloatVector::load (x + q + reversed3[j] * eighth);

        // First two passes, on both halves of each group.
        const auto t1 = p[0] - p[1];
        const auto t3 = p[2] - p[3];
        const auto a0 = p[0] + p[1];
        const auto a1 = p[2] + p[3];
        const auto t0 = a0 + a1;
        const auto t2 = a0 - a1;

        const auto t5 = p[4] - p[5];
        const auto t7 = p[6] - p[7];
        const auto b0 = p[4] + p[5];
        const auto b1 = p[6] + p[7];
        const auto t4 = b0 + b1;
        const auto t6 = b0 - b1;

        // Third pass.
        auto d0 = t0 + t4;
        auto d4 = t0 - t4;
        auto d2 = t2;
        auto d6 = t6;
        const auto v = (t5 - t7) * root;
        auto d1 = t1 + v;
        auto d3 = t1 - v;
        const auto w = (t5 + t7) * root;
        auto d5 = w + t3;
        auto d7 = w - t3;

        FloatVector::transpose (d0, d1, d2, d3);
        FloatVector::transpose (d4, d5, d6, d7);
        const FloatVector low[] = { d0, d1, d2, d3 };
        const FloatVector high[] = { d4, d5, d6, d7 };

        for (int m = 0; m < 4; ++m)
        {
            float* group = d + bitReverseTable[q + m];
            low[m].store (group);
            high[m].store (group + 4);
        }
    }

    for (int pass = 3; pass < bitCount; ++pass)
    {
        std::swap (d, s);
        const float* table = cosineTable + sectionStart (pass - 1);

        if (pass == 3)
            joinPass8 (d, s, length, table);
        else
            joinPass (d, s, length, 1 << pass, table);
    }
}

void RealFFT::inversePasses (const float* f, float* x)
{
    // The later passes alternate between `x` and `scratch` and must end in `scratch`, which the
    // last stage reads while it writes `x`.
    float* d = (bitCount & 1) != 0 ? x : scratch.get();
    float* spare = (bitCount & 1) != 0 ? scratch.get() : x;
    const float* s = f;

    for (int pass = bitCount - 1; pass >= 3; --pass)
    {
        const float* table = cosineTable + sectionStart (pass - 1);

        if (pass == 3)
            splitPass8 (d, s, length, table);
        else
            splitPass (d, s, length, 1 << pass, table);
        s = d;
        std::swap (d, spare);
    }

    // Third pass and first two undone at once, written through the bit-reversed order.
    const int eighth = length >> 3;
    const auto root = FloatVector::fill (sqrt2Over2);
    const auto two = FloatVector::fill (2.0f);

    for (int q = 0; q < eighth; q += 4)
    {
        FloatVector g[8];

        for (int m = 0; m < 4; ++m)
        {
            const float* group = s + bitReverseTable[q + m];
            g[m] = FloatVector::load (group);
            g[4 + m] = FloatVector::load (group + 4);
        }

        FloatVector::transpose (g[0], g[1], g[2], g[3]);
        FloatVector::transpose (g[4], g[5], g[6], g[7]);

        const auto e0 = g[0] + g[4];
        const auto e4 = g[0] - g[4];
        const auto e2 = g[2] * two;
        const auto e6 = g[6] * two;
        const auto e1 = g[1] + g[3];
        const auto e3 = g[5] - g[7];
        const auto vr = g[1] - g[3];
        const auto vi = g[5] + g[7];
        const auto e5 = (vr + vi) * root;
        const auto e7 = (vi - vr) * root;

        const auto a0 = e0 + e2;
        const auto a2 = e0 - e2;
        const auto a1 = e1 * two;
        const auto a3 = e3 * two;
        const auto b0 = e4 + e6;
        const auto b2 = e4 - e6;
        const auto b1 = e5 * two;
        const auto b3 = e7 * two;

        const FloatVector out[] = { a0 + a1, a0 - a1, a2 + a3, a2 - a3, b0 + b1, b0 - b1, b2 + b3, b2 - b3 };

        for (int j = 0; j < 8; ++j)
            out[j].store (x + q + reversed3[j] * eighth);
    }
}

void RealFFT::rescale (float* data) const
{
    const float factor = (float) (1.0 / (double) length);

    for (int i = 0; i < length; ++i)
        data[i] *= factor;
}
