#include "app/ProjectPage.h"
#include "encoding/FinalPage.h"
#include "support/WizardFixture.h"

namespace
{

void writeSavedList (const juce::StringArray& paths)
{
    auto file = Project::savedTrackListFile();
    file.getParentDirectory().createDirectory();
    file.replaceWithText (paths.joinIntoString ("\r\n") + "\r\n");
}
} // namespace

TEST_F (WizardTest, anEncodeWithNoSavedListAsksNothing)
{
    click (wizard->projectPage->encodeButton);
    next();
    EXPECT_EQ (MainComponent::currentPage, 4);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (WizardTest, aSavedListIsOfferedAboveTheTrackPageAndLoaded)
{
    const auto first = makeFile (testHome(), "one.wav");
    const auto second = makeFile (testHome(), "two.flac");
    writeSavedList ({ first.getFullPathName(), second.getFullPathName() });

    dialogs.onAlert = [] (const FakeDialogs::Alert&) { EXPECT_EQ (MainComponent::currentPage, 4); };
    dialogs.answer ("Load it");
    click (wizard->projectPage->encodeButton);
    next();

    ASSERT_EQ (dialogs.alerts().size(), 1u);
    const auto alert = dialogs.alerts()[0];
    EXPECT_EQ (alert.icon, juce::MessageBoxIconType::InfoIcon);
    EXPECT_EQ (alert.title, "Saved track list found");
    EXPECT_EQ (alert.message, "What do you want to do with it ?");
    EXPECT_EQ (alert.buttons, juce::StringArray ({ "Load it", "Delete it", "Nothing" }));

    ASSERT_EQ (project().trackCount(), 2);
    EXPECT_EQ (project().trackPath (0), first.getFullPathName());
    EXPECT_EQ (project().trackFormat (1), formatFlac);
    EXPECT_TRUE (wizard->backButton.isVisible());
}

TEST_F (WizardTest, nothingLeavesTheSavedListSoTheQuestionComesAgain)
{
    writeSavedList ({ makeFile (testHome(), "one.wav").getFullPathName() });
    click (wizard->projectPage->encodeButton);

    dialogs.answer ("Nothing");
    next();
    EXPECT_TRUE (Project::savedTrackListFile().existsAsFile());
    EXPECT_EQ (project().trackCount(), 0);

    back();
    dialogs.answer ("Delete it");
    next();
    EXPECT_EQ (dialogs.alerts().size(), 2u);
    EXPECT_FALSE (Project::savedTrackListFile().exists());

    back();
    next();
    EXPECT_EQ (dialogs.alerts().size(), 2u);
}

TEST_F (WizardTest, aRipNeverLooksAtTheSavedList)
{
    writeSavedList ({ makeFile (testHome(), "one.wav").getFullPathName() });
    next();
    EXPECT_TRUE (dialogs.alerts().empty());
    Project::savedTrackListFile().deleteFile();
}

TEST_F (WizardTest, cancelInAnEncodeCanSaveTheListForNextTime)
{
    project().projectType = encodeProject;
    const auto track = makeFile (testHome(), "song.ogg");
    project().addTrack (track.getFullPathName(), formatOgg);

    dialogs.answer ("Yes");
    click (wizard->cancelButton);

    EXPECT_EQ (quitCount, 1);
    EXPECT_EQ (Project::savedTrackListFile().loadFileAsString(), track.getFullPathName() + "\r\n");
    Project::savedTrackListFile().deleteFile();
}

TEST_F (WizardTest, filesDroppedOnTheTrackPageJoinTheListInNameOrder)
{
    click (wizard->projectPage->encodeButton);
    next();
    // Sorted with regard to case, "C.aiff" and "D.wav" would come before "b.flac".
    const auto b = makeFile (testHome(), "b.flac");
    const auto c = makeFile (testHome(), "C.aiff");
    const auto d = makeFile (testHome(), "D.wav");
    const auto text = makeFile (testHome(), "notes.txt");

    wizard->filesDropped ({ d.getFullPathName(), text.getFullPathName(), c.getFullPathName(), b.getFullPathName() },
                          100, 100);

    EXPECT_EQ (trackPaths (project()),
               juce::StringArray (b.getFullPathName(), c.getFullPathName(), d.getFullPathName()));
    ASSERT_EQ (project().trackCount(), 3);
    EXPECT_EQ (project().trackFormat (0), formatFlac);
    EXPECT_EQ (project().trackFormat (1), formatAiff);
}

TEST_F (WizardTest, filesDroppedElsewhereAreIgnored)
{
    // A sound and a picture, dropped on the left and on the right of every page but the track
    // page, where sounds join the list, and the album page, where pictures are covers.
    const auto sound = makeFile (testHome(), "b.wav");
    const auto picture = testHome().getChildFile ("cover.jpg");
    {
        juce::Image image (juce::Image::RGB, 8, 8, true);
        juce::FileOutputStream stream (picture);
        ASSERT_TRUE (juce::JPEGImageFormat().writeImageToStream (image, stream));
    }
    const juce::StringArray both{ picture.getFullPathName(), sound.getFullPathName() };

    std::vector<int> pagesDroppedOn;
    const auto dropEverywhere = [&]
    {
        pagesDroppedOn.push_back (MainComponent::currentPage);
        for (const int x : { 10, 300 })
        {
            wizard->filesDropped (both, x, 100);
            runMessageLoopFor (5);
        }
        EXPECT_EQ (project().trackCount(), 0) << "page " << MainComponent::currentPage;
        EXPECT_EQ (project().frontCover, juce::File()) << "page " << MainComponent::currentPage;
        EXPECT_EQ (project().backCover, juce::File()) << "page " << MainComponent::currentPage;
    };

    // A rip, with no tracks, goes through every page: 0, 1, 3, then from the track page on to
    // the format page and the last page.
    dropEverywhere();
    next();
    dropEverywhere();
    next();
    ASSERT_EQ (MainComponent::currentPage, 2);
    next();
    dropEverywhere();
    next();
    ASSERT_EQ (MainComponent::currentPage, 4);
    next();
    dropEverywhere();
    next();
    ASSERT_EQ (MainComponent::currentPage, 6);
    dropEverywhere();

    EXPECT_EQ (pagesDroppedOn, (std::vector<int>{ 0, 1, 3, 5, 6 }));
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (dialogs.choosers().empty());
    EXPECT_EQ (sound.loadFileAsString(), "sound");
    EXPECT_TRUE (picture.existsAsFile());
    EXPECT_FALSE (Project::savedTrackListFile().exists());

    // The same drop does what the album page and the track page do with it.
    click (wizard->finalPage->againButton);
    ASSERT_EQ (MainComponent::currentPage, 2);
    wizard->filesDropped (both, 10, 100);
    EXPECT_EQ (project().frontCover, picture);
    next();
    next();
    ASSERT_EQ (MainComponent::currentPage, 4);
    wizard->filesDropped (both, 10, 100);
    EXPECT_EQ (trackPaths (project()), juce::StringArray (sound.getFullPathName()));
}
