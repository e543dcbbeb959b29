#include "encoding/FormatConvertors.h"

#include "encoding/ReplayGainMeter.h"
#include "project/AudioReaders.h"
#include "project/Project.h"

FormatConvertorThread::FormatConvertorThread (const juce::String& title, const juce::String& sourceToRead,
                                              const juce::String& destinationToWrite,
                                              std::unique_ptr<juce::AudioFormat> formatToWrite, int bits, int quality)
    : ConvertorThread (title, sourceToRead, destinationToWrite, true),
      format (std::move (formatToWrite)),
      bitsPerSample (bits),
      qualityOptionIndex (quality)
{
}

void FormatConvertorThread::run()
{
    const juce::File sourceFile (source);
    const juce::File destinationFile (destination);

    setStatusMessage (statusFor (source));
    result = true;

    // Checked before anything is deleted, so that a missing source leaves the old file alone.
    if (! sourceFile.exists())
    {
        result = false;
        return;
    }

    if (destinationFile.exists())
        destinationFile.deleteFile();

    // The output opens first: a source that is no WAV file leaves an empty destination behind.
    WriteOutcome written;
    auto output = CheckedFileOutput::open (destinationFile, convertorOutputBufferSize, written);

    juce::WavAudioFormat wav;
    auto reader = AudioReaders::open (sourceFile, wav);

    if (reader == nullptr || output == nullptr)
    {
        result = false;
        return;
    }

    std::unique_ptr<juce::AudioFormatWriter> writer (format->createWriterFor (
        output.get(), 44100.0, 2, bitsPerSample, juce::StringPairArray (true), qualityOptionIndex));

    if (writer == nullptr)
    {
        result = false;
        return;
    }

    output.release(); // the writer owns it now

    juce::HeapBlock<int> left (convertorChunkSamples), right (convertorChunkSamples);
    int* const buffers[] = { left.get(), right.get() };
    const int* samples[] = { left.get(), right.get() };

    // The files play at the writer's rate: that is the rate of what is measured.
    if (meter != nullptr)
        meter->startTrack (44100.0);

    copyInChunks (reader, writer, destinationFile, buffers,
                  [&] (int count)
                  {
                      if (meter != nullptr)
                          meter->addSamples (samples, count);
                      return writer->write (samples, count);
                  });
    completeDestination (writer, written, destinationFile);
}

//==============================================================================
AiffConvertorThread::AiffConvertorThread (const juce::String& source, const juce::String& destination, Project* project)
    : FormatConvertorThread (project->translate ("Converting to aiff..."), source, destination,
                             std::make_unique<juce::AiffAudioFormat>(), 16, 0)
{
}

FlacConvertorThread::FlacConvertorThread (const juce::String& source, const juce::String& destination, Project* project)
    : FormatConvertorThread (project->translate ("Converting to flac..."), source, destination,
                             std::make_unique<juce::FlacAudioFormat>(), 16, 0)
{
}

OggConvertorThread::OggConvertorThread (const juce::String& source, const juce::String& destination, Project* project)
    : FormatConvertorThread (project->translate ("Converting to ogg..."), source, destination,
                             std::make_unique<juce::OggVorbisAudioFormat>(), 32, mediumQualityIndex)
{
}
