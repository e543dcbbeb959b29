// Finding the songs on a twenty-minute side and writing the new tracks, as the track list's
// "find the songs..." does, on one core and without its window: times real time, and the memory
// it takes beyond what the process held before. The side is generated into the bench folder
// (GROOVESMITH_BENCH_HOME keeps it from one run to the next).
#include "editing/FindSongsThread.h"
#include "editing/SongFinder.h"
#include "editing/SongSource.h"

#include "BenchSupport.h"
#include "editing/RecordSides.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <fstream>
#include <string>
#include <sys/resource.h>

namespace
{
constexpr int songsOnTheSide = 8;

/** A twenty-minute side of eight songs of about two and a half minutes, with everything that makes real
    sides hard, written once as a 16-bit WAV file. */
juce::File twentyMinuteSide()
{
    const auto file = benchsupport::benchFolder().getChildFile ("side-20min.wav");
    if (file.existsAsFile())
        return file;

    recordsides::SideSpec spec;
    spec.name = "twenty minutes";
    spec.noiseDb = -50.0;
    for (int s = 0; s < songsOnTheSide; ++s)
        spec.songs.push_back (
            { 130.0 + 5.0 * s, -14.0 - (double) (s % 4) * 2.0, s % 3 == 1, s % 4 == 2, s % 2 == 0, s % 5 != 3 });
    spec.gaps = { 2.0, 1.5, 3.0, 2.5, 1.0, 4.0, 2.0 };
    spec.seed = 2024;

    const auto partial = file.getSiblingFile ("side-20min.part.wav");
    {
        juce::WavAudioFormat wav;
        std::unique_ptr<juce::AudioFormatWriter> writer (
            wav.createWriterFor (partial.createOutputStream().release(), spec.rate, 2, 16, {}, 0));
        recordsides::playSide (spec,
                               [&writer] (const float* left, const float* right, int n)
                               {
                                   const float* channels[] = { left, right };
                                   writer->writeFromFloatArrays (channels, 2, n);
                               });
    }
    partial.moveFileTo (file);
    return file;
}
} // namespace

static void findSongsOnASide (benchmark::State& state)
{
    const auto sideFile = twentyMinuteSide();
    const auto folder = benchsupport::benchFolder().getChildFile ("songs");
    folder.createDirectory();

    double seconds = 0.0, elapsed = 0.0, processor = 0.0;
    long beyond = 0;
    size_t envelope = 0;
    int tracks = 0;

    for (auto _ : state)
    {
        const long before = benchsupport::memoryFigure ("VmRSS:");
        benchsupport::resetPeakMemory();
        const auto start = std::chrono::steady_clock::now();
        const double processorStart = benchsupport::processorSeconds();

        AudioFilesSource source (juce::Array<juce::File>{ sideFile });
        juce::File unreadable;
        if (! source.open (unreadable))
        {
            state.SkipWithError ("the side can't be read");
            return;
        }

        SongFinder finder (source.getSampleRate());
        const auto always = [] (double) { return true; };
        FindSongsThread::listen (source, finder, always);
        const auto cuts = finder.findCuts (songsOnTheSide);
        if (! cuts.has_value())
        {
            state.SkipWithError ("the songs were not found");
            return;
        }

        std::vector<juce::File> files;
        for (size_t i = 0; i <= cuts->size(); ++i)
            files.push_back (folder.getChildFile ("Track" + juce::String ((int) i + 1) + ".wav"));
        if (FindSongsThread::writeTracks (source, *cuts, files, always) != FindSongsThread::Result::done)
        {
            state.SkipWithError ("the tracks could not be written");
            return;
        }

        processor += benchsupport::processorSeconds() - processorStart;
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        elapsed += took.count();
        state.SetIterationTime (took.count());
        beyond = juce::jmax (beyond, benchsupport::memoryFigure ("VmHWM:") - before);
        seconds = (double) source.getLengthInFrames() / source.getSampleRate();
        envelope = finder.getEnvelopeBytes();
        tracks = (int) files.size();

        for (const auto& file : files)
            file.deleteFile();
    }

    state.counters["audio_s"] = seconds;
    state.counters["tracks"] = tracks;
    state.counters["x_realtime"] = seconds * (double) state.iterations() / elapsed;
    state.counters["x_realtime_cpu"] = seconds * (double) state.iterations() / processor;
    state.counters["peak_beyond_MB"] = (double) beyond / 1024.0;
    state.counters["envelope_kB"] = (double) envelope / 1024.0;
    state.counters["block_kB"] = 2.0 * FindSongsThread::blockFrames * sizeof (int) / 1024.0;
}
BENCHMARK (findSongsOnASide)->Unit (benchmark::kSecond)->Iterations (3)->UseManualTime();
