// The track page's transport: play, pause, resume, seek, stop, the timer's watch over the
// player, and Split at the paused position, with the tests' own sound card.
#include "TrackPageFixture.h"

#include <cmath>

using namespace trackpage_test;

namespace
{
/** The frames of a split's first part, from a slider value: the frame nearest to its time. */
int startFrames (double sliderValue)
{
    return (int) std::floor (sliderValue / 44100.0 * 44100.0 + 0.5);
}

/** Two tracks of two seconds in the page's list, the first one playing. */
class PlayingTrack : public TrackPageTest
{
protected:
    void SetUp() override
    {
        TrackPageTest::SetUp();
        audio[0] = song (88200, 1);
        audio[1] = song (66150, 2);
        files[0] = addWav ("Track1.wav", audio[0]);
        files[1] = addWav ("Track2.wav", audio[1]);
        showTracks();

        clickRow (page->trackList, 0);
        press (page->playButton);
        ASSERT_NE (page->getReader(), nullptr);
        ASSERT_TRUE (page->getReader()->isPlaying());
    }

    /** Plays on for at least `frames` more, then the timer looks. */
    void playOn (int frames)
    {
        playFrames (frames);
        tick();
    }

    /** The seek bar's text for a value, with the first track's length. */
    static juce::String timeText (double value)
    {
        return PlaySlider::formatSamples ((juce::int64) value, 44100) + " / 2.00";
    }

    /** A click on Play while the track plays: the pause. */
    void pause()
    {
        pressWhileRunning (page->playButton);
        ASSERT_NE (page->getPausePosition(), -1.0);
    }

    /** A drag of the seek bar to `value` with no player under it, as during a pause. */
    void seekTo (double value)
    {
        page->positionSlider.startedDragging();
        page->positionSlider.setValue (value, juce::sendNotificationSync);
        page->positionSlider.stoppedDragging();
    }

    WavFiles::Audio audio[2];
    juce::File files[2];
};
} // namespace

TEST_F (PlayingTrack, theTimerFollowsThePlayOnTheSeekBar)
{
    EXPECT_EQ (project->audioReader, page->getReader());
    EXPECT_EQ (page->positionSlider.getTimeText(), "0.00 / 2.00");

    playOn (51200);
    const double value = page->positionSlider.getValue();
    EXPECT_GE (value, 51200.0);
    EXPECT_EQ (value, (double) page->getReader()->getPosition());
    EXPECT_EQ (page->positionSlider.getTimeText(), timeText (value));
    EXPECT_TRUE (page->positionSlider.getTimeText().startsWith ("1.1"));
    EXPECT_EQ (page->playButton.getButtonText(), "Pause");
    EXPECT_TRUE (page->stopButton.isEnabled());
    EXPECT_TRUE (page->splitButton.isEnabled());
    EXPECT_TRUE (page->positionSlider.isEnabled());

    // While the user drags, the bar and its text stay with the hand.
    page->positionSlider.setDragging (true);
    playOn (5000);
    EXPECT_EQ (page->positionSlider.getValue(), value);
    EXPECT_EQ (page->positionSlider.getTimeText(), timeText (value));
    page->positionSlider.setDragging (false);
}

TEST_F (PlayingTrack, theEndOfTheTrackStopsTheTransport)
{
    playToTheEnd();
    ASSERT_FALSE (page->getReader()->isPlaying());
    tick();

    EXPECT_EQ (page->getReader(), nullptr);
    EXPECT_EQ (project->audioReader, nullptr);
    EXPECT_EQ (AudioReader::instanceCount(), 0);
    EXPECT_FALSE (page->isTimerRunning());
    EXPECT_EQ (page->positionSlider.getTimeText(), "");
    EXPECT_EQ (page->positionSlider.getValue(), 0.0);
    EXPECT_FALSE (page->positionSlider.isEnabled());
    EXPECT_FALSE (page->stopButton.isEnabled());
    EXPECT_FALSE (page->splitButton.isEnabled());
    EXPECT_TRUE (page->playButton.isEnabled());
    EXPECT_EQ (page->playButton.getButtonText(), "Play");
}

