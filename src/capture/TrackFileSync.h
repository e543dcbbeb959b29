#pragma once

#include "capture/TrackWriter.h"

/**
    Forces the track file being captured onto the disk, from a thread other than the audio
    thread, so that a loss of power keeps about what a killed program keeps. It holds a file
    descriptor of its own on the file; the audio thread's writes are not touched. Where the
    platform offers no such call, it does nothing.
*/
class TrackFileSync
{
public:
    TrackFileSync() = default;
    ~TrackFileSync();

    /** Forces `file` onto the disk. A file synced before, when `file` is another one, is forced a
        last time and let go first. False when nothing could be synced. */
    bool sync (const TrackWriter::OpenFile& file);

    /** Lets go of the file held, after a last sync. */
    void release();

    /** The path of the file held, empty when none. */
    juce::String getHeldPath() const { return held.path; }

    /** Forces one file onto the disk, once. */
    static bool syncOnce (const juce::String& path);

private:
    TrackWriter::OpenFile held;
    int descriptor = -1;

    JUCE_DECLARE_NON_COPYABLE (TrackFileSync)
};
