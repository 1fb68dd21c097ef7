#!/bin/bash
# test.sh [STAGE]...   from a bare Debian 12 to all tests run: installs what is missing, then goes
# through the stages (all of them, unless some are named) and stops at the first that fails.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/quietly.sh

all_stages=(format release asan-ubsan clang-tsan tidy aarch64)
jobs=$(nproc)
sources=(include src tools tests examples bench)

# The tests' own words are always shown. COREBEACON_SUITES=library leaves out, of all builds but the
# first, the tests of what is around the library.
preset() {
    local target=all label=
    if [ "${COREBEACON_SUITES:-all}" = library ] && [ "$1" != release ]; then
        target=corebeacon_library_suites label=library
    fi
    quietly "$1-configure.log" cmake --preset "$1"
    quietly "$1-build.log" cmake --build --preset "$1" --target $target
    # Two more than there are cores, since some tests do little but wait.
    ctest --preset "$1" -j "$((jobs + 2))" ${label:+-L "$label"}
}

format() {
    find "${sources[@]}" -name '*.h' -print0 -o -name '*.cpp' -print0 |
        xargs -0 clang-format --dry-run -Werror
    echo "Every file is formatted as .clang-format says."
}

# Reads the compile commands of a clang build, since it takes the same flags.
tidy() {
    quietly tidy-configure.log cmake --preset clang-tsan
    find src tools -name '*.cpp' -print0 |
        quietly tidy.log xargs -0 -n 1 -P "$jobs" clang-tidy --quiet -p build/clang-tsan
    echo "clang-tidy has nothing to say."
}

run_stage() {
    case $1 in
    format | tidy) "$1" ;;
    *) preset "$1" ;;
    esac
}

stages=("$@")
[ $# -gt 0 ] || stages=("${all_stages[@]}")
scripts/install-deps.sh build test kernel bench

times=()
for stage in "${stages[@]}"; do
    echo "=== $stage"
    begin=$SECONDS
    # Not in an `if` or `||`: either would take the sting out of `set -e` inside the stage.
    run_stage "$stage"
    times+=("$(printf '%4d s  %s' $((SECONDS - begin)) "$stage")")
done
echo "=== all stages passed"
printf '%s\n' "${times[@]}"
