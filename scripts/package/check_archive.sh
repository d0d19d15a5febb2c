echo "-- the ZIP alone, by a new user: sums, links, the guide's first call, calls by registration, samples built from sdk/"
unzip -q "$kit.zip" -d "$try"
cd "$try/$name"
sha256sum --quiet -c SHA256SUMS
x86_64-w64-mingw32-strings -el bin/KorvaProxyClient.dll | grep -x "$version.0" >/dev/null || failed "the DLL does not tell its version"
for library in boost zlib; do
    grep -A1 "\"name\": \"$library\"" sbom.spdx.json | grep -q '"versionInfo": "1\.' || failed "the SBOM lacks the version of $library"
done
grep -q "$(sha256sum <bin/KorvaProxyClient.dll | cut -d' ' -f1)" sbom.spdx.json || failed "the SBOM is of another DLL"
for document in README.md docs/*.md; do
    for link in $(grep -o '](\([A-Za-z_/]*\.md\)' "$document" | cut -c3-); do
        [ -e "$(dirname "$document")/$link" ] || failed "$document leads to $link, which is not there"
    done
done
cd - >/dev/null

make_prefix
wine_session
bin=$try/$name/bin
start_lab "$try/$name/lab/korva-lab.exe" "$try/lab.log"
[ "$port" = 2600 ] || failed "the lab serves on '$port'"
export KORVA_PASSWORD=any
sed -n '/^It takes a snapshot/,/^Its source/s/^    //p' "$try/$name/docs/guide.md" >"$try/promised"
wine "$bin/early_bound.exe" >"$try/output" || true
[ -s "$try/promised" ] && tr -d '\r' <"$try/output" | diff - "$try/promised" || failed "the first call is not the guide's"
expect "Is the DLL registered?" wine "$bin/late_bound.exe"
expect '<LabReply Command="GetHostInfo">' wine "$bin/korva-console.exe" --account '.\operator' invoke GetHostInfo
expect "is started by the service control manager" wine "$try/$name/lab/KorvaDeploymentSvc.exe"
wine cscript //nologo "$(windows_path "$try/$name/samples/host.vbs")" >/dev/null 2>&1 || true  # the first script registers Wine's own types
classes before
for ((i = 0; i < 2; i++)); do
    wine regsvr32 /s "$(windows_path "$bin/KorvaProxyClient.dll")"
    expect '<LabReply Command="GetHostInfo">' wine "$bin/late_bound.exe"
done
expect 'Failed as expected: ' wine cscript //nologo "$(windows_path "$try/$name/samples/host.vbs")"
# The console asks for the password that the environment does not hold; with --xml nothing but the document is on standard output.
printf '<Snapshot Polls="3"/>' > "$try/specification.xml"
for typed in any ''; do
    status=0
    printf '%s' "$typed" | timeout 120 env -u KORVA_PASSWORD "$WINE" "$bin/korva-console.exe" --account '.\operator' --xml snapshot \
        "@$(windows_path "$try/specification.xml")" "$(windows_path "$try/saved")" >"$try/console.xml" 2>"$try/console.log" || status=$?
    python -c 'import sys, xml.dom.minidom; xml.dom.minidom.parse(sys.argv[1])' "$try/console.xml" || failed "--xml: $(cat "$try/console.xml")"
    if [ -n "$typed" ]; then
        [ $status = 0 ] && grep -q 'Password of .\\operator: ' "$try/console.log" && grep -q ' not completed after ' "$try/console.log" ||
            failed "the console asked: $(cat "$try/console.xml" "$try/console.log")"
    else
        [ $status = 1 ] && grep -q 'There is no password' "$try/console.xml" || failed "no password, and $status: $(cat "$try/console.xml")"
    fi
done
# Built as the samples themselves say.
for sample in early_bound late_bound; do
    line=$(sed -n '\|^//   x86_64-|,/^#/s|^//  *||p' "$try/$name/samples/$sample.cpp" | xargs)
    rm "$bin/$sample.exe"
    (cd "$try/$name/samples" && $line -Wall -Wextra)
done
expect "Snapshot closed." wine "$bin/early_bound.exe"
expect '<LabReply Command="GetHostInfo">' wine "$bin/late_bound.exe"
for ((i = 0; i < 2; i++)); do
    wine regsvr32 /s /u "$(windows_path "$bin/KorvaProxyClient.dll")"
done
classes after
same_classes before after "unregistration leaves something behind"
end_wine_session
