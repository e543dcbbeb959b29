#include "editing/FindSongsThread.h"

#include "editing/TrackStreaming.h"
#include "project/CheckedFileOutput.h"
#include "project/WorkerWindow.h"

namespace
{
/** A 16-bit stereo WAV writer with no metadata, on a buffered stream that notices a full disk. */
std::unique_ptr<juce::AudioFormatWriter> createWriter (const juce::File& file, double rate, WriteOutcome& outcome)
{
    auto stream = CheckedFileOutput::open (file, 32768, outcome);
    if (stream == nullptr)
        return {};

    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatWriter> writer (
        wav.createWriterFor (stream.get(), rate, 2, 16, juce::StringPairArray(), 0));

    if (writer != nullptr)
        stream.release(); // now the writer's

    return writer;
}
} // namespace

FindSongsThread::FindSongsThread (SongSource& sourceToCut, int songsOnTheSide, const juce::File& folderForTracks,
                                  const Project* projectForTexts)
    : juce::ThreadWithProgressWindow (TrackStreaming::translate (projectForTexts, "Finding the songs..."), true, true,
                                      workerCancellingTimeOutMs, workerCancelText),
      source (sourceToCut),
      songs (songsOnTheSide),
      folder (folderForTracks),
      project (projectForTexts)
{
}

FindSongsThread::~FindSongsThread()
{
    stopThread (workerCancellingTimeOutMs);
}

FindSongsThread::Result FindSongsThread::listen (SongSource& source, SongFinder& finder, const Progress& keepGoing)
{
    if (! source.restart())
        return Result::unreadable;

    for (const auto junction : source.getJunctions())
        finder.addJunction (junction);

    std::vector<int> left (blockFrames), right (blockFrames);
    int* channels[] = { left.data(), right.data() };
    const auto length = juce::jmax ((juce::int64) 1, source.getLengthInFrames());
    juce::int64 heard = 0;

    for (;;)
    {
        if (! keepGoing ((double) heard / (double) length))
            return Result::stopped;

        const int n = source.read (channels, blockFrames);
        if (n < 0)
            return Result::unreadable;
        if (n == 0)
            return Result::done;

        finder.addBlock (left.data(), right.data(), n);
        heard += n;
    }
}

FindSongsThread::Result FindSongsThread::writeTracks (SongSource& source, const std::vector<juce::int64>& cuts,
                                                      const std::vector<juce::File>& files, const Progress& keepGoing)
{
    jassert (files.size() == cuts.size() + 1);

    const auto giveUp = [&files] (std::unique_ptr<juce::AudioFormatWriter>& writer, Result result)
    {
        writer.reset();
        for (const auto& file : files)
            file.deleteFile();
        return result;
    };

    std::unique_ptr<juce::AudioFormatWriter> writer;
    WriteOutcome written;

    if (! source.restart())
        return giveUp (writer, Result::unreadable);

    std::vector<int> left (blockFrames), right (blockFrames);
    int* channels[] = { left.data(), right.data() };
    const auto length = juce::jmax ((juce::int64) 1, source.getLengthInFrames());
    juce::int64 position = 0;
    size_t track = 0;

    // Each file is finished before the next begins, so that a refused write is known at once.
    const auto startTrack = [&] (size_t index)
    {
        writer.reset();
        if (written.failed)
            return false;
        files[index].deleteFile();
        writer = createWriter (files[index], source.getSampleRate(), written);
        return writer != nullptr;
    };

    if (! startTrack (0))
        return giveUp (writer, Result::unwritable);

    for (;;)
    {
        if (! keepGoing ((double) position / (double) length))
            return giveUp (writer, Result::stopped);

        const int n = source.read (channels, blockFrames);
        if (n < 0)
            return giveUp (writer, Result::unreadable);
        if (n == 0)
            break;

        int from = 0;
        while (from < n)
        {
            // The block is written up to the next cut, and the rest into the next track.
            const auto trackEnd = track < cuts.size() ? cuts[track] : std::numeric_limits<juce::int64>::max();
            const int count = (int) juce::jmin ((juce::int64) (n - from), trackEnd - (position + from));

            if (count > 0)
            {
                const int* block[] = { left.data() + from, right.data() + from, nullptr };
                written.failed |= ! writer->write (block, count);
                from += count;
            }

            if (written.failed)
                return giveUp (writer, Result::unwritable);

            if (position + from >= trackEnd && track < cuts.size())
            {
                ++track;
                if (! startTrack (track))
                    return giveUp (writer, Result::unwritable);
            }
        }

        position += n;
    }

    // Tracks whose cuts lie past the end of what could be read still get their (empty) file.
    while (track < cuts.size())
        if (! startTrack (++track))
            return giveUp (writer, Result::unwritable);

    writer.reset();
    if (written.failed)
        return giveUp (writer, Result::unwritable);

    return Result::done;
}

void FindSongsThread::deleteParts()
{
    for (const auto& part : parts)
        part.deleteFile();
    parts.clear();
}

void FindSongsThread::run()
{
    const auto progressFrom = [this] (double start)
    {
        return [this, start] (double share)
        {
            setProgress (start + 0.5 * share);
            if (onProgress)
                onProgress (start + 0.5 * share);
            return ! threadShouldExit();
        };
    };

    showStatus (TrackStreaming::translate (project, "Looking for the songs..."));
    SongFinder finder (source.getSampleRate());

    switch (listen (source, finder, progressFrom (0.0)))
    {
        case Result::done:
            break;
        case Result::stopped:
            outcome = Outcome::cancelled;
            return;
        case Result::unreadable:
        case Result::unwritable:
            outcome = Outcome::unreadable;
            return;
    }

    const auto found = finder.findCuts (songs);
    if (! found.has_value())
    {
        placesFound = finder.countPlaces();
        outcome = Outcome::notEnoughPlaces;
        return;
    }

    cuts = *found;

    // Temporary names beside where the tracks will be, so that putting them in place is a rename.
    for (size_t i = 0; i <= cuts.size(); ++i)
    {
        auto part = folder.getNonexistentChildFile (".groovesmith-song", ".wav", false);
        if (! part.create())
        {
            deleteParts();
            outcome = Outcome::unwritable;
            return;
        }
        parts.push_back (part);
    }

    showStatus (TrackStreaming::translate (project, "Writing the tracks..."));

    switch (writeTracks (source, cuts, parts, progressFrom (0.5)))
    {
        case Result::done:
            outcome = Outcome::done;
            return;
        case Result::stopped:
            outcome = Outcome::cancelled;
            break;
        case Result::unreadable:
            outcome = Outcome::unreadable;
            break;
        case Result::unwritable:
            outcome = Outcome::unwritable;
            break;
    }

    deleteParts();
}
