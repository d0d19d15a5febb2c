#!/bin/sh
# A rotated log as gzip itself reads it: gzip_test.sh WINE LOGGING_TESTS FOLDER
set -e
rm -rf "$3"
mkdir -p "$3"
cd "$3"
seq 100000 > lines
cp lines a.log
"$1" "$2" --child rotate a.log 0 # it does not die
gzip -t a.log.gz
gzip -dc a.log.gz | cmp - lines
[ ! -s a.log ]
