// The capture run, block by block: the silence rule, the numbering of track files, the track
// list, the events, and the ways a run ends.
#include "CaptureRunFixture.h"

using namespace capture_test;

namespace
{
juce::String trackTime (int samples)
{
    return "TRACK TIME " + juce::String (samples);
}
} // namespace

TEST_F (CaptureRun, aRecordIsCutIntoNumberedTracksAtItsSilences)
{
    ASSERT_TRUE (audio->start (true));
    EXPECT_TRUE (audio->isStarted());
    EXPECT_EQ (project->firstTrackPending, 1);

    std::vector<StereoBlock> first, second;
    feedSilence (3); // waiting: nothing is kept
    feedTones (5, &first);
    EXPECT_EQ (project->firstTrackPending, 0);
    EXPECT_TRUE (audio->getStatus().inTrack);
    feedSilence (10, &first); // up to the gap length the silence stays in the track
    EXPECT_EQ (audio->getStatus().silentBlocks, 10);
    EXPECT_TRUE (audio->getStatus().inTrack);
    feedSilence (2); // past it the track waits for sound
    EXPECT_EQ (audio->getStatus().silentBlocks, 12);
    EXPECT_FALSE (audio->getStatus().inTrack);
    EXPECT_EQ (audio->getStatus().trackBlocks, 0);
    EXPECT_TRUE (TrackWriter::getInstance ({}, 0, 0)->isFileOpen());
    EXPECT_EQ (project->trackCount(), 0);

    feedTones (3, &second);
    // The first track went to the list as the second one began.
    EXPECT_EQ (trackPaths(), juce::StringArray (track ("Track1.wav").getFullPathName()));
    feedSilence (10, &second);
    feedSilence (10);
    EXPECT_EQ (audio->getStatus().phase, CaptureStatus::running);
    feedSilence (1); // the 21st silent block is more than two seconds
    EXPECT_EQ (audio->getStatus().phase, CaptureStatus::stopRequested);
    feedTones (2); // nothing more is taken

    ASSERT_TRUE (waitForEnd());
    EXPECT_FALSE (audio->isStarted());
    EXPECT_EQ (audio->getStatus().phase, CaptureStatus::stopped);

    expectFileHolds (track ("Track1.wav"), first);
    expectFileHolds (track ("Track2.wav"), second);
    EXPECT_FALSE (track ("Track3.wav").exists());
    EXPECT_EQ (trackPaths(),
               juce::StringArray (track ("Track1.wav").getFullPathName(), track ("Track2.wav").getFullPathName()));
    EXPECT_EQ (project->trackFormat (0), formatWav);
    EXPECT_EQ (project->trackCounter, 2);
    EXPECT_EQ (project->lastWrittenTrack, 2);
    EXPECT_EQ (audio->getCallback()->getTracksBegun(), 2);

    juce::StringArray expected{ "STARTED", "TRACK" };
    for (int i = 0; i < 15; ++i)
        expected.add (trackTime (i * blockSize));
    expected.add ("STALED");
    expected.add ("TRACK");
    // The first time of a new track still counts the samples of the file before it.
    expected.add (trackTime (15 * blockSize));
    for (int i = 1; i < 13; ++i)
        expected.add (trackTime (i * blockSize));
    expected.add ("STALED");
    expected.add ("END");
    EXPECT_EQ (log.events, expected);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 1u);
    EXPECT_EQ (alerts[0].icon, juce::MessageBoxIconType::WarningIcon);
    EXPECT_EQ (alerts[0].title, "End Capture");
    EXPECT_EQ (alerts[0].message, "No more stream detected");
    EXPECT_EQ (alerts[0].buttons, juce::StringArray ("ok"));
}

