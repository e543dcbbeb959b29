#include "capture/VUMeterUpdate.h"

#include "capture/MeterComponent.h"
#include "capture/TooHighMeterComponent.h"
#include "capture/WavFormComponent.h"
#include "project/Project.h"

VUMeterUpdate::VUMeterUpdate (Project* p, MeterComponent* left, MeterComponent* right, WavFormComponent* wave,
                              TooHighMeterComponent* lamp)
    : project (p),
      leftMeter (left),
      rightMeter (right),
      waveform (wave),
      tooHigh (lamp)
{
}

VUMeterUpdate::~VUMeterUpdate()
{
    stopTimer();
}

double VUMeterUpdate::noPreampScale (double value)
{
    if (value <= 40.0)
        return value * 56.0 / 40.0;

    return (value - 40.0) * 14.0 / 30.0 + 56.0;
}

void VUMeterUpdate::timerCallback()
{
    // One step of the ballistics per tick: nothing else may advance them.
    const float* smoothed = project->smoothedLevels();

    double left = 80.0 * smoothed[0];
    double right = 80.0 * smoothed[1];

    if (! project->preamp)
    {
        left = noPreampScale (left);
        right = noPreampScale (right);
    }

    leftMeter->setLevel ((float) (left / fullScale));
    rightMeter->setLevel ((float) (right / fullScale));

    for (const float sample : project->takeWaveformSamples())
        waveform->addSample (sample);

    tooHigh->setTooHigh (left > fullScale || right > fullScale);
}

void VUMeterUpdate::stopAndReset()
{
    stopTimer();
    leftMeter->setLevel (0.0f);
    rightMeter->setLevel (0.0f);
    tooHigh->setTooHigh (false);
    waveform->clear();
}
