// The track list of the project: its records, its operations, and the deleting of track files
// with what the user is told.
#include "project/Project.h"
#include "support/FakeDialogs.h"

#include <gtest/gtest.h>

namespace
{
// A file that exists and that nobody can delete.
const juce::String undeletableFile = "/proc/version";

class TrackList : public ::testing::Test
{
protected:
    void SetUp() override
    {
        folder = juce::File::createTempFile ("tracks");
        ASSERT_TRUE (folder.createDirectory());
    }

    void TearDown() override { folder.deleteRecursively(); }

    juce::String makeFile (const juce::String& name)
    {
        const auto file = folder.getChildFile (name);
        EXPECT_TRUE (file.replaceWithText ("audio"));
        return file.getFullPathName();
    }

    juce::String missingFile (const juce::String& name) { return folder.getChildFile (name).getFullPathName(); }

    juce::StringArray paths() const
    {
        juce::StringArray result;
        for (int i = 0; i < project.trackCount(); ++i)
            result.add (project.trackPath (i));
        return result;
    }

    static void expectError (const FakeDialogs::Alert& alert, const juce::String& message)
    {
        EXPECT_EQ (alert.icon, juce::MessageBoxIconType::WarningIcon);
        EXPECT_EQ (alert.title, "Groove Smith : Error");
        EXPECT_EQ (alert.message, message);
        EXPECT_EQ (alert.buttons, juce::StringArray ("ok"));
    }

    static void expectSuccess (const FakeDialogs::Alert& alert, const juce::String& message)
    {
        EXPECT_EQ (alert.icon, juce::MessageBoxIconType::InfoIcon);
        EXPECT_EQ (alert.title, "Success");
        EXPECT_EQ (alert.message, message);
        EXPECT_EQ (alert.buttons, juce::StringArray ("ok"));
    }

    FakeDialogs dialogs;
    juce::File folder;
    Project project;
};
} // namespace

TEST (TrackFormat, followsTheEndingOfThePathIgnoringCase)
{
    EXPECT_EQ (Track::formatOfPath ("/a/b.wav"), 1);
    EXPECT_EQ (Track::formatOfPath ("/a/b.WAV"), 1);
    EXPECT_EQ (Track::formatOfPath ("/a/b.m4a"), 2);
    EXPECT_EQ (Track::formatOfPath ("/a/b.M4A"), 2);
    EXPECT_EQ (Track::formatOfPath ("/a/b.al"), 3);
    EXPECT_EQ (Track::formatOfPath ("/a/b.aiff"), 4);
    EXPECT_EQ (Track::formatOfPath ("/a/b.AIF"), 4);
    EXPECT_EQ (Track::formatOfPath ("/a/b.ogg"), 5);
    EXPECT_EQ (Track::formatOfPath ("/a/b.Flac"), 6);
    EXPECT_EQ (Track::formatOfPath ("/a/b.mp3"), 7);
    EXPECT_EQ (Track::formatOfPath ("/a/b.txt"), 1);
    EXPECT_EQ (Track::formatOfPath ("/a/b"), 1);
}

TEST_F (TrackList, startsEmptyAndAnswersOutOfRangeIndexesWithNothing)
{
    EXPECT_EQ (project.trackCount(), 0);
    EXPECT_EQ (project.trackPath (0), "");
    EXPECT_EQ (project.trackName (0), "");
    EXPECT_EQ (project.trackFormat (0), -1);
    EXPECT_EQ (project.setTrack (0, 4, "x.aiff"), -1);

    ASSERT_TRUE (project.addTrack ("/music/One.flac", formatFlac));
    EXPECT_EQ (project.trackPath (1), "");
    EXPECT_EQ (project.trackPath (-1), "");
    EXPECT_EQ (project.trackName (1), "");
    EXPECT_EQ (project.trackFormat (1), -1);
    EXPECT_EQ (project.trackFormat (-1), -1);
}

