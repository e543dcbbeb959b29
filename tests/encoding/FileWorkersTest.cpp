// Copying or moving a file behind a progress window, and asking for another place to save.
#include "encoding/AudioFiles.h"
#include "encoding/CopyMyFile.h"
#include "encoding/SaveElsewhere.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"
#include "support/StatusKeeping.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>

using namespace audiofiles;

namespace
{
class FileWorkersTest : public ::testing::Test
{
protected:
    juce::File makeFile (const juce::String& name, const juce::String& text)
    {
        const auto file = folder.getChildFile (name);
        EXPECT_TRUE (file.replaceWithText (text));
        return file;
    }

    FakeDialogs dialogs;
    juce::File folder = freshFolder ("files");
};
} // namespace

TEST_F (FileWorkersTest, aCopyLeavesTheSourceAndWritesTheSameBytes)
{
    const auto source = makeFile ("Track1.wav", "RIFF and some bytes");
    const auto destination = folder.getChildFile ("Copy.wav");

    CopyMyFile copy (source, destination, false);
    copy.runThread (juce::Thread::Priority::normal);

    EXPECT_TRUE (copy.result);
    EXPECT_EQ (destination.loadFileAsString(), "RIFF and some bytes");
    EXPECT_EQ (source.loadFileAsString(), "RIFF and some bytes");
}

TEST_F (FileWorkersTest, aMoveTakesTheSourceAway)
{
    const auto source = makeFile ("Track1.wav", "RIFF and some bytes");
    const auto destination = folder.getChildFile ("Moved.wav");

    CopyMyFile move (source, destination, true);
    move.runThread (juce::Thread::Priority::normal);

    EXPECT_TRUE (move.result);
    EXPECT_EQ (destination.loadFileAsString(), "RIFF and some bytes");
    EXPECT_FALSE (source.exists());
}

TEST_F (FileWorkersTest, aMoveToAnotherVolumeReportsWhatTheFileSystemMoveReports)
{
    // A tmpfs and the disk of the tests' home, or of the build: two file systems, which a
    // rename cannot cross, so that the move copies and deletes.
    const auto deviceOf = [] (const juce::File& place)
    {
        struct stat info
        {
        };
        return ::stat (place.getFullPathName().toRawUTF8(), &info) == 0 ? (long long) info.st_dev : -1LL;
    };

    const juce::File otherVolume ("/dev/shm");
    juce::File here = folder;
    if (deviceOf (here) == deviceOf (otherVolume))
        here = juce::File (GROOVESMITH_BUILD_DIR).getChildFile ("move-test");
    here.createDirectory();

    if (deviceOf (otherVolume) < 0 || ! otherVolume.isDirectory() || deviceOf (here) == deviceOf (otherVolume))
        GTEST_SKIP() << "no second file system to move to: /dev/shm is missing or on the same file system as "
                     << here.getFullPathName();
    ASSERT_NE (deviceOf (here), deviceOf (otherVolume));

    const auto source = here.getChildFile ("First.wav");
    ASSERT_TRUE (source.replaceWithText ("first"));
    const auto target = otherVolume.getNonexistentChildFile ("groovesmith-first", ".wav");

    // The system itself refuses a rename across the two.
    const auto probe = here.getChildFile ("probe");
    ASSERT_TRUE (probe.replaceWithText ("probe"));
    errno = 0;
    EXPECT_NE (::rename (probe.getFullPathName().toRawUTF8(), target.getFullPathName().toRawUTF8()), 0);
    EXPECT_EQ (errno, EXDEV);
    probe.deleteFile();

    CopyMyFile move (source, target, true);
    move.runThread (juce::Thread::Priority::normal);

    // The file system's move copies and deletes: the file is there, whole, and gone from here.
    EXPECT_TRUE (move.result);
    EXPECT_EQ (target.loadFileAsString(), "first");
    EXPECT_FALSE (source.exists());
    target.deleteFile();

    // And where the other side refuses the file, the move says so and the source stays.
    const auto kept = here.getChildFile ("Kept.wav");
    ASSERT_TRUE (kept.replaceWithText ("kept"));
    const juce::File refused ("/proc/groovesmith-moved.wav");
    CopyMyFile failing (kept, refused, true);
    failing.runThread (juce::Thread::Priority::normal);
    EXPECT_FALSE (failing.result);
    EXPECT_EQ (kept.loadFileAsString(), "kept");
    EXPECT_FALSE (refused.exists());

    if (here != folder)
        here.deleteRecursively();
}

using StatusKeepingCopy = StatusKeeping<CopyMyFile>;

