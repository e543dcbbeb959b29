#pragma once

#include "capture/CaptureStatus.h"
#include "capture/RiaaFilter.h"
#include "project/Dialogs.h"

#include <juce_audio_devices/juce_audio_devices.h>

#include <atomic>
#include <cstdint>
#include <memory>

/**
    The capture's work on the device's audio thread, one block at a time: levels on the raw
    input, the rumble filter and the RIAA emulation in place, echo, the sound preview, the
    calibration of the threshold, the silence rule that cuts the record into tracks, and the
    writing of the track files. There is no buffer between the device and the disk.
*/
class AudioCallback : public juce::AudioIODeviceCallback
{
public:
    /** `sampleRate` is the device's rate when the callback is made; it is kept for good. */
    AudioCallback (CaptureStatus* status, int sampleRate);
    ~AudioCallback() override;

    /** One block of the device. */
    void audioDeviceIOCallback (const float* const* inputs, int numInputs, float* const* outputs, int numOutputs,
                                int numSamples);

    void audioDeviceIOCallbackWithContext (const float* const* inputs, int numInputs, float* const* outputs,
                                           int numOutputs, int numSamples,
                                           const juce::AudioIODeviceCallbackContext& context) override;

    /** Builds the filters with zeroed state and rearms the callback. */
    void audioDeviceAboutToStart (juce::AudioIODevice* device) override;

    /** Deletes the filters. */
    void audioDeviceStopped() override;

    int getSampleRate() const { return sampleRate; }

    /** Tracks begun by the silence rule since the callback was made. */
    int getTracksBegun() const { return tracksBegun; }

    /** Lets the message thread take back the "End Capture" box that the callback waits for. */
    AlertWithdrawal& getEndOfStreamWithdrawal() { return endOfStreamWithdrawal; }

    /** True while the callback waits for the answer to "End Capture". */
    bool isWaitingForAnswer() const { return waitingForAnswer.load(); }

    /** True once the stream watchdog has tripped, until the next run. */
    bool hasWatchdogTripped() const { return watchdogTripped.load(); }

    /** Dropouts of this run: the device's xruns, and gaps in the stream where the device tells
        the time of its blocks. Read from any thread. */
    int getRunDropouts() const { return runDropouts.load(); }

    /** Samples delivered in this run, and how many had been when the last dropout was found. */
    juce::int64 getRunSamples() const { return runSamples.load(); }
    juce::int64 getLastDropoutSample() const { return lastDropoutSample.load(); }

    /** The clock of the stream watchdog, in milliseconds; tests and benchmarks replace it. */
    using Clock = juce::int64 (*)();
    static void setClock (Clock newClock);

    /** Callbacks in a row that found the same millisecond as the one before, process-wide. */
    static int getSameMillisecondCount();

    /** Brings that count back to zero, as at the start of the process. The program never calls
        it, since the count outlives runs; tests do, so that each one starts from rest. */
    static void resetSameMillisecondCount();

private:
    void broadcast (const juce::String& event) const;
    void endOfStream();

    /** Dropouts found at the head of this block: new xruns of the device, or a gap before it. */
    int countDropouts (int numSamples);

    CaptureStatus* status = nullptr;
    int sampleRate = 0;
    juce::AudioBuffer<float> privateBlock; // the filtered copy of the input block
    std::unique_ptr<juce::IIRFilter> rumbleLeft, rumbleRight;
    std::unique_ptr<RiaaFilter> riaaLeft, riaaRight;
    int tracksBegun = 0;
    juce::int64 calibrationSamplesLeft = -1;
    bool stopped = false;
    bool echoing = false;
    juce::int64 lastCallbackTime = 0;

    AlertWithdrawal endOfStreamWithdrawal;
    std::atomic<bool> waitingForAnswer{ false };
    std::atomic<bool> watchdogTripped{ false };

    juce::AudioIODevice* device = nullptr; // the device whose blocks arrive, for its xrun count
    int lastXRunCount = 0;
    const uint64_t* blockHostTime = nullptr; // the time of this block, where the device tells it
    uint64_t lastHostTime = 0;
    int lastBlockSamples = 0;
    std::atomic<int> runDropouts{ 0 };
    std::atomic<juce::int64> runSamples{ 0 };
    std::atomic<juce::int64> lastDropoutSample{ -1 };
    int dropoutsToFile = 0; // found, and not yet put down to the track being written

    JUCE_DECLARE_NON_COPYABLE (AudioCallback)
};
