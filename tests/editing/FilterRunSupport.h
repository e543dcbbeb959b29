#pragma once

// What the filter-run tests share: a run on files, a crackling test record, and a worker whose
// writer keeps what it is given.
#include "editing/CFilters.h"
#include "editing/FiltersProgressThread.h"

#include "WavFiles.h"

#include <algorithm>
#include <vector>

namespace FilterRunSupport
{
inline void runFilters (const juce::File& input, const juce::File& output, int denoise, int declick,
                        bool normalize = true, int threads = 2)
{
    CFilters filters;
    filters.threadsToUse = threads;
    filters.applyFilters (input.getFullPathName().toRawUTF8(), output.getFullPathName().toRawUTF8(), denoise, declick,
                          normalize);
}

/** The size of the file a run writes beside `output` before it takes the output's place, 0
    while there is none. */
inline juce::int64 sizeWrittenBeside (const juce::File& output)
{
    juce::int64 size = 0;
    for (const auto& file : output.getParentDirectory().findChildFiles (
             juce::File::findFiles, false, "." + output.getFileNameWithoutExtension() + "_temp*"))
        size = std::max (size, file.getSize());
    return size;
}

/** The files beside `output` that a run wrote and left there. */
inline int filesLeftBeside (const juce::File& output)
{
    return output.getParentDirectory().getNumberOfChildFiles (juce::File::findFiles,
                                                              "." + output.getFileNameWithoutExtension() + "_temp*");
}

/** A tone with crackle and hiss, in both channels. */
inline WavFiles::Audio crackle (int frames, double rate = 44100.0)
{
    auto audio = WavFiles::tone (frames, rate, 330.0, 0.4);
    juce::Random random (11);

    for (auto& channel : audio.channels)
    {
        for (int n = 0; n < frames; ++n)
        {
            auto& value = channel[(size_t) n];
            value += random.nextInt (801) - 400;

            if (n % 3001 == 100)
                value = juce::jlimit (-32768, 32767, value + 20000);
        }
    }

    return audio;
}

/** A worker's writer that keeps what it is given, and can fail or cancel at a chosen block. */
class KeepingWriter : public juce::AudioFormatWriter
{
public:
    KeepingWriter()
        : juce::AudioFormatWriter (nullptr, "keeping", 44100.0, 2, 16)
    {
    }

    bool write (const int** data, int numSamples) override
    {
        ++calls;

        if (calls == failAt)
            return false;

        for (int c = 0; c < 2; ++c)
            for (int i = 0; i < numSamples; ++i)
                kept[(size_t) c].push_back (data[c][i] >> 16);

        if (calls == cancelAt && worker != nullptr)
            worker->signalThreadShouldExit();

        return true;
    }

    int calls = 0;
    int failAt = -1;
    int cancelAt = -1;
    juce::Thread* worker = nullptr;
    std::vector<int> kept[2];
};

/** A worker that keeps its status lines, and can be asked to exit at one of them. */
class StatusKeepingThread : public FiltersProgressThread
{
public:
    using FiltersProgressThread::FiltersProgressThread;
    juce::StringArray shown;
    juce::String exitAt;

protected:
    void showStatus (const juce::String& text) override
    {
        shown.add (text);
        FiltersProgressThread::showStatus (text);

        if (text == exitAt)
            signalThreadShouldExit();
    }
};

/** The samples as the load step makes them: interleaved, from 16 bits. */
inline std::vector<float> interleavedFloats (const WavFiles::Audio& audio)
{
    std::vector<float> samples;

    for (int n = 0; n < audio.frames(); ++n)
        for (const auto& channel : audio.channels)
            samples.push_back ((1.0f / 0x7fff) * (short) channel[(size_t) n]);

    return samples;
}
} // namespace FilterRunSupport
