#pragma once

#include "editing/StreamingThread.h"

class Project;

/**
    Plays a file as if its rate were `ratio` times what its header says, and writes what comes
    out at 44100 Hz, stereo, 16 bits: with 0.74 a track played at 45 rpm is brought to 33. With
    no output file the result replaces the input, through a temporary file.

    A cancel deletes the output and the input, while `success` stays true.
*/
class ResamplerThread : public StreamingThread
{
public:
    ResamplerThread (juce::File* input, juce::File* output, double ratio, Project* projectForTexts = nullptr);

    void run() override;

    juce::File* inputFile; // not owned
    juce::File outputFile; // the caller's, or a temporary one when working in place
    bool success;
    bool inPlace;
    double ratio;

private:
    JUCE_DECLARE_NON_COPYABLE (ResamplerThread)
};

/** Resamples `input` in place; the track page's form. */
bool resampleFile (juce::File* input, double ratio, Project* projectForTexts = nullptr);

/** Resamples `input` into `output`, or in place when `output` is null. */
bool resampleFile (juce::File* input, juce::File* output, double ratio, Project* projectForTexts = nullptr);
