#!/usr/bin/env bash
# Shows the product at work: ./demo.sh NAME. What is on the screen is real traffic and the log that the library wrote.
#   deploy   the installer service is put on a host, upgraded and removed again
set -euo pipefail
cd "$(dirname "$0")"

show() {
    local program=$1
    source scripts/env.sh
    scripts/setup.sh
    [ -e build/release/build.ninja ] || cmake --preset release >/dev/null
    cmake --build --preset release --target "$program"
    wine_session
    "$WINE" "build/release/bin/$program.exe"
}

case ${1:-} in
deploy) show korva-deploy-demo ;;
*)
    sed -n '2,/^set/s/^# \{0,1\}//p' "$0" >&2
    exit 2
    ;;
esac
