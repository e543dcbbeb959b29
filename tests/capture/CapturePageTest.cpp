#include "CaptureRunFixture.h"
#include "capture/DropoutLog.h"
#include "capture/Page1.h"
#include "support/Snapshots.h"
#include "support/WizardFixture.h"

using namespace capture_test;

/** The wizard on its capture page, with a device of the test's own fed block by block. */
class CapturePageTest : public WizardTest
{
protected:
    static constexpr int blockSize = 4410; // ten blocks a second

    void SetUp() override
    {
        WizardTest::SetUp();
        folder = testHome().getChildFile ("capture");
        folder.createDirectory();

        device = FakeAudioDeviceType::install (project(), 2, 44100.0, blockSize);
        ASSERT_NE (device, nullptr);

        project().setRootDirectory (folder.getFullPathName());
        project().setPreamp (true);
        project().setMinSilence (1);    // ten blocks
        project().setSilenceLength (2); // twenty blocks
        project().setThreshold (10);
        AudioCallback::setClock (&advancingClock);

        next();
        next();
        next();
        ASSERT_EQ (MainComponent::currentPage, 3);
        page = wizard->page1.get();
        outputs[0].assign ((size_t) blockSize, 0.0f);
        outputs[1].assign ((size_t) blockSize, 0.0f);
    }

    void TearDown() override
    {
        Audio::deleteInstance();
        TrackWriter::deleteInstance();
        AudioCallback::setClock (nullptr);
        WizardTest::TearDown();
    }

    void feed (const StereoBlock& block)
    {
        auto copy = block;
        device->deliver ({ copy.left.data(), copy.right.data() }, { outputs[0].data(), outputs[1].data() }, blockSize);
    }

    void feedTones (int count, float amplitude = 0.5f)
    {
        for (int i = 0; i < count; ++i)
            feed (toneBlock (blockSize, blockIndex++, amplitude));
        pumpMessages();
    }

    void feedSilence (int count)
    {
        for (int i = 0; i < count; ++i)
            feed (silentBlock (blockSize));
        pumpMessages();
    }

    juce::String counter() const { return page->trackCounter.isVisible() ? page->trackCounter.getText() : "(hidden)"; }

    /** Columns of the sound preview that hold anything. */
    int columnsInUse() const
    {
        int used = 0;
        for (int i = 0; i < WavFormComponent::numColumns; ++i)
            if (page->waveform.getColumn (i) != 0.0f)
                ++used;
        return used;
    }

    juce::File folder;
    FakeAudioDevice* device = nullptr;
    Page1* page = nullptr;
    std::vector<float> outputs[2];
    int blockIndex = 0;
};

