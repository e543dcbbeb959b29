// A rip as the user makes it: the wizard in a window under the virtual display, its device a
// JACK server on the dummy backend into which the tests' client plays a record, driven through
// its buttons from the first page to the track page.
#include "CaptureTestSupport.h"
#include "JackWizard.h"
#include "capture/Audio.h"
#include "capture/DropoutLog.h"
#include "capture/Page1.h"
#include "capture/TrackWriter.h"
#include "editing/Page2.h"
#include "support/WizardFixture.h"

namespace
{
constexpr int second = serverRate;

/** The wizard on the JACK server, capturing into `folder` with a minimum silence of one second
    and a silence length of three, moved on to its capture page. */
void openCapturePage (JackWizard& jack, const juce::String& purpose, const juce::File& folder)
{
    ASSERT_NO_FATAL_FAILURE (jack.start (purpose, folder));
    auto& project = jack.wizard->getProject();
    ASSERT_NE (project.getCurrentAudioDevice(), nullptr);
    ASSERT_EQ (project.getCurrentAudioDevice()->getTypeName(), "JACK");
    project.setRootDirectory (folder.getFullPathName());
    project.setMinSilence (1);
    project.setSilenceLength (3);

    for (int i = 0; i < 3; ++i)
        clickAndWait (jack.wizard->nextButton);
    ASSERT_EQ (MainComponent::currentPage, 3);
}
} // namespace

TEST (CapturePageJack, aRecordIsRippedFromTheWizardThroughJack)
{
    const auto folder = testHome().getChildFile ("rips");
    ASSERT_TRUE (folder.createDirectory());

    juce::String playerOutput;
    FakeDialogs dialogs;
    JackWizard jack;
    ASSERT_NO_FATAL_FAILURE (openCapturePage (jack, "page", folder));
    auto& window = jack.window;
    auto* wizard = jack.wizard;
    auto& project = wizard->getProject();
    auto& page = *wizard->page1;

    // Calibrate over a quiet lead-in. It plays with the server freewheeling, which then pauses its
    // capture ports: the capture that follows must still start clean, since the program filters
    // a copy of each block, never the ports' own buffers.
    dialogs.answer ("OK");
    clickAndWait (page.calibrateButton);
    ASSERT_TRUE (page.isCalibrating());
    ASSERT_EQ (runRecordPlayer ({ "--record", "noise:0.004:7:" + juce::String (7 * second), "--freewheel",
                                  "--cycle-sleep-us", "1000" },
                                playerOutput),
               0)
        << playerOutput;
    ASSERT_TRUE (pumpUntil ([&page] { return ! page.isCalibrating(); }, 30000));
    EXPECT_EQ (project.threshold, 5);
    EXPECT_EQ (dialogs.alerts()[0].title, "Silence threshold calibration");

    // The record: three songs apart, then a silence that ends the capture.
    const std::string record = "silence:" + std::to_string (second / 2) + "," +
                               toneSegment (440, 660, 0.5, 3 * second) + ",silence:" + std::to_string (2 * second) +
                               ",noise:0.3:11:" + std::to_string (2 * second) +
                               ",silence:" + std::to_string (2 * second) + "," +
                               toneSegment (330, 550, 0.4, 4 * second) + ",silence:" + std::to_string (5 * second);

    clickAndWait (page.captureButton);
    ASSERT_TRUE (page.isCapturing());

    juce::ChildProcess player;
    ASSERT_TRUE (player.start (juce::StringArray{ GROOVESMITH_RECORD_PLAYER, "--record", record.c_str(), "--freewheel",
                                                  "--cycle-sleep-us", "2000" }));

    juce::StringArray shown;
    bool savedTheCapture = false;
    const bool ended = pumpUntil (
        [&]
        {
            const auto text = page.trackCounter.isVisible() ? page.trackCounter.getText() : juce::String ("(hidden)");
            const auto heading = text.upToFirstOccurrenceOf (" (", false, false);
            if (shown.isEmpty() || shown[shown.size() - 1] != heading)
                shown.add (heading);

            if (! savedTheCapture && page.isCapturing() && page.leftMeter.getLevel() > 0.5f &&
                page.waveform.getWriteIndex() > 20)
            {
                saveSnapshot (window, "capture-page-during-capture");
                savedTheCapture = true;
            }
            return ! project.captureRunning && ! page.isCapturing();
        },
        120000);
    const auto output = player.readAllProcessOutput();
    player.waitForProcessToFinish (60000);
    ASSERT_TRUE (ended) << shown.joinIntoString (" / ") << "\nplayer: " << output
                        << "\njackd: " << folder.getChildFile ("jackd.log").loadFileAsString();
    saveSnapshot (window, "capture-page-after-capture");

    EXPECT_EQ (shown.joinIntoString (" / "), "Waiting... / Track 1 / Waiting... / Track 2 / Waiting... / Track 3 / "
                                             "Waiting... / (hidden)");
    EXPECT_TRUE (savedTheCapture);

    const auto endBox = dialogs.alerts().back();
    EXPECT_EQ (endBox.icon, juce::MessageBoxIconType::WarningIcon);
    EXPECT_EQ (endBox.title, "End Capture");
    EXPECT_EQ (endBox.message, "No more stream detected");
    EXPECT_EQ (endBox.buttons, juce::StringArray ("ok"));
    EXPECT_FALSE (endBox.onMessageThread);

    ASSERT_EQ (project.trackCount(), 3);
    for (int i = 0; i < 3; ++i)
    {
        const auto file = folder.getChildFile ("Track" + juce::String (i + 1) + ".wav");
        EXPECT_EQ (project.trackPath (i), file.getFullPathName());
        const auto contents = readWav (file);
        ASSERT_TRUE (contents.valid) << file.getFileName();
        EXPECT_EQ (contents.numChannels, 2);
        EXPECT_EQ (contents.bitsPerSample, 16);
        // Each file holds its song and up to a second of the silence after it, in whole blocks.
        const int songs[] = { 3 * second, 2 * second, 4 * second };
        EXPECT_GE ((int) contents.left.size(), songs[i] - serverBlock) << file.getFileName();
        EXPECT_LE ((int) contents.left.size(), songs[i] + second + 2 * serverBlock) << file.getFileName();
        EXPECT_EQ (contents.left.size() % serverBlock, 0u) << file.getFileName();
    }

    clickAndWait (wizard->nextButton);
    EXPECT_EQ (MainComponent::currentPage, 4);
    EXPECT_TRUE (wizard->page2->isVisible());
}

