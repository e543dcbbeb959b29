// Copying or moving a file behind a progress window, and asking for another place to save.
#include "encoding/AudioFiles.h"
#include "encoding/CopyMyFile.h"
#include "encoding/SaveElsewhere.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"
#include "support/StatusKeeping.h"

#include <gtest/gtest.h>

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
    const juce::File otherVolume ("/dev/shm");
    if (! otherVolume.isDirectory() || ! otherVolume.hasWriteAccess())
        GTEST_SKIP() << "no second volume to move to";

    const auto first = makeFile ("First.wav", "first");
    const auto second = makeFile ("Second.wav", "second");
    const auto firstTarget = otherVolume.getNonexistentChildFile ("groovesmith-first", ".wav");
    const auto secondTarget = otherVolume.getNonexistentChildFile ("groovesmith-second", ".wav");

    const bool expected = second.moveFileTo (secondTarget);
    CopyMyFile move (first, firstTarget, true);
    move.runThread (juce::Thread::Priority::normal);

    EXPECT_EQ (move.result, expected);
    EXPECT_TRUE (move.result);
    EXPECT_EQ (firstTarget.loadFileAsString(), "first");
    EXPECT_FALSE (first.exists());
    firstTarget.deleteFile();
    secondTarget.deleteFile();
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
    const auto destination = unwritableFolder().getChildFile ("Track1.wav");

    CopyMyFile copy (source, destination, true);
    copy.runThread (juce::Thread::Priority::normal);

    EXPECT_FALSE (copy.result);
    EXPECT_TRUE (source.existsAsFile());
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
