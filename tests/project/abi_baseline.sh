#!/bin/sh
# abi_baseline.sh BUILD_TYPE COMPILER PROCESSOR SCRIPTS_DIR LIBRARY   has scripts/abi.sh compare the
# library with the promised binary interface, where a comparison means something: the promise was
# written down for one compiler and processor, and only a release build has the debug information.
set -eu

if [ "$1 $2 $3" != "Release GNU x86_64" ]; then
    echo "SKIPPED: the promise is that of a release build by g++ on x86_64, not of $1, $2, $3"
    exit 77
fi
if ! command -v abidiff >/dev/null; then
    echo "SKIPPED: no abidiff on this machine; scripts/install-deps.sh test installs it"
    exit 77
fi
exec "$4/abi.sh" check "$5"
