// The track page inside the wizard: leaving it stops the preview, whose player is deleted once
// whatever comes first; files dropped on it; Add a track and Do new capture, which move the
// wizard themselves.
#include "capture/AudioReader.h"
#include "capture/TrackWriter.h"
#include "editing/Page2.h"
#include "support/FakeAudioDevice.h"
#include "support/WizardFixture.h"

#include "TrackPageFixture.h"

namespace
{
class TrackPageWizard : public WizardTest
{
protected:
    void SetUp() override
    {
        WizardTest::SetUp();
        device = FakeAudioDeviceType::install (project(), 2, 44100.0, 512);
        ASSERT_NE (device, nullptr);

        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        root = testHome().getChildFile ("wizard").getNonexistentChildFile (info->name(), {}, false);
        ASSERT_TRUE (root.createDirectory());
        project().setRootDirectory (root.getFullPathName());
    }

    void TearDown() override
    {
        // A test that closed the program itself took the device with it.
        if (wizard != nullptr)
        {
            auto blocks = device->runBlocksInBackground();
            wizard.reset();
        }
        EXPECT_EQ (AudioReader::instanceCount(), 0);
        WizardTest::TearDown();
        trackpage_test::forgetWhatTheProgramKeeps();
    }

    Page2& page() { return *wizard->page2; }

    juce::File addTrack (const juce::String& name, int frames = 44100)
    {
        const auto file = root.getChildFile (name);
        WavFiles::write (file, WavFiles::tone (frames));
        project().addTrack (file.getFullPathName(), formatWav);
        return file;
    }

    /** Through the rip's pages to the track page. */
    void goToTrackPage()
    {
        for (int i = 0; i < 4; ++i)
            next();
        ASSERT_EQ (MainComponent::currentPage, 4);
        ASSERT_EQ (visiblePage(), 4);
    }

    /** Rows the list view shows, from the height of what it scrolls. */
    int shownRows()
    {
        return page().trackList.getViewport()->getViewedComponent()->getHeight() / page().trackList.getRowHeight();
    }

    /** The first track starts playing, as a click on its row and on Play start it. */
    void playFirstTrack()
    {
        page().trackList.selectRow (0);
        page().trackList.listBoxItemClicked (
            0, trackpage_test::mouseEvent (page().trackList, trackpage_test::leftButton, 1));
        page().buttonClicked (&page().playButton);
        ASSERT_NE (project().audioReader, nullptr);
        ASSERT_TRUE (project().audioReader->isPlaying());
        ASSERT_EQ (AudioReader::instanceCount(), 1);
    }

    /** Lets the message loop run with the sound card running, until `done` or a long while. */
    bool runUntil (const std::function<bool()>& done)
    {
        auto blocks = device->runBlocksInBackground();
        for (int i = 0; i < 1000 && ! done(); ++i)
            runMessageLoopFor (5);
        return done();
    }

    FakeAudioDevice* device = nullptr;
    juce::File root;
};
} // namespace

TEST_F (TrackPageWizard, enteringTheTrackPageShowsTheTracksOfTheCapture)
{
    for (int i = 0; i < 3; ++i)
        next();
    addTrack ("Track1.wav");
    addTrack ("Track2.wav");
    addTrack ("Track3.wav");
    next();

    EXPECT_EQ (visiblePage(), 4);
    EXPECT_EQ (shownRows(), 3);
    EXPECT_TRUE (page().newCaptureButton.isVisible());
    EXPECT_FALSE (wizard->backButton.isVisible());
}

TEST_F (TrackPageWizard, anEncodeProjectsTrackPageHasNoNewCaptureAndBrowsesForFiles)
{
    project().projectType = encodeProject;
    next();
    ASSERT_EQ (visiblePage(), 4);

    EXPECT_FALSE (page().newCaptureButton.isVisible());
    EXPECT_EQ (page().addButton.getTooltip(), "Browse for files to convert");
}

TEST_F (TrackPageWizard, leavingTheTrackPageWhilePlayingEndsThePlayerOnce)
{
    addTrack ("Track1.wav", 44100 * 5);
    goToTrackPage();
    playFirstTrack();

    next();
    EXPECT_EQ (MainComponent::currentPage, 5);

    // The page's timer winds the player down.
    EXPECT_TRUE (runUntil ([] { return AudioReader::instanceCount() == 0; }));
    EXPECT_EQ (project().audioReader, nullptr);
    EXPECT_EQ (page().getReader(), nullptr);
    runMessageLoopFor (30);
    EXPECT_EQ (AudioReader::instanceCount(), 0);
}

TEST_F (TrackPageWizard, leavingTheTrackPageWhilePausedDeletesThePlayerAtOnce)
{
    addTrack ("Track1.wav", 44100 * 5);
    goToTrackPage();
    playFirstTrack();
    {
        auto blocks = device->runBlocksInBackground();
        page().buttonClicked (&page().playButton); // the pause
    }
    ASSERT_NE (project().audioReader, nullptr);
    ASSERT_FALSE (project().audioReader->isPlaying());

    wizard->buttonClicked (&wizard->nextButton);

    EXPECT_EQ (MainComponent::currentPage, 5);
    EXPECT_EQ (AudioReader::instanceCount(), 0);
    EXPECT_EQ (project().audioReader, nullptr);
    EXPECT_EQ (page().getReader(), nullptr);
    runMessageLoopFor (30);
    EXPECT_EQ (AudioReader::instanceCount(), 0);
}

