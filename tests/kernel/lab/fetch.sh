#!/bin/bash
# fetch.sh DIR   puts Debian's newest arm64 kernel, the modules that the lab loads and a static
# busybox into DIR. Works with a package state of its own inside DIR: neither the system's
# architectures nor its package lists are touched, and no root is needed.
set -euo pipefail
dir=$1
packages=$dir/packages
mkdir -p "$packages/lists/partial" "$packages/cache/archives/partial"

options=(-o APT::Architecture=arm64 -o APT::Architectures::=arm64
    -o Dir::State::lists="$packages/lists" -o Dir::Cache="$packages/cache"
    -o Dir::State::status=/dev/null -o APT::Sandbox::User=root)

apt-get "${options[@]}" -q update
image=$(apt-cache "${options[@]}" depends linux-image-arm64 |
    sed -n 's/.*Depends: \(linux-image-[^ ]*\)$/\1/p' | head -n 1)
(cd "$packages" && apt-get "${options[@]}" -q download "$image" busybox-static)

# unpack PACKAGE PATTERN...
unpack() {
    local package=$1
    shift
    dpkg-deb --fsys-tarfile "$packages/$package"_*_arm64.deb |
        tar -x -C "$dir/root.part" --wildcards "$@"
}
rm -rf "$dir/root.part" "$dir/root"
mkdir "$dir/root.part"
unpack "$image" './boot/vmlinuz-*' './lib/modules/*/kernel/drivers/cpufreq/*' \
    './lib/modules/*/kernel/drivers/devfreq/*' './lib/modules/*/kernel/drivers/thermal/*'
unpack busybox-static ./bin/busybox
rm -rf "$packages"
# Under its final name only when it is whole.
mv "$dir/root.part" "$dir/root"