TEST_F (CaptureRun, aBlockExactlyAtTheThresholdIsSound)
{
    // A constant 0.5 on both channels is levelIndex 40 exactly.
    auto block = constantBlock (blockSize, 0.5f);
    ASSERT_EQ (levelIndexOf (block.left.data(), block.right.data(), blockSize), 40.0f);

    project->setThreshold (40);
    ASSERT_TRUE (audio->start (true));
    std::vector<StereoBlock> written{ feed (block) };
    audio->stop();
    pumpMessages();

    EXPECT_EQ (log.withoutTimes(), juce::StringArray ("STARTED", "TRACK", "END"));
    expectFileHolds (track ("Track1.wav"), written);
    EXPECT_FLOAT_EQ (project->levelPair[0], 0.5f);
    EXPECT_FLOAT_EQ (project->levelPair[1], 0.5f);
}

TEST_F (CaptureRun, aBlockJustBelowTheThresholdIsSilence)
{
    project->setThreshold (41);
    ASSERT_TRUE (audio->start (true));
    feed (constantBlock (blockSize, 0.5f));
    audio->stop();
    pumpMessages();

    EXPECT_EQ (log.events, juce::StringArray ("STARTED", "END"));
    EXPECT_EQ (project->trackCount(), 0);
    EXPECT_EQ (folder.getNumberOfChildFiles (juce::File::findFiles), 0);
}

TEST_F (CaptureRun, withNoGapLengthTheFirstSilentBlockEndsTheTrack)
{
    project->setMinSilence (0);
    ASSERT_TRUE (audio->start (true));
    EXPECT_EQ (audio->getStatus().minSilenceBlocks, 0);

    std::vector<StereoBlock> written;
    feedTones (3, &written);
    feedSilence (1);
    EXPECT_EQ (log.events.size(), 0) << "events are posted, not yet delivered";
    pumpMessages();
    EXPECT_EQ (log.events, juce::StringArray ("STARTED", "TRACK", trackTime (0), trackTime (blockSize),
                                              trackTime (2 * blockSize), "STALED"));
    feedSilence (1);
    audio->stop();
    pumpMessages();

    expectFileHolds (track ("Track1.wav"), written);
}

TEST_F (CaptureRun, anEndOfStreamShorterThanTheGapEndsTheCaptureBeforeAnyStale)
{
    project->setMinSilence (2);    // twenty blocks
    project->setSilenceLength (1); // ten blocks
    ASSERT_TRUE (audio->start (true));

    std::vector<StereoBlock> written;
    feedTones (3, &written);
    feedSilence (11, &written); // the eleventh is still within the gap, so it is written too
    EXPECT_EQ (audio->getStatus().phase, CaptureStatus::stopRequested);
    ASSERT_TRUE (waitForEnd());

    EXPECT_FALSE (log.events.contains ("STALED"));
    expectFileHolds (track ("Track1.wav"), written);
    EXPECT_EQ (trackPaths(), juce::StringArray (track ("Track1.wav").getFullPathName()));
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].message, "No more stream detected");
}

TEST_F (CaptureRun, musicBeginsTheFileAtTheWholeBlockThatCrossedTheThreshold)
{
    ASSERT_TRUE (audio->start (true));
    feedSilence (4);

    // Quiet sound below the threshold is not kept.
    auto quiet = toneBlock (blockSize, 50, 0.05f);
    ASSERT_LT (levelIndexOf (quiet.left.data(), quiet.right.data(), blockSize), 10.0f);
    feed (quiet);

    // The music starts two thirds into this block; the block is kept whole.
    auto onset = toneBlock (blockSize, 51, 0.9f);
    for (int i = 0; i < blockSize * 2 / 3; ++i)
        onset.left[(size_t) i] = onset.right[(size_t) i] = 0.0f;
    ASSERT_GE (levelIndexOf (onset.left.data(), onset.right.data(), blockSize), 10.0f);

    std::vector<StereoBlock> written{ feed (onset) };
    feedTones (2, &written);
    audio->stop();
    pumpMessages();

    expectFileHolds (track ("Track1.wav"), written);
    const auto contents = readWav (track ("Track1.wav"));
    ASSERT_TRUE (contents.valid);
    EXPECT_EQ (contents.left[0], 0);
    EXPECT_EQ (contents.left[(size_t) blockSize * 2 / 3 - 1], 0);
}

