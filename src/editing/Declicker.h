#pragma once

/**
    The declicker's state for one channel. A fixed high-pass feeds an energy detector that
    compares a delayed, smoothed energy with a slow average; where it fires, the delayed signal
    is replaced by a straight line from the last clean sample to the sample 14 samples after the
    last detection. The output is the input delayed by 52 samples. Blocks are 256 samples.
*/
struct DeclickerState
{
    float sampleRate = 0.0f;
    int delayPos = 0;
    int energyPos = 0;
    int energyRingLength = 32;
    int delayRingLength = 53;
    float energyRing[32];
    float delayRing[53];
    float averages[4]; // [1] slow average, [2] its smoothed copy, [3] smoothed delayed energy
    float slowKeep = 0.0f;
    float fastKeep = 0.0f;
    float slowCoef = 0.0f;
    float fastCoef = 0.0f;
    float y2 = 0.0f;
    float y1 = 0.0f;
    float x2 = 0.0f;
    float x1 = 0.0f;
    float b0 = 0.0f;
    float b1 = 0.0f;
    float b2 = 0.0f;
    float a1 = 0.0f;
    float a2 = 0.0f;
    float delayedEnergy = 0.0f;
    float reference = 0.0f;
    float threshold = 1.3f;
    int hold = -1;
    float lastGoodValue = 0.0f;
    float lastGoodIndex = -1.0f;
};

/** Clears the rings and the averages, and sets the coefficients for the rate. */
void setupDeclicker (DeclickerState& state, double sampleRate);

/** Repairs one block of 256 samples in place. */
void processDeclicker (DeclickerState& state, float* block);

/** processDeclicker on two channels' blocks at once, with the same results. */
void processDeclickerPair (DeclickerState& first, float* firstBlock, DeclickerState& second, float* secondBlock);
