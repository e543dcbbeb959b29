// One block of the capture callback as a capture runs it: levels, rumble filter, RIAA
// emulation, the preview feed, the dropout count, the hand-over of the block to the side's
// writer, the silence rule, the event and the 16-bit write to the track file. Reported as a share
// of the block's real-time budget at 44100 Hz, with apart the blocks that also sent the buffer to
// the disk with a header that covers it; and the same without the side, for comparison.
#include "capture/Audio.h"
#include "capture/SideWriter.h"
#include "capture/TrackWriter.h"
#include "project/Project.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstdlib>

namespace
{
juce::int64 benchmarkNow = 0;

/** A clock that moves on a millisecond a block, as a device in real time would. */
juce::int64 realTimeClock()
{
    return ++benchmarkNow;
}

constexpr int benchmarkRate = 44100;
} // namespace

static void captureCallbackBlock (benchmark::State& state, bool keepSide)
{
    const int frames = static_cast<int> (state.range (0));

    // Nothing of the user's is touched: settings live in a home of the benchmark's own.
    const auto home = juce::File::createTempFile ("groovesmith-bench-home");
    home.createDirectory();
    setenv ("HOME", home.getFullPathName().toRawUTF8(), 1);
    setenv ("XDG_CONFIG_HOME", home.getChildFile (".config").getFullPathName().toRawUTF8(), 1);

    juce::ScopedJuceInitialiser_GUI juce;
    {
        Project project;
        project.captureFolder = home.getFullPathName();
        project.preamp = false; // the RIAA emulation runs
        project.rumbleOn = true;
        project.threshold = -55; // every block is sound and is written

        AudioCallback::setClock (&realTimeClock);
        Audio::getInstance (&project, nullptr);

        CaptureStatus status;
        status.project = &project;
        status.writeToDisk = true;
        status.minSilenceBlocks = 1 << 30;
        status.stopSilenceBlocks = 1 << 30;

        auto side = keepSide ? std::make_unique<SideWriter> (home, 1, benchmarkRate) : nullptr;
        status.side = side != nullptr && side->isOpen() ? side.get() : nullptr;

        AudioCallback callback (&status, benchmarkRate);
        callback.audioDeviceAboutToStart (nullptr);

        // A second of music-like input to cut the blocks from.
        juce::AudioBuffer<float> source (2, benchmarkRate);
        juce::Random random (1);
        for (int i = 0; i < benchmarkRate; ++i)
        {
            const double t = i / (double) benchmarkRate;
            source.setSample (0, i,
                              (float) (0.3 * std::sin (2 * juce::MathConstants<double>::pi * 440 * t)) +
                                  0.05f * (random.nextFloat() - 0.5f));
            source.setSample (1, i,
                              (float) (0.3 * std::sin (2 * juce::MathConstants<double>::pi * 660 * t)) +
                                  0.05f * (random.nextFloat() - 0.5f));
        }

        juce::AudioBuffer<float> input (2, frames), output (2, frames);
        const float* inputs[2] = { input.getReadPointer (0), input.getReadPointer (1) };
        float* outputs[2] = { output.getWritePointer (0), output.getWritePointer (1) };

        const double budget = frames / (double) benchmarkRate;
        double total = 0, worst = 0, worstAfterFirst = 0, commitTotal = 0, worstCommit = 0;
        std::int64_t blocks = 0, commitBlocks = 0;
        int position = 0;

        for (auto _ : state)
        {
            if (position + frames > benchmarkRate)
                position = 0;
            input.copyFrom (0, 0, source, 0, position, frames);
            input.copyFrom (1, 0, source, 1, position, frames);
            position += frames;

            auto* writer = TrackWriter::getInstance ({}, 0, 0);
            const int waitingBefore = writer != nullptr ? writer->getFramesWaiting() : 0;

            const auto start = std::chrono::steady_clock::now();
            callback.audioDeviceIOCallback (inputs, 2, outputs, 2, frames);
            const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;

            // A block after which less waits than before plus itself sent the buffer to the disk.
            writer = TrackWriter::getInstance ({}, 0, 0);
            if (blocks > 0 && writer != nullptr && writer->getFramesWaiting() < waitingBefore + frames)
            {
                ++commitBlocks;
                commitTotal += elapsed.count();
                worstCommit = std::max (worstCommit, elapsed.count());
            }

            // The blocks come far faster than in real time: the side's writer is let catch up, out
            // of the time measured, as it does between the blocks of a real device.
            if (side != nullptr)
                while (side->getSamplesWaiting() > benchmarkRate)
                    juce::Thread::sleep (1);

            state.SetIterationTime (elapsed.count());
            total += elapsed.count();
            worst = std::max (worst, elapsed.count());
            if (blocks > 0)
                worstAfterFirst = std::max (worstAfterFirst, elapsed.count());
            ++blocks;

            // What the message thread does meanwhile: events delivered, the preview drained.
            if (blocks % 32 == 0)
            {
                project.takeWaveformSamples();
                juce::MessageManager::getInstance()->runDispatchLoopUntil (0);
            }
        }

        state.counters["mean_pct_of_budget"] = 100.0 * total / (double) blocks / budget;
        state.counters["worst_pct_of_budget"] = 100.0 * worst / budget;
        state.counters["worst_after_file_open_pct"] = 100.0 * worstAfterFirst / budget;
        state.counters["disk_blocks_per_1000"] = 1000.0 * (double) commitBlocks / (double) blocks;
        state.counters["disk_block_mean_pct"] =
            commitBlocks > 0 ? 100.0 * commitTotal / (double) commitBlocks / budget : 0.0;
        state.counters["disk_block_worst_pct"] = 100.0 * worstCommit / budget;
        if (side != nullptr)
        {
            side->end();
            state.counters["side_samples_lost"] = (double) side->getSamplesLost();
        }

        Audio::deleteInstance();
        TrackWriter::deleteInstance();
        AudioCallback::setClock (nullptr);
        juce::MessageManager::getInstance()->runDispatchLoopUntil (0);
    }
    home.deleteRecursively();
}
BENCHMARK_CAPTURE (captureCallbackBlock, withSide, true)
    ->Arg (64)
    ->Arg (512)
    ->Arg (2048)
    ->UseManualTime()
    ->Iterations (10000);
BENCHMARK_CAPTURE (captureCallbackBlock, tracksOnly, false)
    ->Arg (64)
    ->Arg (512)
    ->Arg (2048)
    ->UseManualTime()
    ->Iterations (10000);