TEST_F (TrackList, readsPathNameAndFormatOfATrack)
{
    ASSERT_TRUE (project.addTrack ("/music/Side A/Track1.wav", formatWav));
    ASSERT_TRUE (project.addTrack ("/music/Side A/Song.two.ogg", formatOgg));

    EXPECT_EQ (project.trackCount(), 2);
    EXPECT_EQ (project.trackPath (1), "/music/Side A/Song.two.ogg");
    EXPECT_EQ (project.trackName (0), "Track1");
    EXPECT_EQ (project.trackName (1), "Song.two");
    EXPECT_EQ (project.trackFormat (1), formatOgg);
}

TEST_F (TrackList, setTrackChangesTheFormatAndAPathThatIsGiven)
{
    ASSERT_TRUE (project.addTrack ("/music/a.wav", formatWav));

    EXPECT_EQ (project.setTrack (0, formatFlac, ""), formatFlac);
    EXPECT_EQ (project.trackPath (0), "/music/a.wav");
    EXPECT_EQ (project.trackFormat (0), formatFlac);

    EXPECT_EQ (project.setTrack (0, formatMp3Lame, "/music/a.mp3"), formatMp3Lame);
    EXPECT_EQ (project.trackPath (0), "/music/a.mp3");

    project.setTrackPath (0, "/music/b.mp3");
    EXPECT_EQ (project.trackPath (0), "/music/b.mp3");
    EXPECT_EQ (project.trackFormat (0), formatMp3Lame);
}

TEST_F (TrackList, aPathIsInTheListOnceAndSpellingsThatDifferInCaseAreTwoTracks)
{
    EXPECT_TRUE (project.addTrack ("/music/Track1.wav", formatWav));
    EXPECT_EQ (project.trackCounter, 1);

    EXPECT_FALSE (project.addTrack ("/music/Track1.wav", formatFlac));
    EXPECT_EQ (project.trackCount(), 1);
    EXPECT_EQ (project.trackFormat (0), formatWav);
    EXPECT_EQ (project.trackCounter, 1);

    EXPECT_TRUE (project.addTrack ("/music/TRACK1.wav", formatWav));
    EXPECT_EQ (project.trackCount(), 2);
    EXPECT_EQ (project.trackCounter, 2);
    EXPECT_EQ (project.indexOfTrack ("/music/TRACK1.wav"), 1);
    EXPECT_EQ (project.indexOfTrack ("/music/track1.wav"), -1);
    EXPECT_TRUE (project.containsTrack ("/music/Track1.wav"));
    EXPECT_FALSE (project.containsTrack ("/music/track1.WAV"));
}

TEST_F (TrackList, insertTrackPutsThePathBeforeTheIndexWithoutCountingIt)
{
    ASSERT_TRUE (project.addTrack ("/m/a.wav", formatWav));
    ASSERT_TRUE (project.addTrack ("/m/c.wav", formatWav));

    EXPECT_TRUE (project.insertTrack (1, "/m/b.flac", formatFlac));
    EXPECT_TRUE (project.insertTrack (0, "/m/0.wav", formatWav));
    EXPECT_FALSE (project.insertTrack (0, "/m/c.wav", formatWav));

    EXPECT_EQ (paths(), juce::StringArray ({ "/m/0.wav", "/m/a.wav", "/m/b.flac", "/m/c.wav" }));
    EXPECT_EQ (project.trackFormat (2), formatFlac);
    EXPECT_EQ (project.trackCounter, 2);
}

