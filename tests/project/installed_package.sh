#!/bin/sh
# installed_package.sh BUILD_DIR EXAMPLES_DIR CXX CC CMAKE LIBDIR   installs the build into a folder
# of its own, moves that folder, and has the examples built and run against it as a user would:
# through the CMake package (shared and static) and through pkg-config.
set -eu
build=$1 examples=$2 cxx=$3 cc=$4 cmake=$5 libdir=$6
work=$build/installed-package
rm -rf "$work"
mkdir -p "$work"

"$cmake" --install "$build" --prefix "$work/first" >"$work/install.log"
# A packager's way must lay down the same files below the prefix that the build was made for.
DESTDIR=$work/stage "$cmake" --install "$build" >>"$work/install.log"
root=$(sed -n 's/^CMAKE_INSTALL_PREFIX:PATH=//p' "$build/CMakeCache.txt")
(cd "$work/first" && find . | sort) >"$work/first.list"
(cd "$work/stage$root" && find . | sort) >"$work/stage.list"
diff "$work/first.list" "$work/stage.list"

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

# The one that is there for certain: a bare machine has no make.
generator=$(sed -n 's/^CMAKE_GENERATOR:INTERNAL=//p' "$build/CMakeCache.txt")
for example in boost boost_c; do
    for library in corebeacon corebeacon_static; do
        name=$example-$library
        "$cmake" -G "$generator" -S "$examples/$example" -B "$work/$name" -DCMAKE_PREFIX_PATH="$prefix" \
            -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_C_COMPILER="$cc" -DCMAKE_COMPILE_WARNING_AS_ERROR=ON \
            -DCOREBEACON_LIBRARY=$library >"$work/$name.log" 2>&1 &&
            "$cmake" --build "$work/$name" >>"$work/$name.log" 2>&1 || {
            cat "$work/$name.log"
            exit 1
        }
        check "$name" "$work/$name/$example"
    done
    readelf -d "$work/$example-corebeacon/$example" | grep -q 'NEEDED.*\[libcorebeacon\.so\.5\]'
done
"$prefix/bin/corebeacon" --version | grep -qx 'corebeacon 5\.1\.0'
for file in man/man1/corebeacon.1 man/man5/corebeacon-script.5 man/man5/corebeacon-board.5 \
    bash-completion/completions/corebeacon zsh/vendor-completions/_corebeacon \
    fish/vendor_completions.d/corebeacon.fish; do
    [ -s "$prefix/share/$file" ] || {
        echo "not installed: share/$file"
        exit 1
    }
done

if ! command -v pkg-config >/dev/null; then
    echo "SKIPPED: no pkg-config on this machine; scripts/install-deps.sh test installs it"
    exit 77
fi
PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
export PKG_CONFIG_PATH
[ "$(pkg-config --modversion corebeacon)" = 5.1.0 ]
# shellcheck disable=SC2046 # one word a flag
"$cxx" -std=c++20 "$examples/boost/boost.cpp" -o "$work/boost" \
    $(pkg-config --cflags --libs corebeacon)
check pkg-config "$work/boost"
# shellcheck disable=SC2046
"$cc" -std=c99 -Wall -Wextra -Wpedantic -Werror "$examples/boost_c/boost_c.c" -o "$work/boost_c" \
    $(pkg-config --cflags --libs corebeacon)
check pkg-config-c "$work/boost_c"
# shellcheck disable=SC2046
"$cc" -std=c99 "$examples/boost_c/boost_c.c" -o "$work/boost_c_static" $(pkg-config --cflags corebeacon) \
    "$prefix/$libdir/libcorebeacon.a" $(pkg-config --static --libs-only-l --libs-only-other corebeacon |
        sed 's/-lcorebeacon//')
check pkg-config-c-static "$work/boost_c_static"
