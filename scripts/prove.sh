#!/bin/bash
# prove.sh [PROOF]...   goes through the proofs of docs/testing.md at their full size (through all of
# them, unless some are named; a proof that failed does not end the run) and ends with a table of
# promise, number reached and time taken. The table is kept in docs/proofs.md, where the rows of
# proofs that are not run now stay as they are: on two cores all of them take a night, or several
# sittings. "+" behind a commit: with changes that were not committed.
set -uo pipefail
cd "$(dirname "$0")/.." || exit
logs=build/logs
report=docs/proofs.md
mkdir -p $logs

# suite PRESET NAME FILTER   runs tests of a program that is built already
suite() {
    local program=build/$1/tests/$2/corebeacon_$2_tests
    # A filter that matches nothing would pass.
    if [ -z "$("$program" --gtest_list_tests --gtest_filter="$3" | grep '^  ')" ]; then
        echo "no test of $program is called $3"
        return 1
    fi
    "$program" --gtest_filter="$3"
}

# suites N   all test programs of the release build, shuffled, N times each. Small: what their own
# size proves has a row of its own. Several at once: they wait more than they compute, and what
# depends on luck shows under load.
suites() {
    local -x COREBEACON_MODEL_STEPS=10000 COREBEACON_MODEL_LENGTH=3 COREBEACON_MODEL_SEEDS=30
    local -x COREBEACON_SOAK_REQUESTS=2000 COREBEACON_STORM_SECONDS=1 COREBEACON_STORM_CALLS=2000
    local -x COREBEACON_START_STOPS=20
    printf '%s\n' build/release/tests/*/*/corebeacon_*_tests build/release/tests/*/corebeacon_*_tests |
        xargs -P 4 -I PROGRAM env PROGRAM --gtest_shuffle --gtest_repeat="$1" --gtest_brief=1
}

# dawdling N   the same with threads that are late at one moment or another
dawdling() {
    local library=$PWD/build/release/tests/races/libcorebeacon_dawdle.so
    # A library that stands in front of nothing would pass.
    nm -D --defined-only "$library" | grep -w pthread_mutex_lock || return
    local -x LD_PRELOAD=$library
    suites "$1"
}

all_presets() {
    local name
    scripts/test.sh || return
    for name in clang clang-asan-ubsan tsan; do
        cmake --preset $name && cmake --build --preset $name && ctest --preset $name || return
    done
}

inside() {
    local lab=build/aarch64/kernel-lab/newest
    [ -d $lab/root ] || { mkdir -p $lab && tests/kernel/lab/fetch.sh $lab newest; } || return
    tests/kernel/suites.sh $lab build/aarch64
}

# A row for each: name | promise | number, "last" being the last line that the command prints |
# command. What needs a build finds that of `presets`.
proofs=(
    "presets | all tests, with both compilers and under every sanitizer | 8 presets | all_presets"
    "repeats | no test depends on its order or on luck | 200 shuffled runs | suites 200"
    "dawdling | nor on which thread is ahead | 3 runs, delays at 1 of 100 locks | dawdling 3"
    "coverage | the tests go everywhere | last | scripts/coverage.sh"
    "group-model | a group is what its model is | 10^7 steps | COREBEACON_MODEL_STEPS=10000000 suite release model 'GroupModel.Random*'"
    "table-model | so are the handle table and the work modes | 10^7 steps | COREBEACON_MODEL_STEPS=10000000 suite release model 'HandleModel.R*:WorkMode*Ra*'"
    "sequences | so is every short sequence | length 5 | COREBEACON_MODEL_LENGTH=5 suite release model '*Model.Every*'"
    "engine-model | so are whole engines | 10^5 scripts | COREBEACON_MODEL_SEEDS=100000 suite release model 'EngineModel.Random*'"
    "faults | every failure at every operation of every kind of node | all | suite release faults '*'"
    "soak | a long life leaves nothing behind | 10^6 steps | COREBEACON_SOAK_REQUESTS=1000000 suite release soak 'Soak*'"
    "storm | nor do 16 callers under clang's thread sanitizer | 60 s | COREBEACON_STORM_SECONDS=60 suite clang-tsan soak 'Storm*'"
    "crowd-clang | nor do 64 callers | 10^6 calls | COREBEACON_STORM_CALLS=1000000 suite clang-tsan races '*Crowd*'"
    "crowd-gcc | nor do they under g++'s | 10^6 calls | COREBEACON_STORM_CALLS=1000000 suite tsan races '*Crowd*'"
    "start-stop | engines start and stop under load | 10^4 times | COREBEACON_START_STOPS=10000 suite release races '*Start*'"
    "reload | the library is loaded and unloaded | 10^3 times | COREBEACON_RELOADS=1000 ctest --preset release -R reload"
    "oom | every allocation fails, once and for ever | all | suite release oom '*'"
    "fuzz-front | any bytes as operations | last | scripts/fuzz.sh front 10000000"
    "fuzz-script | any bytes as a script | last | scripts/fuzz.sh script 10000000"
    "fuzz-board | any bytes as a board | last | scripts/fuzz.sh board 10000000"
    "fuzz-node-text | any bytes in a node | last | scripts/fuzz.sh node_text 10000000"
    "fuzz-level-text | any bytes as a level's text | last | scripts/fuzz.sh level_text 10000000"
    "mutants | a mistake in the engine is noticed | last | scripts/mutants.py --count 300"
    "inside | all tests inside an emulated machine | last | inside"
)

# names_known COMMAND   whether the tests ask for every size that the command sets
names_known() {
    local name
    for name in $(grep -o 'COREBEACON_[A-Z_]*' <<<"$1"); do
        grep -rq "\"$name\"" tests || {
            echo "no test reads $name"
            return 1
        }
    done
}

# prove NAME PROMISE NUMBER COMMAND   prints its row of the table
prove() {
    local name=$1 promise=$2 number=$3 command=$4 log=$logs/prove-$1.log begin=$SECONDS
    if ! { names_known "$command" && eval "$command"; } >"$log" 2>&1; then
        number="FAILED, see $log"
    elif [ "$number" = last ]; then
        number=$(tail -n 1 "$log" | sed 's/^=* *//')
    fi
    echo "| $name | $promise | $number | $((SECONDS - begin)) s | $commit |"
}

