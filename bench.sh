#!/usr/bin/env bash
# Measures: ./bench.sh NAME runs one table (bench/NAME_bench.cpp), ./bench.sh all of them. The figures are also in
# build/bench/NAME.json. What is compared runs in one process, in turn; read the ratios, not the seconds.
set -euo pipefail
cd "$(dirname "$0")"
scripts/setup.sh libspdlog-dev libfmt-dev
source scripts/env.sh
mkdir -p build/deps/bench build/bench
for library in spdlog fmt; do
    ln -sfn "/usr/include/$library" "build/deps/bench/$library"
done

if [ $# -gt 0 ]; then
    names=("$@")
else
    names=()
    for file in bench/*_bench.cpp; do
        file=${file##*/}
        names+=("${file%_bench.cpp}")
    done
fi
build release "${names[@]/%/_bench}"
wine_session
# One table that hangs or fails does not keep the others from being measured.
failed=()
for name in "${names[@]}"; do
    echo "== $name"
    timeout 600 "$WINE" "build/release/bin/${name}_bench.exe" "build/bench/$name.json" || failed+=("$name")
done
if [ ${#failed[@]} -gt 0 ]; then
    echo "Failed: ${failed[*]}" >&2
    exit 1
fi
