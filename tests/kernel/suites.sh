#!/bin/bash
# suites.sh DIR PROGRAM...   runs whole test programs, static and for arm64, inside the emulated
# machine whose kernel run.sh has put into DIR, and tells how each ended.
set -euo pipefail
dir=$1
shift
here=$(cd "$(dirname "$0")" && pwd)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
ln -s "$(realpath "$dir")/root" "$work/root"
programs=$work/programs
mkdir "$programs"
for program in "$@"; do
    aarch64-linux-gnu-strip -o "$programs/$(basename "$program")" "$program"
done
cat >"$work/checks.sh" <<'EOF'
#!/bin/busybox sh
failures=0
for program in /corebeacon_*_tests; do
    "$program" --gtest_brief=1 >/tmp/out 2>&1 || {
        failures=$((failures + 1))
        echo "FAILED $program"
        grep -v '^\[' /tmp/out | tail -n 40
    }
    echo "$program: $(grep -c . /tmp/out) lines, $(sed -n 's/^\[  PASSED  \] //p' /tmp/out | tail -n 1)"
done
[ $failures -eq 0 ]
EOF
"$here/lab/device_tree.sh" "$work"
"$here/lab/initramfs.sh" "$work" "$here/guest/init" "$work/checks.sh" "$programs"/*
MEMORY=2048 "$here/lab/boot.sh" "$work" 3600 | tee "$work/console.log"
grep -q '^GUEST RESULT 0$' "$work/console.log"
