#pragma once

// What the capture tests share: an audio device driven block by block by the test, a recorder
// of the engine's events, and readers of the files it wrote.
#include "capture/Audio.h"
#include "capture/TrackWriter.h"
#include "project/Project.h"

#include <juce_audio_formats/juce_audio_formats.h>

#include <functional>
#include <vector>

/** An audio device whose blocks come from the test, on the test's thread. */
class FakeAudioDevice : public juce::AudioIODevice
{
public:
    FakeAudioDevice (int numInputsToUse, double rate, int blockSize)
        : juce::AudioIODevice ("Test Device", "Test"),
          numInputs (numInputsToUse),
          sampleRate (rate),
          bufferSize (blockSize)
    {
    }

    ~FakeAudioDevice() override { close(); }

    juce::StringArray getOutputChannelNames() override { return { "Out 1", "Out 2" }; }

    juce::StringArray getInputChannelNames() override
    {
        juce::StringArray names;
        for (int i = 0; i < numInputs; ++i)
            names.add ("In " + juce::String (i + 1));
        return names;
    }

    juce::Array<double> getAvailableSampleRates() override { return { sampleRate }; }
    juce::Array<int> getAvailableBufferSizes() override { return { bufferSize }; }
    int getDefaultBufferSize() override { return bufferSize; }

    juce::String open (const juce::BigInteger& inputs, const juce::BigInteger& outputs, double, int) override
    {
        activeInputs = inputs;
        activeInputs.setRange (numInputs, 64, false);
        activeOutputs = outputs;
        activeOutputs.setRange (2, 64, false);
        opened = true;
        return {};
    }

    void close() override
    {
        stop();
        opened = false;
    }

    bool isOpen() override { return opened; }

    void start (juce::AudioIODeviceCallback* newCallback) override
    {
        if (!opened || newCallback == callback)
            return;

        if (newCallback != nullptr)
            newCallback->audioDeviceAboutToStart (this);

        juce::AudioIODeviceCallback* old = nullptr;
        {
            const juce::ScopedLock sl (lock);
            old = callback;
            callback = newCallback;
        }

        if (old != nullptr)
            old->audioDeviceStopped();
    }

    void stop() override { start (nullptr); }
    bool isPlaying() override { return callback != nullptr; }
    juce::String getLastError() override { return {}; }
    int getCurrentBufferSizeSamples() override { return bufferSize; }
    double getCurrentSampleRate() override { return sampleRate; }
    int getCurrentBitDepth() override { return 32; }
    juce::BigInteger getActiveOutputChannels() const override { return activeOutputs; }
    juce::BigInteger getActiveInputChannels() const override { return activeInputs; }
    int getOutputLatencyInSamples() override { return 0; }
    int getInputLatencyInSamples() override { return 0; }

    /** One block through the device's callback, as the device's thread would deliver it. The
        input buffers are the device's: the capture filters them in place. */
    void deliver (const std::vector<float*>& inputs, const std::vector<float*>& outputs, int numSamples)
    {
        const juce::ScopedLock sl (lock);
        if (callback != nullptr)
            callback->audioDeviceIOCallbackWithContext (inputs.data(), static_cast<int> (inputs.size()), outputs.data(),
                                                        static_cast<int> (outputs.size()), numSamples, {});
    }

private:
    const int numInputs;
    const double sampleRate;
    const int bufferSize;
    bool opened = false;
    juce::BigInteger activeInputs, activeOutputs;
    juce::CriticalSection lock;
    juce::AudioIODeviceCallback* callback = nullptr;
};

/** The device type "Test", with one device. */
class FakeAudioDeviceType : public juce::AudioIODeviceType
{
public:
    FakeAudioDeviceType (int numInputsToUse, double rate, int blockSize)
        : juce::AudioIODeviceType ("Test"),
          numInputs (numInputsToUse),
          sampleRate (rate),
          bufferSize (blockSize)
    {
    }

    void scanForDevices() override {}
    juce::StringArray getDeviceNames (bool) const override { return { "Test Device" }; }
    int getDefaultDeviceIndex (bool) const override { return 0; }
    int getIndexOfDevice (juce::AudioIODevice* device, bool) const override { return device != nullptr ? 0 : -1; }
    bool hasSeparateInputsAndOutputs() const override { return false; }

    juce::AudioIODevice* createDevice (const juce::String&, const juce::String&) override
    {
        // The device manager owns what it is given here.
        auto device = std::make_unique<FakeAudioDevice> (numInputs, sampleRate, bufferSize);
        lastDevice = device.get();
        return device.release();
    }

    FakeAudioDevice* lastDevice = nullptr;

private:
    const int numInputs;
    const double sampleRate;
    const int bufferSize;
};

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
            if (!event.startsWith ("TRACK TIME"))
                result.add (event);
        return result;
    }

    juce::StringArray events;
};

/** Runs the message loop until `done` says so, or for at most `timeoutMs`. */
inline bool pumpUntil (const std::function<bool()>& done, int timeoutMs = 10000)
{
    const auto end = juce::Time::getMillisecondCounter() + static_cast<juce::uint32> (timeoutMs);
    while (!done())
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
    if (!file.existsAsFile())
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
