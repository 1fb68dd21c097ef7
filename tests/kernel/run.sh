#!/bin/bash
# run.sh PROGRAM DIR oldest|newest   boots a real arm64 kernel in an emulator with the aarch64 PROGRAM
# inside, lets it work on the kernel's own nodes and judges what the guest read back. DIR keeps the
# downloaded kernel for the next time. Exits with 77, saying why, when this machine lacks what it takes; with
# COREBEACON_KERNEL_TEST=required in the environment that is a failure.
set -euo pipefail
program=$1
dir=$2
generation=$3
here=$(cd "$(dirname "$0")" && pwd)

skip() {
    echo "SKIPPED: $1"
    if [ "${COREBEACON_KERNEL_TEST:-}" = required ]; then
        echo "FAILED: the kernel test is required here"
        exit 1
    fi
    exit 77
}

for tool in qemu-system-aarch64 dtc cpio xz apt-get dpkg-deb; do
    command -v $tool >/dev/null ||
        skip "no $tool on this machine; scripts/install-deps.sh kernel installs what is missing"
done
mkdir -p "$dir"
if [ ! -d "$dir/root" ] && ! "$here/lab/fetch.sh" "$dir" "$generation" >"$dir/fetch.log" 2>&1; then
    tail -n 20 "$dir/fetch.log"
    skip "the packages of an arm64 kernel and of busybox cannot be fetched"
fi

"$here/lab/device_tree.sh" "$dir"
"$here/lab/initramfs.sh" "$dir" "$here"/guest/* "$program"
"$here/lab/boot.sh" "$dir" 420 | tee "$dir/console.log"
grep -q '^GUEST RESULT 0$' "$dir/console.log"
