#!/bin/bash
# package.sh   builds the Debian packages (libcorebeacon5, libcorebeacon-dev, corebeacon-tools) into
# build/packages and has lintian look at them. It works in a copy, so that the tree stays clean.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/quietly.sh

out=$PWD/build/packages
copy=$out/corebeacon-5

scripts/install-deps.sh build package
rm -rf "$out"
mkdir -p "$copy"
# Everything that git knows or would add, as it is in the tree now.
git ls-files -z --cached --others --exclude-standard | while IFS= read -r -d '' file; do
    [ ! -e "$file" ] || printf '%s\0' "$file"
done | tar -c --null --files-from=- | tar -x -C "$copy"

build() (
    cd "$copy"
    DEB_BUILD_OPTIONS="parallel=$(nproc) ${DEB_BUILD_OPTIONS:-}" \
        dpkg-buildpackage --unsigned-source --unsigned-changes --build=binary
)
quietly package.log build
echo "=== lintian"
as_user=()
[ "$(id -u)" -ne 0 ] || as_user=(--allow-root)
lintian "${as_user[@]}" --fail-on error,warning --display-info --pedantic "$out"/*.changes
echo "=== built"
ls "$out"/*.deb
