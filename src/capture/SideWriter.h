#pragma once

#include "project/SideRecord.h"

#include <juce_audio_formats/juce_audio_formats.h>

#include <array>
#include <atomic>
#include <memory>

/**
    The side file of one capture run: Side<k>.wav in the capture folder, everything the run hears
    from its first block to its last, silences included, as the tracks have it (through the input
    filters, 16-bit stereo at the device's rate), with its record Side<k>.tracks beside it.

    The audio thread only hands each block over: it converts the block to 16 bits into a lock-free
    FIFO of a few seconds, made before the run, and never allocates, locks or waits. A thread of
    the writer's own takes the audio from there to the disk. When that thread falls behind and
    the FIFO is full, the block is lost to the side (not to the tracks) and the record says that
    the side is no longer whole.

    A killed program leaves a whole WAV file, as the track files do: the header goes to the disk
    with the file, and again with the audio at every turn of the writer's thread, which is many
    times a second. A third thread forces the file onto the disk about once a second, so that a
    slow disk holds that thread and not the writer's.

    A side that cannot be written (the file cannot be made, the disk fills up or nearly so) is
    given up and its file deleted, so that it leaves the tracks the space there is; the record
    says that the side is not whole. A run that ends without any track leaves neither side nor
    record.

    Places are counted in the samples the run heard: while the side is whole they are the side's
    own samples.
*/
class SideWriter : private juce::Thread
{
public:
    /** Makes Side<number>.wav in `folder`, or the next number whose side and record are both
        free, and its record, and starts the writer's thread. Message thread, before the run's
        first block. */
    SideWriter (const juce::File& folder, int number, int sampleRate);

    /** Ends the side, as `end` does. */
    ~SideWriter() override;

    /** True when the side file was made. */
    bool isOpen() const { return open; }

    /** The number k of Side<k>.wav: the one taken, or the one that failed. */
    int getNumber() const { return number; }

    juce::File getFile() const { return file; }
    juce::File getRecordFile() const { return SideRecord::recordFileFor (file); }

    //==============================================================================
    // The audio thread's side. None of these waits, locks or allocates.

    /** One filtered block of the run. */
    void push (const float* left, const float* right, int numSamples) noexcept;

    /** The block pushed last is the first one of a new track file. */
    void trackFileBegan() noexcept;

    /** The track file at `path`, begun in this run, is finished with `length` samples: its place
        goes to the record. A file not begun in this run has no place in the side. */
    void trackClosed (const juce::String& path, juce::int64 length) noexcept;

    //==============================================================================
    /** After the run's last block: the rest of the audio goes to the disk, the file and its record
        are finished (a side without any track is deleted with its record). Message thread. */
    void end();

    /** Samples the run has heard so far. */
    juce::int64 getSamplesHeard() const { return heard.load(); }

    /** Samples the side lost because its thread fell behind. */
    juce::int64 getSamplesLost() const { return lost.load(); }

    /** True once the side has been given up. */
    bool hasFailed() const { return failed.load(); }

    /** Samples handed over and not yet taken by the writer's thread. */
    int getSamplesWaiting() const { return fifo.getNumReady(); }

    /** While held, the writer's thread takes nothing from the FIFO, as a disk that does not keep
        up would have it; for tests. A hold begins once the thread has put down what it was
        writing. */
    void holdWriting (bool shouldHold);

    /** The FIFO holds this many seconds of audio. */
    static constexpr int fifoSeconds = 10;

    /** The writer's thread comes round this often, in milliseconds. */
    static constexpr int pollMilliseconds = 25;

    /** The side is given up when the disk has less room than this left for the tracks. */
    static constexpr juce::int64 diskReserve = 32 * 1024 * 1024;

private:
    void run() override;

    /** Takes what waits in the FIFO to the file, then the new places to the record. */
    void drain();
    void writeFrames (const juce::int16* left, const juce::int16* right, int frames);
    void commit();
    void takePlaces();
    void checkTheRoomLeft();
    void giveUp();
    void finish();

    static constexpr int chunkFrames = 8192;
    static constexpr int placeSlots = 256;

    juce::File file;
    int number = 0;
    int sampleRate = 0;
    bool open = false;
    bool ended = false;

    // The writer's thread's own (the message thread's before it starts and after it ends).
    SideRecord record;
    std::unique_ptr<juce::AudioFormatWriter> writer;
    juce::FileOutputStream* stream = nullptr; // owned by `writer`
    juce::HeapBlock<int> chunkLeft, chunkRight;
    juce::int64 written = 0;
    bool uncommitted = false;
    bool recordChanged = false;
    juce::int64 lostInRecord = 0;
    juce::uint32 lastDiskCheck = 0;

    class DiskSync;
    std::unique_ptr<DiskSync> diskSync;

    // The audio between the two threads.
    juce::AbstractFifo fifo;
    juce::HeapBlock<juce::int16> fifoLeft, fifoRight;

    // Places between the two threads: the audio thread fills a slot, the writer empties it.
    struct PendingPlace
    {
        juce::String path;
        juce::int64 first = 0;
        juce::int64 length = 0;
    };
    juce::AbstractFifo placeFifo{ placeSlots };
    std::array<PendingPlace, placeSlots> pendingPlaces;

    // The audio thread's own.
    juce::int64 blockStart = 0;
    juce::int64 trackFirst = -1;

    std::atomic<juce::int64> heard{ 0 };
    std::atomic<juce::int64> lost{ 0 };
    std::atomic<bool> placesLost{ false };
    std::atomic<bool> failed{ false };
    std::atomic<bool> held{ false };
    std::atomic<bool> endRequested{ false };
    juce::CriticalSection drainLock; // never taken by the audio thread

    JUCE_DECLARE_NON_COPYABLE (SideWriter)
};
