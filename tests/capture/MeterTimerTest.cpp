// The meter timer: ballistics, scale, lamp and waveform, tick by tick. The ballistics' memory is
// process-wide; the test main brings it to rest before each test.
#include "capture/MeterComponent.h"
#include "capture/TooHighMeterComponent.h"
#include "capture/VUMeterUpdate.h"
#include "capture/WavFormComponent.h"
#include "project/Project.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
class MeterTimer : public ::testing::Test
{
protected:
    void setInput (float left, float right) { project.setLevelPair (left, right); }

    void tick (int count = 1)
    {
        for (int i = 0; i < count; ++i)
            timer.timerCallback();
    }

    Project project;
    MeterComponent left, right;
    WavFormComponent waveform;
    TooHighMeterComponent lamp;
    VUMeterUpdate timer{ &project, &left, &right, &waveform, &lamp };
};
} // namespace

TEST_F (MeterTimer, aRiseIsShownAtTheNextTick)
{
    project.preamp = true;
    setInput (0.25f, 0.125f);
    EXPECT_EQ (left.getLevel(), 0.0f);

    tick();
    EXPECT_EQ (left.getLevel(), 0.5f); // 80 x 0.25 = 20, half of 40
    EXPECT_EQ (right.getLevel(), 0.25f);
    EXPECT_FALSE (lamp.isTooHigh());
}

TEST_F (MeterTimer, aLevelFallingToZeroIsUnderOnePercentWithin23Ticks)
{
    project.preamp = true;
    setInput (0.25f, 0.25f);
    tick();
    ASSERT_EQ (left.getLevel(), 0.5f);

    setInput (0.0f, 0.0f);
    tick();
    EXPECT_NEAR (left.getLevel(), 0.5f / 1.23f, 1e-6f); // a fifth of the way down at each tick

    tick (21);
    EXPECT_GT (left.getLevel(), 0.005f); // 22 ticks: still above
    tick();
    EXPECT_LT (left.getLevel(), 0.005f); // 23 ticks, about half a second
    EXPECT_LT (right.getLevel(), 0.005f);
    EXPECT_GT (left.getLevel(), 0.0f);
}

TEST_F (MeterTimer, aLowerLevelIsApproachedFromAbove)
{
    project.preamp = true;
    setInput (0.5f, 0.5f);
    tick();
    setInput (0.25f, 0.25f);
    tick();
    // 20 + (40 - 20) / 1.23 on the scale of 40.
    EXPECT_NEAR (left.getLevel(), (20.0 + 20.0 / 1.23) / 40.0, 1e-5);
}

TEST_F (MeterTimer, withAPreampASineAtHalfScaleLightsNoLampAndAnythingAboveDoes)
{
    project.preamp = true;
    setInput (0.5f, 0.5f);
    tick();
    EXPECT_EQ (left.getLevel(), 1.0f); // the top of the bar
    EXPECT_FALSE (lamp.isTooHigh());

    const float justAbove = std::nextafter (0.5f, 1.0f);
    setInput (0.0f, justAbove);
    tick();
    EXPECT_TRUE (lamp.isTooHigh());

    // The lamp has no hold: the next tick under the line puts it out.
    setInput (0.1f, 0.1f);
    tick(); // the right channel decays from just above 0.5
    EXPECT_FALSE (lamp.isTooHigh());
}

TEST_F (MeterTimer, withoutAPreampTheScaleIsOnePointFourTimesAsSensitive)
{
    project.preamp = false;
    setInput (0.25f, 0.125f);
    tick();
    EXPECT_FLOAT_EQ (left.getLevel(), 0.7f); // 20 becomes 28 of 40
    EXPECT_FLOAT_EQ (right.getLevel(), 0.35f);
    EXPECT_FALSE (lamp.isTooHigh());
}

TEST_F (MeterTimer, withoutAPreampTheLampLightsFromAboutRms0357)
{
    project.preamp = false;
    setInput (0.357f, 0.0f); // 28.56 shows as 39.98
    tick();
    EXPECT_FALSE (lamp.isTooHigh());
    EXPECT_LT (left.getLevel(), 1.0f);

    setInput (0.358f, 0.0f); // 28.64 shows as 40.1
    tick();
    EXPECT_TRUE (lamp.isTooHigh());
    EXPECT_EQ (left.getLevel(), 1.0f);
}

