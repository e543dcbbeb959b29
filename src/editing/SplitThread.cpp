#include "editing/SplitThread.h"

#include "editing/TrackStreaming.h"
#include "project/AudioReaders.h"

#include <cmath>

SplitThread::SplitThread (const juce::File& source, double seconds, const juce::File& start, const juce::File& end,
                          Project* projectForTexts)
    : StreamingThread (TrackStreaming::translate (projectForTexts, "Splitting...")),
      sourceFile (source),
      startFile (start),
      endFile (end),
      splitPosition (seconds),
      project (projectForTexts)
{
}

juce::String SplitThread::positionText (double sampleNumber, double rate)
{
    const auto seconds = (juce::int64) sampleNumber / (juce::int64) rate;
    const auto minutes = seconds / 60;
    const auto rest = seconds - 60 * minutes;
    const auto hundredths = (juce::int64) (sampleNumber / rate * 100.0);

    juce::String text;

    if (minutes > 0)
        text << minutes << ":" << (rest <= 9 ? "0" : "");

    text << rest << "." << (hundredths <= 9 ? "0" : "") << hundredths;
    return text;
}

bool SplitThread::stoppedByCancel (std::unique_ptr<juce::AudioFormatWriter>& writer, const juce::File& part)
{
    if (! threadShouldExit())
        return false;

    writer.reset();
    releaseReading();
    part.deleteFile();
    success = false;
    return true;
}

void SplitThread::failWriting (std::unique_ptr<juce::AudioFormatWriter>& writer)
{
    // Neither part is worth keeping when one could not be written whole.
    writer.reset();
    releaseReading();
    startFile.deleteFile();
    endFile.deleteFile();
    success = false;
}

void SplitThread::run()
{
    if (! sourceFile.exists())
    {
        success = false;
        return;
    }

    if (startFile.exists())
        startFile.deleteFile();

    if (endFile.exists())
        endFile.deleteFile();

    WriteOutcome written;
    auto writer = TrackStreaming::createWriter (startFile, written);
    auto opened = writer != nullptr ? AudioReaders::open (sourceFile, *formatManager) : nullptr;

    if (opened == nullptr)
    {
        success = false;
        return;
    }

    reader = opened.get();
    readerSource = std::make_unique<juce::AudioFormatReaderSource> (opened.release(), true);
    sampleRate = reader->sampleRate;
    // Everything is counted in what comes out, at 44100 Hz, whatever the source's rate. The cut
    // falls on the frame nearest to the time asked: seconds times a rate seldom gives a whole
    // number exactly, even where one was meant.
    splitPosition = std::floor (juce::jmax (0.0, splitPosition * TrackStreaming::outputRate) + 0.5);
    const double length = (double) TrackStreaming::outputFrames (reader->lengthInSamples, sampleRate);

    showStatus (TrackStreaming::translate (project, "Splitting ") + sourceFile.getFileNameWithoutExtension() +
                TrackStreaming::translate (project, "\nat ") +
                positionText (splitPosition, TrackStreaming::outputRate));

    TrackStreaming::startTransport (*transport, *readerSource, reader->sampleRate);

    juce::AudioSampleBuffer buffer (2, TrackStreaming::blockSize);
    buffer.clear();
    const juce::AudioSourceChannelInfo block (buffer);
    const int n = buffer.getNumSamples();
    double count = 0.0;
    int taken = n; // the frames of the block in hand that went to the start part

    // What lies before the position.
    while (! threadShouldExit())
    {
        setProgress (count / length);
        transport->getNextAudioBlock (block);

        if (count + n < splitPosition)
        {
            written.failed |= ! TrackStreaming::writeBlock (*writer, buffer, 0, n);
            count += n;
        }
        else
        {
            taken = (int) (splitPosition - count);
            written.failed |= ! TrackStreaming::writeBlock (*writer, buffer, 0, taken);
            count = splitPosition;
        }

        if (written.failed)
            break;

        if (count >= splitPosition || length <= count)
            break;
    }

    if (stoppedByCancel (writer, startFile))
        return;

    writer.reset();

    if (written.failed)
    {
        failWriting (writer);
        return;
    }

    writer = TrackStreaming::createWriter (endFile, written);

    if (writer == nullptr)
    {
        failWriting (writer);
        return;
    }

    // The rest of the block in hand, from the first frame the start part did not take: a cut on
    // a block's end leaves none of it, and no frame goes to both parts.
    written.failed |= ! TrackStreaming::writeBlock (*writer, buffer, taken, n - taken);

    // What lies after it, in whole blocks.
    buffer.clear();

    while (! threadShouldExit())
    {
        setProgress (count / length);
        transport->getNextAudioBlock (block);
        written.failed |= ! TrackStreaming::writeBlock (*writer, buffer, 0, n);
        count += n;

        if (length <= count || written.failed)
            break;
    }

    if (stoppedByCancel (writer, endFile))
        return;

    writer.reset();

    if (written.failed)
    {
        failWriting (writer);
        return;
    }

    releaseReading();
    success = true;
}

bool splitFile (juce::File source, double seconds, juce::File start, juce::File end, Project* projectForTexts)
{
    SplitThread worker (source, seconds, start, end, projectForTexts);
    worker.runThread (juce::Thread::Priority::normal);
    return worker.success;
}
