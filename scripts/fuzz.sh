#!/bin/bash
# fuzz.sh [TARGET [RUNS]]   feeds TARGET (node_text, level_text, board, script or front; all of them,
# unless one is named) with RUNS inputs, ten million by default, beginning with the kept corpus. What
# leads somewhere new is gathered in build/fuzz/found/TARGET; a finding is named and ends the run.
# fuzz.sh keep TARGET       chooses of the kept corpus and of all that was gathered the inputs that
# together go everywhere, and keeps these; an input that was given a name stays, as it was a finding.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/quietly.sh

all_targets=(node_text level_text board script front)
corpus=tests/fuzz/corpus
found=build/fuzz/found

program() {
    echo "build/fuzz/tests/fuzz/corebeacon_fuzz_$1"
}

# Long inputs are slow and seldom show what no shorter one does; but a description of a board has to
# have some length, and a life of an engine has it from the beginning, as there are not so many.
# Without weighing inputs by how rare their ways are, which takes most of the time of the front. An
# endless loop may take twenty minutes to be one: a run must stand being stopped for a while.
run() {
    local target=$1 runs=$2 options=(-max_len=256)
    [ "$target" = board ] && options=(-max_len=768)
    [ "$target" = front ] && options=(-max_len=96 -len_control=0)
    [ -e "tests/fuzz/$target.dict" ] && options+=("-dict=tests/fuzz/$target.dict")
    mkdir -p "$found/$target"
    "$(program "$target")" -runs="$runs" -entropic=0 -timeout=1200 "${options[@]}" \
        -artifact_prefix="$found/$target-" "$found/$target" "$corpus/$target" \
        >"build/logs/fuzz-$target.log" 2>&1 || {
        tail -n 60 "build/logs/fuzz-$target.log"
        echo "FOUND SOMETHING: $target (all of it: build/logs/fuzz-$target.log)"
        return 1
    }
    grep -E '^#.* DONE|^Done' "build/logs/fuzz-$target.log"
}

# Ways are counted here, but not how often each is gone: of the latter there is no end. Few long
# inputs are better than many short ones, as all of them are kept and played by every test run.
keep() {
    local target=$1 kept=$corpus/$1.new
    mkdir -p "$found/$target" "$corpus/$target" "$kept"
    quietly "fuzz-keep-$target.log" "$(program "$target")" -set_cover_merge=1 -use_counters=0 \
        "$kept" "$corpus/$target" "$found/$target"
    find "$corpus/$target" -type f -regextype egrep ! -regex '.*/[0-9a-f]{40}' \
        -exec mv {} "$kept" \;
    rm -r "${corpus:?}/$target"
    mv "$kept" "$corpus/$target"
    echo "$(find "$corpus/$target" -type f | wc -l) inputs of $target are kept"
}

scripts/install-deps.sh build test
quietly fuzz-configure.log cmake --preset fuzz
quietly fuzz-build.log cmake --build --preset fuzz --target "${all_targets[@]/#/corebeacon_fuzz_}"

if [ "${1:-}" = keep ]; then
    keep "${2:?which target}"
    exit
fi
targets=("${all_targets[@]}")
[ $# -gt 0 ] && targets=("$1")
for target in "${targets[@]}"; do
    echo "=== $target"
    run "$target" "${2:-10000000}"
done
