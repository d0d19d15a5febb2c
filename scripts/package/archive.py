#!/usr/bin/env python3
"""A ZIP whose bytes depend on the files alone: sorted, with one time and one set of rights: archive.py FOLDER FILE

The time is SOURCE_DATE_EPOCH's (UTC).
"""
import os
import pathlib
import sys
import time
import zipfile

folder, target = map(pathlib.Path, sys.argv[1:])
when = time.gmtime(int(os.environ["SOURCE_DATE_EPOCH"]))[:6]
with zipfile.ZipFile(target, "w") as archive:
    for path in sorted(path for path in folder.rglob("*") if path.is_file()):
        entry = zipfile.ZipInfo(path.relative_to(folder.parent).as_posix(), when)
        entry.external_attr = 0o644 << 16
        entry.compress_type = zipfile.ZIP_DEFLATED
        archive.writestr(entry, path.read_bytes(), compresslevel=9)
