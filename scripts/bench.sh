#!/usr/bin/env bash
# Builds the release preset and runs all benchmarks.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset release
cmake --build --preset release
for program in build/release/bin/*_bench; do
    echo "== $(basename "$program")"
    "$program" --benchmark_counters_tabular=true "$@"
done
