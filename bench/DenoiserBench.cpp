// The per-block cost of the filters of a filter run, one channel of 256 samples at a time, and
// of the transform; the denoiser and the transform in each lane width the processor can run (the
// declicker's recursive filter works one sample at a time in any width).
#include "editing/Declicker.h"
#include "editing/Denoiser.h"
#include "editing/LaneForm.h"
#include "editing/RealFFT.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

namespace
{
std::vector<float> noisyMusic (int length)
{
    std::mt19937 generator (42);
    std::normal_distribution<float> noise (0.0f, 0.05f);
    std::vector<float> signal ((size_t) length);

    for (int i = 0; i < length; ++i)
        signal[(size_t) i] = 0.3f * std::sin ((float) i * 0.0627f) + noise (generator) + (i % 9000 == 0 ? 0.9f : 0.0f);

    return signal;
}

/** False, and the benchmark skipped, where the processor cannot run the form. */
bool formAvailable (benchmark::State& state, LaneForm form)
{
    if (form == LaneForm::eightLanes && ! LaneForms::eightLanesAvailable())
    {
        state.SkipWithError ("the processor has no AVX2");
        return false;
    }

    return true;
}
} // namespace

static void denoiserBlock (benchmark::State& state, LaneForm form)
{
    if (! formAvailable (state, form))
        return;

    const ScopedLaneForm use (form);
    DenoiserState denoiser;
    setupDenoiser (denoiser, 44100.0);
    denoiser.threshold = 0.2f;
    const auto input = noisyMusic (256 * 64);
    float block[256];
    size_t offset = 0;

    for (auto _ : state)
    {
        std::copy (input.begin() + (long) offset, input.begin() + (long) offset + 256, block);
        processDenoiser (denoiser, block);
        benchmark::DoNotOptimize (block);
        offset = (offset + 256) % input.size();
    }

    state.counters["x_realtime"] = benchmark::Counter (256.0 / 44100.0, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK_CAPTURE (denoiserBlock, fourLanes, LaneForm::fourLanes);
BENCHMARK_CAPTURE (denoiserBlock, eightLanes, LaneForm::eightLanes);

static void declickerBlock (benchmark::State& state)
{
    DeclickerState declicker;
    setupDeclicker (declicker, 44100.0);
    declicker.threshold = 1.5f;
    const auto input = noisyMusic (256 * 64);
    float block[256];
    size_t offset = 0;

    for (auto _ : state)
    {
        std::copy (input.begin() + (long) offset, input.begin() + (long) offset + 256, block);
        processDeclicker (declicker, block);
        benchmark::DoNotOptimize (block);
        offset = (offset + 256) % input.size();
    }

    state.counters["x_realtime"] = benchmark::Counter (256.0 / 44100.0, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK (declickerBlock);

static void fftForwardAndInverse (benchmark::State& state, LaneForm form)
{
    if (! formAvailable (state, form))
        return;

    const ScopedLaneForm use (form);
    RealFFT fft (1024);
    auto input = noisyMusic (1024);
    std::vector<float> spectrum (1024), output (1024);

    for (auto _ : state)
    {
        fft.forward (spectrum.data(), input.data());
        fft.inverse (spectrum.data(), output.data());
        benchmark::DoNotOptimize (output.data());
    }
}
BENCHMARK_CAPTURE (fftForwardAndInverse, fourLanes, LaneForm::fourLanes);
BENCHMARK_CAPTURE (fftForwardAndInverse, eightLanes, LaneForm::eightLanes);
