#include "editing/Denoiser.h"

#include "editing/FloatVector.h"

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
/** One hop: window the last 1024 inputs, gate their spectrum, and overlap-add the result.
    The hop falls on multiples of 128, so each ring is read and written in two straight runs. */
void gateFrame (DenoiserState& s)
{
    const int firstRun = 1024 - s.inputPos;

    for (int i = 0; i < firstRun; i += 4)
        (FloatVector::load (s.inputRing + s.inputPos + i) * FloatVector::load (s.window + i)).store (s.frame + i);

    for (int i = firstRun; i < 1024; i += 4)
        (FloatVector::load (s.inputRing + i - firstRun) * FloatVector::load (s.window + i)).store (s.frame + i);

    s.fft->forward (s.spectrum, s.frame);

    // Bins 1 to 511 are kept or zeroed whole; DC and Nyquist are never touched. A NaN magnitude
    // compares false and keeps its bin.
    for (int k = 1; k < 4; ++k)
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

    const auto threshold = FloatVector::fill (s.threshold);

    for (int k = 4; k < 512; k += 4)
    {
        const auto re = FloatVector::load (s.spectrum + k);
        const auto im = FloatVector::load (s.spectrum + 512 + k);
        const auto magnitude = FloatVector::sqrt (re * re + im * im);
        FloatVector::zeroWhereGreater (re, threshold, magnitude).store (s.spectrum + k);
        FloatVector::zeroWhereGreater (im, threshold, magnitude).store (s.spectrum + 512 + k);
    }

    s.fft->inverse (s.spectrum, s.frameOut);

    // Rescale, and add into the overlap ring.
    const auto factor = FloatVector::fill ((float) (1.0 / 1024.0));
    const int overlapRun = 1024 - s.overlapPos;

    for (int i = 0; i < 1024; i += 4)
    {
        const auto out = FloatVector::load (s.frameOut + i) * factor;
        out.store (s.frameOut + i);
        float* ring = s.overlapRing + (i < overlapRun ? s.overlapPos + i : i - overlapRun);
        (FloatVector::load (ring) + out).store (ring);
    }

    // The oldest 128 entries are complete: they go out, and their place is cleared.
    float* settled = s.overlapRing + s.overlapPos;
    float* output = s.outputRing + s.outputWrite;

    for (int i = 0; i < 128; i += 4)
    {
        FloatVector::load (settled + i).store (output + i);
        FloatVector::zero().store (settled + i);
    }

    s.overlapPos = (s.overlapPos + 128) & 1023;
    s.outputWrite = (s.outputWrite + 128) & 255;
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
