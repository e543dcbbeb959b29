#pragma once

#include <juce_events/juce_events.h>

class Project;
class MeterComponent;
class TooHighMeterComponent;
class WavFormComponent;

/**
    The meter timer of the capture page. Each tick takes one step of the level ballistics,
    puts the levels on the bars (with the extra sensitivity a turntable without a preamp
    needs), lights the saturation lamp, and moves the waiting samples into the waveform.
*/
class VUMeterUpdate : public juce::Timer
{
public:
    VUMeterUpdate (Project* project, MeterComponent* leftMeter, MeterComponent* rightMeter, WavFormComponent* waveform,
                   TooHighMeterComponent* tooHigh);
    ~VUMeterUpdate() override;

    void timerCallback() override;

    /** Between a Test or Calibrate click and the engine's "STARTED". */
    static constexpr int waitingInterval = 50;
    /** From "STARTED" to "END". */
    static constexpr int runningInterval = 22;

    /** Ticks at the slow rate, while the engine is starting. */
    void startWaiting() { startTimer (waitingInterval); }

    /** Ticks at the running rate, once the engine has started. */
    void startRunning() { startTimer (runningInterval); }

    /** Stops ticking and empties the display: both bars at zero, the lamp off, no waveform.
        The ballistics keep their memory, so the next run starts from what decay remains. */
    void stopAndReset();

    /** A level on the levelIndex scale, as a turntable without a preamp shows it. */
    static double noPreampScale (double value);

    /** Where the bars reach their top and the lamp lights, on the displayed scale. */
    static constexpr double fullScale = 40.0;

private:
    Project* project;
    MeterComponent* leftMeter;
    MeterComponent* rightMeter;
    WavFormComponent* waveform;
    TooHighMeterComponent* tooHigh;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (VUMeterUpdate)
};