TEST_F (CaptureRun, aSecondRunContinuesTheNumberingAndReplacesAnOldFileOfThatName)
{
    ASSERT_TRUE (audio->start (true));
    std::vector<StereoBlock> first;
    feedTones (2, &first);
    audio->stop();
    pumpMessages();
    ASSERT_EQ (project->trackCount(), 1);

    // A file left from an earlier session under the next name.
    ASSERT_TRUE (track ("Track2.wav").replaceWithText ("not a recording"));

    ASSERT_TRUE (audio->start (true));
    std::vector<StereoBlock> second;
    feedSilence (2);
    feedTones (3, &second);
    audio->stop();
    pumpMessages();

    expectFileHolds (track ("Track1.wav"), first);
    expectFileHolds (track ("Track2.wav"), second);
    EXPECT_EQ (trackPaths(),
               juce::StringArray (track ("Track1.wav").getFullPathName(), track ("Track2.wav").getFullPathName()));
    EXPECT_EQ (project->trackCounter, 2);
    EXPECT_EQ (project->lastWrittenTrack, 2);
    EXPECT_EQ (log.withoutTimes(), juce::StringArray ({ "STARTED", "TRACK", "END", "STARTED", "TRACK", "END" }));
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (CaptureRun, aStopDuringAGapClosesTheFileAtItsLastWrittenBlockAndListsIt)
{
    ASSERT_TRUE (audio->start (true));
    std::vector<StereoBlock> written;
    feedTones (3, &written);
    feedSilence (10, &written);
    feedSilence (5);
    pumpMessages();
    EXPECT_EQ (log.events[log.events.size() - 1], "STALED");

    audio->stop();
    EXPECT_FALSE (audio->isStarted());
    EXPECT_FALSE (TrackWriter::getInstance ({}, 0, 0)->isFileOpen());
    pumpMessages();

    expectFileHolds (track ("Track1.wav"), written);
    EXPECT_EQ (trackPaths(), juce::StringArray (track ("Track1.wav").getFullPathName()));
    EXPECT_EQ (log.events[log.events.size() - 1], "END");
    EXPECT_TRUE (dialogs.alerts().empty());

    // The stop came from the page: the thread does not stop the run a second time.
    juce::Thread::sleep (700);
    pumpMessages();
    EXPECT_EQ (log.events.size() - log.events.indexOf ("END"), 1);
}

TEST_F (CaptureRun, nextTrackInAGapListsTheEarlierFileAtOnceAndTheNextSoundOpensANewNumber)
{
    ASSERT_TRUE (audio->start (true));
    std::vector<StereoBlock> first, later;
    feedTones (3, &first);
    feedSilence (10, &first);
    feedSilence (2); // STALED
    pumpMessages();
    const int eventsBefore = log.events.size();

    project->nextTrackRequested = true;
    feedSilence (1);
    pumpMessages();
    EXPECT_FALSE (project->nextTrackRequested);
    EXPECT_EQ (trackPaths(), juce::StringArray (track ("Track1.wav").getFullPathName()));
    EXPECT_EQ (log.events.size(), eventsBefore + 1);
    EXPECT_EQ (log.events[eventsBefore], "TRACK");
    EXPECT_EQ (TrackWriter::getInstance ({}, 0, 0)->getTrackNumber(), 2);

    // Sound after the gap begins a track as well, which moves the number on once more; the
    // file opens with the first written block.
    feedTones (2, &later);
    EXPECT_EQ (TrackWriter::getInstance ({}, 0, 0)->getTrackNumber(), 3);
    audio->stop();
    pumpMessages();

    expectFileHolds (track ("Track1.wav"), first);
    EXPECT_FALSE (track ("Track2.wav").exists());
    expectFileHolds (track ("Track3.wav"), later);
    EXPECT_EQ (trackPaths(),
               juce::StringArray (track ("Track1.wav").getFullPathName(), track ("Track3.wav").getFullPathName()));
}

TEST_F (CaptureRun, nextTrackDuringSoundCutsTheTrackAtThatBlock)
{
    ASSERT_TRUE (audio->start (true));
    std::vector<StereoBlock> first, second;
    feedTones (3, &first);
    project->nextTrackRequested = true;
    feedTones (2, &second);
    EXPECT_EQ (trackPaths(), juce::StringArray (track ("Track1.wav").getFullPathName()));
    audio->stop();
    pumpMessages();

    expectFileHolds (track ("Track1.wav"), first);
    expectFileHolds (track ("Track2.wav"), second);
    EXPECT_EQ (log.withoutTimes(), juce::StringArray ({ "STARTED", "TRACK", "TRACK", "END" }));
    EXPECT_EQ (trackPaths(),
               juce::StringArray (track ("Track1.wav").getFullPathName(), track ("Track2.wav").getFullPathName()));
}

TEST_F (CaptureRun, aRunWithoutSoundSaysNoStreamAndTheNextRunStillBeginsAtTrackOne)
{
    ASSERT_TRUE (audio->start (true));
    feedSilence (20);
    EXPECT_EQ (audio->getStatus().phase, CaptureStatus::running);
    feedSilence (1);
    ASSERT_TRUE (waitForEnd());

    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].title, "End Capture");
    EXPECT_EQ (dialogs.alerts()[0].message, "No stream detected");
    EXPECT_EQ (log.events, juce::StringArray ("STARTED", "END"));
    EXPECT_EQ (project->trackCount(), 0);
    EXPECT_EQ (project->firstTrackPending, 1);
    EXPECT_EQ (folder.getNumberOfChildFiles (juce::File::findFiles), 0);

    ASSERT_TRUE (audio->start (true));
    std::vector<StereoBlock> written;
    feedTones (2, &written);
    audio->stop();
    pumpMessages();
    expectFileHolds (track ("Track1.wav"), written);
    EXPECT_EQ (trackPaths(), juce::StringArray (track ("Track1.wav").getFullPathName()));
}

