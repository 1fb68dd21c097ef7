#!/bin/sh
# installed_package.sh BUILD_DIR EXAMPLE_DIR CXX CMAKE LIBDIR   installs the build into a folder of its
# own, moves that folder, and has the example built and run against it as a user would: through the
# CMake package (shared and static) and through pkg-config.
set -eu
build=$1 example=$2 cxx=$3 cmake=$4 libdir=$5
work=$build/installed-package
rm -rf "$work"
mkdir -p "$work"

"$cmake" --install "$build" --prefix "$work/first" >"$work/install.log"
# Nothing installed may know where it was first laid.
mv "$work/first" "$work/prefix"
prefix=$work/prefix

# check NAME PROGRAM   the example must have had its floor written
check() {
    LD_LIBRARY_PATH=$prefix/$libdir "$2" >"$work/$1.out" || {
        echo "$1: exit code $?"
        exit 1
    }
    grep -qx '/sys/devices/system/cpu/cpufreq/policy2/scaling_min_freq <- 2000000' \
        "$work/$1.out" || {
        echo "$1: the floor was not written; all output:"
        cat "$work/$1.out"
        exit 1
    }
    echo "$1: ok"
}

for library in corebeacon corebeacon_static; do
    "$cmake" -S "$example" -B "$work/$library" -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_CXX_COMPILER="$cxx" -DCOREBEACON_LIBRARY=$library >"$work/$library.log"
    "$cmake" --build "$work/$library" >>"$work/$library.log"
    check "$library" "$work/$library/boost"
done
readelf -d "$work/corebeacon/boost" | grep -q 'NEEDED.*\[libcorebeacon\.so\.5\]'
"$prefix/bin/corebeacon" --version | grep -qx 'corebeacon 5\.1\.0'

if ! command -v pkg-config >/dev/null; then
    echo "SKIPPED: no pkg-config on this machine; scripts/install-deps.sh test installs it"
    exit 77
fi
PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
export PKG_CONFIG_PATH
[ "$(pkg-config --modversion corebeacon)" = 5.1.0 ]
# shellcheck disable=SC2046 # one word a flag
"$cxx" -std=c++20 "$example/boost.cpp" -o "$work/boost" $(pkg-config --cflags --libs corebeacon)
check pkg-config "$work/boost"
