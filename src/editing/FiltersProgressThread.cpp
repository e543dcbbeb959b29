#include "editing/FiltersProgressThread.h"

#include "editing/Declicker.h"
#include "editing/Denoiser.h"
#include "editing/FloatVector.h"
#include "project/Int16Samples.h"
#include "project/Project.h"
#include "project/WorkerWindow.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <system_error>
#include <thread>

namespace
{
const float outputScale = 0.800000011920929f;

/** The scale every filtered block takes on its way out. */
void scale (float* block)
{
    for (int i = 0; i < 256; ++i)
        block[i] = block[i] * outputScale;
}

/** A 16-bit value in the top bits of a 32-bit sample, as the writer takes it. */
int inTopBits (juce::int16 value)
{
    return (int) ((juce::uint32) (juce::uint16) value << 16);
}

/** The largest absolute value of `count` samples. A NaN never wins, so parts of the samples
    may be scanned apart, in lanes, and their peaks joined in any order. */
float peakOf (const float* samples, juce::int64 count)
{
    auto peaks = FloatVector::zero();
    juce::int64 i = 0;

    for (; i + 4 <= count; i += 4)
        peaks = FloatVector::max (FloatVector::abs (FloatVector::load (samples + i)), peaks);

    float lanes[4];
    peaks.store (lanes);
    float peak = 0.0f;

    for (float lane : lanes)
        peak = std::max (peak, lane);

    for (; i < count; ++i)
        peak = std::max (peak, std::abs (samples[i]));

    return peak;
}

/** Divides `count` samples by `divisor`, four at a time. */
void divide (float* samples, juce::int64 count, float divisor)
{
    const auto divisors = FloatVector::fill (divisor);
    juce::int64 i = 0;

    for (; i + 4 <= count; i += 4)
        (FloatVector::load (samples + i) / divisors).store (samples + i);

    for (; i < count; ++i)
        samples[i] = samples[i] / divisor;
}

/** Runs job (1, from, to) on the second half of `total` entries on a thread of its own while
    this thread does job (0, from, to) on the first half, and returns when both are done. Where
    no thread can be started, this thread does both. */
void inTwoHalves (juce::int64 total, const std::function<void (int, juce::int64, juce::int64)>& job)
{
    const juce::int64 middle = total / 2;
    std::thread second;

    try
    {
        second = std::thread ([&] { job (1, middle, total); });
    }
    catch (const std::system_error&)
    {
        job (1, middle, total);
    }

    job (0, 0, middle);

    if (second.joinable())
        second.join();
}

/**
    One channel's blocks, filtered on a thread of its own ahead of the worker, each left in place
    in the samples for the worker to write. It never waits for the worker; the worker waits for
    it only when it catches up, and then for a few blocks at once, so that the two seldom have
    to wake each other.
*/
class ChannelAhead
{
public:
    /** `filterBlockToRun` returns false to stop the side thread. */
    ChannelAhead (int numBlocksToRun, std::function<bool (int)> filterBlockToRun)
        : numBlocks (numBlocksToRun),
          filterBlock (std::move (filterBlockToRun))
    {
        try
        {
            thread = std::thread ([this] { run(); });
        }
        catch (const std::system_error&)
        {
            // No second thread: waitFor filters each block itself when it is needed.
        }
    }

    ~ChannelAhead() { stop(); }

    /** Returns true once `block` is in place, or false if the side thread stopped before it. */
    bool waitFor (int block)
    {
        if (done.load() > block)
            return true;

        if (! thread.joinable())
        {
            if (! filterBlock (block))
                return false;

            done.store (block + 1);
            return true;
        }

        std::unique_lock<std::mutex> hold (lock);
        wanted.store (std::min (block + batch, numBlocks));
        woken.wait (hold, [&] { return ended.load() || (done.load() > block && done.load() >= wanted.load()); });
        wanted.store (INT_MAX);
        return done.load() > block;
    }

    /** Makes the thread end after its current block, and waits for it. */
    void stop()
    {
        stopping.store (true);

        if (thread.joinable())
            thread.join();
    }

private:
    void run()
    {
        for (int block = 0; block < numBlocks && ! stopping.load(); ++block)
        {
            if (! filterBlock (block))
                break;

            done.store (block + 1);

            if (block + 1 >= wanted.load())
                wake();
        }

        ended.store (true);
        wake();
    }

    void wake()
    {
        const std::lock_guard<std::mutex> hold (lock);
        woken.notify_one();
    }