TEST_F (CapturePageTest, theCapturePageShowsItsControls)
{
    EXPECT_EQ (page->getName(), "Page1");
    EXPECT_EQ (page->titleLabel.getText(), "Highly recommended test to avoid saturation problem:");
    EXPECT_TRUE (page->titleLabel.getFont().isBold());
    EXPECT_EQ (page->testLabel.getText(), "Turn on the audio input you want to record. Click on \"Test\" then put the "
                                          "dBMeter under 0dB using your audio input level controler");
    EXPECT_EQ (page->captureButton.getButtonText(), "Capture");
    EXPECT_EQ (page->captureButton.getTooltip(), "Start the rip");
    EXPECT_EQ (page->nextTrackButton.getButtonText(), ">>");
    EXPECT_EQ (page->nextTrackButton.getTooltip(), "Next Track");
    EXPECT_EQ (page->paramButton.getTooltip(), "Set capture parameters");
    EXPECT_EQ (page->rumbleButton.getTooltip(), "Toggle rumble filter");
    EXPECT_EQ (page->echoButton.getTooltip(),
               "Toggle echo of record (only use this with a silent vinyl turntable or any other silent sources!)");
    EXPECT_EQ (page->testButton.getTooltip(), "Start test");
    EXPECT_EQ (page->calibrateButton.getTooltip(), "Calibrate silence treshold");
    EXPECT_EQ (page->waveformGroup.getText(), "Sound preview");
    EXPECT_EQ (counter(), "(hidden)");
    EXPECT_TRUE (page->rumbleButton.getToggleState());
    EXPECT_TRUE (project().rumbleOn);
    EXPECT_FALSE (page->echoButton.getToggleState());

    EXPECT_EQ (page->leftMeter.getBounds(), juce::Rectangle<int> (20, 80, 15, 195));
    EXPECT_EQ (page->rightMeter.getBounds(), juce::Rectangle<int> (60, 80, 15, 195));
    EXPECT_EQ (page->tooHighMeter.getBounds(), juce::Rectangle<int> (40, 75, 16, 16));
    EXPECT_EQ (page->waveform.getBounds(), juce::Rectangle<int> (110, 280, 300, 40));
    EXPECT_EQ (page->captureButton.getBounds(), juce::Rectangle<int> (140, 180, 80, 50));
    EXPECT_EQ (page->testButton.getBounds(), juce::Rectangle<int> (26, 345 - 35, 40, 25));
    EXPECT_EQ (page->calibrateButton.getBounds(), juce::Rectangle<int> (16, 345 - 65, 60, 25));
    EXPECT_EQ (page->rumbleButton.getPosition(), juce::Point<int> (250, 225));
}

TEST_F (CapturePageTest, theScaleMarksFollowThePreampAtEveryPaint)
{
    const auto visibleMarks = [this]
    {
        page->createComponentSnapshot (page->getLocalBounds());
        juce::StringArray names;
        for (auto* label : page->scaleLabels)
            if (label->isVisible())
                names.add (label->getName() + "=" + label->getText());
        return names.joinIntoString (" ");
    };

    EXPECT_EQ (visibleMarks(), "L=L R=R dB=dB maxDB=0 minDB=-70 -10=-10 -30=-30 -50=-50");
    project().setPreamp (false);
    EXPECT_EQ (visibleMarks(), "L=L R=R dB=dB maxDB=0 minDB=-70 -30noPA=-30 -40noPA=-40 -50noPA=-50 -60noPA=-60");
}

TEST_F (CapturePageTest, theDefaultThresholdShowsAsMinus125AndTypedValuesAreStoredPlus70)
{
    project().setThreshold (-55);
    dialogs.answer ("ok", { "-65", "20", "3" });
    click (page->paramButton);

    ASSERT_EQ (dialogs.alerts().size(), 1u);
    const auto alert = dialogs.alerts()[0];
    EXPECT_EQ (alert.icon, juce::MessageBoxIconType::QuestionIcon);
    EXPECT_EQ (alert.title, "Capture Parameters");
    EXPECT_TRUE (alert.message.isEmpty());
    EXPECT_EQ (alert.fieldNames, juce::StringArray ({ "threshold", "silence", "gap" }));
    EXPECT_EQ (alert.fieldValues, juce::StringArray ({ "-125", "2", "1" }));
    EXPECT_EQ (alert.buttons, juce::StringArray ("ok"));

    EXPECT_EQ (project().threshold, 5);
    EXPECT_EQ (project().silenceLength, 20);
    EXPECT_EQ (project().minSilence, 3);
    EXPECT_EQ (project().getSettings().getValue ("threshold"), "5");

    dialogs.answer ("ok", { "", "x", "7" });
    click (page->paramButton);
    EXPECT_EQ (project().threshold, 70);
    EXPECT_EQ (project().silenceLength, 0);
    EXPECT_EQ (project().minSilence, 7);
}

