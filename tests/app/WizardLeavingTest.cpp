#include "project/FileNames.h"
#include "support/WizardFixture.h"

TEST_F (WizardTest, cancelWithNoTracksAsksBeforeQuitting)
{
    dialogs.answer ("Cancel");
    click (wizard->cancelButton);
    EXPECT_EQ (quitCount, 0);

    dialogs.answer ("OK");
    click (wizard->cancelButton);
    EXPECT_EQ (quitCount, 1);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 2u);
    EXPECT_EQ (alerts[0].icon, juce::MessageBoxIconType::InfoIcon);
    EXPECT_EQ (alerts[0].title, "Quit Groove Smith");
    EXPECT_EQ (alerts[0].message, "Are you sure you want to quit ?");
    EXPECT_EQ (alerts[0].buttons, juce::StringArray ({ "OK", "Cancel" }));
}

TEST_F (WizardTest, cancelInARipWithTracksCanDeleteThemBeforeQuitting)
{
    const auto first = makeFile (testHome(), "Track1.wav");
    const auto second = makeFile (testHome(), "Track2.wav");
    project().addTrack (first.getFullPathName(), formatWav);
    project().addTrack (second.getFullPathName(), formatWav);

    dialogs.answer ("Yes");
    click (wizard->cancelButton);

    EXPECT_EQ (quitCount, 1);
    EXPECT_FALSE (first.exists());
    EXPECT_FALSE (second.exists());
    EXPECT_EQ (project().trackCount(), 0);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 2u);
    EXPECT_EQ (alerts[0].icon, juce::MessageBoxIconType::WarningIcon);
    EXPECT_EQ (alerts[0].title, "Delete Track(s)");
    EXPECT_EQ (alerts[0].message, "Are you sure to delete all your tracks");
    EXPECT_EQ (alerts[0].buttons, juce::StringArray ({ "Yes", "No", "Cancel" }));
    EXPECT_EQ (alerts[1].title, "Success");
    EXPECT_EQ (alerts[1].message, "All Files have been deleted sucessfully");
}

TEST_F (WizardTest, cancelInARipWithTracksCanKeepThemOrGoOn)
{
    const auto track = makeFile (testHome(), "Track1.wav");
    project().addTrack (track.getFullPathName(), formatWav);

    dialogs.answer ("Cancel");
    click (wizard->cancelButton);
    EXPECT_EQ (quitCount, 0);
    EXPECT_EQ (project().trackCount(), 1);

    dialogs.answer ("No");
    click (wizard->cancelButton);
    EXPECT_EQ (quitCount, 1);
    EXPECT_TRUE (track.existsAsFile());
    EXPECT_EQ (dialogs.alerts().size(), 2u);
}

TEST_F (WizardTest, cancelInAnEncodeWithTracksOffersToSaveTheList)
{
    project().projectType = encodeProject;
    const auto track = makeFile (testHome(), "song.wav");
    project().addTrack (track.getFullPathName(), formatWav);

    dialogs.answer ("Cancel");
    click (wizard->cancelButton);
    EXPECT_EQ (quitCount, 0);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 1u);
    EXPECT_EQ (alerts[0].icon, juce::MessageBoxIconType::WarningIcon);
    EXPECT_EQ (alerts[0].title, "Quit Groove Smith");
    EXPECT_EQ (alerts[0].message, "Tracklist will be lost !\nDo you wish to save it ?");

    dialogs.answer ("No");
    click (wizard->cancelButton);
    EXPECT_EQ (quitCount, 1);
    EXPECT_TRUE (track.existsAsFile());
}

//==============================================================================
class AlbumFolderTest : public WizardTest
{
protected:
    void SetUp() override
    {
        WizardTest::SetUp();
        root = testHome().getChildFile ("records");
        root.createDirectory();
        project().setRootDirectory (root.getFullPathName());
        next();
        next();
        ASSERT_EQ (MainComponent::currentPage, 2);
    }

    juce::File root;
};

TEST_F (AlbumFolderTest, withNoArtistAndNoAlbumTheCaptureGoesToTheRootWithoutAQuestion)
{
    project().setCaptureFolder ("/somewhere/else");
    next();
    EXPECT_EQ (MainComponent::currentPage, 3);
    EXPECT_EQ (project().captureFolder, root.getFullPathName());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (AlbumFolderTest, anArtistAloneNamesTheFolderWithoutADash)
{
    project().artist = "Nina: Live?";
    dialogs.answer ("Yes");
    next();

    const auto folder = root.getChildFile ("Nina Live");
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    const auto alert = dialogs.alerts()[0];
    EXPECT_EQ (alert.icon, juce::MessageBoxIconType::InfoIcon);
    EXPECT_EQ (alert.title, "Album directory");
    EXPECT_EQ (alert.message, "\"" + folder.getFullPathName() + "\" does not exist. Create it ?");
    EXPECT_EQ (alert.buttons, juce::StringArray ({ "Yes", "No", "Cancel" }));

    EXPECT_TRUE (folder.isDirectory());
    EXPECT_EQ (project().captureFolder, folder.getFullPathName());
    EXPECT_EQ (MainComponent::currentPage, 3);
}

TEST_F (AlbumFolderTest, anExistingAlbumFolderIsOfferedWithAWarning)
{
    project().artist = "Artist";
    project().album = "Album";
    const auto folder = root.getChildFile ("Artist - Album");
    folder.createDirectory();

    dialogs.answer ("No");
    next();
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].icon, juce::MessageBoxIconType::WarningIcon);
    EXPECT_EQ (dialogs.alerts()[0].message, "\"" + folder.getFullPathName() + "\" exists, put files there anyway ?");
    EXPECT_EQ (project().captureFolder, root.getFullPathName());
    EXPECT_EQ (MainComponent::currentPage, 3);
}

