# Sourced: builds the examples against an installed tree by its CMake package and by pkg-config, and
# runs them against the simulated instrument.
# try_examples TREE PREFIX WORK

try_examples() {
    local tree=$1 prefix=$2 work=$3 lib program
    lib=$(dirname "$(find "$prefix" -name 'libquorvex.so' | head -n 1)")
    cmake -S "$tree/examples" -B "$work/examples" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >"$work/log" 2>&1 &&
        cmake --build "$work/examples" >>"$work/log" 2>&1 || { cat "$work/log"; return 1; }
    grep -q "quorvex_DIR:PATH=$prefix" "$work/examples/CMakeCache.txt" || { echo "another quorvex was found"; return 1; }

    mkdir -p "$work/data"
    cp -r "$prefix/share/quorvex/samples/simulated/ZVK640" "$work/data/"
    export ZVK_COMMON_APPDATA=$work/data LD_LIBRARY_PATH=$lib
    for program in "$work"/examples/example_*; do
        [ -x "$program" ] && [ -f "$program" ] || continue
        echo "== $(basename "$program")"
        "$program" || return 1
    done

    export PKG_CONFIG_PATH=$lib/pkgconfig
    # shellcheck disable=SC2046
    cc -std=c11 -Wall -Werror "$tree/examples/hold_traps.c" -o "$work/by_pkg_config" \
        $(pkg-config --cflags --libs quorvex) || return 1
    echo "== by pkg-config"
    "$work/by_pkg_config"
}
