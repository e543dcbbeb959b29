#pragma once

#include <juce_core/juce_core.h>

class Project;

/**
    Tells the user, once per run of the program and before the first capture, when the device
    runs at another rate than 44100 Hz: the capture keeps the device's rate, and FLAC, Ogg and
    AIFF files are marked 44100 Hz whatever it was, so that such an album would play at the
    wrong speed. The box says what to do instead.
*/
class CaptureRateNotice
{
public:
    explicit CaptureRateNotice (Project& project);

    /** Shows the box when the device's rate calls for it and it has not been shown yet. */
    void beforeCapture();

    /** The box's text for a device at `rate`, in the user's language. */
    juce::String messageFor (double rate) const;

    bool wasShown() const { return shown; }

private:
    Project& project;
    bool shown = false;
};
