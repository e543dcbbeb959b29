// Captures through a real JACK server on the dummy backend: a JACK client of the tests plays a
// generated record into the program's inputs, and the engine, on the device that Project
// opened, cuts it into track files.
#include "CaptureTestSupport.h"
#include "JackServer.h"
#include "capture/RiaaFilter.h"
#include "player/Record.h"
#include "project/SideRecord.h"
#include "support/FakeDialogs.h"

#include <gtest/gtest.h>

namespace
{
/** Frames of the track file that differ from the side's frames from `first` on, read a chunk at
    a time; -1 when either file cannot be read or the track runs past the side's end. */
std::int64_t differencesFromSide (const juce::File& side, std::int64_t first, const juce::File& track)
{
    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatReader> sideReader (
        wav.createReaderFor (side.createInputStream().release(), true));
    std::unique_ptr<juce::AudioFormatReader> trackReader (
        wav.createReaderFor (track.createInputStream().release(), true));
    if (sideReader == nullptr || trackReader == nullptr || first < 0 ||
        first + trackReader->lengthInSamples > sideReader->lengthInSamples)
        return -1;

    constexpr int chunk = 65536;
    std::vector<int> sideLeft (chunk), sideRight (chunk), trackLeft (chunk), trackRight (chunk);
    int* sideChannels[2] = { sideLeft.data(), sideRight.data() };
    int* trackChannels[2] = { trackLeft.data(), trackRight.data() };
    std::int64_t count = 0;

    for (std::int64_t position = 0; position < trackReader->lengthInSamples; position += chunk)
    {
        const int frames = (int) std::min<std::int64_t> (chunk, trackReader->lengthInSamples - position);
        trackReader->read (trackChannels, 2, position, frames, false);
        sideReader->read (sideChannels, 2, first + position, frames, false);
        for (size_t i = 0; i < (size_t) frames; ++i)
            if (sideLeft[i] != trackLeft[i] || sideRight[i] != trackRight[i])
                ++count;
    }

    return count;
}

/** A span of the record, in frames, that one track file holds. */
struct ExpectedTrack
{
    std::int64_t first = 0, end = 0;
};

struct Expectation
{
    std::vector<ExpectedTrack> tracks;
    juce::StringArray events;
    std::int64_t lastBlock = 0;
};

/** What the capture makes of the record when its first frame begins a device block and only
    silence came before it: the silence rule applied to the record's own blocks. */
Expectation expectedCapture (const test_record::Record& record, int threshold, int minSilenceBlocks,
                             int stopSilenceBlocks)
{
    Expectation expected;
    expected.events.add ("STARTED");

    std::vector<float> left (serverBlock), right (serverBlock);
    int silentBlocks = 0, trackBlocks = 0, samplesWritten = 0;
    bool inTrack = false, firstWriteOfTrack = false;

    for (std::int64_t block = 0;; ++block)
    {
        record.render (block * serverBlock, serverBlock, left.data(), right.data());
        const float level = levelIndexOf (left.data(), right.data(), serverBlock);

        if (static_cast<float> (threshold) > level)
        {
            ++silentBlocks;
        }
        else
        {
            silentBlocks = 0;
            inTrack = true;
            if (trackBlocks == 0)
            {
                expected.events.add ("TRACK");
                expected.tracks.push_back ({ block * serverBlock, block * serverBlock });
                firstWriteOfTrack = true;
            }
            ++trackBlocks;
        }

        if (! expected.tracks.empty() && silentBlocks <= minSilenceBlocks)
        {
            expected.events.add ("TRACK TIME " + juce::String (samplesWritten));
            samplesWritten = firstWriteOfTrack ? serverBlock : samplesWritten + serverBlock;
            firstWriteOfTrack = false;
            expected.tracks.back().end = (block + 1) * serverBlock;
        }
        else if (inTrack)
        {
            expected.events.add ("STALED");
            trackBlocks = 0;
            inTrack = false;
        }

        if (silentBlocks > stopSilenceBlocks)
        {
            expected.lastBlock = block;
            break;
        }
    }

    expected.events.add ("END");
    return expected;
}

/** Frames of the files that differ from the record as the capture should have written it,
    block by block through the whole record, with the RIAA emulation when `riaa`. */
std::int64_t countDifferences (const test_record::Record& record, const Expectation& expected, const juce::File& folder,
                               bool riaa, std::string& firstDifference)
{
    RiaaFilter riaaLeft, riaaRight;
    for (auto* filter : { &riaaLeft, &riaaRight })
    {
        filter->setSampleRate ((float) serverRate);
        filter->setMode (1);
        filter->loadCoefficients();
        filter->reset();
    }

    std::int64_t differences = 0;
    std::vector<float> left (serverBlock), right (serverBlock);
    std::vector<int> fileLeft (serverBlock), fileRight (serverBlock);
    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatReader> reader;
    size_t track = 0;

    for (std::int64_t block = 0; block <= expected.lastBlock && track < expected.tracks.size(); ++block)
    {
        const auto frame = block * serverBlock;
        record.render (frame, serverBlock, left.data(), right.data());
        if (riaa)
        {
            riaaLeft.processInPlace (left.data(), serverBlock);
            riaaRight.processInPlace (right.data(), serverBlock);
        }

        if (frame >= expected.tracks[track].end)
        {
            reader.reset();
            if (++track == expected.tracks.size())
                break;
        }
        if (frame < expected.tracks[track].first)
            continue;

        if (reader == nullptr)
        {
            const auto file = folder.getChildFile ("Track" + juce::String ((int) track + 1) + ".wav");
            if (file.existsAsFile())
                reader.reset (wav.createReaderFor (file.createInputStream().release(), true));
            const auto expectedLength = expected.tracks[track].end - expected.tracks[track].first;
            if (reader == nullptr || reader->lengthInSamples != expectedLength)
            {
                if (firstDifference.empty())
                    firstDifference = file.getFileName().toStdString() + " has " +
                                      (reader == nullptr ? std::string ("no audio")
                                                         : std::to_string (reader->lengthInSamples) + " frames") +
                                      " instead of " + std::to_string (expectedLength);
                return expectedLength;
            }
        }

        int* channels[2] = { fileLeft.data(), fileRight.data() };
        reader->read (channels, 2, frame - expected.tracks[track].first, serverBlock, false);
        for (int i = 0; i < serverBlock; ++i)
        {
            if (fileLeft[(size_t) i] / 65536 != to16Bits (left[(size_t) i]) ||
                fileRight[(size_t) i] / 65536 != to16Bits (right[(size_t) i]))
            {
                if (firstDifference.empty())
                    firstDifference =
                        "track " + std::to_string (track + 1) + ", record frame " + std::to_string (frame + i);
                ++differences;
            }
        }
    }

    return differences;
}

/** The amplitude of one frequency in a span of samples. */
double amplitudeAt (const std::vector<double>& signal, double frequency)
{
    double ss = 0, cc = 0, sc = 0, ys = 0, yc = 0;
    for (size_t i = 0; i < signal.size(); ++i)
    {
        const double phase = 2.0 * juce::MathConstants<double>::pi * frequency * (double) i / serverRate;
        const double s = std::sin (phase), c = std::cos (phase);
        ss += s * s;
        cc += c * c;
        sc += s * c;
        ys += signal[i] * s;
        yc += signal[i] * c;
    }
    const double determinant = ss * cc - sc * sc;
    const double a = (ys * cc - yc * sc) / determinant, b = (yc * ss - ys * sc) / determinant;
    return std::sqrt (a * a + b * b);
}

/** Where two event lists part, for the failure message. */
std::string firstEventDifference (const juce::StringArray& actual, const juce::StringArray& expected)
{
    for (int i = 0; i < juce::jmax (actual.size(), expected.size()); ++i)
        if (actual[i] != expected[i])
            return "event " + std::to_string (i) + ": \"" + actual[i].toStdString() + "\" instead of \"" +
                   expected[i].toStdString() + "\", after \"" + actual[i - 1].toStdString() + "\"";
    return {};
}

class JackCapture : public ::testing::Test
{
protected:
    void SetUp() override
    {
        folder = juce::File::createTempFile ("jack-capture");
        ASSERT_TRUE (folder.createDirectory());

        // Servers of parallel tests start one after the other: they share JACK's registry.
        const StartLock startLock;

        // A server of this test's own, so that parallel tests never meet.
        serverName = "groovesmith-test-" + juce::String ((int) getpid());
        setenv ("JACK_DEFAULT_SERVER", serverName.toRawUTF8(), 1);
        server = std::make_unique<JackServer> (serverName, folder.getChildFile ("jackd.log"));
        ASSERT_TRUE (server->isRunning());
        ASSERT_EQ (runPlayer ({ "--probe" }), 0) << folder.getChildFile ("jackd.log").loadFileAsString();

        chooseJackDevice();

        project = std::make_unique<Project>();
        auto* device = project->getCurrentAudioDevice();
        ASSERT_NE (device, nullptr) << folder.getChildFile ("jackd.log").loadFileAsString();
        ASSERT_EQ (device->getTypeName(), "JACK");
        ASSERT_EQ (device->getCurrentSampleRate(), (double) serverRate);
        ASSERT_EQ (device->getCurrentBufferSizeSamples(), serverBlock);

        project->captureFolder = folder.getFullPathName();
        project->setThreshold (threshold);
        project->setMinSilence (1);
        project->setSilenceLength (4);
        project->rumbleOn = false;
        audio = Audio::getInstance (project.get(), &log);
    }

