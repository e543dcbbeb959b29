#include "encoding/ReplayGainMeter.h"

#include <ebur128.h>

#include <algorithm>
#include <cmath>

/** One track's loudness measurement. */
struct ReplayGainMeter::Measurement
{
    Measurement (double rate, int channels)
        : state (ebur128_init ((unsigned int) channels, (unsigned long) juce::jmax (1.0, rate),
                               EBUR128_MODE_I | EBUR128_MODE_SAMPLE_PEAK))
    {
    }

    ~Measurement()
    {
        if (state != nullptr)
            ebur128_destroy (&state);
    }

    double peak() const
    {
        double largest = 0.0;
        for (unsigned int channel = 0; state != nullptr && channel < state->channels; ++channel)
        {
            double value = 0.0;
            if (ebur128_sample_peak (state, channel, &value) == EBUR128_SUCCESS)
                largest = juce::jmax (largest, value);
        }
        return largest;
    }

    ebur128_state* state;

    JUCE_DECLARE_NON_COPYABLE (Measurement)
};

/** Interleaved float frames on their way to the meter's thread. */
struct ReplayGainMeter::Block
{
    std::vector<float> samples = std::vector<float> ((size_t) blockFrames * 2);
    int frames = 0;
    Measurement* target = nullptr;
};

namespace
{
/** A gain or loudness that libebur128 could not give, as for a track of silence. */
bool isMeasured (double value)
{
    return std::isfinite (value);
}
} // namespace

ReplayGainMeter::ReplayGainMeter (bool shouldMeasureLoudness)
    : measureLoudness (shouldMeasureLoudness)
{
    if (measureLoudness)
        thread = std::thread ([this] { measureBlocks(); });
}

ReplayGainMeter::~ReplayGainMeter()
{
    if (thread.joinable())
    {
        {
            const std::lock_guard<std::mutex> guard (lock);
            stopping = true;
        }
        changed.notify_all();
        thread.join();
    }
}

//==============================================================================
void ReplayGainMeter::startTrack (double rate, int channels)
{
    // A track that was never finished is not part of the album.
    endCurrent();

    sampleRate = rate;
    trackChannels = juce::jlimit (1, 2, channels);
    frameCount = 0;
    trackStarted = true;

    if (measureLoudness && rate > 0.0)
    {
        auto measurement = std::make_unique<Measurement> (rate, trackChannels);
        if (measurement->state != nullptr)
            current = std::move (measurement);
    }
}

template <typename Convert>
void ReplayGainMeter::addFrames (int frames, Convert&& convert)
{
    if (! trackStarted || frames <= 0)
        return;

    frameCount += frames;
    if (current == nullptr)
        return;

    for (int done = 0; done < frames;)
    {
        if (filling == nullptr)
        {
            filling = takeFreeBlock();
            filling->frames = 0;
            filling->target = current.get();
        }

        const int count = juce::jmin (frames - done, blockFrames - filling->frames);
        convert (filling->samples.data() + trackChannels * filling->frames, done, count);
        filling->frames += count;
        done += count;

        if (filling->frames == blockFrames)
            submitFilling();
    }
}

void ReplayGainMeter::addSamples (const int* const* channels, int frames)
{
    // The convertors' samples are always two channels.
    if (trackChannels != 2)
    {
        jassertfalse;
        return;
    }

    // Left-justified: full scale is 2^31, whatever the source's depth was.
    constexpr float scale = 1.0f / 2147483648.0f;
    addFrames (frames,
               [channels] (float* out, int from, int count)
               {
                   const int* left = channels[0] + from;
                   const int* right = channels[1] + from;
                   for (int i = 0; i < count; ++i)
                   {
                       out[2 * i] = (float) left[i] * scale;
                       out[2 * i + 1] = (float) right[i] * scale;
                   }
               });
}

void ReplayGainMeter::addSamples (const float* const* channels, int frames)
{
    if (trackChannels == 1)
    {
        addFrames (frames, [channels] (float* out, int from, int count)
                   { std::copy (channels[0] + from, channels[0] + from + count, out); });
        return;
    }

    addFrames (frames,
               [channels] (float* out, int from, int count)
               {
                   const float* left = channels[0] + from;
                   const float* right = channels[1] + from;
                   for (int i = 0; i < count; ++i)
                   {
                       out[2 * i] = left[i];
                       out[2 * i + 1] = right[i];
                   }
               });
}