    static constexpr int batch = 16;
    const int numBlocks;
    const std::function<bool (int)> filterBlock;
    std::atomic<int> done{ 0 };
    std::atomic<int> wanted{ INT_MAX };
    std::atomic<bool> stopping{ false };
    std::atomic<bool> ended{ false };
    std::mutex lock;
    std::condition_variable woken;
    std::thread thread;
};
} // namespace

FiltersProgressThread::FiltersProgressThread (bool /*normalizeAsked*/, int denoiseThresholdToUse,
                                              int declickSensibilityToUse, float* samplesToUse, int numChannelsToUse,
                                              juce::AudioFormatWriter* writerToUse, int numSamplesToUse,
                                              Project* projectForTexts)
    : CFilters (projectForTexts),
      juce::ThreadWithProgressWindow ("Applying filters...", true, true, workerCancellingTimeOutMs, workerCancelText),
      denoiseThreshold (denoiseThresholdToUse),
      declickSensibility (declickSensibilityToUse),
      normalize (true) // a filter run always normalizes, whatever was asked
{
    samples = samplesToUse;
    numChannels = numChannelsToUse;
    writer = writerToUse;
    numSamples = numSamplesToUse;
}

FiltersProgressThread::~FiltersProgressThread() = default;

juce::String FiltersProgressThread::translate (const juce::String& text) const
{
    return project != nullptr ? project->translate (text) : text;
}

bool FiltersProgressThread::twoThreads() const
{
    return threadsToUse >= 2 && numChannels == 2;
}

void FiltersProgressThread::normalizeSamples()
{
    showStatus (translate ("Normalizing..."));
    setProgress (0.0);

    const juce::int64 total = (juce::int64) numSamples * numChannels;
    const juce::int64 stride = 65536;

    // The worker's share of the scan reports progress as the integer quotient: the bar stands
    // still while the peak is sought.
    auto scan = [this, total, stride] (juce::int64 from, juce::int64 to, bool report)
    {
        float peak = 0.0f;

        for (juce::int64 start = from; start < to; start += stride)
        {
            if (report)
                setProgress ((double) (start / total));

            peak = std::max (peak, peakOf (samples + start, std::min (to, start + stride) - start));
        }

        return peak;
    };

    float peak = 0.0f;

    if (twoThreads())
    {
        float halfPeaks[2] = {};
        inTwoHalves (total, [&] (int half, juce::int64 from, juce::int64 to)
                     { halfPeaks[half] = scan (from, to, half == 0); });
        peak = std::max (halfPeaks[0], halfPeaks[1]);
    }
    else
    {
        peak = scan (0, total, true);
    }

    // One divisor for every channel keeps their balance. A silent file divides 0 by 0.
    if (twoThreads())
        inTwoHalves (total, [this, peak] (int, juce::int64 from, juce::int64 to)
                     { divide (samples + from, to - from, peak); });
    else
        divide (samples, total, peak);
}

void FiltersProgressThread::setUpFilters()
{
    // Both filters are set up for each channel even when they are off; two channels at most.
    // The states always get 44100: there is no reader here to tell the file's rate.
    const double filterRate = 44100.0;

    for (int channel = 0; channel < std::min (numChannels, 2); ++channel)
    {
        declickers[channel] = std::make_unique<DeclickerState>();
        setupDeclicker (*declickers[channel], filterRate);
        declickers[channel]->threshold = (float) (2.0 - declickSensibility / 100.0);

        denoisers[channel] = std::make_unique<DenoiserState>();
        setupDenoiser (*denoisers[channel], filterRate);
        denoisers[channel]->threshold = (float) (denoiseThreshold / 100.0);
    }
}

void FiltersProgressThread::filterChannel (int channel, float* block)
{
    if (declickSensibility != -1)
        processDeclicker (*declickers[channel], block);

    if (denoiseThreshold != -1)
        processDenoiser (*denoisers[channel], block);
}

bool FiltersProgressThread::writeBlock (const float* interleaved)
{
    // The write path is stereo: 512 values, split into left and right in the top 16 bits.
    juce::int16 pcm[512];
    juce::int16 left[256], right[256];

    floatsToInt16 (interleaved, pcm, 512);

    for (int i = 0; i < 256; ++i)
    {
        left[i] = pcm[2 * i];
        right[i] = pcm[2 * i + 1];
    }

    return writeValues (left, right);
}

