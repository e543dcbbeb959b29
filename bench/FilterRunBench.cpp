// Track cleaning and surgery on a whole side: a filter run (declicker, denoiser, normalize) on one
// thread and on two, the 45-to-33 resampler, a split and a merge, each as times real time. The
// track is named by GROOVESMITH_BENCH_TRACK (bench/filters.sh makes a 20-minute one); without it
// these skip.
#include "BenchSupport.h"
#include "editing/CFilters.h"
#include "editing/MergeThread.h"
#include "editing/ResamplerThread.h"
#include "editing/SplitThread.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <sys/resource.h>

namespace
{
/** The progress windows need JUCE's message loop on this thread, for as long as the result lives. */
std::unique_ptr<juce::ScopedJuceInitialiser_GUI> initialiseJuce()
{
    // As in the program, JUCE then ignores the X errors of a display without a window manager.
    juce::JUCEApplicationBase::createInstance = []() -> juce::JUCEApplicationBase* { return nullptr; };
    return std::make_unique<juce::ScopedJuceInitialiser_GUI>();
}

juce::File benchTrack()
{
    const char* path = std::getenv ("GROOVESMITH_BENCH_TRACK");
    return path != nullptr ? juce::File (path) : juce::File();
}

juce::File workFolder()
{
    auto folder = juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile ("groovesmith-bench");
    folder.createDirectory();
    return folder;
}

double secondsOf (const juce::File& file)
{
    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatReader> reader (wav.createReaderFor (file.createInputStream().release(), true));
    return reader != nullptr ? (double) reader->lengthInSamples / reader->sampleRate : 0.0;
}

/** Runs `job` once per iteration and reports the audio seconds handled per second of wall
    time, and per second of processor time (the worker's and the waiting window's together),
    which other load on the machine disturbs less. */
template <typename Job>
void timeJob (benchmark::State& state, double audioSeconds, Job job)
{
    double elapsed = 0.0;
    double processor = 0.0;

    for (auto _ : state)
    {
        const auto start = std::chrono::steady_clock::now();
        const double processorStart = benchsupport::processorSeconds();
        job();
        processor += benchsupport::processorSeconds() - processorStart;
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        elapsed += took.count();
        state.SetIterationTime (took.count());
    }

    state.counters["audio_s"] = audioSeconds;
    state.counters["x_realtime"] = audioSeconds * (double) state.iterations() / elapsed;
    state.counters["x_realtime_cpu"] = audioSeconds * (double) state.iterations() / processor;
}

bool haveTrack (benchmark::State& state)
{
    if (benchTrack().existsAsFile())
        return true;

    state.SkipWithError ("set GROOVESMITH_BENCH_TRACK to a WAV file");
    return false;
}
} // namespace

static void filterRun (benchmark::State& state, int threads)
{
    if (! haveTrack (state))
        return;

    const auto juce = initialiseJuce();
    const auto input = benchTrack();
    const auto output = workFolder().getChildFile ("filtered.wav");
    const long before = benchsupport::memoryFigure ("VmRSS:");
    benchsupport::resetPeakMemory();

    timeJob (state, secondsOf (input),
             [&]
             {
                 CFilters filters;
                 filters.threadsToUse = threads;
                 filters.applyFilters (input.getFullPathName().toRawUTF8(), output.getFullPathName().toRawUTF8(), 20,
                                       50, true);
             });

    const long peak = benchsupport::memoryFigure ("VmHWM:");
    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatReader> reader (wav.createReaderFor (input.createInputStream().release(), true));
    state.counters["peak_rss_MB"] = (double) peak / 1024.0;
    state.counters["rss_before_MB"] = (double) before / 1024.0;
    state.counters["floats_MB"] =
        (double) reader->lengthInSamples * reader->numChannels * sizeof (float) / (1024.0 * 1024.0);
    output.deleteFile();
}
BENCHMARK_CAPTURE (filterRun, oneThread, 1)->Unit (benchmark::kSecond)->Iterations (1)->UseManualTime();
BENCHMARK_CAPTURE (filterRun, twoThreads, 2)->Unit (benchmark::kSecond)->Iterations (1)->UseManualTime();

static void resampler (benchmark::State& state)
{
    if (! haveTrack (state))
        return;

    const auto juce = initialiseJuce();
    auto input = benchTrack();
    auto output = workFolder().getChildFile ("resampled.wav");

    timeJob (state, secondsOf (input),
             [&]
             {
                 output.deleteFile();
                 resampleFile (&input, &output, 0.74);
             });

    output.deleteFile();
}
BENCHMARK (resampler)->Unit (benchmark::kSecond)->Iterations (1)->UseManualTime();

static void split (benchmark::State& state)
{
    if (! haveTrack (state))
        return;

    const auto juce = initialiseJuce();
    const auto input = benchTrack();
    const auto start = workFolder().getChildFile ("start.wav");
    const auto end = workFolder().getChildFile ("end.wav");
    const double seconds = secondsOf (input);

    timeJob (state, seconds, [&] { splitFile (input, seconds / 2.0, start, end); });

    start.deleteFile();
    end.deleteFile();
}
BENCHMARK (split)->Unit (benchmark::kSecond)->Iterations (1)->UseManualTime();

static void merge (benchmark::State& state)
{
    if (! haveTrack (state))
        return;

    const auto juce = initialiseJuce();
    const auto input = benchTrack();
    const auto output = workFolder().getChildFile ("merged.wav");

    // The track joined to itself: twice its length goes through.
    timeJob (state, 2.0 * secondsOf (input),
             [&]
             {
                 output.deleteFile();
                 mergeFiles (input, input, output);
             });

    output.deleteFile();
}
BENCHMARK (merge)->Unit (benchmark::kSecond)->Iterations (1)->UseManualTime();
