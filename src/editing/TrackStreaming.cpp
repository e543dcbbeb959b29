#include "editing/TrackStreaming.h"

#include "project/Project.h"

namespace TrackStreaming
{
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
