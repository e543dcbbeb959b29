// The real program capturing a record through JACK, ended the hard ways: killed outright in the
// middle of a track (its tracks and its whole side left as whole WAV files), and told to quit (as
// Ctrl+C or the system does) around the "End Capture" box. It runs on a display of the test's own,
// driven through its window with xdotool; a JACK server of the test's own takes the record from the
// tests' player.
#include "CaptureTestSupport.h"
#include "JackServer.h"
#include "WavOnDisk.h"
#include "player/Record.h"
#include "project/SideRecord.h"
#include "support/RealProgram.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

using namespace wav_on_disk;

namespace
{
constexpr int second = serverRate;

/** The silence length of the captures, in seconds. The capture waits in real time for the
    player to start, which a busy machine may delay by seconds: silence this long, and only this
    long, ends a capture. */
constexpr int quietWait = 8;

/** Where the program's controls are, in its window of 435 by 380 (no decoration on a display
    without a window manager): the wizard's Next, and the capture page's Capture. */
const juce::Point<int> nextButton{ 379, 362 };
const juce::Point<int> captureButton{ 180, 205 };

/** The settings of a user who chose the JACK device, a folder, a preamp, and these capture
    parameters. */
void writeSettings (const juce::File& folder, int silenceLength)
{
    chooseJackDevice();
    juce::PropertiesFile::Options options;
    options.ignoreCaseOfKeyNames = true;
    options.storageFormat = juce::PropertiesFile::storeAsXML;
    juce::PropertiesFile settings (Project::settingsFileLocation(), options);
    settings.setValue ("rootdir", folder.getFullPathName());
    settings.setValue ("preamp", "1");
    settings.setValue ("threshold", "5");
    settings.setValue ("minsilence", "1");
    settings.setValue ("silencelength", juce::String (silenceLength));
    settings.saveIfNeeded();
}

/** The record as the capture writes it: through the rumble filter, which the capture page
    switches on, from the record's first frame on, with silence before it. */
std::vector<float> filteredChannel (const test_record::Record& record, bool left)
{
    std::vector<float> channels[2] = { std::vector<float> ((size_t) record.getLength()),
                                       std::vector<float> ((size_t) record.getLength()) };
    record.render (0, (int) record.getLength(), channels[0].data(), channels[1].data());

    juce::IIRFilter rumble;
    rumble.setCoefficients (juce::IIRCoefficients::makeHighPass (serverRate, 50.0));
    auto& channel = channels[left ? 0 : 1];
    for (size_t start = 0; start < channel.size(); start += serverBlock)
        rumble.processSamples (channel.data() + start, (int) juce::jmin ((size_t) serverBlock, channel.size() - start));
    return std::move (channel);
}

/** The frame of the record at which a track file begins: the whole block whose samples the
    file's first ones are, or -1. */
juce::int64 firstFrameOf (const WavContents& contents, const std::vector<float>& left, juce::int64 from, juce::int64 to)
{
    // Enough samples to pass any silence a file may begin with.
    constexpr size_t compared = 2048;
    for (juce::int64 frame = from / serverBlock * serverBlock; frame <= to; frame += serverBlock)
    {
        bool same = contents.left.size() >= compared;
        for (size_t i = 0; same && i < compared; ++i)
            same = contents.left[i] == to16Bits (left[(size_t) frame + i]);
        if (same)
            return frame;
    }
    return -1;
}

/** Frames of a track file that differ from the filtered record from `first` on. */
juce::int64 differences (const WavContents& contents, const std::vector<float>& left, const std::vector<float>& right,
                         juce::int64 first)
{
    juce::int64 count = 0;
    for (size_t i = 0; i < contents.left.size(); ++i)
    {
        const auto frame = (size_t) first + i;
        if (frame >= left.size() || contents.left[i] != to16Bits (left[frame]) ||
            contents.right[i] != to16Bits (right[frame]))
            ++count;
    }
    return count;
}

/** The frames the player had played, as its position file says; -1 before it says anything. */
juce::int64 playedFrames (const juce::File& positionFile)
{
    const auto text = positionFile.loadFileAsString().trim();
    return text.isNotEmpty() ? text.getLargeIntValue() : -1;
}

class CaptureProcess : public ::testing::Test
{
public:
    void SetUp() override
    {
        ASSERT_TRUE (program.existsAsFile());
        ASSERT_TRUE (turn.isHeld());
        ASSERT_TRUE (waitFor (noInstanceRunning, 120000)) << "Groove Smith is already running on this machine";
        folder = freshFolder ("rips");
        positionFile = folder.getChildFile ("position.txt");
        ASSERT_TRUE (display.isReady());
    }

