#pragma once

#include <juce_core/juce_core.h>

/**
    A real-input FFT for power-of-two lengths, working in single precision.

    The spectrum is in half-complex form: entry 0 is the DC term, entries 1 to N/2 - 1 the real
    parts of bins 1 to N/2 - 1, entry N/2 the Nyquist term, and entry N/2 + k the imaginary part
    of bin k. Bin k is the sum of x[n] * exp(+2 pi i k n / N).

    The passes alternate between `scratch` and the caller's array, so nothing is copied and
    nothing is allocated after construction.
*/
class RealFFT
{
public:
    explicit RealFFT (int length);

    /** Unscaled forward transform of `length` samples. */
    void forward (float* spectrum, const float* time);

    /** Unscaled inverse: forward followed by inverse multiplies the signal by `length`. */
    void inverse (const float* spectrum, float* time);

    /** Multiplies `length` entries by 1 / `length`. */
    void rescale (float* data) const;

    /** The value cosineTable holds for the level's entry i: cos (i * pi / 2^(level + 1)). */
    static float tableCosine (int level, int i);

    /** The first entry of a level's section in cosineTable. */
    static int sectionStart (int level) { return (1 << level) - 4; }

    juce::HeapBlock<int> bitReverseTable;
    juce::HeapBlock<float> cosineTable; // empty below 16 points
    float sqrt2Over2;
    int length;
    int bitCount;
    juce::HeapBlock<float> scratch; // empty below 8 points

private:
    void forwardPasses (float* spectrum, const float* time);
    void inversePasses (const float* spectrum, float* time);
    void forwardPassesSmall (float* spectrum, const float* time);
    void inversePassesSmall (const float* spectrum, float* time);

    JUCE_DECLARE_NON_COPYABLE (RealFFT)
};
