#!/usr/bin/env bash
# Plays 100,000 hostile replies, or as many as are asked for: scripts/hostile.sh [COUNT]. The test run plays 3,000 and has a
# time limit; this has none.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
source scripts/env.sh
build "${PRESET:-release}" wire_tests
wine_session
KORVA_HOSTILE_REPLIES=${1:-100000} "$WINE" "build/${PRESET:-release}/bin/wire_tests.exe" --gtest_filter='HostileReplies.*'
