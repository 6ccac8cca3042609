#!/usr/bin/env python3
"""imports_test.py OBJDUMP FILE LIST...: holds the functions that a Windows file imports against the
lists of those that the oldest supported Windows has. A newer one, or a DLL that isn't the system's,
would keep the file from loading there, and Wine wouldn't notice."""
import re
import subprocess
import sys


def imports(objdump, path):
    dump = subprocess.run([objdump, "-p", path], check=True, capture_output=True,
                          text=True).stdout
    table = dump[dump.index("The Import Tables"):].split("The Export Tables")[0]
    library = None
    for line in table.splitlines():
        if match := re.search(r"DLL Name: (\S+)", line):
            library = match.group(1).lower()
        elif match := re.fullmatch(r"\s+[0-9a-f]+\s+\d+\s+(\w+)\s*", line):
            yield library, match.group(1)


def known_functions(paths):
    known = {}
    library = None
    for path in paths:
        for line in open(path, encoding="utf-8"):
            line = line.split("#")[0]
            if line.strip() and not line[0].isspace():
                library = line.strip().lower()
            for name in line.split() if line[:1].isspace() else []:
                known.setdefault(library, set()).add(name)
    return known


def main():
    objdump, path, *lists = sys.argv[1:]
    found = list(imports(objdump, path))
    if len(found) < 50:
        sys.exit(f"only {len(found)} imports found in {path}: is the table read rightly?")
    known = known_functions(lists)
    unknown = sorted({f"{library}: {name}" for library, name in found
                      if name not in known.get(library, ())})
    for entry in unknown:
        print(f"not known to be in Windows 7: {entry}")
    if unknown:
        sys.exit(f"look up each one's minimum version; if it is no newer, add it to {lists[-1]}")
    print(f"{len(found)} imports, all known")


main()
