#!/bin/bash
# try-packages.sh   installs the packages of build/packages (scripts/package.sh builds them when they
# are not there) in a root that has nothing but a bare Debian 12 and its compilers, and uses them
# there: the examples through CMake and pkg-config, the programs of the guide and the man page, the
# demo. Needs root, or sudo. The bare root is kept in build/package-root/base for the next time.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/quietly.sh

if [ "$(id -u)" -ne 0 ]; then
    exec sudo --preserve-env=http_proxy,https_proxy,no_proxy "$0" "$@"
fi
scripts/install-deps.sh package
ls build/packages/*.deb >/dev/null 2>&1 || scripts/package.sh

base=build/package-root/base
root=build/package-root/root

# The machine's own package sources, so that a mirror or proxy in use is used here too.
make_base() {
    local mirror
    mirror=$(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' | grep -m 1 debian/*$)
    debootstrap --variant=minbase --include=ca-certificates,cmake,g++,make,pkg-config,python3-minimal \
        bookworm "$base.new" "$mirror"
    cp /etc/apt/apt.conf.d/*proxy* "$base.new/etc/apt/apt.conf.d/" 2>/dev/null || true
    mv "$base.new" "$base"
}

# inside COMMAND...   in the root, with nothing of this machine's environment but the way out
inside() {
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root DEBIAN_FRONTEND=noninteractive \
        ${http_proxy:+http_proxy="$http_proxy"} ${https_proxy:+https_proxy="$https_proxy"} \
        chroot "$root" "$@"
}

rm -rf "$base.new" "$root"
mkdir -p build/package-root
[ -d "$base" ] || quietly try-packages-root.log make_base
# Hard links are quick, and dpkg replaces files instead of changing them.
cp --archive --link "$base" "$root"
mkdir "$root/packages" "$root/trial"
cp build/packages/*.deb "$root/packages/"
cp tests/project/document_code.py "$root/trial/"
rm -f "$root"/packages/*-dbgsym_*.deb

install_packages() {
    inside sh -c 'apt-get update && apt-get install -y --no-install-recommends /packages/*.deb'
}
quietly try-packages-install.log install_packages
echo "=== installed"
inside dpkg-query --show --showformat '${Package} ${Version} ${Architecture}\n' '*corebeacon*'

floor='/sys/devices/system/cpu/cpufreq/policy2/scaling_min_freq <- 2000000'
# example NAME SUFFIX STANDARD   builds it in both ways and looks for its floor
example() {
    local name=$1 source=/usr/share/doc/libcorebeacon-dev/examples/$1
    quietly "try-packages-$name.log" inside sh -euc "
        cmake -S $source -B /trial/$name
        cmake --build /trial/$name
        $3 $source/$name.$2 -o /trial/$name-pkg-config \$(pkg-config --cflags --libs corebeacon)"
    inside "/trial/$name/$name" | grep -qxF "$floor"
    inside "/trial/$name-pkg-config" | grep -qxF "$floor"
    echo "$name: built with CMake and with pkg-config, and run"
}
echo "=== examples"
example boost cpp 'c++ -std=c++20'
example boost_c c 'cc -std=c99'

echo "=== documents"
inside sh -euc '
    cd /trial
    cp /usr/share/doc/libcorebeacon-dev/guide.md* .
    cp /usr/share/man/man3/libcorebeacon.3.gz .
    gzip --decompress --quiet *.gz || true
    for document in guide.md libcorebeacon.3; do
        python3 document_code.py $document c++ cc programs \
            $(pkg-config --cflags --libs corebeacon) -pthread
    done'

echo "=== the program"
inside corebeacon --version
quietly try-packages-demo.log inside corebeacon demo
tail -n 3 build/logs/try-packages-demo.log
echo "=== all of it works in $root"
