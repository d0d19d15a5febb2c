#!/usr/bin/env bash
# Makes the kit: build/package/KorvaProxyClient-VERSION.zip and .msi, and their SHA-256 sums.
#   ./package.sh          builds and packs
#   ./package.sh --check  also tries the kit: same bytes from another build folder, samples from the ZIP alone, installer
#                         (KORVA_CHECK=reproducible, archive, signing or installer: that part alone)
# Signs the programs and the installer where KORVA_SIGN_CERTIFICATE names a PKCS#12 file (password: KORVA_SIGN_PASSWORD,
# time-stamp service: KORVA_SIGN_TIMESTAMP_URL); signed files differ from build to build.
set -euo pipefail
cd "$(dirname "$0")"
scripts/setup.sh wixl=0.101+repack-1 unzip osslsigncode openssl
source scripts/env.sh
source scripts/package/kit.sh

make_kit kit build/package
if [ "${1:-}" = --check ]; then
    source scripts/package/check.sh
fi
