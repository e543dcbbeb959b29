#pragma once

#include "project/WorkerWindow.h"

#include <juce_core/juce_core.h>

#include <memory>

class Project;
class ReplayGainMeter;

/**
    Turns one track into one output file. Each convertor does its work on a worker thread with a
    progress window and a Cancel button, and returns only when the file is complete or has
    failed; the answer is the one bool.
*/
class Convertor
{
public:
    // Virtual, unlike a bare interface would need, so that the run may own any convertor
    // through this base.
    virtual ~Convertor() = default;

    /** Writes `destination`, which already carries its extension, from the file `source`. */
    virtual bool convert (juce::String source, juce::String destination, Project* project) = 0;

    /** The convertor for a format number; a number the program does not know gives WAV. */
    static std::unique_ptr<Convertor> forFormat (int format);

    /** The extension the encode run appends for a format number, with its dot. */
    static juce::String extensionForFormat (int format);

    /** The text of a format number in the format page's list. */
    static juce::String formatName (int format);

    /** Hands the samples to `meter` as they are encoded, for the album's playlist and
        ReplayGain; null, the default, measures nothing. Convertors that cannot see their
        samples (WAV and iTunes) leave the meter alone. */
    void measureWith (ReplayGainMeter* meterToUse) { meter = meterToUse; }

protected:
    ReplayGainMeter* meter = nullptr;
};

/** The size of one chunk of samples, per channel, that the workers move at a time. */
constexpr int convertorChunkSamples = 100000;

/** Output files are written through a buffer of this many bytes. */
constexpr int convertorOutputBufferSize = 32768;
