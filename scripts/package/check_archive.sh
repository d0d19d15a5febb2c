echo "-- the ZIP alone, by a new user: sums, samples built from sdk/, a first call without and with registration"
unzip -q "$kit.zip" -d "$try"
cd "$try/$name"
sha256sum --quiet -c SHA256SUMS
x86_64-w64-mingw32-strings -el bin/KorvaProxyClient.dll | grep -x "$version.0" >/dev/null || failed "the DLL does not tell its version"
for sample in early_bound late_bound; do
    x86_64-w64-mingw32-g++-posix -std=c++17 -Wall -Wextra -Isdk "samples/$sample.cpp" sdk/KorvaProxyClient_i.c -static -municode \
        -lole32 -loleaut32 -luuid -o "bin/$sample.exe"
done
cd - >/dev/null
make_prefix
wine_session
bin=$try/$name/bin
start_lab "$try/$name"
export KORVA_PASSWORD=any
expect "Snapshot closed." wine "$bin/early_bound.exe" localhost "$port"
expect "Is the DLL registered?" wine "$bin/late_bound.exe" localhost "$port"
classes before
for ((i = 0; i < 2; i++)); do
    wine regsvr32 /s "$(windows_path "$bin/KorvaProxyClient.dll")"
    expect '<LabReply Command="GetHostInfo">' wine "$bin/late_bound.exe" localhost "$port"
done
for ((i = 0; i < 2; i++)); do
    wine regsvr32 /s /u "$(windows_path "$bin/KorvaProxyClient.dll")"
done
classes after
same_classes before after "unregistration leaves something behind"
end_wine_session
