// The devices a user on a PipeWire desktop gets, on a PipeWire of the test's own with a virtual
// turntable (the default source) and a microphone: the first start opens the default source, and
// the device dialog lists the sources by their names, each of which records what it hears. They
// reach PipeWire through its ALSA device, which pipewire-alsa gives.
#include "project/PipeWireDeviceType.h"
#include "project/Project.h"
#include "support/PrivatePipeWire.h"
#include "support/Snapshots.h"
#include "support/TestHelpers.h"

#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_audio_utils/juce_audio_utils.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>

namespace
{
/** Takes what a device's inputs hear: its loudest sample since the last look. */
class Listener : public juce::AudioIODeviceCallback
{
public:
    void audioDeviceIOCallbackWithContext (const float* const* inputs, int numInputs, float* const* outputs,
                                           int numOutputs, int numSamples,
                                           const juce::AudioIODeviceCallbackContext&) override
    {
        float loudest = peak.load();
        for (int c = 0; c < numInputs; ++c)
            if (inputs[c] != nullptr)
                for (int i = 0; i < numSamples; ++i)
                    loudest = juce::jmax (loudest, std::abs (inputs[c][i]));
        peak = loudest;
        blocks += 1;
        for (int c = 0; c < numOutputs; ++c)
            if (outputs[c] != nullptr)
                juce::FloatVectorOperations::clear (outputs[c], numSamples);
    }

    void audioDeviceAboutToStart (juce::AudioIODevice*) override {}
    void audioDeviceStopped() override {}

    std::atomic<float> peak{ 0.0f };
    std::atomic<int> blocks{ 0 };
};

class PipeWireDevices : public ::testing::Test
{
protected:
    void SetUp() override
    {
        folder = freshFolder ("pipewire devices");
        pipewire = std::make_unique<PrivatePipeWire> (folder);
        ASSERT_TRUE (pipewire->isReady()) << folder.getChildFile ("wireplumber.log").loadFileAsString();
        // A second source, which nothing plays into.
        ASSERT_GT (pipewire->startOnThisServer ({ "pw-loopback",
                                                  "--capture-props=media.class=Audio/Sink node.name=mic-in "
                                                  "node.description=Nothing",
                                                  "--playback-props=media.class=Audio/Source node.name=mic "
                                                  "node.description=Microphone" },
                                                "microphone.log"),
                   0);
        ASSERT_TRUE (waitFor ([this] { return pipewire->run ({ "pw-dump" }).contains ("\"mic\""); }, 10000));
        onIt = std::make_unique<PrivatePipeWire::ThisProcessOnIt> (*pipewire);

        // A second of a loud tone, played into the turntable over and over.
        tone = folder.getChildFile ("tone.wav");
        juce::AudioBuffer<float> buffer (2, 44100);
        for (int i = 0; i < buffer.getNumSamples(); ++i)
            for (int c = 0; c < 2; ++c)
                buffer.setSample (
                    c, i, 0.5f * (float) std::sin (2.0 * juce::MathConstants<double>::pi * 440.0 * i / 44100.0));
        std::unique_ptr<juce::AudioFormatWriter> writer (
            juce::WavAudioFormat().createWriterFor (new juce::FileOutputStream (tone), 44100.0, 2, 16, {}, 0));
        ASSERT_NE (writer, nullptr);
        writer->writeFromAudioSampleBuffer (buffer, 0, buffer.getNumSamples());
    }

    void TearDown() override
    {
        onIt.reset();
        pipewire.reset();
    }

    /** Whether `device` hears the tone played into the turntable within a few seconds. */
    bool hearsTheTurntable (juce::AudioIODevice& device)
    {
        Listener listener;
        device.start (&listener);
        // Some blocks first: the device's own start is silent.
        const bool running = waitFor ([&listener] { return listener.blocks.load() > 10; }, 10000);
        listener.peak = 0.0f;
        bool heard = false;
        for (int attempt = 0; running && attempt < 3 && ! heard; ++attempt)
        {
            pipewire->run ({ "pw-cat", "--playback", "--target", "deck", tone.getFullPathName().toStdString() }, 20000);
            heard = listener.peak.load() > 0.4f;
        }
        device.stop();
        return heard;
    }

    juce::File folder, tone;
    std::unique_ptr<PrivatePipeWire> pipewire;
    std::unique_ptr<PrivatePipeWire::ThisProcessOnIt> onIt;
};
} // namespace

