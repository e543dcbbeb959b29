// The real program ripping a record on a desktop's sound server: a PipeWire of the test's own
// with a virtual turntable, into which the test plays a generated record with pw-cat, and the
// program, started as a user starts it there, recording the turntable through the window's
// Capture. PipeWire may resample, so the tracks are compared with the record by their length
// and level, and their tone by its frequency.
#include "CaptureTestSupport.h"
#include "player/Record.h"
#include "project/PipeWireDeviceType.h"
#include "project/Project.h"
#include "support/PrivatePipeWire.h"
#include "support/RealProgram.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

namespace
{
constexpr int rate = 44100;

/** Where the program's controls are, in its window of 435 by 380. */
const juce::Point<int> nextButton{ 379, 362 };
const juce::Point<int> captureButton{ 180, 205 };

/** The capture's parameters: a gap of a second between songs, five seconds of silence to end. */
constexpr int minSilence = 1, silenceLength = 5;

/** Two songs, each three seconds long, two seconds apart, and the silence that ends the capture. */
const std::string recordDescription =
    "silence:" + std::to_string (rate / 2) + ",tone:440:660:0.5:" + std::to_string (3 * rate) +
    ",silence:" + std::to_string (2 * rate) + ",tone:330:550:0.4:" + std::to_string (3 * rate) +
    ",silence:" + std::to_string ((silenceLength + 3) * rate);

/** The settings of a user who chose `device` in the device dialog (or none yet), a folder and the
    parameters. */
void writeSettings (const juce::File& folder, const std::optional<juce::XmlElement>& device)
{
    juce::PropertiesFile::Options options;
    options.ignoreCaseOfKeyNames = true;
    options.storageFormat = juce::PropertiesFile::storeAsXML;
    juce::PropertiesFile settings (Project::settingsFileLocation(), options);
    if (device.has_value())
        settings.setValue ("devicesettings", &*device);
    settings.setValue ("rootdir", folder.getFullPathName());
    settings.setValue ("preamp", "1");
    settings.setValue ("threshold", "5");
    settings.setValue ("minsilence", juce::String (minSilence));
    settings.setValue ("silencelength", juce::String (silenceLength));
    settings.saveIfNeeded();
}

/** A track as read back: its rate, length, and the level and frequency of its song. */
struct TrackSound
{
    double sampleRate = 0;
    juce::int64 length = 0;
    float level[2] = { 0, 0 };      // RMS over the song, skipping its first and last quarter second
    double frequency[2] = { 0, 0 }; // rising zero crossings a second over the same stretch
    float tailLevel = 1.0f;         // the loudest sample in the last half second
};

TrackSound readTrack (const juce::File& file, double songSeconds)
{
    TrackSound sound;
    juce::AudioFormatManager formats;
    formats.registerBasicFormats();
    std::unique_ptr<juce::AudioFormatReader> reader (formats.createReaderFor (file));
    if (reader == nullptr)
        return sound;

    sound.sampleRate = reader->sampleRate;
    sound.length = reader->lengthInSamples;
    juce::AudioBuffer<float> buffer (2, (int) reader->lengthInSamples);
    reader->read (&buffer, 0, buffer.getNumSamples(), 0, true, true);

    // The song begins within the first block of the file.
    const int from = (int) (0.25 * sound.sampleRate);
    const int to = juce::jmin (buffer.getNumSamples(), (int) ((songSeconds - 0.25) * sound.sampleRate));
    if (to <= from)
        return sound;

    for (int c = 0; c < 2; ++c)
    {
        sound.level[c] = buffer.getRMSLevel (c, from, to - from);
        int rises = 0;
        for (int i = from + 1; i < to; ++i)
            if (buffer.getSample (c, i - 1) < 0.0f && buffer.getSample (c, i) >= 0.0f)
                ++rises;
        sound.frequency[c] = rises * sound.sampleRate / (to - from);
    }

    const int tail = (int) (0.5 * sound.sampleRate);
    sound.tailLevel = buffer.getMagnitude (buffer.getNumSamples() - tail, tail);
    return sound;
}

class CapturePipeWire : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE (program.existsAsFile());
        ASSERT_TRUE (turn.isHeld());
        ASSERT_TRUE (waitFor (noInstanceRunning, 120000)) << "Groove Smith is already running on this machine";
        folder = freshFolder ("pipewire rips");
        ASSERT_TRUE (display.isReady());
        pipewire = std::make_unique<PrivatePipeWire> (folder);
        ASSERT_TRUE (pipewire->isReady()) << folder.getChildFile ("pipewire.log").loadFileAsString()
                                          << folder.getChildFile ("wireplumber.log").loadFileAsString();
    }

    void TearDown() override
    {
        running.reset();
        pipewire.reset();
    }

    /** The program started by `launcher` on the test's PipeWire, on its capture page, and the
        record played into the turntable once the capture runs; returns when the capture has
        heard the record out. */
    void rip (const std::vector<std::string>& launcher)
    {
        auto command = launcher;
        command.push_back (program.getFullPathName().toStdString());
        running = std::make_unique<RealProgram> (pipewire->onThisServer (command), folder.getChildFile ("program.log"));
        ASSERT_TRUE (running->started());
        window = settledWindowNamed ("Groovesmith -- Page 1 / 7", 30000);
        ASSERT_TRUE (window.isNotEmpty()) << folder.getChildFile ("program.log").loadFileAsString();

        for (int page = 2; page <= 4; ++page)
        {
            ASSERT_TRUE (clickInWindow (window, nextButton.x, nextButton.y));
            const auto title = "Groovesmith -- Page " + juce::String (page) + " / 7";
            ASSERT_TRUE (waitFor ([this, &title] { return windowNamed (title) == window; }, 10000)) << title;
        }

        ASSERT_TRUE (clickInWindow (window, captureButton.x, captureButton.y));
        juce::Thread::sleep (1500);
        ASSERT_TRUE (running->isRunning()) << folder.getChildFile ("program.log").loadFileAsString();
        // The device runs at 44100 Hz: nothing is said about the rate.
        ASSERT_TRUE (findWindows ("^Sample rate$").isEmpty()) << "the device does not run at 44100 Hz";

        // The record deck: the generated record, played into the turntable's sink.
        const auto wav = folder.getChildFile ("record.wav");
        {
            const test_record::Record record (recordDescription, rate);
            juce::AudioBuffer<float> buffer (2, (int) record.getLength());
            record.render (0, buffer.getNumSamples(), buffer.getWritePointer (0), buffer.getWritePointer (1));
            std::unique_ptr<juce::AudioFormatWriter> writer (
                juce::WavAudioFormat().createWriterFor (new juce::FileOutputStream (wav), rate, 2, 16, {}, 0));
            ASSERT_NE (writer, nullptr);
            writer->writeFromAudioSampleBuffer (buffer, 0, buffer.getNumSamples());
        }
        ASSERT_GT (
            pipewire->startOnThisServer (
                { "pw-cat", "--playback", "--target", "deck", wav.getFullPathName().toStdString() }, "player.log"),
            0);

        ASSERT_TRUE (waitFor ([] { return findWindows ("^End Capture$").size() == 1; }, 90000)) << whatHappened();

        running->signal (SIGINT);
        ASSERT_TRUE (running->waitForExit (20000)) << "the program did not end";
        EXPECT_EQ (running->exitCode(), 0) << folder.getChildFile ("program.log").loadFileAsString();
    }

    /** The two tracks hold the two songs at their levels and pitches, each with the second of
        silence that ended it, within a block of the device's; no third track. */
    void expectTheTwoSongs()
    {
        // The most frames a block of PipeWire's graph holds here.
        constexpr juce::int64 block = 2048;
        const double leftLevels[] = { 0.5 / std::sqrt (2.0), 0.4 / std::sqrt (2.0) };
        const double leftPitches[] = { 440.0, 330.0 }, rightPitches[] = { 660.0, 550.0 };

        for (int track = 1; track <= 2; ++track)
        {
            const auto file = folder.getChildFile ("Track" + juce::String (track) + ".wav");
            SCOPED_TRACE (file.getFileName().toStdString());
            ASSERT_TRUE (file.existsAsFile()) << whatHappened();
            const auto sound = readTrack (file, 3.0);
            EXPECT_EQ (sound.sampleRate, (double) rate);
            EXPECT_NEAR ((double) sound.length, (double) (3 + minSilence) * rate, (double) block);
            EXPECT_NEAR (juce::Decibels::gainToDecibels (sound.level[0]),
                         juce::Decibels::gainToDecibels (leftLevels[track - 1]), 0.5);
            EXPECT_NEAR (juce::Decibels::gainToDecibels (sound.level[1]),
                         juce::Decibels::gainToDecibels (0.8 * leftLevels[track - 1]), 0.5);
            EXPECT_NEAR (sound.frequency[0], leftPitches[track - 1], 2.0);
            EXPECT_NEAR (sound.frequency[1], rightPitches[track - 1], 2.0);
            EXPECT_LT (sound.tailLevel, 0.01f) << "the track does not end in its silence";
        }
        EXPECT_FALSE (folder.getChildFile ("Track3.wav").exists());
    }

    /** What a failing test shows: the files in the folder, the windows and the logs. */
    juce::String whatHappened() const
    {
        // What the screen showed, for a person to look at.
        const auto picture = juce::File (GROOVESMITH_ARTEFACT_DIR).getChildFile ("pipewire-rip-failed.png");
        outputOf ({ "import", "-window", "root", picture.getFullPathName() });
        juce::String text = "screen: " + picture.getFullPathName() + "\nfiles:";
        for (const auto& file : folder.findChildFiles (juce::File::findFiles, true))
            text << " " << file.getFileName() << " (" << file.getSize() << ")";
        text << "\nwindows: " << findWindows (".").joinIntoString (" ") << " "
             << outputOf ({ "xdotool", "search", "--onlyvisible", "--name", ".", "getwindowname", "%@" });
        text << "\ndefaults: " << pipewire->run ({ "pw-metadata", "-n", "default" })
             << "\nlinks: " << pipewire->run ({ "pw-link", "-l" });
        for (const auto* log : { "program.log", "player.log", "pipewire.log", "wireplumber.log" })
            text << "\n" << log << ": " << folder.getChildFile (log).loadFileAsString();
        return text;
    }

    const ProgramTurn turn; // first made, last gone: the program ends within the turn
    const juce::File program{ GROOVESMITH_EXECUTABLE };
    juce::File folder;
    OwnDisplay display;
    std::unique_ptr<PrivatePipeWire> pipewire;
    std::unique_ptr<RealProgram> running;
    juce::String window;
};
} // namespace

