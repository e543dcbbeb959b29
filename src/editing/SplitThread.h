#pragma once

#include "editing/StreamingThread.h"

class Project;

/**
    Cuts a file at a position into two WAV files (44100 Hz, stereo, 16 bits), behind a
    progress window with Cancel. The start part ends exactly at the position; the end part is
    written in whole blocks of 960 samples, so it ends in silence.
*/
class SplitThread : public StreamingThread
{
public:
    SplitThread (const juce::File& source, double seconds, const juce::File& start, const juce::File& end,
                 Project* projectForTexts = nullptr);

    void run() override;

    /** A sample number as the window shows it: "1:01.6150" for 61.5 seconds (the figures after
        the point count hundredths from the start of the file). */
    static juce::String positionText (double sampleNumber, double sampleRate);

    bool success = false;
    juce::File sourceFile;
    juce::File startFile;
    juce::File endFile;
    double splitPosition; // seconds, then a frame number at 44100 Hz once the reader is open
    double sampleRate = 0.0;

private:
    /** After a Cancel, closes and deletes the part being written and fails; true then. */
    bool stoppedByCancel (std::unique_ptr<juce::AudioFormatWriter>& writer, const juce::File& part);

    /** After a write the system refused: closes the writer, deletes both parts and fails. */
    void failWriting (std::unique_ptr<juce::AudioFormatWriter>& writer);

    Project* project;

    JUCE_DECLARE_NON_COPYABLE (SplitThread)
};

/** Splits `source` at `seconds` into `start` and `end`; true when both were written. */
bool splitFile (juce::File source, double seconds, juce::File start, juce::File end,
                Project* projectForTexts = nullptr);
