#!/usr/bin/env python3
"""The side-by-side manifest, by which the classes are activated without registration: manifest.py VERSION FILE

The assembly is not named as the DLL is: looking for an assembly, Windows would take the DLL for it.
"""
import sys
from xml.sax.saxutils import quoteattr

import idl

version, target = sys.argv[1:]
library = idl.read()
lines = [
    '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>',
    '<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">',
    f'  <assemblyIdentity type="win32" name="KorvaProxyClient.Assembly" version="{version}.0" processorArchitecture="amd64"/>',
    '  <file name="KorvaProxyClient.dll">',
]
for row in library.classes:
    lines += [
        f'    <comClass clsid="{row.clsid}" progid={quoteattr(row.version_independent_prog_id)} tlbid="{library.libid}"',
        f'              threadingModel="Neutral" description={quoteattr(row.help)}>',
        f'      <progid>{row.prog_id}</progid>',
        '    </comClass>',
    ]
lines += [f'    <typelib tlbid="{library.libid}" version="{library.version}" helpdir=""/>', '  </file>']
for row in library.interfaces:
    lines += [
        f'  <comInterfaceExternalProxyStub name="{row.name}" iid="{row.iid}" tlbid="{library.libid}"',
        f'                                 proxyStubClsid32="{idl.AUTOMATION_MARSHALLER}"/>',
    ]
lines.append('</assembly>')
with open(target, "w", encoding="utf-8", newline="\r\n") as file:
    file.write("\n".join(lines) + "\n")
