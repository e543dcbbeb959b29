#include "capture/AudioReader.h"

#include "project/AudioReaders.h"

#include "capture/Audio.h"
#include "project/Project.h"

#include <atomic>
#include <cmath>

namespace
{
// The player that last joined the device manager; a new one takes its place.
AudioReader* attachedReader = nullptr;

constexpr int readAheadSamples = 32768;

// How long a start within the file waits at most for the read-ahead: far more than reading a
// quarter of a second takes, short enough that a stalled disk does not hold the page for long.
constexpr juce::uint32 readAheadWaitMs = 2000;

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
    if (device != nullptr && device->getCurrentSampleRate() > 0.0)
        deviceRate = device->getCurrentSampleRate();
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
    auto opened = AudioReaders::open (file, *formatManager);
    dropSource();
    reader = opened.release();

    if (reader != nullptr)
    {
        source = std::make_unique<juce::AudioFormatReaderSource> (reader, true);
        // The read-ahead is the player's own rather than the transport's, so that a start within
        // the file can wait for it.
        buffered = std::make_unique<juce::BufferingAudioSource> (source.get(), readAhead->getObject(), false,
                                                                 readAheadSamples, 2);
    }

    if (transport != nullptr && buffered != nullptr)
    {
        sampleRate = reader->sampleRate;
        // Told the file's rate, the transport resamples it to the device's.
        transport->setSource (buffered.get(), 0, nullptr, sampleRate);
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
        setPosition (positionInSamples);

    // A start within the file is heard from its first block, with no gap and nothing skipped.
    if (positionInSamples > 0.0)
        waitForReadAhead();

    transport->start();
}

void AudioReader::waitForReadAhead()
{
    if (buffered == nullptr)
        return;

    // What the transport's preparation waits for at the start: a quarter of a second, or half of
    // what the read-ahead holds. The wait ends sooner when the file ends.
    const int wanted = juce::jmax (1, juce::jmin ((int) (sampleRate / 4.0), readAheadSamples / 2));
    const juce::AudioSourceChannelInfo block (nullptr, 0, wanted);
    buffered->waitForNextAudioBlockReady (block, readAheadWaitMs);
}

void AudioReader::dropSource()
{
    if (transport != nullptr)
        transport->setSource (nullptr);

    buffered.reset();
    source.reset();
    reader = nullptr;
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
    dropSource();
}

// The transport counts in the device's samples, which are not the file's when the two rates
// differ: positions go in and out here in the file's own samples, the only ones the track page
// and the seek bar know.
void AudioReader::setPosition (double samples)
{
    if (transport == nullptr)
        return;

    const auto fileSample = (juce::int64) samples;
    if (buffered == nullptr || deviceRate == sampleRate)
    {
        transport->setNextReadPosition (fileSample);
        return;
    }

    // The transport divides by the rates' ratio and truncates: rounded up here, it lands on
    // the file's sample itself rather than the one before.
    transport->setNextReadPosition ((juce::int64) std::ceil ((double) fileSample * deviceRate / sampleRate));
    if (buffered->getNextReadPosition() != fileSample)
        buffered->setNextReadPosition (fileSample);
}

juce::int64 AudioReader::getPosition() const
{
    if (transport == nullptr)
        return 0;

    return buffered != nullptr ? buffered->getNextReadPosition() : transport->getNextReadPosition();
}

double AudioReader::getTotalLength() const
{
    if (transport == nullptr)
        return 0.0;

    return buffered != nullptr ? (double) buffered->getTotalLength() : (double) transport->getTotalLength();
}

void AudioReader::togglePause()
{
    if (transport == nullptr)
        return;

    if (pausePosition == -1.0)
    {
        pausePosition = (double) getPosition();
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

    dropSource();
    player->setSource (nullptr);
    player.reset();
    transport.reset();
    formatManager.reset();
    readAhead.reset();
    prepared = false;
}
