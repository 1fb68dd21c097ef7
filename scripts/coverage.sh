#!/bin/bash
# coverage.sh   runs the tests with the branches of src/ counted, tells for each file how many were
# taken and where the others are, and fails when the whole is below the floor.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/quietly.sh

floor_percent=95
build=build/coverage

scripts/install-deps.sh build test

quietly coverage-configure.log cmake --preset coverage
quietly coverage-build.log cmake --build --preset coverage
rm -rf $build/profiles
# A file for each process: the tests of the program start some of their own.
LLVM_PROFILE_FILE=$PWD/$build/profiles/%p.profraw ctest --preset coverage -j "$(nproc)"
llvm-profdata merge --sparse $build/profiles/*.profraw -o $build/tests.profdata

# coverage COMMAND OPTION...   llvm-cov on src/ as all test programs together saw it. Inline functions
# that one of them never calls have no data there, which it finds worth a warning.
mapfile -t programs < <(find $build/tests -name 'corebeacon_*_tests' -type f -executable)
coverage() {
    llvm-cov "$@" --instr-profile=$build/tests.profdata "${programs[0]}" \
        "${programs[@]/#/--object=}" "$PWD/src" 2>build/logs/coverage-llvm-cov.log
}

# Branches that have been taken in one instantiation of a template are taken.
untaken_branches() {
    coverage show --show-branches=count | awk -v root="$PWD/src/" '
        index($0, root) == 1 { file = substr($0, length(root) + 1); sub(/:$/, "", file) }
        /^ +[0-9]+\|/ {
            text = $0
            sub(/^[^|]*\|[^|]*\| */, "", text)
        }
        /Branch \(/ {
            match($0, /[0-9]+:[0-9]+/)
            at = file ":" substr($0, RSTART, RLENGTH)
            if (!(at in source)) order[++count] = at
            source[at] = text
            taken[at, "true"] += $0 !~ /True: 0,/
            taken[at, "false"] += $0 !~ /False: 0\]/
        }
        END {
            for (i = 1; i <= count; ++i) {
                at = order[i]
                if (!taken[at, "true"]) printf "%-45s never true    %s\n", at, source[at]
                if (!taken[at, "false"]) printf "%-45s never false   %s\n", at, source[at]
            }
        }' | sort -V
}

echo "=== branches never taken"
untaken_branches
echo "=== taken of the branches of each file"
coverage report --show-region-summary=false --show-instantiation-summary=false >$build/report.txt
awk '$8 > 0 && $1 ~ /\./ { printf "%-45s %5d of %5d %8s\n", $1, $8 - $9, $8, $10 }' \
    $build/report.txt | sort
awk -v floor=$floor_percent '/^TOTAL/ {
    percent = 100 * ($8 - $9) / $8
    printf "=== %d of %d branches of src/ taken: %.2f %% (at least %d %% are wanted)\n",
        $8 - $9, $8, percent, floor
    exit !(percent >= floor)
}' $build/report.txt
