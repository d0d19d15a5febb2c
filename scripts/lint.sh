#!/usr/bin/env bash
# Layout (clang-format) of all C++ code, and clang-tidy over all but the tests; a failure names what fixes it.
# scripts/lint.sh --format checks the layout alone.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh clang-format clang-tidy
source scripts/env.sh

mapfile -t sources < <(git ls-files '*.cpp' '*.h')
clang-format --dry-run -Werror "${sources[@]}" || {
    echo "Fix the layout with: clang-format -i \$(git ls-files '*.cpp' '*.h')" >&2
    exit 1
}
[ "${1:-}" = --format ] && exit 0

build clang
git ls-files 'src/*.cpp' 'lab/*.cpp' 'examples/*.cpp' | xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p build/clang
