#pragma once

#include "project/WorkerWindow.h"

#include <juce_gui_basics/juce_gui_basics.h>

class Project;
class ReplayGainMeter;

/**
    Reads a finished FLAC or Ogg Vorbis file that the encode run did not convert (the track was
    already in the chosen format) and hands its samples to the meter, so that it gets its
    ReplayGain like the others. It decodes the file once, behind a progress window with Cancel.
*/
class LoudnessScanThread : public juce::ThreadWithProgressWindow
{
public:
    LoudnessScanThread (const juce::File& file, ReplayGainMeter& meter, Project& project);

    void run() override;

    /** True when the whole file was read into the meter. */
    bool result = false;

private:
    juce::File file;
    ReplayGainMeter& meter;

    JUCE_DECLARE_NON_COPYABLE (LoudnessScanThread)
};