TEST_F (CapturePageTest, aCaptureCountsTracksOnFromTheListAndEndsOnTheLongSilence)
{
    project().addTrack ("/earlier/one.wav", formatWav);
    project().addTrack ("/earlier/two.wav", formatWav);

    click (page->captureButton);
    EXPECT_TRUE (project().captureStarted);
    EXPECT_EQ (page->captureButton.getTooltip(), "Stop the rip");
    EXPECT_EQ (counter(), "Waiting...");

    feedSilence (1);
    EXPECT_TRUE (project().captureRunning);
    EXPECT_TRUE (page->captureButton.isActive());

    // Back and Next do nothing while the capture runs.
    next();
    back();
    EXPECT_EQ (MainComponent::currentPage, 3);

    feedTones (1);
    EXPECT_EQ (counter(), "Track 3 (0.00)");
    feedTones (3);
    EXPECT_EQ (counter(), "Track 3 (0.30)");

    feedSilence (11);
    EXPECT_EQ (counter(), "Waiting...");

    feedTones (2);
    EXPECT_EQ (counter(), "Track 4 (0.10)");

    feedSilence (21);
    ASSERT_TRUE (pumpUntil ([this] { return ! project().captureRunning; }));

    ASSERT_GE (dialogs.alerts().size(), 1u);
    const auto endBox = dialogs.alerts().back();
    EXPECT_EQ (endBox.title, "End Capture");
    EXPECT_EQ (endBox.message, "No more stream detected");

    EXPECT_FALSE (page->captureButton.isActive());
    EXPECT_FALSE (page->isCapturing());
    EXPECT_EQ (counter(), "(hidden)");
    EXPECT_EQ (page->leftMeter.getLevel(), 0.0f);
    EXPECT_FALSE (page->tooHighMeter.isTooHigh());

    ASSERT_EQ (project().trackCount(), 4);
    EXPECT_EQ (project().trackPath (2), folder.getChildFile ("Track3.wav").getFullPathName());
    EXPECT_EQ (project().trackPath (3), folder.getChildFile ("Track4.wav").getFullPathName());

    next();
    EXPECT_EQ (MainComponent::currentPage, 4);
}

TEST_F (CapturePageTest, nextTrackCutsTheTrackOnlyDuringACapture)
{
    click (page->nextTrackButton);
    EXPECT_FALSE (project().nextTrackRequested);

    click (page->captureButton);
    feedTones (3);
    EXPECT_EQ (counter(), "Track 1 (0.20)");
    click (page->nextTrackButton);
    feedTones (1);
    EXPECT_EQ (counter(), "Track 2 (0.30)");

    click (page->captureButton);
    pumpMessages();
    EXPECT_FALSE (project().captureRunning);
    EXPECT_EQ (project().trackCount(), 2);
}

TEST_F (CapturePageTest, paramIsRefusedDuringACaptureAndAllowedDuringATest)
{
    click (page->captureButton);
    feedSilence (1);
    click (page->paramButton);
    EXPECT_TRUE (dialogs.alerts().empty());
    click (page->captureButton);
    pumpMessages();

    click (page->testButton);
    feedSilence (1);
    EXPECT_TRUE (page->isTesting());
    EXPECT_EQ (counter(), "Testing..");
    EXPECT_TRUE (page->testButton.isActive());
    dialogs.answer ("ok", { "-40", "15", "2" });
    click (page->paramButton);
    EXPECT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (project().threshold, 30);

    click (page->testButton);
    pumpMessages();
    EXPECT_FALSE (page->isTesting());
    EXPECT_FALSE (page->testButton.isActive());
}

