#pragma once

#include <juce_audio_devices/juce_audio_devices.h>
#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_gui_basics/juce_gui_basics.h>

class Project;

/**
    Cuts a file at a position into two WAV files (44100 Hz, stereo, 16 bits), behind a
    progress window with Cancel. The start part ends exactly at the position; the end part is
    written in whole blocks of 960 samples, so it ends in silence.
*/
class SplitThread : public juce::ThreadWithProgressWindow
{
public:
    SplitThread (const juce::File& source, double seconds, const juce::File& start, const juce::File& end,
                 Project* projectForTexts = nullptr);
    ~SplitThread() override;

    void run() override;

    /** A sample number as the window shows it: "1:01.6150" for 61.5 seconds (the figures after
        the point count hundredths from the start of the file). */
    static juce::String positionText (double sampleNumber, double sampleRate);

    bool success = false;
    juce::File sourceFile;
    juce::File startFile;
    juce::File endFile;
    double splitPosition; // seconds, then a sample number once the reader is open
    double sampleRate = 0.0;
    std::unique_ptr<juce::AudioTransportSource> transport;
    std::unique_ptr<juce::AudioFormatReaderSource> readerSource;
    juce::AudioFormatReader* reader = nullptr; // owned by readerSource
    std::unique_ptr<juce::AudioFormatManager> formatManager;

protected:
    /** Puts a status line in the window; the one place the worker's texts pass through. */
    virtual void showStatus (const juce::String& text) { setStatusMessage (text); }

private:
    void releaseReading();

    Project* project;

    JUCE_DECLARE_NON_COPYABLE (SplitThread)
};

/** Splits `source` at `seconds` into `start` and `end`; true when both were written. */
bool splitFile (juce::File source, double seconds, juce::File start, juce::File end,
                Project* projectForTexts = nullptr);
