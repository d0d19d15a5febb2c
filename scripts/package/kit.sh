# Sourced by package.sh: what the kit holds, and how it is packed.
version=$(sed -n 's/^project(KorvaProxyClient VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name=KorvaProxyClient-$version
# One time for all that carries one: that of the sources.
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || date -ud 2026-01-01 +%s)}
export SOURCE_DATE_EPOCH
# Paths that a compiler cache rewrites would stand in the symbol file.
unset CCACHE_BASEDIR CCACHE_NOHASHDIR
python() { /usr/bin/python3 -B "$@"; }
programs=(korva-console korva-lab KorvaDeploymentSvc early_bound late_bound)

# make_kit FOLDER: builds what ships and packs it.
make_kit() {
    build release KorvaProxyClient "${programs[@]}"
    echo "-- packing $name"
    rm -rf "$1"
    fill_kit build/release "$1/$name"
    python scripts/package/archive.py "$1/$name" "$1/$name.zip"
    make_installer "$version" "$1/$name"
    sign "$1/$name.msi"
    (cd "$1" && sha256sum "$name.zip" "$name.msi" > SHA256SUMS && cat SHA256SUMS)
}

# make_installer VERSION KIT: the installer KIT.msi. Its bytes differ from build to build: its package code is new each time.
make_installer() {
    local folder
    folder=$(dirname "$2")
    python scripts/package/installer.py "$1" "$2" "$folder/installer.wxs"
    (cd "$folder" && wixl -a x64 -o "$(basename "$2").msi" installer.wxs)
    rm "$folder/installer.wxs"
    write_file_versions "$1" "$2.msi"
}

# wixl writes no file versions. Without them Windows takes an installed program, which has one, for the newer file, leaves the new
# one out of an upgrade, and then removes the old one. A file has a version or a hash.
write_file_versions() {
    local file queries=()
    for file in $(msiinfo export "$2" File | awk -F'\t' '$3 ~ /\.(dll|exe)$/ {print $1}'); do
        queries+=("UPDATE File SET Version = '$1.0', Language = '1033' WHERE File = '$file'"
                  "DELETE FROM MsiFileHash WHERE File_ = '$file'")
    done
    msibuild "$2" -q "${queries[@]}"
}

# fill_kit BUILD-FOLDER KIT-FOLDER
fill_kit() {
    local bin=$1/bin kit=$2 program file
    mkdir -p "$kit"/{bin,sdk/wire,samples,lab,docs}
    cp "$bin"/KorvaProxyClient.{dll,dll.debug,Assembly.manifest} "$bin"/early_bound.exe.manifest "$kit/bin/"
    cp "$bin/early_bound.exe.manifest" "$kit/bin/korva-console.exe.manifest"
    for program in "${programs[@]}"; do
        case $program in
            korva-lab | KorvaDeploymentSvc) file=$kit/lab/$program.exe ;;
            *) file=$kit/bin/$program.exe ;;
        esac
        x86_64-w64-mingw32-strip -o "$file" "$bin/$program.exe"
    done
    cp "$bin/KorvaProxyClient.tlb" idl/KorvaProxyClient.idl "$kit/sdk/"
    for file in KorvaProxyClient.h KorvaProxyClient_i.c; do  # widl writes down where its input was
        sed '1s|from [^ ]*/|from |' "$1/idl/com/$file" > "$kit/sdk/$file"
    done
    cp idl/{call_result,deployment,hv_integration,invoker}.idl "$kit/sdk/wire/"
    cp samples/*.{cpp,cs,ps1,vbs} "$bin/early_bound.exe.manifest" "$kit/samples/"
    cp docs/{guide,lab,troubleshooting}.md CHANGELOG.md "$kit/docs/"
    sed "s/VERSION/$version/" scripts/package/kit_readme.md > "$kit/README.md"
    python scripts/package/reference.py "$kit/docs/reference.md"
    for file in "$kit"/bin/*.dll "$kit"/*/*.exe; do
        sign "$file"
    done
    python scripts/package/sbom.py "$version" "$kit/bin/KorvaProxyClient.dll" "$kit/sbom.spdx.json"
    (cd "$kit" && find . -type f ! -name SHA256SUMS -printf '%P\0' | LC_ALL=C sort -z | xargs -0 sha256sum > SHA256SUMS)
}

# sign FILE: nothing without a certificate.
sign() {
    [ -n "${KORVA_SIGN_CERTIFICATE:-}" ] || return 0
    osslsigncode sign -pkcs12 "$KORVA_SIGN_CERTIFICATE" -readpass <(printf %s "${KORVA_SIGN_PASSWORD:-}") -h sha256 \
        -n KorvaProxyClient ${KORVA_SIGN_TIMESTAMP_URL:+-ts "$KORVA_SIGN_TIMESTAMP_URL"} -in "$1" -out "$1.signed" >/dev/null
    mv "$1.signed" "$1"
}
