# shellcheck shell=bash
# Sourced by the scripts that build, from the root of the clone.

# quietly LOG COMMAND...   what a tool says is read only when it fails.
quietly() {
    local log=$1
    shift
    mkdir -p build/logs
    if ! "$@" >"build/logs/$log" 2>&1; then
        tail -n 100 "build/logs/$log"
        echo "FAILED: $* (all of it: build/logs/$log)"
        return 1
    fi
}