bool FiltersProgressThread::writeValues (const juce::int16* left, const juce::int16* right)
{
    if (writer->isFloatingPoint())
    {
        // A floating-point writer takes floats where the integer ones take integers.
        float leftFloats[256], rightFloats[256];

        for (int i = 0; i < 256; ++i)
        {
            leftFloats[i] = (float) left[i] / 32767.0f;
            rightFloats[i] = (float) right[i] / 32767.0f;
        }

        const float* floats[] = { leftFloats, rightFloats, nullptr };
        return writer->write (reinterpret_cast<const int**> (floats), 256);
    }

    int leftInts[256], rightInts[256];

    for (int i = 0; i < 256; ++i)
    {
        leftInts[i] = inTopBits (left[i]);
        rightInts[i] = inTopBits (right[i]);
    }

    const int* channels[] = { leftInts, rightInts, nullptr };
    return writer->write (channels, 256);
}

bool FiltersProgressThread::filterBlocksTogether()
{
    const int filteredChannels = std::min (numChannels, 2);
    juce::HeapBlock<float> work ((size_t) numChannels * 256);
    juce::HeapBlock<float> outputBlock ((size_t) std::max (512, numChannels * 256), true);

    const juce::int64 total = (juce::int64) numSamples * numChannels;
    const juce::int64 entriesPerBlock = (juce::int64) numChannels * 256;
    int frameCount = 0;

    for (juce::int64 start = 0; start + entriesPerBlock <= total; start += entriesPerBlock)
    {
        if (threadShouldExit())
            return false;

        setProgress ((double) frameCount / numSamples);
        frameCount += 256;

        const float* in = samples + start;

        for (int channel = 0; channel < numChannels; ++channel)
            for (int i = 0; i < 256; ++i)
                work[channel * 256 + i] = in[i * numChannels + channel];

        // Per channel: declicker, then denoiser. The channels never meet, so a stereo pair's
        // declickers run side by side.
        if (declickSensibility != -1)
        {
            if (filteredChannels == 2)
                processDeclickerPair (*declickers[0], work, *declickers[1], work + 256);
            else if (filteredChannels == 1)
                processDeclicker (*declickers[0], work);
        }

        if (denoiseThreshold != -1)
            for (int channel = 0; channel < filteredChannels; ++channel)
                processDenoiser (*denoisers[channel], work + channel * 256);

        for (int channel = 0; channel < numChannels; ++channel)
            for (int i = 0; i < 256; ++i)
                outputBlock[i * numChannels + channel] = work[channel * 256 + i] * outputScale;

        if (! writeBlock (outputBlock))
            break;
    }

    return true;
}

bool FiltersProgressThread::filterChannelsApart()
{
    // The right channel runs ahead on its own thread, from its samples to its 16-bit values, and
    // leaves each block's values in its own places in the samples; this thread does the same for
    // the left channel, waits for the right one's block where needed, and writes. The conversion
    // works value by value, so each channel may be cut to 16 bits on its own.
    const int numBlocks = numSamples / 256;
    float* const all = samples;

    if (threadShouldExit())
        return false;

    ChannelAhead right (numBlocks,
                        [this, all] (int block)
                        {
                            if (threadShouldExit())
                                return false; // a cancel stops this side at once

                            float work[256];
                            juce::int16 values[256];
                            float* frames = all + (juce::int64) block * 512;

                            for (int i = 0; i < 256; ++i)
                                work[i] = frames[2 * i + 1];

                            filterChannel (1, work);
                            scale (work);
                            floatsToInt16 (work, values, 256);

                            for (int i = 0; i < 256; ++i)
                                frames[2 * i + 1] = (float) values[i]; // a whole number, held exactly

                            return true;
                        });

    float work[256];
    juce::int16 values[256], rightValues[256];

    for (int block = 0; block < numBlocks; ++block)
    {
        if (threadShouldExit())
            return false;

        setProgress ((double) (block * 256) / numSamples);

        const float* frames = all + (juce::int64) block * 512;

        for (int i = 0; i < 256; ++i)
            work[i] = frames[2 * i];

        filterChannel (0, work);
        scale (work);
        floatsToInt16 (work, values, 256);

        if (! right.waitFor (block))
            return false; // stopped by a cancel

        for (int i = 0; i < 256; ++i)
            rightValues[i] = (juce::int16) frames[2 * i + 1];

        if (! writeValues (values, rightValues))
            break;
    }

    return true;
}

void FiltersProgressThread::run()
{
    finished = false;

    if (normalize)
        normalizeSamples();

    setUpFilters();
    showStatus (translate ("Applying filters..."));

    // A cancel returns at once: `finished` stays false.
    if (! (twoThreads() ? filterChannelsApart() : filterBlocksTogether()))
        return;

    setProgress (1.0);
    finished = true;
}
