// The whole side of a capture: everything the run hears goes to Side<k>.wav beside the tracks,
// through the input filters, with a record of where each track lies in it; a side that fails or
// falls behind never touches the tracks. And the end of a track that waits in a gap reaches the
// disk without another write.
#include "CaptureRunFixture.h"
#include "WavOnDisk.h"
#include "capture/RiaaFilter.h"
#include "capture/SideWriter.h"
#include "editing/TrackList.h"
#include "project/SideRecord.h"
#include "support/FileSizeLimit.h"

#include <atomic>

using namespace capture_test;
using namespace wav_on_disk;

namespace
{
std::vector<StereoBlock> join (std::initializer_list<const std::vector<StereoBlock>*> parts)
{
    std::vector<StereoBlock> all;
    for (const auto* part : parts)
        all.insert (all.end(), part->begin(), part->end());
    return all;
}

/** The samples of `contents` from `first` on, `length` of them. */
std::vector<int> slice (const std::vector<int>& samples, juce::int64 first, juce::int64 length)
{
    if (first < 0 || length < 0 || first + length > (juce::int64) samples.size())
        return {};
    return { samples.begin() + first, samples.begin() + first + length };
}

juce::MemoryBlock bytesOf (const juce::File& file)
{
    juce::MemoryBlock bytes;
    file.loadFileAsData (bytes);
    return bytes;
}
} // namespace

class CaptureSide : public CaptureRun
{
protected:
    juce::File side (int number) const { return folder.getChildFile ("Side" + juce::String (number) + ".wav"); }
    juce::File record (int number) const { return folder.getChildFile ("Side" + juce::String (number) + ".tracks"); }

    /** Each place of the record holds exactly its track's samples, and the places are these. */
    void expectPlacesHoldTheirTracks (const SideRecord& sideRecord, const std::vector<SideRecord::Place>& expected)
    {
        EXPECT_EQ (sideRecord.getPlaces(), expected);
        const auto sideContents = readWav (sideRecord.getSideFile());
        ASSERT_TRUE (sideContents.valid);

        for (const auto& place : sideRecord.getPlaces())
        {
            SCOPED_TRACE (place.path.toStdString());
            const auto trackContents = readWav (juce::File (place.path));
            ASSERT_TRUE (trackContents.valid);
            ASSERT_EQ ((juce::int64) trackContents.left.size(), place.length);
            EXPECT_TRUE (slice (sideContents.left, place.first, place.length) == trackContents.left);
            EXPECT_TRUE (slice (sideContents.right, place.first, place.length) == trackContents.right);
        }
    }

    /** Silence, a song, a gap, a song, and the silence that ends the run. */
    void captureTwoSongs (std::vector<StereoBlock>& heard, std::vector<StereoBlock>& first,
                          std::vector<StereoBlock>& second)
    {
        ASSERT_TRUE (audio->start (true));
        std::vector<StereoBlock> before, gap, end;
        feedSilence (3, &before);
        feedTones (5, &first);
        feedSilence (10, &first);
        feedSilence (2, &gap);
        feedTones (3, &second);
        feedSilence (10, &second);
        feedSilence (11, &end);
        feedTones (2); // after the end nothing is heard
        ASSERT_TRUE (waitForEnd());
        heard = join ({ &before, &first, &gap, &second, &end });
    }
};

//==============================================================================
TEST_F (CaptureSide, theSideHoldsTheWholeRunAndEachTrackLiesInItSampleForSample)
{
    std::vector<StereoBlock> heard, first, second;
    ASSERT_NO_FATAL_FAILURE (captureTwoSongs (heard, first, second));

    // The tracks are as they always were.
    expectFileHolds (track ("Track1.wav"), first);
    expectFileHolds (track ("Track2.wav"), second);

    // The side has all of it: the silence before, the gap and the silence at the end too.
    expectFileHolds (side (1), heard);
    EXPECT_EQ (soxiSamples (side (1)), (juce::int64) heard.size() * blockSize);
    EXPECT_TRUE (record (1).existsAsFile());

    const auto found = SideRecord::findFor (track ("Track2.wav").getFullPathName());
    ASSERT_TRUE (found.has_value());
    EXPECT_EQ (found->getSideFile(), side (1));
    EXPECT_EQ (found->getSampleRate(), 44100);
    EXPECT_TRUE (found->isWhole());
    EXPECT_TRUE (found->hasEnded());
    EXPECT_EQ (found->getSideSamples(), (juce::int64) heard.size() * blockSize);
    EXPECT_TRUE (found->canBeCutAgain());
    expectPlacesHoldTheirTracks (*found,
                                 { { track ("Track1.wav").getFullPathName(), 3 * blockSize, 15 * blockSize },
                                   { track ("Track2.wav").getFullPathName(), 20 * blockSize, 13 * blockSize } });
}

