echo "-- installed, called, upgraded and removed by msiexec"
# By these Windows decides what an upgrade replaces (kit.sh); Wine compares nothing.
msiinfo export "$kit.msi" File | awk -F'\t' '$3 ~ /\.(dll|exe)$/ {print $3, $5}' > "$try/versions"
[ "$(grep -c " $version.0$" "$try/versions")" = $((1 + ${#programs[@]})) ] || failed "versions of files: $(cat "$try/versions")"

# An older version, also by its programs' version resources, with a file that the new one has not.
mkdir -p "$try/old"
cp -r "$kit" "$try/old/$name"
echo old > "$try/old/$name/sdk/old.txt"
python - "$try/old/$name"/{bin/*.dll,*/*.exe} <<'PATCH'
import pathlib
import sys

for file in map(pathlib.Path, sys.argv[1:]):
    data = file.read_bytes()
    at = data.index(b"\xBD\x04\xEF\xFE") + 8  # VS_FIXEDFILEINFO: signature, its own version, the file's version
    file.write_bytes(data[:at] + bytes.fromhex("0900050000000000") + data[at + 8 :])
PATCH
make_installer 5.9.0 "$try/old/$name"

make_prefix
wine_session
export KORVA_PASSWORD=any
installed=$WINEPREFIX/drive_c/Program\ Files/KorvaProxyClient
products() { wine reg query 'HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall' /s 2>/dev/null | tr -d '\r' | grep -A40 -i KorvaProxyClient || true; }
classes before
start_lab "$kit/lab/korva-lab.exe" "$try/lab.log" --port 0 --quiet

wine msiexec /qn /i "$(windows_path "$try/old/$name.msi")"
[ -e "$installed/sdk/old.txt" ] || failed "the old version is not installed"
expect '<LabReply Command="GetHostInfo">' wine "$installed/bin/late_bound.exe" localhost "$port"

wine msiexec /qn /i "$(windows_path "$kit.msi")"
[ ! -e "$installed/sdk/old.txt" ] || failed "the upgrade leaves a file of the old version"
diff -r "$kit" "$installed" >"$try/diff" || failed "the upgrade does not bring the new files: $(cat "$try/diff")"
[ "$(products | grep -c 'DisplayName.*KorvaProxyClient')" = 1 ] || failed "not one product after the upgrade"
products | grep -q "DisplayVersion.*$version" || failed "not version $version after the upgrade"
expect '<LabReply Command="GetHostInfo">' wine "$installed/bin/late_bound.exe" localhost "$port"

wine msiexec /qn /x "$(windows_path "$kit.msi")"
classes after
same_classes before after "the removal leaves keys"
[ ! -e "$installed" ] || failed "the removal leaves files: $(find "$installed")"
[ -z "$(products)" ] || failed "the removal leaves the product: $(products)"

# The installer's rows are what the DLL writes itself: it unregisters all of them, and registers them anew. But for what the
# platform adds to a type library: its flags, and the 32-bit view of its interfaces, which no 32-bit process can use.
wine msiexec /qn /i "$(windows_path "$kit.msi")" ADDLOCAL=Library
files=$(cd "$installed" && find . -type f -printf '%P\n' | LC_ALL=C sort | xargs)
[ "$files" = "bin/KorvaProxyClient.Assembly.manifest bin/KorvaProxyClient.dll sbom.spdx.json" ] || failed "ADDLOCAL=Library installs $files"
for state in installed unregistered registered; do
    case $state in
        registered) wine regsvr32 /s 'C:\Program Files\KorvaProxyClient\bin\KorvaProxyClient.dll' ;;
        unregistered) wine regsvr32 /s /u 'C:\Program Files\KorvaProxyClient\bin\KorvaProxyClient.dll' ;;
    esac
    classes $state
done
without() { awk -v RS= -v ORS='\n\n' "!/$1/" "$try/$2.txt" > "$try/$3.txt"; }
without 'Classes\\Installer' unregistered unregistered_classes
same_classes before unregistered_classes "the installer writes more than the DLL's registration"
for state in installed registered; do
    without 'Wow6432Node|6.0\\FLAGS' $state ${state}_classes
done
same_classes installed_classes registered_classes "the installer's rows differ from the DLL's registration"
wine msiexec /qn /x "$(windows_path "$kit.msi")"
[ ! -e "$installed" ] || failed "the removal of the library alone leaves files"
end_wine_session
