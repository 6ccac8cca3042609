#!/usr/bin/env python3
"""registration_test.py SCRIPT_WINE PREFIX BUILD64 BUILD32: registers and unregisters both bitnesses
of the control in every order, for all users and for one, in a Wine prefix of its own, and looks at
what the registry holds and at what a script host can create. Where nothing is registered, a host
with a manifest finds the control nonetheless."""
import os
import pathlib
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "activex"))
import identity  # noqa: E402

SYSTEM = {64: r"C:\windows\system32", 32: r"C:\windows\syswow64"}
FACTS = identity.load()
REGISTRY = identity.Registry(FACTS)

wine, prefix, *folders = sys.argv[1:]
FILES = {bits: os.path.join(folder, "PlexumLink.ocx") for bits, folder in zip((64, 32), folders)}
MANIFEST_HOSTS = [os.path.join(folder, "activex_manifest_tests.exe") for folder in folders]
os.environ["PLEXUM_WINEPREFIX"] = prefix


def run(*command):
    return subprocess.run([wine, *command], capture_output=True, text=True,
                          stdin=subprocess.DEVNULL, check=False)


def demand(condition, what):
    if not condition:
        sys.exit(f"FAILED: {what}")


def windows_path(path):
    return "Z:" + path.replace("/", "\\")


def registered(root, bits):
    """Every value below Software\\Classes as (key, name, text), keys in lower case."""
    values = set()
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "registry.reg")
        top = f"{root}\\Software\\Classes"
        done = run("reg", "export", top, windows_path(path), "/y", f"/reg:{bits}")
        if done.returncode != 0:
            return values
        key = None
        with open(path, encoding="utf-16") as file:
            for line in file.read().splitlines():
                name, is_value, text = line.partition("=")
                if line.startswith("["):
                    key = line[1:-1].split("\\", 3)[-1].lower()
                elif is_value:
                    values.add((key, "" if name == "@" else name.strip('"'),
                                text.strip('"').replace("\\\\", "\\")))
    return values


def ours():
    marks = ["plexum", *(FACTS[each]["id"].lower() for each in
                         ("library", "control", "property_page", "interface", "events"))]
    return [value for root in ("HKLM", "HKCU") for bits in SYSTEM
            for value in registered(root, bits)
            if any(mark in part.lower() for mark in marks for part in value)]


def wanted(bits):
    return {(key.lower(), name, text) for key, name, text in
            REGISTRY.values_for(windows_path(FILES[bits]), bits)}


def regsvr(bits, *options):
    done = run(SYSTEM[bits] + "\\regsvr32.exe", "/s", *options, FILES[bits])
    demand(done.returncode == 0, f"regsvr32 {' '.join(options)} of the {bits}-bit file")


def can_create(bits, script):
    done = run(SYSTEM[bits] + "\\cscript.exe", "//nologo", windows_path(script))
    return "TZEIT 100" in done.stdout


def expect(script, what, *all_registered):
    """The bitnesses that are registered for all users; the last of them was registered last."""
    views = {bits: registered("HKLM", bits) for bits in SYSTEM}
    for bits in SYSTEM:
        is_there = (REGISTRY.server.lower(), "", windows_path(FILES[bits])) in views[bits]
        demand(is_there == (bits in all_registered), f"{what}: {bits}-bit class")
        demand(can_create(bits, script) == is_there, f"{what}: {bits}-bit host")
        # ProgIDs are one for both views, and exported with one of them.
        missing = wanted(bits) - views[64] - views[32] if bits == all_registered[-1] else ()
        demand(not missing, f"{what}: {bits}-bit values {missing}")


def for_all_users(script):
    for first, second in ((64, 32), (32, 64)):
        regsvr(first)
        regsvr(second)
        regsvr(second)  # again, as an upgrade does
        expect(script, "both", first, second)
        regsvr(first, "/u")
        expect(script, f"{first} gone", second)
        regsvr(second, "/u")
        demand(not ours(), f"left behind: {ours()}")
        regsvr(second, "/u")  # nothing there is no failure


def for_one_user():
    for bits in SYSTEM:
        regsvr(bits, "/n", "/i:user")
    for bits in SYSTEM:
        key = f"Software\\Classes\\{REGISTRY.server}"
        for root, there in (("HKCU", True), ("HKLM", False)):
            done = run("reg", "query", f"{root}\\{key}", f"/reg:{bits}")
            demand((done.returncode == 0) == there, f"{bits}-bit class of one user in {root}")
    for bits in SYSTEM:
        regsvr(bits, "/u", "/n", "/i:user")
    demand(not ours(), f"left behind: {ours()}")
    done = run(SYSTEM[64] + "\\regsvr32.exe", "/s", "/n", "/i:nonsense", FILES[64])
    demand(done.returncode != 0, "an unknown command line is refused")


def by_manifest():
    for host in MANIFEST_HOSTS:
        done = run(host)
        demand(done.returncode == 0, f"{host}: {done.stdout}{done.stderr}")


def clean_up():
    """Also of what a run that was broken off has left."""
    for bits in SYSTEM:
        for scope in ([], ["/n", "/i:user"]):
            run(SYSTEM[bits] + "\\regsvr32.exe", "/s", "/u", *scope, FILES[bits])


def main():
    for path in [*FILES.values(), *MANIFEST_HOSTS]:
        demand(os.path.exists(path), f"{path} isn't built; both bitnesses are tested together")
    try:
        clean_up()
        demand(not ours(), f"{prefix} isn't fresh: {ours()}")
        with tempfile.TemporaryDirectory() as folder:
            script = os.path.join(folder, "create.vbs")
            with open(script, "w", encoding="ascii") as file:
                file.write('WScript.Echo "TZEIT " & CreateObject("Plexum.PlexumLink").Tzeit\n')
            for_all_users(script)
        for_one_user()
        # Last, because Wine registers the type library by itself when it marshals by it.
        by_manifest()
    finally:
        clean_up()
        run("--stop")
    print("registered and unregistered in every order")


main()
