#pragma once

#include <juce_core/juce_core.h>

/** Whether everything written to a file reached it; it outlives the stream, which a writer
    deletes when it completes the file. */
struct WriteOutcome
{
    bool failed = false;
};

/**
    A buffered file output stream that notices every write the system refused, a full disk or
    a file-size limit included, and the last one too, which a plain stream drops when it closes.
    When it is deleted it closes the file and compares its size with what was written; the
    outcome is then final.
*/
class CheckedFileOutput : public juce::OutputStream
{
public:
    /** Null when the file can't be opened. An existing file is written after its end. */
    static std::unique_ptr<CheckedFileOutput> open (const juce::File& file, size_t bufferSize, WriteOutcome& outcome);

    ~CheckedFileOutput() override;

    void flush() override;
    bool setPosition (juce::int64 position) override;
    juce::int64 getPosition() override;
    bool write (const void* data, size_t bytes) override;

private:
    CheckedFileOutput (const juce::File& file, std::unique_ptr<juce::FileOutputStream> stream, WriteOutcome& outcome);

    juce::File file;
    std::unique_ptr<juce::FileOutputStream> output;
    WriteOutcome& outcome;
    juce::int64 end = 0; // the furthest byte written, which the file must reach

    JUCE_DECLARE_NON_COPYABLE (CheckedFileOutput)
};
