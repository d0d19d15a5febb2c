# Sourced by every script, from the repository's root: the private Wine prefix and how its processes end with the script.
export WINEPREFIX="$PWD/build/wineprefix"
export WINEDEBUG="${WINEDEBUG:--all}"
export DISPLAY=
WINE=$(command -v wine64 || echo /usr/lib/wine/wine64)
WINESERVER=$(ls /usr/lib/wine/wineserver64 /usr/lib/wine/wineserver 2>/dev/null | head -n 1 || true)

# Keeps one wineserver for the whole script, and ends it and all that runs in the prefix when the script ends, also by Ctrl-C.
wine_session() {
    # The server and the prefix's own services must not inherit this script's output: whoever reads it would wait for them.
    "$WINESERVER" -p >/dev/null 2>&1 </dev/null || true  # fails where one runs already
    trap 'status=$?; trap - EXIT; "$WINESERVER" -k >/dev/null 2>&1 || true; "$WINESERVER" -w >/dev/null 2>&1 || true; exit $status' EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
    "$WINE" cmd /c exit >/dev/null 2>&1 </dev/null
}

build() {
    local preset=${1:-release}
    [ -e "build/$preset/build.ninja" ] || cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset"
}