TEST_F (CaptureSide, theSideGoesThroughTheInputFiltersAsTheTracksDo)
{
    project->rumbleOn = true;
    project->setPreamp (false);

    ASSERT_TRUE (audio->start (true));
    std::vector<StereoBlock> heard;
    feedSilence (2, &heard);
    feedTones (4, &heard);
    feedSilence (12, &heard);
    feedTones (2, &heard, 0.3f);
    feedSilence (3, &heard);
    audio->stop();
    pumpMessages();

    // The filters as the callback runs them, block by block, from rest.
    juce::IIRFilter rumble[2];
    RiaaFilter riaa[2];
    for (int channel = 0; channel < 2; ++channel)
    {
        rumble[channel].setCoefficients (juce::IIRCoefficients::makeHighPass (rate, 50.0));
        riaa[channel].setSampleRate ((float) rate);
        riaa[channel].setMode (1);
        riaa[channel].loadCoefficients();
        riaa[channel].reset();
    }
    for (auto& block : heard)
    {
        for (int channel = 0; channel < 2; ++channel)
        {
            auto& samples = channel == 0 ? block.left : block.right;
            rumble[channel].processSamples (samples.data(), blockSize);
            riaa[channel].processInPlace (samples.data(), blockSize);
        }
    }

    expectFileHolds (side (1), heard);
    const auto found = SideRecord::findFor (track ("Track1.wav").getFullPathName());
    ASSERT_TRUE (found.has_value());
    expectPlacesHoldTheirTracks (*found, { { track ("Track1.wav").getFullPathName(), 2 * blockSize, 14 * blockSize },
                                           { track ("Track2.wav").getFullPathName(), 18 * blockSize, 5 * blockSize } });
}

TEST_F (CaptureSide, nextTrackCutsTheSideWhereItCutsTheTracks)
{
    ASSERT_TRUE (audio->start (true));
    feedSilence (1);
    feedTones (4);
    project->nextTrackRequested = true;
    feedTones (3);
    // Pressed twice in a gap: the number moves on twice, the side has one place for the track.
    feedSilence (11);
    project->nextTrackRequested = true;
    feedSilence (1);
    project->nextTrackRequested = true;
    feedSilence (1);
    feedTones (2);
    audio->stop();
    pumpMessages();

    const auto found = SideRecord::findFor (track ("Track1.wav").getFullPathName());
    ASSERT_TRUE (found.has_value());
    ASSERT_EQ (project->trackCount(), 3);
    expectPlacesHoldTheirTracks (*found, { { project->trackPath (0), 1 * blockSize, 4 * blockSize },
                                           { project->trackPath (1), 5 * blockSize, 13 * blockSize },
                                           { project->trackPath (2), 21 * blockSize, 2 * blockSize } });
}

//==============================================================================
TEST_F (CaptureSide, eachCaptureRunHasASideOfItsOwnCountedFromOne)
{
    ASSERT_TRUE (audio->start (true));
    feedTones (3);
    audio->stop();
    ASSERT_TRUE (audio->start (true));
    feedTones (2);
    audio->stop();
    pumpMessages();

    ASSERT_EQ (trackPaths(),
               juce::StringArray (track ("Track1.wav").getFullPathName(), track ("Track2.wav").getFullPathName()));
    EXPECT_EQ (SideRecord::findFor (track ("Track1.wav").getFullPathName())->getSideFile(), side (1));
    EXPECT_EQ (SideRecord::findFor (track ("Track2.wav").getFullPathName())->getSideFile(), side (2));
    EXPECT_EQ (readWav (side (1)).left.size(), (size_t) (3 * blockSize));
    EXPECT_EQ (readWav (side (2)).left.size(), (size_t) (2 * blockSize));
    EXPECT_EQ (project->captureRuns, 2);

    // A new capture counts from one again, and takes the first number that is free.
    project->resetForNewCapture();
    project->captureFolder = folder.getFullPathName();
    ASSERT_TRUE (audio->start (true));
    feedTones (1);
    audio->stop();
    EXPECT_TRUE (side (3).existsAsFile());
    EXPECT_EQ (project->captureRuns, 3);

    // Track1.wav was written anew: it is the third side's now, and the first one's no more.
    EXPECT_EQ (SideRecord::findFor (track ("Track1.wav").getFullPathName())->getSideFile(), side (3));
    const auto firstSide = SideRecord::load (record (1));
    ASSERT_TRUE (firstSide.has_value());
    EXPECT_TRUE (firstSide->getPlaces().empty());
}

