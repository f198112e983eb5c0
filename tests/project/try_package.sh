#!/usr/bin/env bash
# try_package.sh TREE BUILD: makes the Debian package, unpacks it into an empty folder and builds the
# examples against it.
set -euo pipefail
. "$(dirname "$0")/try_examples.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(cd "$work" && cpack --config "$2/CPackConfig.cmake" -B "$work/cpack" >"$work/log" 2>&1) || { cat "$work/log"; exit 1; }
package=$(find "$work/cpack" -maxdepth 1 -name '*.deb')
dpkg-deb --info "$package"
dpkg-deb --info "$package" | grep 'Depends:.*libc6' >/dev/null || { echo "the package names no dependencies"; exit 1; }
dpkg-deb -x "$package" "$work/root"
try_examples "$1" "$work/root/usr" "$work"
