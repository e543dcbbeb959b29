#pragma once

#include "encoding/Convertor.h"
#include "project/CheckedFileOutput.h"

#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>

class ReplayGainMeter;

/**
    The base of the convertors' workers: a progress window with the worker's title and an
    untranslated Cancel, the file to read, the file to write and the answer.
*/
class ConvertorThread : public juce::ThreadWithProgressWindow
{
public:
    juce::String source;
    juce::String destination;
    bool result;

    /** Where the worker hands what it encodes, or null. */
    ReplayGainMeter* meter = nullptr;

    /** The status line: the source's name less the last four characters, whatever they are. */
    static juce::String statusFor (const juce::String& source);

protected:
    ConvertorThread (const juce::String& title, const juce::String& source, const juce::String& destination,
                     bool initialResult);

    /** Reads the whole source, two channels of convertorChunkSamples at a time, into `buffers`,
        and passes each chunk's count of frames to `writeChunk`, which answers whether the chunk
        was written. A Cancel closes both files, deletes the destination and fails; a failed
        read fails but keeps what was written; a refused write fails. */
    void copyInChunks (std::unique_ptr<juce::AudioFormatReader>& reader,
                       std::unique_ptr<juce::AudioFormatWriter>& writer, const juce::File& destinationFile,
                       int* const* buffers, const std::function<bool (int count)>& writeChunk);

    /** Closes the writer, which completes the file; a file the system did not take whole is
        deleted and the conversion fails, so that no half file passes for a finished one. */
    void completeDestination (std::unique_ptr<juce::AudioFormatWriter>& writer, const WriteOutcome& outcome,
                              const juce::File& destinationFile);

private:
    JUCE_DECLARE_NON_COPYABLE (ConvertorThread)
};

/** The convertor whose whole work is one run of a `Worker`, made from the same three
    arguments; it answers the worker's result. */
template <typename Worker>
class ThreadedConvertor : public Convertor
{
public:
    bool convert (juce::String source, juce::String destination, Project* project) override
    {
        Worker thread (source, destination, project);
        thread.meter = meter;
        thread.runThread (juce::Thread::Priority::normal);
        return thread.result;
    }
};