TEST_F (CaptureSide, aSideLeftByAnEarlierSessionIsNeverWrittenOver)
{
    // A side of an earlier session, and the record of another whose side has gone.
    const auto earlier = makeFile (folder, "Side1.wav", "the user's audio");
    const auto lonelyRecord = makeFile (folder, "Side2.tracks", "a record");

    ASSERT_TRUE (audio->start (true));
    EXPECT_EQ (audio->getSideWriter()->getFile(), side (3));
    feedTones (2);
    audio->stop();

    EXPECT_EQ (earlier.loadFileAsString(), "the user's audio");
    EXPECT_EQ (lonelyRecord.loadFileAsString(), "a record");
    EXPECT_FALSE (side (2).exists());
    EXPECT_EQ (SideRecord::findFor (track ("Track1.wav").getFullPathName())->getSideFile(), side (3));
}

TEST_F (CaptureSide, aRunThatHearsNoSoundLeavesNoSide)
{
    ASSERT_TRUE (audio->start (true));
    ASSERT_NE (audio->getSideWriter(), nullptr);
    feedSilence (5);

    // The side is there while the run goes, with its record.
    EXPECT_TRUE (side (1).existsAsFile());
    EXPECT_TRUE (record (1).existsAsFile());

    feedSilence (16);
    ASSERT_TRUE (waitForEnd());
    EXPECT_EQ (dialogs.alerts().back().message, "No stream detected");
    EXPECT_EQ (folder.getNumberOfChildFiles (juce::File::findFiles), 0);
    EXPECT_EQ (audio->getSideWriter(), nullptr);
}

TEST_F (CaptureSide, testAndCalibrateKeepNoSide)
{
    ASSERT_TRUE (audio->start (false));
    EXPECT_EQ (audio->getSideWriter(), nullptr);
    feedTones (3);
    audio->stop();
    EXPECT_EQ (folder.getNumberOfChildFiles (juce::File::findFilesAndDirectories), 0);
    EXPECT_EQ (project->captureRuns, 0);
}

//==============================================================================
TEST_F (CaptureSide, aSideThatCannotBeWrittenLeavesTheTracksByteForByteAsTheyWouldBe)
{
    // The run as it is without any trouble.
    std::vector<StereoBlock> heard, first, second;
    ASSERT_NO_FATAL_FAILURE (captureTwoSongs (heard, first, second));
    const auto trackOne = bytesOf (track ("Track1.wav")), trackTwo = bytesOf (track ("Track2.wav"));
    ASSERT_GT (side (1).getSize(), 500000);
    ASSERT_LT (trackOne.getSize(), 300000);

    // Again, the same record, on a disk where no file may grow past 400 000 bytes: the side
    // fills it up, the tracks never reach it.
    project->deleteAllTracks (false);
    project->resetForNewCapture();
    project->captureFolder = folder.getFullPathName();
    log.events.clear();
    blockCounter = 0;
    {
        const FileSizeLimit fullDisk (400000);
        std::vector<StereoBlock> heardAgain, firstAgain, secondAgain;
        ASSERT_NO_FATAL_FAILURE (captureTwoSongs (heardAgain, firstAgain, secondAgain));
    }

    EXPECT_EQ (trackPaths(),
               juce::StringArray (track ("Track1.wav").getFullPathName(), track ("Track2.wav").getFullPathName()));
    EXPECT_TRUE (bytesOf (track ("Track1.wav")) == trackOne);
    EXPECT_TRUE (bytesOf (track ("Track2.wav")) == trackTwo);

    // The side was given up, its room left to the tracks; the record says that it is not whole.
    EXPECT_FALSE (side (1).exists());
    const auto found = SideRecord::findFor (track ("Track1.wav").getFullPathName());
    ASSERT_TRUE (found.has_value());
    EXPECT_FALSE (found->isWhole());
    EXPECT_FALSE (found->canBeCutAgain());
    EXPECT_EQ (found->getPlaces().size(), 2u);
}

