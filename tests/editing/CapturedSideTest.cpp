// A row's captured side, as finding the songs and the side window take it: which rows hold its
// audio (also after a split or a merge), when it may not stand in for them (a row changed, a
// side not whole, an encode project), and cutting it again from its start, each time.
#include "editing/CapturedSide.h"
#include "editing/SongCutter.h"

#include "SideFiles.h"

using namespace sidefiles;

namespace
{
juce::SparseSet<int> rowsFrom (int first, int count)
{
    juce::SparseSet<int> rows;
    rows.addRange ({ first, first + count });
    return rows;
}

std::vector<juce::Range<juce::int64>> spansOf (const std::vector<SideRecord::Place>& places)
{
    std::vector<juce::Range<juce::int64>> spans;
    for (const auto& place : places)
        spans.push_back ({ place.first, place.first + place.length });
    return spans;
}
} // namespace

class CapturedSideOfARow : public CapturedSideTest
{
};

TEST_F (CapturedSideOfARow, isTheSideWithTheRowsCutFromItAndWhereEachLies)
{
    const auto other = addWav ("Interlude.wav", song (22050));
    captureTheSideBadly();

    for (int row = 1; row <= 3; ++row)
    {
        const auto found = capturedSideOf (*project, row);
        ASSERT_TRUE (found.has_value()) << row;
        EXPECT_EQ (found->file, sideFile);
        EXPECT_EQ (found->rows, juce::Array<int> ({ 1, 2, 3 }));
        EXPECT_EQ (found->spans, spansOf (places));
        EXPECT_EQ (found->record, SideRecord::recordFileFor (sideFile));
    }

    // A row that did not come from the side has none.
    EXPECT_FALSE (capturedSideOf (*project, 0).has_value());
    EXPECT_FALSE (capturedSideOf (*project, 4).has_value());
    EXPECT_TRUE (other.exists());
}

TEST_F (CapturedSideOfARow, aSplitRowsTwoPartsAreBothTheSides)
{
    captureTheSideBadly();

    // The split keeps the first part under the row's name and puts the rest after it.
    const auto& place = places[1];
    const auto firstPart = place.length / 3;
    WavFiles::write (tracks[1], slice (sideAudio, place.first, place.first + firstPart));
    const auto secondPart = folder.getChildFile ("Track2 (2).wav");
    WavFiles::write (secondPart, slice (sideAudio, place.first + firstPart, place.first + place.length));
    project->insertTrack (2, secondPart.getFullPathName(), formatWav);

    const auto found = capturedSideOf (*project, 2);
    ASSERT_TRUE (found.has_value());
    EXPECT_EQ (found->rows, juce::Array<int> ({ 0, 1, 2, 3 }));
    const std::vector<juce::Range<juce::int64>> spans{ { places[0].first, places[0].first + places[0].length },
                                                       { place.first, place.first + firstPart },
                                                       { place.first + firstPart, place.first + place.length },
                                                       { places[2].first, places[2].first + places[2].length } };
    EXPECT_EQ (found->spans, spans);
}

TEST_F (CapturedSideOfARow, aMergedRowIsTheSidesAndTheRowItTookIsGone)
{
    captureTheSideBadly();

    // A merge of the first row with the second: both places in one file, the second row gone.
    WavFiles::write (tracks[0], joined (slice (sideAudio, places[0].first, places[0].first + places[0].length),
                                        slice (sideAudio, places[1].first, places[1].first + places[1].length)));
    tracks[1].deleteFile();
    project->removeTrackAt (1);

    const auto found = capturedSideOf (*project, 0);
    ASSERT_TRUE (found.has_value());
    EXPECT_EQ (found->rows, juce::Array<int> ({ 0, 1 }));
    const std::vector<juce::Range<juce::int64>> spans{ { places[0].first, places[1].first + places[1].length },
                                                       { places[2].first, places[2].first + places[2].length } };
    EXPECT_EQ (found->spans, spans);
}

