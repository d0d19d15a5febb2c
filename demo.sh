#!/usr/bin/env bash
# Builds everything and shows the product at work: ./demo.sh [NAME], by default "invoke" and then "snapshot". What is on the
# screen is real traffic and the log that the library wrote. The demos (scripts/demo/NAME.sh):
set -euo pipefail
cd "$(dirname "$0")"

if [ $# = 0 ]; then
    ./demo.sh invoke
    exec ./demo.sh snapshot
fi
name=$1
if [ ! -e "scripts/demo/$name.sh" ]; then
    sed -n '2,/^set/{/^set/d;s/^# \{0,1\}//p}' "$0" >&2
    for file in scripts/demo/*.sh; do
        printf '  %-10s %s\n' "$(basename "$file" .sh)" "$(sed -n '1s/^# //p' "$file")" >&2
    done
    exit 2
fi

scripts/setup.sh
source scripts/env.sh
build release
wine_session

bin=build/release/bin
out=build/demo
log="$WINEPREFIX/drive_c/ProgramData/Korva/Backup/Auxiliary.KorvaProxyClient.log"
mkdir -p "$out"

say() { printf '\n== %s\n' "$*"; }

register_dll() {
    say "Registering KorvaProxyClient.dll in build/wineprefix"
    "$WINE" regsvr32 /s "$(windows_path $bin/KorvaProxyClient.dll)" </dev/null
    echo "registered"
}
# Tests that want nothing registered run in the same prefix.
unregister_dll() { "$WINE" regsvr32 /s /u "$(windows_path $bin/KorvaProxyClient.dll)" </dev/null; }

# Starts the lab on a free port.
show_lab() {
    say "Starting the lab"
    rm -f "$out/requests.log"
    start_lab "$bin/korva-lab.exe" "$out/lab.log" --port 0 --trace "$(windows_path $out/requests.log)" --quiet
    cat "$out/lab.log"
    # The library's log goes on behind what earlier runs wrote.
    logged=$(stat -c %s "$log" 2>/dev/null || echo 0)
}

# Shows a command of the console and runs it; the argument in front says how it has to end (0: well, 1: with a failure).
console() {
    local expected=$1 status=0 shown= argument
    shift
    set -- --account 'LAB\operator' "$@"
    for argument; do
        [[ $argument =~ ^[A-Za-z0-9._/:-]+$ ]] && shown+=" $argument" || shown+=" ${argument@Q}"
    done
    echo "\$ korva-console.exe$shown"
    KORVA_PASSWORD=demo "$WINE" "$bin/korva-console.exe" "$@" </dev/null || status=$?
    if [ "$status" != "$expected" ]; then
        echo "The console ended with $status instead of $expected." >&2
        exit 1
    fi
}

show_requests() {
    say "What the lab received"
    cat "$out/requests.log"
}

show_log() {
    say "What the library wrote to its log"
    tail -c "+$((logged + 1))" "$log"
}

source "scripts/demo/$name.sh"
