#pragma once

#include <cstdint>

class Project;
class SideWriter;

/**
    The state of one capture run, shared by the capture's control object and its audio
    callback. Each field is written by one side and read by the other, without a lock.
*/
struct CaptureStatus
{
    enum Phase : int32_t
    {
        running = 0,
        stopRequested = 1,
        stopped = 2
    };

    int32_t phase = running;
    bool writeToDisk = false;
    Project* project = nullptr;
    int32_t minSilenceBlocks = 0;  // the gap between two tracks, in blocks
    int32_t silentBlocks = 0;      // consecutive blocks below the threshold
    int32_t stopSilenceBlocks = 0; // the silence that ends the capture, in blocks
    int32_t soundSamples = 0;      // samples of all sound blocks of the run
    bool inTrack = false;          // sound was heard and the track has not been ended by silence
    int32_t trackBlocks = 0;       // sound blocks of the current track
    SideWriter* side = nullptr;    // the run's side file, while a capture that writes runs
};
