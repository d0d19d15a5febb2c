#!/usr/bin/env bash
# imports_table.sh OBJDUMP DLL > imports.c: a C file that imports each function that the DLL does.
set -euo pipefail
functions=$("$1" -p "$2" | awk 'NF == 3 && $2 ~ /^[0-9]+$/ && $1 ~ /^[0-9a-f]+$/ { print $3 }' | grep -v '^[^A-Za-z_]' | sort -u)
awk '{ print "extern void* __imp_" $1 ";" }' <<<"$functions"
echo "void** const load_baseline_imports[] = {"
awk '{ print "    &__imp_" $1 "," }' <<<"$functions"
echo "};"
