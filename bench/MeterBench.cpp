// The meter timer's level smoothing, called every 22 ms on the message thread.
#include "project/Project.h"

#include <benchmark/benchmark.h>

static void smoothedLevels (benchmark::State& state)
{
    float levels[2] = { 0.5f, 0.25f };
    for (auto _ : state)
    {
        levels[0] = levels[0] > 0.9f ? 0.1f : levels[0] + 0.01f;
        benchmark::DoNotOptimize (Project::smoothedLevels (levels));
    }
}
BENCHMARK (smoothedLevels);
