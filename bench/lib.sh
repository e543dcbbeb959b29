# What the benchmark scripts share; sourced, not run. run_benchmarks FILTER REPETITIONS TOOL...
# builds the benchmarks, checks that the tools are there, and runs the benchmarks that match
# FILTER under a virtual display, in a home of their own that goes when the script ends. The
# results are left in "$home/results.json".
run_benchmarks()
{
    local filter=$1 repetitions=$2
    shift 2
    local build_dir=${GROOVESMITH_BUILD_DIR:-build}
    script/build --target groovesmith_bench >/dev/null

    for tool in "$@" xvfb-run python3; do
        command -v "$tool" >/dev/null || { echo "missing: $tool (run script/setup)" >&2; exit 1; }
    done

    home=$(mktemp -d /tmp/groovesmith-bench-XXXXXX)
    trap 'rm -rf "$home"' EXIT
    export HOME="$home" XDG_CONFIG_HOME="$home/.config" GROOVESMITH_BENCH_HOME="$home"

    xvfb-run --auto-servernum "$build_dir/bench/groovesmith_bench" \
        --benchmark_filter="$filter" \
        --benchmark_repetitions="$repetitions" \
        --benchmark_enable_random_interleaving=true \
        --benchmark_out="$home/results.json" --benchmark_out_format=json >"$home/console.txt" 2>&1 \
        || { cat "$home/console.txt"; exit 1; }
}
