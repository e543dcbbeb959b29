#pragma once

// The tests' own sound card: a device whose blocks the test delivers itself, one at a time or
// from a thread of its own, in place of a real driver.
#include <juce_audio_devices/juce_audio_devices.h>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

/** An audio device whose blocks come from the test, on the test's thread. */
class FakeAudioDevice : public juce::AudioIODevice
{
public:
    /** `rate` is the device's first rate; `otherRates` are offered too and may be chosen. */
    FakeAudioDevice (int numInputsToUse, double rate, int blockSize, juce::Array<double> otherRates = {})
        : juce::AudioIODevice ("Test Device", "Test"),
          numInputs (numInputsToUse),
          rates (otherRates),
          sampleRate (rate),
          bufferSize (blockSize)
    {
        rates.insert (0, rate);
    }

    ~FakeAudioDevice() override
    {
        // Blocks running in the background end before the device they run on goes.
        if (background != nullptr)
            background->deviceGoes();
        close();
    }

    /** Blocks delivered by the driver loops of every device of this kind, while they ran. */
    static std::atomic<int>& driverLoopBlocks()
    {
        static std::atomic<int> blocks{ 0 };
        return blocks;
    }

    juce::StringArray getOutputChannelNames() override { return { "Out 1", "Out 2" }; }

    juce::StringArray getInputChannelNames() override
    {
        juce::StringArray names;
        for (int i = 0; i < numInputs; ++i)
            names.add ("In " + juce::String (i + 1));
        return names;
    }

    juce::Array<double> getAvailableSampleRates() override { return rates; }
    juce::Array<int> getAvailableBufferSizes() override { return { bufferSize }; }
    int getDefaultBufferSize() override { return bufferSize; }

    juce::String open (const juce::BigInteger& inputs, const juce::BigInteger& outputs, double requestedRate,
                       int) override
    {
        if (rates.contains (requestedRate))
            sampleRate = requestedRate;
        activeInputs = inputs;
        activeInputs.setRange (numInputs, 64, false);
        activeOutputs = outputs;
        activeOutputs.setRange (2, 64, false);
        opened = true;
        return {};
    }

