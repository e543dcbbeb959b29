#!/usr/bin/env bash
# Times a filter run (declicker, denoiser, normalize) on a 20-minute stereo 44.1 kHz side, on one
# thread pinned to one core and on two threads over two cores, then the 45-to-33 resampler, a split
# and a merge on one core, each as times real time, and sox's noise reduction (noiseprof, then
# noisered) and speed change on the same file and core for comparison.
# Usage: bench/filters.sh [seconds]   (the build must be there: script/build)
# BENCH_CORE picks the one core (default 0), BENCH_CORES the two (default 0,1).
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir=${GROOVESMITH_BUILD_DIR:-build}
seconds=${1:-1200}
core=${BENCH_CORE:-0}
cores=${BENCH_CORES:-0,1}
work=$(mktemp -d /tmp/groovesmith-bench-XXXXXX)
trap 'rm -rf "$work"' EXIT
track="$work/side.wav"

echo "Making a ${seconds}-second stereo 44.1 kHz 16-bit side..."
sox -n -r 44100 -b 16 -c 2 "$track" synth "$seconds" pinknoise vol 0.4

now() { date +%s.%N; }
times_real_time() { python3 -c "import sys; print('%.1f' % ($seconds / ($2 - $1)))" "$@"; }

echo
echo "== Groove Smith on one core (under a virtual display for the progress windows)"
GROOVESMITH_BENCH_TRACK="$track" xvfb-run -a taskset -c "$core" "$build_dir/bench/groovesmith_bench" \
    --benchmark_filter='^(filterRun/oneThread|resampler|split|merge)/' \
    --benchmark_out="$work/one.json" --benchmark_out_format=json

echo
echo "== Groove Smith's filter run on two cores ($cores)"
GROOVESMITH_BENCH_TRACK="$track" xvfb-run -a taskset -c "$cores" "$build_dir/bench/groovesmith_bench" \
    --benchmark_filter='^filterRun/twoThreads' \
    --benchmark_out="$work/two.json" --benchmark_out_format=json

echo
echo "== sox on the same file (same core)"
start=$(now)
taskset -c "$core" sox "$track" -n trim 0 1 noiseprof "$work/noise.prof"
taskset -c "$core" sox "$track" "$work/noisered.wav" noisered "$work/noise.prof" 0.21
end=$(now)
sox_noisered=$(times_real_time "$start" "$end")
echo "sox noiseprof + noisered: ${sox_noisered} x real time"

start=$(now)
taskset -c "$core" sox "$track" "$work/speed.wav" speed 0.74
end=$(now)
sox_speed=$(times_real_time "$start" "$end")
echo "sox speed 0.74:           ${sox_speed} x real time"

echo
python3 - "$work/one.json" "$work/two.json" "$sox_noisered" "$sox_speed" <<'PY'
import json, sys
runs = {}
for path in sys.argv[1:3]:
    for b in json.load(open(path))["benchmarks"]:
        name = b["name"].split("/")
        runs[name[0] if name[0] != "filterRun" else "/".join(name[:2])] = b
sox_noisered, sox_speed = float(sys.argv[3]), float(sys.argv[4])
def line(name, label):
    b = runs[name]
    return "%-40s %8.1f x real time (wall), %8.1f (processor time)" % (label, b["x_realtime"], b["x_realtime_cpu"])
one, two = runs["filterRun/oneThread"], runs["filterRun/twoThreads"]
print("== Summary")
print(line("filterRun/oneThread", "filter run, one thread on one core"))
print(line("filterRun/twoThreads", "filter run, two threads on two cores"))
print("%-40s %8.1f x real time (wall)" % ("sox noiseprof + noisered, one core", sox_noisered))
print(line("resampler", "resampler 0.74"))
print(line("split", "split in the middle"))
print(line("merge", "merge (the side with itself)"))
print("filter run on two cores / sox noisered: %8.2f" % (two["x_realtime"] / sox_noisered))
print("filter run on one core / sox noisered:  %8.2f" % (one["x_realtime"] / sox_noisered))
print("two cores / one core:                   %8.2f" % (two["x_realtime"] / one["x_realtime"]))
print("resampler / sox speed:                  %8.2f" % (runs["resampler"]["x_realtime"] / sox_speed))
for label, b in (("one core", one), ("two cores", two)):
    print("filter run peak memory, %-9s %.1f MB (the samples as floats: %.1f MB; %.1f MB before the run)"
          % (label + ":", b["peak_rss_MB"], b["floats_MB"], b["rss_before_MB"]))
PY
