#pragma once

/**
    The RIAA emulation: the playback equalisation of a phono stage, for a turntable plugged
    straight into a line input. One biquad per channel in direct form II, computed in doubles.

    The coefficients come from a table of eleven sample rates; at any other rate the filter
    passes the signal through unchanged.
*/
class RiaaFilter
{
public:
    void setSampleRate (float newSampleRate) { sampleRate = newSampleRate; }
    void setMode (int newMode) { mode = newMode; }

    /** Picks the coefficients for the sample rate and the mode: 0 the inverse curve, any other
        value the playback curve. */
    void loadCoefficients();

    /** Zeroes the delay cells. */
    void reset();

    void process (const float* in, float* out, int numSamples);
    void processInPlace (float* samples, int numSamples) { process (samples, samples, numSamples); }

private:
    float sampleRate = 0.0f;
    int mode = 1;
    double b0 = 1.0, b1 = 0.0, b2 = 0.0;
    double a1 = 0.0, a2 = 0.0;
    double w1 = 0.0, w2 = 0.0;
    double spareCells[2] = { 0.0, 0.0 };
};
