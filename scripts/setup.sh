#!/usr/bin/env bash
# Everything that a fresh Debian 12 machine needs to build and run this: packages (as root or with sudo), Boost's sources and a
# private Wine prefix under build/. Does nothing, quickly, when all is there. Nothing outside build/ is touched but the packages.
# Further packages may be named as arguments.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/env.sh

# Tools whose versions decide what comes out are pinned; the mingw runtime, the compilers and Boost above all.
packages=(
    cmake ninja-build xz-utils procps
    clang=1:14.0-55.7~deb12u1
    g++-mingw-w64-x86-64-posix=12.2.0-14+deb12u1+25.2+b1
    mingw-w64-tools=10.0.0-3
    libwine-dev wine64 winbind
    libz-mingw-w64-dev=1.2.13+dfsg-1
    googletest=1.12.1-0.2
    libboost1.81-dev=1.81.0-5+deb12u1
    python3-impacket
    "$@"
)

as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        echo "Packages are missing: run this as root, or install sudo." >&2
        exit 1
    fi
}
# Quiet, but what was said stays in build/apt.log.
apt_install() {
    mkdir -p build
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$@" >>build/apt.log 2>&1
}

declare -A installed
while read -r name version; do
    installed[$name]=$version
done < <(dpkg-query -W -f '${db:Status-Status} ${Package} ${Version}\n' | sed -n 's/^installed //p')
missing=()
for package in "${packages[@]}"; do
    name=${package%%=*} version=${installed[${package%%=*}]-}
    if [ -z "$version" ]; then
        missing+=("$package")
    elif [ "$package" != "$name" ] && [ "$package" != "$name=$version" ]; then
        echo "-- $name is $version instead of ${package#*=}"
    fi
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "-- installing ${missing[*]}"
    as_root apt-get update -qq
    # A pinned version that the mirror no longer has must not stop a build: take the current one and say so.
    apt_install "${missing[@]}" || {
        echo "-- a pinned version is not to be had; installing the current ones"
        apt_install "${missing[@]%%=*}" || { tail -n 20 build/apt.log >&2; exit 1; }
    }
    source scripts/env.sh  # finds Wine now
fi

# Source packages need lines of their own in apt's configuration: a private copy of the machine's Debian lines gets them, and
# private folders take what apt fetches.
private_apt() {
    local apt=$PWD/build/deps/apt file
    rm -rf "$apt"
    mkdir -p "$apt/lists/partial" "$apt/parts" "$apt/cache"
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [ -e "$file" ] && sed -nE '/cdrom:/d; / bookworm[ -]/s/^deb /deb-src /p' "$file" >> "$apt/parts/debian.list"
    done
    for file in /etc/apt/sources.list.d/*.sources; do
        [ -e "$file" ] && grep -qE '^Suites:.* bookworm( |-|$)' "$file" || continue
        sed '/^#/d; s/^Types:.*/Types: deb-src/' "$file" > "$apt/parts/$(basename "$file")"
    done
    apt_options=(-qq -o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$apt/parts" -o "Dir::State::lists=$apt/lists"
                 -o "Dir::Cache=$apt/cache" -o APT::Sandbox::User=root)
    apt-get "${apt_options[@]}" update
}

if [ ! -e build/deps/boost/.complete ]; then
    boost=$(dpkg-query -W -f '${source:Version}' libboost1.81-dev)  # sources and headers are of one version
    echo "-- fetching Boost $boost"
    rm -rf build/deps/boost
    mkdir -p build/deps/boost
    private_apt
    (
        cd build/deps/apt
        fetch() { apt-get "${apt_options[@]}" source --download-only "$1" >/dev/null; }
        fetch "boost1.81=$boost" || {
            echo "-- this version is not to be had; fetching the current one"
            fetch boost1.81
        }
    )
    echo "-- unpacking Boost"
    tar -xJf build/deps/apt/boost1.81_*.orig.tar.xz -C build/deps/boost --strip-components=1 --wildcards '*/libs/filesystem/src/*'
    # The headers alone, never the rest of the host's include folder.
    ln -s /usr/include/boost build/deps/boost/boost
    rm -rf build/deps/apt
    touch build/deps/boost/.complete
fi

make_prefix

# The prefix as a host to deploy to: what deployer, demo and tests reach as \\localhost\ADMIN$ is the Windows folder.
mkdir -p "$WINEPREFIX/dosdevices/unc/localhost"
ln -sfn ../../../drive_c/windows "$WINEPREFIX/dosdevices/unc/localhost/ADMIN\$"
