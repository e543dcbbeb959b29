#!/usr/bin/env bash
# Converts a ten-minute stereo 44.1 kHz WAV file to FLAC, Ogg Vorbis and MP3 (VBR level 2 and
# 192 kbit/s) with the program's convertors and with `flac -5`, `oggenc -q 5`, `lame -V2` and
# `lame -b192`, and prints times and sizes side by side.
# Usage: bench/convertors.sh [repetitions, default 5] [formats, a pattern such as 'mp3', default all]
set -euo pipefail
cd "$(dirname "$0")/.."

repetitions=${1:-5}
formats=${2:-.*}
. bench/lib.sh
run_benchmarks "^Encode/($formats)" "$repetitions" flac oggenc lame

python3 - "$home/results.json" <<'PYTHON'
import json, statistics, sys

runs = {}
for b in json.load(open(sys.argv[1]))["benchmarks"]:
    if b.get("run_type") != "iteration" or b.get("error_occurred"):
        continue
    name = b["run_name"].split("/iterations")[0]
    entry = runs.setdefault(name, {"ms": [], "bytes": b["output_bytes"]})
    entry["ms"].append(b["real_time"])

print(f"{'format':7} {'encoder':14} {'median s':>9} {'min s':>7} {'output MB':>10} {'x realtime':>11}")
for fmt, tool in (("flac", "flac -5"), ("ogg", "oggenc -q 5"), ("mp3-v2", "lame -V2"), ("mp3-192", "lame -b192")):
    if f"Encode/{fmt}/ours" not in runs:
        continue
    times = {}
    for who in ("ours", tool):
        entry = runs[f"Encode/{fmt}/{who}"]
        median = statistics.median(entry["ms"]) / 1000.0
        times[who] = median
        print(f"{fmt:7} {who:14} {median:9.2f} {min(entry['ms']) / 1000.0:7.2f} "
              f"{entry['bytes'] / 1e6:10.2f} {600.0 / median:11.0f}")
    ratio = times["ours"] / times[tool]
    verdict = "within" if ratio <= 1.1 else "OVER"
    print(f"{fmt:7} ours / {tool}: {ratio:.3f} ({verdict} the 1.1 target)")
PYTHON