TEST_F (PipeWireDevices, theSourcesAreListedByTheirNamesAndEachRecordsItsOwnSound)
{
    PipeWireDeviceType type;
    type.scanForDevices();
    if (type.getAlsaDeviceName().isEmpty())
        GTEST_SKIP() << "ALSA has no PipeWire device here: pipewire-alsa is not installed";

    const auto names = type.getDeviceNames (true);
    EXPECT_EQ (names, juce::StringArray ({ "USB Turntable", "Microphone" }));
    EXPECT_EQ (type.getDefaultDeviceIndex (true), 0);

    std::unique_ptr<juce::AudioIODevice> turntable (type.createDevice ("USB Turntable", "USB Turntable"));
    ASSERT_NE (turntable, nullptr);
    EXPECT_EQ (turntable->getName(), "USB Turntable");
    EXPECT_EQ (turntable->getTypeName(), "PipeWire");
    EXPECT_TRUE (turntable->getAvailableSampleRates().contains (44100.0));
    ASSERT_EQ (turntable->open (3, 3, 44100.0, 512), juce::String());
    EXPECT_EQ (turntable->getCurrentSampleRate(), 44100.0);
    EXPECT_TRUE (hearsTheTurntable (*turntable));
    turntable->close();

    std::unique_ptr<juce::AudioIODevice> microphone (type.createDevice ("Microphone", "Microphone"));
    ASSERT_NE (microphone, nullptr);
    ASSERT_EQ (microphone->open (3, 3, 44100.0, 512), juce::String());
    EXPECT_FALSE (hearsTheTurntable (*microphone));
    microphone->close();
}

TEST_F (PipeWireDevices, aFirstStartOpensTheDesktopsDefaultSourceAndTheDialogListsTheSources)
{
    {
        PipeWireDeviceType probe;
        probe.scanForDevices();
        if (probe.getAlsaDeviceName().isEmpty())
            GTEST_SKIP() << "ALSA has no PipeWire device here: pipewire-alsa is not installed";
    }

    // No saved device: the program opens ALSA's default device, PipeWire's default source.
    Project project;
    ASSERT_FALSE (project.getSettings().containsKey ("devicesettings"));
    auto* device = project.getCurrentAudioDevice();
    ASSERT_NE (device, nullptr);
    EXPECT_EQ (device->getTypeName(), "ALSA");
    EXPECT_EQ (device->getCurrentSampleRate(), 44100.0);
    EXPECT_EQ (device->getActiveInputChannels().countNumberOfSetBits(), 2);
    project.closeAudioDevice();

    // The device dialog on the PipeWire kind: the sources by their names, the default first.
    project.setCurrentAudioDeviceType (PipeWireDeviceType::typeName, true);
    ASSERT_NE (project.getCurrentAudioDevice(), nullptr);
    EXPECT_EQ (project.getCurrentAudioDevice()->getName(), "USB Turntable");
    EXPECT_TRUE (hearsTheTurntable (*project.getCurrentAudioDevice()));

    juce::AudioDeviceSelectorComponent dialog (project, 2, 2, 2, 2, false, false, true, true);
    dialog.setBounds (0, 0, 500, 400);
    const auto picture = saveSnapshot (dialog, "device-dialog-pipewire");
    juce::ComboBox* devices = nullptr;
    std::function<void (juce::Component&)> look = [&] (juce::Component& parent)
    {
        for (auto* child : parent.getChildren())
        {
            if (auto* box = dynamic_cast<juce::ComboBox*> (child))
                if (box->getNumItems() > 0 && box->getItemText (0) == "USB Turntable")
                    devices = box;
            look (*child);
        }
    };
    look (dialog);
    ASSERT_NE (devices, nullptr);
    juce::StringArray listed;
    for (int i = 0; i < devices->getNumItems(); ++i)
        if (! devices->getItemText (i).startsWith ("<<")) // the dialog's own "none"
            listed.add (devices->getItemText (i));
    EXPECT_EQ (listed, juce::StringArray ({ "USB Turntable", "Microphone" }));
    EXPECT_EQ (devices->getText(), "USB Turntable");
    EXPECT_TRUE (picture.existsAsFile());

    project.closeAudioDevice();
    project.resetDeviceSettings();
}
