#!/bin/sh
# install-deps.sh GROUP...   installs the Debian packages of these groups that are not there yet:
# build (the library and the program), test (all that scripts/test.sh runs), kernel (the test that
# boots a real kernel), bench, package (the Debian packages). Asks nothing; uses sudo unless it is run by root.
set -eu

packages() {
    case $1 in
    build) echo g++ cmake ninja-build libcli11-dev libpugixml-dev nlohmann-json3-dev libedit-dev ;;
    test)
        echo libgtest-dev pkg-config clang libclang-rt-dev llvm clang-format clang-tidy \
            g++-aarch64-linux-gnu qemu-user-static libpugixml-dev:arm64 libxml2-utils python3 \
            abigail-tools mandoc groff-base zsh fish libedit-dev:arm64 libncurses-dev:arm64 \
            chromium chromium-driver fonts-dejavu-core
        ;;
    kernel) echo qemu-system-arm device-tree-compiler cpio xz-utils ;;
    package) echo build-essential debhelper lintian debootstrap ;;
    bench) echo libbenchmark-dev valgrind ;;
    *)
        echo "install-deps.sh: no group named $1 (build, test, kernel, bench, package)" >&2
        exit 2
        ;;
    esac
}

is_installed() {
    dpkg-query -W -f '${Status}' "$1" 2>/dev/null | grep -q 'ok installed'
}

missing=
for group in "${@:-build}"; do
    for package in $(packages "$group"); do
        is_installed "$package" || missing="$missing $package"
    done
done
[ -n "$missing" ] || exit 0

if ! command -v apt-get >/dev/null; then
    echo "install-deps.sh: this is no Debian; please install what answers to:$missing" >&2
    exit 1
fi
as_root=
if [ "$(id -u)" -ne 0 ]; then
    as_root=sudo
    if ! command -v sudo >/dev/null; then
        echo "install-deps.sh: neither root nor sudo; please install:$missing" >&2
        exit 1
    fi
fi

echo "Installing:$missing"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
apt() {
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get -q "$@" >"$log" 2>&1 </dev/null || {
        cat "$log" >&2
        exit 1
    }
}
case $missing in *:arm64*) $as_root dpkg --add-architecture arm64 ;; esac
apt update
# shellcheck disable=SC2086 # one word a package
apt install -y --no-install-recommends $missing
