#include "encoding/ConvertorThread.h"

ConvertorThread::ConvertorThread (const juce::String& title, const juce::String& sourceToRead,
                                  const juce::String& destinationToWrite, bool initialResult)
    : juce::ThreadWithProgressWindow (title, true, true, workerCancellingTimeOutMs, workerCancelText),
      source (sourceToRead),
      destination (destinationToWrite),
      result (initialResult)
{
}

juce::String ConvertorThread::statusFor (const juce::String& source)
{
    const auto start = source.lastIndexOf (juce::File::getSeparatorString()) + 1;
    return source.substring (start, source.length() - 4);
}

void ConvertorThread::copyInChunks (std::unique_ptr<juce::AudioFormatReader>& reader,
                                    std::unique_ptr<juce::AudioFormatWriter>& writer, const juce::File& destinationFile,
                                    int* const* buffers, const std::function<bool (int count)>& writeChunk)
{
    const auto length = reader->lengthInSamples;

    for (juce::int64 position = 0; position < length; position += convertorChunkSamples)
    {
        if (threadShouldExit())
        {
            reader.reset();
            writer.reset();
            destinationFile.deleteFile();
            result = false;
            return;
        }

        setProgress ((double) position / (double) length);

        if (! reader->read (buffers, 2, position, convertorChunkSamples, true))
        {
            result = false;
            break;
        }

        if (! writeChunk ((int) juce::jmin ((juce::int64) convertorChunkSamples, length - position)))
        {
            result = false;
            break;
        }
    }

    setProgress (1.0);
}

void ConvertorThread::completeDestination (std::unique_ptr<juce::AudioFormatWriter>& writer,
                                           const WriteOutcome& outcome, const juce::File& destinationFile)
{
    writer.reset();

    if (outcome.failed)
    {
        destinationFile.deleteFile();
        result = false;
    }
}
