// An encode project's track list kept in one file between runs.
#include "project/Project.h"
#include "support/FakeDialogs.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

namespace
{
class SavedTrackListTest : public ::testing::Test
{
protected:
    juce::File makeFile (const juce::String& relativePath)
    {
        const auto file = folder.getChildFile (relativePath);
        EXPECT_TRUE (file.getParentDirectory().createDirectory());
        EXPECT_TRUE (file.replaceWithText ("sound"));
        return file;
    }

    static juce::String savedText()
    {
        juce::MemoryBlock bytes;
        Project::savedTrackListFile().loadFileAsData (bytes);
        return bytes.toString();
    }

    static void writeSaved (const juce::String& text)
    {
        const auto file = Project::savedTrackListFile();
        ASSERT_TRUE (file.getParentDirectory().createDirectory());
        ASSERT_TRUE (file.replaceWithData (text.toRawUTF8(), text.getNumBytesAsUTF8()));
    }

    juce::StringArray paths() const { return trackPaths (project); }

    FakeDialogs dialogs;
    Project project;
    juce::File folder = juce::File::getSpecialLocation (juce::File::userHomeDirectory).getChildFile ("music");
};
} // namespace

TEST_F (SavedTrackListTest, theFileLivesInTheDocumentsFolder)
{
    const auto home = juce::File (juce::SystemStats::getEnvironmentVariable ("HOME", {}));
    EXPECT_EQ (Project::savedTrackListFile(), home.getChildFile ("Documents/Tonewell/Groovesmith/tracklist.gsp"));
}

TEST_F (SavedTrackListTest, savingWritesOnePathALineEndingInCarriageReturnAndLineFeed)
{
    const auto first = makeFile ("Album/01 Intro.wav").getFullPathName();
    const auto second = makeFile ("Album/02 Song.flac").getFullPathName();
    project.addTrack (first, 1);
    project.addTrack (second, 6);

    project.saveTrackList();

    EXPECT_TRUE (project.savedTrackListExists());
    EXPECT_EQ (savedText(), first + "\r\n" + second + "\r\n");
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (SavedTrackListTest, anEmptyListGivesAnEmptyFile)
{
    project.saveTrackList();

    EXPECT_TRUE (project.savedTrackListExists());
    EXPECT_EQ (Project::savedTrackListFile().getSize(), 0);
}

TEST_F (SavedTrackListTest, savingReplacesAnOldListAndAFileStandingForTheFolder)
{
    const auto folderOfList = Project::savedTrackListFile().getParentDirectory();
    ASSERT_TRUE (folderOfList.getParentDirectory().createDirectory());
    ASSERT_TRUE (folderOfList.replaceWithText ("not a folder"));

    project.addTrack ("/music/a.wav", 1);
    project.saveTrackList();
    EXPECT_TRUE (folderOfList.isDirectory());
    EXPECT_EQ (savedText(), "/music/a.wav\r\n");

    project.clearTracks();
    project.addTrack ("/music/b.wav", 1);
    project.saveTrackList();
    EXPECT_EQ (savedText(), "/music/b.wav\r\n");
}

TEST_F (SavedTrackListTest, aListThatCannotBeWrittenLeavesNoFileAndSaysNothing)
{
    // A folder with something in it stands where the file should go: it cannot be replaced.
    const auto blocker = Project::savedTrackListFile();
    ASSERT_TRUE (blocker.getChildFile ("inside").create().wasOk());

    project.addTrack ("/music/a.wav", 1);
    project.saveTrackList();

    EXPECT_FALSE (project.savedTrackListExists());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (SavedTrackListTest, loadingAddsEveryTrackAndDeletesTheFile)
{
    const auto wav = makeFile ("a.wav").getFullPathName();
    const auto flac = makeFile ("b.flac").getFullPathName();
    const auto ogg = makeFile ("c.OGG").getFullPathName();
    const auto aiff = makeFile ("d.aiff").getFullPathName();
    writeSaved (wav + "\r\n" + flac + "\r\n" + ogg + "\r\n" + aiff + "\r\n");
    project.lastWrittenTrack = 2;

    EXPECT_TRUE (project.loadSavedTrackList());

    EXPECT_EQ (paths(), juce::StringArray (wav, flac, ogg, aiff));
    EXPECT_EQ (project.trackFormat (0), 1);
    EXPECT_EQ (project.trackFormat (1), 6);
    EXPECT_EQ (project.trackFormat (2), 5);
    EXPECT_EQ (project.trackFormat (3), 4);
    EXPECT_EQ (project.lastWrittenTrack, 6);
    EXPECT_FALSE (project.savedTrackListExists());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (SavedTrackListTest, aSavedListComesBackAsItWasSaved)
{
    const auto first = makeFile ("Side A/Track1.wav").getFullPathName();
    const auto second = makeFile ("Side A/Track2.wav").getFullPathName();
    project.addTrack (first, 1);
    project.addTrack (second, 1);
    project.saveTrackList();

    Project later;
    EXPECT_TRUE (later.loadSavedTrackList());
    ASSERT_EQ (later.trackCount(), 2);
    EXPECT_EQ (later.trackPath (0), first);
    EXPECT_EQ (later.trackPath (1), second);
}

TEST_F (SavedTrackListTest, anEmptyLineEndsTheListAndTheRestIsForgotten)
{
    const auto first = makeFile ("a.wav").getFullPathName();
    const auto second = makeFile ("b.wav").getFullPathName();
    const auto third = makeFile ("c.wav").getFullPathName();
    writeSaved (first + "\r\n" + second + "\r\n\r\n" + third + "\r\n");

    EXPECT_TRUE (project.loadSavedTrackList());

    EXPECT_EQ (paths(), juce::StringArray (first, second));
    EXPECT_FALSE (project.savedTrackListExists());
}

TEST_F (SavedTrackListTest, aCommaInAFolderNameFailsAndIsReportedWithoutTheComma)
{
    const auto good = makeFile ("a.wav").getFullPathName();
    const auto withComma = makeFile ("Smith, John/Track1.wav").getFullPathName();
    writeSaved (good + "\r\n" + withComma + "\r\n");

    EXPECT_FALSE (project.loadSavedTrackList());

    EXPECT_EQ (paths(), juce::StringArray (good));
    EXPECT_EQ (project.lastWrittenTrack, 1);
    EXPECT_TRUE (project.savedTrackListExists());
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    const auto box = dialogs.alerts()[0];
    EXPECT_EQ (box.icon, juce::MessageBoxIconType::WarningIcon);
    EXPECT_EQ (box.title, "Groove Smith : Error");
    EXPECT_EQ (box.message, "Failed to load track(s) : " + folder.getFullPathName() + "/Smith John/Track1.wav\n");
    EXPECT_EQ (box.buttons, juce::StringArray ("ok"));
}

TEST_F (SavedTrackListTest, everyMissingTrackIsReportedOnALineOfItsOwn)
{
    writeSaved ("/music/gone1.wav\r\n/music/gone2.flac\r\n");

    EXPECT_FALSE (project.loadSavedTrackList());

    EXPECT_EQ (project.trackCount(), 0);
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].message, "Failed to load track(s) : /music/gone1.wav\n/music/gone2.flac\n");
    EXPECT_TRUE (project.savedTrackListExists());
}

TEST_F (SavedTrackListTest, theFailureMessageIsTranslated)
{
    project.strings = std::make_unique<LanguageStrings> (
        juce::String::fromUTF8 ("language: French\n\"Failed to load track(s) : \" = \"Pistes non chargées : \"\n"),
        false);
    writeSaved ("/music/gone.wav\r\n");

    EXPECT_FALSE (project.loadSavedTrackList());

    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].message, project.translate ("Failed to load track(s) : ") + "/music/gone.wav\n");
    EXPECT_NE (dialogs.alerts()[0].message, "Failed to load track(s) : /music/gone.wav\n");
}

