#!/usr/bin/env bash
# Makes the kit: build/package/KorvaProxyClient-VERSION.zip and .msi, and their SHA-256 sums.
#   ./package.sh          builds and packs
#   ./package.sh --check  also tries the kit: same bytes from another build folder, samples from the ZIP alone, installer
#                         (KORVA_CHECK="archive installer": these parts alone; all are reproducible, archive, signing, installer)
# Signs the programs and the installer where KORVA_SIGN_CERTIFICATE names a PKCS#12 file (password: KORVA_SIGN_PASSWORD,
# time-stamp service: KORVA_SIGN_TIMESTAMP_URL); signed files differ from build to build.
set -euo pipefail
cd "$(dirname "$0")"
case "$*" in
    '' | --check) ;;
    *) sed -n '/^# /s/^# //p' "$0" >&2; exit 2 ;;
esac
read -ra parts <<<"${KORVA_CHECK:-reproducible archive signing installer}"
for part in "${parts[@]:-}"; do
    [ -e "scripts/package/check_$part.sh" ] || { echo "KORVA_CHECK: there is no check '$part'." >&2; exit 2; }
done

scripts/setup.sh wixl=0.101+repack-1 msitools=0.101+repack-1 unzip osslsigncode=2.5-4 openssl
source scripts/env.sh
source scripts/package/kit.sh

make_kit build/package
if [ "${1:-}" = --check ]; then
    source scripts/package/check.sh
fi
