#!/usr/bin/env bash
# try_install.sh TREE BUILD: installs the build into an empty folder and builds the examples against it.
set -euo pipefail
. "$(dirname "$0")/try_examples.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$2" --prefix "$work/prefix" >"$work/log" || { cat "$work/log"; exit 1; }
try_examples "$1" "$work/prefix" "$work"