TEST_F (CaptureRun, elevenCallbacksInTheSameMillisecondEndTheCapture)
{
    project->getSettings().setValue ("devicesettings", "<DEVICESETUP deviceType=\"Test\"/>");
    AudioCallback::setClock (&frozenClock);
    ASSERT_TRUE (audio->start (true));

    std::vector<StereoBlock> written;
    feedTones (10, &written);
    pumpMessages();
    EXPECT_FALSE (log.events.contains ("ERROR"));
    EXPECT_EQ (audio->getStatus().phase, CaptureStatus::running);

    feedTones (1);
    EXPECT_EQ (audio->getStatus().phase, CaptureStatus::stopRequested);
    feedTones (1);
    ASSERT_TRUE (waitForEnd());

    // The next start of the program falls back to the default device.
    EXPECT_FALSE (project->getSettings().containsKey ("devicesettings"));
    EXPECT_EQ (log.withoutTimes(), juce::StringArray ({ "STARTED", "TRACK", "ERROR", "END" }));
    expectFileHolds (track ("Track1.wav"), written);
    EXPECT_EQ (trackPaths(), juce::StringArray (track ("Track1.wav").getFullPathName()));
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (CaptureRun, tenCallbacksInTheSameMillisecondDoNotEndTheCapture)
{
    project->getSettings().setValue ("devicesettings", "<DEVICESETUP deviceType=\"Test\"/>");
    AudioCallback::setClock (&frozenClock);
    ASSERT_TRUE (audio->start (true));

    std::vector<StereoBlock> written;
    feedTones (10, &written);
    AudioCallback::setClock (&advancingClock);
    feedTones (5, &written);
    EXPECT_EQ (AudioCallback::getSameMillisecondCount(), 0);
    audio->stop();
    pumpMessages();

    EXPECT_TRUE (project->getSettings().containsKey ("devicesettings"));
    EXPECT_EQ (log.withoutTimes(), juce::StringArray ({ "STARTED", "TRACK", "END" }));
    expectFileHolds (track ("Track1.wav"), written);
}
