#include "capture/AudioReader.h"

#include "project/AudioReaders.h"

#include "capture/Audio.h"
#include "project/Project.h"

#include <atomic>

namespace
{
// The player that last joined the device manager; a new one takes its place.
AudioReader* attachedReader = nullptr;

constexpr int readAheadSamples = 32768;

std::atomic<int> liveReaders{ 0 };
} // namespace

/** The thread that reads ahead of the sound card, shared by every player of the program. */
struct AudioReader::ReadAheadThread : public juce::TimeSliceThread
{
    ReadAheadThread()
        : juce::TimeSliceThread ("Preview read-ahead")
    {
        startThread();
    }

    ~ReadAheadThread() override { stopThread (2000); }
};

AudioReader::AudioReader (Project* p)
    : transport (std::make_unique<juce::AudioTransportSource>()),
      project (p)
{
    // Nothing else plays or records beside a preview: an earlier player and the capture engine
    // both leave the device.
    if (attachedReader != nullptr && attachedReader != this)
        project->removeAudioCallback (attachedReader);
    attachedReader = nullptr;

    // Leaving waits for the capture's block in progress, which may be waiting for the "End
    // Capture" box: the box is taken back first.
    if (auto* engine = Audio::getInstance())
        if (auto* captureCallback = engine->getCallback())
            engine->withAudioThreadReleased ([this, captureCallback]
                                             { project->removeAudioCallback (captureCallback); });

    ++liveReaders;
}

AudioReader::~AudioReader()
{
    tearDown();
    --liveReaders;
}

int AudioReader::instanceCount()
{
    return liveReaders.load();
}

void AudioReader::audioDeviceIOCallbackWithContext (const float* const* inputChannelData, int numInputChannels,
                                                    float* const* outputChannelData, int numOutputChannels,
                                                    int numSamples, const juce::AudioIODeviceCallbackContext& context)
{
    player->audioDeviceIOCallbackWithContext (inputChannelData, numInputChannels, outputChannelData, numOutputChannels,
                                              numSamples, context);
}

void AudioReader::audioDeviceAboutToStart (juce::AudioIODevice* device)
{
    player->audioDeviceAboutToStart (device);
}

void AudioReader::audioDeviceStopped()
{
    player->audioDeviceStopped();
}

void AudioReader::play (juce::File file, double positionInSamples)
{
    if (! prepared)
    {
        prepared = true;
        player = std::make_unique<juce::AudioSourcePlayer>();
        formatManager = std::make_unique<juce::AudioFormatManager>();
        readAhead = std::make_unique<juce::SharedResourcePointer<ReadAheadThread>>();
        player->setSource (transport.get());
        formatManager->registerBasicFormats();
    }

    if (transport->isPlaying())
    {
        transport->stop();
        transport->releaseResources();
    }

    // The transport lets go of any earlier file first: an unreadable file leaves it with none.
    reader = AudioReaders::open (file, *formatManager).release();
    transport->setSource (nullptr);
    source.reset();
    if (reader != nullptr)
        source = std::make_unique<juce::AudioFormatReaderSource> (reader, true);

    if (transport != nullptr && source != nullptr && reader != nullptr)
    {
        sampleRate = reader->sampleRate;
        // Told the file's rate, the transport resamples it to the device's.
        transport->setSource (source.get(), readAheadSamples, &readAhead->getObject(), sampleRate);
    }

    transport->setPosition (0.0);

    // Join the device: the player is told the device's rate and block size afresh, even
    // when it played before. A device that a driver error closed is opened again first.
    const auto join = [this]
    {
        project->removeAudioCallback (this);
        project->addAudioCallback (this);
    };

    if (auto* engine = Audio::getInstance())
    {
        engine->reopenDeviceAfterError();
        engine->withAudioThreadReleased (join);
    }
    else
    {
        join();
    }
    attachedReader = this;

    if (positionInSamples != 0.0)
        transport->setNextReadPosition ((juce::int64) positionInSamples);

    transport->start();
}

bool AudioReader::isPlaying() const
{
    return transport != nullptr && transport->isPlaying();
}

void AudioReader::stop()
{
    if (transport == nullptr)
        return;

    transport->stop();
    transport->releaseResources();
}

void AudioReader::releaseResources()
{
    if (transport != nullptr)
        transport->releaseResources();
}

void AudioReader::releaseFile()
{
    if (transport == nullptr)
        return;

    transport->stop();
    transport->setSource (nullptr);
    source.reset();
    reader = nullptr;
}

void AudioReader::setPosition (double samples)
{
    if (transport != nullptr)
        transport->setNextReadPosition ((juce::int64) samples);
}

juce::int64 AudioReader::getPosition() const
{
    return transport != nullptr ? transport->getNextReadPosition() : 0;
}

double AudioReader::getTotalLength() const
{
    return transport != nullptr ? (double) transport->getTotalLength() : 0.0;
}

void AudioReader::togglePause()
{
    if (transport == nullptr)
        return;

    if (pausePosition == -1.0)
    {
        pausePosition = (double) transport->getNextReadPosition();
        transport->stop();
    }
    else
    {
        // setPosition counts in seconds: the samples are passed on as they are.
        transport->setPosition (pausePosition);
        transport->start();
        pausePosition = -1.0;
    }
}

void AudioReader::tearDown()
{
    if (! prepared)
        return;

    if (transport->isPlaying())
    {
        transport->stop();
        transport->releaseResources();
    }

    // Leaving the device manager ends the blocks and tells the player the device stopped.
    project->removeAudioCallback (this);
    if (attachedReader == this)
        attachedReader = nullptr;

    transport->setSource (nullptr);

    source.reset();
    reader = nullptr;
    player->setSource (nullptr);
    player.reset();
    transport.reset();
    formatManager.reset();
    readAhead.reset();
    prepared = false;
}
