#include "capture/AudioCallback.h"

#include "capture/Audio.h"
#include "capture/DropoutLog.h"
#include "capture/SideWriter.h"
#include "capture/TrackWriter.h"
#include "project/Dialogs.h"
#include "project/Project.h"

#include <cmath>
#include <cstdio>

namespace
{
// Callbacks in a row that found the same millisecond as the one before: a stream that delivers
// blocks faster than real time has lost its device.
int sameMillisecondCount = 0;
AudioCallback::Clock watchdogClock = &juce::Time::currentTimeMillis;

constexpr int watchdogLimit = 10;
constexpr double rumbleFrequency = 50.0;
constexpr int calibrationSeconds = 5;
constexpr int calibrationMargin = 5;

// A block that arrives this many block lengths after the one before: blocks were lost between.
constexpr double gapInBlocks = 2.5;
} // namespace

AudioCallback::AudioCallback (CaptureStatus* statusToUse, int deviceSampleRate)
    : status (statusToUse),
      sampleRate (deviceSampleRate)
{
}

AudioCallback::~AudioCallback() = default;

void AudioCallback::setClock (Clock newClock)
{
    watchdogClock = newClock != nullptr ? newClock : &juce::Time::currentTimeMillis;
}

int AudioCallback::getSameMillisecondCount()
{
    return sameMillisecondCount;
}

void AudioCallback::resetSameMillisecondCount()
{
    sameMillisecondCount = 0;
}

void AudioCallback::audioDeviceAboutToStart (juce::AudioIODevice* newDevice)
{
    // The copy of each block is made ready here, so that blocks of the device's size need no
    // allocation on the audio thread.
    privateBlock.setSize (2, newDevice != nullptr ? juce::jmax (1, newDevice->getCurrentBufferSizeSamples()) : 4096);

    // Dropouts are counted from here on: xruns the device had before are not this run's.
    device = newDevice;
    lastXRunCount = device != nullptr ? device->getXRunCount() : 0;
    lastHostTime = 0;
    lastBlockSamples = 0;
    runDropouts = 0;
    runSamples = 0;
    lastDropoutSample = -1;
    dropoutsToFile = 0;
    watchdogTripped = false;

    // Every run starts from zeroed filters, built for the rate this callback was made with.
    const auto highPass = juce::IIRCoefficients::makeHighPass (sampleRate, rumbleFrequency);
    rumbleLeft = std::make_unique<juce::IIRFilter>();
    rumbleLeft->setCoefficients (highPass);
    rumbleRight = std::make_unique<juce::IIRFilter>();
    rumbleRight->setCoefficients (highPass);

    for (auto* riaa : { &riaaLeft, &riaaRight })
    {
        *riaa = std::make_unique<RiaaFilter>();
        (*riaa)->setSampleRate (static_cast<float> (sampleRate));
        (*riaa)->setMode (1);
        (*riaa)->loadCoefficients();
        (*riaa)->reset();
    }

    calibrationSamplesLeft = -1;
    stopped = false;
    echoing = false;
    lastCallbackTime = watchdogClock();
}

void AudioCallback::audioDeviceStopped()
{
    rumbleLeft.reset();
    rumbleRight.reset();
    riaaLeft.reset();
    riaaRight.reset();
}

void AudioCallback::audioDeviceIOCallbackWithContext (const float* const* inputs, int numInputs, float* const* outputs,
                                                      int numOutputs, int numSamples,
                                                      const juce::AudioIODeviceCallbackContext& context)
{
    blockHostTime = context.hostTimeNs;
    audioDeviceIOCallback (inputs, numInputs, outputs, numOutputs, numSamples);
    blockHostTime = nullptr;
}

int AudioCallback::countDropouts (int numSamples)
{
    int found = 0;

    if (device != nullptr)
    {
        const int xruns = device->getXRunCount();
        if (xruns > lastXRunCount)
            found += xruns - lastXRunCount;
        lastXRunCount = xruns;
    }

    // Where the device tells the time of each block, a block that comes much later than the
    // length of the one before says that the stream skipped.
    if (blockHostTime != nullptr)
    {
        const auto now = *blockHostTime;
        if (lastHostTime != 0 && lastBlockSamples > 0 && sampleRate > 0 && now > lastHostTime)
        {
            const double expected = 1.0e9 * lastBlockSamples / sampleRate;
            if ((double) (now - lastHostTime) > gapInBlocks * expected)
                ++found;
        }
        lastHostTime = now;
        lastBlockSamples = numSamples;
    }

    runSamples.store (runSamples.load (std::memory_order_relaxed) + numSamples, std::memory_order_relaxed);

    if (found > 0)
    {
        runDropouts += found;
        lastDropoutSample = runSamples.load (std::memory_order_relaxed);
    }

    return found;
}