TEST_F (SavedTrackListTest, aPathWithLettersBeyondAsciiSurvivesTheFile)
{
    // The file holds the path's UTF-8 bytes, which is what the file system itself uses here.
    const auto path = makeFile (juce::String::fromUTF8 ("Björk – Début/01 Überall.wav")).getFullPathName();
    project.addTrack (path, 1);
    project.saveTrackList();

    juce::MemoryBlock bytes;
    Project::savedTrackListFile().loadFileAsData (bytes);
    EXPECT_EQ (bytes.toString(), path + "\r\n");
    EXPECT_EQ (bytes.getSize(), path.getNumBytesAsUTF8() + 2);

    Project later;
    EXPECT_TRUE (later.loadSavedTrackList());
    ASSERT_EQ (later.trackCount(), 1);
    EXPECT_EQ (later.trackPath (0), path);
}

TEST_F (SavedTrackListTest, withNoSavedListLoadingGivesFalseAndMakesTheFolder)
{
    EXPECT_FALSE (project.savedTrackListExists());
    EXPECT_FALSE (project.loadSavedTrackList());
    EXPECT_TRUE (Project::savedTrackListFile().getParentDirectory().isDirectory());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (SavedTrackListTest, deletingReportsWhetherThereWasAListToDelete)
{
    EXPECT_FALSE (project.deleteSavedTrackList());

    project.saveTrackList();
    ASSERT_TRUE (project.savedTrackListExists());

    EXPECT_TRUE (project.deleteSavedTrackList());
    EXPECT_FALSE (project.savedTrackListExists());
    EXPECT_FALSE (project.deleteSavedTrackList());
}