TEST_F (CaptureSide, aSideThatFallsBehindLosesAudioOnlyToItselfAndIsNotCutAgain)
{
    ASSERT_TRUE (audio->start (true));
    auto* sideWriter = audio->getSideWriter();
    ASSERT_NE (sideWriter, nullptr);

    // The side's disk does not keep up: the FIFO fills after its seconds of audio (ten blocks a
    // second), the audio thread goes on without waiting, and the track gets every block.
    const int blocksThatFit = SideWriter::fifoSeconds * 10;
    sideWriter->holdWriting (true);
    std::vector<StereoBlock> written;
    feedTones (blocksThatFit + 10, &written);
    EXPECT_EQ (sideWriter->getSamplesLost(), 10 * blockSize);
    EXPECT_EQ (sideWriter->getSamplesHeard(), (blocksThatFit + 10) * blockSize);
    EXPECT_EQ (sideWriter->getSamplesWaiting(), blocksThatFit * blockSize);
    sideWriter->holdWriting (false);
    audio->stop();

    expectFileHolds (track ("Track1.wav"), written);
    expectFileHolds (side (1), { written.begin(), written.begin() + blocksThatFit });
    const auto found = SideRecord::findFor (track ("Track1.wav").getFullPathName());
    ASSERT_TRUE (found.has_value());
    EXPECT_FALSE (found->isWhole());
    EXPECT_FALSE (found->canBeCutAgain());
}

//==============================================================================
TEST_F (CaptureSide, theLinkFromATrackToItsSideSurvivesARenameAndARestart)
{
    std::vector<StereoBlock> heard, first, second;
    ASSERT_NO_FATAL_FAILURE (captureTwoSongs (heard, first, second));
    const auto placesBefore = SideRecord::findFor (track ("Track1.wav").getFullPathName())->getPlaces();

    // The user names the first song on the track page: the file moves, the row follows.
    {
        TrackList list (project.get());
        ASSERT_TRUE (list.renameTrack (0, "Opening song"));
    }
    const auto renamed = folder.getChildFile ("Opening song.wav");
    ASSERT_EQ (project->trackPath (0), renamed.getFullPathName());

    auto found = SideRecord::findFor (renamed.getFullPathName());
    ASSERT_TRUE (found.has_value());
    EXPECT_EQ (found->getSideFile(), side (1));
    ASSERT_EQ (found->getPlaces().size(), 2u);
    EXPECT_EQ (found->getPlaces()[0].path, renamed.getFullPathName());
    EXPECT_EQ (found->getPlaces()[0].first, placesBefore[0].first);
    EXPECT_EQ (found->getPlaces()[0].length, placesBefore[0].length);
    EXPECT_FALSE (SideRecord::findFor (track ("Track1.wav").getFullPathName()).has_value());
    expectPlacesHoldTheirTracks (*found, found->getPlaces());

    // The program ends with the list saved, and a new one loads it.
    project->saveTrackList();
    Audio::deleteInstance();
    TrackWriter::deleteInstance();
    project.reset();
    project = std::make_unique<Project>();
    ASSERT_TRUE (project->loadSavedTrackList());
    ASSERT_EQ (trackPaths(), juce::StringArray (renamed.getFullPathName(), track ("Track2.wav").getFullPathName()));

    for (int row = 0; row < project->trackCount(); ++row)
    {
        found = SideRecord::findFor (project->trackPath (row));
        ASSERT_TRUE (found.has_value()) << row;
        EXPECT_EQ (found->getSideFile(), side (1));
        EXPECT_TRUE (found->canBeCutAgain());
        expectPlacesHoldTheirTracks (*found,
                                     { { renamed.getFullPathName(), 3 * blockSize, 15 * blockSize },
                                       { track ("Track2.wav").getFullPathName(), 20 * blockSize, 13 * blockSize } });
    }
}

TEST_F (CaptureSide, aRenameOverAnotherTrackTakesThatTracksPlaceOutOfTheRecord)
{
    std::vector<StereoBlock> heard, first, second;
    ASSERT_NO_FATAL_FAILURE (captureTwoSongs (heard, first, second));

    TrackList list (project.get());
    dialogs.answer ("Yes");
    ASSERT_TRUE (list.renameTrack (1, "Track1"));
    ASSERT_EQ (trackPaths(), juce::StringArray (track ("Track1.wav").getFullPathName()));

    const auto found = SideRecord::findFor (track ("Track1.wav").getFullPathName());
    ASSERT_TRUE (found.has_value());
    expectPlacesHoldTheirTracks (*found,
                                 { { track ("Track1.wav").getFullPathName(), 20 * blockSize, 13 * blockSize } });
}

