#!/bin/bash
# suites.sh DIR BUILD   runs every test program of the arm64 build in BUILD inside the emulated
# machine, on the kernel that run.sh or lab/fetch.sh has put into DIR, tells how each ended, and in
# its last line how many tests of how many programs passed. The guest has the tree and the programs
# under the same names as the host, since tests look for their files there. Sizes are small: the
# guest is some twenty times slower than the host.
set -euo pipefail
dir=$1
build=$(realpath "$2")
here=$(cd "$(dirname "$0")" && pwd)
source=$(cd "$here/../.." && pwd)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
ln -s "$(realpath "$dir")/root" "$work/root"
guest=$work/guest
mkdir -p "$guest/bin" "$guest$source"
(cd "$source" && git ls-files -z | xargs -0 cp --parents -t "$guest$source")

# put_program PROGRAM   without its symbols, under its own name
put_program() {
    mkdir -p "$(dirname "$guest$1")"
    aarch64-linux-gnu-strip -o "$guest$1" "$1"
}
mapfile -t programs < <(find "$build/tests" -name 'corebeacon_*_tests' -type f -executable | sort)
for program in "${programs[@]}" "$build/tools/corebeacon/corebeacon"; do
    put_program "$program"
done
printf '%s\n' "${programs[@]}" >"$guest/programs"

# Tests start the program as the host has to. Here nothing stands between it and its processor.
cat >"$guest/bin/qemu-aarch64-static" <<'EOF'
#!/bin/busybox sh
exec "$@"
EOF
chmod 755 "$guest/bin/qemu-aarch64-static"
cat >"$guest/checks.sh" <<'EOF'
#!/bin/busybox sh
export COREBEACON_MODEL_STEPS=5000 COREBEACON_MODEL_LENGTH=3 COREBEACON_MODEL_SEEDS=20
export COREBEACON_SOAK_REQUESTS=1000 COREBEACON_STORM_SECONDS=1 COREBEACON_STORM_CALLS=500
export COREBEACON_START_STOPS=10
failures=0
suites=0
tests=0
while read -r program; do
    begin=$(date +%s)
    timeout 1200 "$program" --gtest_brief=1 >/tmp/out 2>&1 </dev/null || {
        echo "FAILED $program: $?"
        tail -n 60 /tmp/out
        failures=$((failures + 1))
    }
    passed=$(sed -n 's/^\[  PASSED  \] \([0-9]*\) test.*/\1/p' /tmp/out | tail -n 1)
    suites=$((suites + 1))
    tests=$((tests + ${passed:-0}))
    echo "$(basename "$program"): ${passed:-0} passed, $(($(date +%s) - begin)) s"
done </programs
echo "GUEST COUNT $tests tests of $suites programs"
[ $failures -eq 0 ]
EOF
"$here/lab/device_tree.sh" "$work"
"$here/lab/initramfs.sh" "$work" "$here/guest/init" "$guest/."
MEMORY=2048 "$here/lab/boot.sh" "$work" 5400 | tee "$work/console.log"
grep -q '^GUEST RESULT 0$' "$work/console.log"
sed -n 's/^GUEST COUNT //p' "$work/console.log"