    /** A JACK server, the settings, the program on its capture page, and a capture started. */
    void startCapture (int silenceLength)
    {
        {
            const StartLock startLock;
            const auto serverName = "groovesmith-process-" + juce::String ((int) getpid());
            setenv ("JACK_DEFAULT_SERVER", serverName.toRawUTF8(), 1);
            server = std::make_unique<JackServer> (serverName, folder.getChildFile ("jackd.log"), true);
            ASSERT_TRUE (server->isRunning());
            juce::String probe;
            ASSERT_EQ (runRecordPlayer ({ "--probe" }, probe), 0)
                << probe << folder.getChildFile ("jackd.log").loadFileAsString();
            writeSettings (folder, silenceLength);

            running = std::make_unique<RealProgram> (program, folder.getChildFile ("program.log"));
            ASSERT_TRUE (running->started());
            // The first window shown is made again as the program opens: clicks go to the one that stays.
            window = settledWindowNamed ("Groovesmith -- Page 1 / 7", 30000);
            ASSERT_TRUE (window.isNotEmpty()) << folder.getChildFile ("program.log").loadFileAsString();
        }

        // Through the wizard to the capture page, a page at a time.
        for (int page = 2; page <= 4; ++page)
        {
            ASSERT_TRUE (clickInWindow (window, nextButton.x, nextButton.y));
            const auto title = "Groovesmith -- Page " + juce::String (page) + " / 7";
            ASSERT_TRUE (waitFor ([this, &title] { return windowNamed (title) == window; }, 10000)) << title;
        }

        ASSERT_TRUE (clickInWindow (window, captureButton.x, captureButton.y));

        // The click has to reach the engine before the record begins.
        juce::Thread::sleep (1500);
        ASSERT_TRUE (running->isRunning());
    }

    /** Starts the record player on `description`, its position written to a file. It plays in
        real time, the server synchronous so that a busy machine delays blocks but never loses
        them: a server that freewheels waits for every client without a timeout, so a program
        killed or quitting in the middle of a cycle would hold it for good. */
    void play (const std::string& description)
    {
        ASSERT_TRUE (player.start (juce::StringArray{ GROOVESMITH_RECORD_PLAYER, "--record", description.c_str(),
                                                      "--position-file", positionFile.getFullPathName() }));
    }

    /** Checks one track file after the program ended: a WAV file whose header covers what is on
        the disk, as soxi reads it too, holding the filtered record from a whole block on. Its
        first frame, or -1. */
    juce::int64 checkTrack (int number, const std::vector<float>& left, const std::vector<float>& right,
                            juce::int64 searchFrom, juce::int64 searchTo, juce::int64 atLeastUpTo)
    {
        const auto file = folder.getChildFile ("Track" + juce::String (number) + ".wav");
        SCOPED_TRACE (file.getFileName().toStdString());
        EXPECT_TRUE (file.existsAsFile());
        const auto onDisk = framesOnDisk (file);
        EXPECT_EQ (soxiSamples (file), onDisk);

        const auto contents = readWav (file);
        EXPECT_TRUE (contents.valid);
        EXPECT_EQ ((juce::int64) contents.left.size(), onDisk);
        const auto first = firstFrameOf (contents, left, searchFrom, searchTo);
        EXPECT_GE (first, 0) << "the file does not begin at a block of the record";
        if (first < 0)
            return -1;

        EXPECT_EQ (differences (contents, left, right, first), 0);
        EXPECT_GE (first + onDisk, atLeastUpTo) << "audio heard before the end is missing";
        return first;
    }

