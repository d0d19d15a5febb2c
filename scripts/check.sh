#!/usr/bin/env bash
# The whole check: what ships, then the same tests with traps and assertions, then the second compiler, layout and clang-tidy,
# then the kit.
set -euo pipefail
cd "$(dirname "$0")/.."
./test.sh
PRESET=checked ./test.sh
scripts/lint.sh
./package.sh --check
