#pragma once

#include <juce_audio_devices/juce_audio_devices.h>

#include <atomic>
#include <memory>

/**
    A device type of the tests' own, with one device "Test Device" whose callback the test
    drives itself, block by block, instead of a sound card.
*/
class TestDeviceType : public juce::AudioIODeviceType
{
public:
    TestDeviceType();

    void scanForDevices() override {}
    juce::StringArray getDeviceNames (bool) const override { return { "Test Device" }; }
    int getDefaultDeviceIndex (bool) const override { return 0; }
    int getIndexOfDevice (juce::AudioIODevice*, bool) const override { return 0; }
    bool hasSeparateInputsAndOutputs() const override { return false; }
    juce::AudioIODevice* createDevice (const juce::String& outputName, const juce::String& inputName) override;
};

class TestDevice : public juce::AudioIODevice
{
public:
    TestDevice();

    juce::StringArray getOutputChannelNames() override { return { "out 1", "out 2" }; }
    juce::StringArray getInputChannelNames() override { return { "in 1", "in 2" }; }
    juce::Array<double> getAvailableSampleRates() override { return { 44100.0, 48000.0 }; }
    juce::Array<int> getAvailableBufferSizes() override { return { 512 }; }
    int getDefaultBufferSize() override { return 512; }

    juce::String open (const juce::BigInteger& inputs, const juce::BigInteger& outputs, double rate,
                       int bufferSize) override;
    void close() override { isOpenFlag = false; }
    bool isOpen() override { return isOpenFlag; }
    void start (juce::AudioIODeviceCallback* callback) override;
    void stop() override;
    bool isPlaying() override { return current != nullptr; }
    juce::String getLastError() override { return {}; }
    int getCurrentBufferSizeSamples() override { return 512; }
    double getCurrentSampleRate() override { return sampleRate; }
    int getCurrentBitDepth() override { return 16; }
    juce::BigInteger getActiveOutputChannels() const override { return activeOutputs; }
    juce::BigInteger getActiveInputChannels() const override { return activeInputs; }
    int getOutputLatencyInSamples() override { return 0; }
    int getInputLatencyInSamples() override { return 0; }

    /** Runs blocks through the callback in force, with silent inputs, and returns what reached
        the two outputs, one block after the other. */
    juce::AudioBuffer<float> runBlocks (int numBlocks);

    /** Keeps blocks running on a thread of its own while it lives, their output dropped: for
        operations that wait for the audio thread to take notice. */
    class BackgroundBlocks : private juce::Thread
    {
    public:
        explicit BackgroundBlocks (TestDevice& device);
        ~BackgroundBlocks() override;

    private:
        void run() override;
        TestDevice& device;
    };

    std::unique_ptr<BackgroundBlocks> runBlocksInBackground();

private:
    bool isOpenFlag = false;
    double sampleRate = 44100.0;
    juce::BigInteger activeInputs, activeOutputs;
    std::atomic<juce::AudioIODeviceCallback*> current{ nullptr };
};
