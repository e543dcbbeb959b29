// The record of a side file: its text on the disk, how a track finds its side, and how the
// record follows renames, new files and the deleting of all tracks.
#include "project/SideRecord.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"
#include "support/MalformedCorpus.h"
#include "support/TestHelpers.h"

#include <juce_audio_formats/juce_audio_formats.h>

#include <gtest/gtest.h>

namespace
{
/** A 16-bit stereo WAV file of `frames` frames. */
juce::File writeWav (const juce::File& file, int frames)
{
    file.deleteFile();
    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatWriter> writer (
        wav.createWriterFor (file.createOutputStream().release(), 44100.0, 2, 16, {}, 0));
    juce::AudioBuffer<float> buffer (2, juce::jmax (1, frames));
    for (int i = 0; i < frames; ++i)
    {
        buffer.setSample (0, i, (float) std::sin (0.01 * i) * 0.5f);
        buffer.setSample (1, i, (float) std::cos (0.01 * i) * 0.5f);
    }
    if (writer != nullptr && frames > 0)
        writer->writeFromAudioSampleBuffer (buffer, 0, frames);
    return file;
}

class SideRecordTest : public ::testing::Test
{
protected:
    void SetUp() override { folder = freshFolder ("sides"); }

    juce::String path (const juce::String& name) const { return folder.getChildFile (name).getFullPathName(); }

    /** Side<number>.wav and its record, with these places. */
    SideRecord makeSide (int number, const std::vector<SideRecord::Place>& places, int frames = 1000)
    {
        const auto side = writeWav (folder.getChildFile ("Side" + juce::String (number) + ".wav"), frames);
        SideRecord record (side, 44100);
        for (const auto& place : places)
            record.setPlace (place);
        record.setEnded (true);
        record.setSideSamples (frames);
        EXPECT_TRUE (record.save());
        return record;
    }

    juce::File folder;
};
} // namespace

TEST_F (SideRecordTest, theRecordIsPlainTextWithOneItemALine)
{
    const auto outside = testHome().getChildFile ("elsewhere").getChildFile ("Moved away.wav").getFullPathName();
    auto record =
        makeSide (2, { { path ("Track2.wav"), 700, 300 }, { path ("Track1.wav"), 0, 650 }, { outside, 650, 50 } });
    record.setWhole (false);
    record.setEnded (false);
    record.setSideSamples (0);
    ASSERT_TRUE (record.save());

    EXPECT_EQ (record.getRecordFile(), folder.getChildFile ("Side2.tracks"));
    EXPECT_EQ (record.getRecordFile().loadFileAsString(), "Groove Smith side record 1\n"
                                                          "side Side2.wav\n"
                                                          "rate 44100\n"
                                                          "whole no\n"
                                                          "ended no\n"
                                                          "samples 0\n"
                                                          "track 0 650 Track1.wav\n"
                                                          "track 650 50 " +
                                                              outside +
                                                              "\n"
                                                              "track 700 300 Track2.wav\n");

    // Only the record file is there beside the side: no temporary file is left over.
    EXPECT_EQ (folder.findChildFiles (juce::File::findFiles, false).size(), 2);
}

TEST_F (SideRecordTest, aRecordReadBackIsTheRecordWritten)
{
    const auto odd = path ("A \\ strange\nname\r.wav");
    const auto record = makeSide (1, { { path ("Track1.wav"), 10, 20 }, { odd, 40, 5 } });

    const auto loaded = SideRecord::load (record.getRecordFile());
    ASSERT_TRUE (loaded.has_value());
    EXPECT_EQ (loaded->getSideFile(), folder.getChildFile ("Side1.wav"));
    EXPECT_EQ (loaded->getSideNumber(), 1);
    EXPECT_EQ (loaded->getSampleRate(), 44100);
    EXPECT_TRUE (loaded->isWhole());
    EXPECT_TRUE (loaded->hasEnded());
    EXPECT_EQ (loaded->getSideSamples(), 1000);
    EXPECT_EQ (loaded->getPlaces(), record.getPlaces());
    ASSERT_NE (loaded->placeOf (odd), nullptr);
    EXPECT_EQ (loaded->placeOf (odd)->first, 40);
}

TEST_F (SideRecordTest, aFileThatIsNoRecordIsNoneAndBadLinesAreLeftOut)
{
    EXPECT_FALSE (SideRecord::parse ("", folder.getChildFile ("Side1.tracks")).has_value());
    EXPECT_FALSE (SideRecord::parse ("RIFF....WAVE", folder.getChildFile ("Side1.tracks")).has_value());
    EXPECT_FALSE (SideRecord::load (folder.getChildFile ("Side5.tracks")).has_value());

    const auto record = SideRecord::parse ("Groove Smith side record 1\n"
                                           "rate 48000\n"
                                           "whole maybe\n"
                                           "track -5 10 Track1.wav\n"
                                           "track 5 ten Track2.wav\n"
                                           "track 5 10\n"
                                           "track 99999999999999999999 1 Track3.wav\n"
                                           "track 7 8 Track4.wav\n"
                                           "something else\n",
                                           folder.getChildFile ("Side3.tracks"));
    ASSERT_TRUE (record.has_value());
    EXPECT_EQ (record->getSideFile(), folder.getChildFile ("Side3.wav"));
    EXPECT_EQ (record->getSampleRate(), 48000);
    EXPECT_FALSE (record->isWhole());
    EXPECT_FALSE (record->hasEnded());
    const std::vector<SideRecord::Place> expected{ { path ("Track4.wav"), 7, 8 } };
    EXPECT_EQ (record->getPlaces(), expected);
}

