#include "capture/CaptureRateNotice.h"

#include "project/Dialogs.h"
#include "project/Project.h"

CaptureRateNotice::CaptureRateNotice (Project& projectToUse)
    : project (projectToUse)
{
}

juce::String CaptureRateNotice::messageFor (double rate) const
{
    return project
        .translate ("The audio device runs at <rate> Hz, not at 44100 Hz, and the tracks will be captured at "
                    "<rate> Hz. FLAC, Ogg Vorbis and AIFF files are always marked 44100 Hz: in these formats "
                    "the album would play too slow and too low.\n\nTo avoid it, choose 44100 Hz in the audio "
                    "device options of the setup page before capturing, or choose WAV or MP3 on the format "
                    "page, which keep the rate of the capture.")
        .replace ("<rate>", juce::String (juce::roundToInt (rate)));
}

void CaptureRateNotice::beforeCapture()
{
    if (shown)
        return;

    auto* device = project.getCurrentAudioDevice();
    if (device == nullptr)
        return;

    const auto rate = device->getCurrentSampleRate();
    if (rate <= 0.0 || juce::roundToInt (rate) == 44100)
        return;

    shown = true;
    showMessage (juce::MessageBoxIconType::InfoIcon, project.translate ("Sample rate"), messageFor (rate),
                 project.translate ("ok"));
}
