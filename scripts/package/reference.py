#!/usr/bin/env python3
"""The reference of all interfaces, from the interface description: reference.py FILE"""
import pathlib
import sys

import idl

library = idl.read()
created = {row.interface: row for row in library.classes}
lines = [
    "# Reference of the interfaces",
    "",
    f"Generated from the interface description: {library.help}, library `{library.name}` {library.libid}.",
    "",
    "All interfaces are dual and derive from `IDispatch`. The number before a member is its dispatch identifier and its slot (a"
    " property is written through the next slot). A result is the method's value in scripts and the last pointer argument in C++."
    " Every method returns S_OK or a failing HRESULT with an error object (E_POINTER and E_OUTOFMEMORY come without one).",
    "",
    "| Class | Interface | ProgID | CLSID |",
    "|---|---|---|---|",
    *(f"| {row.name} | [{row.interface}](#{row.interface.lower()}) | `{row.version_independent_prog_id}`, `{row.prog_id}` |"
      f" `{row.clsid}` |" for row in library.classes),
    "",
    "Objects of all other interfaces come from methods and properties of these.",
]
for row in library.interfaces:
    lines += ["", f"## {row.name}", "", f"{row.help}", "",
              f"`{row.iid}`" + (f", class {created[row.name].name}" if row.name in created else ""), "",
              "| | Member | Arguments | |", "|---|---|---|---|"]
    for member in row.members:
        if member.kind == "get":
            name, arguments = f"{member.name} (read)", f"result {member.arguments[0].type.removesuffix('*')}"
        elif member.kind == "put":
            name, arguments = f"{member.name} (write)", f"value {member.arguments[0].type}"
        else:
            name = member.name
            arguments = "; ".join(
                f"result {argument.type.removesuffix('*')}" if argument.direction == "result" else
                f"{argument.direction} {argument.type.removesuffix('*') if argument.direction == 'out' else argument.type} {argument.name}"
                for argument in member.arguments) or "none"
        lines.append(f"| {member.id} | `{name}` | {arguments} | {member.help.replace('|', '&#124;')} |")
for row in library.enumerations:
    lines += ["", f"## {row.name}", "", row.help, "", "| Name | Value |", "|---|---|",
              *(f"| {name} | {value} |" for name, value in row.values)]
pathlib.Path(sys.argv[1]).write_text("\n".join(lines) + "\n", encoding="utf-8")
