#!/usr/bin/env python3
"""Takes the time of the build out of a type library, so that the same IDL gives the same bytes: fixed_time.py FROM TO

widl embeds it twice, as custom values of the library: in the text "Created by WIDL version ... at TIME" and, right behind it,
as a 32-bit number (VT_UI4, 0x0013). Both become 1 January 1970.
"""
import re
import sys

stamp = re.compile(rb"(Created by WIDL version \S+ at )(\w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d \d{4})(\nW*\x13\x00)(.{4})", re.S)
source, target = sys.argv[1:]
with open(source, "rb") as file:
    library = file.read()
library, found = stamp.subn(rb"\g<1>Thu Jan  1 00:00:00 1970\g<3>" + bytes(4), library)
if found != 1:
    sys.exit(f"{source}: {found} time stamps of widl found, not one: look at what this version of widl embeds.")
with open(target, "wb") as file:
    file.write(library)