TEST_F (PlayingTrack, stopEndsThePlayAndResetsTheTransport)
{
    playOn (10000);
    pressWhileRunning (page->stopButton);

    EXPECT_EQ (page->getReader(), nullptr);
    EXPECT_EQ (AudioReader::instanceCount(), 0);
    EXPECT_FALSE (page->isTimerRunning());
    EXPECT_EQ (page->positionSlider.getValue(), 0.0);
    EXPECT_EQ (page->positionSlider.getTimeText(), "");
    EXPECT_FALSE (page->positionSlider.isEnabled());
    EXPECT_FALSE (page->stopButton.isEnabled());
    EXPECT_FALSE (page->splitButton.isEnabled());
    EXPECT_EQ (page->getPausePosition(), -1.0);
    EXPECT_EQ (page->playButton.getButtonText(), "Play");
    EXPECT_EQ (device->runBlocks (2).getMagnitude (0, 1024), 0.0f);
}

TEST_F (PlayingTrack, aPauseKeepsThePositionAndPlayResumesWhereTheBarStands)
{
    playOn (8192);
    const double value = page->positionSlider.getValue();
    ASSERT_GE (value, 8192.0);
    pause();

    EXPECT_GE (page->getPausePosition(), value);
    EXPECT_EQ (page->playButton.getButtonText(), "Play");
    EXPECT_FALSE (page->getReader()->isPlaying());

    // The timer lets the paused player go and keeps the transport ready.
    tick();
    EXPECT_EQ (page->getReader(), nullptr);
    EXPECT_EQ (AudioReader::instanceCount(), 0);
    EXPECT_FALSE (page->isTimerRunning());
    EXPECT_TRUE (page->stopButton.isEnabled());
    EXPECT_TRUE (page->splitButton.isEnabled());
    EXPECT_TRUE (page->positionSlider.isEnabled());
    EXPECT_NE (page->getPausePosition(), -1.0);

    press (page->playButton);
    ASSERT_NE (page->getReader(), nullptr);
    EXPECT_EQ (page->getReader()->getPosition(), (juce::int64) value);
    EXPECT_EQ (page->getPausePosition(), -1.0);
    expectOutput (device->runBlocks (4), 0, audio[0], (int) value, 2048);
}

TEST_F (PlayingTrack, seekingWhilePausedMovesTheResumePoint)
{
    playOn (2000);
    pause();
    tick();
    seekTo (9000.0);
    EXPECT_EQ (page->positionSlider.getTimeText(), "0.20 / 2.00");

    press (page->playButton);
    ASSERT_NE (page->getReader(), nullptr);
    EXPECT_EQ (page->getReader()->getPosition(), 9000);
    expectOutput (device->runBlocks (2), 0, audio[0], 9000, 1024);
}

TEST_F (PlayingTrack, aResumeFarIntoTheTrackIsHeardFromItsFirstBlock)
{
    playOn (2000);
    pause();
    tick();
    seekTo (70000.0);

    // The player comes back only once its read-ahead holds the sound from there: the first
    // block the sound card asks for is the track's, with nothing skipped.
    press (page->playButton);
    ASSERT_NE (page->getReader(), nullptr);
    EXPECT_EQ (page->getReader()->getPosition(), 70000);
    expectOutput (device->runBlocks (4), 0, audio[0], 70000, 2048);
}

TEST_F (PlayingTrack, aPausedTrackWhoseBarWasDraggedToZeroIsPlayedFromMinusOne)
{
    playOn (4000);
    pause();
    tick();
    seekTo (0.0);

    press (page->playButton);
    ASSERT_NE (page->getReader(), nullptr);
    // The position goes to the player as it is: one sample before the start.
    EXPECT_EQ (page->getReader()->getPosition(), -1);
    const auto output = device->runBlocks (2);
    EXPECT_EQ (output.getSample (0, 0), 0.0f);
    expectOutput (output, 1, audio[0], 0, 1000);
}

TEST_F (PlayingTrack, aRowChosenWithTheArrowKeysIsTheRowThatPlays)
{
    playOn (2000);
    ASSERT_TRUE (pressKey (page->trackList, juce::KeyPress (juce::KeyPress::downKey)));
    ASSERT_TRUE (page->trackList.isRowSelected (1));
    tick();
    EXPECT_EQ (page->playButton.getButtonText(), "Play") << "the highlighted row is not the one playing";

    pressWhileRunning (page->playButton);
    ASSERT_NE (page->getReader(), nullptr);
    EXPECT_EQ (page->getPlayingRow(), 1);
    EXPECT_EQ (page->positionSlider.getMaximum(), 66150.0);

    // Back up with the keys during a pause of the second track: Play starts the first one anew.
    pause();
    tick();
    ASSERT_TRUE (pressKey (page->trackList, juce::KeyPress (juce::KeyPress::upKey)));
    ASSERT_TRUE (page->trackList.isRowSelected (0));
    pressWhileRunning (page->playButton);
    ASSERT_NE (page->getReader(), nullptr);
    EXPECT_EQ (page->getPlayingRow(), 0);
    EXPECT_EQ (page->positionSlider.getMaximum(), 88200.0);
}

