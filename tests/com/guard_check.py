"""Every method of every interface is one guard and nothing beside it: `return guarded(...);` is its whole body.

guard_check.py FOLDER_OF_THE_CLASSES TYPE_LIBRARY_TXT: reads the sources, and counts the methods that the type library must hold.
"""

import pathlib
import re
import sys

METHOD = re.compile(r"STDMETHODIMP\s+CCo\w+::(\w+)\([^)]*\) \{\n(.*?)\n\}\n", re.S)


def is_one_guard(body):
    body = re.sub(r"//[^\n]*", "", body).strip()
    if not body.startswith("return guarded("):
        return False
    depth = 0
    for at, char in enumerate(body):
        depth += {"(": 1, ")": -1}.get(char, 0)
        if char == ")" and depth == 0:
            return body[at + 1 :] == ";"
    return False


found = 0
for path in sorted(pathlib.Path(sys.argv[1]).glob("co_*.cpp")):
    for name, body in METHOD.findall(path.read_text(encoding="utf-8")):
        if not is_one_guard(body):
            sys.exit(f"{path}: {name} is not one guard")
        found += 1
expected = len(re.findall(r"^    \d", pathlib.Path(sys.argv[2]).read_text(encoding="utf-8"), re.M))
print(f"{found} of {expected} methods are one guard each")
sys.exit(found != expected)
