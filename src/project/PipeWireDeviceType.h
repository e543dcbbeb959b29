#pragma once

#include <juce_audio_devices/juce_audio_devices.h>

#include <memory>
#include <vector>

/**
    The desktop's sound sources as PipeWire names them ("USB Turntable", say), for the device
    dialog: each one is a device whose input is that source and whose output is the desktop's
    default output. They are reached through PipeWire's ALSA device, told which source to take;
    the list comes from PipeWire itself (pw-dump). Without PipeWire, or without its ALSA device,
    the list is empty.
*/
class PipeWireDeviceType : public juce::AudioIODeviceType
{
public:
    PipeWireDeviceType();
    ~PipeWireDeviceType() override;

    static constexpr const char* typeName = "PipeWire";

    void scanForDevices() override;
    juce::StringArray getDeviceNames (bool wantInputNames) const override;
    int getDefaultDeviceIndex (bool forInput) const override;
    int getIndexOfDevice (juce::AudioIODevice* device, bool asInput) const override;
    bool hasSeparateInputsAndOutputs() const override { return false; }
    juce::AudioIODevice* createDevice (const juce::String& outputDeviceName,
                                       const juce::String& inputDeviceName) override;

    /** One audio source of the PipeWire graph. */
    struct Source
    {
        juce::String nodeName;    // what PipeWire is told to connect to
        juce::String description; // what the user reads
    };

    /** The audio sources in the output of pw-dump, the default one first. */
    static std::vector<Source> sourcesIn (const juce::String& dump);

    /** ALSA's name of PipeWire's device, through which the sources are opened; empty when ALSA
        has none (without pipewire-alsa) or no server was found at the last scan. */
    const juce::String& getAlsaDeviceName() const { return alsaDevice; }

    /** True when a PipeWire server of this session can be reached. */
    static bool serverIsReachable();

private:
    std::unique_ptr<juce::AudioIODeviceType> alsa;
    juce::String alsaDevice; // ALSA's name of PipeWire's device
    std::vector<Source> sources;
    juce::StringArray names;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (PipeWireDeviceType)
};
