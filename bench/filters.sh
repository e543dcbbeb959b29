#!/usr/bin/env bash
# Times a filter run (declicker, denoiser, normalize), the 45-to-33 resampler, a split and a merge
# on a 20-minute stereo 44.1 kHz side, each as times real time on one core, and sox's noise
# reduction (noiseprof, then noisered) and speed change on the same file for comparison.
# Usage: bench/filters.sh [seconds]   (the build must be there: script/build)
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir=${GROOVESMITH_BUILD_DIR:-build}
seconds=${1:-1200}
core=${BENCH_CORE:-0}
work=$(mktemp -d /tmp/groovesmith-bench-XXXXXX)
trap 'rm -rf "$work"' EXIT
track="$work/side.wav"

echo "Making a ${seconds}-second stereo 44.1 kHz 16-bit side..."
sox -n -r 44100 -b 16 -c 2 "$track" synth "$seconds" pinknoise vol 0.4

now() { date +%s.%N; }
times_real_time() { python3 -c "import sys; print('%.1f' % ($seconds / ($2 - $1)))" "$@"; }

echo
echo "== Groove Smith (one core, under a virtual display for the progress windows)"
GROOVESMITH_BENCH_TRACK="$track" xvfb-run -a taskset -c "$core" "$build_dir/bench/groovesmith_bench" \
    --benchmark_filter='^(filterRun|resampler|split|merge)/' \
    --benchmark_out="$work/bench.json" --benchmark_out_format=json

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
python3 - "$work/bench.json" "$sox_noisered" "$sox_speed" <<'PY'
import json, sys
runs = {b["name"].split("/")[0]: b for b in json.load(open(sys.argv[1]))["benchmarks"]}
sox_noisered, sox_speed = float(sys.argv[2]), float(sys.argv[3])
def line(name, label):
    b = runs[name]
    return "%-34s %8.1f x real time (wall), %8.1f (processor time)" % (label, b["x_realtime"], b["x_realtime_cpu"])
print("== Summary")
print(line("filterRun", "filter run (declick+denoise+norm)"))
print(line("resampler", "resampler 0.74"))
print(line("split", "split in the middle"))
print(line("merge", "merge (the side with itself)"))
f = runs["filterRun"]
print("filter run / sox noisered:         %8.2f" % (f["x_realtime"] / sox_noisered))
print("resampler / sox speed:             %8.2f" % (runs["resampler"]["x_realtime"] / sox_speed))
print("filter run peak memory: %.1f MB (the samples as floats: %.1f MB; %.1f MB before the run)"
      % (f["peak_rss_MB"], f["floats_MB"], f["rss_before_MB"]))
PY
