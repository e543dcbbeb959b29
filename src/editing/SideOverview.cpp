#include "editing/SideOverview.h"

#include <limits>

namespace
{
constexpr int readFrames = 16384;
} // namespace

SideOverview::SideOverview (std::unique_ptr<SongSource> sourceToRead)
    : juce::Thread ("Side overview"),
      source (std::move (sourceToRead)),
      finished (true)
{
    length = juce::jmax ((juce::int64) 0, source->getLengthInFrames());
    sampleRate = source->getSampleRate();

    int frames = finestFrames;
    for (int l = 0; l < levels; ++l, frames *= 4)
    {
        Level level;
        level.frames = frames;
        const auto count = (size_t) ((length + frames - 1) / frames);
        level.lows.assign (count, 0);
        level.highs.assign (count, 0);
        levelData.push_back (std::move (level));
    }
    filled.assign ((size_t) levels, 0);

    startThread (juce::Thread::Priority::low);
}

SideOverview::~SideOverview()
{
    stopThread (5000);
}

bool SideOverview::waitUntilComplete (int milliseconds) const
{
    finished.wait ((double) milliseconds);
    return isComplete();
}

size_t SideOverview::getBytes() const
{
    size_t bytes = 0;
    for (const auto& level : levelData)
        bytes += (level.lows.capacity() + level.highs.capacity()) * sizeof (juce::int16);
    return bytes;
}

void SideOverview::run()
{
    const auto end = [this] (bool whole)
    {
        (whole ? complete : failed).store (true, std::memory_order_release);
        finished.signal();
    };

    if (! source->restart())
        return end (false);

    std::vector<int> left (readFrames), right (readFrames);
    int* channels[] = { left.data(), right.data() };

    auto& finest = levelData.front();
    juce::int64 position = 0;
    size_t bucket = 0;
    int inBucket = 0;
    int low = std::numeric_limits<int>::max(), high = std::numeric_limits<int>::min();

    while (! threadShouldExit())
    {
        const int n = source->read (channels, readFrames);
        if (n < 0)
            return end (false);
        if (n == 0)
            break;

        for (int i = 0; i < n; ++i)
        {
            const int l = left[(size_t) i] >> 16, r = right[(size_t) i] >> 16;
            low = juce::jmin (low, l, r);
            high = juce::jmax (high, l, r);

            if (++inBucket == finestFrames && bucket < finest.lows.size())
            {
                finest.lows[bucket] = (juce::int16) low;
                finest.highs[bucket] = (juce::int16) high;
                ++bucket;
                inBucket = 0;
                low = std::numeric_limits<int>::max();
                high = std::numeric_limits<int>::min();
            }
        }

        position += n;
        filled[0] = bucket;
        fillCoarserLevels (position, false);
        framesRead.store (juce::jmin (position, length), std::memory_order_release);
    }

    if (threadShouldExit())
        return;

    // The last stretch, shorter than the others.
    if (inBucket > 0 && bucket < finest.lows.size())
    {
        finest.lows[bucket] = (juce::int16) low;
        finest.highs[bucket] = (juce::int16) high;
        filled[0] = bucket + 1;
    }

    fillCoarserLevels (position, true);
    framesRead.store (juce::jmin (position, length), std::memory_order_release);
    end (position >= length);
}

void SideOverview::fillCoarserLevels (juce::int64 framesKnown, bool atTheEnd)
{
    for (size_t l = 1; l < levelData.size(); ++l)
    {
        const auto& finer = levelData[l - 1];
        auto& level = levelData[l];
        const auto count = level.lows.size();

        // A stretch is complete once the frames read reach its end (or the side has ended).
        const auto completeCount = atTheEnd
                                       ? juce::jmin (count, (filled[l - 1] + 3) / 4)
                                       : juce::jmin (count, (size_t) (framesKnown / level.frames), filled[l - 1] / 4);

        for (auto j = filled[l]; j < completeCount; ++j)
        {
            juce::int16 low = std::numeric_limits<juce::int16>::max(), high = std::numeric_limits<juce::int16>::min();
            for (auto k = 4 * j; k < juce::jmin (4 * j + 4, filled[l - 1]); ++k)
            {
                low = juce::jmin (low, finer.lows[k]);
                high = juce::jmax (high, finer.highs[k]);
            }
            level.lows[j] = low;
            level.highs[j] = high;
        }

        filled[l] = juce::jmax (filled[l], completeCount);
    }
}

bool SideOverview::getRange (juce::int64 from, juce::int64 to, float& lowest, float& highest) const
{
    from = juce::jmax ((juce::int64) 0, from);
    to = juce::jmin (length, to);
    if (to <= from)
        return false;

    // The coarsest level whose stretches fit in the range, so that a range takes a few of them.
    size_t l = 0;
    while (l + 1 < levelData.size() && levelData[l + 1].frames <= to - from)
        ++l;

    const auto& level = levelData[l];
    const auto valid =
        isComplete() ? level.lows.size() : juce::jmin (level.lows.size(), (size_t) (getFramesRead() / level.frames));
    const auto first = (size_t) (from / level.frames);
    const auto last = juce::jmin ((size_t) ((to - 1) / level.frames), valid == 0 ? 0 : valid - 1);

    if (valid == 0 || first >= valid)
        return false;

    int low = std::numeric_limits<int>::max(), high = std::numeric_limits<int>::min();
    for (auto k = first; k <= last; ++k)
    {
        low = juce::jmin (low, (int) level.lows[k]);
        high = juce::jmax (high, (int) level.highs[k]);
    }

    lowest = (float) low / 32768.0f;
    highest = (float) high / 32768.0f;
    return true;
}
