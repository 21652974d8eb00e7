#!/bin/bash
# Runs the benchmark programs of the release build: every bench_* there, or those that BENCHMARKS names
# ("bench_cells bench_copy"). BENCHMARK_ARGS goes to each, for example --benchmark_filter=Cells. Results:
# build/bench.json, and build/bench-memory.json from bench_memory, which prints its JSON itself.
source "$(dirname "$0")/common.sh"

cd "$SOURCE_DIR"
bin=build/release/bin
export DUCKDB_FLIGHTS="${DUCKDB_FLIGHTS:-$DEPS/data/flights-3m.parquet}"

read -ra programs <<<"${BENCHMARKS:-}"
if [[ ${#programs[@]} -eq 0 ]]; then
    for file in "$bin"/bench_*; do
        [[ ! -x $file ]] || programs+=("$(basename "$file")")
    done
fi
[[ ${#programs[@]} -gt 0 ]] || die "no benchmark program in $bin"
read -ra arguments <<<"${BENCHMARK_ARGS:-}"

results=$(mktemp -d build/bench.XXXXXX)
trap 'rm -rf "$results"' EXIT
for program in "${programs[@]}"; do
    [[ -x $bin/$program ]] || die "no benchmark program $bin/$program"
    say "$program"
    if [[ $program == bench_memory ]]; then
        "$bin/$program" >"$results/memory"
        mv "$results/memory" build/bench-memory.json
        cat build/bench-memory.json
    else
        "$bin/$program" --benchmark_out="$results/$program.json" --benchmark_out_format=json "${arguments[@]}"
    fi
done

if compgen -G "$results/*.json" >/dev/null; then
    python3 scripts/merge_benchmarks.py "$results" build/bench.json
    say "results are in build/bench.json"
fi