void AudioCallback::broadcast (const juce::String& event) const
{
    if (auto* audio = Audio::getInstance())
        audio->sendActionMessage (event);
}

void AudioCallback::audioDeviceIOCallback (const float* const* inputs, int numInputs, float* const* outputs,
                                           int numOutputs, int numSamples)
{
    if (stopped)
        return;

    auto* project = status != nullptr ? status->project : nullptr;
    if (project == nullptr)
        return;

    // The watchdog: a device that has gone away may call back in a tight loop.
    const auto now = watchdogClock();
    if (now == lastCallbackTime)
        ++sameMillisecondCount;
    else
        sameMillisecondCount = 0;
    lastCallbackTime = now;

    if (sameMillisecondCount > watchdogLimit)
    {
        // The next start of the program falls back to the default device.
        project->resetDeviceSettings();
        stopped = true;
        watchdogTripped = true;
        if (status->writeToDisk)
            status->phase = CaptureStatus::stopRequested;
        broadcast (Audio::eventError);
        return;
    }

    // Lost input is counted before anything else, so that a block skipped below still counts.
    dropoutsToFile += countDropouts (numSamples);

    // The first input present is the left channel, the next one the right; a mono device
    // gives the same buffer for both.
    int leftIndex = 0;
    while (leftIndex < numInputs && inputs[leftIndex] == nullptr)
        ++leftIndex;

    const float* left = leftIndex < numInputs ? inputs[leftIndex] : nullptr;
    const float* right = nullptr;

    if (numInputs > 1)
    {
        for (int i = leftIndex + 1; i < numInputs && right == nullptr; ++i)
            right = inputs[i];
    }
    else
    {
        right = left;
    }

    if (left == nullptr || right == nullptr)
        return;

    // The device's input buffers are not ours to change: under JACK they are the buffers of the
    // ports that feed us, which other clients read too and which a driver that pauses (freewheel)
    // does not rewrite. The block is copied, and the copy is filtered and written.
    const bool stereo = numInputs > 1;
    if (privateBlock.getNumSamples() < numSamples)
        privateBlock.setSize (2, numSamples, false, false, true);
    juce::FloatVectorOperations::copy (privateBlock.getWritePointer (0), left, numSamples);
    if (stereo)
        juce::FloatVectorOperations::copy (privateBlock.getWritePointer (1), right, numSamples);

    float* channels[2] = { privateBlock.getWritePointer (0), privateBlock.getWritePointer (stereo ? 1 : 0) };
    auto block = std::make_unique<juce::AudioBuffer<float>> (channels, 2, numSamples);

    // Levels are taken on the raw input, so that no filter changes what the silence rule sees.
    const float rmsLeft = block->getRMSLevel (0, 0, numSamples);
    const float rmsRight = block->getRMSLevel (1, 0, numSamples);

    if (project->rumbleOn && rumbleLeft != nullptr)
    {
        rumbleLeft->processSamples (channels[0], numSamples);
        if (stereo)
            rumbleRight->processSamples (channels[1], numSamples);
    }

    if (! project->preamp && riaaLeft != nullptr)
    {
        riaaLeft->processInPlace (channels[0], numSamples);
        if (stereo)
            riaaRight->processInPlace (channels[1], numSamples);
    }

    if (numOutputs >= 1 && project->echoOn)
    {
        if (outputs[0] != nullptr)
            juce::FloatVectorOperations::copy (outputs[0], channels[0], numSamples);
        if (numOutputs >= 2 && outputs[1] != nullptr)
            juce::FloatVectorOperations::copy (outputs[1], channels[1], numSamples);
        echoing = true;
    }
    else if (echoing)
    {
        for (int i = 0; i < 2 && i < numOutputs; ++i)
            if (outputs[i] != nullptr)
                juce::FloatVectorOperations::clear (outputs[i], numSamples);
        echoing = false;
    }

    project->addWaveformSamples (channels[0], numSamples);
    project->setLevelPair (rmsLeft, rmsRight);

    const float mean = static_cast<float> ((rmsLeft + rmsRight) * 0.5);
    const float levelIndex = static_cast<float> (80.0 * mean);

    // Calibration: for five seconds the threshold follows the loudest block, 5 above it.
    if (project->setCalibrationRequested (false))
    {
        project->startCalibrating();
        calibrationSamplesLeft = static_cast<juce::int64> (calibrationSeconds) * sampleRate;
    }

    if (calibrationSamplesLeft > 0)
    {
        calibrationSamplesLeft -= numSamples;
        if (project->threshold - 5.0 < levelIndex)
            project->setThreshold (static_cast<int> (std::floor (levelIndex)) + calibrationMargin);
    }
    else if (project->calibrating)
    {
        project->calibrating = false;
        status->phase = CaptureStatus::stopRequested;
    }

    if (! status->writeToDisk)
    {
        dropoutsToFile = 0;
        return;
    }

    // The whole side: every block of the run, as the tracks have it, handed over to its own
    // writer whatever the silence rule makes of it.
    auto* side = status->side;
    if (side != nullptr)
        side->push (channels[0], channels[1], numSamples);

    auto* writer = TrackWriter::getInstance (project->captureFolder, -1, sampleRate);
    if (writer == nullptr)
        return;

    // Input lost in a track is put down to that track's file, for the rest of the session.
    if (dropoutsToFile > 0)
    {
        if (status->inTrack && writer->isFileOpen())
            DropoutLog::add (writer->getFileName(), dropoutsToFile);
        dropoutsToFile = 0;
    }

    // The silence rule. A block at the threshold is sound.
    if (static_cast<float> (project->threshold) > levelIndex)
    {
        ++status->silentBlocks;
    }
    else
    {
        status->silentBlocks = 0;
        status->inTrack = true;
        status->soundSamples += numSamples;

        if (status->trackBlocks == 0)
        {
            broadcast (Audio::eventTrack);
            ++tracksBegun;

            if (project->firstTrackPending == 0)
            {
                // An earlier track of this run is finished: it goes to the list, the next
                // write opens the next number.
                if (writer->getFileName().isNotEmpty())
                {
                    if (side != nullptr)
                        side->trackClosed (writer->getFileName(), writer->getSamplesWritten());
                    writer->advance (1);
                    project->addTrack (writer->getFileName(), formatWav);
                }
                else if (writer->getTrackNumber() != 1)
                {
                    writer->setTrackNumber (1);
                }
            }
            else if (project->trackCounter + 1 != writer->getTrackNumber())
            {
                writer->setTrackNumber (project->trackCounter + 1);
                writer->close();
            }

            project->firstTrackPending = 0;
        }

        ++status->trackBlocks;
    }

    // Next Track from the page cuts the track by hand.
    if (project->takeNextTrackRequested() && writer->getFileName().isNotEmpty())
    {
        if (side != nullptr)
            side->trackClosed (writer->getFileName(), writer->getSamplesWritten());
        writer->advance (1);
        project->addTrack (writer->getFileName(), formatWav);
        broadcast (Audio::eventTrack);
    }

    if (project->firstTrackPending == 0 && status->silentBlocks <= status->minSilenceBlocks)
    {
        char samples[32];
        std::snprintf (samples, sizeof (samples), "%.0f",
                       static_cast<double> (static_cast<float> (writer->getSamplesWritten())));
        broadcast (juce::String (Audio::eventTrackTime) + juce::String (samples));
        writer->write (channels, numSamples);

        // A file that this block began: the track's place in the side starts here.
        if (side != nullptr && writer->getSamplesWritten() == numSamples)
            side->trackFileBegan();
    }
    else if (status->inTrack)
    {
        broadcast (Audio::eventStaled);
        status->trackBlocks = 0;
        status->inTrack = false;

        // The track waits in a gap: its end goes to the disk now, from another thread.
        TrackWriter::writingPaused();
    }

    if (status->silentBlocks > status->stopSilenceBlocks)
        endOfStream();
}

void AudioCallback::endOfStream()
{
    auto* project = status->project;
    stopped = true;
    status->silentBlocks = 0;

    // Nothing more is written while the box waits.
    TrackWriter::writingPaused();

    // Shown from the audio thread, which waits here until the user has answered, or until the
    // message thread takes the box back because it has to wait for this thread.
    const auto text =
        status->soundSamples > 0 ? NEEDS_TRANS ("No more stream detected") : NEEDS_TRANS ("No stream detected");
    waitingForAnswer = true;
    showMessage (juce::MessageBoxIconType::WarningIcon, project->translate ("End Capture"), project->translate (text),
                 "ok", &endOfStreamWithdrawal);
    waitingForAnswer = false;

    if (status->writeToDisk)
        status->phase = CaptureStatus::stopRequested;
}