TEST_F (CapturedSideOfARow, aRowWhoseAudioWasChangedMakesTheRowsWhatThereIs)
{
    captureTheSideBadly();

    // The second row filtered in place: the side does not have what the user made of it.
    auto changed = WavFiles::read (tracks[1]);
    for (auto& channel : changed.channels)
        for (size_t i = channel.size() / 2; i < channel.size(); ++i)
            channel[i] /= 2;
    WavFiles::write (tracks[1], changed);

    for (int row = 0; row < 3; ++row)
        EXPECT_FALSE (capturedSideOf (*project, row).has_value()) << row;

    // Finding the songs then joins the rows themselves.
    SongCutter cutter (*project);
    const auto audio = cutter.chooseAudio (1, rowsFrom (0, 3));
    ASSERT_TRUE (audio.has_value());
    EXPECT_FALSE (audio->side.has_value());
    EXPECT_EQ (audio->files, juce::Array<juce::File> ({ tracks[0], tracks[1], tracks[2] }));
}

TEST_F (CapturedSideOfARow, aRowWhoseFileIsGoneStillCountsAsTheSides)
{
    captureTheSideBadly();
    tracks[2].deleteFile();

    const auto found = capturedSideOf (*project, 0);
    ASSERT_TRUE (found.has_value());
    EXPECT_EQ (found->rows, juce::Array<int> ({ 0, 1, 2 }));
}

TEST_F (CapturedSideOfARow, thereIsNoneWhenTheSideLostAudioOrIsGoneOrTheProjectEncodes)
{
    captureTheSideBadly();
    ASSERT_TRUE (capturedSideOf (*project, 1).has_value());

    project->projectType = encodeProject;
    EXPECT_FALSE (capturedSideOf (*project, 1).has_value());
    project->projectType = ripProject;

    record->setWhole (false);
    ASSERT_TRUE (record->save());
    EXPECT_FALSE (capturedSideOf (*project, 1).has_value());

    record->setWhole (true);
    ASSERT_TRUE (record->save());
    ASSERT_TRUE (capturedSideOf (*project, 1).has_value());
    ASSERT_TRUE (sideFile.deleteFile());
    EXPECT_FALSE (capturedSideOf (*project, 1).has_value());
}

//==============================================================================
class CuttingTheSideAgain : public CapturedSideTest
{
protected:
    /** "find the songs..." on a row, with this number typed. */
    std::vector<juce::int64> findSongs (int row, const juce::String& number)
    {
        SongCutter cutter (*project);
        dialogs.answer ("ok", { number });
        const auto seen = dialogs.alerts().size();
        EXPECT_TRUE (cutter.run (row, {}));
        for (auto i = seen + 1; i < dialogs.alerts().size(); ++i)
            ADD_FAILURE() << dialogs.alerts()[i].title << ": " << dialogs.alerts()[i].message;
        return cutter.getCuts();
    }

    /** The record holds the rows as the side's tracks, one after the other from its start to its end. */
    void expectTheRecordHoldsTheRows (const std::vector<juce::int64>& cuts)
    {
        const auto onDisk = recordOnDisk();
        ASSERT_EQ (onDisk.getPlaces().size(), (size_t) project->trackCount());
        for (int row = 0; row < project->trackCount(); ++row)
        {
            const auto first = row == 0 ? 0 : cuts[(size_t) row - 1];
            const auto end = row + 1 < project->trackCount() ? cuts[(size_t) row] : side.frames();
            EXPECT_EQ (onDisk.getPlaces()[(size_t) row],
                       (SideRecord::Place{ project->trackPath (row), first, end - first }));
        }
        EXPECT_TRUE (onDisk.isWhole());
        EXPECT_TRUE (onDisk.canBeCutAgain());
    }
};