    void close() override
    {
        // As with a real driver, closing the device ends its thread.
        driverLoop.reset();
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

    bool isPlaying() override
    {
        const juce::ScopedLock sl (lock);
        return callback != nullptr;
    }

    juce::String getLastError() override { return {}; }
    int getXRunCount() const noexcept override { return xruns.load(); }

    /** The driver reports `count` more xruns, as after missed deadlines. */
    void addXRuns (int count) { xruns += count; }
    int getCurrentBufferSizeSamples() override { return bufferSize; }
    double getCurrentSampleRate() override { return sampleRate; }
    int getCurrentBitDepth() override { return 32; }
    juce::BigInteger getActiveOutputChannels() const override { return activeOutputs; }
    juce::BigInteger getActiveInputChannels() const override { return activeInputs; }
    int getOutputLatencyInSamples() override { return 0; }
    int getInputLatencyInSamples() override { return 0; }

    /** One block through the device's callback, as the device's thread would deliver it. The
        buffers are the device's own, as a driver's are. */
    void deliver (const std::vector<float*>& inputs, const std::vector<float*>& outputs, int numSamples,
                  const uint64_t* hostTimeNs = nullptr)
    {
        const juce::ScopedLock sl (lock);
        juce::AudioIODeviceCallbackContext context;
        context.hostTimeNs = hostTimeNs;
        if (callback != nullptr)
            callback->audioDeviceIOCallbackWithContext (inputs.data(), static_cast<int> (inputs.size()), outputs.data(),
                                                        static_cast<int> (outputs.size()), numSamples, context);
    }

    /** Runs blocks with silent inputs and returns what reached the two outputs, one block after
        the other. */
    juce::AudioBuffer<float> runBlocks (int numBlocks)
    {
        juce::AudioBuffer<float> result (2, juce::jmax (0, numBlocks) * bufferSize);
        result.clear();
        juce::AudioBuffer<float> inputs (juce::jmax (1, numInputs), bufferSize), outputs (2, bufferSize);

        for (int block = 0; block < numBlocks; ++block)
        {
            inputs.clear();
            outputs.clear();
            std::vector<float*> inputPointers (inputs.getArrayOfWritePointers(),
                                               inputs.getArrayOfWritePointers() + numInputs);
            deliver (inputPointers, { outputs.getWritePointer (0), outputs.getWritePointer (1) }, bufferSize);
            for (int channel = 0; channel < 2; ++channel)
                result.copyFrom (channel, block * bufferSize, outputs, channel, 0, bufferSize);
        }

        return result;
    }

    /** Keeps blocks running on a thread of its own while it lives, their output dropped: for
        operations that wait for the audio thread to take notice. When the device goes first (its
        owner, the device manager, is deleted while the blocks run), the blocks end with it. */
    class BackgroundBlocks : private juce::Thread
    {
    public:
        explicit BackgroundBlocks (FakeAudioDevice& deviceToRun)
            : juce::Thread ("Test device blocks"),
              device (&deviceToRun)
        {
            device->background = this;
            startThread();
        }

        ~BackgroundBlocks() override
        {
            stopThread (5000);
            if (device != nullptr)
                device->background = nullptr;
        }

    private:
        friend class FakeAudioDevice;

        void deviceGoes()
        {
            stopThread (5000);
            device = nullptr;
        }

        void run() override
        {
            while (! threadShouldExit())
            {
                device->runBlocks (1);
                wait (1);
            }
        }

        FakeAudioDevice* device;
    };

    std::unique_ptr<BackgroundBlocks> runBlocksInBackground() { return std::make_unique<BackgroundBlocks> (*this); }

    /** What a driver loop puts in the inputs of its block number `index` (they come cleared). */
    using BlockSource = std::function<void (int index, juce::AudioBuffer<float>& inputs)>;

    /** A thread of the device's own delivers blocks, as a driver's thread does, until the device
        is closed: their inputs from `source` (silence without one), with `pauseMs` between them.
        With no pause it is a driver gone wrong, calling back in a tight loop. */
    void startDriverLoop (BlockSource source = {}, int pauseMs = 0)
    {
        driverLoop = std::make_unique<DriverLoop> (*this, std::move (source), pauseMs);
    }

    bool isDriverLoopRunning() const { return driverLoop != nullptr; }

private:
    class DriverLoop : private juce::Thread
    {
    public:
        DriverLoop (FakeAudioDevice& deviceToRun, BlockSource sourceToUse, int pause)
            : juce::Thread ("Test driver loop"),
              device (deviceToRun),
              source (std::move (sourceToUse)),
              pauseMs (pause)
        {
            startThread();
        }

        ~DriverLoop() override { stopThread (10000); }

    private:
        void run() override
        {
            const int size = device.bufferSize;
            juce::AudioBuffer<float> inputs (juce::jmax (1, device.numInputs), size), outputs (2, size);

            for (int index = 0; ! threadShouldExit(); ++index)
            {
                inputs.clear();
                if (source)
                    source (index, inputs);
                std::vector<float*> inputPointers (inputs.getArrayOfWritePointers(),
                                                   inputs.getArrayOfWritePointers() + device.numInputs);
                device.deliver (inputPointers, { outputs.getWritePointer (0), outputs.getWritePointer (1) }, size);
                ++driverLoopBlocks();
                if (pauseMs > 0)
                    wait (pauseMs);
            }
        }

        FakeAudioDevice& device;
        BlockSource source;
        const int pauseMs;
    };

    const int numInputs;
    juce::Array<double> rates;
    double sampleRate;
    const int bufferSize;
    bool opened = false;
    juce::BigInteger activeInputs, activeOutputs;
    juce::CriticalSection lock;
    juce::AudioIODeviceCallback* callback = nullptr;
    BackgroundBlocks* background = nullptr;
    std::atomic<int> xruns{ 0 };
    std::unique_ptr<DriverLoop> driverLoop;
};

/** The device type "Test", with one device. */
class FakeAudioDeviceType : public juce::AudioIODeviceType
{
public:
    FakeAudioDeviceType (int numInputsToUse, double rate, int blockSize, juce::Array<double> otherRatesToOffer = {})
        : juce::AudioIODeviceType ("Test"),
          numInputs (numInputsToUse),
          sampleRate (rate),
          bufferSize (blockSize),
          otherRates (otherRatesToOffer)
    {
    }

    /** Makes the device manager use a device of this type; the device, or null. */
    static FakeAudioDevice* install (juce::AudioDeviceManager& manager, int numInputs = 2, double rate = 44100.0,
                                     int blockSize = 512, juce::Array<double> otherRates = {})
    {
        auto type = std::make_unique<FakeAudioDeviceType> (numInputs, rate, blockSize, otherRates);
        auto* typePointer = type.get();
        manager.addAudioDeviceType (std::move (type));
        manager.setCurrentAudioDeviceType ("Test", true);
        return manager.getCurrentAudioDevice() == typePointer->lastDevice ? typePointer->lastDevice : nullptr;
    }

    void scanForDevices() override {}
    juce::StringArray getDeviceNames (bool) const override { return { "Test Device" }; }
    int getDefaultDeviceIndex (bool) const override { return 0; }
    int getIndexOfDevice (juce::AudioIODevice* device, bool) const override { return device != nullptr ? 0 : -1; }
    bool hasSeparateInputsAndOutputs() const override { return false; }

    juce::AudioIODevice* createDevice (const juce::String&, const juce::String&) override
    {
        // The device manager owns what it is given here.
        auto device = std::make_unique<FakeAudioDevice> (numInputs, sampleRate, bufferSize, otherRates);
        lastDevice = device.get();
        return device.release();
    }

    FakeAudioDevice* lastDevice = nullptr;

private:
    const int numInputs;
    const double sampleRate;
    const int bufferSize;
    const juce::Array<double> otherRates;
};
