#pragma once

// An audio device of the test's own, whose blocks the test delivers one at a time.
#include <juce_audio_devices/juce_audio_devices.h>

#include <memory>
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
        if (! opened || newCallback == callback)
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
