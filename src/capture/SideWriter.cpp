#include "capture/SideWriter.h"

#include "capture/TrackFileSync.h"
#include "capture/TrackWriter.h"
#include "project/Int16Samples.h"

namespace
{
int fifoCapacityFor (int sampleRate)
{
    // One more than the frames it holds: a FIFO keeps one slot free.
    return juce::jmax (65536, SideWriter::fifoSeconds * juce::jmax (0, sampleRate)) + 1;
}

// The file is forced onto the disk, and the room on the disk looked at, this often.
constexpr int diskCheckMilliseconds = 1000;
} // namespace

/** Forces the side onto the disk about once a second, from a thread of its own. A side given up
    is let go at once, so that its room on the disk is free. */
class SideWriter::DiskSync : private juce::Thread
{
public:
    DiskSync (const juce::File& fileToSync, const std::atomic<bool>& failedFlag)
        : juce::Thread ("Side sync"),
          file (fileToSync),
          failed (failedFlag)
    {
        startThread();
    }

    ~DiskSync() override
    {
        signalThreadShouldExit();
        notify();
        stopThread (-1);
    }

private:
    void run() override
    {
        TrackFileSync sync;
        for (int waited = 0; ! threadShouldExit(); waited += pollMilliseconds)
        {
            wait (pollMilliseconds);
            if (failed.load())
                break;
            if (waited >= diskCheckMilliseconds)
            {
                waited = 0;
                sync.sync ({ file.getFullPathName(), 1 });
            }
        }
    }

    static constexpr int pollMilliseconds = 100;
    const juce::File file;
    const std::atomic<bool>& failed;
};

SideWriter::SideWriter (const juce::File& folder, int firstNumber, int rate)
    : juce::Thread ("Side writer"),
      number (firstNumber),
      sampleRate (rate),
      record (juce::File(), rate),
      chunkLeft ((size_t) chunkFrames + 1),
      chunkRight ((size_t) chunkFrames + 1),
      fifo (fifoCapacityFor (rate)),
      fifoLeft ((size_t) fifoCapacityFor (rate)),
      fifoRight ((size_t) fifoCapacityFor (rate))
{
    file = SideRecord::nextFreeSideFile (folder, number);
    record = SideRecord (file, rate);

    // A disk without room for the tracks gets no side.
    if (rate <= 0 || ! folder.isDirectory() || folder.getBytesFreeOnVolume() < diskReserve)
    {
        failed = true;
        return;
    }

    auto newStream = std::make_unique<juce::FileOutputStream> (file, TrackWriter::streamBufferSize);
    if (newStream->failedToOpen())
    {
        failed = true;
        return;
    }

    juce::WavAudioFormat wav;
    writer.reset (wav.createWriterFor (newStream.get(), rate, 2, 16, {}, 0));
    if (writer == nullptr)
    {
        newStream.reset();
        file.deleteFile();
        failed = true;
        return;
    }

    stream = newStream.release();

    // The header goes to the disk now, and the record with it: the side is a WAV file, and has
    // its record, from its first moment.
    commit();
    record.save();
    lastDiskCheck = juce::Time::getMillisecondCounter();

    open = ! failed.load();
    if (open)
    {
        diskSync = std::make_unique<DiskSync> (file, failed);
        startThread();
    }
}

SideWriter::~SideWriter()
{
    end();
}

//==============================================================================
void SideWriter::push (const float* left, const float* right, int numSamples) noexcept
{
    if (numSamples <= 0)
        return;

    blockStart = heard.load (std::memory_order_relaxed);
    heard.store (blockStart + numSamples, std::memory_order_relaxed);

    if (! open || failed.load (std::memory_order_relaxed))
        return;

    // The side's thread is behind: the block is lost to the side, and the audio thread goes on.
    if (fifo.getFreeSpace() < numSamples)
    {
        lost.store (lost.load (std::memory_order_relaxed) + numSamples, std::memory_order_relaxed);
        return;
    }

    int start1 = 0, size1 = 0, start2 = 0, size2 = 0;
    fifo.prepareToWrite (numSamples, start1, size1, start2, size2);
    floatsToInt16 (left, fifoLeft + start1, size1);
    floatsToInt16 (right, fifoRight + start1, size1);
    if (size2 > 0)
    {
        floatsToInt16 (left + size1, fifoLeft + start2, size2);
        floatsToInt16 (right + size1, fifoRight + start2, size2);
    }
    fifo.finishedWrite (size1 + size2);
}

void SideWriter::trackFileBegan() noexcept
{
    trackFirst = blockStart;
}

void SideWriter::trackClosed (const juce::String& path, juce::int64 length) noexcept
{
    if (trackFirst < 0 || path.isEmpty())
        return;

    const auto first = trackFirst;
    trackFirst = -1;

    if (placeFifo.getFreeSpace() < 1)
    {
        placesLost = true;
        return;
    }

    // The slot was emptied by the writer's thread: taking the path only counts a reference.
    int start1 = 0, size1 = 0, start2 = 0, size2 = 0;
    placeFifo.prepareToWrite (1, start1, size1, start2, size2);
    auto& slot = pendingPlaces[(size_t) (size1 > 0 ? start1 : start2)];
    slot.path = path;
    slot.first = first;
    slot.length = length;
    placeFifo.finishedWrite (1);
}