TEST_F (TrackList, removingEntriesLeavesTheFilesWhereTheyAre)
{
    const auto a = makeFile ("a.wav");
    const auto b = makeFile ("b.wav");
    const auto c = makeFile ("c.wav");
    for (const auto& path : { a, b, c, a + ".copy" })
        project.addTrack (path, formatWav);

    project.removeTrackNamed (b);
    EXPECT_EQ (paths(), juce::StringArray (a, c, a + ".copy"));
    project.removeTrackNamed ("/not/listed.wav");
    EXPECT_EQ (project.trackCount(), 3);

    project.removeTrackAt (-2); // a negative index counts as its absolute value
    EXPECT_EQ (paths(), juce::StringArray (a, c));
    project.removeTrackAt (2);
    EXPECT_EQ (paths(), juce::StringArray (a, c));
    project.removeTrackAt (0);
    EXPECT_EQ (paths(), juce::StringArray (c));

    project.clearTracks();
    EXPECT_EQ (project.trackCount(), 0);
    EXPECT_TRUE (juce::File (a).existsAsFile());
    EXPECT_TRUE (juce::File (b).existsAsFile());
    EXPECT_TRUE (juce::File (c).existsAsFile());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (TrackList, deleteTrackDeletesTheFileAndSaysSo)
{
    const auto a = makeFile ("a.wav");
    const auto b = makeFile ("b.wav");
    const auto c = makeFile ("c.wav");
    for (const auto& path : { a, b, c })
        project.addTrack (path, formatWav);

    project.deleteTrack (1);

    EXPECT_FALSE (juce::File (b).exists());
    EXPECT_EQ (paths(), juce::StringArray (a, c));
    EXPECT_EQ (project.lastWrittenTrack, 1);
    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 1u);
    expectSuccess (alerts[0], "File has been deleted sucessfully");
}

TEST_F (TrackList, deleteTrackOnAFileAlreadyGoneTellsTheUserAndRemovesTheEntry)
{
    const auto a = makeFile ("a.wav");
    project.addTrack (a, formatWav);
    project.addTrack (missingFile ("gone.wav"), formatWav);
    project.addTrack (makeFile ("c.wav"), formatWav);
    project.lastWrittenTrack = 7;

    project.deleteTrack (1);

    EXPECT_EQ (project.trackCount(), 2);
    EXPECT_FALSE (project.containsTrack (missingFile ("gone.wav")));
    EXPECT_EQ (project.lastWrittenTrack, 1);
    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 1u);
    expectError (alerts[0], "An error occured when trying to delete the track - file not found");

    // The last entry: the list becomes empty and the number stays.
    project.clearTracks();
    project.addTrack (missingFile ("gone.wav"), formatWav);
    project.deleteTrack (0);
    EXPECT_EQ (project.trackCount(), 0);
    EXPECT_EQ (project.lastWrittenTrack, 1);
}

TEST_F (TrackList, deleteTrackOnAFileThatCannotBeDeletedLeavesTheList)
{
    project.addTrack (makeFile ("a.wav"), formatWav);
    project.addTrack (undeletableFile, formatWav);
    project.lastWrittenTrack = 5;

    project.deleteTrack (1);

    EXPECT_EQ (project.trackCount(), 2);
    EXPECT_EQ (project.trackPath (1), undeletableFile);
    EXPECT_EQ (project.lastWrittenTrack, 5);
    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 1u);
    expectError (alerts[0], "An error occured when trying to delete the track");
}

TEST_F (TrackList, deleteTracksDeletesTheChosenRowsWhateverTheirOrder)
{
    juce::StringArray all;
    for (int i = 0; i < 6; ++i)
    {
        all.add (makeFile ("t" + juce::String (i) + ".wav"));
        project.addTrack (all[i], formatWav);
    }

    juce::SparseSet<int> rows;
    rows.addRange ({ 4, 5 });
    rows.addRange ({ 1, 3 });
    project.deleteTracks (rows, true);

    EXPECT_EQ (paths(), juce::StringArray (all[0], all[3], all[5]));
    for (int i : { 1, 2, 4 })
        EXPECT_FALSE (juce::File (all[i]).exists()) << i;
    for (int i : { 0, 3, 5 })
        EXPECT_TRUE (juce::File (all[i]).existsAsFile()) << i;

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 1u);
    expectSuccess (alerts[0], "Files have been deleted sucessfully");
}

