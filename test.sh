#!/usr/bin/env bash
# Builds and runs the tests: ./test.sh runs all, ./test.sh NAME the CTest entry NAME or, where there is none of that name,
# every test case whose name holds NAME. PRESET=checked (or clang) tests another build.
set -euo pipefail
cd "$(dirname "$0")"
scripts/setup.sh
source scripts/env.sh
preset=${PRESET:-release}
build "$preset"
wine_session
tests=(ctest --test-dir "build/$preset" --output-on-failure --repeat after-timeout:3)
output=build/$preset/tests.log
with_lab=$("${tests[@]}" -N -L lab)

# Wine's RPC server can hang for good (lab/serve.cpp says how): a program with the lab that ran out of time gets another try. A
# failure gets none, and a time-out elsewhere is one, whatever the next try said: that hang would be our own.
run_tests() {
    local status=0 name
    "${tests[@]}" "$@" | tee "$output" || status=$?
    for name in $(sed -n 's/^.*Test *#[0-9]*: \([^ ]*\) .*\*\*\*Timeout.*/\1/p' "$output"); do
        echo "$name ran out of time." >&2
        grep -q ": $name\$" <<<"$with_lab" || status=1
    done
    return $status
}

if [ $# -eq 0 ]; then
    status=0
    run_tests || status=$?
    # How much each of the long tests did, and what was skipped: its reason stands beneath the place.
    echo "Counted:"
    awk '/^[0-9]+\/[0-9]+ Testing: /{name = $3} /^[0-9]+ [a-z]/{print "  " name ": " $0} /: Skipped$/{getline reason}
         /^\[  SKIPPED \].*\(/{print "  " name ": skipped " $4 ": " reason}' \
        "build/$preset/Testing/Temporary/LastTest.log"
    exit $status
elif grep -q 'Test *#' <<<"$("${tests[@]}" -N -R "^$1\$")"; then  # no pipe: grep would leave ctest writing into a closed one
    run_tests --verbose -R "^$1\$"
else
    # Programs without such a case run none, say so and pass.
    export GTEST_FILTER="*$1*"
    status=0
    run_tests --verbose -L cases || status=$?
    if ! grep -q '\[ RUN ' "$output"; then
        echo "No test and no case is named like '$1'." >&2
        exit 1
    fi
    exit $status
fi
