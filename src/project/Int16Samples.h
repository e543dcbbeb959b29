#pragma once

#include <juce_core/juce_core.h>

/**
    Float samples to 16-bit ones, the one rule of every writer of the program (captured tracks,
    filter runs, WAV conversions): scaled by 32767, clipped to plus or minus 32767 and rounded to
    the nearest step.
*/
inline void floatsToInt16 (const float* source, juce::int16* destination, int count)
{
    constexpr double maximum = 32767.0;
    for (int i = 0; i < count; ++i)
        destination[i] = (juce::int16) juce::roundToInt (juce::jlimit (-maximum, maximum, maximum * source[i]));
}
