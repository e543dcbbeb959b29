#pragma once

#include "app/Page.h"
#include "capture/CaptureRateNotice.h"
#include "capture/DropoutIndicator.h"
#include "capture/MeterComponent.h"
#include "capture/TooHighMeterComponent.h"
#include "capture/TwoStateButton.h"
#include "capture/VUMeterUpdate.h"
#include "capture/WavFormComponent.h"

#include <memory>

class Audio;

/**
    The capture page: the input level on two bars with a saturation lamp, the moving waveform,
    and the buttons that run the capture engine: Test, Calibrate, Param, Capture, Next Track,
    Rumble and Echo. The engine's events drive what the page shows.
*/
class Page1 : public Page, public juce::Button::Listener, public juce::ActionListener
{
public:
    explicit Page1 (Project* project);
    ~Page1() override;

    void paint (juce::Graphics& g) override;
    void resized() override;
    void buttonClicked (juce::Button* button) override;
    void actionListenerCallback (const juce::String& message) override;

    /** A sample count as the counter shows it, always counted at 44100 per second: "1:05.42". */
    static juce::String timeText (juce::int64 samples);

    /** The number shown after "Track ". */
    static int trackDisplayNumber;

    bool isTesting() const { return testing; }
    bool isCalibrating() const { return calibrating; }
    bool isCapturing() const { return capturing; }

    juce::Label titleLabel{ "titleTestLabel" };
    juce::Label testLabel{ "testLabel" };
    MeterComponent leftMeter;
    MeterComponent rightMeter;
    TooHighMeterComponent tooHighMeter;
    juce::GroupComponent waveformGroup{ "wavformgroup" };
    WavFormComponent waveform;
    TwoStateButton captureButton;
    juce::TextButton nextTrackButton;
    juce::TextButton paramButton;
    juce::ToggleButton rumbleButton;
    juce::ToggleButton echoButton;
    juce::Label trackCounter{ "TrackCt" };
    TwoStateButton testButton;
    TwoStateButton calibrateButton;

    /** The marks beside the bars; the value marks depend on the preamp. */
    juce::OwnedArray<juce::Label> scaleLabels;

    /** Shown only while the input loses blocks during a run. */
    DropoutIndicator dropoutIndicator;

    /** Says once, before the first capture, what a device rate other than 44100 Hz means. */
    CaptureRateNotice rateNotice;

private:
    void captureClicked();
    void paramClicked();
    void testClicked();
    void calibrateClicked();
    void echoClicked();
    void showCounter (const juce::String& text);
    juce::Label* scaleLabel (const juce::String& name) const;

    Audio* audio = nullptr;
    std::unique_ptr<VUMeterUpdate> vuMeterUpdate;
    bool writeToDisk = false;
    bool testing = false;
    bool calibrating = false;
    bool capturing = false;
};
