#include "editing/TrackStreaming.h"

#include "project/Project.h"

#include <cmath>

namespace TrackStreaming
{
juce::int64 outputFrames (juce::int64 sourceFrames, double sourceRate)
{
    if (sourceFrames <= 0 || ! (sourceRate > 0.0))
        return 0;

    // Whole rates, as files have them, are counted exactly.
    if (sourceRate == std::floor (sourceRate) && sourceRate <= 1.0e7 && sourceFrames < ((juce::int64) 1 << 40))
    {
        const auto rate = (juce::int64) sourceRate;
        return (sourceFrames * (juce::int64) outputRate + rate - 1) / rate;
    }

    return (juce::int64) std::ceil ((double) sourceFrames * outputRate / sourceRate);
}

std::unique_ptr<juce::AudioFormatWriter> createWriter (const juce::File& file, WriteOutcome& outcome)
{
    auto stream = CheckedFileOutput::open (file, 32768, outcome);

    if (stream == nullptr)
        return {};

    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatWriter> writer (
        wav.createWriterFor (stream.get(), outputRate, 2, 16, juce::StringPairArray(), 0));

    if (writer != nullptr)
        stream.release(); // now the writer's

    return writer;
}

bool writeBlock (juce::AudioFormatWriter& writer, const juce::AudioSampleBuffer& buffer, int start, int count)
{
    jassert (count <= blockSize && buffer.getNumChannels() >= 2);

    if (count <= 0)
        return true;

    int left[blockSize], right[blockSize];
    int* const channels[] = { left, right };

    for (int c = 0; c < 2; ++c)
    {
        const float* samples = buffer.getReadPointer (c, start);

        for (int i = 0; i < count; ++i)
        {
            // The readers give a 16-bit step as step / 32768: the same factor takes it back.
            const int step = juce::jlimit (-32768, 32767, juce::roundToInt (32768.0 * (double) samples[i]));
            channels[c][i] = step * 65536;
        }
    }

    const int* written[] = { left, right, nullptr };
    return writer.write (written, count);
}

void startTransport (juce::AudioTransportSource& transport, juce::AudioFormatReaderSource& source, double sourceRate)
{
    transport.setSource (&source, 0, nullptr, sourceRate);
    transport.setPosition (0.0);
    transport.prepareToPlay (blockSize, outputRate);
    transport.start();
}

juce::String translate (const Project* project, const juce::String& text)
{
    return project != nullptr ? project->translate (text) : text;
}
} // namespace TrackStreaming