TEST_F (CuttingTheSideAgain, fiveThenSixThenFiveSongsEachTimeFromTheSideBitForBit)
{
    captureTheSideBadly();
    const auto sideBytes = bytesOf (sideFile);

    // Five songs: one boundary is left out, whichever is the least clear.
    const auto five = findSongs (1, "5");
    ASSERT_EQ (project->trackCount(), 5);
    expectTheSideCutAt (five, trackPaths (*project));
    expectTheRecordHoldsTheRows (five);
    std::vector<juce::MemoryBlock> firstTime;
    for (const auto& path : trackPaths (*project))
        firstTime.push_back (bytesOf (juce::File (path)));
    EXPECT_EQ (trackPaths (*project), pathsOf ({ folder.getChildFile ("Track1.wav"), folder.getChildFile ("Track2.wav"),
                                                 folder.getChildFile ("Track3.wav"), folder.getChildFile ("Track4.wav"),
                                                 folder.getChildFile ("Track5.wav") }));

    // Six: every song, cut between its sound and the next one's, from the side again.
    const auto six = findSongs (4, "6");
    ASSERT_EQ (project->trackCount(), 6);
    ASSERT_EQ (six.size(), 5u);
    for (size_t j = 0; j < six.size(); ++j)
    {
        EXPECT_GE (six[j], side.audible[j].end) << j;
        EXPECT_LE (six[j], side.audible[j + 1].start) << j;
    }
    expectTheSideCutAt (six, trackPaths (*project));
    expectTheRecordHoldsTheRows (six);

    // Five again: the very tracks of the first time, byte for byte, not a cut of the last cut.
    const auto again = findSongs (0, "5");
    EXPECT_EQ (again, five);
    ASSERT_EQ (project->trackCount(), 5);
    for (int row = 0; row < 5; ++row)
        EXPECT_TRUE (bytesOf (juce::File (project->trackPath (row))) == firstTime[(size_t) row]) << row;
    expectTheRecordHoldsTheRows (five);

    // The side stays as it was; no file is left of the tracks replaced.
    EXPECT_TRUE (bytesOf (sideFile) == sideBytes);
    EXPECT_FALSE (folder.getChildFile ("Track6.wav").exists());
    const auto left = filesIn (folder);
    EXPECT_EQ (left.size(), 7u); // the side, its record and the five tracks
}

TEST_F (CuttingTheSideAgain, theSongsOfARowTakenOutOfTheListComeBackAndItsFileStays)
{
    captureTheSideBadly();
    const auto removedBytes = bytesOf (tracks[2]);
    project->removeTrackAt (2);

    SongCutter cutter (*project);
    dialogs.answer ("ok", { "6" });
    ASSERT_TRUE (cutter.run (0, {}));
    ASSERT_EQ (project->trackCount(), 6);
    expectTheSideCutAt (cutter.getCuts(), trackPaths (*project));

    // The file of the row taken out is the user's to keep; the new track of its name takes another.
    EXPECT_TRUE (bytesOf (tracks[2]) == removedBytes);
    EXPECT_EQ (project->trackName (2), "Track3 (2)");
    EXPECT_EQ (dialogs.alerts().back().message,
               "These names belong to other files, so the new tracks have other names:\nTrack3.wav -> Track3 (2).wav");
}

TEST_F (CuttingTheSideAgain, aSplitRowIsReplacedWithTheRestOfTheSide)
{
    captureTheSideBadly();
    const auto& place = places[2];
    WavFiles::write (tracks[2], slice (sideAudio, place.first, place.first + place.length / 2));
    const auto secondPart = folder.getChildFile ("Track3 (2).wav");
    WavFiles::write (secondPart, slice (sideAudio, place.first + place.length / 2, place.first + place.length));
    project->insertTrack (3, secondPart.getFullPathName(), formatWav);
    const auto other = addWav ("Other.wav", song (4410));

    const auto six = findSongs (3, "6");
    ASSERT_EQ (project->trackCount(), 7);
    auto paths = trackPaths (*project);
    EXPECT_EQ (paths[6], other.getFullPathName());
    paths.remove (6);
    expectTheSideCutAt (six, paths);
    EXPECT_FALSE (secondPart.exists());
}
