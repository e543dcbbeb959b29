// A record from capture to a trimmed track list, as the user makes it: the wizard in a window
// under the virtual display, its device a JACK server on the dummy backend into which the tests'
// client plays a record with a worn first song; then the track page cleans that song, splits,
// merges, renames and deletes, each step seen in the folder and in the list.
#include "capture/CaptureTestSupport.h"
#include "capture/JackWizard.h"
#include "capture/Page1.h"
#include "editing/Page2.h"
#include "support/WizardFixture.h"

#include "TrackPageFixture.h"

#include <cmath>

namespace
{
constexpr int second = serverRate;

/** Clicks in a channel: places where the curve breaks far more sharply than any music here
    does, counted once for each stretch of breaks. */
int countClicks (const std::vector<int>& samples)
{
    int clicks = 0;
    long lastBreak = -1000;
    for (size_t n = 2; n < samples.size(); ++n)
    {
        const int bend = samples[n] - 2 * samples[n - 1] + samples[n - 2];
        if (std::abs (bend) > 8000)
        {
            if ((long) n - lastBreak > 100)
                ++clicks;
            lastBreak = (long) n;
        }
    }
    return clicks;
}

/** Split and merge move the samples of a 44100 Hz track bit for bit. */
void expectSameSamples (const std::vector<int>& actual, size_t actualFrom, const std::vector<int>& expected,
                        size_t expectedFrom, size_t count)
{
    ASSERT_GE (actual.size(), actualFrom + count);
    ASSERT_GE (expected.size(), expectedFrom + count);
    for (size_t i = 0; i < count; ++i)
        ASSERT_EQ (actual[actualFrom + i], expected[expectedFrom + i]) << "frame " << actualFrom + i;
}
} // namespace

