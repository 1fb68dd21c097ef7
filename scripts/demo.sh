#!/bin/sh
# demo.sh   from a bare Debian 12 to the engine at work: installs what is missing, builds, and plays
# the demo's story on the built-in simulated device.
set -eu
cd "$(dirname "$0")/.."

scripts/install-deps.sh build
cmake --preset release -B build/demo -DCOREBEACON_BUILD_TESTS=OFF -DCOREBEACON_BUILD_BENCH=OFF
cmake --build build/demo
exec build/demo/tools/corebeacon/corebeacon demo