TEST_F (FileWorkersTest, theCopyWindowSpeaksTheUsersLanguageButCancelDoesNot)
{
    Project project;
    project.strings = std::make_unique<LanguageStrings> ("language: French\n"
                                                         "\"Copying...\" = \"Copie...\"\n"
                                                         "\"Copying current track...\" = \"Copie du morceau...\"\n"
                                                         "\"Cancel\" = \"Annuler\"\n",
                                                         false);
    const auto source = makeFile ("Track1.wav", "RIFF and some bytes");
    const auto destination = folder.getChildFile ("Copy.wav");

    StatusKeepingCopy copy (source, destination, false, &project);
    EXPECT_EQ (copy.getAlertWindow()->getName(), "Copie...");
    juce::StringArray buttons;
    for (auto* child : copy.getAlertWindow()->getChildren())
        if (auto* button = dynamic_cast<juce::Button*> (child))
            buttons.add (button->getButtonText());
    EXPECT_EQ (buttons, juce::StringArray ("Cancel"));
    copy.runThread (juce::Thread::Priority::normal);

    EXPECT_EQ (copy.shown, juce::StringArray ("Copie du morceau..."));
    EXPECT_TRUE (copy.result);
    EXPECT_EQ (destination.loadFileAsString(), "RIFF and some bytes");

    // Without a project to translate, the English texts.
    StatusKeepingCopy plain (source, folder.getChildFile ("Plain.wav"), false);
    EXPECT_EQ (plain.getAlertWindow()->getName(), "Copying...");
    plain.runThread (juce::Thread::Priority::normal);
    EXPECT_EQ (plain.shown, juce::StringArray ("Copying current track..."));
}

TEST_F (FileWorkersTest, aCopyIntoAPlaceThatCannotBeWrittenFails)
{
    const auto source = makeFile ("Track1.wav", "bytes");
    const auto place = unwritableFolder();
    const auto destination = place.getChildFile ("Track1.wav");

    CopyMyFile copy (source, destination, false);
    copy.runThread (juce::Thread::Priority::normal);

    EXPECT_FALSE (copy.result);
    EXPECT_FALSE (destination.exists());
    EXPECT_EQ (source.loadFileAsString(), "bytes");
}

TEST_F (FileWorkersTest, aMoveIntoAPlaceThatCannotBeWrittenFailsAndLeavesTheSource)
{
    const auto source = makeFile ("Track1.wav", "bytes");
    const auto destination = unwritableFolder().getChildFile ("Track1.wav");

    CopyMyFile move (source, destination, true);
    move.runThread (juce::Thread::Priority::normal);

    EXPECT_FALSE (move.result);
    EXPECT_FALSE (destination.exists());
    EXPECT_EQ (source.loadFileAsString(), "bytes");
}

TEST_F (FileWorkersTest, aCopyOverAnEarlierFileReplacesItAndACopyThatCannotReadFails)
{
    const auto source = makeFile ("Track1.wav", "new bytes");
    const auto destination = makeFile ("Copy.wav", "an earlier, longer file");

    CopyMyFile copy (source, destination, false);
    copy.runThread (juce::Thread::Priority::normal);
    EXPECT_TRUE (copy.result);
    EXPECT_EQ (destination.loadFileAsString(), "new bytes");

    // Nothing to copy: the copy fails and makes nothing.
    const auto nowhere = folder.getChildFile ("Nowhere.wav");
    CopyMyFile missing (folder.getChildFile ("Missing.wav"), nowhere, false);
    missing.runThread (juce::Thread::Priority::normal);
    EXPECT_FALSE (missing.result);
    EXPECT_FALSE (nowhere.exists());
}

TEST_F (FileWorkersTest, cancellingTheSaveElsewhereQuestionGivesNothing)
{
    const auto target = folder.getChildFile ("Track1.wav");
    SaveElsewhere question{ juce::File(), target };

    EXPECT_EQ (question.ask(), "");

    ASSERT_EQ (dialogs.choosers().size(), 1u);
    const auto asked = dialogs.choosers()[0].request;
    EXPECT_EQ (asked.mode, FileRequest::Mode::saveFile);
    EXPECT_EQ (asked.title, "Save elsewhere");
    EXPECT_EQ (asked.initial, target);
    EXPECT_EQ (asked.filter, "");
    EXPECT_TRUE (asked.warnAboutOverwriting);
}

TEST_F (FileWorkersTest, withoutASourceTheChosenPlaceIsTheAnswer)
{
    const auto chosen = folder.getChildFile ("Elsewhere").getChildFile ("New.wav");
    dialogs.chooseNext (chosen);

    SaveElsewhere question{ juce::File(), folder.getChildFile ("Track1.wav") };

    EXPECT_EQ (question.ask(), chosen.getFullPathName());
    EXPECT_EQ (question.target, chosen);
    EXPECT_FALSE (chosen.exists());
}

TEST_F (FileWorkersTest, withASourceTheFileMovesToTheChosenPlace)
{
    const auto source = makeFile ("Track1.flac", "sound");
    const auto chosen = folder.getChildFile ("Other name.flac");
    dialogs.chooseNext (chosen);

    SaveElsewhere question{ source, folder.getChildFile ("01 - Artist - Title.flac") };
    const auto answer = question.ask();

    EXPECT_EQ (answer, source.getFullPathName());
    EXPECT_EQ (chosen.loadFileAsString(), "sound");
    EXPECT_FALSE (source.exists());
}
