#pragma once

#include "editing/RealFFT.h"

#include <memory>

/**
    The denoiser's state for one channel: a spectral gate over 1024-point frames with a hop of
    128, fed in blocks of 256 samples. Bins whose magnitude is below `threshold` are zeroed,
    the others kept as they are; the periodic Hann window, whose eight overlapping copies add
    to 1.0, is applied once before the transform. The output is the input delayed by 896
    samples.
*/
struct DenoiserState
{
    float threshold = 0.01f;
    alignas (32) float window[1024];
    alignas (32) float inputRing[1024];
    alignas (32) float overlapRing[1024];
    alignas (32) float outputRing[256];
    alignas (32) float spectrum[1024];
    alignas (32) float frame[1024];
    alignas (32) float frameOut[1024];
    int blockLength = 256;
    int inputRingLength = 1024;
    int hop = 128;
    int outputRingLength = 256;
    int blockPos = 0;
    int inputPos = 0;
    int hopFill = 0;
    int overlapPos = 0;
    int outputRead = 0;
    int outputWrite = 0;
    float sampleRate = 0.0f;
    int fftLength = 1024;
    int halfLength = 512;
    int binCount = 513;
    std::unique_ptr<RealFFT> fft;

    /** The value window[i] holds. */
    static float windowValue (int i);
};

/** Builds the window, the transform and the rings, all cleared. */
void setupDenoiser (DenoiserState& state, double sampleRate);

/** Gates one block of 256 samples in place. */
void processDenoiser (DenoiserState& state, float* block);
