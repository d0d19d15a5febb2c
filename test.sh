#!/usr/bin/env bash
# Builds and runs the tests: ./test.sh runs all, ./test.sh NAME the CTest entry NAME or, where there is none of that name,
# every test case whose name holds NAME. PRESET=checked (or clang) tests another build.
set -euo pipefail
cd "$(dirname "$0")"
source scripts/env.sh
scripts/setup.sh
preset=${PRESET:-release}
build "$preset"
wine_session

if [ $# -eq 0 ]; then
    ctest --test-dir "build/$preset" --output-on-failure
elif ctest --test-dir "build/$preset" -N -R "^$1\$" | grep -q 'Test *#'; then
    ctest --test-dir "build/$preset" --output-on-failure --verbose -R "^$1\$"
else
    export GTEST_FILTER="*$1*" GTEST_BRIEF=0
    out=$(mktemp)
    ctest --test-dir "build/$preset" --verbose | tee "$out" | grep -v ' 0 tests from 0 test suites' || true
    status=${PIPESTATUS[0]}
    ran=$(grep -c '\[ RUN ' "$out" || true)
    rm -f "$out"
    echo "$ran cases hold '$1' in their names."
    [ "$ran" -gt 0 ] && [ "$status" = 0 ]
fi