TEST_F (PlayingTrack, splitCutsThePausedTrackEvenWhenAnotherRowWasClickedDuringThePause)
{
    playOn (20000);
    pause();
    tick();
    const double value = page->positionSlider.getValue();
    clickRow (page->trackList, 1);
    ASSERT_TRUE (page->splitButton.isEnabled());

    const auto second = files[0].getNonexistentSibling (true);
    press (page->splitButton);

    EXPECT_EQ (trackPaths (*project), pathsOf ({ files[0], second, files[1] }));
    EXPECT_EQ (WavFiles::read (files[0]).frames(), startFrames (value));
    EXPECT_EQ (WavFiles::read (files[1]).channels, audio[1].channels) << "the clicked row is untouched";
}

TEST_F (PlayingTrack, aSelectionMovedOnWhilePlayingStartsTheNewRowOnPlay)
{
    playOn (2000);
    clickRow (page->trackList, 1);
    tick();
    EXPECT_EQ (page->playButton.getButtonText(), "Play");

    // No audio thread runs during the click, so that nothing of the new row is played before it
    // is looked at: the first track's stop waits out the transport's own time-out.
    press (page->playButton);
    ASSERT_NE (page->getReader(), nullptr);
    EXPECT_EQ (page->getPlayingRow(), 1);
    EXPECT_EQ (AudioReader::instanceCount(), 1);
    EXPECT_EQ (page->positionSlider.getMaximum(), 66150.0);

    // The second track, from its start.
    EXPECT_EQ (page->getReader()->getPosition(), 0);
    expectOutput (device->runBlocks (4), 0, audio[1], 0, 2048);
}

