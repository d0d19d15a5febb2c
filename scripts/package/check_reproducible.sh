echo "-- the same bytes from another build folder"
export CCACHE_DISABLE=1
[ -e build/release2/build.ninja ] || cmake --preset release -B build/release2 >/dev/null
cmake --build build/release2 --target KorvaProxyClient "${programs[@]}"
for file in KorvaProxyClient.dll KorvaProxyClient.dll.debug KorvaProxyClient.tlb; do
    cmp "build/release/bin/$file" "build/release2/bin/$file"
done
(
    unset KORVA_SIGN_CERTIFICATE
    fill_kit build/release "$try/a/$name"
    fill_kit build/release2 "$try/b/$name"
)
for half in a b; do
    python scripts/package/archive.py "$try/$half/$name" "$try/$half.zip"
done
cmp "$try/a.zip" "$try/b.zip"
! grep -rlF "$PWD" "$try/a" || failed "the files above tell where they were built"
x86_64-w64-mingw32-objdump --dwarf=rawline "$try/a/$name/bin/KorvaProxyClient.dll.debug" | grep class_table.cpp >/dev/null ||
    failed "no line tables in the symbol file"
unset CCACHE_DISABLE
