#!/usr/bin/env python3
"""registration_test.py SCRIPT_WINE PREFIX BUILD64 BUILD32: registers and unregisters both bitnesses
of the control in every order, for all users and for one, in a Wine prefix of its own, and looks at
what the registry holds and at what a script host can create. Where nothing is registered, a host
with a manifest finds the control nonetheless."""
import os
import subprocess
import sys
import tempfile

SYSTEM = {64: r"C:\windows\system32", 32: r"C:\windows\syswow64"}
CLASS = r"CLSID\{64643F6A-8FA8-46F5-84E0-D4FE4F73595C}"
TYPE_LIBRARY = r"TypeLib\{ACD85100-F31F-49C6-B8A9-20E8DDA5729C}"
INTERFACE = r"Interface\{C2157FE1-6F89-4F61-B560-4E51AF201512}"

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


def registry(root):
    """All keys with their values below root, as one text."""
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "registry.reg")
        done = run("reg", "export", root, windows_path(path), "/y")
        demand(done.returncode == 0, f"reg export {root}: {done.stdout}{done.stderr}")
        with open(path, encoding="utf-16") as file:
            return file.read()


def ours():
    text = registry("HKLM\\Software\\Classes") + registry("HKCU\\Software")
    return [line for line in text.splitlines()
            if any(mark.lower() in line.lower()
                   for mark in ("plexum", CLASS, TYPE_LIBRARY, INTERFACE))]


def has_key(path, bits, root="HKLM"):
    done = run("reg", "query", f"{root}\\Software\\Classes\\{path}", f"/reg:{bits}")
    return done.returncode == 0


def regsvr(bits, *options):
    done = run(SYSTEM[bits] + "\\regsvr32.exe", "/s", *options, FILES[bits])
    demand(done.returncode == 0, f"regsvr32 {' '.join(options)} of the {bits}-bit file")


def can_create(bits, script):
    done = run(SYSTEM[bits] + "\\cscript.exe", "//nologo", windows_path(script))
    return "TZEIT 100" in done.stdout


def expect(script, what, **expected):
    """What is registered for all users, by bitness."""
    for bits in (64, 32):
        wanted = expected[f"b{bits}"]
        demand(has_key(CLASS + "\\InprocServer32", bits) == wanted, f"{what}: {bits}-bit class")
        demand(has_key(INTERFACE + "\\ProxyStubClsid32", bits) == wanted,
               f"{what}: {bits}-bit interface")
        demand(can_create(bits, script) == wanted, f"{what}: {bits}-bit host")
        if wanted:
            demand(has_key(TYPE_LIBRARY + f"\\1.0\\0\\win{bits}", 64),
                   f"{what}: {bits}-bit type library")  # one key for both bitnesses


def for_all_users(script):
    for first, second in ((64, 32), (32, 64)):
        regsvr(first)
        regsvr(second)
        regsvr(second)  # again, as an upgrade does
        expect(script, "both", b64=True, b32=True)
        regsvr(first, "/u")
        expect(script, f"{first} gone", **{f"b{first}": False, f"b{second}": True})
        regsvr(second, "/u")
        demand(not ours(), "left behind:\n" + "\n".join(ours()))
        regsvr(second, "/u")  # nothing there is no failure


def for_one_user():
    for bits in (64, 32):
        regsvr(bits, "/n", "/i:user")
    for bits in (64, 32):
        demand(has_key(CLASS + "\\InprocServer32", bits, "HKCU"), f"{bits}-bit class of one user")
        demand(not has_key(CLASS, bits), "nothing for all users")
    for bits in (64, 32):
        regsvr(bits, "/u", "/n", "/i:user")
    demand(not ours(), "left behind:\n" + "\n".join(ours()))
    done = run(SYSTEM[64] + "\\regsvr32.exe", "/s", "/n", "/i:nonsense", FILES[64])
    demand(done.returncode != 0, "an unknown command line is refused")


def by_manifest():
    for host in MANIFEST_HOSTS:
        done = run(host)
        demand(done.returncode == 0, f"{host}: {done.stdout}{done.stderr}")


def clean_up():
    """Also of what a run that was broken off has left."""
    for bits in (64, 32):
        run(SYSTEM[bits] + "\\regsvr32.exe", "/s", "/u", FILES[bits])
        run(SYSTEM[bits] + "\\regsvr32.exe", "/s", "/u", "/n", "/i:user", FILES[bits])


def main():
    for path in [*FILES.values(), *MANIFEST_HOSTS]:
        demand(os.path.exists(path), f"{path} isn't built; both bitnesses are tested together")
    try:
        clean_up()
        demand(not ours(), f"{prefix} isn't fresh:\n" + "\n".join(ours()))
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
