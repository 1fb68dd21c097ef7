#!/bin/bash
# bench.sh [--long]   builds the release, measures the engine beside the floors and prints the
# tables: callers and workers on one CPU, then on two; what the engine costs at rest; what lines that
# are off cost. The numbers of every run are left in build/bench/*.json. --long adds the boosts of up
# to a minute and a rest of a minute. Run it on a quiet machine.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/quietly.sh

long=()
rest_seconds=10
if [ "${1:-}" = --long ]; then
    long=(--long)
    rest_seconds=60
fi
out=build/bench
mkdir -p "$out"
scripts/install-deps.sh build bench

configure() {
    local name=$1
    shift
    quietly "$name-configure.log" cmake -S . -B "build/$name" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCOREBEACON_BUILD_TESTS=OFF -DCOREBEACON_BUILD_BENCH=ON "$@"
}

measure() {
    local placement=$1 filter=$2
    echo "=== callers and workers on $placement CPU(s)"
    build/bench-release/bench/corebeacon_bench "--placement=$placement" "${long[@]}" \
        "--benchmark_filter=$filter" "--benchmark_out=$out/$placement.json" \
        --benchmark_out_format=json
}

# Instructions for one request and its release: "caller" those of the operations, "worker" those of
# what the worker does with the two commands.
instructions() {
    local requests=2000 collect=() turns=()
    case $2 in
        caller) collect=('ConfigManager::PerfRequest*' 'ConfigManager::PerfRelease*') ;;
        worker) collect=('PerfResource::NormalCommandProcess(*') turns=(in-turn) ;;
    esac
    valgrind --tool=callgrind --callgrind-out-file=/dev/null \
        "${collect[@]/#/--toggle-collect=corebeacon::}" \
        "$1/bench/corebeacon_counted_requests" $requests "${turns[@]}" 2>&1 |
        awk -v n=$requests '/Collected/ { printf "%.1f", $NF / n }'
}

configure bench-release
quietly bench-build.log cmake --build build/bench-release
uptime
measure one .
measure two 'one_qos|scenario|throughput'

echo "=== at rest"
build/bench-release/bench/corebeacon_at_rest engine "$rest_seconds" | tee "$out/rest.txt"
threads=$(awk '/threads/ { print $NF - 1 }' "$out/rest.txt")
echo "with nothing in force:"
build/bench-release/bench/corebeacon_at_rest idle "$rest_seconds"
echo "an empty process with as many threads:"
build/bench-release/bench/corebeacon_at_rest threads 1 "$threads"
cp build/bench-release/src/libcorebeacon.so "$out/stripped.so"
strip "$out/stripped.so"
echo "stripped library: $(stat -c %s "$out/stripped.so") bytes of at most $((600 * 1024))"

if command -v valgrind >/dev/null; then
    echo "=== instructions of a timed request and its release"
    # -iquote comes before every -I, wherever it stands.
    configure bench-without-lines "-DCMAKE_CXX_FLAGS=-iquote$PWD/bench/without_lines"
    quietly bench-without-lines.log \
        cmake --build build/bench-without-lines --target corebeacon_counted_requests
    for side in caller worker; do
        echo "$side, with lines that are off: $(instructions build/bench-release $side)"
        echo "$side, without lines:           $(instructions build/bench-without-lines $side)"
    done
    if command -v python3 >/dev/null; then
        echo "=== what one request and one release need of the caches"
        bench/touched_lines.py build/bench-release/bench/corebeacon_counted_requests \
            'ConfigManager::PerfRequest(' 'ConfigManager::PerfRelease('
    fi
fi
