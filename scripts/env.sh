# Sourced by every script, from the repository's root and behind setup.sh, which installs Wine: the private Wine prefix and how
# its processes end with the script.
export WINEPREFIX="$PWD/build/wineprefix"
export WINEDEBUG="${WINEDEBUG:--all}"
# No menu entries or file associations in the user's home.
export WINEDLLOVERRIDES="winemenubuilder.exe=d"
export DISPLAY=
# Wine takes its code page from the locale: 1252 wherever this runs.
export LC_ALL=C.UTF-8
WINE=$(command -v wine64 || echo /usr/lib/wine/wine64)
WINESERVER=$(ls /usr/lib/wine/wineserver64 /usr/lib/wine/wineserver 2>/dev/null | head -n 1 || true)
session_owner=build/session.pid

# Makes the Wine prefix, where there is none.
make_prefix() {
    [ -e "$WINEPREFIX/.complete" ] && return
    echo "-- making the Wine prefix"
    (
        # wineboot ends neither soon nor surely by Ctrl-C: it runs beside this, and its server ends it.
        trap '"$WINESERVER" -k >/dev/null 2>&1 || true' EXIT
        trap 'exit 130' INT TERM HUP
        rm -rf "$WINEPREFIX"
        mkdir -p "$WINEPREFIX/home"
        # Without .NET and HTML engines nothing is offered for download, and with a home of its own nothing comes from the user's.
        HOME="$WINEPREFIX/home" WINEDLLOVERRIDES="$WINEDLLOVERRIDES;mscoree,mshtml=d" "$WINE" wineboot -i >build/wineboot.log 2>&1 </dev/null &
        wait $! || {
            tail -n 20 build/wineboot.log >&2
            exit 1
        }
        "$WINESERVER" -w
        trap - EXIT
    )
    # Wine links the user's folders (Documents, ...) to places under the home: plain folders instead.
    find "$WINEPREFIX/drive_c/users" -type l -exec sh -c 'for link; do rm "$link" && mkdir "$link"; done' sh {} +
    touch "$WINEPREFIX/.complete"
}

# Keeps one wineserver for the whole script, and ends it and all that runs in the prefix when the script ends, also by Ctrl-C.
wine_session() {
    local owner
    owner=$(cat "$session_owner" 2>/dev/null || true)
    if [ -n "$owner" ] && [ "$(readlink "/proc/$owner/cwd")" = "$PWD" ]; then
        echo "Process $owner ($(ps -o args= -p "$owner")) is using Wine in build/; wait for its end." >&2
        exit 1
    fi
    echo $$ > "$session_owner"
    trap 'status=$?; trap "" INT TERM HUP; end_wine_session; exit $status' EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
    trap 'exit 129' HUP
    "$WINESERVER" -k >/dev/null 2>&1 || true  # what a killed script may have left
    # The server must not inherit this script's output: whoever reads it would wait for the server. It outlives its last
    # process by 20 seconds: no restart between two programs, and it ends even where the script was killed.
    "$WINESERVER" -p20 >/dev/null 2>&1 </dev/null || true
    "$WINE" cmd /c exit >/dev/null 2>&1 </dev/null
}

end_wine_session() {
    "$WINESERVER" -k >/dev/null 2>&1 || true
    "$WINESERVER" -w >/dev/null 2>&1 || true
    rm -f "$session_owner"
}

windows_path() { local path; path=$(realpath -m "$1"); echo "Z:${path//\//\\}"; }

# start_lab PROGRAM OUTPUT OPTION...: starts korva-lab.exe, whose port is then in $port; what it prints goes to the file OUTPUT.
start_lab() {
    local lab until=$((SECONDS + 60))
    : >"$2"
    "$WINE" "$1" "${@:3}" >"$2" 2>&1 </dev/null &
    lab=$!
    until grep -q 'endpoint mapper' "$2"; do
        kill -0 "$lab" 2>/dev/null && [ $SECONDS -lt $until ] || { echo "The lab does not start:" >&2; cat "$2" >&2; exit 1; }
        sleep 0.1
    done
    port=$(sed -n 's/^korva-lab serves on port \([0-9]*\).*/\1/p' "$2")
}

# build [PRESET [TARGET...]]
build() {
    local preset=${1:-release}
    [ -e "build/$preset/build.ninja" ] || cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" ${2:+--target "${@:2}"}
}
