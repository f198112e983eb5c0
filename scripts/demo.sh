#!/usr/bin/env bash
# Installs what is missing, builds, and runs the demo: a few seconds of a real session, its pictures and a video.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-dependencies.sh
echo "Building..."
cmake --preset dev >build-demo.log 2>&1 && cmake --build --preset dev --target quorvex-demo quorvex-virtual-daq quorvex-virtual-detector >>build-demo.log 2>&1 || {
    cat build-demo.log >&2
    echo "The build failed: the lines above tell why." >&2
    exit 1
}
rm -f build-demo.log
exec build/dev/bin/quorvex-demo samples build/dev/lib/libquorvex-virtual-daq.so "${1:-build/demo}"