TEST_F (SideRecordTest, aTrackFindsTheSideItCameFromAndTheLatestSideWins)
{
    makeSide (1, { { path ("Track1.wav"), 0, 100 }, { path ("Track2.wav"), 200, 100 } });
    makeSide (2, { { path ("Track3.wav"), 50, 100 } });
    makeSide (3, { { path ("Track2.wav"), 10, 20 } });

    EXPECT_EQ (SideRecord::findFor (path ("Track1.wav"))->getSideFile(), folder.getChildFile ("Side1.wav"));
    EXPECT_EQ (SideRecord::findFor (path ("Track3.wav"))->getSideFile(), folder.getChildFile ("Side2.wav"));
    EXPECT_EQ (SideRecord::findFor (path ("Track2.wav"))->getSideFile(), folder.getChildFile ("Side3.wav"));
    EXPECT_FALSE (SideRecord::findFor (path ("Track4.wav")).has_value());
    EXPECT_FALSE (SideRecord::findFor ({}).has_value());

    // A temporary file that an interrupted save left is no record.
    folder.getChildFile ("Side1.tracks").copyFileTo (folder.getChildFile ("Side1_temp12345.tracks"));
    folder.getChildFile ("Side1.tracks").deleteFile();
    EXPECT_FALSE (SideRecord::findFor (path ("Track1.wav")).has_value());
}

TEST_F (SideRecordTest, aSideIsCutAgainOnlyWhenWholeThereAndLongEnough)
{
    auto record = makeSide (1, { { path ("Track1.wav"), 0, 600 }, { path ("Track2.wav"), 600, 400 } });
    EXPECT_TRUE (record.canBeCutAgain());

    record.setPlace ({ path ("Track2.wav"), 600, 401 });
    EXPECT_FALSE (record.canBeCutAgain());
    record.setPlace ({ path ("Track2.wav"), 600, 400 });

    record.setWhole (false);
    EXPECT_FALSE (record.canBeCutAgain());
    record.setWhole (true);

    folder.getChildFile ("Side1.wav").replaceWithText ("not a wav file");
    EXPECT_FALSE (record.canBeCutAgain());
    folder.getChildFile ("Side1.wav").deleteFile();
    EXPECT_FALSE (record.canBeCutAgain());
}

TEST_F (SideRecordTest, replacingThePlacesMakesTheNewTracksTheSidesRecord)
{
    makeSide (1, { { path ("Track1.wav"), 0, 600 }, { path ("Track2.wav"), 600, 400 } });
    makeSide (2, { { path ("Track4.wav"), 0, 10 } });

    auto record = SideRecord::findFor (path ("Track2.wav"));
    ASSERT_TRUE (record.has_value());
    const std::vector<SideRecord::Place> cut{ { path ("Track4.wav"), 500, 500 },
                                              { path ("Track3.wav"), 0, 300 },
                                              { path ("Track1.wav"), 300, 200 } };
    ASSERT_TRUE (record->replacePlaces (cut));

    const auto again = SideRecord::findFor (path ("Track3.wav"));
    ASSERT_TRUE (again.has_value());
    const std::vector<SideRecord::Place> inOrder{ cut[1], cut[2], cut[0] };
    EXPECT_EQ (again->getPlaces(), inOrder);
    EXPECT_EQ (again->getSideFile(), folder.getChildFile ("Side1.wav"));
    EXPECT_FALSE (SideRecord::findFor (path ("Track2.wav")).has_value());

    // Track4.wav now lies in the first side; the second one lets it go.
    EXPECT_EQ (SideRecord::findFor (path ("Track4.wav"))->getSideFile(), folder.getChildFile ("Side1.wav"));
    EXPECT_TRUE (SideRecord::load (folder.getChildFile ("Side2.tracks"))->getPlaces().empty());
}

TEST_F (SideRecordTest, theRecordFollowsAMoveMadeThroughTheProject)
{
    makeSide (1, { { path ("Track1.wav"), 0, 600 }, { path ("Track2.wav"), 600, 400 } });
    Project project;
    project.addTrack (path ("Track1.wav"), formatWav);
    project.addTrack (path ("Track2.wav"), formatWav);

    project.setTrackPath (0, path ("Intro.wav"));
    project.setTrack (1, formatWav, path ("Finale.wav"));

    const auto found = SideRecord::findFor (path ("Intro.wav"));
    ASSERT_TRUE (found.has_value());
    const std::vector<SideRecord::Place> expected{ { path ("Intro.wav"), 0, 600 }, { path ("Finale.wav"), 600, 400 } };
    EXPECT_EQ (found->getPlaces(), expected);
    EXPECT_TRUE (folder.getChildFile ("Side1.tracks").loadFileAsString().contains ("track 0 600 Intro.wav\n"));

    // A move into another folder: the record names the track by its full path.
    const auto away = testHome().getChildFile ("away").getChildFile ("Intro.wav").getFullPathName();
    project.setTrackPath (0, away);
    EXPECT_EQ (SideRecord::load (folder.getChildFile ("Side1.tracks"))->getPlaces()[0].path, away);
    EXPECT_FALSE (SideRecord::findFor (path ("Intro.wav")).has_value());
}