    void TearDown() override
    {
        Audio::deleteInstance();
        TrackWriter::deleteInstance();
        project.reset();
        server.reset();
        folder.deleteRecursively();
    }

    int runPlayer (const juce::StringArray& arguments) { return runRecordPlayer (arguments, playerOutput); }

    /** Starts a capture, plays the record fast through the server, and waits for the end. */
    void captureRecord (const std::string& description, int timeoutSeconds = 120)
    {
        ASSERT_TRUE (audio->start (true));

        juce::ChildProcess player;
        juce::StringArray command (GROOVESMITH_RECORD_PLAYER, "--record", description.c_str(), "--freewheel",
                                   "--cycle-sleep-us", "1000");
        ASSERT_TRUE (player.start (command));

        // The message thread goes on as in the program: events arrive, the preview is drained.
        const bool ended = pumpUntil (
            [this]
            {
                previewSamples += project->takeWaveformSamples().size();
                return log.events.contains ("END");
            },
            timeoutSeconds * 1000);
        if (! ended)
            player.kill();
        playerOutput = player.readAllProcessOutput();
        player.waitForProcessToFinish (60000);
        ASSERT_TRUE (ended) << "no END after " << log.events.size() << " events; player: " << playerOutput
                            << "; server: " << folder.getChildFile ("jackd.log").loadFileAsString();
        if (log.events.size() < 10)
            ADD_FAILURE() << log.events.joinIntoString (" / ");
        EXPECT_EQ (player.getExitCode(), 0u) << playerOutput;
        EXPECT_TRUE (playerOutput.startsWith ("played ")) << playerOutput;
    }