TEST (TrackPageJack, aCapturedRecordIsCleanedSplitMergedRenamedAndTrimmedOnTheTrackPage)
{
    using namespace trackpage_test;

    const auto folder = testHome().getChildFile ("worn record");
    ASSERT_TRUE (folder.createDirectory());

    FakeDialogs dialogs;
    JackWizard jack;
    ASSERT_NO_FATAL_FAILURE (jack.start ("tracks", testHome()));
    auto& window = jack.window;
    auto* wizard = jack.wizard;

    auto& project = wizard->getProject();
    ASSERT_NE (project.getCurrentAudioDevice(), nullptr);
    ASSERT_EQ (project.getCurrentAudioDevice()->getTypeName(), "JACK");
    project.setRootDirectory (folder.getFullPathName());
    project.setPreamp (true);
    project.setThreshold (3);
    project.setMinSilence (1);
    project.setSilenceLength (3);

    for (int i = 0; i < 3; ++i)
        clickAndWait (wizard->nextButton);
    ASSERT_EQ (MainComponent::currentPage, 3);
    auto& capturePage = *wizard->page1;

    // The record: a quiet song with ten clicks a second, two clean songs, and the run-out.
    const std::string record =
        "silence:" + std::to_string (second / 2) + ",clicks:300:0.1:4410:" + std::to_string (3 * second) +
        ",silence:" + std::to_string (2 * second) + "," + toneSegment (440, 660, 0.5, 2 * second) +
        ",silence:" + std::to_string (2 * second) + "," + toneSegment (330, 550, 0.4, 2 * second) +
        ",silence:" + std::to_string (5 * second);

    clickAndWait (capturePage.captureButton);
    ASSERT_TRUE (capturePage.isCapturing());
    juce::ChildProcess player;
    ASSERT_TRUE (player.start (juce::StringArray{ GROOVESMITH_RECORD_PLAYER, "--record", record.c_str(), "--freewheel",
                                                  "--cycle-sleep-us", "2000" }));
    const bool ended = pumpUntil ([&] { return ! project.captureRunning && ! capturePage.isCapturing(); }, 120000);
    const auto output = player.readAllProcessOutput();
    player.waitForProcessToFinish (60000);
    ASSERT_TRUE (ended) << "player: " << output;

    const auto track = [&folder] (int number)
    { return folder.getChildFile ("Track" + juce::String (number) + ".wav"); };
    ASSERT_EQ (trackPaths (project), pathsOf ({ track (1), track (2), track (3) }));

    clickAndWait (wizard->nextButton);
    ASSERT_EQ (MainComponent::currentPage, 4);
    auto& page = *wizard->page2;
    ASSERT_TRUE (page.isShowing());
    EXPECT_EQ (page.trackList.getViewport()->getViewedComponent()->getHeight(), 3 * page.trackList.getRowHeight());

    //==============================================================================
    // A preview of the worn song with the declicker: the copy that plays has lost its clicks.
    const auto worn = readWav (track (1));
    const int sourceClicks = countClicks (worn.left);
    EXPECT_GE (sourceClicks, 25);

    clickRow (page.trackList, 0);
    page.declickerSlider.setValue (50.0);
    clickAndWait (page.declickerToggle);
    EXPECT_EQ (page.playButton.getButtonText(), "Preview");
    clickAndWait (page.playButton);

    const auto preview = page.getPreviewFile();
    ASSERT_TRUE (preview.existsAsFile());
    EXPECT_TRUE (preview.getFileName().endsWith ("1.wav"));
    const auto cleaned = readWav (preview);
    const int previewClicks = countClicks (cleaned.left);
    EXPECT_LE (previewClicks * 10, sourceClicks) << previewClicks << " clicks left of " << sourceClicks;
    ::testing::Test::RecordProperty ("clicksInTheTrack", sourceClicks);
    ::testing::Test::RecordProperty ("clicksInThePreview", previewClicks);
    EXPECT_EQ (readWav (track (1)).left, worn.left) << "the track itself is untouched by a preview";
    ASSERT_TRUE (pumpUntil ([&page] { return page.playButton.getButtonText() == "Pause"; }, 10000));
    ASSERT_NE (project.audioReader, nullptr);

    // Apply puts that very copy in the track's place.
    clickAndWait (page.applyButton);
    EXPECT_FALSE (preview.exists());
    const auto applied = readWav (track (1));
    EXPECT_EQ (applied.left, cleaned.left);
    EXPECT_EQ (applied.right, cleaned.right);
    EXPECT_FALSE (page.declickerToggle.getToggleState());
    EXPECT_EQ (page.playButton.getButtonText(), "Play");
    EXPECT_EQ (project.audioReader, nullptr);
    EXPECT_EQ (trackPaths (project), pathsOf ({ track (1), track (2), track (3) }));

    //==============================================================================
    // The second song is split where it was paused.
    const auto whole = readWav (track (2));
    clickRow (page.trackList, 1);
    clickAndWait (page.playButton);
    ASSERT_TRUE (pumpUntil ([&page] { return page.positionSlider.getValue() > 0.5 * second; }, 10000));
    saveSnapshot (window, "track-page-playing");
    clickAndWait (page.playButton);
    ASSERT_NE (page.getPausePosition(), -1.0);
    EXPECT_EQ (page.playButton.getButtonText(), "Play");
    pumpMessages();
    const double value = page.positionSlider.getValue();
    const auto rest = track (2).getNonexistentSibling (true);
    clickAndWait (page.splitButton);

    ASSERT_EQ (trackPaths (project), pathsOf ({ track (1), track (2), rest, track (3) }));
    const auto cut = (size_t) std::llround (value / 44100.0 * 44100.0); // the frame nearest to the time
    const auto firstPart = readWav (track (2));
    const auto secondPart = readWav (rest);
    ASSERT_EQ (firstPart.left.size(), cut);
    expectSameSamples (firstPart.left, 0, whole.left, 0, cut);
    expectSameSamples (secondPart.left, 0, whole.left, cut, whole.left.size() - cut);
    EXPECT_EQ (page.trackList.getViewport()->getViewedComponent()->getHeight(), 4 * page.trackList.getRowHeight());
    page.trackList.selectRow (1);
    pumpMessages();
    saveSnapshot (window, "track-page-after-split");

    //==============================================================================
    // The second part is merged with the third song, whose file goes.
    const auto third = readWav (track (3));
    page.trackList.showMenu = [] (juce::PopupMenu&) { return (int) TrackList::mergeEntry; };
    clickRow (page.trackList, 2, rightButton);

    ASSERT_EQ (trackPaths (project), pathsOf ({ track (1), track (2), rest }));
    EXPECT_FALSE (track (3).exists());
    const auto merged = readWav (rest);
    ASSERT_EQ (merged.left.size(), secondPart.left.size() + third.left.size());
    expectSameSamples (merged.left, 0, secondPart.left, 0, secondPart.left.size());
    expectSameSamples (merged.left, secondPart.left.size(), third.left, 0, third.left.size());

    //==============================================================================
    // The cleaned song gets its name.
    dialogs.answer ("ok", { "Worn groove" });
    doubleClickRow (page.trackList, 0);
    const auto renamed = folder.getChildFile ("Worn groove.wav");
    ASSERT_EQ (trackPaths (project), pathsOf ({ renamed, track (2), rest }));
    EXPECT_FALSE (track (1).exists());
    EXPECT_EQ (readWav (renamed).left, cleaned.left);
    EXPECT_EQ (dialogs.alerts().back().title, "Rename Track");

    //==============================================================================
    // The first part of the split goes, file and all.
    page.trackList.showMenu = [] (juce::PopupMenu&) { return (int) TrackList::deleteTrackEntry; };
    dialogs.answer ("OK");
    clickRow (page.trackList, 1, rightButton);

    ASSERT_EQ (trackPaths (project), pathsOf ({ renamed, rest }));
    EXPECT_FALSE (track (2).exists());
    const auto alerts = dialogs.alerts();
    ASSERT_GE (alerts.size(), 2u);
    EXPECT_EQ (alerts[alerts.size() - 2].title, "Delete Track");
    EXPECT_EQ (alerts[alerts.size() - 2].message, "Are you sure to delete the track named: Track2\n");
    EXPECT_EQ (alerts.back().title, "Success");
    EXPECT_EQ (alerts.back().message, "File has been deleted sucessfully");

    // Beside them, the whole side that the capture kept, with its record.
    auto left = folder.findChildFiles (juce::File::findFiles, false);
    left.sort();
    EXPECT_EQ (left, juce::Array<juce::File> (
                         { folder.getChildFile ("Side1.tracks"), folder.getChildFile ("Side1.wav"), rest, renamed }));
    pumpMessages();
    saveSnapshot (window, "track-page-at-the-end");

    window.clearContentComponent();
    forgetWhatTheProgramKeeps();
}
