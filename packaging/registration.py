"""The registry keys of the control, for the installer and the .reg file. The control writes the same
keys itself; tests/packages/windows_test.py compares them."""
import pathlib
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "activex"))

import identity  # noqa: E402

CLASSES = r"Software\Classes"
REGISTRY = identity.Registry(identity.load())


def values(bits, file):
    """(key below Software\\Classes, name, text) of each value; the key's default value has no name."""
    return REGISTRY.values_for(file, bits)


def has_two_views(key):
    """Whether a 64-bit Windows keeps this key for each bitness; others are common to both."""
    return key.startswith(("CLSID\\", "Interface\\"))


def quoted(text):
    return '"' + text.replace("\\", r"\\").replace('"', r"\"") + '"'


def reg_file(folder):
    """A file to import on a 64-bit Windows, for all users: both bitnesses, in the folders x64 and x86
    of the folder."""
    keys = {}
    for bits, inside in ((64, "x64"), (32, "x86")):
        for key, name, text in values(bits, rf"{folder}\{inside}\PlexumLink.ocx"):
            view = "Wow6432Node\\" if bits == 32 and has_two_views(key) else ""
            keys.setdefault(f"{view}{key}", {})[name] = text
    return "Windows Registry Editor Version 5.00\n" + "".join(
        f"\n[HKEY_LOCAL_MACHINE\\{CLASSES}\\{key}]\n" +
        "".join(f"{quoted(name) if name else '@'}={quoted(text)}\n" for name, text in named.items())
        for key, named in keys.items())
