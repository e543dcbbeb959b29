#include "editing/ResamplerThread.h"

#include "editing/TrackStreaming.h"
#include "project/AudioReaders.h"

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

    WriteOutcome written;
    auto writer = TrackStreaming::createWriter (outputFile, written);

    if (writer == nullptr)
    {
        success = false;
        return;
    }

    auto opened = AudioReaders::open (*inputFile, *formatManager);

    if (opened == nullptr)
    {
        success = false;
        return;
    }

    reader = opened.get();
    readerSource = std::make_unique<juce::AudioFormatReaderSource> (opened.release(), true);

    // Declaring the source slower than it is does the whole work: the transport brings it to
    // 44100 Hz.
    TrackStreaming::startTransport (*transport, *readerSource, reader->sampleRate * ratio);

    juce::AudioSampleBuffer buffer (2, TrackStreaming::blockSize);
    buffer.clear();
    const juce::AudioSourceChannelInfo block (buffer);
    const double length = (double) reader->lengthInSamples;
    // The source's frames that each frame written covers: the ratio, at the source's own rate.
    const double sourceFramesPerFrame = ratio * (reader->sampleRate / TrackStreaming::outputRate);
    juce::int64 frames = 0;
    bool complete = false;

    while (! threadShouldExit())
    {
        setProgress ((double) frames / length);
        transport->getNextAudioBlock (block);
        written.failed |= ! TrackStreaming::writeBlock (*writer, buffer, 0, buffer.getNumSamples());
        frames += buffer.getNumSamples();

        if ((double) frames * sourceFramesPerFrame >= length || written.failed)
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

    // An output that could not be written whole replaces nothing, and is not kept.
    if (written.failed)
    {
        outputFile.deleteFile();
        success = false;
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