TEST_F (CapturePageTest, calibrateDuringATestOnlyUnchecksEchoAndClearsTheWaveform)
{
    EventLog log;
    Audio::getInstance (&project(), &log);

    project().echoOn = true;
    page->echoButton.setToggleState (true, juce::dontSendNotification);
    click (page->testButton);
    feedTones (3);
    ASSERT_TRUE (pumpUntil ([this] { return columnsInUse() > 0; }));
    ASSERT_EQ (log.events, juce::StringArray ("STARTED"));

    click (page->calibrateButton);
    EXPECT_EQ (columnsInUse(), 0);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_FALSE (page->echoButton.getToggleState());
    EXPECT_FALSE (project().echoOn);
    EXPECT_FALSE (page->isCalibrating());
    EXPECT_TRUE (page->isTesting());

    // The Test runs on as it was: no new run, no calibration.
    feedSilence (2);
    EXPECT_EQ (log.withoutTimes(), juce::StringArray ("STARTED"));
    EXPECT_TRUE (Audio::getInstance()->isStarted());
    EXPECT_FALSE (project().calibrationRequested);
    EXPECT_FALSE (project().calibrating);
    EXPECT_EQ (project().threshold, 10);
    EXPECT_EQ (counter(), "Testing..");
    EXPECT_TRUE (page->testButton.isActive());
    EXPECT_FALSE (page->calibrateButton.isActive());

    Audio::getInstance()->removeActionListener (&log);
}

TEST_F (CapturePageTest, aCalibrationShowsItsLabelWhenTheRunHasStarted)
{
    dialogs.answer ("OK");
    click (page->calibrateButton);
    feedSilence (1);
    EXPECT_TRUE (page->isCalibrating());
    EXPECT_EQ (counter(), "Calibrating...");
    EXPECT_TRUE (page->calibrateButton.isActive());
    EXPECT_FALSE (page->testButton.isActive());

    // A second click ends it at once.
    click (page->calibrateButton);
    pumpMessages();
    EXPECT_FALSE (page->isCalibrating());
    EXPECT_FALSE (page->calibrateButton.isActive());
    EXPECT_FALSE (project().calibrating);
    EXPECT_EQ (counter(), "(hidden)");
}

TEST_F (CapturePageTest, aStartThatFailsLeavesThePageIdleWithNothingShown)
{
    EventLog log;
    Audio::getInstance (&project(), &log);
    project().closeAudioDevice();
    ASSERT_EQ (project().getCurrentAudioDevice(), nullptr);

    click (page->captureButton);
    EXPECT_FALSE (page->isCapturing());
    EXPECT_FALSE (project().captureStarted);
    EXPECT_EQ (page->captureButton.getTooltip(), "Start the rip");
    EXPECT_EQ (counter(), "(hidden)");

    click (page->testButton);
    EXPECT_FALSE (page->isTesting());

    dialogs.answer ("OK");
    click (page->calibrateButton);
    EXPECT_FALSE (page->isCalibrating());

    pumpMessages();
    EXPECT_TRUE (log.events.isEmpty());
    EXPECT_EQ (counter(), "(hidden)");
    EXPECT_FALSE (page->captureButton.isActive());
    EXPECT_FALSE (page->testButton.isActive());
    EXPECT_FALSE (page->calibrateButton.isActive());
    ASSERT_EQ (dialogs.alerts().size(), 1u); // only the calibration's own question
    EXPECT_EQ (dialogs.alerts()[0].title, "Silence threshold calibration");

    // Idle indeed: the buttons answer as on a fresh page once a device is there.
    project().restartLastAudioDevice();
    device = dynamic_cast<FakeAudioDevice*> (project().getCurrentAudioDevice());
    ASSERT_NE (device, nullptr);
    project().calibrationRequested = false;
    click (page->testButton);
    EXPECT_TRUE (page->isTesting());
    Audio::getInstance()->removeActionListener (&log);
}

