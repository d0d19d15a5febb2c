"""What the COM interface description (idl/KorvaProxyClient.idl) and the class table (src/com/class_table.cpp) say, as data:
the one source of manifest, installer rows and reference."""
import pathlib
import re
from dataclasses import dataclass

ROOT = pathlib.Path(__file__).resolve().parents[2]
AUTOMATION_MARSHALLER = "{00020424-0000-0000-C000-000000000046}"  # works from the type library


@dataclass
class Argument:
    direction: str  # "in", "out" or "result"
    type: str
    name: str


@dataclass
class Member:
    id: int
    kind: str  # "method", "get" or "put"
    name: str
    help: str
    arguments: list


@dataclass
class Interface:
    name: str
    iid: str
    help: str
    members: list


@dataclass
class Enumeration:
    name: str
    help: str
    values: list  # (name, number)


@dataclass
class Class:
    name: str
    clsid: str
    help: str
    interface: str
    prog_id: str
    version_independent_prog_id: str


@dataclass
class Library:
    name: str
    libid: str
    version: str
    help: str
    app_id: str
    enumerations: list
    interfaces: list
    classes: list


def _find(pattern, text):
    found = re.search(pattern, text, re.S)
    if not found:
        raise SystemExit(f"Not found in the interface description: {pattern}")
    return found


def _help(attributes):
    found = re.search(r'helpstring\("((?:[^"\\]|\\.)*)"\)', attributes)
    if not found:
        raise SystemExit(f"No help string: {attributes.strip()}")
    return re.sub(r"\\(.)", r"\1", found[1])


def _guid(attributes):
    return "{" + _find(r"uuid\(([0-9A-Fa-f-]{36})\)", attributes)[1].upper() + "}"


def _arguments(text):
    # A comma inside SAFEARRAY(...) does not occur; one inside [out, retval] does.
    for attributes, declared in re.findall(r"\[([^\]]*)\]\s*([^\[]+?)(?=,\s*\[|$)", text.strip()):
        kind, name = declared.rsplit(maxsplit=1)
        yield Argument("result" if "retval" in attributes else attributes.split(",")[0].strip(), kind, name)


# An attribute list: its help string may hold brackets.
_ATTRIBUTES = r'\[((?:[^\[\]"]|"(?:[^"\\]|\\.)*")*)\]'


def _members(body):
    for attributes, name, arguments in re.findall(_ATTRIBUTES + r"\s*HRESULT (\w+)\((.*?)\);", body, re.S):
        kind = "get" if "propget" in attributes else "put" if "propput" in attributes else "method"
        yield Member(int(_find(r"\bid\((\d+)\)", attributes)[1]), kind, name, _help(attributes), list(_arguments(arguments)))


def _prog_ids(name):
    table = (ROOT / "src/com/class_table.cpp").read_text()
    return _find(rf'\{{CLSID_{name},\s*L"([^"]+)",\s*L"([^"]+)"', table).groups()


def read():
    text = (ROOT / "idl/KorvaProxyClient.idl").read_text()
    app_id = _find(r"\(AppID\)[^{]*(\{[^}]+\})", text)[1]
    text = re.sub(r"^\s*//.*$", "", text, flags=re.M)
    attributes, name = _find(_ATTRIBUTES + r"\s*library (\w+)", text).groups()
    enumerations = [Enumeration(name, _help(attributes), re.findall(r"(\w+)\s*=\s*(\d+)", body)) for attributes, body, name in
                    re.findall(r"typedef " + _ATTRIBUTES + r"\s*enum \w+ \{(.*?)\} (\w+);", text, re.S)]
    interfaces = [Interface(name, _guid(attributes), _help(attributes), list(_members(body))) for attributes, name, body in
                  re.findall(_ATTRIBUTES + r"\s*interface (\w+) : IDispatch\s*\{(.*?)\n    \};", text, re.S)]
    classes = [Class(name, _guid(attributes), _help(attributes), interface, *_prog_ids(name)) for attributes, name, interface in
               re.findall(_ATTRIBUTES + r"\s*coclass (\w+) \{ \[default\] interface (\w+); \};", text)]
    return Library(name, _guid(attributes), _find(r"version\(([\d.]+)\)", attributes)[1], _help(attributes), app_id,
                   enumerations, interfaces, classes)
