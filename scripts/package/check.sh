# Sourced by package.sh --check, with the kit in build/package: tries what a user does with it, in a Wine prefix of its own.
kit=$PWD/build/package/$name
try=$PWD/build/package/try
export WINEPREFIX=$try/prefix
failed() {
    echo "package.sh --check: $*" >&2
    exit 1
}
wine() { timeout 120 "$WINE" "$@" </dev/null; }
windows_path() { echo "Z:${1//\//\\}"; }
# expect TEXT COMMAND...: the command's output holds the text.
expect() {
    # Into a file, not a pipe: Wine's desktop starts with the first program that needs it, and would keep the pipe open.
    "${@:2}" >"$try/output" 2>&1 || true
    grep -qF "$1" "$try/output" || failed "no '$1' from '${*:2}' but: $(cat "$try/output")"
}
# classes NAME: what HKLM\Software\Classes holds now, but for the empty keys under which the platform's installer keeps its products.
classes() {
    wine reg export 'HKLM\Software\Classes' "$(windows_path "$try/$1.reg")" /y >/dev/null
    iconv -f UTF-16 -t UTF-8 "$try/$1.reg" | tr -d '\r' |
        awk -v RS= -v ORS='\n\n' '!/^\[[^\n]*Classes\\Installer(\\(Features|Products|UpgradeCodes))?\]$/' > "$try/$1.txt"
}
same_classes() { diff "$try/$1.txt" "$try/$2.txt" >"$try/diff" || { head -20 "$try/diff"; failed "$3"; }; }

# start_lab KIT: from now on on $port.
start_lab() {
    "$WINE" "$1/lab/korva-lab.exe" --port 0 --quiet >"$try/lab.log" 2>&1 </dev/null &
    for ((i = 0; i < 100; i++)); do
        grep -q 'endpoint mapper' "$try/lab.log" && break
        sleep 0.1
    done
    port=$(sed -n 's/^korva-lab serves on port \([0-9]*\).*/\1/p' "$try/lab.log")
    [ -n "$port" ] || failed "the lab does not start"
}

for part in reproducible archive signing installer; do
    [ "${KORVA_CHECK:-$part}" = "$part" ] || continue
    rm -rf "$try"
    mkdir -p "$try"
    source "scripts/package/check_$part.sh"
done
end_wine_session
echo "-- the kit is as it should be"