TEST_F (CapturePageTest, calibratingOverAQuietGrooveSetsTheThresholdJustAboveIt)
{
    dialogs.answer ("Cancel");
    click (page->calibrateButton);
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].icon, juce::MessageBoxIconType::InfoIcon);
    EXPECT_EQ (dialogs.alerts()[0].title, "Silence threshold calibration");
    EXPECT_EQ (dialogs.alerts()[0].message, "Silence threshold calibration : put the needle on the vinyl without "
                                            "playing it (lasts 5 seconds)");
    EXPECT_FALSE (page->isCalibrating());
    EXPECT_EQ (project().threshold, 10);

    dialogs.answer ("OK");
    click (page->calibrateButton);
    EXPECT_EQ (project().threshold, -65);
    EXPECT_TRUE (page->isCalibrating());

    // RMS 0.01 on both channels: levelIndex 0.8.
    for (int i = 0; i < 55 && page->isCalibrating(); ++i)
    {
        feed (constantBlock (blockSize, 0.01f));
        pumpMessages();
    }
    ASSERT_TRUE (pumpUntil ([this] { return ! page->isCalibrating(); }));
    EXPECT_EQ (project().threshold, 5);

    dialogs.answer ("ok", { "-65", "2", "1" });
    click (page->paramButton);
    EXPECT_EQ (dialogs.alerts().back().fieldValues[0], "-65");
}

TEST_F (CapturePageTest, echoAsksFirstAndCancelUnticksIt)
{
    dialogs.answer ("Cancel");
    click (page->echoButton);
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].title, "Echo");
    EXPECT_EQ (dialogs.alerts()[0].message,
               "Toggle echoing of current audio source (will produce horrible output and capture if not needed) ");
    EXPECT_FALSE (project().echoOn);
    EXPECT_FALSE (page->echoButton.getToggleState());

    dialogs.answer ("OK");
    click (page->echoButton);
    EXPECT_TRUE (project().echoOn);
    EXPECT_TRUE (page->echoButton.getToggleState());

    click (page->echoButton);
    EXPECT_FALSE (project().echoOn);
    EXPECT_EQ (dialogs.alerts().size(), 2u);
}

TEST_F (CapturePageTest, rumbleFollowsItsButtonAtOnce)
{
    click (page->rumbleButton);
    EXPECT_FALSE (project().rumbleOn);
    click (page->rumbleButton);
    EXPECT_TRUE (project().rumbleOn);
}

TEST_F (CapturePageTest, aDriverErrorDuringACaptureStopsTheEngineAndListsTheFileWritten)
{
    project().saveDeviceSettings();
    ASSERT_TRUE (project().getSettings().containsKey ("devicesettings"));

    click (page->captureButton);
    feedTones (4);
    ASSERT_EQ (counter(), "Track 1 (0.30)");

    // The device starts calling back in a tight loop: the eleventh such block trips the watchdog.
    AudioCallback::setClock (&frozenClock);
    feedTones (12);
    ASSERT_TRUE (pumpUntil ([this] { return ! project().captureRunning; }));

    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].title, "Driver error !");
    EXPECT_FALSE (Audio::getInstance()->isStarted());
    EXPECT_EQ (Audio::getInstance()->getStatus().phase, CaptureStatus::stopped);
    EXPECT_FALSE (page->isCapturing());
    EXPECT_FALSE (page->captureButton.isActive());
    EXPECT_EQ (page->captureButton.getTooltip(), "Start the rip");
    EXPECT_EQ (counter(), "(hidden)");
    EXPECT_FALSE (project().getSettings().containsKey ("devicesettings"));

    // The file is closed, whole, and in the track list: the four blocks before the loop and the
    // ten of it that the watchdog let through.
    const auto file = folder.getChildFile ("Track1.wav");
    ASSERT_EQ (project().trackCount(), 1);
    EXPECT_EQ (project().trackPath (0), file.getFullPathName());
    const auto contents = readWav (file);
    ASSERT_TRUE (contents.valid);
    EXPECT_EQ (contents.left.size(), (size_t) (14 * blockSize));

    // The device that failed was closed, so that its driver no longer calls back.
    EXPECT_EQ (project().getCurrentAudioDevice(), nullptr);

    // The page is idle again: Capture opens the device again and starts a new run.
    AudioCallback::setClock (&advancingClock);
    click (page->captureButton);
    device = dynamic_cast<FakeAudioDevice*> (project().getCurrentAudioDevice());
    ASSERT_NE (device, nullptr);
    feedSilence (1);
    EXPECT_TRUE (page->isCapturing());
    EXPECT_TRUE (project().captureRunning);
    click (page->captureButton);
    pumpMessages();
    EXPECT_FALSE (project().captureRunning);
}

