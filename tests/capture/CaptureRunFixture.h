#pragma once

// A capture engine on a device of the test's own, fed one block at a time.
#include "CaptureTestSupport.h"
#include "support/FakeAudioDevice.h"
#include "support/FakeDialogs.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

#include <cmath>

namespace capture_test
{
inline juce::int64 fakeNow = 5000000;

/** Each reading is one millisecond after the one before, as with a device in real time. */
inline juce::int64 advancingClock()
{
    return ++fakeNow;
}

/** Every reading is the same millisecond, as with a device that calls back in a tight loop. */
inline juce::int64 frozenClock()
{
    return fakeNow;
}

struct StereoBlock
{
    std::vector<float> left, right;
};

/** A loud block, different for each `index`, with a right channel unlike the left one. */
inline StereoBlock toneBlock (int numSamples, int index, float amplitude = 0.5f, double rate = 44100.0)
{
    StereoBlock block{ std::vector<float> ((size_t) numSamples), std::vector<float> ((size_t) numSamples) };
    const double leftFrequency = 500.0 + 37.0 * index;
    const double rightFrequency = 730.0 + 23.0 * index;
    for (int i = 0; i < numSamples; ++i)
    {
        const double t = (index * numSamples + i) / rate;
        block.left[(size_t) i] =
            static_cast<float> (amplitude * std::sin (2.0 * juce::MathConstants<double>::pi * leftFrequency * t));
        block.right[(size_t) i] = static_cast<float> (
            0.8 * amplitude * std::sin (2.0 * juce::MathConstants<double>::pi * rightFrequency * t));
    }
    return block;
}

inline StereoBlock silentBlock (int numSamples)
{
    return { std::vector<float> ((size_t) numSamples), std::vector<float> ((size_t) numSamples) };
}

inline StereoBlock constantBlock (int numSamples, float value)
{
    return { std::vector<float> ((size_t) numSamples, value), std::vector<float> ((size_t) numSamples, value) };
}

class CaptureRun : public ::testing::Test
{
protected:
    int numInputs = 2;
    double rate = 44100.0;
    int blockSize = 4410; // ten blocks a second

    void SetUp() override
    {
        folder = juce::File::createTempFile ("capture");
        ASSERT_TRUE (folder.createDirectory());

        project = std::make_unique<Project>();
        device = FakeAudioDeviceType::install (*project, numInputs, rate, blockSize);
        ASSERT_NE (device, nullptr);

        project->captureFolder = folder.getFullPathName();
        project->setPreamp (true);
        project->rumbleOn = false;
        project->setThreshold (10);
        project->setMinSilence (1);    // ten blocks
        project->setSilenceLength (2); // twenty blocks

        AudioCallback::setClock (&advancingClock);
        audio = Audio::getInstance (project.get(), &log);
        outputs[0].assign ((size_t) blockSize, 0.0f);
        outputs[1].assign ((size_t) blockSize, 0.0f);
    }

    void TearDown() override
    {
        Audio::deleteInstance();
        TrackWriter::deleteInstance();
        AudioCallback::setClock (nullptr);
        project.reset();
        folder.deleteRecursively();
    }

    /** One block through the device; returns it as the device's buffers hold it afterwards,
        which is what the track file receives. */
    StereoBlock feed (StereoBlock block)
    {
        std::vector<float*> inputs{ block.left.data() };
        if (numInputs > 1)
            inputs.push_back (block.right.data());

        device->deliver (inputs, { outputs[0].data(), outputs[1].data() }, static_cast<int> (block.left.size()));

        if (numInputs == 1)
            block.right = block.left;

        return block;
    }

    /** Feeds `count` blocks, appending what the file would receive to `written`. */
    void feedTones (int count, std::vector<StereoBlock>* written = nullptr, float amplitude = 0.5f)
    {
        for (int i = 0; i < count; ++i)
        {
            auto block = feed (toneBlock (blockSize, blockCounter++, amplitude, rate));
            if (written != nullptr)
                written->push_back (block);
        }
    }

    void feedSilence (int count, std::vector<StereoBlock>* written = nullptr)
    {
        for (int i = 0; i < count; ++i)
        {
            auto block = feed (silentBlock (blockSize));
            ++blockCounter;
            if (written != nullptr)
                written->push_back (block);
        }
    }

    bool waitForEnd()
    {
        return pumpUntil ([this] { return log.events.contains ("END"); });
    }

    juce::File track (const juce::String& name) const { return folder.getChildFile (name); }

    /** The file holds exactly these blocks, through 16 bits. */
    static void expectFileHolds (const juce::File& file, const std::vector<StereoBlock>& blocks)
    {
        std::vector<float> left, right;
        for (const auto& block : blocks)
        {
            left.insert (left.end(), block.left.begin(), block.left.end());
            right.insert (right.end(), block.right.begin(), block.right.end());
        }

        const auto contents = readWav (file);
        ASSERT_TRUE (contents.valid) << file.getFullPathName();
        EXPECT_EQ (contents.numChannels, 2);
        EXPECT_EQ (contents.bitsPerSample, 16);
        ASSERT_EQ (contents.left.size(), left.size()) << file.getFileName();
        EXPECT_TRUE (contents.left == to16Bits (left)) << file.getFileName();
        EXPECT_TRUE (contents.right == to16Bits (right)) << file.getFileName();
    }

    juce::StringArray trackPaths() const { return ::trackPaths (*project); }

    FakeDialogs dialogs;
    juce::File folder;
    std::unique_ptr<Project> project;
    FakeAudioDevice* device = nullptr;
    EventLog log;
    Audio* audio = nullptr;
    std::vector<float> outputs[2];
    int blockCounter = 0;
};
} // namespace capture_test
