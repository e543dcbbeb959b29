#pragma once

#include "capture/AudioCallback.h"
#include "capture/CaptureStatus.h"

#include <juce_events/juce_events.h>

#include <functional>
#include <memory>

class Project;
class SideWriter;

/**
    The control object of the capture engine. `start` attaches the audio callback to the
    device that `Project` opened; `stop` detaches it, closes the last file and puts it in the
    track list. The object's own thread waits for the callback to ask for the end of a run and
    then stops it from outside the callback; meanwhile it sends the end of a track whose writing
    has paused to the disk. A capture also keeps the whole side (SideWriter).

    Listeners receive the capture events, on the message thread and in order: "STARTED",
    "TRACK", "TRACK TIME " followed by the samples already in the current file, "STALED",
    "ERROR" and "END".
*/
class Audio : public juce::Thread, public juce::ActionBroadcaster
{
public:
    /** The process's capture engine, made on first use; `listener`, when given, is added. */
    static Audio* getInstance (Project* project, juce::ActionListener* listener);

    /** The engine, or null when none was made. */
    static Audio* getInstance();

    /** Stops and deletes the engine, at the end of the program. */
    static void deleteInstance();

    ~Audio() override;

    /** Begins a run on the current device: with `writeToDisk` a capture, otherwise a level
        test or a calibration. False, with no event, when there is no device. */
    bool start (bool writeToDisk);

    /** Ends the run in progress; nothing when there is none or it has already ended. After a
        driver error it also closes the device, which the next start opens again. */
    void stop();

    /** Runs `action`, which waits for the audio thread (it joins or leaves the device, or stops
        it), with that thread released: an "End Capture" box it waits for is taken back, and it
        asks none until `action` has returned. Without this, the audio thread would hold the
        device's callback lock while it waits for the message thread, and the message thread
        would wait for that lock. Message thread. */
    void withAudioThreadReleased (const std::function<void()>& action);

    /** Opens the device again if a driver error closed it; true when there is a device. */
    bool reopenDeviceAfterError();

    void run() override;

    bool isStarted() const { return started; }
    bool isWritingToDisk() const { return writeToDisk; }
    CaptureStatus& getStatus() { return *status; }

    /** The audio callback, made by the first run. */
    AudioCallback* getCallback() const { return callback.get(); }

    /** The side file of the capture in progress, or null. */
    SideWriter* getSideWriter() const { return side.get(); }

    static constexpr const char* eventStarted = "STARTED";
    static constexpr const char* eventTrack = "TRACK";
    static constexpr const char* eventTrackTime = "TRACK TIME ";
    static constexpr const char* eventStaled = "STALED";
    static constexpr const char* eventError = "ERROR";
    static constexpr const char* eventEnd = "END";

private:
    explicit Audio (Project* project);

    Project* project = nullptr;
    bool writeToDisk = false;
    std::unique_ptr<AudioCallback> callback;
    std::unique_ptr<CaptureStatus> status;
    std::unique_ptr<SideWriter> side;
    bool started = false;
    juce::CriticalSection stopLock; // the page and the thread may both end a run
    juce::WaitableEvent wakeUp;     // cuts the thread's waits short when it has to go

    /** A capture keeps the whole side: its file is made before the run's first block. */
    void beginSide (int sampleRate);

    /** The side's last track has its place: the side is finished and let go. */
    void endSide();

    /** Closes the device that a driver error left, on the message thread. */
    void closeDeviceAfterError();
    struct DeviceCloser;
    std::unique_ptr<DeviceCloser> deviceCloser;
    bool deviceClosedAfterError = false;

    JUCE_DECLARE_NON_COPYABLE (Audio)
};
