// Which device a start without saved device settings opens when the default device of the first
// kind that has any cannot be opened (a sound server that is installed but not running).
#include "project/Project.h"
#include "support/FakeAudioDevice.h"

#include <gtest/gtest.h>

namespace
{
/** A kind of device that lists one, which never opens: its server is not running. */
class UnreachableServerType : public juce::AudioIODeviceType
{
public:
    UnreachableServerType()
        : juce::AudioIODeviceType ("Unreachable")
    {
    }

    void scanForDevices() override {}
    juce::StringArray getDeviceNames (bool) const override { return { "default" }; }
    int getDefaultDeviceIndex (bool) const override { return 0; }
    int getIndexOfDevice (juce::AudioIODevice*, bool) const override { return -1; }
    bool hasSeparateInputsAndOutputs() const override { return false; }
    juce::AudioIODevice* createDevice (const juce::String&, const juce::String&) override
    {
        ++attempts;
        return nullptr;
    }

    int attempts = 0;
};
} // namespace

TEST (DeviceChoice, aDefaultDeviceThatDoesNotOpenLeavesTheNextKindsDefaultToServe)
{
    Project project;
    ASSERT_FALSE (project.getSettings().containsKey ("devicesettings"));
    project.closeAudioDevice();

    auto unreachable = std::make_unique<UnreachableServerType>();
    auto* unreachableType = unreachable.get();
    project.addAudioDeviceType (std::move (unreachable));
    project.addAudioDeviceType (std::make_unique<FakeAudioDeviceType> (2, 44100.0, 512));

    project.openAudioDevice();
    EXPECT_GE (unreachableType->attempts, 1);
    ASSERT_NE (project.getCurrentAudioDevice(), nullptr);
    EXPECT_EQ (project.getCurrentAudioDevice()->getTypeName(), "Test");
    EXPECT_EQ (project.getCurrentAudioDeviceType(), "Test");

    // Nothing is saved for it: the next start looks again.
    EXPECT_FALSE (project.getSettings().containsKey ("devicesettings"));
    project.closeAudioDevice();
}
