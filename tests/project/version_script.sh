#!/bin/bash
# version_script.sh NM LIBRARY   whether the probe exports what bears the engine's name, and nothing
# that only mentions it.
set -euo pipefail

diff <("$1" --dynamic --defined-only --demangle --format=posix "$2" | sed 's/ [A-Z] .*//' | sort -u) - <<'END'
corebeacon::Function()
corebeacon::Promised::Get() const
corebeacon::Promised::~Promised()
corebeacon_probe
typeinfo for corebeacon::Promised
typeinfo name for corebeacon::Promised
vtable for corebeacon::Promised
END
