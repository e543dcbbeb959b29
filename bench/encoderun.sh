#!/usr/bin/env bash
# The encode run of a ten-track, 45-minute album to FLAC (conversion, tags, final names) with the
# program, and the same album made with `flac -5` and tagged with `metaflac`; prints the times side
# by side. The program's run goes as its defaults have it (ReplayGain and the playlist), without
# the album's extras, and with a front cover inside each file; the extras' cost is the first
# against the second. The album's WAV files (about 480 MB) are written once, before the first timing.
# Usage: bench/encoderun.sh [repetitions, default 3]
set -euo pipefail
cd "$(dirname "$0")/.."

repetitions=${1:-3}
. bench/lib.sh
run_benchmarks '^Album/' "$repetitions" flac metaflac

python3 - "$home/results.json" <<'PYTHON'
import json, statistics, sys

runs = {}
for b in json.load(open(sys.argv[1]))["benchmarks"]:
    if b.get("run_type") != "iteration":
        continue
    if b.get("error_occurred"):
        sys.exit(f"{b['run_name']}: {b.get('error_message')}")
    name = b["run_name"].split("/iterations")[0]
    entry = runs.setdefault(name, {"ms": [], "bytes": b["output_bytes"], "audio": b["audio_seconds"]})
    entry["ms"].append(b["real_time"])

tool = "flac -5 + metaflac"
plain = "ours without extras"
print(f"{'who':28} {'median s':>9} {'min s':>7} {'output MB':>10} {'x realtime':>11}")
times = {}
for who in ("ours", plain, "ours with a cover", tool):
    entry = runs[f"Album/flac/{who}"]
    median = statistics.median(entry["ms"]) / 1000.0
    times[who] = median
    print(f"{who:28} {median:9.2f} {min(entry['ms']) / 1000.0:7.2f} "
          f"{entry['bytes'] / 1e6:10.2f} {entry['audio'] / median:11.0f}")
ratio = times["ours"] / times[tool]
verdict = "within" if ratio <= 1.1 else "OVER"
print(f"ours / {tool}: {ratio:.3f} ({verdict} the 1.1 target)")
extras = times["ours"] / times[plain]
verdict = "within" if extras <= 1.05 else "OVER"
print(f"ours / {plain}: {extras:.3f} ({verdict} the 1.05 target for ReplayGain and the playlist)")
PYTHON
