#include "encoding/WavConvertor.h"

#include "encoding/ITunesBridge.h"
#include "project/AudioReaders.h"
#include "project/Int16Samples.h"
#include "project/Project.h"

#include <juce_audio_formats/juce_audio_formats.h>

WavConvertorThread::WavConvertorThread (const juce::String& sourceToRead, const juce::String& destinationToWrite,
                                        Project* owner)
    : ConvertorThread (owner->translate ("Converting to WAV..."), sourceToRead, destinationToWrite, false),
      project (owner),
      format (owner->outputFormat)
{
}

bool WavConvertorThread::decodesItself (const juce::String& source)
{
    const auto format = Track::formatOfPath (source);
    return format == formatOgg || format == formatFlac || format == formatAiff;
}

void WavConvertorThread::run()
{
    if (decodesItself (source))
        decode();
    else
        sendToItunes();
}

void WavConvertorThread::decode()
{
    result = true;

    const juce::File sourceFile (source);
    const juce::File destinationFile (destination);

    if (destinationFile.exists())
        destinationFile.deleteFile();

    WriteOutcome written;
    auto output = CheckedFileOutput::open (destinationFile, convertorOutputBufferSize, written);

    setStatusMessage (sourceFile.getFileNameWithoutExtension());

    const auto format = Track::formatOfPath (source);
    std::unique_ptr<juce::AudioFormat> sourceFormat;
    if (format == formatOgg)
        sourceFormat = std::make_unique<juce::OggVorbisAudioFormat>();
    else if (format == formatFlac)
        sourceFormat = std::make_unique<juce::FlacAudioFormat>();
    else
        sourceFormat = std::make_unique<juce::AiffAudioFormat>();

    auto reader = AudioReaders::open (sourceFile, *sourceFormat);

    if (reader == nullptr || output == nullptr)
    {
        result = false;
        return;
    }

    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatWriter> writer (
        wav.createWriterFor (output.get(), reader->sampleRate, 2, 16, juce::StringPairArray (true), 0));

    if (writer == nullptr)
    {
        result = false;
        return;
    }

    output.release(); // the writer owns it now

    juce::HeapBlock<int> readLeft (convertorChunkSamples), readRight (convertorChunkSamples);
    juce::HeapBlock<juce::int16> shortLeft (convertorChunkSamples), shortRight (convertorChunkSamples);
    juce::HeapBlock<int> wideLeft (convertorChunkSamples + 1), wideRight (convertorChunkSamples + 1);

    int* const readBuffers[] = { readLeft.get(), readRight.get() };
    const int* readOutput[] = { readLeft.get(), readRight.get() };
    const int* wideOutput[] = { wideLeft.get(), wideRight.get() };

    const auto writeChunk = [&] (int count)
    {
        if (! reader->usesFloatingPointData)
            return writer->write (readOutput, count);

        // The buffers hold floats: bring them to 16 bits, then to the left-justified 32-bit
        // integers the writer takes. A mono source fills both channels.
        floatsToInt16 (reinterpret_cast<const float*> (readLeft.get()), shortLeft.get(), convertorChunkSamples);
        const bool stereo = reader->numChannels >= 2;
        if (stereo)
            floatsToInt16 (reinterpret_cast<const float*> (readRight.get()), shortRight.get(), convertorChunkSamples);

        const juce::int16* right = stereo ? shortRight.get() : shortLeft.get();
        for (int i = 0; i < convertorChunkSamples; ++i)
        {
            wideLeft[i] = shortLeft[i] * 65536;
            wideRight[i] = right[i] * 65536;
        }

        return writer->write (wideOutput, count);
    };

    copyInChunks (reader, writer, destinationFile, readBuffers, writeChunk);
    completeDestination (writer, written, destinationFile);
}

void WavConvertorThread::sendToItunes()
{
    setStatusMessage ("Sending track to iTunes...");

    auto bridge = ITunesBridge::withEncoderFor (format);

    if (bridge == nullptr)
    {
        result = false;
        return;
    }

    setProgress (1.0);

    if (bridge->convertFile (source, destination) == -1)
        return;

    result = true;
    ITunesBridge::hideWindow();
    bridge->restoreEncoder();
    ITunesBridge::hideWindow();
    bridge.reset();

    if (project->encodingDestination.isNotEmpty())
    {
        destination = ITunesBridge::moveToFinalName (destination, project);
        if (destination.isEmpty())
            result = false;
    }
}