TEST_F (CapturePageTest, aDriverErrorIsToldInItsOwnWords)
{
    page->actionListenerCallback ("ERROR");
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    const auto alert = dialogs.alerts()[0];
    EXPECT_EQ (alert.icon, juce::MessageBoxIconType::WarningIcon);
    EXPECT_EQ (alert.title, "Driver error !");
    EXPECT_EQ (alert.message, "No Stream detected.\nTry setting the default capture device in Windows and then "
                              "restart the Groovesmith\n(the capture device has been reset to windows default)");
    EXPECT_EQ (alert.buttons, juce::StringArray ("ok"));
    EXPECT_EQ (counter(), "(hidden)");
    EXPECT_EQ (page->captureButton.getTooltip(), "Start the rip");
}

TEST (CapturePageTime, theCounterCountsSecondsAt44100Whatever)
{
    EXPECT_EQ (Page1::timeText ((juce::int64) (65.42 * 44100) + 1), "1:05.42");
    EXPECT_EQ (Page1::timeText ((juce::int64) (5.07 * 44100) + 1), "5.07");
    EXPECT_EQ (Page1::timeText (48000), "1.08");
    EXPECT_EQ (Page1::timeText (0), "0.00");
    EXPECT_EQ (Page1::timeText (44100 * 60), "1:00.00");
    EXPECT_EQ (Page1::timeText (44100 * 609 + 441 * 5), "10:09.05");
}

TEST_F (CapturePageTest, aDeviceCallingBackInATightLoopDuringATestIsClosedAfterTheDriverError)
{
    click (page->testButton);
    ASSERT_TRUE (page->isTesting());

    // The driver goes wrong: its thread calls back with no pause, each block in the same
    // millisecond, until the device is closed.
    AudioCallback::setClock (&frozenClock);
    device->startDriverLoop();
    ASSERT_TRUE (pumpUntil ([this] { return ! dialogs.alerts().empty(); }));
    EXPECT_EQ (dialogs.alerts()[0].title, "Driver error !");

    // The page stopped the run, and the stop closed the device: its thread is gone with it.
    ASSERT_TRUE (pumpUntil ([this] { return project().getCurrentAudioDevice() == nullptr; }));
    EXPECT_FALSE (Audio::getInstance()->isStarted());
    const int blocks = FakeAudioDevice::driverLoopBlocks().load();
    EXPECT_GT (blocks, 10);
    runMessageLoopFor (50);
    EXPECT_EQ (FakeAudioDevice::driverLoopBlocks().load(), blocks);
    pumpUntil ([this] { return ! page->isTesting(); });
    EXPECT_FALSE (page->isTesting());

    // Test again: the device is opened again and its blocks reach the meters.
    AudioCallback::setClock (&advancingClock);
    click (page->testButton);
    device = dynamic_cast<FakeAudioDevice*> (project().getCurrentAudioDevice());
    ASSERT_NE (device, nullptr);
    EXPECT_TRUE (page->isTesting());
    feedTones (2);
    EXPECT_GT (project().levelPair[0], 0.0f);
    click (page->testButton);
    pumpMessages();
    EXPECT_FALSE (page->isTesting());
}

//==============================================================================
namespace
{
/** Every control and mark of the page, with what it is called, for overlap checks. */
std::vector<std::pair<juce::String, juce::Component*>> pageControls (Page1& page)
{
    std::vector<std::pair<juce::String, juce::Component*>> controls{
        { "title", &page.titleLabel },       { "instruction", &page.testLabel }, { "left meter", &page.leftMeter },
        { "right meter", &page.rightMeter }, { "lamp", &page.tooHighMeter },     { "preview", &page.waveformGroup },
        { "waveform", &page.waveform },      { "Capture", &page.captureButton }, { "Next", &page.nextTrackButton },
        { "Param", &page.paramButton },      { "Rumble", &page.rumbleButton },   { "Echo", &page.echoButton },
        { "counter", &page.trackCounter },   { "Test", &page.testButton },       { "Calibrate", &page.calibrateButton }
    };
    for (auto* mark : page.scaleLabels)
        controls.push_back ({ mark->getName(), mark });
    return controls;
}
} // namespace

