// The FLAC, Ogg Vorbis and MP3 convertors against the command-line encoders of the same
// libraries, on one ten-minute stereo 44.1 kHz WAV file. Run through bench/convertors.sh, which gives the
// program a virtual display and a home folder of its own and prints the figures side by side.
#include "BenchSupport.h"
#include "encoding/Convertor.h"
#include "project/Project.h"
#include "project/Track.h"

#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <functional>

namespace
{
constexpr double sampleRate = 44100.0;
constexpr int seconds = 600;

/** A folder of the benchmark's own, with the ten-minute source in it. */
struct BenchFiles
{
    BenchFiles()
    {
        // Never the user's home: the project's settings are written below it.
        folder = benchsupport::benchFolder();
        source = folder.getChildFile ("ten minutes.wav");
        if (! source.existsAsFile())
            writeSource();
    }

    /** Music-like sound: a few drifting tones with a beat and a little noise. */
    void writeSource() const
    {
        juce::WavAudioFormat wav;
        std::unique_ptr<juce::AudioFormatWriter> writer (
            wav.createWriterFor (source.createOutputStream().release(), sampleRate, 2, 16, {}, 0));
        jassert (writer != nullptr);

        juce::Random random (1234);
        const int block = 44100;
        juce::AudioBuffer<float> buffer (2, block);
        for (int start = 0; start < seconds * (int) sampleRate; start += block)
        {
            for (int c = 0; c < 2; ++c)
            {
                auto* samples = buffer.getWritePointer (c);
                for (int i = 0; i < block; ++i)
                {
                    const double t = (start + i) / sampleRate;
                    const double beat = 0.6 + 0.4 * std::sin (2.0 * juce::MathConstants<double>::pi * 2.0 * t);
                    double value = 0.0;
                    for (int k = 1; k <= 4; ++k)
                        value += std::sin (2.0 * juce::MathConstants<double>::pi *
                                           (110.0 * k * (1.0 + 0.01 * c) + 3.0 * std::sin (0.1 * t)) * t) /
                                 k;
                    samples[i] = (float) (0.25 * beat * value + 0.01 * (random.nextFloat() - 0.5f));
                }
            }
            writer->writeFromAudioSampleBuffer (buffer, 0, block);
        }
    }

    juce::File folder;
    juce::File source;
};

BenchFiles& files()
{
    static BenchFiles benchFiles;
    return benchFiles;
}

void report (benchmark::State& state, const juce::File& output)
{
    state.counters["output_bytes"] = (double) output.getSize();
    state.counters["audio_seconds"] = seconds;
}

void ours (benchmark::State& state, int format, const std::function<void (Project&)>& configure = {})
{
    if (! benchsupport::haveDisplay (state, "bench/convertors.sh"))
        return;

    auto& bench = files();
    benchsupport::runAsApplication();
    // The message thread and the progress windows, for this run alone: JUCE must be shut down
    // before the process ends.
    const juce::ScopedJuceInitialiser_GUI gui;
    Project project;
    if (configure)
        configure (project);
    const auto output = bench.folder.getChildFile ("ours" + Convertor::extensionForFormat (format));

    for (auto _ : state)
    {
        const auto convertor = Convertor::forFormat (format);
        if (! convertor->convert (bench.source.getFullPathName(), output.getFullPathName(), &project))
            state.SkipWithError ("the convertor failed");
    }

    report (state, output);
}

/** How a command line names its output: with -o before the input, or after the input. */
enum class OutputNamed
{
    byOption,
    afterInput
};

void commandLine (benchmark::State& state, const juce::String& extension, const juce::StringArray& options,
                  OutputNamed outputNamed = OutputNamed::byOption)
{
    auto& bench = files();
    const auto output = bench.folder.getChildFile ("tool" + extension);

    for (auto _ : state)
    {
        output.deleteFile();
        juce::StringArray arguments (options);
        if (outputNamed == OutputNamed::byOption)
            arguments.addArray ({ "-o", output.getFullPathName(), bench.source.getFullPathName() });
        else
            arguments.addArray ({ bench.source.getFullPathName(), output.getFullPathName() });

        juce::ChildProcess process;
        if (! process.start (arguments, 0) || ! process.waitForProcessToFinish (-1) || process.getExitCode() != 0)
            state.SkipWithError (("could not run " + options[0]).toRawUTF8());
    }

    report (state, output);
}

void flacConvertor (benchmark::State& state)
{
    ours (state, formatFlac);
}

void flacCommandLine (benchmark::State& state)
{
    commandLine (state, ".flac", { "flac", "-5", "-f", "-s" });
}

void oggConvertor (benchmark::State& state)
{
    ours (state, formatOgg);
}

void oggencCommandLine (benchmark::State& state)
{
    commandLine (state, ".ogg", { "oggenc", "-Q", "-q", "5" });
}
/** "2 - recommended", the program's default. */
void mp3VbrConvertor (benchmark::State& state)
{
    ours (state, formatMp3Lame,
          [] (Project& project)
          {
              project.lameLibrary = Project::defaultLameLibrary();
              project.lameVbr = true;
              project.lameQuality = 2;
          });
}

void lameVbrCommandLine (benchmark::State& state)
{
    commandLine (state, ".mp3", { "lame", "--quiet", "-V2" }, OutputNamed::afterInput);
}

/** "192kbps - recommended". */
void mp3CbrConvertor (benchmark::State& state)
{
    ours (state, formatMp3Lame,
          [] (Project& project)
          {
              project.lameLibrary = Project::defaultLameLibrary();
              project.lameVbr = false;
              project.lameQuality = 192;
          });
}

void lameCbrCommandLine (benchmark::State& state)
{
    commandLine (state, ".mp3", { "lame", "--quiet", "-b192" }, OutputNamed::afterInput);
}
} // namespace

BENCHMARK (flacConvertor)->Name ("Encode/flac/ours")->Iterations (1)->UseRealTime()->Unit (benchmark::kMillisecond);
BENCHMARK (flacCommandLine)
    ->Name ("Encode/flac/flac -5")
    ->Iterations (1)
    ->UseRealTime()
    ->Unit (benchmark::kMillisecond);
BENCHMARK (oggConvertor)->Name ("Encode/ogg/ours")->Iterations (1)->UseRealTime()->Unit (benchmark::kMillisecond);
BENCHMARK (oggencCommandLine)
    ->Name ("Encode/ogg/oggenc -q 5")
    ->Iterations (1)
    ->UseRealTime()
    ->Unit (benchmark::kMillisecond);
BENCHMARK (mp3VbrConvertor)->Name ("Encode/mp3-v2/ours")->Iterations (1)->UseRealTime()->Unit (benchmark::kMillisecond);
BENCHMARK (lameVbrCommandLine)
    ->Name ("Encode/mp3-v2/lame -V2")
    ->Iterations (1)
    ->UseRealTime()
    ->Unit (benchmark::kMillisecond);
BENCHMARK (mp3CbrConvertor)
    ->Name ("Encode/mp3-192/ours")
    ->Iterations (1)
    ->UseRealTime()
    ->Unit (benchmark::kMillisecond);
BENCHMARK (lameCbrCommandLine)
    ->Name ("Encode/mp3-192/lame -b192")
    ->Iterations (1)
    ->UseRealTime()
    ->Unit (benchmark::kMillisecond);