//==============================================================================
TEST_F (PlayingTrack, splitWhilePlayingPausesFirstAndCutsAtTheBarsValue)
{
    playOn (30000);
    const double value = page->positionSlider.getValue();
    ASSERT_GE (value, 30000.0);

    const auto second = files[0].getNonexistentSibling (true);
    pressWhileRunning (page->splitButton);

    // The row keeps its path and holds the first part; the rest follows it in a file of its own.
    EXPECT_EQ (trackPaths (*project), pathsOf ({ files[0], second, files[1] }));
    EXPECT_EQ (project->trackFormat (1), formatWav);

    const int cut = startFrames (value);
    const auto first = WavFiles::read (files[0]);
    ASSERT_EQ (first.frames(), cut);
    for (int c = 0; c < 2; ++c)
        for (int i = 0; i < cut; ++i)
            ASSERT_NEAR (first.channels[(size_t) c][(size_t) i], audio[0].channels[(size_t) c][(size_t) i], 1) << i;

    const auto rest = WavFiles::read (second);
    EXPECT_GE (rest.frames(), 88200 - cut);
    EXPECT_EQ ((rest.frames() - (960 - cut % 960)) % 960, 0) << "the rest of the cut block, then whole blocks";
    for (int c = 0; c < 2; ++c)
        for (int i = 0; i < 88200 - cut; ++i)
            ASSERT_NEAR (rest.channels[(size_t) c][(size_t) i], audio[0].channels[(size_t) c][(size_t) (cut + i)], 1)
                << i;

    EXPECT_FALSE (folder.getChildFile ("Track1_start.wav").exists());
    EXPECT_FALSE (folder.getChildFile ("Track1_end.wav").exists());
    EXPECT_EQ (WavFiles::read (files[1]).channels, audio[1].channels);

    EXPECT_EQ (page->getPausePosition(), -1.0);
    EXPECT_FALSE (page->positionSlider.isEnabled());
    EXPECT_EQ (page->positionSlider.getValue(), 0.0);
    EXPECT_EQ (page->positionSlider.getTimeText(), "");
    EXPECT_EQ (page->trackList.getViewport()->getViewedComponent()->getHeight(), 3 * page->trackList.getRowHeight());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (PlayingTrack, seekingWhilePausedMovesTheSplitPoint)
{
    playOn (5000);
    pause();
    tick();
    seekTo (50000.0);
    const auto second = files[0].getNonexistentSibling (true);
    press (page->splitButton);

    EXPECT_EQ (WavFiles::read (files[0]).frames(), startFrames (50000.0));
    EXPECT_EQ (project->trackCount(), 3);
    EXPECT_EQ (project->trackPath (1), second.getFullPathName());
}

TEST_F (PlayingTrack, aSplitOfATrackWhoseFileVanishedDoesNothing)
{
    playOn (5000);
    pause();
    tick();
    ASSERT_TRUE (files[0].deleteFile());
    press (page->splitButton);

    EXPECT_EQ (project->trackCount(), 2);
    EXPECT_EQ (folder.findChildFiles (juce::File::findFiles, false).size(), 1);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (PlayingTrack, aSplitLeavesFilesAlreadyNamedLikeItsPartsAsTheyWere)
{
    const auto start = makeFile (folder, "Track1_start.wav", "the user's own start");
    const auto end = makeFile (folder, "Track1_end.wav", "the user's own end");
    playOn (20000);
    pause();
    tick();
    const double value = page->positionSlider.getValue();
    const auto second = files[0].getNonexistentSibling (true);
    press (page->splitButton);

    EXPECT_EQ (start.loadFileAsString(), "the user's own start");
    EXPECT_EQ (end.loadFileAsString(), "the user's own end");
    EXPECT_EQ (trackPaths (*project), pathsOf ({ files[0], second, files[1] }));
    EXPECT_EQ (WavFiles::read (files[0]).frames(), startFrames (value));
    EXPECT_GE (WavFiles::read (second).frames(), 88200 - startFrames (value));
    EXPECT_EQ (folder.findChildFiles (juce::File::findFiles, false).size(), 5);
}

TEST_F (TrackPageTest, aSplitOfAFlacTrackLeavesFilesAlreadyNamedLikeItsWavAndItsPartsAsTheyWere)
{
    const auto flac = addEncoded ("Studio.flac", 60000, 4);
    const auto other = addWav ("Studio.wav", song (5000, 3)); // another track, of the same stem
    const auto start = makeFile (folder, "Studio_start.wav", "the user's own start");
    const auto end = makeFile (folder, "Studio_end.wav", "the user's own end");
    const auto flacBytes = bytesOf (flac);
    const auto otherBytes = bytesOf (other);
    showTracks();

    clickRow (page->trackList, 0);
    press (page->playButton);
    playFrames (20000);
    tick();
    const double value = page->positionSlider.getValue();
    pressWhileRunning (page->splitButton);

    EXPECT_EQ (bytesOf (flac), flacBytes);
    EXPECT_EQ (bytesOf (other), otherBytes);
    EXPECT_EQ (start.loadFileAsString(), "the user's own start");
    EXPECT_EQ (end.loadFileAsString(), "the user's own end");

    // The row names a WAV file of a free name, holding the first part; the rest follows it.
    ASSERT_EQ (project->trackCount(), 3);
    const juce::File first (project->trackPath (0));
    const juce::File rest (project->trackPath (1));
    EXPECT_EQ (project->trackPath (2), other.getFullPathName());
    for (const auto& part : { first, rest })
    {
        EXPECT_EQ (part.getParentDirectory(), folder);
        EXPECT_EQ (part.getFileExtension(), ".wav");
        EXPECT_FALSE (part == other || part == start || part == end) << part.getFullPathName();
    }
    EXPECT_EQ (project->trackFormat (0), formatWav);
    EXPECT_EQ (WavFiles::read (first).frames(), startFrames (value));
    EXPECT_GE (WavFiles::read (rest).frames(), (int) audiofiles::readAudio (flac).length - startFrames (value));
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (TrackPageTest, aSplitOfAFlacTrackMakesItAWavFileFirstWithoutAQuestion)
{
    const auto flac = addEncoded ("Studio.flac", 60000, 4);
    const auto decoded = audiofiles::readAudio (flac);
    showTracks();
    const auto before = bytesOf (flac);

    clickRow (page->trackList, 0);
    press (page->playButton);
    playFrames (20000);
    tick();
    const double value = page->positionSlider.getValue();
    const auto wav = folder.getChildFile ("Studio.wav");
    WavFiles::write (wav, song (10));
    const auto rest = wav.getNonexistentSibling (true);
    wav.deleteFile();
    pressWhileRunning (page->splitButton);

    EXPECT_EQ (trackPaths (*project), pathsOf ({ wav, rest })) << trackPaths (*project).joinIntoString ("\n");
    EXPECT_EQ (project->trackFormat (0), formatWav);
    EXPECT_EQ (bytesOf (flac), before) << "the FLAC file itself stays";
    EXPECT_EQ (WavFiles::read (wav).frames(), startFrames (value));
    EXPECT_GE (WavFiles::read (rest).frames(), (int) decoded.length - startFrames (value));
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (dialogs.choosers().empty());
}
