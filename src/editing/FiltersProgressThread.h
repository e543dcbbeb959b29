#pragma once

#include "editing/CFilters.h"

#include <juce_gui_basics/juce_gui_basics.h>

/**
    The worker of a filter run: normalizes the samples it is lent, then for each block of 256
    frames runs the declicker, the denoiser and the 0.8 scale per channel, and writes the
    block. `finished` tells whether the run came to its end; a cancel leaves it false.
*/
class FiltersProgressThread : public CFilters, public juce::ThreadWithProgressWindow
{
public:
    FiltersProgressThread (bool normalize, int denoiseThreshold, int declickSensibility, float* samples,
                           int numChannels, juce::AudioFormatWriter* writer, int numSamples,
                           Project* projectForTexts = nullptr);

    void run() override;

    int denoiseThreshold = -1;
    int declickSensibility = -1;
    bool normalize = true;
    bool finished = false;

protected:
    /** Puts a status line in the window; the one place the worker's texts pass through. */
    virtual void showStatus (const juce::String& text) { setStatusMessage (text); }

private:
    juce::String translate (const juce::String& text) const;
    void normalizeSamples();

    JUCE_DECLARE_NON_COPYABLE (FiltersProgressThread)
};