TEST_F (CapturePageTest, dropoutsShowInASmallIndicatorOnlyWhileTheyHappen)
{
    const auto before = pageControls (*page);
    std::vector<juce::Rectangle<int>> boundsBefore;
    for (const auto& [name, control] : before)
        boundsBefore.push_back (control->getBounds());

    EXPECT_FALSE (page->dropoutIndicator.isVisible());
    click (page->captureButton);
    feedTones (5);
    page->dropoutIndicator.update();
    EXPECT_FALSE (page->dropoutIndicator.isVisible());

    // The device misses two deadlines: the next block shows it.
    device->addXRuns (2);
    feedTones (1);
    ASSERT_TRUE (pumpUntil ([this] { return page->dropoutIndicator.isVisible(); }));
    EXPECT_EQ (page->dropoutIndicator.getText(), "Dropouts: 2");
    EXPECT_EQ (counter(), "Track 1 (0.50)");
    saveSnapshot (*wizard, "capture-page-dropouts");

    // It sits in a strip of its own: every control keeps its place, and none lies under it.
    EXPECT_EQ (page->dropoutIndicator.getBounds(), juce::Rectangle<int> (230, 61, 190, 18));
    const auto after = pageControls (*page);
    for (size_t i = 0; i < after.size(); ++i)
    {
        EXPECT_EQ (after[i].second->getBounds(), boundsBefore[i]) << after[i].first;
        EXPECT_FALSE (after[i].second->getBounds().intersects (page->dropoutIndicator.getBounds())) << after[i].first;
    }
    EXPECT_TRUE (page->getLocalBounds().contains (page->dropoutIndicator.getBounds()));

    // One more: the count goes on. Three seconds of audio with none, and it goes.
    device->addXRuns (1);
    feedTones (1);
    page->dropoutIndicator.update();
    EXPECT_EQ (page->dropoutIndicator.getText(), "Dropouts: 3");
    feedTones (29);
    page->dropoutIndicator.update();
    EXPECT_TRUE (page->dropoutIndicator.isVisible());
    feedTones (1);
    page->dropoutIndicator.update();
    EXPECT_FALSE (page->dropoutIndicator.isVisible());

    // Back when they come back; gone at the end of the run.
    device->addXRuns (1);
    feedTones (1);
    ASSERT_TRUE (pumpUntil ([this] { return page->dropoutIndicator.isVisible(); }));
    EXPECT_EQ (page->dropoutIndicator.getText(), "Dropouts: 4");
    click (page->captureButton);
    pumpMessages();
    EXPECT_FALSE (page->dropoutIndicator.isVisible());

    // The count of the track stays for the session.
    const auto track1 = folder.getChildFile ("Track1.wav").getFullPathName();
    EXPECT_EQ (DropoutLog::countFor (track1), 4);
    ASSERT_EQ (project().trackCount(), 1);
}

TEST_F (CapturePageTest, dropoutsDuringATestShowTooButBelongToNoTrack)
{
    click (page->testButton);
    feedTones (2);
    device->addXRuns (1);
    feedTones (1);
    ASSERT_TRUE (pumpUntil ([this] { return page->dropoutIndicator.isVisible(); }));
    EXPECT_EQ (page->dropoutIndicator.getText(), "Dropouts: 1");
    EXPECT_EQ (DropoutLog::all().size(), 0);
    click (page->testButton);
    pumpMessages();
    EXPECT_FALSE (page->dropoutIndicator.isVisible());
}
