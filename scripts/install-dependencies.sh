#!/usr/bin/env bash
# Installs the Debian packages that building and testing need. Does nothing when all are there.
set -euo pipefail

packages=(
    g++ cmake ninja-build ccache pkg-config
    libgtest-dev libbenchmark-dev
    libeigen3-dev libserialport-dev libfftw3-dev libcairo2-dev fonts-dejavu-core
    libopencv-core-dev libopencv-imgproc-dev libopencv-imgcodecs-dev libopencv-videoio-dev
    libx11-dev libxext-dev libxtst-dev xvfb chromium
    clang-format clang-tidy python3 git dpkg-dev
)

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

if ! command -v apt-get >/dev/null; then
    echo "This machine has no apt-get: please install what these packages hold: ${missing[*]}" >&2
    exit 1
fi

as_root=(env DEBIAN_FRONTEND=noninteractive)
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Installing needs an administrator: please run as root: apt-get install ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo env DEBIAN_FRONTEND=noninteractive)
fi

echo "Installing ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
install_missing()
{
    "${as_root[@]}" apt-get update && "${as_root[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
}
if ! install_missing >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    echo "The packages ${missing[*]} could not be installed; the lines above tell why." >&2
    exit 1
fi
