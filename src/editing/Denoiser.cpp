#include "editing/Denoiser.h"

#include "editing/FloatVector.h"
#include "editing/LaneForm.h"

#include <algorithm>
#include <cmath>
#include <iterator>

float DenoiserState::windowValue (int i)
{
    const float angle = (float) ((double) i * 6.2831854820251465 / 1024.0);
    return (1.0f - (float) std::cos ((double) angle)) * 0.125f;
}

void setupDenoiser (DenoiserState& state, double sampleRate)
{
    state.threshold = 0.01f;
    state.blockLength = 256;
    state.inputRingLength = 1024;
    state.hop = 128;
    state.outputRingLength = std::max (state.hop, 256);
    state.blockPos = 0;
    state.inputPos = 0;
    state.hopFill = 0;
    state.overlapPos = 0;
    state.outputRead = 0;
    state.outputWrite = state.outputRingLength - 256;
    state.sampleRate = (float) sampleRate;
    state.fftLength = 1024;
    state.halfLength = 512;
    state.binCount = 513;

    for (int i = 0; i < 1024; ++i)
        state.window[i] = DenoiserState::windowValue (i);

    std::fill (std::begin (state.inputRing), std::end (state.inputRing), 0.0f);
    std::fill (std::begin (state.overlapRing), std::end (state.overlapRing), 0.0f);
    std::fill (std::begin (state.outputRing), std::end (state.outputRing), 0.0f);
    std::fill (std::begin (state.spectrum), std::end (state.spectrum), 0.0f);
    std::fill (std::begin (state.frame), std::end (state.frame), 0.0f);
    std::fill (std::begin (state.frameOut), std::end (state.frameOut), 0.0f);

    state.fft = std::make_unique<RealFFT> (1024);
}

namespace
{
namespace fourLanes
{
using Lanes = FloatVector;
#include "editing/DenoiserGate.inc"
} // namespace fourLanes

#if GROOVESMITH_FLOAT_VECTOR_AVX2
#pragma GCC push_options
#pragma GCC target("avx2")
namespace eightLanes
{
using Lanes = WideFloatVector;
#include "editing/DenoiserGate.inc"
} // namespace eightLanes
#pragma GCC pop_options
#endif

void gateFrame (DenoiserState& s)
{
#if GROOVESMITH_FLOAT_VECTOR_AVX2
    if (LaneForms::active() == LaneForm::eightLanes)
    {
        eightLanes::gateFrame (s);
        return;
    }
#endif

    fourLanes::gateFrame (s);
}
} // namespace

void processDenoiser (DenoiserState& s, float* block)
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