//==============================================================================
void SideWriter::holdWriting (bool shouldHold)
{
    held = shouldHold;

    if (! shouldHold)
    {
        notify();
        return;
    }

    // A turn of the thread in progress ends first.
    const juce::ScopedLock sl (drainLock);
}

void SideWriter::run()
{
    while (! threadShouldExit() && ! endRequested.load())
    {
        wait (pollMilliseconds);

        const juce::ScopedLock sl (drainLock);
        if (! held.load())
            drain();
    }
}

void SideWriter::end()
{
    if (ended)
        return;
    ended = true;

    // The thread lets go, and what it left is taken here.
    held = false;
    endRequested = true;
    notify();
    if (isThreadRunning())
        waitForThreadToExit (-1);

    if (open)
    {
        drain();
        finish();
    }
}

void SideWriter::drain()
{
    while (fifo.getNumReady() > 0)
    {
        int start1 = 0, size1 = 0, start2 = 0, size2 = 0;
        fifo.prepareToRead (juce::jmin (fifo.getNumReady(), chunkFrames), start1, size1, start2, size2);
        writeFrames (fifoLeft + start1, fifoRight + start1, size1);
        if (size2 > 0)
            writeFrames (fifoLeft + start2, fifoRight + start2, size2);
        fifo.finishedRead (size1 + size2);
    }

    if (uncommitted)
        commit();

    takePlaces();

    const auto lostNow = lost.load();
    if (lostNow != lostInRecord)
    {
        lostInRecord = lostNow;
        record.setWhole (false);
        recordChanged = true;
    }

    if (placesLost.load() && record.isWhole())
    {
        record.setWhole (false);
        recordChanged = true;
    }

    if (juce::Time::getMillisecondCounter() - lastDiskCheck >= (juce::uint32) diskCheckMilliseconds)
        checkTheRoomLeft();

    if (recordChanged)
    {
        recordChanged = false;
        record.save();
    }
}

void SideWriter::writeFrames (const juce::int16* left, const juce::int16* right, int frames)
{
    if (writer == nullptr || frames <= 0)
        return;

    // The format writer takes 32-bit left-justified samples.
    for (int i = 0; i < frames; ++i)
    {
        chunkLeft[i] = (int) left[i] * 65536;
        chunkRight[i] = (int) right[i] * 65536;
    }
    chunkLeft[frames] = 0;
    chunkRight[frames] = 0;

    const int* channels[3] = { chunkLeft.get(), chunkRight.get(), nullptr };
    if (! writer->write (channels, frames))
    {
        giveUp();
        return;
    }

    written += frames;
    uncommitted = true;
}

void SideWriter::commit()
{
    if (writer == nullptr)
        return;

    // The format writer's flush writes the audio in the stream's buffer, then a header that
    // covers it. A disk that filled up takes part of it without a word: the file's length tells.
    writer->flush();
    uncommitted = false;

    if (file.getSize() < stream->getPosition())
        giveUp();
}

void SideWriter::checkTheRoomLeft()
{
    lastDiskCheck = juce::Time::getMillisecondCounter();
    if (writer != nullptr && file.getParentDirectory().getBytesFreeOnVolume() < diskReserve)
        giveUp();
}

void SideWriter::giveUp()
{
    if (failed.exchange (true))
        return;

    // The tracks come first: the side's room on the disk is theirs now.
    writer.reset();
    stream = nullptr;
    diskSync.reset();
    file.deleteFile();
    record.setWhole (false);
    recordChanged = true;
}

void SideWriter::takePlaces()
{
    while (placeFifo.getNumReady() > 0)
    {
        int start1 = 0, size1 = 0, start2 = 0, size2 = 0;
        placeFifo.prepareToRead (1, start1, size1, start2, size2);
        auto& slot = pendingPlaces[(size_t) (size1 > 0 ? start1 : start2)];
        const SideRecord::Place place{ slot.path, slot.first, slot.length };
        slot.path = {};
        placeFifo.finishedRead (1);

        // A file written anew here is no longer the track of an earlier side.
        record.setPlace (place);
        SideRecord::releaseTrack (place.path, record.getRecordFile());
        recordChanged = true;
    }
}

void SideWriter::finish()
{
    // Deleting the format writer completes the header and closes the file.
    const bool wasWriting = writer != nullptr;
    writer.reset();
    stream = nullptr;
    diskSync.reset();

    if (record.getPlaces().empty() && ! placesLost.load())
    {
        // Nothing of this run became a track: nothing refers to the side.
        file.deleteFile();
        record.getRecordFile().deleteFile();
        return;
    }

    if (wasWriting)
        TrackFileSync::syncOnce (file.getFullPathName());

    record.setEnded (true);
    record.setSideSamples (failed.load() ? 0 : written);
    if (lost.load() > 0 || placesLost.load() || failed.load())
        record.setWhole (false);
    record.save();
    TrackFileSync::syncOnce (record.getRecordFile().getFullPathName());
}
