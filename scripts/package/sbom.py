#!/usr/bin/env python3
"""What the DLL is made of, as SPDX 2.3: sbom.py VERSION DLL FILE

The versions are those of the installed packages that the build takes the libraries from.
"""
import datetime
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys
import urllib.parse
import uuid

# What is linked into the DLL: name, Debian package, licence.
LINKED = [
    ("boost", "libboost1.81-dev", "BSL-1.0"),
    ("zlib", "libz-mingw-w64-dev", "Zlib"),
    ("gcc-runtime", "g++-mingw-w64-x86-64-posix", "GPL-3.0-or-later WITH GCC-exception-3.1"),
    ("mingw-w64-runtime", "mingw-w64-x86-64-dev", "ZPL-2.1"),
]


def installed(package):
    return subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], check=True, capture_output=True, text=True).stdout


def package(spdx_id, name, version, licence, **more):
    return {"SPDXID": spdx_id, "name": name, "versionInfo": version, "licenseConcluded": licence, "licenseDeclared": licence,
            "copyrightText": "NOASSERTION", "filesAnalyzed": False, **{"downloadLocation": "NOASSERTION", **more}}


version, dll, target = sys.argv[1:]
digest = hashlib.sha256(pathlib.Path(dll).read_bytes()).hexdigest()
packages = [package("SPDXRef-KorvaProxyClient", "KorvaProxyClient", version, "NOASSERTION",
                    packageFileName="bin/KorvaProxyClient.dll", checksums=[{"algorithm": "SHA256", "checksumValue": digest}])]
relationships = [{"spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES",
                  "relatedSpdxElement": "SPDXRef-KorvaProxyClient"}]
for name, debian, licence in LINKED:
    found = installed(debian)
    packages.append(package(f"SPDXRef-{name}", name, re.match(r"[\d.]+", found)[0], licence,
                            comment=f"from Debian's package {debian} {found}",
                            externalRefs=[{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                                           "referenceLocator": f"pkg:deb/debian/{urllib.parse.quote(debian)}@{urllib.parse.quote(found, ':')}"}]))
    relationships.append({"spdxElementId": "SPDXRef-KorvaProxyClient", "relationshipType": "STATIC_LINK",
                          "relatedSpdxElement": f"SPDXRef-{name}"})
created = datetime.datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), datetime.timezone.utc)
document = {
    "spdxVersion": "SPDX-2.3",
    "dataLicense": "CC0-1.0",
    "SPDXID": "SPDXRef-DOCUMENT",
    "name": f"KorvaProxyClient-{version}",
    "documentNamespace": f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_OID, digest)}",
    "creationInfo": {"created": created.strftime("%Y-%m-%dT%H:%M:%SZ"), "creators": ["Tool: scripts/package/sbom.py"]},
    "packages": packages,
    "relationships": relationships,
}
pathlib.Path(target).write_text(json.dumps(document, indent=2) + "\n", encoding="utf-8")
