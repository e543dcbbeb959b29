// What keeps a capture safe when things go wrong: a driver that fails is closed and opened again,
// input lost on the way is counted and put down to its track, and the track file on the disk is
// a whole WAV file at every moment, as a killed program would leave it.
#include "CaptureRunFixture.h"
#include "WavOnDisk.h"
#include "capture/DropoutLog.h"
#include "capture/TrackFileSync.h"

#include <dirent.h>
#include <unistd.h>

using namespace capture_test;
using namespace wav_on_disk;

//==============================================================================
TEST_F (CaptureRun, afterADriverErrorTheDeviceIsClosedSoThatItsLoopEndsAndTheNextStartOpensItAgain)
{
    ASSERT_TRUE (audio->start (true));
    std::vector<StereoBlock> written;
    feedTones (3, &written);

    // The driver goes wrong: its thread calls back in a tight loop, every block in the same
    // millisecond. The watchdog trips, the run ends and the device is closed.
    AudioCallback::setClock (&frozenClock);
    device->startDriverLoop();
    ASSERT_TRUE (waitForEnd());
    ASSERT_TRUE (pumpUntil ([this] { return project->getCurrentAudioDevice() == nullptr; }));
    EXPECT_TRUE (log.events.contains ("ERROR"));

    // The driver's thread went with the device: no block comes any more.
    const int blocks = FakeAudioDevice::driverLoopBlocks().load();
    EXPECT_GT (blocks, 10);
    runMessageLoopFor (50);
    EXPECT_EQ (FakeAudioDevice::driverLoopBlocks().load(), blocks);

    // What came before the failure is in the first track, listed, with the ten silent blocks
    // that the watchdog let through.
    for (int i = 0; i < 10; ++i)
        written.push_back (silentBlock (blockSize));
    expectFileHolds (track ("Track1.wav"), written);
    EXPECT_EQ (trackPaths(), juce::StringArray (track ("Track1.wav").getFullPathName()));

    // The next start opens the device again, and captures.
    AudioCallback::setClock (&advancingClock);
    ASSERT_TRUE (audio->start (true));
    device = dynamic_cast<FakeAudioDevice*> (project->getCurrentAudioDevice());
    ASSERT_NE (device, nullptr);
    std::vector<StereoBlock> second;
    feedTones (2, &second);
    audio->stop();
    expectFileHolds (track ("Track2.wav"), second);
    EXPECT_EQ (project->trackCount(), 2);
}

TEST_F (CaptureRun, aStopWithoutADriverErrorLeavesTheDeviceOpen)
{
    ASSERT_TRUE (audio->start (true));
    feedTones (2);
    audio->stop();
    pumpMessages();
    EXPECT_EQ (project->getCurrentAudioDevice(), device);
    EXPECT_TRUE (device->isPlaying());
}

//==============================================================================
TEST_F (CaptureRun, xrunsInATrackCountForTheRunAndStayWithTheTrackFileForTheSession)
{
    // Xruns the device had before the run are not the run's.
    device->addXRuns (5);
    ASSERT_TRUE (audio->start (true));
    auto* callback = audio->getCallback();

    // Before the first sound: the run counts them, no track does.
    feedSilence (2);
    device->addXRuns (1);
    feedSilence (1);
    EXPECT_EQ (callback->getRunDropouts(), 1);
    EXPECT_EQ (DropoutLog::all().size(), 0);

    feedTones (3);
    device->addXRuns (2);
    feedTones (1);
    EXPECT_EQ (callback->getRunDropouts(), 3);
    EXPECT_EQ (callback->getLastDropoutSample(), 7 * blockSize);
    EXPECT_EQ (callback->getRunSamples(), 7 * blockSize);
    EXPECT_EQ (DropoutLog::countFor (track ("Track1.wav").getFullPathName()), 2);

    // Past the gap the next track has its own count.
    feedSilence (11);
    feedTones (2);
    device->addXRuns (1);
    feedTones (1);
    audio->stop();
    pumpMessages();

    ASSERT_EQ (project->trackCount(), 2);
    EXPECT_EQ (DropoutLog::countFor (track ("Track1.wav").getFullPathName()), 2);
    EXPECT_EQ (DropoutLog::countFor (track ("Track2.wav").getFullPathName()), 1);

    // A new run counts from none; the tracks keep theirs.
    ASSERT_TRUE (audio->start (false));
    EXPECT_EQ (callback->getRunDropouts(), 0);
    feedTones (1);
    audio->stop();
    EXPECT_EQ (DropoutLog::countFor (track ("Track1.wav").getFullPathName()), 2);
}

TEST_F (CaptureRun, aFileMadeAnewUnderTheSameNameStartsWithoutDropouts)
{
    const auto path = track ("Track1.wav").getFullPathName();
    DropoutLog::add (path, 3);
    ASSERT_TRUE (audio->start (true));
    feedTones (1);
    audio->stop();
    EXPECT_EQ (DropoutLog::countFor (path), 0);
}