    void TearDown() override
    {
        // The player is let play its record to the end: a client killed in the middle of a
        // cycle holds the server for its timeout, longer than a server told to stop is given, and
        // a server that has to be killed leaves its name registered for good (JACK keeps eight).
        running.reset();
        if (! player.waitForProcessToFinish (30000))
            player.kill();
        player.waitForProcessToFinish (10000);
        server.reset();
    }

    const ProgramTurn turn; // first made, last gone: the program ends within the turn
    const juce::File program{ GROOVESMITH_EXECUTABLE };
    juce::File folder;
    OwnDisplay display;
    std::unique_ptr<JackServer> server;
    std::unique_ptr<RealProgram> running;
    juce::String window; // the program's window, once it stays
    juce::ChildProcess player;
    juce::File positionFile;
};
} // namespace

TEST_F (CaptureProcess, aProgramKilledInTheMiddleOfATrackLeavesWholeWavFilesWithAllButTheLastSecond)
{
    ASSERT_NO_FATAL_FAILURE (startCapture (quietWait));

    // A song, a gap, and a long one in which the program is killed.
    const std::string description =
        "silence:" + std::to_string (second / 2) + ",tone:440:660:0.5:" + std::to_string (3 * second) +
        ",silence:" + std::to_string (2 * second) + ",noise:0.3:5:" + std::to_string (15 * second);
    ASSERT_NO_FATAL_FAILURE (play (description));

    // Some way into the second song, the test notes what has been played; a second later the
    // program is killed. Everything played up to that note must be on the disk.
    const auto noted = juce::int64 (8) * second;
    ASSERT_TRUE (waitFor ([this, noted] { return playedFrames (positionFile) >= noted; }, 60000))
        << "the player played " << playedFrames (positionFile) << " frames; "
        << folder.getChildFile ("jackd.log").loadFileAsString();
    const auto playedBeforeTheLastSecond = playedFrames (positionFile);
    juce::Thread::sleep (1000);
    ASSERT_TRUE (running->isRunning());
    const auto playedAtTheKill = playedFrames (positionFile);
    running->signal (SIGKILL);
    ASSERT_TRUE (running->waitForExit (10000));
    EXPECT_EQ (running->endingSignal(), SIGKILL);
    ASSERT_LT (playedAtTheKill, 20 * second) << "the record ended before the kill";

    const test_record::Record record (description, serverRate);
    const auto left = filteredChannel (record, true), right = filteredChannel (record, false);

    // The first track was finished when the second began; the second was cut by the kill.
    const auto first = checkTrack (1, left, right, 0, second, 0);
    EXPECT_GE (first, second / 2 - serverBlock);
    const auto secondStart = juce::int64 (11) * second / 2;
    checkTrack (2, left, right, secondStart - serverBlock, secondStart, playedBeforeTheLastSecond);
    EXPECT_FALSE (folder.getChildFile ("Track3.wav").exists());

    // The whole side is a WAV file too, as soxi reads it: the silence from Capture to the
    // record, then the record, everything up to a second before the kill.
    const auto side = folder.getChildFile ("Side1.wav");
    const auto onDisk = framesOnDisk (side);
    EXPECT_EQ (soxiSamples (side), onDisk);
    const auto sideContents = readWav (side);
    ASSERT_EQ ((juce::int64) sideContents.left.size(), onDisk);

    // Where the record begins in the side: the block from which the song's first samples match.
    const auto songStart = (size_t) second / 2;
    juce::int64 recordStart = -1;
    for (juce::int64 offset = 0; recordStart < 0 && offset + (juce::int64) songStart + 2048 <= onDisk;
         offset += serverBlock)
    {
        bool same = true;
        for (size_t i = 0; same && i < 2048; ++i)
            same = sideContents.left[(size_t) offset + songStart + i] == to16Bits (left[songStart + i]);
        if (same)
            recordStart = offset;
    }
    ASSERT_GE (recordStart, 0) << "the record is not in the side";
    EXPECT_GE (onDisk, recordStart + playedBeforeTheLastSecond) << "audio heard before the end is missing";

    juce::int64 wrong = 0;
    for (juce::int64 frame = 0; frame < onDisk; ++frame)
    {
        const auto inRecord = frame - recordStart;
        const bool heard = inRecord >= 0 && inRecord < (juce::int64) left.size();
        const int expectedLeft = heard ? to16Bits (left[(size_t) inRecord]) : 0;
        const int expectedRight = heard ? to16Bits (right[(size_t) inRecord]) : 0;
        if (sideContents.left[(size_t) frame] != expectedLeft || sideContents.right[(size_t) frame] != expectedRight)
            ++wrong;
    }
    EXPECT_EQ (wrong, 0) << "frames of the side that are not what was heard";

    // Its record, as the kill left it, has the first track's place: exactly that track's samples.
    const auto sideRecord = SideRecord::load (folder.getChildFile ("Side1.tracks"));
    ASSERT_TRUE (sideRecord.has_value());
    EXPECT_FALSE (sideRecord->hasEnded());
    EXPECT_TRUE (sideRecord->isWhole());
    const auto* place = sideRecord->placeOf (folder.getChildFile ("Track1.wav").getFullPathName());
    ASSERT_NE (place, nullptr);
    EXPECT_EQ (place->first, recordStart + first);
    const auto trackOne = readWav (folder.getChildFile ("Track1.wav"));
    ASSERT_EQ ((juce::int64) trackOne.left.size(), place->length);
    EXPECT_TRUE (std::equal (trackOne.left.begin(), trackOne.left.end(), sideContents.left.begin() + place->first));
    EXPECT_TRUE (std::equal (trackOne.right.begin(), trackOne.right.end(), sideContents.right.begin() + place->first));
}

