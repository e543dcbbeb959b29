#pragma once

#include "capture/Audio.h"
#include "capture/AudioReader.h"
#include "capture/TrackWriter.h"
#include "project/Project.h"
#include "support/FakeAudioDevice.h"
#include "support/FakeDialogs.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace playback_test
{
constexpr int blockSize = 512;

/** Two channels of 16-bit sample values, as a WAV file holds them. */
struct Sound
{
    std::vector<int> left, right;

    int length() const { return (int) left.size(); }
    float leftAt (int i) const { return (float) left[(size_t) i] / 32768.0f; }
    float rightAt (int i) const { return (float) right[(size_t) i] / 32768.0f; }
};

/** A sound with no zero in it and different channels, so that every sample tells where it came from. */
inline Sound rampSound (int length)
{
    Sound sound;
    for (int i = 0; i < length; ++i)
    {
        sound.left.push_back (1000 + (i * 7) % 20000);
        sound.right.push_back (-1000 - (i * 13) % 15000);
    }
    return sound;
}

inline Sound sineSound (int length, double frequency, double sampleRate)
{
    Sound sound;
    for (int i = 0; i < length; ++i)
    {
        const auto value =
            (int) std::lround (16000.0 * std::sin (2.0 * juce::MathConstants<double>::pi * frequency * i / sampleRate));
        sound.left.push_back (value);
        sound.right.push_back (value);
    }
    return sound;
}

/** Writes a 16-bit stereo WAV file from the exact sample values. */
inline juce::File writeWav (const juce::String& name, const Sound& sound, double sampleRate)
{
    auto file = testHome().getChildFile (name);
    file.deleteFile();

    std::unique_ptr<juce::OutputStream> stream (file.createOutputStream().release());
    juce::WavAudioFormat format;
    std::unique_ptr<juce::AudioFormatWriter> writer (format.createWriterFor (stream.get(), sampleRate, 2, 16, {}, 0));
    if (writer == nullptr)
        return {};
    stream.release(); // the writer owns it now

    std::vector<int> left, right;
    for (int i = 0; i < sound.length(); ++i)
    {
        // The writer takes left-justified 32-bit values.
        left.push_back (sound.left[(size_t) i] * 65536);
        right.push_back (sound.right[(size_t) i] * 65536);
    }
    const int* channels[] = { left.data(), right.data(), nullptr };
    writer->write (channels, sound.length());
    return file;
}

/** Counts the changes of sign in a channel. */
inline int signChanges (const juce::AudioBuffer<float>& buffer, int channel, int start, int length)
{
    int changes = 0;
    for (int i = start + 1; i < start + length; ++i)
        if ((buffer.getSample (channel, i - 1) < 0.0f) != (buffer.getSample (channel, i) < 0.0f))
            ++changes;
    return changes;
}

inline bool isSilent (const juce::AudioBuffer<float>& buffer)
{
    return buffer.getMagnitude (0, buffer.getNumSamples()) == 0.0f;
}

/** A project whose sound card is the tests' own device, driven block by block. */
class PlaybackTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        project = std::make_unique<Project>();
        device = FakeAudioDeviceType::install (*project, 2, 44100.0, 512, { 48000.0 });
        ASSERT_NE (device, nullptr);
        ASSERT_TRUE (device->isPlaying());
    }

    void TearDown() override
    {
        {
            // A player that still plays waits for the audio thread to take its stop.
            auto blocks = device->runBlocksInBackground();
            readers.clear();
        }
        // A capture engine a test made goes with the project it was made for.
        Audio::deleteInstance();
        TrackWriter::deleteInstance();
        project.reset();
    }

    void setDeviceRate (double rate)
    {
        auto setup = project->getAudioDeviceSetup();
        setup.sampleRate = rate;
        ASSERT_TRUE (project->setAudioDeviceSetup (setup, true).isEmpty());
        device = dynamic_cast<FakeAudioDevice*> (project->getCurrentAudioDevice());
        ASSERT_NE (device, nullptr);
        ASSERT_EQ (device->getCurrentSampleRate(), rate);
    }

    AudioReader& newReader()
    {
        readers.push_back (std::make_unique<AudioReader> (project.get()));
        return *readers.back();
    }

    /** Samples of the output from `start` on match the sound from `from` on. */
    static void expectSound (const juce::AudioBuffer<float>& output, int start, const Sound& sound, int from,
                             int length)
    {
        for (int i = 0; i < length; ++i)
        {
            ASSERT_EQ (output.getSample (0, start + i), sound.leftAt (from + i)) << "left, output sample " << start + i;
            ASSERT_EQ (output.getSample (1, start + i), sound.rightAt (from + i))
                << "right, output sample " << start + i;
        }
    }

    FakeDialogs dialogs;
    std::unique_ptr<Project> project;
    FakeAudioDevice* device = nullptr;
    std::vector<std::unique_ptr<AudioReader>> readers;
};
} // namespace playback_test
