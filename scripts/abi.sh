#!/bin/bash
# abi.sh check [LIBRARY]   compares the library's binary interface with the one that was promised:
# what was added passes, what was taken away or changed fails.
# abi.sh renew [LIBRARY]   promises the interface that the library has now.
# LIBRARY is the one of the release preset unless told; it has to have the debug information that a
# release build with tests puts into it.
set -euo pipefail
cd "$(dirname "$0")/.."

action=${1:-check}
library=${2:-build/release/src/libcorebeacon.so.5}
baseline=abi/libcorebeacon.so.5.abi
headers=include/corebeacon

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A class is exported as a whole, also what nobody but the library can call. That may come and go.
private_operations() {
    awk '/^private:/ { inside = 1 } /^};/ { inside = 0 }
         inside && match($0, /[A-Za-z]+\(/) { print substr($0, RSTART, RLENGTH - 1) }' \
        "$headers/config_manager.h" | sort -u | paste -sd '|'
}
cat >"$work/private.suppr" <<EOF
[suppress_function]
  name_regexp = ^corebeacon::ConfigManager::($(private_operations))\$
EOF

case $action in
check)
    abidiff --suppressions "$work/private.suppr" --no-added-syms --fail-no-debug-info \
        "$baseline" "$library" && echo "The binary interface is the promised one."
    ;;
renew)
    mkdir -p "$(dirname "$baseline")"
    # What the public headers do not define may change behind them.
    abidw --suppressions "$work/private.suppr" --headers-dir "$headers" --drop-private-types \
        --exported-interfaces-only \
        --no-show-locs --no-corpus-path --no-comp-dir-path --type-id-style hash --out-file "$baseline" "$library"
    ;;
*)
    echo "abi.sh: check or renew, not $action" >&2
    exit 2
    ;;
esac
