#!/usr/bin/env bash
# Runs a million mutated texts through each fuzz test, under the address and undefined behaviour sanitizers.
# ZVK_FUZZ_ROUNDS sets another number, ZVK_FUZZ_SEED another sequence.
set -euo pipefail
cd "$(dirname "$0")/.."
export ZVK_FUZZ_ROUNDS=${ZVK_FUZZ_ROUNDS:-1000000}
export ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1
cmake --preset asan
targets=(tests/fuzz/*_test.cpp)
targets=("${targets[@]#tests/}")
targets=("${targets[@]%_test.cpp}")
targets=("${targets[@]//\//.}")
cmake --build --preset asan --target "${targets[@]}"
for target in "${targets[@]}"; do
    "build/asan/bin/$target"
done
