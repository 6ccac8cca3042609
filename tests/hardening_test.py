#!/usr/bin/env python3
"""hardening_test.py TOOL FILE...: holds the protections that built files must have, by what TOOL (the
target's objdump, or readelf) and the files' own bytes show of them."""
import re
import subprocess
import sys
import uuid

# IObjectSafety, and the categories of what is safe for scripting and for initialising.
SAFE_FOR_WEB_PAGES = ["CB5BDC81-93C1-11CF-8F20-00805F2CD064",
                      "7DD95801-9882-11CF-9FA9-00AA006C42C4",
                      "7DD95802-9882-11CF-9FA9-00AA006C42C4"]


def shown(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def of_windows(objdump, path, contents):
    headers = shown(objdump, "-p", path)
    relocations = re.search(r"^Entry 5 [0-9a-f]+ ([0-9a-f]+) Base Relocation", headers, re.M)
    names = {name.decode("utf-16-le" if b"\0" in name else "ascii").lower() for name in
             re.findall(rb"[\w.\-]+\.dll\b|(?:[\w.\-]\0)+\.\0d\0l\0l\0", contents, re.I)}
    known = {name.lower() for name in re.findall(r"DLL Name: (\S+)", headers)}
    known.add("libgcc_s_dw2-1.dll")  # the compiler's start-up code only asks whether it is loaded
    yield "code at any address", "DYNAMIC_BASE" in headers and int(relocations.group(1), 16) > 0
    yield "of 64 bits", "pei-i386" in headers or "HIGH_ENTROPY_VA" in headers
    yield "no code in data", "NX_COMPAT" in headers
    yield "a protected stack", b"stack smashing detected" in contents
    # A name may have other letters in front, of what happens to lie before it.
    strange = sorted(name for name in names if not name.endswith(tuple(known)))
    yield f"no DLL by name but the imports: {strange}", not strange
    for guid in map(uuid.UUID, SAFE_FOR_WEB_PAGES):
        yield f"no word of {guid}", guid.bytes_le not in contents and not re.search(
            rb"\0?".join(re.escape(bytes([c])) for c in str(guid).encode()), contents, re.I)


def of_linux(readelf, path, contents):
    headers = shown(readelf, "--wide", "-h", "-l", "-d", path)
    symbols = shown(readelf, "--wide", "--dyn-syms", path)
    yield "code at any address", "DYN (Position-Independent Executable" in headers
    yield "no code on the stack", re.search(r"GNU_STACK .* RW +0x", headers)
    yield "no code in data", not re.search(r"LOAD .* RWE ", headers)
    yield "nothing bound late", "GNU_RELRO" in headers and re.search(r"FLAGS.*\bNOW\b", headers)
    yield "a protected stack", "__stack_chk_fail" in symbols
    yield "no library by a path", "(RPATH)" not in headers and "(RUNPATH)" not in headers


def main():
    tool, *paths = sys.argv[1:]
    lacking = []
    for path in paths:
        with open(path, "rb") as file:
            contents = file.read()
        check = of_linux if contents.startswith(b"\x7fELF") else of_windows
        lacking += [f"{path}: {name}" for name, found in check(tool, path, contents) if not found]
    sys.exit("lacking:\n" + "\n".join(lacking) if lacking or not paths else 0)


main()