    int xruns() const
    {
        auto* device = project->getCurrentAudioDevice();
        return device != nullptr ? device->getXRunCount() : -1;
    }

    juce::StringArray expectedPaths (size_t count) const
    {
        juce::StringArray paths;
        for (size_t i = 0; i < count; ++i)
            paths.add (folder.getChildFile ("Track" + juce::String ((int) i + 1) + ".wav").getFullPathName());
        return paths;
    }

    juce::StringArray trackPaths() const
    {
        juce::StringArray paths;
        for (int i = 0; i < project->trackCount(); ++i)
            paths.add (project->trackPath (i));
        return paths;
    }

    void expectEndedBySilenceFromTheAudioThread()
    {
        const auto alerts = dialogs.alerts();
        ASSERT_EQ (alerts.size(), 1u);
        EXPECT_EQ (alerts[0].title, "End Capture");
        EXPECT_EQ (alerts[0].message, "No more stream detected");
        EXPECT_FALSE (alerts[0].onMessageThread);
    }

    const int threshold = 5;
    const int minSilenceBlocks = 1 * serverRate / serverBlock;
    const int stopSilenceBlocks = 4 * serverRate / serverBlock;

    FakeDialogs dialogs;
    juce::File folder;
    juce::String serverName;
    std::unique_ptr<JackServer> server;
    std::unique_ptr<Project> project;
    Audio* audio = nullptr;
    EventLog log;
    juce::String playerOutput;
    juce::int64 previewSamples = 0;
};

// Three songs: a low and a high tone, noise, a middle tone; gaps longer than the gap length and
// shorter than the silence that ends the capture, then such a silence.
const std::string threeSongs = "silence:22050,"
                               "tone:100:10000:0.2:57330,"
                               "silence:70560,"
                               "noise:0.4:7:39690,"
                               "silence:92610,"
                               "tone:1000:2122:0.3:74970,"
                               "silence:198450";
} // namespace

