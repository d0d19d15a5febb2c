#!/usr/bin/env python3
"""The installer's description for wixl, from a kit: installer.py VERSION KIT-FOLDER FILE (beside the folder)

Feature Library: what a machine needs that runs a console, and the registration, as rows instead of the DLL's own, so that the
installer can repair and remove them. Feature SDK: all the rest; ADDLOCAL=Library leaves it out.
"""
import pathlib
import sys
import uuid
from xml.sax.saxutils import quoteattr

import idl

# The product's own, for ever: by it an installer finds older versions. All other identifiers follow from it.
UPGRADE_CODE = uuid.UUID("5B7E3B46-0C0B-4A0E-8E0B-6D8E1C5C9A51")
DLL = "bin/KorvaProxyClient.dll"
LIBRARY = [DLL, "bin/KorvaProxyClient.Assembly.manifest", "sbom.spdx.json"]


def guid(name):
    return str(uuid.uuid5(UPGRADE_CODE, name)).upper()


def key(path):
    """An identifier for a file or folder: paths may hold what identifiers may not."""
    return "f" + guid(path).replace("-", "")


def registration(library):
    """(key below Software\\Classes, value name or None, text or None for a key without values)"""
    path = f"[#{key(DLL)}]"
    app = f"AppID\\{library.app_id}"
    yield app, None, "KorvaProxyClientDll"
    yield "AppID\\KorvaProxyClientDll.DLL", "AppID", library.app_id
    types = f"TypeLib\\{library.libid}\\{library.version}"
    yield types, None, library.help
    yield types + "\\0\\win64", None, path
    yield types + "\\FLAGS", None, "0"
    yield types + "\\HELPDIR", None, "[folder_bin]"
    for row in library.classes:
        clsid = f"CLSID\\{row.clsid}"
        yield clsid, None, row.help
        yield clsid, "AppID", library.app_id
        yield clsid + "\\InprocServer32", None, path
        yield clsid + "\\InprocServer32", "ThreadingModel", "Neutral"
        yield clsid + "\\ProgID", None, row.prog_id
        yield clsid + "\\Programmable", None, None
        yield clsid + "\\TypeLib", None, library.libid
        yield clsid + "\\VersionIndependentProgID", None, row.version_independent_prog_id
        for name in (row.prog_id, row.version_independent_prog_id):
            yield name, None, row.help
            yield name + "\\CLSID", None, row.clsid
        yield row.version_independent_prog_id + "\\CurVer", None, row.prog_id
    for row in library.interfaces:
        entry = f"Interface\\{row.iid}"
        yield entry, None, row.name
        for stub in ("ProxyStubClsid", "ProxyStubClsid32"):
            yield f"{entry}\\{stub}", None, idl.AUTOMATION_MARSHALLER
        yield entry + "\\TypeLib", None, library.libid
        yield entry + "\\TypeLib", "Version", library.version


def registry_rows():
    for name, value, text in registration(idl.read()):
        place = 'Root="HKLM" Key=' + quoteattr("Software\\Classes\\" + name)
        if text is None:
            value, text = "*", ""  # an empty key, removed with the product
        named = f" Name={quoteattr(value)}" if value else ""
        yield f'<RegistryValue {place}{named} Type="string" Value={quoteattr(text)}/>'


def folder_lines(kit, folder, components):
    """The folder with its files, each a component of its own; `components` takes their names by feature."""
    for path in sorted(folder.iterdir()):
        name = path.relative_to(kit).as_posix()
        if path.is_dir():
            yield f'<Directory Id="{"folder_bin" if name == "bin" else key(name)}" Name={quoteattr(path.name)}>'
            yield from folder_lines(kit, path, components)
            yield "</Directory>"
            continue
        component = "c" + key(name)
        components["Library" if name in LIBRARY else "SDK"].append(component)
        yield f'<Component Id="{component}" Guid="{guid(name)}" Win64="yes">'
        yield f'<File Id="{key(name)}" Name={quoteattr(path.name)} Source={quoteattr(kit.name + "/" + name)} KeyPath="yes"/>'
        if name == DLL:
            yield from registry_rows()
        yield "</Component>"


def main(version, kit, target):
    kit = pathlib.Path(kit)
    components = {"Library": [], "SDK": []}
    folders = list(folder_lines(kit, kit, components))
    features = []
    for name, title in (("Library", "Library"), ("SDK", "SDK: descriptions, samples, programs, documentation")):
        features += [f'<Feature Id="{name}" Title="{title}" Level="1">']
        features += [f'<ComponentRef Id="{component}"/>' for component in components[name]] + ["</Feature>"]
    lines = [
        '<?xml version="1.0" encoding="UTF-8"?>',
        '<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">',
        f'<Product Id="{guid("product " + version)}" Name="KorvaProxyClient" Version="{version}" Language="1033"'
        f' Manufacturer="Korva" UpgradeCode="{str(UPGRADE_CODE).upper()}">',
        '<Package InstallerVersion="500" Compressed="yes" InstallScope="perMachine"/>',
        '<MajorUpgrade DowngradeErrorMessage="A newer version of KorvaProxyClient is installed."/>',
        '<Media Id="1" Cabinet="kit.cab" EmbedCab="yes"/>',
        '<Directory Id="TARGETDIR" Name="SourceDir">',
        '<Directory Id="ProgramFiles64Folder">',
        '<Directory Id="INSTALLDIR" Name="KorvaProxyClient">',
        *folders,
        '</Directory>', '</Directory>', '</Directory>',
        *features,
        '</Product>', '</Wix>',
    ]
    pathlib.Path(target).write_text("\n".join(lines) + "\n", encoding="utf-8")


main(*sys.argv[1:])
