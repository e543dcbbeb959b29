// The encode run of a ten-track, 45-minute album to FLAC (conversion, tags and final names),
// against `flac -5` and `metaflac` doing the same to the same WAV files. The run goes as the
// program's defaults have it (ReplayGain and the playlist added), without the album's extras, and
// with a front cover inside every file. Run through bench/encoderun.sh, which gives the program a
// virtual display and a home of its own and prints the figures side by side.
#include "BenchSupport.h"
#include "app/EncodeRun.h"
#include "encoding/AlbumFiles.h"
#include "project/Project.h"
#include "project/Track.h"

#include <juce_audio_formats/juce_audio_formats.h>

#include <benchmark/benchmark.h>

#include <cmath>

namespace
{
constexpr double sampleRate = 44100.0;
constexpr int trackCount = 10;
constexpr int trackSeconds = 270; // ten of them make 45 minutes

/** The album's ten WAV tracks, written once per benchmark folder. */
struct AlbumTracks
{
    AlbumTracks()
    {
        folder = benchsupport::benchFolder().getChildFile ("album tracks");
        folder.createDirectory();

        for (int i = 1; i <= trackCount; ++i)
        {
            tracks.add (folder.getChildFile ("Song " + juce::String (i) + ".wav"));
            if (tracks.getLast().getSize() < (juce::int64) trackSeconds * (juce::int64) sampleRate * 4)
                write (tracks.getLast(), i);
        }
    }

    /** Music-like sound: drifting tones with a beat, computed for twenty seconds and played from a
        place of the track's own, with fresh noise throughout. */
    static void write (const juce::File& file, int seed)
    {
        static const juce::AudioBuffer<float> music = []
        {
            const int length = 20 * (int) sampleRate;
            juce::AudioBuffer<float> buffer (2, length);
            for (int c = 0; c < 2; ++c)
            {
                auto* samples = buffer.getWritePointer (c);
                for (int i = 0; i < length; ++i)
                {
                    const double t = i / sampleRate;
                    const double beat = 0.6 + 0.4 * std::sin (2.0 * juce::MathConstants<double>::pi * 2.0 * t);
                    double value = 0.0;
                    for (int k = 1; k <= 4; ++k)
                        value += std::sin (2.0 * juce::MathConstants<double>::pi *
                                           (110.0 * k * (1.0 + 0.01 * c) + 3.0 * std::sin (0.1 * t)) * t) /
                                 k;
                    samples[i] = (float) (0.25 * beat * value);
                }
            }
            return buffer;
        }();

        file.deleteFile();
        juce::WavAudioFormat wav;
        std::unique_ptr<juce::AudioFormatWriter> writer (
            wav.createWriterFor (file.createOutputStream().release(), sampleRate, 2, 16, {}, 0));
        jassert (writer != nullptr);

        juce::Random random (seed);
        const int block = (int) sampleRate;
        juce::AudioBuffer<float> buffer (2, block);
        int position = seed * 7 * block % music.getNumSamples();

        for (int written = 0; written < trackSeconds * block; written += block)
        {
            for (int c = 0; c < 2; ++c)
            {
                auto* samples = buffer.getWritePointer (c);
                const auto* source = music.getReadPointer (c);
                for (int i = 0; i < block; ++i)
                    samples[i] = source[(position + i) % music.getNumSamples()] + 0.01f * (random.nextFloat() - 0.5f);
            }
            position = (position + block) % music.getNumSamples();
            writer->writeFromAudioSampleBuffer (buffer, 0, block);
        }
    }