namespace
{
/** When the quit of the tests below reaches the program. */
enum class QuitMoment
{
    whileTheBoxShows,
    justBeforeTheBox
};

/** A song and the silence that ends the capture, played into the real program, which is told
    to quit (as Ctrl+C or the system does) at `moment`: it ends by itself, its one track closed. */
void quitAroundTheEndCaptureBox (CaptureProcess& test, QuitMoment moment)
{
    ASSERT_NO_FATAL_FAILURE (test.startCapture (quietWait));
    const std::string description = "silence:" + std::to_string (second / 2) +
                                    ",tone:440:660:0.5:" + std::to_string (2 * second) +
                                    ",silence:" + std::to_string ((quietWait + 2) * second);
    ASSERT_NO_FATAL_FAILURE (test.play (description));

    if (moment == QuitMoment::whileTheBoxShows)
    {
        // The capture hears the silence out and asks; the quit comes while the box is on the
        // screen.
        ASSERT_TRUE (waitFor ([] { return findWindows ("^End Capture$").size() == 1; }, 60000))
            << test.folder.getChildFile ("program.log").loadFileAsString();
    }
    else
    {
        // The end of stream comes the silence length into the silence after the song, 2.5
        // seconds into the record: the quit goes a moment before, and reaches the program about
        // when the box is asked.
        const auto justBefore = juce::int64 (25 + 10 * quietWait - 1) * second / 10;
        ASSERT_TRUE (waitFor ([&test, justBefore] { return playedFrames (test.positionFile) >= justBefore; }, 60000));
    }

    test.running->signal (SIGINT);
    ASSERT_TRUE (test.running->waitForExit (20000)) << "the program did not end";
    EXPECT_EQ (test.running->exitCode(), 0);

    const test_record::Record record (description, serverRate);
    const auto left = filteredChannel (record, true), right = filteredChannel (record, false);
    test.checkTrack (1, left, right, 0, second, 5 * second / 2);
    EXPECT_FALSE (test.folder.getChildFile ("Track2.wav").exists());
}
} // namespace

TEST_F (CaptureProcess, aQuitWhileTheEndCaptureBoxShowsEndsTheProgramWithItsLastFileClosed)
{
    quitAroundTheEndCaptureBox (*this, QuitMoment::whileTheBoxShows);
}

TEST_F (CaptureProcess, aQuitJustBeforeTheEndCaptureBoxEndsTheProgramWithItsLastFileClosed)
{
    quitAroundTheEndCaptureBox (*this, QuitMoment::justBeforeTheBox);
}