# row_of NAME   prints the row that the report has
row_of() {
    [ -f $report ] && grep "^| $1 |" $report
}

# enter NAME ROW   puts a row into the report, which keeps the order of the proofs
enter() {
    local row name
    {
        echo "# The proofs at full size"
        echo
        echo "What \`scripts/prove.sh\` reached, and at which commit; on $(nproc) cores."
        echo
        echo "| proof | promise | reached | time | commit |"
        echo "| --- | --- | --- | --- | --- |"
        for row in "${proofs[@]}"; do
            name=${row%% *}
            if [ "$name" = "$1" ]; then
                echo "$2"
            else
                row_of "$name"
            fi
        done
    } >$report.new
    mv $report.new $report
}

names=("${proofs[@]%% *}")
[ $# -eq 0 ] || names=("$@")
for name in "${names[@]}"; do
    if ! printf '%s\n' "${proofs[@]%% *}" | grep -Fxq -- "$name"; then
        echo "no proof is called $name; there are: ${proofs[*]%% *}"
        exit 2
    fi
done
commit=$(git rev-parse --short HEAD)
git diff --quiet HEAD -- . ":!$report" || commit+=+

failures=0
for row in "${proofs[@]}"; do
    IFS='|' read -r name promise number command <<<"$row"
    read -r name <<<"$name"
    [[ " ${names[*]} " == *" $name "* ]] || continue
    read -r promise <<<"$promise"
    read -r number <<<"$number"
    line=$(prove "$name" "$promise" "$number" "$command")
    echo "$line"
    enter "$name" "$line"
    [[ "$line" != *"| FAILED, see "* ]] || failures=$((failures + 1))
done
[ $failures -eq 0 ]