TEST_F (CapturePipeWire, theProgramRunThroughPipeWiresJackRipsTheTurntableAt44100Hz)
{
    // A user who runs the program with pw-jack and chose the turntable in the device dialog.
    juce::XmlElement device ("DEVICESETUP");
    device.setAttribute ("deviceType", "JACK");
    device.setAttribute ("audioInputDeviceName", "USB Turntable");
    device.setAttribute ("audioOutputDeviceName", "Speakers");
    writeSettings (folder, device);

    ASSERT_NO_FATAL_FAILURE (rip ({ "pw-jack" }));
    expectTheTwoSongs();
}

TEST_F (CapturePipeWire, aFirstStartRipsTheDesktopsDefaultSourceThroughAlsa)
{
    {
        const PrivatePipeWire::ThisProcessOnIt onIt (*pipewire);
        PipeWireDeviceType probe;
        probe.scanForDevices();
        if (probe.getAlsaDeviceName().isEmpty())
            GTEST_SKIP() << "ALSA has no PipeWire device here: pipewire-alsa is not installed";
    }

    // A new user: no device chosen yet. The program opens ALSA's default device, which is the
    // desktop's default source, the turntable.
    writeSettings (folder, {});
    ASSERT_NO_FATAL_FAILURE (rip ({}));
    expectTheTwoSongs();
}
