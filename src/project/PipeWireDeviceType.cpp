#include "project/PipeWireDeviceType.h"

#include <cstdlib>

namespace
{
constexpr const char* nodeVariable = "PIPEWIRE_NODE";

/** While it lives, PipeWire's clients made by this process connect to `node`. */
class TargetNode
{
public:
    explicit TargetNode (const juce::String& node)
    {
        if (const auto* current = std::getenv (nodeVariable))
        {
            hadOne = true;
            previous = current;
        }
        setenv (nodeVariable, node.toRawUTF8(), 1);
    }

    ~TargetNode()
    {
        if (hadOne)
            setenv (nodeVariable, previous.c_str(), 1);
        else
            unsetenv (nodeVariable);
    }

private:
    bool hadOne = false;
    std::string previous;
};

/** One PipeWire source, reached through PipeWire's ALSA device: everything is the ALSA
    device's but the source it is opened on. Its output is the desktop's default output. */
class PipeWireSourceDevice : public juce::AudioIODevice
{
public:
    PipeWireSourceDevice (const juce::String& deviceName, const juce::String& node,
                          std::unique_ptr<juce::AudioIODevice> alsaDevice)
        : juce::AudioIODevice (deviceName, PipeWireDeviceType::typeName),
          nodeName (node),
          inner (std::move (alsaDevice))
    {
    }

    ~PipeWireSourceDevice() override { inner->close(); }

    const juce::String& getNodeName() const { return nodeName; }

    juce::StringArray getOutputChannelNames() override { return inner->getOutputChannelNames(); }
    juce::StringArray getInputChannelNames() override { return inner->getInputChannelNames(); }
    juce::Array<double> getAvailableSampleRates() override { return inner->getAvailableSampleRates(); }
    juce::Array<int> getAvailableBufferSizes() override { return inner->getAvailableBufferSizes(); }
    int getDefaultBufferSize() override { return inner->getDefaultBufferSize(); }

    juce::String open (const juce::BigInteger& inputChannels, const juce::BigInteger& outputChannels, double sampleRate,
                       int bufferSizeSamples) override
    {
        // The source is chosen when the device is opened, and for that moment only.
        const TargetNode target (nodeName);
        return inner->open (inputChannels, outputChannels, sampleRate, bufferSizeSamples);
    }

    void close() override { inner->close(); }
    bool isOpen() override { return inner->isOpen(); }
    void start (juce::AudioIODeviceCallback* callback) override { inner->start (callback); }
    void stop() override { inner->stop(); }
    bool isPlaying() override { return inner->isPlaying(); }
    juce::String getLastError() override { return inner->getLastError(); }
    int getCurrentBufferSizeSamples() override { return inner->getCurrentBufferSizeSamples(); }
    double getCurrentSampleRate() override { return inner->getCurrentSampleRate(); }
    int getCurrentBitDepth() override { return inner->getCurrentBitDepth(); }
    juce::BigInteger getActiveOutputChannels() const override { return inner->getActiveOutputChannels(); }
    juce::BigInteger getActiveInputChannels() const override { return inner->getActiveInputChannels(); }
    int getOutputLatencyInSamples() override { return inner->getOutputLatencyInSamples(); }
    int getInputLatencyInSamples() override { return inner->getInputLatencyInSamples(); }
    int getXRunCount() const noexcept override { return inner->getXRunCount(); }

private:
    const juce::String nodeName;
    std::unique_ptr<juce::AudioIODevice> inner;
};

/** The text of a property of a PipeWire object in pw-dump's output. */
juce::String property (const juce::var& object, const char* name)
{
    return object["info"]["props"][name].toString();
}
} // namespace

PipeWireDeviceType::PipeWireDeviceType()
    : juce::AudioIODeviceType (typeName)
{
}

PipeWireDeviceType::~PipeWireDeviceType() = default;

bool PipeWireDeviceType::serverIsReachable()
{
    auto folder = juce::SystemStats::getEnvironmentVariable ("PIPEWIRE_RUNTIME_DIR", {});
    if (folder.isEmpty())
        folder = juce::SystemStats::getEnvironmentVariable ("XDG_RUNTIME_DIR", {});
    const auto remote = juce::SystemStats::getEnvironmentVariable ("PIPEWIRE_REMOTE", "pipewire-0");
    if (remote.startsWithChar ('/'))
        return juce::File (remote).exists();
    return folder.isNotEmpty() && juce::File (folder).getChildFile (remote).exists();
}