TEST_F (JackCapture, aRecordPlayedThroughJackBecomesThreeTrackFiles)
{
    project->setPreamp (true);
    captureRecord (threeSongs);

    const test_record::Record record (threeSongs, serverRate);
    const auto expected = expectedCapture (record, threshold, minSilenceBlocks, stopSilenceBlocks);
    ASSERT_EQ (expected.tracks.size(), 3u);

    // Each file begins at the block where its song crossed the threshold.
    const auto& songs = record.getSegments();
    EXPECT_EQ (expected.tracks[0].first, songs[1].start / serverBlock * serverBlock);
    EXPECT_LT (expected.tracks[0].first, songs[1].start);

    std::string firstDifference;
    EXPECT_EQ (countDifferences (record, expected, folder, false, firstDifference), 0) << firstDifference;
    EXPECT_FALSE (folder.getChildFile ("Track4.wav").exists());

    EXPECT_EQ (trackPaths(), expectedPaths (3));
    EXPECT_EQ (project->trackCounter, 3);
    EXPECT_EQ (project->lastWrittenTrack, 3);
    EXPECT_EQ (log.events, expected.events)
        << firstEventDifference (log.events, expected.events) << ", device xruns: " << xruns();
    expectEndedBySilenceFromTheAudioThread();
    EXPECT_GE (previewSamples, expected.lastBlock * serverBlock);
}

TEST_F (JackCapture, withoutAPreampTheTrackFilesCarryTheRiaaCurve)
{
    project->setPreamp (false);
    captureRecord (threeSongs);

    const test_record::Record record (threeSongs, serverRate);
    const auto expected = expectedCapture (record, threshold, minSilenceBlocks, stopSilenceBlocks);
    ASSERT_EQ (expected.tracks.size(), 3u);

    std::string firstDifference;
    EXPECT_EQ (countDifferences (record, expected, folder, true, firstDifference), 0) << firstDifference;
    EXPECT_EQ (trackPaths(), expectedPaths (3));
    EXPECT_EQ (log.events, expected.events)
        << firstEventDifference (log.events, expected.events) << ", device xruns: " << xruns();
    expectEndedBySilenceFromTheAudioThread();

    // The curve, read from the files: a second of each tone song after it settled.
    const auto& songs = record.getSegments();
    const auto gainDb = [&] (size_t trackIndex, const test_record::Segment& song, bool leftChannel, double frequency)
    {
        const auto contents = readWav (folder.getChildFile ("Track" + juce::String ((int) trackIndex + 1) + ".wav"));
        const auto from = song.start + serverRate / 10;
        std::vector<double> played, captured;
        std::vector<float> left (1), right (1);
        for (std::int64_t frame = from; frame < from + serverRate; ++frame)
        {
            record.render (frame, 1, left.data(), right.data());
            played.push_back (leftChannel ? left[0] : right[0]);
            const auto index = (size_t) (frame - expected.tracks[trackIndex].first);
            captured.push_back ((leftChannel ? contents.left[index] : contents.right[index]) / 32767.0);
        }
        return 20.0 * std::log10 (amplitudeAt (captured, frequency) / amplitudeAt (played, frequency));
    };

    EXPECT_NEAR (gainDb (0, songs[1], true, 100), 13.09, 0.05);
    EXPECT_NEAR (gainDb (0, songs[1], false, 10000), -15.10, 0.05);
    EXPECT_NEAR (gainDb (2, songs[5], true, 1000), 0.00, 0.05);
    EXPECT_NEAR (gainDb (2, songs[5], false, 2122), -2.89, 0.05);
}

