#pragma once

#include "editing/SongSource.h"

#include <juce_core/juce_core.h>

#include <atomic>
#include <memory>
#include <vector>

/**
    What the side window draws of a side: the lowest and the highest sample of each stretch of
    it, at several zoom levels, so that any part of the side at any zoom is drawn from a few
    numbers a pixel column. The side is heard once, from its start, on a thread of the overview's
    own, a block at a time: the window opens at once and fills in as the side is read, and the
    side itself is never held in memory, whatever its length (a twenty-five-minute side takes
    about 5 MB here).

    The finest level holds one pair of 16-bit values for every `finestFrames` frames of the side
    (both channels together); each coarser level one for four of the level below.
*/
class SideOverview : private juce::Thread
{
public:
    /** Starts reading `source`, already opened, at once. */
    explicit SideOverview (std::unique_ptr<SongSource> source);
    ~SideOverview() override;

    static constexpr int finestFrames = 64;
    static constexpr int levels = 6;

    juce::int64 getLengthInFrames() const { return length; }
    double getSampleRate() const { return sampleRate; }

    /** Frames of the side read so far, from its start. */
    juce::int64 getFramesRead() const { return framesRead.load (std::memory_order_acquire); }

    /** True once the whole side has been read. */
    bool isComplete() const { return complete.load (std::memory_order_acquire); }

    /** True when the side could not be read to its end. */
    bool hasFailed() const { return failed.load (std::memory_order_acquire); }

    /** Waits until the side is read, or failed, at most `milliseconds`; true when it is read. */
    bool waitUntilComplete (int milliseconds) const;

    /** The lowest and highest sample in frames [from, to) of the side, from -1 to 1, by the
        coarsest level whose stretches are no longer than `to - from`; false when none of those
        frames has been read yet. */
    bool getRange (juce::int64 from, juce::int64 to, float& lowest, float& highest) const;

    /** The memory the levels take. */
    size_t getBytes() const;

private:
    struct Level
    {
        int frames = 0; // frames of the side in one stretch
        std::vector<juce::int16> lows, highs;
    };

    void run() override;

    /** Works out the stretches of the coarser levels that the frames read so far complete. */
    void fillCoarserLevels (juce::int64 framesKnown, bool atTheEnd);

    std::unique_ptr<SongSource> source;
    juce::int64 length = 0;
    double sampleRate = 44100.0;
    std::vector<Level> levelData;
    std::vector<size_t> filled; // stretches filled in, per level (the reading thread's own count)
    std::atomic<juce::int64> framesRead{ 0 };
    std::atomic<bool> complete{ false }, failed{ false };
    mutable juce::WaitableEvent finished;

    JUCE_DECLARE_NON_COPYABLE (SideOverview)
};
