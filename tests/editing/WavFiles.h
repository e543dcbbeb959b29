#pragma once

// Audio files written and read back for the editing tests, and a hand on the Cancel button of
// the progress window that is running.
#include "support/TestHelpers.h"

#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <atomic>
#include <cmath>
#include <functional>
#include <vector>

namespace WavFiles
{
/** Samples per channel as integers at the file's depth. */
struct Audio
{
    double rate = 44100.0;
    int bits = 16;
    std::vector<std::vector<int>> channels;
    juce::StringPairArray metadata;

    int frames() const { return channels.empty() ? 0 : (int) channels[0].size(); }
};

inline juce::File folder()
{
    auto dir = testHome().getChildFile ("editing");
    dir.createDirectory();
    return dir;
}

inline void write (const juce::File& file, const Audio& audio)
{
    file.deleteFile();
    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatWriter> writer (
        wav.createWriterFor (file.createOutputStream().release(), audio.rate, (unsigned int) audio.channels.size(),
                             audio.bits, audio.metadata, 0));
    jassert (writer != nullptr);

    std::vector<std::vector<int>> justified (audio.channels.size());
    std::vector<const int*> pointers;

    for (size_t c = 0; c < audio.channels.size(); ++c)
    {
        for (int value : audio.channels[c])
            justified[c].push_back ((int) ((juce::uint32) value << (32 - audio.bits)));

        pointers.push_back (justified[c].data());
    }

    pointers.push_back (nullptr);
    writer->write (pointers.data(), audio.frames());
}

inline Audio read (const juce::File& file)
{
    Audio audio;
    auto stream = file.createInputStream();

    if (stream == nullptr)
        return audio;

    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatReader> reader (wav.createReaderFor (stream.release(), true));

    if (reader == nullptr)
        return audio;

    audio.rate = reader->sampleRate;
    audio.bits = (int) reader->bitsPerSample;
    audio.metadata = reader->metadataValues;
    const int frames = (int) reader->lengthInSamples;
    audio.channels.assign (reader->numChannels, std::vector<int> ((size_t) frames));
    std::vector<int*> pointers;

    for (auto& channel : audio.channels)
        pointers.push_back (channel.data());

    if (frames > 0)
        reader->read (pointers.data(), (int) pointers.size(), 0, frames, false);

    for (auto& channel : audio.channels)
        for (auto& value : channel)
            value >>= 32 - audio.bits;

    return audio;
}

/** A stereo 16-bit tone, the right channel at another pitch and level. */
inline Audio tone (int frames, double rate = 44100.0, double hz = 440.0, double level = 0.5)
{
    Audio audio;
    audio.rate = rate;
    audio.channels.assign (2, std::vector<int> ((size_t) frames));

    for (int n = 0; n < frames; ++n)
    {
        audio.channels[0][(size_t) n] =
            (int) std::lround (32767.0 * level * std::sin (6.283185307179586 * hz * n / rate));
        audio.channels[1][(size_t) n] =
            (int) std::lround (32767.0 * level * 0.5 * std::sin (6.283185307179586 * hz * 1.5 * n / rate));
    }

    return audio;
}

/** Sign changes of a channel over a stretch, as a measure of its pitch. */
inline int signChanges (const std::vector<int>& samples, int from, int to)
{
    int changes = 0;

    for (int n = from + 1; n < to; ++n)
        if ((samples[(size_t) n - 1] < 0) != (samples[(size_t) n] < 0))
            ++changes;

    return changes;
}

/**
    Once `condition` holds (checked every few milliseconds on the message thread while the
    window's modal loop runs), presses Cancel in the progress window, or, given the worker,
    asks it to exit at once.
*/
class CancelWhen : private juce::Timer
{
public:
    explicit CancelWhen (std::function<bool()> conditionToWaitFor, juce::Thread* workerToSignal = nullptr)
        : condition (std::move (conditionToWaitFor)),
          worker (workerToSignal)
    {
        startTimer (1);
    }

    ~CancelWhen() override { stopTimer(); }

    bool pressed = false;
    juce::String windowTitle;

private:
    void timerCallback() override
    {
        if (pressed || ! condition())
            return;

        if (auto* window = dynamic_cast<juce::AlertWindow*> (juce::Component::getCurrentlyModalComponent()))
        {
            for (auto* child : window->getChildren())
            {
                if (auto* button = dynamic_cast<juce::TextButton*> (child))
                {
                    if (button->getButtonText() == "Cancel")
                    {
                        windowTitle = window->getName();
                        pressed = true;
                        button->triggerClick();
                        stopTimer();
                        return;
                    }
                }
            }
        }
    }

    std::function<bool()> condition;
    juce::Thread* worker;
};
/** A reader that tells, before each read, which reader it is and how far the read will reach. */
class WatchedReader : public juce::AudioFormatReader
{
public:
    using Callback = std::function<void (int readerIndex, juce::int64 readEnd)>;

    WatchedReader (std::unique_ptr<juce::AudioFormatReader> source, int index, Callback callbackToUse)
        : juce::AudioFormatReader (nullptr, source->getFormatName()),
          inner (std::move (source)),
          readerIndex (index),
          callback (std::move (callbackToUse))
    {
        sampleRate = inner->sampleRate;
        bitsPerSample = inner->bitsPerSample;
        lengthInSamples = inner->lengthInSamples;
        numChannels = inner->numChannels;
        usesFloatingPointData = inner->usesFloatingPointData;
        metadataValues = inner->metadataValues;
    }

    bool readSamples (int* const* destChannels, int numDestChannels, int startOffsetInDestBuffer,
                      juce::int64 startSampleInFile, int numSamples) override
    {
        if (callback)
            callback (readerIndex, startSampleInFile + numSamples);

        return inner->readSamples (destChannels, numDestChannels, startOffsetInDestBuffer, startSampleInFile,
                                   numSamples);
    }

private:
    std::unique_ptr<juce::AudioFormatReader> inner;
    int readerIndex;
    Callback callback;
};

/** WAV, read through WatchedReaders numbered in the order they are made. */
class WatchedWavFormat : public juce::WavAudioFormat
{
public:
    explicit WatchedWavFormat (WatchedReader::Callback callbackToUse)
        : callback (std::move (callbackToUse))
    {
    }

    juce::AudioFormatReader* createReaderFor (juce::InputStream* stream, bool deleteStreamIfOpeningFails) override
    {
        std::unique_ptr<juce::AudioFormatReader> inner (
            juce::WavAudioFormat::createReaderFor (stream, deleteStreamIfOpeningFails));

        if (inner == nullptr)
            return nullptr;

        return std::make_unique<WatchedReader> (std::move (inner), readersMade++, callback).release();
    }

private:
    WatchedReader::Callback callback;
    int readersMade = 0;
};

/** Makes a worker's format manager read WAV through watched readers. */
inline void watchReading (juce::AudioFormatManager& formats, WatchedReader::Callback callback)
{
    formats.clearFormats();
    formats.registerFormat (std::make_unique<WatchedWavFormat> (std::move (callback)).release(), true);
}

/** Asks the worker to exit, from inside its own read, once reader `index` reads past `frame`. */
inline WatchedReader::Callback exitAfter (juce::Thread& worker, int index, juce::int64 frame, std::atomic<bool>& asked)
{
    return [&worker, index, frame, &asked] (int reader, juce::int64 readEnd)
    {
        if (reader == index && readEnd > frame && ! asked.exchange (true))
            worker.signalThreadShouldExit();
    };
}
} // namespace WavFiles