TEST_F (CaptureSide, deletingAllTracksDeletesTheirSidesToo)
{
    std::vector<StereoBlock> heard, first, second;
    ASSERT_NO_FATAL_FAILURE (captureTwoSongs (heard, first, second));
    ASSERT_TRUE (audio->start (true));
    feedTones (2);
    audio->stop();
    const auto bystander = makeFile (folder, "Side9.wav", "not ours to delete");
    ASSERT_TRUE (side (2).existsAsFile());

    project->deleteAllTracks (true);

    EXPECT_EQ (dialogs.alerts().back().message, "All Files have been deleted sucessfully");
    juce::StringArray left;
    for (const auto& file : folder.findChildFiles (juce::File::findFiles, false))
        left.add (file.getFileName());
    EXPECT_EQ (left, juce::StringArray ("Side9.wav"));
}

//==============================================================================
// The end of a track that waits: what the writer's buffer holds goes to the disk, from another
// thread, without a further write.

TEST_F (CaptureSide, afterStaledTheEndOfTheTrackIsOnTheDiskWithoutAnotherWrite)
{
    ASSERT_TRUE (audio->start (true));
    std::vector<StereoBlock> written;
    feedTones (3, &written);
    feedSilence (10, &written);
    feedSilence (1);
    pumpMessages();
    ASSERT_TRUE (log.events.contains ("STALED"));

    // A reader of its own sees the whole track on the disk, header and all, as a kill would
    // leave it.
    const auto file = track ("Track1.wav");
    EXPECT_TRUE (pumpUntil ([&] { return readDiskHeader (file).dataSize == 13 * blockSize * 4; }))
        << readDiskHeader (file).dataSize / 4 << " frames on the disk";
    EXPECT_EQ (framesOnDisk (file), 13 * blockSize);
    const auto leftByAKill = folder.getChildFile ("left by a kill.wav");
    ASSERT_TRUE (file.copyFileTo (leftByAKill));
    expectFileHolds (leftByAKill, written);
    EXPECT_EQ (soxiSamples (leftByAKill), 13 * blockSize);
    audio->stop();
}

TEST_F (CaptureSide, whenTheDeviceStopsInTheMiddleOfATrackItsEndIsOnTheDisk)
{
    ASSERT_TRUE (audio->start (true));
    std::vector<StereoBlock> written;
    feedTones (3, &written);

    // No block comes any more, and the run has not ended.
    const auto file = track ("Track1.wav");
    EXPECT_TRUE (pumpUntil ([&] { return readDiskHeader (file).dataSize == 3 * blockSize * 4; }))
        << readDiskHeader (file).dataSize / 4 << " frames on the disk";
    EXPECT_EQ (framesOnDisk (file), 3 * blockSize);
    EXPECT_TRUE (audio->isStarted());
    audio->stop();
    expectFileHolds (file, written);
}

TEST_F (CaptureSide, whileTheEndCaptureBoxWaitsTheTrackIsOnTheDisk)
{
    // Silence that ends the run before the gap that would end the track.
    project->setSilenceLength (1);
    project->setMinSilence (2);
    const auto file = track ("Track1.wav");
    std::atomic<juce::int64> onDiskWhileAsked{ -1 };

    // The box waits on the audio thread: the disk is looked at while it does.
    dialogs.onAlert = [&] (const FakeDialogs::Alert& alert)
    {
        if (alert.title != "End Capture")
            return;
        const auto end = juce::Time::getMillisecondCounter() + 10000;
        while (readDiskHeader (file).dataSize / 4 != 14 * blockSize && juce::Time::getMillisecondCounter() < end)
            juce::Thread::sleep (5);
        onDiskWhileAsked = readDiskHeader (file).dataSize / 4;
    };

    ASSERT_TRUE (audio->start (true));
    feedTones (3);
    feedSilence (11);
    dialogs.onAlert = nullptr;
    EXPECT_EQ (onDiskWhileAsked.load(), 14 * blockSize);
    ASSERT_TRUE (waitForEnd());
}
