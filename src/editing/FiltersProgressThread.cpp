#include "editing/FiltersProgressThread.h"

#include "editing/Declicker.h"
#include "editing/Denoiser.h"
#include "project/Int16Samples.h"
#include "project/Project.h"
#include "project/WorkerWindow.h"

#include <algorithm>
#include <cmath>

FiltersProgressThread::FiltersProgressThread (bool /*normalizeAsked*/, int denoiseThresholdToUse,
                                              int declickSensibilityToUse, float* samplesToUse, int numChannelsToUse,
                                              juce::AudioFormatWriter* writerToUse, int numSamplesToUse,
                                              Project* projectForTexts)
    : CFilters (projectForTexts),
      juce::ThreadWithProgressWindow ("Applying filters...", true, true, workerCancellingTimeOutMs, workerCancelText),
      denoiseThreshold (denoiseThresholdToUse),
      declickSensibility (declickSensibilityToUse),
      normalize (true) // a filter run always normalizes, whatever was asked
{
    samples = samplesToUse;
    numChannels = numChannelsToUse;
    writer = writerToUse;
    numSamples = numSamplesToUse;
}

juce::String FiltersProgressThread::translate (const juce::String& text) const
{
    return project != nullptr ? project->translate (text) : text;
}

void FiltersProgressThread::normalizeSamples()
{
    showStatus (translate ("Normalizing..."));
    setProgress (0.0);

    const juce::int64 total = (juce::int64) numSamples * numChannels;
    const juce::int64 stride = 65536;
    float peak = 0.0f;

    for (juce::int64 start = 0; start < total; start += stride)
    {
        // The integer quotient: the bar stands still while the peak is sought.
        setProgress ((double) (start / total));

        const juce::int64 end = std::min (total, start + stride);

        for (juce::int64 i = start; i < end; ++i)
            peak = std::max (peak, std::abs (samples[i]));
    }

    // One divisor for every channel keeps their balance. A silent file divides 0 by 0.
    for (juce::int64 i = 0; i < total; ++i)
        samples[i] = samples[i] / peak;
}

void FiltersProgressThread::run()
{
    finished = false;
    const double filterRate = 44100.0; // no reader here, so the states always get this rate

    if (normalize)
        normalizeSamples();

    // Both filters are set up for each channel even when they are off; two channels at most.
    const int filteredChannels = std::min (numChannels, 2);
    std::unique_ptr<DeclickerState> declickers[2];
    std::unique_ptr<DenoiserState> denoisers[2];

    for (int channel = 0; channel < filteredChannels; ++channel)
    {
        declickers[channel] = std::make_unique<DeclickerState>();
        setupDeclicker (*declickers[channel], filterRate);
        declickers[channel]->threshold = (float) (2.0 - declickSensibility / 100.0);

        denoisers[channel] = std::make_unique<DenoiserState>();
        setupDenoiser (*denoisers[channel], filterRate);
        denoisers[channel]->threshold = (float) (denoiseThreshold / 100.0);
    }

    juce::HeapBlock<float> work ((size_t) numChannels * 256);
    juce::HeapBlock<float> outputBlock ((size_t) std::max (512, numChannels * 256), true);
    juce::int16 pcm[512];
    int left[256], right[256];
    const int* channels[] = { left, right, nullptr };

    showStatus (translate ("Applying filters..."));

    const juce::int64 total = (juce::int64) numSamples * numChannels;
    const juce::int64 entriesPerBlock = (juce::int64) numChannels * 256;
    int frameCount = 0;

    for (juce::int64 start = 0; start + entriesPerBlock <= total; start += entriesPerBlock)
    {
        if (threadShouldExit())
            return;

        setProgress ((double) frameCount / numSamples);
        frameCount += 256;

        const float* in = samples + start;

        for (int channel = 0; channel < numChannels; ++channel)
            for (int i = 0; i < 256; ++i)
                work[channel * 256 + i] = in[i * numChannels + channel];

        // Per channel: declicker, then denoiser. The channels never meet, so a stereo pair's
        // declickers run side by side.
        if (declickSensibility != -1)
        {
            if (filteredChannels == 2)
                processDeclickerPair (*declickers[0], work, *declickers[1], work + 256);
            else if (filteredChannels == 1)
                processDeclicker (*declickers[0], work);
        }

        if (denoiseThreshold != -1)
            for (int channel = 0; channel < filteredChannels; ++channel)
                processDenoiser (*denoisers[channel], work + channel * 256);

        for (int channel = 0; channel < numChannels; ++channel)
            for (int i = 0; i < 256; ++i)
                outputBlock[i * numChannels + channel] = work[channel * 256 + i] * 0.800000011920929f;

        // The write path is stereo: 512 values, split into left and right in the top 16 bits.
        floatsToInt16 (outputBlock, pcm, 512);

        for (int i = 0; i < 256; ++i)
        {
            left[i] = (int) ((juce::uint32) (juce::uint16) pcm[2 * i] << 16);
            right[i] = (int) ((juce::uint32) (juce::uint16) pcm[2 * i + 1] << 16);
        }

        if (! writer->write (channels, 256))
            break;
    }

    setProgress (1.0);
    finished = true;
}
