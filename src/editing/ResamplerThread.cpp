#include "editing/ResamplerThread.h"

#include "editing/TrackStreaming.h"

ResamplerThread::ResamplerThread (juce::File* input, juce::File* output, double ratioToUse, Project* projectForTexts)
    : StreamingThread (TrackStreaming::translate (projectForTexts, "Resampling...")),
      inputFile (input),
      success (input != nullptr),
      inPlace (output == nullptr),
      ratio (ratioToUse)
{
    outputFile = inPlace ? juce::File::createTempFile (".wav") : *output;
}

void ResamplerThread::run()
{
    if (inputFile == nullptr)
        return;

    showStatus (inputFile->getFileNameWithoutExtension());

    if (! inputFile->exists())
    {
        success = false;
        return;
    }

    auto writer = TrackStreaming::createWriter (outputFile);

    if (writer == nullptr)
    {
        success = false;
        return;
    }

    reader = formatManager->createReaderFor (*inputFile);

    if (reader == nullptr)
    {
        success = false;
        return;
    }

    readerSource = std::make_unique<juce::AudioFormatReaderSource> (reader, true);

    // Declaring the source slower than it is does the whole work: the transport brings it to
    // 44100 Hz.
    TrackStreaming::startTransport (*transport, *readerSource, reader->sampleRate * ratio);

    juce::AudioSampleBuffer buffer (2, TrackStreaming::blockSize);
    buffer.clear();
    const juce::AudioSourceChannelInfo block (buffer);
    const double length = (double) reader->lengthInSamples;
    juce::int64 written = 0;
    bool complete = false;

    while (! threadShouldExit())
    {
        setProgress ((double) written / length);
        transport->getNextAudioBlock (block);
        writer->writeFromAudioSampleBuffer (buffer, 0, buffer.getNumSamples());
        written += buffer.getNumSamples();

        if ((double) written * ratio >= length)
        {
            complete = true;
            break;
        }
    }

    writer.reset();
    releaseReading();

    if (! complete)
    {
        outputFile.deleteFile();
        inputFile->deleteFile();
        return;
    }

    if (inPlace)
        success = outputFile.moveFileTo (*inputFile);
}

bool resampleFile (juce::File* input, double ratio, Project* projectForTexts)
{
    return resampleFile (input, nullptr, ratio, projectForTexts);
}

bool resampleFile (juce::File* input, juce::File* output, double ratio, Project* projectForTexts)
{
    ResamplerThread worker (input, output, ratio, projectForTexts);
    worker.runThread (juce::Thread::Priority::normal);
    return worker.success;
}
