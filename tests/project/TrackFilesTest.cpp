// Files the user brings in join the track list; a new capture empties it.
#include "capture/TrackWriter.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

namespace
{
class TrackFilesTest : public ::testing::Test
{
protected:
    juce::File makeFile (const juce::String& name)
    {
        const auto file = folder.getChildFile (name);
        EXPECT_TRUE (file.replaceWithText ("sound"));
        return file;
    }

    juce::StringArray paths() const { return trackPaths (project); }

    FakeDialogs dialogs;
    Project project;
    juce::File folder = juce::File::getSpecialLocation (juce::File::userHomeDirectory).getChildFile ("brought in");

    void SetUp() override { ASSERT_TRUE (folder.createDirectory()); }
};
} // namespace

TEST_F (TrackFilesTest, eachReadableFormatJoinsTheListWithItsFormatNumber)
{
    const std::vector<std::pair<juce::String, int>> files{ { "a.wav", 1 },  { "b.WAV", 1 }, { "c.ogg", 5 },
                                                           { "d.FLAC", 6 }, { "e.aif", 4 }, { "f.AIFF", 4 },
                                                           { "g.Ogg", 5 } };

    for (const auto& [name, format] : files)
    {
        const auto path = makeFile (name).getFullPathName();
        project.addTrackFile (path);

        ASSERT_EQ (project.trackPath (project.trackCount() - 1), path);
        EXPECT_EQ (project.trackFormat (project.trackCount() - 1), format) << name;
        EXPECT_EQ (project.lastWrittenTrack, project.trackCount() + 1) << name;
    }

    EXPECT_EQ (project.trackCount(), 7);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (dialogs.choosers().empty());
}

TEST_F (TrackFilesTest, aWavAlreadyInTheListMovesToItsEnd)
{
    const auto first = makeFile ("Track1.wav").getFullPathName();
    const auto second = makeFile ("Track2.wav").getFullPathName();
    const auto third = makeFile ("Track3.flac").getFullPathName();
    project.addTrackFile (first);
    project.addTrackFile (second);
    project.addTrackFile (third);

    project.addTrackFile (first);

    EXPECT_EQ (paths(), juce::StringArray (second, third, first));
    EXPECT_EQ (project.lastWrittenTrack, 4);
}

TEST_F (TrackFilesTest, otherFilesAreIgnoredWithoutAWord)
{
    project.addTrackFile (makeFile ("Cover.jpg").getFullPathName());
    project.addTrackFile (makeFile ("Notes.txt").getFullPathName());
    project.addTrackFile (makeFile ("Film.mp4").getFullPathName());
    project.addTrackFile (makeFile ("wav").getFullPathName());

    EXPECT_EQ (project.trackCount(), 0);
    EXPECT_EQ (project.lastWrittenTrack, 0);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (dialogs.choosers().empty());
}

TEST_F (TrackFilesTest, anMp3AlwaysAsksWhereItsWavGoesAndCancellingAddsNothing)
{
    project.setOutputFormat (6);
    const auto mp3 = makeFile ("Song.mp3");

    project.addTrackFile (mp3.getFullPathName());

    ASSERT_EQ (dialogs.choosers().size(), 1u) << "asked even though the place is free";
    const auto asked = dialogs.choosers()[0].request;
    EXPECT_EQ (asked.title, "Save elsewhere");
    EXPECT_EQ (asked.mode, FileRequest::Mode::saveFile);
    EXPECT_TRUE (asked.warnAboutOverwriting);
    EXPECT_EQ (asked.initial, folder.getChildFile ("Song.wav"));

    EXPECT_EQ (project.trackCount(), 0);
    EXPECT_EQ (project.outputFormat, 6);
    EXPECT_EQ (project.getSettings().getIntValue ("outputformat"), 6);
    EXPECT_FALSE (project.intermediateConversion);
    EXPECT_FALSE (folder.getChildFile ("Song.wav").exists());
}

TEST_F (TrackFilesTest, anM4aGoesToItunesWhichThisSystemLacksAndNothingIsAdded)
{
    project.setOutputFormat (5);
    project.encodingDestination = "/music/out";
    const auto m4a = makeFile ("Song.M4A");
    const auto chosen = folder.getChildFile ("Chosen.wav");
    dialogs.chooseNext (chosen);

    project.addTrackFile (m4a.getFullPathName());

    ASSERT_EQ (dialogs.choosers().size(), 1u);
    EXPECT_EQ (dialogs.choosers()[0].request.initial, folder.getChildFile ("Song.wav"));
    EXPECT_EQ (project.trackCount(), 0);
    EXPECT_FALSE (chosen.exists());
    EXPECT_EQ (project.outputFormat, 5);
    EXPECT_EQ (project.encodingDestination, "/music/out");
    EXPECT_FALSE (project.intermediateConversion);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (m4a.existsAsFile());
}

TEST_F (TrackFilesTest, aNewCaptureEmptiesTheListAndKeepsTheFiles)
{
    const auto first = makeFile ("Track1.wav");
    const auto second = makeFile ("Track2.wav");
    project.addTrackFile (first.getFullPathName());
    project.addTrackFile (second.getFullPathName());
    project.rootDirectory = folder.getFullPathName();
    project.captureFolder = folder.getChildFile ("Artist - Album").getFullPathName();
    project.firstTrackPending = 3;
    project.captureStarted = false;

    project.resetForNewCapture();

    EXPECT_EQ (project.trackCount(), 0);
    EXPECT_TRUE (first.existsAsFile());
    EXPECT_TRUE (second.existsAsFile());
    EXPECT_EQ (project.captureFolder, folder.getFullPathName());
    EXPECT_EQ (project.lastWrittenTrack, 0);
    EXPECT_EQ (project.firstTrackPending, -1);
    EXPECT_EQ (project.trackCounter, 0);
    EXPECT_TRUE (project.captureStarted);
}

TEST_F (TrackFilesTest, aNewCaptureNumbersItsFilesAfresh)
{
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 5, 44100);
    ASSERT_NE (writer, nullptr);
    EXPECT_EQ (writer->getTrackNumber(), 5);

    project.resetForNewCapture();

    EXPECT_EQ (TrackWriter::getInstance ({}, -1, 0), writer);
    EXPECT_EQ (writer->getTrackNumber(), -1);
    TrackWriter::deleteInstance();
}

TEST_F (TrackFilesTest, aNewCaptureWithNoWriterMakesNone)
{
    TrackWriter::deleteInstance();
    project.resetForNewCapture();
    EXPECT_EQ (TrackWriter::getInstance ({}, -1, 0), nullptr);
}
