#pragma once

#include <juce_audio_devices/juce_audio_devices.h>
#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_gui_basics/juce_gui_basics.h>

/**
    The base of the split, merge and resampling workers: a progress window with Cancel, and the
    chain that plays a file through a transport (see TrackStreaming).
*/
class StreamingThread : public juce::ThreadWithProgressWindow
{
public:
    ~StreamingThread() override;

    std::unique_ptr<juce::AudioTransportSource> transport;
    std::unique_ptr<juce::AudioFormatReaderSource> readerSource;
    juce::AudioFormatReader* reader = nullptr; // owned by readerSource
    std::unique_ptr<juce::AudioFormatManager> formatManager;

protected:
    /** `title` is shown already translated. */
    explicit StreamingThread (const juce::String& title);

    /** Puts a status line in the window; the one place the worker's texts pass through. */
    virtual void showStatus (const juce::String& text) { setStatusMessage (text); }

    /** Disconnects the transport and closes the file being read. */
    void releaseReading();

private:
    JUCE_DECLARE_NON_COPYABLE (StreamingThread)
};
