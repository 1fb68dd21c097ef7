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

# Prints a line for each way out of a branch: where, 1 if it was ever taken, which way, and the source.
# One that was taken in one instantiation of a template, or in one program, is taken; llvm-cov's own
# sums go by one of them. Branches that the compiler folds are none.
ways_out() {
    coverage show --show-branches=count | awk -v root="$PWD/src/" -v OFS='\t' '
        index($0, root) == 1 { file = substr($0, length(root) + 1); sub(/:$/, "", file) }
        /^ +[0-9]+\|/ {
            text = $0
            sub(/^[^|]*\|[^|]*\| */, "", text)
        }
        /Branch \(/ && !/Folded/ {
            match($0, /[0-9]+:[0-9]+/)
            at = file ":" substr($0, RSTART, RLENGTH)
            if (!(at in source)) source[at] = text
            taken[at, "true"] += $0 !~ /True: 0,/
            taken[at, "false"] += $0 !~ /False: 0\]/
        }
        END {
            for (at in source) {
                print at, (taken[at, "true"] > 0), "true", source[at]
                print at, (taken[at, "false"] > 0), "false", source[at]
            }
        }' | sort -V
}

ways_out >$build/ways.txt
echo "=== branches never taken"
awk -F '\t' '!$2 { printf "%-45s never %-8s%s\n", $1, $3, $4 }' $build/ways.txt
echo "=== taken of the branches of each file"
awk -F '[:\t]' '
    { all[$1]++; taken[$1] += $4 }
    END {
        for (file in all) {
            percent = 100 * taken[file] / all[file]
            printf "%-45s %5d of %5d %7.2f%%\n", file, taken[file], all[file], percent
        }
    }' $build/ways.txt | sort
awk -F '\t' -v floor=$floor_percent '
    { taken += $2 }
    END {
        percent = NR ? 100 * taken / NR : 0
        printf "=== %d of %d branches of src/ taken: %.2f %% (at least %d %% are wanted)\n",
            taken, NR, percent, floor
        exit !(percent >= floor)
    }' $build/ways.txt