TEST_F (SideRecordTest, deletingAllTracksOfARipDeletesTheirSidesOnceAndNoOtherFile)
{
    FakeDialogs dialogs;
    makeSide (1, { { path ("Track1.wav"), 0, 600 }, { path ("Track2.wav"), 600, 400 } });
    makeSide (2, { { path ("Track3.wav"), 0, 600 } });
    makeSide (3, { { path ("Other.wav"), 0, 600 } });
    Project project;
    for (const auto* name : { "Track1.wav", "Track2.wav", "Track3.wav" })
    {
        writeWav (folder.getChildFile (name), 1000);
        project.addTrack (path (name), formatWav);
    }

    project.deleteAllTracks (true);

    juce::StringArray left;
    for (const auto& file : folder.findChildFiles (juce::File::findFiles, false))
        left.add (file.getFileName());
    left.sort (false);
    EXPECT_EQ (left, juce::StringArray ({ "Side3.tracks", "Side3.wav" }));
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].message, "All Files have been deleted sucessfully");
}

TEST_F (SideRecordTest, anEncodeProjectKeepsTheSidesOfItsFiles)
{
    FakeDialogs dialogs;
    makeSide (1, { { path ("Track1.wav"), 0, 600 } });
    writeWav (folder.getChildFile ("Track1.wav"), 600);
    Project project;
    project.projectType = encodeProject;
    project.addTrack (path ("Track1.wav"), formatWav);

    project.deleteAllTracks (true);

    EXPECT_TRUE (folder.getChildFile ("Side1.wav").existsAsFile());
    EXPECT_TRUE (folder.getChildFile ("Side1.tracks").existsAsFile());
    EXPECT_TRUE (folder.getChildFile ("Track1.wav").existsAsFile());
}

TEST_F (SideRecordTest, theNextSideTakesTheFirstNumberWhoseSideAndRecordAreFree)
{
    int number = 1;
    EXPECT_EQ (SideRecord::nextFreeSideFile (folder, number), folder.getChildFile ("Side1.wav"));
    EXPECT_EQ (number, 1);

    makeFile (folder, "Side1.wav");
    makeFile (folder, "Side2.tracks");
    folder.getChildFile ("Side3.wav").createDirectory();
    number = 1;
    EXPECT_EQ (SideRecord::nextFreeSideFile (folder, number), folder.getChildFile ("Side4.wav"));
    EXPECT_EQ (number, 4);

    number = 7;
    EXPECT_EQ (SideRecord::nextFreeSideFile (folder, number), folder.getChildFile ("Side7.wav"));
}

TEST_F (SideRecordTest, aDamagedRecordIsReadAsFarAsItMakesSenseAndNothingElseIsTakenForOne)
{
    const auto good = makeSide (1, { { path ("Track1.wav"), 0, 600 }, { path ("Track2.wav"), 600, 400 } }).toText();
    const auto recordFile = folder.getChildFile ("Side1.tracks");

    const auto expectSane = [this] (const std::optional<SideRecord>& record)
    {
        if (! record)
            return;
        EXPECT_EQ (record->getSideFile(), folder.getChildFile ("Side1.wav"));
        for (const auto& place : record->getPlaces())
        {
            EXPECT_GE (place.first, 0);
            EXPECT_GE (place.length, 0);
            EXPECT_TRUE (juce::File::isAbsolutePath (place.path));
        }
    };

    // Cut anywhere, as a full disk or a crash might leave it.
    for (int length = 0; length <= good.length(); ++length)
        expectSane (SideRecord::parse (good.substring (0, length), recordFile));

    // Bytes changed at random.
    juce::Random random (20);
    for (int round = 0; round < 300; ++round)
    {
        juce::MemoryBlock bytes (good.toRawUTF8(), good.getNumBytesAsUTF8());
        for (int flips = 1 + random.nextInt (4); flips > 0; --flips)
            static_cast<char*> (bytes.getData())[random.nextInt ((int) bytes.getSize())] = (char) random.nextInt (256);
        recordFile.replaceWithData (bytes.getData(), bytes.getSize());
        expectSane (SideRecord::load (recordFile));
        SideRecord::findFor (path ("Track1.wav"));
    }

    // The program's other text files, malformed as the corpus has them, are no records.
    for (const auto& entry : MalformedCorpus::make ({ "text" }))
    {
        recordFile.deleteRecursively();
        if (entry.file.isDirectory())
            recordFile.createDirectory();
        else
            entry.file.copyFileTo (recordFile);
        EXPECT_FALSE (SideRecord::findFor (path ("Track1.wav")).has_value()) << entry.file.getFileName();
    }
}