TEST_F (TrackList, deleteTracksWithAFailureStillRemovesTheRowsAndSaysNotAllWereDeleted)
{
    const auto a = makeFile ("a.wav");
    const auto c = makeFile ("c.wav");
    project.addTrack (a, formatWav);
    project.addTrack (undeletableFile, formatWav);
    project.addTrack (c, formatWav);

    juce::SparseSet<int> rows;
    rows.addRange ({ 1, 3 });
    project.deleteTracks (rows, true);

    EXPECT_EQ (paths(), juce::StringArray (a));
    EXPECT_FALSE (juce::File (c).exists());
    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 1u);
    expectError (alerts[0], "Errors occured when trying to delete the tracks - Not all track may have been deleted");
}

TEST_F (TrackList, removeTracksTakesTheRowsOffTheListSilentlyAndKeepsTheFiles)
{
    const auto a = makeFile ("a.wav");
    const auto b = makeFile ("b.wav");
    const auto c = makeFile ("c.wav");
    for (const auto& path : { a, b, c })
        project.addTrack (path, formatWav);

    juce::SparseSet<int> rows;
    rows.addRange ({ 0, 1 });
    rows.addRange ({ 2, 3 });
    project.removeTracks (rows);

    EXPECT_EQ (paths(), juce::StringArray (b));
    EXPECT_TRUE (juce::File (a).existsAsFile());
    EXPECT_TRUE (juce::File (c).existsAsFile());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (TrackList, deleteAllTracksDeletesEveryFileAndEmptiesTheList)
{
    juce::StringArray all;
    for (int i = 0; i < 3; ++i)
    {
        all.add (makeFile ("t" + juce::String (i) + ".wav"));
        project.addTrack (all[i], formatWav);
    }
    project.lastWrittenTrack = 3;

    project.deleteAllTracks (true);

    EXPECT_EQ (project.trackCount(), 0);
    EXPECT_EQ (project.lastWrittenTrack, 0);
    for (const auto& path : all)
        EXPECT_FALSE (juce::File (path).exists());
    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 1u);
    expectSuccess (alerts[0], "All Files have been deleted sucessfully");
}

TEST_F (TrackList, deleteAllTracksWithoutNoticeSaysNothingWhenAllWent)
{
    project.addTrack (makeFile ("a.wav"), formatWav);
    project.deleteAllTracks (false);
    EXPECT_EQ (project.trackCount(), 0);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (TrackList, deleteAllTracksCountsEachFailureInItsMessageEvenWithoutNotice)
{
    const auto kept = makeFile ("a.wav");
    project.addTrack (missingFile ("x.wav"), formatWav);
    project.addTrack (kept, formatWav);
    project.addTrack (undeletableFile, formatWav);
    project.addTrack (missingFile ("y.wav"), formatWav);
    project.lastWrittenTrack = 4;

    project.deleteAllTracks (false);

    EXPECT_EQ (project.trackCount(), 0);
    EXPECT_EQ (project.lastWrittenTrack, 0);
    EXPECT_FALSE (juce::File (kept).exists());
    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 1u);
    expectError (alerts[0], "3error(s) occured when trying to delete the track(s)");
}

TEST_F (TrackList, deleteAllTracksInAnEncodeProjectLeavesFilesAndListAlone)
{
    const auto a = makeFile ("a.wav");
    project.addTrack (a, formatWav);
    project.addTrack (missingFile ("x.wav"), formatWav);
    project.projectType = encodeProject;
    project.lastWrittenTrack = 2;

    project.deleteAllTracks (true);

    EXPECT_EQ (project.trackCount(), 2);
    EXPECT_TRUE (juce::File (a).existsAsFile());
    EXPECT_EQ (project.lastWrittenTrack, 2);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (TrackList, temporaryFilesAreKeptInOrderAndHandedOutAsACopy)
{
    project.addTemporaryFile ("/tmp/one.wav");
    project.addTemporaryFile ("/tmp/two.wav");
    auto list = project.temporaryFileList();
    ASSERT_EQ (list.size(), 2u);
    EXPECT_EQ (list[0], "/tmp/one.wav");
    EXPECT_EQ (list[1], "/tmp/two.wav");

    list.clear();
    EXPECT_EQ (project.temporaryFileList().size(), 2u);
}
