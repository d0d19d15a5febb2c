#!/usr/bin/env bash
# Everything that a fresh Debian 12 machine needs to build and run this: packages (as root or with sudo), Boost's sources and a
# private Wine prefix under build/. Does nothing, quickly, when all is there. Nothing outside build/ is touched but the packages.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/env.sh

# Tools whose versions decide what comes out are pinned; the mingw runtime, the compilers and Boost above all.
packages=(
    cmake ninja-build git
    clang=1:14.0-55.7~deb12u1
    g++-mingw-w64-x86-64-posix=12.2.0-14+deb12u1+25.2+b1
    mingw-w64-tools=10.0.0-3
    libwine-dev wine64 winbind
    libz-mingw-w64-dev=1.2.13+dfsg-1
    googletest=1.12.1-0.2
    libboost1.81-dev=1.81.0-5+deb12u1
)
boost=1.81.0-5+deb12u1

as_root() { if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi; }

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f '${Status}' "${package%%=*}" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "-- installing ${missing[*]}"
    as_root apt-get update -qq
    # A pinned version that the mirror no longer has must not stop a build: take the current one and say so.
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null || {
        echo "-- a pinned version is not to be had; installing the current ones"
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]%%=*}" >/dev/null
    }
fi

if [ ! -e build/deps/boost/.complete ]; then
    echo "-- fetching Boost $boost"
    apt=build/deps/apt
    rm -rf build/deps/boost "$apt"
    mkdir -p build/deps/boost "$apt/lists/partial" "$apt/parts"
    # A private list of source packages made from the machine's own list of binary ones; the machine's stays as it is.
    for list in /etc/apt/sources.list.d/debian.sources; do
        [ -e "$list" ] && grep -v '^#' "$list" | sed 's/^Types: .*/Types: deb-src/' > "$apt/parts/debian.sources"
    done
    if [ -e /etc/apt/sources.list ]; then
        sed -n 's/^deb /deb-src /p' /etc/apt/sources.list > "$apt/parts/debian.list"
    fi
    options=(-qq -o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$PWD/$apt/parts" -o "Dir::State::lists=$PWD/$apt/lists"
             -o APT::Sandbox::User=root)
    apt-get "${options[@]}" update
    (cd "$apt" && apt-get "${options[@]}" source --download-only "boost1.81=$boost" >/dev/null)
    echo "-- unpacking Boost"
    tar -xJf "$apt"/boost1.81_*.orig.tar.xz -C build/deps/boost --strip-components=1 --wildcards '*/libs/filesystem/src/*'
    # The headers alone, never the rest of the host's include folder.
    ln -s /usr/include/boost build/deps/boost/boost
    rm -rf "$apt"
    touch build/deps/boost/.complete
fi

if [ ! -e "$WINEPREFIX/system.reg" ]; then
    echo "-- making the Wine prefix"
    mkdir -p "$WINEPREFIX"
    "$WINE" wineboot -i >/dev/null 2>&1
    "$WINESERVER" -w
fi
