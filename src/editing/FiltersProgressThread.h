#pragma once

#include "editing/CFilters.h"

#include <juce_gui_basics/juce_gui_basics.h>

struct DeclickerState;
struct DenoiserState;

/**
    The worker of a filter run: normalizes the samples it is lent, then for each block of 256
    frames runs the declicker, the denoiser and the 0.8 scale per channel, and writes the
    block. `finished` tells whether the run came to its end; a cancel leaves it false.

    With `threadsToUse` at 2, a stereo run filters its right channel on a second thread, ahead of
    the left one, which this thread filters and writes; the file comes out the same.
*/
class FiltersProgressThread : public CFilters, public juce::ThreadWithProgressWindow
{
public:
    FiltersProgressThread (bool normalize, int denoiseThreshold, int declickSensibility, float* samples,
                           int numChannels, juce::AudioFormatWriter* writer, int numSamples,
                           Project* projectForTexts = nullptr);
    ~FiltersProgressThread() override;

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
    bool twoThreads() const;
    void normalizeSamples();
    void setUpFilters();
    void filterChannel (int channel, float* block);
    bool writeBlock (const float* interleaved);

    /** Writes 256 frames of 16-bit values: in the top bits for an integer file, and on the scale
        they were read on for a floating-point one. */
    bool writeValues (const juce::int16* left, const juce::int16* right);
    bool filterBlocksTogether();
    bool filterChannelsApart();

    std::unique_ptr<DeclickerState> declickers[2];
    std::unique_ptr<DenoiserState> denoisers[2];

    JUCE_DECLARE_NON_COPYABLE (FiltersProgressThread)
};