void ReplayGainMeter::addSamples (const juce::int16* interleaved, int frames)
{
    if (trackChannels != 2)
    {
        jassertfalse;
        return;
    }

    constexpr float scale = 1.0f / 32768.0f;
    addFrames (frames,
               [interleaved] (float* out, int from, int count)
               {
                   const juce::int16* in = interleaved + 2 * from;
                   for (int i = 0; i < 2 * count; ++i)
                       out[i] = (float) in[i] * scale;
               });
}

//==============================================================================
std::unique_ptr<ReplayGainMeter::Block> ReplayGainMeter::takeFreeBlock()
{
    std::unique_lock<std::mutex> guard (lock);

    // A few blocks in flight let the worker run ahead; beyond them it waits for the meter.
    if (freeBlocks.empty() && blocksMade < mostBlocks)
    {
        ++blocksMade;
        return std::make_unique<Block>();
    }

    changed.wait (guard, [this] { return ! freeBlocks.empty(); });
    auto block = std::move (freeBlocks.back());
    freeBlocks.pop_back();
    return block;
}

void ReplayGainMeter::submitFilling()
{
    if (filling == nullptr)
        return;

    {
        const std::lock_guard<std::mutex> guard (lock);
        waiting.push_back (std::move (filling));
    }
    changed.notify_all();
}

void ReplayGainMeter::waitUntilMeasured()
{
    submitFilling();

    std::unique_lock<std::mutex> guard (lock);
    changed.wait (guard, [this] { return waiting.empty() && ! measuring; });
}

void ReplayGainMeter::measureBlocks()
{
    std::unique_lock<std::mutex> guard (lock);

    for (;;)
    {
        changed.wait (guard, [this] { return stopping || ! waiting.empty(); });
        if (waiting.empty())
            return;

        auto block = std::move (waiting.front());
        waiting.pop_front();
        measuring = true;
        guard.unlock();

        ebur128_add_frames_float (block->target->state, block->samples.data(), (size_t) block->frames);

        guard.lock();
        freeBlocks.push_back (std::move (block));
        measuring = false;
        changed.notify_all();
    }
}

void ReplayGainMeter::endCurrent()
{
    if (current != nullptr)
        waitUntilMeasured();

    filling.reset();
    current.reset();
    trackStarted = false;
}

//==============================================================================
std::optional<ReplayGainMeter::Track> ReplayGainMeter::finishTrack()
{
    if (! trackStarted)
        return std::nullopt;

    Track track;
    track.seconds = sampleRate > 0.0 ? (double) frameCount / sampleRate : 0.0;

    if (current != nullptr)
    {
        waitUntilMeasured();

        double loudness = 0.0;
        if (ebur128_loudness_global (current->state, &loudness) == EBUR128_SUCCESS && isMeasured (loudness))
        {
            track.measured = true;
            track.replayGain = ReplayGain{ referenceLoudness - loudness, current->peak() };
        }

        finished.push_back (std::move (current));
    }

    filling.reset();
    trackStarted = false;
    return track;
}

void ReplayGainMeter::discardTrack()
{
    endCurrent();
}

std::optional<ReplayGain> ReplayGainMeter::albumGain() const
{
    if (finished.empty())
        return std::nullopt;

    std::vector<ebur128_state*> states;
    double peak = 0.0;
    for (const auto& measurement : finished)
    {
        states.push_back (measurement->state);
        peak = juce::jmax (peak, measurement->peak());
    }

    double loudness = 0.0;
    if (ebur128_loudness_global_multiple (states.data(), states.size(), &loudness) != EBUR128_SUCCESS ||
        ! isMeasured (loudness))
        return std::nullopt;

    return ReplayGain{ referenceLoudness - loudness, peak };
}

//==============================================================================
juce::String ReplayGainMeter::gainText (double gain)
{
    // Rounded first, so that a gain just below zero does not show as "-0.00".
    auto rounded = std::round (gain * 100.0) / 100.0;
    if (rounded == 0.0)
        rounded = 0.0;
    return juce::String (rounded, 2) + " dB";
}

juce::String ReplayGainMeter::peakText (double peak)
{
    return juce::String (juce::jmax (0.0, peak), 6);
}
