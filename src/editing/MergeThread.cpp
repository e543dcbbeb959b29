#include "editing/MergeThread.h"

#include "editing/TrackStreaming.h"
#include "project/AudioReaders.h"

MergeThread::MergeThread (const juce::File& first, const juce::File& second, const juce::File& output,
                          Project* projectForTexts)
    : StreamingThread (TrackStreaming::translate (projectForTexts, "Merging...")),
      firstFile (first),
      secondFile (second),
      outputFile (output),
      project (projectForTexts)
{
}

juce::String MergeThread::appendingText (const juce::File& file) const
{
    return TrackStreaming::translate (project, "Appending ") + file.getFileNameWithoutExtension() +
           TrackStreaming::translate (project, "\nto\n") + outputFile.getFileNameWithoutExtension();
}

bool MergeThread::openReader (const juce::File& file)
{
    auto opened = AudioReaders::open (file, *formatManager);

    if (opened == nullptr)
        return false;

    reader = opened.get();
    readerSource = std::make_unique<juce::AudioFormatReaderSource> (opened.release(), true);
    TrackStreaming::startTransport (*transport, *readerSource, reader->sampleRate);
    return true;
}

bool MergeThread::copyReader (juce::AudioFormatWriter& output, juce::AudioSampleBuffer& buffer,
                              juce::int64 lengthBefore)
{
    // Whole blocks, and of the last one only what the file still holds, counted in frames at
    // 44100 Hz, as they come out. False on a cancel.
    const juce::int64 length = TrackStreaming::outputFrames (reader->lengthInSamples, reader->sampleRate);
    const juce::AudioSourceChannelInfo block (buffer);
    const int n = buffer.getNumSamples();
    juce::int64 written = 0;

    while (! threadShouldExit())
    {
        setProgress ((double) (lengthBefore + written) / (double) (lengthBefore + length));
        transport->getNextAudioBlock (block);

        if (written + n >= length)
        {
            outcome.failed |= ! TrackStreaming::writeBlock (output, buffer, 0, (int) (length - written));
            return true;
        }

        outcome.failed |= ! TrackStreaming::writeBlock (output, buffer, 0, n);
        written += n;

        // A refused write ends the merge: nothing after it could make the output whole.
        if (outcome.failed)
            return true;
    }

    return false;
}

void MergeThread::run()
{
    showStatus (appendingText (firstFile));

    if (! firstFile.exists() || ! secondFile.exists())
        return;

    success = true;
    writer = TrackStreaming::createWriter (outputFile, outcome);

    if (writer == nullptr || ! openReader (firstFile))
    {
        success = false;
        return;
    }

    juce::AudioSampleBuffer buffer (2, TrackStreaming::blockSize);
    buffer.clear();
    bool complete = copyReader (*writer, buffer, 0);

    if (complete && ! outcome.failed)
    {
        const juce::int64 firstLength = TrackStreaming::outputFrames (reader->lengthInSamples, reader->sampleRate);
        showStatus (appendingText (secondFile));
        releaseReading();

        if (! openReader (secondFile))
        {
            // The output is left as it is, with the first file in it.
            success = false;
            return;
        }

        buffer.clear();
        complete = copyReader (*writer, buffer, firstLength);
    }

    writer.reset();
    releaseReading();

    // A cancel ends with the first input deleted, and success still true.
    if (! complete)
    {
        firstFile.deleteFile();
        return;
    }

    // An output that could not be written whole is no merge: it goes, and the inputs stay.
    if (outcome.failed)
    {
        outputFile.deleteFile();
        success = false;
    }
}

bool mergeFiles (juce::File first, juce::File second, juce::File output, Project* projectForTexts)
{
    MergeThread worker (first, second, output, projectForTexts);
    worker.runThread (juce::Thread::Priority::normal);
    return worker.success;
}