TEST_F (TrackPageWizard, closingTheProgramRightAfterLeavingWhilePlayingDeletesThePlayerOnce)
{
    addTrack ("Track1.wav", 44100 * 5);
    goToTrackPage();
    playFirstTrack();

    wizard->buttonClicked (&wizard->nextButton);
    ASSERT_EQ (AudioReader::instanceCount(), 1) << "told to end, not yet wound down";
    ASSERT_TRUE (project().audioReader->isPaused());

    {
        auto blocks = device->runBlocksInBackground();
        wizard.reset();
    }
    EXPECT_EQ (AudioReader::instanceCount(), 0);
}

TEST_F (TrackPageWizard, cancelOnTheTrackPageStopsThePreviewEvenWhenTheWizardGoesOn)
{
    addTrack ("Track1.wav", 44100 * 5);
    goToTrackPage();
    playFirstTrack();

    dialogs.answer ("Cancel");
    click (wizard->cancelButton);
    EXPECT_EQ (quitCount, 0);
    EXPECT_EQ (dialogs.alerts().back().title, "Delete Track(s)");

    EXPECT_TRUE (runUntil ([] { return AudioReader::instanceCount() == 0; }));
    EXPECT_EQ (project().audioReader, nullptr);
    EXPECT_EQ (visiblePage(), 4);
}

TEST_F (TrackPageWizard, filesDroppedOnTheTrackPageAreAddedInNameOrderAndShown)
{
    goToTrackPage();
    const auto c = root.getChildFile ("c.wav");
    const auto a = root.getChildFile ("A.wav");
    const auto b = root.getChildFile ("b.wav");
    for (const auto& file : { a, b, c })
        WavFiles::write (file, WavFiles::tone (1000));
    const auto notes = makeFile (root, "notes.txt", "liner notes");
    const auto broken = makeFile (root, "0 broken.wav", "no sound in here");

    wizard->filesDropped ({ c.getFullPathName(), notes.getFullPathName(), a.getFullPathName(), broken.getFullPathName(),
                            b.getFullPathName() },
                          100, 100);

    // A file that is no audio but is named like one goes in by its name; the rest is ignored.
    EXPECT_EQ (trackPaths (project()), trackpage_test::pathsOf ({ broken, a, b, c }));
    EXPECT_EQ (shownRows(), 4);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_EQ (notes.loadFileAsString(), "liner notes");
}

TEST_F (TrackPageWizard, addATrackInARipGoesBackToTheCapturePage)
{
    addTrack ("Track1.wav", 44100 * 5);
    goToTrackPage();
    playFirstTrack();

    page().buttonClicked (&page().addButton);

    EXPECT_EQ (MainComponent::currentPage, 3);
    EXPECT_EQ (visiblePage(), 3);
    EXPECT_EQ (project().firstTrackPending, 0);
    EXPECT_EQ (project().trackCount(), 1);
    EXPECT_TRUE (runUntil ([this] { return title() == "Groovesmith -- Page 4 / 7"; }));
    EXPECT_TRUE (runUntil ([] { return AudioReader::instanceCount() == 0; }));
}

TEST_F (TrackPageWizard, doNewCaptureDeletesTheTracksAfterTheQuestionAndGoesToTheAlbumPage)
{
    const auto first = addTrack ("Track1.wav");
    const auto second = addTrack ("Track2.wav");
    goToTrackPage();

    dialogs.answer ("No");
    page().buttonClicked (&page().newCaptureButton);
    EXPECT_EQ (MainComponent::currentPage, 4);
    EXPECT_EQ (project().trackCount(), 2);
    EXPECT_TRUE (first.existsAsFile());

    dialogs.answer ("Yes");
    page().buttonClicked (&page().newCaptureButton);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 3u);
    EXPECT_EQ (alerts[0].icon, juce::MessageBoxIconType::WarningIcon);
    EXPECT_EQ (alerts[0].title, "Delete Track(s)");
    EXPECT_EQ (alerts[0].message, "Are you sure to delete all your tracks");
    EXPECT_EQ (alerts[0].buttons, juce::StringArray ({ "Yes", "No", "Cancel" }));
    EXPECT_EQ (alerts[2].title, "Success");
    EXPECT_EQ (alerts[2].message, "All Files have been deleted sucessfully");

    EXPECT_FALSE (first.exists());
    EXPECT_FALSE (second.exists());
    EXPECT_EQ (project().trackCount(), 0);
    EXPECT_TRUE (project().captureStarted);
    EXPECT_EQ (project().captureFolder, root.getFullPathName());
    EXPECT_EQ (MainComponent::currentPage, 2);
    EXPECT_EQ (visiblePage(), 2);
    EXPECT_TRUE (runUntil ([this] { return title() == "Groovesmith -- Page 3 / 7"; }));
}

TEST_F (TrackPageWizard, doNewCaptureClosesTheLastCapturesFileAndFreesTheWriter)
{
    addTrack ("Track1.wav");
    goToTrackPage();
    auto* writer = TrackWriter::getInstance (root.getFullPathName(), 3, 44100);
    ASSERT_NE (writer, nullptr);
    const float silence[2][16] = {};
    const float* channels[] = { silence[0], silence[1] };
    ASSERT_TRUE (writer->write (channels, 16));
    ASSERT_TRUE (writer->isFileOpen());

    dialogs.answer ("Yes");
    page().buttonClicked (&page().newCaptureButton);

    EXPECT_FALSE (writer->isFileOpen());
    EXPECT_EQ (writer->getFolder(), "");
    EXPECT_EQ (writer->getTrackNumber(), -1);
}

TEST_F (TrackPageWizard, doNewCaptureWithNoTracksGoesStraightToTheAlbumPage)
{
    goToTrackPage();
    page().buttonClicked (&page().newCaptureButton);

    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_EQ (MainComponent::currentPage, 2);
    EXPECT_EQ (visiblePage(), 2);
}