TEST_F (AlbumFolderTest, cancellingTheFolderQuestionStaysOnTheAlbumPage)
{
    project().album = "Album";
    dialogs.answer ("Cancel");
    next();

    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].title, "Album directory");
    EXPECT_EQ (dialogs.alerts()[0].message,
               "\"" + root.getChildFile ("Album").getFullPathName() + "\" does not exist. Create it ?");
    EXPECT_EQ (dialogs.alerts()[0].answer, "Cancel");
    EXPECT_EQ (MainComponent::currentPage, 2);
    EXPECT_EQ (visiblePage(), 2);
    EXPECT_FALSE (root.getChildFile ("Album").exists());
    EXPECT_EQ (project().captureFolder, root.getFullPathName());
}

TEST_F (AlbumFolderTest, longNamesInOtherScriptsMakeAFolderCutToWhatTheFileSystemTakes)
{
    // 150 letters of three bytes and 80 of four: 450 and 320 bytes, far more than a name takes.
    project().artist = juce::String::repeatedString (juce::String (juce::CharPointer_UTF8 ("\xe0\xa4\x95")), 150);
    project().album = juce::String::repeatedString (juce::String (juce::CharPointer_UTF8 ("\xf0\x9f\x8e\xb5")), 80);
    dialogs.answer ("Yes");
    next();

    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (MainComponent::currentPage, 3);
    const juce::File folder (project().captureFolder);
    EXPECT_TRUE (folder.isDirectory());
    EXPECT_EQ (folder.getParentDirectory(), root);
    EXPECT_EQ (dialogs.alerts()[0].message, "\"" + folder.getFullPathName() + "\" does not exist. Create it ?");

    // Artist and album share the room: each keeps a whole part of itself.
    const auto name = folder.getFileName();
    EXPECT_LE (FileNames::bytesOf (name), 255);
    EXPECT_GT (FileNames::bytesOf (name), 255 - 4);
    const auto artistPart = name.upToFirstOccurrenceOf (" - ", false, false);
    const auto albumPart = name.fromFirstOccurrenceOf (" - ", false, false);
    EXPECT_EQ (artistPart.length(), 42);
    EXPECT_EQ (albumPart.length(), 31);
    EXPECT_TRUE (project().artist.startsWith (artistPart));
    EXPECT_TRUE (project().album.startsWith (albumPart));

    // A long plain name is not cut at all while it fits.
    wizard.reset();
    wizard = std::make_unique<MainComponent> (&window);
    wizard->quitProgram = [this] { ++quitCount; };
    wizard->setSize (435, 380);
    project().setRootDirectory (root.getFullPathName());
    next();
    next();
    project().artist = juce::String::repeatedString ("b", 200);
    project().album = "Album";
    dialogs.answer ("Yes");
    next();
    EXPECT_EQ (MainComponent::currentPage, 3);
    EXPECT_EQ (juce::File (project().captureFolder), root.getChildFile (project().artist + " - Album"));
}

TEST_F (AlbumFolderTest, aFolderThatCannotBeCreatedIsAnErrorAndThePageStays)
{
    project().album = "Album";
    root.getChildFile ("blocker").replaceWithText ("a file where a folder should go");
    project().setRootDirectory (root.getChildFile ("blocker").getFullPathName());

    dialogs.answer ("Yes");
    next();
    ASSERT_EQ (dialogs.alerts().size(), 2u);
    EXPECT_EQ (dialogs.alerts()[1].title, "Groove Smith : Error");
    EXPECT_EQ (dialogs.alerts()[1].message, "Can't create directory !");
    EXPECT_EQ (MainComponent::currentPage, 2);
}

TEST_F (AlbumFolderTest, afterARipHasStartedTheFolderStepIsSkipped)
{
    project().album = "Album";
    project().captureStarted = true;
    project().setCaptureFolder ("/kept/as/it/was");
    next();
    EXPECT_EQ (MainComponent::currentPage, 3);
    EXPECT_EQ (project().captureFolder, "/kept/as/it/was");
    EXPECT_TRUE (dialogs.alerts().empty());
}