TEST_F (JackCapture, aTwentyMinuteSideIsCapturedWithoutLosingASample)
{
    project->setPreamp (true);

    // Six songs of three minutes and more, alternately tones and noise, with gaps of two seconds.
    std::string description = "silence:" + std::to_string (serverRate);
    const int seconds[] = { 187, 203, 186, 214, 196, 199 };
    for (int song = 0; song < 6; ++song)
    {
        const auto frames = std::to_string (seconds[song] * serverRate + 977 * song);
        if (song % 2 == 0)
            description += ",tone:" + std::to_string (220 + 110 * song) + ":" + std::to_string (330 + 70 * song) +
                           ":0.4:" + frames;
        else
            description += ",noise:0.3:" + std::to_string (song) + ":" + frames;
        description += ",silence:" + std::to_string (song < 5 ? 2 * serverRate : 9 * serverRate / 2);
    }

    const test_record::Record record (description, serverRate);
    ASSERT_GE (record.getLength(), 20 * 60 * serverRate);

    captureRecord (description, 8 * 60);

    const auto expected = expectedCapture (record, threshold, minSilenceBlocks, stopSilenceBlocks);
    ASSERT_EQ (expected.tracks.size(), 6u);

    // Every frame of every song lies in a track.
    for (const auto& segment : record.getSegments())
    {
        if (segment.kind == test_record::Segment::Kind::silence)
            continue;
        const bool covered =
            std::any_of (expected.tracks.begin(), expected.tracks.end(),
                         [&] (const ExpectedTrack& t)
                         { return t.first <= segment.start && segment.start + segment.frames <= t.end; });
        EXPECT_TRUE (covered) << "song at frame " << segment.start;
    }

    std::string firstDifference;
    EXPECT_EQ (countDifferences (record, expected, folder, false, firstDifference), 0) << firstDifference;
    EXPECT_EQ (trackPaths(), expectedPaths (6));
    EXPECT_EQ (log.events, expected.events)
        << firstEventDifference (log.events, expected.events) << ", device xruns: " << xruns();
    expectEndedBySilenceFromTheAudioThread();

    // The whole side was kept beside the tracks, at several times real time, and each track lies
    // in it as the track file has it, where the silence rule put it.
    const auto side = SideRecord::findFor (folder.getChildFile ("Track1.wav").getFullPathName());
    ASSERT_TRUE (side.has_value());
    ASSERT_TRUE (side->isWhole()) << "the side's writer fell behind";
    EXPECT_TRUE (side->hasEnded());
    EXPECT_TRUE (side->canBeCutAgain());
    ASSERT_EQ (side->getPlaces().size(), expected.tracks.size());
    const auto recordStart = side->getPlaces()[0].first - expected.tracks[0].first;
    for (size_t track = 0; track < expected.tracks.size(); ++track)
    {
        const auto& place = side->getPlaces()[track];
        const auto file = folder.getChildFile ("Track" + juce::String ((int) track + 1) + ".wav");
        EXPECT_EQ (place.path, file.getFullPathName());
        EXPECT_EQ (place.first, recordStart + expected.tracks[track].first) << "track " << track + 1;
        EXPECT_EQ (place.length, expected.tracks[track].end - expected.tracks[track].first) << "track " << track + 1;
        EXPECT_EQ (differencesFromSide (side->getSideFile(), place.first, file), 0) << "track " << track + 1;
    }
}