TEST_F (CaptureRun, aGapInTheTimesOfTheBlocksCountsAsADropout)
{
    ASSERT_TRUE (audio->start (false));
    auto* callback = audio->getCallback();
    const uint64_t blockNs = (uint64_t) (1.0e9 * blockSize / rate);
    uint64_t now = 1000000000ull;

    const auto feedAt = [&] (uint64_t time)
    {
        auto block = toneBlock (blockSize, blockCounter++);
        device->deliver ({ block.left.data(), block.right.data() }, { outputs[0].data(), outputs[1].data() }, blockSize,
                         &time);
    };

    // Blocks on time, and late by less than a block and a half: nothing lost.
    for (int i = 0; i < 5; ++i)
        feedAt (now += blockNs);
    feedAt (now += blockNs * 24 / 10);
    feedAt (now += blockNs / 2);
    EXPECT_EQ (callback->getRunDropouts(), 0);

    // Three blocks' time since the last one: the stream skipped.
    feedAt (now += 3 * blockNs);
    EXPECT_EQ (callback->getRunDropouts(), 1);
    feedAt (now += blockNs);
    EXPECT_EQ (callback->getRunDropouts(), 1);
    audio->stop();
}

//==============================================================================

class TrackFileOnDisk : public ::testing::Test
{
protected:
    void SetUp() override { folder = freshFolder ("tracks"); }
    void TearDown() override { TrackWriter::deleteInstance(); }

    juce::File folder;
};

TEST_F (TrackFileOnDisk, aNewFileIsAWholeEmptyWavFileOnTheDiskAtOnce)
{
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 1, 44100);
    const std::vector<float> left (10, 0.25f), right (10, -0.25f);
    const float* channels[2] = { left.data(), right.data() };
    ASSERT_TRUE (writer->write (channels, 10));

    // The ten frames wait in the buffer; the header of an empty file is on the disk.
    const auto file = folder.getChildFile ("Track1.wav");
    EXPECT_EQ (framesOnDisk (file), 0);
    EXPECT_EQ (file.getSize(), 104);
    EXPECT_EQ (soxiSamples (file), 0);
    EXPECT_EQ (writer->getFramesWaiting(), 10);
}

TEST_F (TrackFileOnDisk, afterEveryBlockTheDiskHoldsAWholeWavFileAtMostTheBufferBehind)
{
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 1, 44100);
    const auto file = folder.getChildFile ("Track1.wav");
    std::vector<int> expected;
    juce::Random random (3);
    juce::int64 lastOnDisk = 0;
    int commits = 0;

    // Blocks of odd sizes, as some drivers deliver them.
    for (int block = 0; block < 60; ++block)
    {
        const int frames = 100 + random.nextInt (1500);
        std::vector<float> left ((size_t) frames), right ((size_t) frames);
        for (int i = 0; i < frames; ++i)
        {
            left[(size_t) i] = (float) std::sin (0.01 * (double) (expected.size() / 2 + (size_t) i));
            right[(size_t) i] = -left[(size_t) i] * 0.5f;
        }
        const float* channels[2] = { left.data(), right.data() };
        ASSERT_TRUE (writer->write (channels, frames));
        const auto left16 = to16Bits (left), right16 = to16Bits (right);
        for (int i = 0; i < frames; ++i)
        {
            expected.push_back (left16[(size_t) i]);
            expected.push_back (right16[(size_t) i]);
        }

        // Whole at every moment, and behind by what the buffer holds, never more.
        const auto onDisk = framesOnDisk (file);
        const auto total = (juce::int64) expected.size() / 2;
        ASSERT_GE (onDisk, 0);
        EXPECT_EQ (onDisk + writer->getFramesWaiting(), total);
        EXPECT_LT (writer->getFramesWaiting() * 4, TrackWriter::streamBufferSize);
        if (onDisk != lastOnDisk)
            ++commits;
        lastOnDisk = onDisk;

        // What is on the disk is the beginning of what was written, sample for sample.
        const auto contents = readWav (file);
        ASSERT_EQ ((juce::int64) contents.left.size(), onDisk);
        for (size_t i = 0; i < contents.left.size(); ++i)
        {
            ASSERT_EQ (contents.left[i], expected[2 * i]) << "frame " << i;
            ASSERT_EQ (contents.right[i], expected[2 * i + 1]) << "frame " << i;
        }
    }

    // About 48000 frames in buffers of 8192 frames at most: the header followed a few times.
    EXPECT_GE (commits, 5);
    writer->close();
    EXPECT_EQ (framesOnDisk (file), (juce::int64) expected.size() / 2);
}

TEST_F (TrackFileOnDisk, aBlockLargerThanTheBufferGoesToTheDiskWithItsHeader)
{
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 1, 44100);
    const std::vector<float> left (10000, 0.5f), right (10000, 0.25f); // 40000 bytes
    const float* channels[2] = { left.data(), right.data() };
    ASSERT_TRUE (writer->write (channels, 10000));
    EXPECT_EQ (framesOnDisk (folder.getChildFile ("Track1.wav")), 10000);
    EXPECT_EQ (writer->getFramesWaiting(), 0);
}

