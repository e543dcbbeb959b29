#include "support/TestDeviceType.h"

TestDeviceType::TestDeviceType()
    : juce::AudioIODeviceType ("Test Devices")
{
}

juce::AudioIODevice* TestDeviceType::createDevice (const juce::String&, const juce::String&)
{
    // The device manager owns what this returns.
    return new TestDevice();
}

TestDevice::TestDevice()
    : juce::AudioIODevice ("Test Device", "Test Devices")
{
}

juce::String TestDevice::open (const juce::BigInteger& inputs, const juce::BigInteger& outputs, double rate, int)
{
    activeInputs = inputs;
    activeOutputs = outputs;
    sampleRate = rate > 0 ? rate : 44100.0;
    isOpenFlag = true;
    return {};
}

void TestDevice::start (juce::AudioIODeviceCallback* callback)
{
    current = callback;
    if (callback != nullptr)
        callback->audioDeviceAboutToStart (this);
}

void TestDevice::stop()
{
    if (auto* callback = current.exchange (nullptr))
        callback->audioDeviceStopped();
}

juce::AudioBuffer<float> TestDevice::runBlocks (int numBlocks)
{
    constexpr int blockSize = 512;
    juce::AudioBuffer<float> output (2, juce::jmax (0, numBlocks) * blockSize);
    output.clear();

    juce::AudioBuffer<float> inputs (2, blockSize);
    juce::AudioBuffer<float> outputs (2, blockSize);

    for (int block = 0; block < numBlocks; ++block)
    {
        inputs.clear();
        outputs.clear();

        if (auto* callback = current.load())
            callback->audioDeviceIOCallbackWithContext (inputs.getArrayOfReadPointers(), 2,
                                                        outputs.getArrayOfWritePointers(), 2, blockSize, {});

        for (int channel = 0; channel < 2; ++channel)
            output.copyFrom (channel, block * blockSize, outputs, channel, 0, blockSize);
    }

    return output;
}

TestDevice::BackgroundBlocks::BackgroundBlocks (TestDevice& d)
    : juce::Thread ("Test device blocks"),
      device (d)
{
    startThread();
}

TestDevice::BackgroundBlocks::~BackgroundBlocks()
{
    stopThread (5000);
}

void TestDevice::BackgroundBlocks::run()
{
    while (! threadShouldExit())
    {
        device.runBlocks (1);
        wait (1);
    }
}

std::unique_ptr<TestDevice::BackgroundBlocks> TestDevice::runBlocksInBackground()
{
    return std::make_unique<BackgroundBlocks> (*this);
}
