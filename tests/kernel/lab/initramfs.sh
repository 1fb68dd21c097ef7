#!/bin/bash
# initramfs.sh DIR FILE...   writes DIR/initramfs: busybox, the drivers that this kernel has as
# modules, and each FILE, or all that is in a folder that is named as FOLDER/., at the root. One of
# the files is init.
set -euo pipefail
dir=$1
shift

tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
mkdir -p "$tree/bin" "$tree/modules"
cp "$dir/root/busybox" "$tree/bin/"
cp -r "$@" "$tree/"
chmod 755 "$tree"/*

# In load order. A kernel may have some of them built in, so a missing file is no error.
drivers=$dir/root/drivers
number=10
for module in cpufreq/cpufreq-dt devfreq/governor_userspace devfreq/governor_simpleondemand \
    devfreq/imx-bus thermal/broadcom/bcm2711_thermal; do
    target=$tree/modules/$number-$(basename "$module").ko
    if [ -f "$drivers/$module.ko" ]; then
        cp "$drivers/$module.ko" "$target"
    elif [ -f "$drivers/$module.ko.xz" ]; then
        xz -dc "$drivers/$module.ko.xz" >"$target"
    fi
    number=$((number + 1))
done
(cd "$tree" && find . | sort | cpio -o -H newc --owner 0:0 --quiet) >"$dir/initramfs"