TEST_F (TrackFileOnDisk, atALowRateAudioWaitsForTheDiskHalfASecondAtMost)
{
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 1, 8000);
    const std::vector<float> left (800, 0.5f), right (800, 0.25f); // a tenth of a second
    const float* channels[2] = { left.data(), right.data() };
    const auto file = folder.getChildFile ("Track1.wav");

    for (int block = 1; block <= 12; ++block)
    {
        ASSERT_TRUE (writer->write (channels, 800));
        EXPECT_LT (writer->getFramesWaiting(), 4000) << "block " << block;
        EXPECT_EQ (framesOnDisk (file) + writer->getFramesWaiting(), block * 800);
    }

    // Half a second each time: after five blocks and after ten.
    EXPECT_EQ (framesOnDisk (file), 8000);
}

TEST_F (TrackFileOnDisk, theFileAKilledCaptureLeavesIsReadBySoxSampleForSample)
{
    // The disk's copy of the file in the middle of a capture, which is what a SIGKILL leaves,
    // since the system keeps what the process handed it.
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 1, 44100);
    const auto file = folder.getChildFile ("Track1.wav");
    std::vector<float> left (512), right (512);
    for (int block = 0; block < 100; ++block)
    {
        for (int i = 0; i < 512; ++i)
        {
            left[(size_t) i] = (float) std::sin (0.003 * (block * 512 + i));
            right[(size_t) i] = (float) std::cos (0.002 * (block * 512 + i));
        }
        const float* channels[2] = { left.data(), right.data() };
        writer->write (channels, 512);
    }

    const auto copy = folder.getChildFile ("left-by-a-kill.wav");
    ASSERT_TRUE (file.copyFileTo (copy));
    const auto onDisk = framesOnDisk (copy);
    EXPECT_GE (onDisk, 100 * 512 - 8192);
    EXPECT_EQ (soxiSamples (copy), onDisk);

    const auto contents = readWav (copy);
    ASSERT_EQ ((juce::int64) contents.left.size(), onDisk);
    for (juce::int64 frame = 0; frame < onDisk; ++frame)
    {
        ASSERT_EQ (contents.left[(size_t) frame], to16Bits ((float) std::sin (0.003 * (double) frame)));
        ASSERT_EQ (contents.right[(size_t) frame], to16Bits ((float) std::cos (0.002 * (double) frame)));
    }
}

//==============================================================================
namespace
{
/** Descriptors of this process open on `file`. */
int descriptorsOn (const juce::File& file)
{
    int count = 0;
    if (auto* folder = opendir ("/proc/self/fd"))
    {
        while (auto* entry = readdir (folder))
        {
            char target[4096] = {};
            const auto link = std::string ("/proc/self/fd/") + entry->d_name;
            const auto length = readlink (link.c_str(), target, sizeof (target) - 1);
            if (length > 0 && juce::String::fromUTF8 (target, (int) length) == file.getFullPathName())
                ++count;
        }
        closedir (folder);
    }
    return count;
}
} // namespace

TEST_F (TrackFileOnDisk, theSyncHoldsTheFileBeingWrittenAndLetsGoOfTheOneBefore)
{
    const auto first = folder.getChildFile ("Track1.wav"), second = folder.getChildFile ("Track2.wav");
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 1, 44100);
    const std::vector<float> samples (100, 0.1f);
    const float* channels[2] = { samples.data(), samples.data() };
    writer->write (channels, 100);

    TrackFileSync sync;
    const auto firstOpen = TrackWriter::fileBeingWritten();
    EXPECT_EQ (firstOpen.path, first.getFullPathName());
    const int writersDescriptors = descriptorsOn (first);
    EXPECT_TRUE (sync.sync (firstOpen));
    EXPECT_EQ (sync.getHeldPath(), first.getFullPathName());
    EXPECT_EQ (descriptorsOn (first), writersDescriptors + 1);

    // The writer moves on: the sync follows and lets the first file go.
    writer->advance (1);
    writer->write (channels, 100);
    const auto secondOpen = TrackWriter::fileBeingWritten();
    EXPECT_EQ (secondOpen.path, second.getFullPathName());
    EXPECT_NE (secondOpen.generation, firstOpen.generation);
    EXPECT_TRUE (sync.sync (secondOpen));
    EXPECT_EQ (sync.getHeldPath(), second.getFullPathName());
    EXPECT_EQ (descriptorsOn (first), 0);

    // The same name made anew is a new file to hold.
    writer->close();
    writer->write (channels, 100);
    const auto again = TrackWriter::fileBeingWritten();
    EXPECT_EQ (again.path, second.getFullPathName());
    EXPECT_NE (again.generation, secondOpen.generation);
    EXPECT_TRUE (sync.sync (again));

    sync.release();
    writer->close();
    EXPECT_EQ (descriptorsOn (second), 0);
    EXPECT_TRUE (TrackFileSync::syncOnce (second.getFullPathName()));
    EXPECT_FALSE (TrackFileSync::syncOnce (folder.getChildFile ("none.wav").getFullPathName()));
}
