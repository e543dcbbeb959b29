#pragma once

#include "editing/StreamingThread.h"
#include "project/CheckedFileOutput.h"

class Project;

/**
    Writes two audio files one after the other into a WAV file (44100 Hz, stereo, 16 bits),
    behind a progress window with Cancel. The output holds exactly the two lengths.

    A cancel closes the output with what was written so far and deletes the first input, while
    `success` stays true: the caller goes on as after a complete merge.
*/
class MergeThread : public StreamingThread
{
public:
    MergeThread (const juce::File& first, const juce::File& second, const juce::File& output,
                 Project* projectForTexts = nullptr);

    void run() override;

    bool success = false;
    juce::File firstFile;
    juce::File secondFile;
    juce::File outputFile;

private:
    bool openReader (const juce::File& file);
    bool copyReader (juce::AudioFormatWriter& writer, juce::AudioSampleBuffer& buffer, juce::int64 lengthBefore);
    juce::String appendingText (const juce::File& file) const;

    WriteOutcome outcome; // declared before the writer, which reports to it when deleted
    std::unique_ptr<juce::AudioFormatWriter> writer;
    Project* project;

    JUCE_DECLARE_NON_COPYABLE (MergeThread)
};

/** Writes `first` then `second` into `output`; see MergeThread for what a cancel does. */
bool mergeFiles (juce::File first, juce::File second, juce::File output, Project* projectForTexts = nullptr);
