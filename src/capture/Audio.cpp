#include "capture/Audio.h"

#include "capture/SideWriter.h"
#include "capture/TrackFileSync.h"
#include "capture/TrackWriter.h"
#include "project/Project.h"

namespace
{
std::unique_ptr<Audio>& instance()
{
    static std::unique_ptr<Audio> audio;
    return audio;
}

constexpr int pollMilliseconds = 100;
constexpr int settleMilliseconds = 500;

// How often the file being written is forced onto the disk, in polls of the thread.
constexpr int pollsBetweenSyncs = 5;
} // namespace

/** Closes the device on the message thread when a driver error was found on another one. */
struct Audio::DeviceCloser : public juce::AsyncUpdater
{
    explicit DeviceCloser (Audio& ownerToUse)
        : owner (ownerToUse)
    {
    }

    ~DeviceCloser() override { cancelPendingUpdate(); }

    void handleAsyncUpdate() override { owner.closeDeviceAfterError(); }

    Audio& owner;
};

Audio* Audio::getInstance (Project* project, juce::ActionListener* listener)
{
    auto& current = instance();
    if (current == nullptr)
        current.reset (new Audio (project));

    if (listener != nullptr)
        current->addActionListener (listener);

    return current.get();
}

Audio* Audio::getInstance()
{
    return instance().get();
}

void Audio::deleteInstance()
{
    instance().reset();
}

Audio::Audio (Project* projectToUse)
    : juce::Thread ("Audio"),
      project (projectToUse),
      status (std::make_unique<CaptureStatus>()),
      deviceCloser (std::make_unique<DeviceCloser> (*this))
{
}

Audio::~Audio()
{
    // The program is ending: a box the callback waits for will get no answer, and the run has to
    // be stopped below. The callback is let go and asks no more.
    if (callback != nullptr)
        callback->getEndOfStreamWithdrawal().withdraw();

    deviceCloser.reset();
    signalThreadShouldExit();
    wakeUp.signal();
    stopThread (2 * settleMilliseconds);

    // A run still going closes its file properly.
    stop();

    if (callback != nullptr && project != nullptr)
    {
        callback->getEndOfStreamWithdrawal().withdraw();
        project->removeAudioCallback (callback.get());
    }

    // No block comes any more: a side still open is finished.
    endSide();
}

void Audio::withAudioThreadReleased (const std::function<void()>& action)
{
    if (callback == nullptr)
    {
        action();
        return;
    }

    auto& withdrawal = callback->getEndOfStreamWithdrawal();
    withdrawal.withdraw();
    action();
    withdrawal.allow();
}

bool Audio::reopenDeviceAfterError()
{
    if (deviceClosedAfterError && project->getCurrentAudioDevice() == nullptr)
    {
        deviceClosedAfterError = false;
        project->restartLastAudioDevice();
    }

    return project->getCurrentAudioDevice() != nullptr;
}

void Audio::closeDeviceAfterError()
{
    // A device whose stream has failed may go on calling back in a tight loop, or its driver
    // may spin; closed, it costs nothing until the next start opens it again.
    if (started || callback == nullptr || ! callback->hasWatchdogTripped())
        return;

    project->closeAudioDevice();
    deviceClosedAfterError = true;
}

bool Audio::start (bool shouldWriteToDisk)
{
    reopenDeviceAfterError();

    auto* device = project->getCurrentAudioDevice();
    if (device == nullptr)
        return false;

    const int rate = static_cast<int> (device->getCurrentSampleRate());
    const int bufferSize = juce::jmax (1, device->getCurrentBufferSizeSamples());

    // The callback may be waiting for the "End Capture" box of a run that has reached its end:
    // the box is taken back and the callback lets the block go. A capture that has asked for its
    // end is then ended here, its last file listed, before the new run begins: the new start wins.
    withAudioThreadReleased ([this] { const juce::ScopedLock sl (project->getAudioCallbackLock()); });
    if (started && writeToDisk && status->phase == CaptureStatus::stopRequested)
        stop();

    // A start during a run (Test clicked while Calibrate runs) carries the run on: nothing is
    // stopped and no "END" goes out, and the thread that watches the run keeps watching it. A
    // thread left over from a run that has ended, or is ending, is let go so that a fresh one
    // watches the new run.
    const bool runGoing = started && status->phase == CaptureStatus::running;
    if (! runGoing && isThreadRunning())
    {
        signalThreadShouldExit();
        wakeUp.signal();
        stopThread (-1);
        wakeUp.reset();
    }

    writeToDisk = shouldWriteToDisk;
    status->writeToDisk = shouldWriteToDisk;
    status->phase = CaptureStatus::running;
    status->project = project;

    status->stopSilenceBlocks = project->silenceLength * rate / bufferSize;
    status->minSilenceBlocks = project->minSilence * rate / bufferSize;
    status->silentBlocks = 0;
    status->soundSamples = 0;
    status->inTrack = false;
    status->trackBlocks = 0;

    if (auto* writer = TrackWriter::getInstance ({}, 0, 0))
        writer->close();

    // A new capture, or more tracks for the list: numbering goes on after what the list holds.
    if (project->firstTrackPending <= 0)
    {
        int number = project->trackCount();
        if (number <= project->trackCounter)
            number = project->trackCounter + 1;

        if (auto* writer = TrackWriter::getInstance (project->captureFolder, number, rate))
        {
            if (writer->getTrackNumber() == 0)
                writer->advance (1);
            else
                writer->close();
        }
    }

    project->firstTrackPending = 1;

    // A capture that carries on keeps its side.
    if (shouldWriteToDisk && side == nullptr)
        beginSide (rate);

    if (callback == nullptr)
        callback = std::make_unique<AudioCallback> (status.get(), rate);

    // The device that Project opened keeps running; the callback joins it.
    withAudioThreadReleased ([this] { project->addAudioCallback (callback.get()); });
    if (project->getCurrentAudioDevice() != nullptr && ! isThreadRunning())
        startThread();

    sendActionMessage (eventStarted);
    started = true;
    return true;
}