std::vector<PipeWireDeviceType::Source> PipeWireDeviceType::sourcesIn (const juce::String& dump)
{
    std::vector<Source> found;
    juce::String defaultSource;

    const auto objects = juce::JSON::parse (dump);
    if (const auto* array = objects.getArray())
    {
        for (const auto& object : *array)
        {
            const auto type = object["type"].toString();
            if (type == "PipeWire:Interface:Node")
            {
                const auto mediaClass = property (object, "media.class");
                if (mediaClass != "Audio/Source" && mediaClass != "Audio/Source/Virtual" &&
                    mediaClass != "Audio/Duplex")
                    continue;

                Source source;
                source.nodeName = property (object, "node.name");
                source.description = property (object, "node.description");
                if (source.description.isEmpty())
                    source.description = property (object, "node.nick");
                if (source.description.isEmpty())
                    source.description = source.nodeName;
                if (source.nodeName.isNotEmpty())
                    found.push_back (source);
            }
            else if (type == "PipeWire:Interface:Metadata" && object["props"]["metadata.name"] == "default")
            {
                if (const auto* entries = object["metadata"].getArray())
                    for (const auto& entry : *entries)
                        if (entry["key"].toString() == "default.audio.source")
                        {
                            // The value is an object, or its JSON text.
                            auto value = entry["value"];
                            if (value.isString())
                                value = juce::JSON::parse (value.toString());
                            defaultSource = value["name"].toString();
                        }
            }
        }
    }

    std::stable_partition (found.begin(), found.end(),
                           [&defaultSource] (const Source& s) { return s.nodeName == defaultSource; });
    return found;
}

void PipeWireDeviceType::scanForDevices()
{
    sources.clear();
    names.clear();

    if (! serverIsReachable())
        return;

    // PipeWire's device in ALSA, through which every source is opened.
    if (alsa == nullptr)
    {
        alsa.reset (juce::AudioIODeviceType::createAudioIODeviceType_ALSA());
        if (alsa == nullptr)
            return;
        alsa->scanForDevices();
    }

    alsaDevice = {};
    const auto inputs = alsa->getDeviceNames (true);
    const auto outputs = alsa->getDeviceNames (false);
    for (const auto& name : inputs)
        if (name.containsIgnoreCase ("PipeWire") && outputs.contains (name) &&
            (alsaDevice.isEmpty() || name == "PipeWire Sound Server"))
            alsaDevice = name;
    if (alsaDevice.isEmpty())
        return;

    juce::ChildProcess dump;
    if (! dump.start (juce::StringArray{ "timeout", "5", "pw-dump" }))
        return;
    const auto text = dump.readAllProcessOutput();
    dump.waitForProcessToFinish (6000);

    for (const auto& source : sourcesIn (text))
    {
        sources.push_back (source);
        names.add (source.description);
    }
    names.appendNumbersToDuplicates (false, true);
}

juce::StringArray PipeWireDeviceType::getDeviceNames (bool) const
{
    return names;
}

int PipeWireDeviceType::getDefaultDeviceIndex (bool) const
{
    return 0;
}

int PipeWireDeviceType::getIndexOfDevice (juce::AudioIODevice* device, bool) const
{
    return device != nullptr ? names.indexOf (device->getName()) : -1;
}

juce::AudioIODevice* PipeWireDeviceType::createDevice (const juce::String& outputDeviceName,
                                                       const juce::String& inputDeviceName)
{
    const auto name = inputDeviceName.isNotEmpty() ? inputDeviceName : outputDeviceName;
    const auto index = names.indexOf (name);
    if (index < 0 || alsa == nullptr)
        return nullptr;

    std::unique_ptr<juce::AudioIODevice> inner (alsa->createDevice (alsaDevice, alsaDevice));
    if (inner == nullptr)
        return nullptr;

    // The device manager owns what it is given here.
    return new PipeWireSourceDevice (name, sources[(size_t) index].nodeName, std::move (inner));
}
