"""docs/troubleshooting.md and the code agree: what the page quotes is a literal of src/, and the failures that a console may see
are quoted: what begins as failures do, and what is thrown, in all folders but the two lowest, whose lines stand beneath those.
And no link of the documents is dead.
check_docs.py REPOSITORY"""
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
QUOTED = r'"((?:[^"\\\n]|\\.)*)"'
STATEMENT = r'(?:"(?:[^"\\\n]|\\.)*"|[^";])*;'
# What is wrong then is wrong in here.
INTERNAL = "Bad state: |Invalid (UNC path|registry script)"


def literals(folder, within="(?s:.*)"):
    for path in (root / "src" / folder).rglob("*.[ch]*"):
        code = re.sub(r"^\s*//.*$|^#.*$", "", path.read_text(encoding="utf-8"), flags=re.M)
        code = "\n".join(found[0] for found in re.finditer(within, code))
        for parts in re.finditer(rf"(?:{QUOTED}\s*)+", code):
            text = "".join(re.findall(QUOTED, parts[0]))
            yield re.sub(r"%\d", "..", text.replace("\\\\", "\\"))


page = (root / "docs/troubleshooting.md").read_text(encoding="utf-8")
tables = re.findall(r"^\| Text \|.*\n\|---.*\n((?:\|.*\n)*)", page, re.M)
cells = [line.split("|")[1] for table in tables for line in table.splitlines()]
told = {text for cell in cells for text in re.findall("`([^`]+)`", cell)}
known = set(literals("."))
folders = ("rpc", "deploy", "hv", "vdisk", "com")
seen = {text for folder in folders for text in literals(folder) if re.match("Failed to |Cannot |Connect failed|Timed out ", text)}
thrown = {text for folder in folders for text in literals(folder, r"\b(?:throw\b|throw_last_error\(|fail\()" + STATEMENT)}
seen |= {text for text in thrown if re.match("[A-Z].* ", text) and not re.match(INTERNAL, text)}
wrong = [f"not in src/: {text}" for text in sorted(told - known)] + [f"not on the page: {text}" for text in sorted(seen - told)]
for document in [*root.glob("*.md"), *(root / "docs").glob("*.md")]:
    links = re.findall(r"\]\(([^)#:]+)\)", document.read_text(encoding="utf-8"))
    wrong += [f"{document.name} leads to {link}" for link in links if not (document.parent / link).exists()]
print(f"{len(told)} texts of {len(tables)} tables", *wrong, sep="\n")
sys.exit(bool(wrong) or len(told) < 100)