TEST (CapturePageJack, xrunsOfTheServerShowOnTheCapturePageAndStayWithTheTrack)
{
    const auto folder = testHome().getChildFile ("rips");
    ASSERT_TRUE (folder.createDirectory());

    FakeDialogs dialogs;
    JackWizard jack;
    ASSERT_NO_FATAL_FAILURE (openCapturePage (jack, "xruns", folder));
    auto* wizard = jack.wizard;
    auto& project = wizard->getProject();
    project.setThreshold (5);
    auto& page = *wizard->page1;
    EXPECT_FALSE (page.dropoutIndicator.isVisible());

    clickAndWait (page.captureButton);
    ASSERT_TRUE (page.isCapturing());

    // The record plays in real time, and the player's cycle stalls for a tenth of a second once
    // a second of it: the server misses its deadlines, as on a machine too busy for it.
    juce::ChildProcess player;
    ASSERT_TRUE (player.start (juce::StringArray{
        GROOVESMITH_RECORD_PLAYER, "--record",
        ("silence:" + std::to_string (second / 2) + "," + toneSegment (440, 660, 0.5, 6 * second)).c_str(),
        "--stall-every", std::to_string (second).c_str(), "--stall-ms", "100" }));

    juce::String shown;
    bool savedTheIndicator = false;
    const bool seen = pumpUntil (
        [&]
        {
            if (page.dropoutIndicator.isVisible() && page.trackCounter.getText().startsWith ("Track 1"))
            {
                shown = page.dropoutIndicator.getText();
                if (! savedTheIndicator)
                    saveSnapshot (jack.window, "capture-page-dropouts-jack");
                savedTheIndicator = true;
            }
            return savedTheIndicator && ! player.isRunning();
        },
        60000);
    const auto output = player.readAllProcessOutput();
    player.waitForProcessToFinish (60000);
    ASSERT_TRUE (seen) << "player: " << output << "\njackd: " << folder.getChildFile ("jackd.log").loadFileAsString();

    EXPECT_TRUE (shown.startsWith ("Dropouts: ")) << shown;
    EXPECT_GE (shown.fromFirstOccurrenceOf (": ", false, false).getIntValue(), 1) << shown;
    EXPECT_GT (project.getCurrentAudioDevice()->getXRunCount(), 0);

    // The capture ends; the track keeps its count for the session, and the indicator goes.
    page.captureButton.triggerClick();
    ASSERT_TRUE (pumpUntil ([&project] { return ! project.captureRunning; }));
    EXPECT_FALSE (page.dropoutIndicator.isVisible());
    ASSERT_GE (project.trackCount(), 1);
    EXPECT_GE (DropoutLog::countFor (project.trackPath (0)), 1);
}
