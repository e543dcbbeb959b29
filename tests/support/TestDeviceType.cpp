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
    if (current != nullptr)
        current->audioDeviceAboutToStart (this);
}

void TestDevice::stop()
{
    if (current != nullptr)
        current->audioDeviceStopped();
    current = nullptr;
}