void Audio::stop()
{
    const juce::ScopedLock sl (stopLock);

    if (! started || (status->phase != CaptureStatus::running && status->phase != CaptureStatus::stopRequested))
        return;

    status->phase = CaptureStatus::stopped;

    // The callback leaves the device, but the device itself is not stopped. The device manager
    // started it when it opened it, and it serves every player that joins it: the preview of
    // the track page and the next run only join it, and nothing short of closing and reopening
    // the device could start it again (which would also drop the user's own connections of a
    // JACK device). Leaving takes the manager's callback lock, so once it returns no block is in
    // flight and the writer is ours, as it would be after a stop of the device.
    // A callback that waits for the "End Capture" box holds that lock: the box is taken back
    // first, so that the user's stop wins.
    if (callback != nullptr)
        withAudioThreadReleased ([this] { project->removeAudioCallback (callback.get()); });

    auto* writer = TrackWriter::getInstance ({}, 0, 0);
    if (writeToDisk && writer != nullptr && writer->getFileName().isNotEmpty())
    {
        project->lastWrittenTrack = writer->getTrackNumber();
        project->addTrack (writer->getFileName(), formatWav);
        if (side != nullptr)
            side->trackClosed (writer->getFileName(), writer->getSamplesWritten());
        writer->close();

        // The last file, finished, goes onto the disk.
        TrackFileSync::syncOnce (writer->getFileName());
    }

    endSide();
    sendActionMessage (eventEnd);
    started = false;

    if (callback != nullptr && callback->hasWatchdogTripped())
    {
        if (juce::MessageManager::getInstance()->isThisTheMessageThread())
            closeDeviceAfterError();
        else if (deviceCloser != nullptr)
            deviceCloser->triggerAsyncUpdate();
    }
}

void Audio::beginSide (int sampleRate)
{
    // k counts the capture runs since the last new capture; a side already on the disk keeps its
    // number, and the run takes the next free one.
    side = std::make_unique<SideWriter> (juce::File (project->captureFolder), project->captureRuns + 1, sampleRate);
    project->captureRuns = side->getNumber();
    status->side = side->isOpen() ? side.get() : nullptr;
}

void Audio::endSide()
{
    status->side = nullptr;
    if (side != nullptr)
    {
        side->end();
        side.reset();
    }
}

void Audio::run()
{
    // While a capture writes, its file is forced onto the disk now and then, here rather than on
    // the audio thread, so that a loss of power keeps about what a kill would keep. When the
    // writing pauses, the end of the track waiting in the writer's buffer goes to the disk first.
    TrackFileSync fileSync;
    int polls = 0;

    while (status->phase == CaptureStatus::running && ! threadShouldExit())
    {
        wakeUp.wait (pollMilliseconds);
        if (! writeToDisk)
            continue;

        const bool committed = TrackWriter::commitIfPaused();
        if (committed || ++polls % pollsBetweenSyncs == 0)
            fileSync.sync (TrackWriter::fileBeingWritten());
    }

    if (writeToDisk)
    {
        TrackWriter::commitIfPaused();
        fileSync.sync (TrackWriter::fileBeingWritten());
    }
    fileSync.release();

    if (threadShouldExit())
        return;

    // Lets the block in progress and any callback in flight settle.
    wakeUp.wait (settleMilliseconds);

    if (! threadShouldExit() && status->phase == CaptureStatus::stopRequested)
        stop();
}