    juce::File folder;
    juce::Array<juce::File> tracks;
};

AlbumTracks& albumTracks()
{
    static AlbumTracks tracks;
    return tracks;
}

/** A fresh, empty album folder. */
juce::File emptyAlbumFolder (const juce::String& name)
{
    const auto folder = benchsupport::benchFolder().getChildFile (name);
    folder.deleteRecursively();
    folder.createDirectory();
    return folder;
}

void report (benchmark::State& state, const juce::File& albumFolder)
{
    juce::int64 bytes = 0;
    for (const auto& file : albumFolder.findChildFiles (juce::File::findFiles, false, "*.flac"))
        bytes += file.getSize();
    state.counters["output_bytes"] = (double) bytes;
    state.counters["audio_seconds"] = trackCount * trackSeconds;
}

enum class Extras
{
    defaults,
    none,
    withCover
};

/** A front cover of about 300 KB, as a scan of a sleeve is. */
juce::File benchCover()
{
    const auto file = benchsupport::benchFolder().getChildFile ("sleeve.jpg");
    if (! file.existsAsFile())
    {
        juce::Image image (juce::Image::RGB, 1000, 1000, true);
        juce::Random random (7);
        for (int y = 0; y < 1000; ++y)
            for (int x = 0; x < 1000; ++x)
                image.setPixelAt (
                    x, y,
                    juce::Colour ((juce::uint8) (x / 4), (juce::uint8) (y / 4), (juce::uint8) random.nextInt (256)));
        juce::FileOutputStream stream (file);
        juce::JPEGImageFormat().writeImageToStream (image, stream);
    }
    return file;
}

void encodeRun (benchmark::State& state, Extras extras)
{
    if (! benchsupport::haveDisplay (state, "bench/encoderun.sh"))
        return;

    auto& album = albumTracks();
    benchsupport::runAsApplication();
    // The message thread and the progress windows, for this run alone.
    const juce::ScopedJuceInitialiser_GUI gui;
    Project project;
    AlbumFiles albumFiles (project);
    juce::File albumFolder;

    for (auto _ : state)
    {
        state.PauseTiming();
        albumFolder = emptyAlbumFolder ("ours");
        project.projectType = ripProject;
        project.setCaptureFolder (albumFolder.getFullPathName());
        project.setOutputFormat (formatFlac);
        project.setKeepWaves (true); // the same WAV files serve every repetition
        project.artist = "The Bench";
        project.album = "Forty-Five Minutes";
        project.year = "2024";
        project.genre = "Test";
        project.setReplayGain (extras != Extras::none);
        project.setWritePlaylist (extras != Extras::none);
        project.setEmbedCover (extras != Extras::none);
        project.frontCover = extras == Extras::withCover ? benchCover() : juce::File();
        project.clearTracks();
        for (const auto& track : album.tracks)
            project.addTrack (track.getFullPathName(), formatWav);
        state.ResumeTiming();

        EncodeRun run (project, albumFiles);
        if (! run.run())
            state.SkipWithError ("the encode run failed");
    }

    if (albumFolder.findChildFiles (juce::File::findFiles, false, "*.flac").size() != trackCount)
        state.SkipWithError ("the album folder does not hold ten tracks");
    report (state, albumFolder);
}

bool runTool (const juce::StringArray& arguments)
{
    juce::ChildProcess process;
    return process.start (arguments, 0) && process.waitForProcessToFinish (-1) && process.getExitCode() == 0;
}

void commandLine (benchmark::State& state)
{
    auto& album = albumTracks();
    juce::File albumFolder;

    for (auto _ : state)
    {
        state.PauseTiming();
        albumFolder = emptyAlbumFolder ("tools");
        state.ResumeTiming();

        for (int i = 0; i < trackCount; ++i)
        {
            const auto& track = album.tracks.getReference (i);
            const auto title = track.getFileNameWithoutExtension();
            const auto number = juce::String (i + 1).paddedLeft ('0', 2);
            const auto output = albumFolder.getChildFile (number + " - The Bench - " + title + ".flac");

            if (! runTool ({ "flac", "-5", "-f", "-s", "-o", output.getFullPathName(), track.getFullPathName() }) ||
                ! runTool ({ "metaflac", "--set-tag=TITLE=" + title, "--set-tag=ALBUM=Forty-Five Minutes",
                             "--set-tag=ARTIST=The Bench", "--set-tag=DATE=2024", "--set-tag=GENRE=Test",
                             "--set-tag=TRACKNUMBER=" + juce::String (i + 1), output.getFullPathName() }))
                state.SkipWithError ("flac or metaflac failed");
        }
    }

    report (state, albumFolder);
}
} // namespace

BENCHMARK_CAPTURE (encodeRun, defaults, Extras::defaults)
    ->Name ("Album/flac/ours")
    ->Iterations (1)
    ->UseRealTime()
    ->Unit (benchmark::kMillisecond);
BENCHMARK_CAPTURE (encodeRun, none, Extras::none)
    ->Name ("Album/flac/ours without extras")
    ->Iterations (1)
    ->UseRealTime()
    ->Unit (benchmark::kMillisecond);
BENCHMARK_CAPTURE (encodeRun, cover, Extras::withCover)
    ->Name ("Album/flac/ours with a cover")
    ->Iterations (1)
    ->UseRealTime()
    ->Unit (benchmark::kMillisecond);
BENCHMARK (commandLine)
    ->Name ("Album/flac/flac -5 + metaflac")
    ->Iterations (1)
    ->UseRealTime()
    ->Unit (benchmark::kMillisecond);
