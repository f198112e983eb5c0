#!/usr/bin/env bash
# Runs clang-tidy over the sources, on all cores. Needs a configured dev build.
set -euo pipefail
cd "$(dirname "$0")/.."
[ -f build/dev/compile_commands.json ] || cmake --preset dev
git ls-files 'src/*.cpp' 'virtual/*.cpp' 'apps/*.cpp' 'examples/*.cpp' 'bench/*.cpp' |
    while read -r file; do
        # Benchmarks are not part of the dev build.
        grep -q "$file\"" build/dev/compile_commands.json && echo "$file"
    done |
    xargs -P "$(nproc)" -n 4 clang-tidy -p build/dev --quiet --extra-arg=-Wno-unknown-warning-option \
        --extra-arg=-Wno-ignored-optimization-argument
echo "clang-tidy: clean"
