# Sourced by package.sh --check, with the kit in build/package: tries what a user does with it, in a Wine prefix of its own.
kit=$PWD/build/package/$name
try=$PWD/build/package/try
export WINEPREFIX=$try/prefix
failed() {
    echo "package.sh --check: $*" >&2
    exit 1
}
wine() { timeout 120 "$WINE" "$@" </dev/null; }
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

for part in "${parts[@]}"; do
    rm -rf "$try"
    mkdir -p "$try"
    source "scripts/package/check_$part.sh"
done
end_wine_session
echo "-- the kit is as it should be: ${parts[*]}"
