#!/usr/bin/env bash
# Installs what is missing, builds everything and runs all tests. PRESET=asan or PRESET=tsan runs them in
# a sanitizer build.
set -euo pipefail
cd "$(dirname "$0")/.."

preset=${PRESET:-dev}
scripts/install-dependencies.sh
cmake --preset "$preset"
cmake --build --preset "$preset"
ctest --preset "$preset" -j "$(nproc)" "$@"
