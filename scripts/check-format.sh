#!/usr/bin/env bash
# Tells which files clang-format would change; with --fix it changes them.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(--dry-run --Werror)
[ "${1:-}" = --fix ] && mode=(-i)
git ls-files '*.cpp' '*.h' '*.c' | grep -v '^include/quorvex/status_table.h$' | xargs clang-format "${mode[@]}"
echo "formatting: clean"