TEST_F (MeterTimer, levelsAboveFullScalePinTheBarsAndLightTheLamp)
{
    project.preamp = true;
    setInput (1.5f, 3.0f);
    tick();
    EXPECT_EQ (left.getLevel(), 1.0f);
    EXPECT_EQ (right.getLevel(), 1.0f);
    EXPECT_TRUE (lamp.isTooHigh());
}

TEST (MeterScale, theNoPreampCurveHasTwoStraightParts)
{
    EXPECT_DOUBLE_EQ (VUMeterUpdate::noPreampScale (0.0), 0.0);
    EXPECT_DOUBLE_EQ (VUMeterUpdate::noPreampScale (20.0), 28.0);
    EXPECT_DOUBLE_EQ (VUMeterUpdate::noPreampScale (40.0), 56.0);
    EXPECT_DOUBLE_EQ (VUMeterUpdate::noPreampScale (48.0), 8.0 * 14.0 / 30.0 + 56.0);
    EXPECT_DOUBLE_EQ (VUMeterUpdate::noPreampScale (70.0), 70.0);
    EXPECT_NEAR (VUMeterUpdate::noPreampScale (80.0 * 0.357142857), 40.0, 1e-6);
}

TEST_F (MeterTimer, eachTickMovesTheWaitingSamplesIntoTheWaveformInOrder)
{
    std::vector<float> samples (129, 0.5f);
    samples.insert (samples.end(), 129, -0.25f);
    samples.insert (samples.end(), 10, 1.0f);
    project.addWaveformSamples (samples.data(), (int) samples.size());

    tick();
    EXPECT_EQ (waveform.getWriteIndex(), 2);
    EXPECT_EQ (waveform.getColumn (0), 0.50390625f);
    EXPECT_EQ (waveform.getColumn (1), 0.251953125f);
    EXPECT_EQ (waveform.getCount(), 10);
    EXPECT_EQ (project.waveformSamples.size(), 0);

    tick();
    EXPECT_EQ (waveform.getCount(), 10);
}

TEST_F (MeterTimer, theTimerWaitsAt50msAndRunsAt22ms)
{
    EXPECT_FALSE (timer.isTimerRunning());

    timer.startWaiting();
    EXPECT_TRUE (timer.isTimerRunning());
    EXPECT_EQ (timer.getTimerInterval(), 50);

    timer.startRunning();
    EXPECT_EQ (timer.getTimerInterval(), 22);

    timer.stopAndReset();
    EXPECT_FALSE (timer.isTimerRunning());
}

TEST_F (MeterTimer, theEndOfARunEmptiesTheDisplayButTheBallisticsRemember)
{
    project.preamp = true;
    setInput (0.25f, 0.5f);
    std::vector<float> samples (129, 0.5f);
    project.addWaveformSamples (samples.data(), (int) samples.size());
    timer.startRunning();
    tick();
    ASSERT_TRUE (lamp.isTooHigh() == false);
    ASSERT_EQ (waveform.getColumn (0), 0.50390625f);

    timer.stopAndReset();
    EXPECT_EQ (left.getLevel(), 0.0f);
    EXPECT_EQ (right.getLevel(), 0.0f);
    EXPECT_FALSE (lamp.isTooHigh());
    EXPECT_EQ (waveform.getColumn (0), 0.0f);

    // A new run begins with what decay remains.
    setInput (0.0f, 0.0f);
    tick();
    EXPECT_NEAR (left.getLevel(), 0.5f / 1.23f, 1e-6f);
}

TEST_F (MeterTimer, theRunningTimerDrainsTheSamplesAndAStoppedOneLeavesThem)
{
    std::vector<float> samples (129, 0.5f);
    project.addWaveformSamples (samples.data(), (int) samples.size());

    timer.startRunning();
    for (int i = 0; i < 200 && waveform.getWriteIndex() == 0; ++i)
        runMessageLoopFor (25);
    EXPECT_EQ (waveform.getWriteIndex(), 1);
    EXPECT_EQ (project.waveformSamples.size(), 0);

    timer.stopTimer();
    project.addWaveformSamples (samples.data(), (int) samples.size());
    runMessageLoopFor (200);
    EXPECT_EQ (project.waveformSamples.size(), 129);
    EXPECT_EQ (waveform.getWriteIndex(), 1);
}
