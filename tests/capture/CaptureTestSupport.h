#pragma once

// What the capture tests share: a recorder of the engine's events, a message loop to deliver
// them, and readers of the files the engine wrote.
#include "capture/Audio.h"
#include "capture/TrackWriter.h"
#include "project/Project.h"

#include <juce_audio_formats/juce_audio_formats.h>

#include <functional>
#include <vector>

/** Every event of the engine, in the order of arrival on the message thread. */
class EventLog : public juce::ActionListener
{
public:
    void actionListenerCallback (const juce::String& message) override { events.add (message); }

    /** The events without the "TRACK TIME " ones. */
    juce::StringArray withoutTimes() const
    {
        juce::StringArray result;
        for (const auto& event : events)
            if (! event.startsWith ("TRACK TIME"))
                result.add (event);
        return result;
    }

    juce::StringArray events;
};

/** Runs the message loop until `done` says so, or for at most `timeoutMs`. */
inline bool pumpUntil (const std::function<bool()>& done, int timeoutMs = 10000)
{
    const auto end = juce::Time::getMillisecondCounter() + static_cast<juce::uint32> (timeoutMs);
    while (! done())
    {
        if (juce::Time::getMillisecondCounter() > end)
            return false;
        juce::MessageManager::getInstance()->runDispatchLoopUntil (5);
    }
    return true;
}

/** Delivers the messages posted so far. */
inline void pumpMessages()
{
    juce::MessageManager::getInstance()->runDispatchLoopUntil (50);
}

/** The samples of a 16-bit WAV file. */
struct WavContents
{
    bool valid = false;
    double sampleRate = 0;
    int numChannels = 0;
    int bitsPerSample = 0;
    std::vector<int> left, right;
};

inline WavContents readWav (const juce::File& file)
{
    WavContents contents;
    if (! file.existsAsFile())
        return contents;

    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatReader> reader (wav.createReaderFor (file.createInputStream().release(), true));
    if (reader == nullptr)
        return contents;

    contents.valid = true;
    contents.sampleRate = reader->sampleRate;
    contents.numChannels = static_cast<int> (reader->numChannels);
    contents.bitsPerSample = static_cast<int> (reader->bitsPerSample);

    const auto length = static_cast<int> (reader->lengthInSamples);
    std::vector<int> left ((size_t) length), right ((size_t) length);
    int* channels[2] = { left.data(), right.data() };
    reader->read (channels, 2, 0, length, false);

    // 16-bit samples arrive left-justified in 32 bits.
    for (int i = 0; i < length; ++i)
    {
        left[(size_t) i] /= 65536;
        right[(size_t) i] /= 65536;
    }

    contents.left = std::move (left);
    contents.right = std::move (right);
    return contents;
}

/** A float as the track files store it. */
inline int to16Bits (float value)
{
    return juce::roundToInt (juce::jlimit (-32767.0, 32767.0, 32767.0 * value));
}

inline std::vector<int> to16Bits (const std::vector<float>& values)
{
    std::vector<int> result;
    result.reserve (values.size());
    for (auto value : values)
        result.push_back (to16Bits (value));
    return result;
}

/** The capture's level scale for one block: 80 times the mean of the channels' RMS. */
inline float levelIndexOf (const float* left, const float* right, int numSamples)
{
    float* channels[2] = { const_cast<float*> (left), const_cast<float*> (right) };
    juce::AudioBuffer<float> block (channels, 2, numSamples);
    const float rmsLeft = block.getRMSLevel (0, 0, numSamples);
    const float rmsRight = block.getRMSLevel (1, 0, numSamples);
    return static_cast<float> (80.0 * static_cast<float> ((rmsLeft + rmsRight) * 0.5));
}
