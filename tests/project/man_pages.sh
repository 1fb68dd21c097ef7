#!/bin/sh
# man_pages.sh PAGE...   has mandoc look for mistakes in man pages.
set -eu

if ! command -v mandoc >/dev/null; then
    echo "SKIPPED: no mandoc on this machine; scripts/install-deps.sh test installs it"
    exit 77
fi
mandoc -T lint "$@"
echo "$# man pages without mistakes"
