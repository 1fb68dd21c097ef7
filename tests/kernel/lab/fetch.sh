#!/bin/bash
# fetch.sh DIR oldest|newest   puts an arm64 kernel, the modules that the lab loads and a static
# busybox into DIR: of all suites that this machine's package registry serves, the one with the
# oldest or the newest kernel. Works with a package state of its own inside DIR: neither the
# system's architectures nor its package lists are touched, and no root is needed.
set -euo pipefail
dir=$1
generation=$2
packages=$dir/packages
mkdir -p "$packages/lists/partial" "$packages/cache/archives/partial"

# The main archive as this machine's own sources name it, with every suite that may be there.
archive=$(apt-get indextargets --format '$(REPO_URI) $(SUITE)' 'Created-By: Packages' |
    sed -n 's/ [a-z]*stable$//p' | head -n 1)
keyring=/usr/share/keyrings/debian-archive-keyring.gpg
for suite in oldoldstable oldstable stable testing unstable; do
    echo "deb [signed-by=$keyring] $archive $suite main"
done >"$packages/sources.list"

options=(-o APT::Architecture=arm64 -o APT::Architectures::=arm64
    -o Dir::Etc::sourcelist="$(realpath "$packages")/sources.list" -o Dir::Etc::sourceparts=/dev/null
    -o Dir::State::lists="$packages/lists" -o Dir::Cache="$packages/cache"
    -o Dir::State::status=/dev/null -o APT::Sandbox::User=root)

# An archive need not have all of these suites; those that it has are enough.
apt-get "${options[@]}" -q update || true
version=$(apt-cache "${options[@]}" madison linux-image-arm64 | awk '{ print $3 }' | sort -Vu |
    if [ "$generation" = oldest ]; then head -n 1; else tail -n 1; fi)

# depends PATTERN PACKAGE   the names among its dependencies that match
depends() {
    apt-cache "${options[@]}" show "$2" | sed -n 's/^Depends://p' | tr ',|' '\n\n' |
        sed -n "s/^ *\($1\)\( .*\)\{0,1\}$/\1/p" | sort -u
}
image=$(depends 'linux-image-[^ ]*' "linux-image-arm64=$version")
# Of late the image is empty and depends on what was in it.
parts=$(depends 'linux-binary-[^ ]*' "$image"
    depends 'linux-modules-[^ ]*' "$image")
# shellcheck disable=SC2086
(cd "$packages" && apt-get "${options[@]}" -q download $image $parts busybox-static)

rm -rf "$dir/root.part" "$dir/root"
mkdir "$dir/root.part"
for package in "$packages"/*.deb; do
    dpkg-deb --fsys-tarfile "$package" >"$packages/files.tar"
    # Not every package has files for each pattern.
    tar -x -C "$dir/root.part" --wildcards -f "$packages/files.tar" '*/vmlinuz*' \
        '*/kernel/drivers/cpufreq/*' '*/kernel/drivers/devfreq/*' '*/kernel/drivers/thermal/*' \
        '*/bin/busybox' 2>/dev/null || true
done
rm -rf "$packages"
# One layout, wherever a package of this age has its files.
mv "$(find "$dir/root.part" -name 'vmlinuz*' -type f)" "$dir/root.part/vmlinuz"
mv "$(find "$dir/root.part" -name busybox -type f)" "$dir/root.part/busybox"
mv "$(find "$dir/root.part" -name drivers -type d)" "$dir/root.part/drivers"
# Under its final name only when it is whole.
mv "$dir/root.part" "$dir/root"
