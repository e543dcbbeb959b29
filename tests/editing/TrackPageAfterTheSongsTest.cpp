// The track page's preview copy after the list's tracks were replaced under it: finding the songs
// or the titles from the sleeve may leave the previewed row's file holding other audio, and an
// Apply with the same settings must filter what the row holds now, never copy the old preview.
#include "SideFiles.h"

using namespace sidefiles;

namespace
{
class TrackPageAfterTheSongs : public CapturedSideTest
{
protected:
    void SetUp() override
    {
        CapturedSideTest::SetUp();
        page = std::make_unique<Page2> (project.get(), &messages);
        page->setSize (435, 345);
    }

    void TearDown() override
    {
        {
            auto blocks = device->runBlocksInBackground();
            page.reset();
        }
        CapturedSideTest::TearDown();
    }

    /** The Denoiser ticked at this strength, as the user sets it. */
    void tickDenoiser (int strength)
    {
        page->denoiserSlider.setValue (strength, juce::sendNotificationSync);
        page->denoiserToggle.setToggleState (true, juce::sendNotificationSync);
    }

    void highlight (int row)
    {
        page->updateTrackList();
        page->trackList.selectRow (row);
    }

    class Messages : public juce::ActionListener
    {
    public:
        void actionListenerCallback (const juce::String&) override {}
    };

    Messages messages;
    std::unique_ptr<Page2> page;
};
} // namespace

TEST_F (TrackPageAfterTheSongs, anApplyFiltersTheNewTrackAndNotTheOldPreview)
{
    captureTheSideBadly();
    highlight (0);
    tickDenoiser (30);

    // The first row previewed: its filtered copy is kept for an Apply with the same settings.
    const auto preview = page->prepareTrackFile (0, 30, -1, false);
    ASSERT_TRUE (preview.existsAsFile());
    const auto stale = WavFiles::read (preview);

    // The side is cut into its six songs: the first row's file now holds the first song alone.
    dialogs.answer ("ok", { "6" });
    page->trackList.runMenuEntry (TrackList::findSongsEntry, 0);
    ASSERT_EQ (project->trackCount(), 6);
    ASSERT_EQ (project->trackPath (0), tracks[0].getFullPathName());
    EXPECT_FALSE (preview.exists());
    EXPECT_EQ (page->getPreviewFile(), juce::File());

    const auto expected = filtered (tracks[0], 30, -1, false);
    highlight (0);
    page->buttonClicked (&page->applyButton);

    const auto applied = WavFiles::read (tracks[0]);
    EXPECT_TRUE (applied.channels == expected.channels);
    EXPECT_FALSE (applied.channels == stale.channels);
}

TEST_F (TrackPageAfterTheSongs, anApplyAfterTheTitlesFiltersTheRowAndLeavesTheTrackNowUnderTheOldName)
{
    captureTheSideBadly();
    highlight (0);
    tickDenoiser (25);
    ASSERT_TRUE (page->prepareTrackFile (0, 25, -1, false).existsAsFile());

    // The titles give the first row another name and the second row the first row's old name.
    dialogs.answer ("ok", { "First\nTrack1" });
    page->trackList.runMenuEntry (TrackList::sleeveTitlesEntry, 0);
    ASSERT_EQ (project->trackName (0), "First");
    ASSERT_EQ (project->trackName (1), "Track1");
    const auto second = WavFiles::read (tracks[0]); // what was the second row, now Track1.wav

    const juce::File first (project->trackPath (0));
    const auto expected = filtered (first, 25, -1, false);
    highlight (0);
    page->buttonClicked (&page->applyButton);

    EXPECT_TRUE (WavFiles::read (first).channels == expected.channels);
    EXPECT_TRUE (WavFiles::read (tracks[0]).channels == second.channels);
}
