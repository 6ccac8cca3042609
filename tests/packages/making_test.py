#!/usr/bin/env python3
"""making_test.py PACKAGES OLDER_PACKAGES: makes the packages from the builds, twice and in different
surroundings, and expects the same bytes. Checks the sums, the bill of materials, the versions, the
symbols, and that no file names the folder of the build. Leaves the packages in PACKAGES, and in
OLDER_PACKAGES those of an older version, signed; other tests need both."""
import hashlib
import json
import os
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile
import zipfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
EPOCH = "1767225600"
OLDER = "0.0.9"


def demand(condition, what):
    if not condition:
        sys.exit(f"FAILED: {what}")


def run(*command, fails=False, **environment):
    done = subprocess.run([str(word) for word in command], check=False, text=True,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, env={**os.environ, **environment})
    demand((done.returncode != 0) == fails,
           f"{command} ended with {done.returncode}: {done.stdout}")
    return done.stdout


def make(output, version, builds, **options):
    run(ROOT / "packaging/package.py", "--version", version, "--epoch", EPOCH,
        "--output", output, "--builds", builds, **options)


def test_same_bytes(*folders):
    first, second = ({(path.name, path.read_bytes()) for path in folder.iterdir()}
                     for folder in folders)
    differing = sorted({name for name, _ in first ^ second})
    demand(not differing, f"the same files with the same bytes: {differing}")


def test_sums(packages):
    sums = dict(reversed(line.split("  ")) for line in
                (packages / "SHA256SUMS").read_text().splitlines())
    for path in packages.iterdir():
        demand(path.stem == "SHA256SUMS" or
               sums.pop(path.name) == hashlib.sha256(path.read_bytes()).hexdigest(),
               f"the sum of {path.name}")
    demand(not sums, f"no sum of what isn't there: {sums}")


def test_bill_of_materials(packages, version):
    bill = json.loads((packages / f"Plexum-{version}.spdx.json").read_text())
    inside = {package["SPDXID"]: package for package in bill["packages"]}
    for relation in bill["relationships"]:
        for end in ("spdxElementId", "relatedSpdxElement"):
            demand(relation[end] in inside or relation[end] == bill["SPDXID"],
                   f"{relation[end]} is in the bill")
    names = {package["name"]: package["versionInfo"] for package in inside.values()}
    demand(names["Plexum"] == version and all(names.values()), f"versions: {names}")
    demand({"CLI11", "nlohmann-json", "libgcc", "libstdc++", "winpthreads"} <= names.keys(),
           f"what is linked in: {names}")


def unpacked(packages, version, folder):
    """The programs in the packages."""
    with zipfile.ZipFile(packages / f"PlexumLink-{version}-windows.zip") as archive:
        archive.extractall(folder)
    run("dpkg-deb", "-x", packages / f"plexum_{version}_amd64.deb", folder / "debian")
    return [*folder.rglob("*.ocx"), *folder.rglob("plexum.exe"),
            *folder.rglob("bin/plexum")]


def test_programs(packages, version, folder):
    programs = unpacked(packages, version, folder)
    with zipfile.ZipFile(packages / f"Plexum-{version}-symbols.zip") as archive:
        archive.extractall(folder)
    symbols = [*folder.rglob("*.debug")]
    demand(len(programs) == len(symbols) == 4, f"four programs and their symbols: {programs}")
    for path in [*programs, *symbols]:
        data = path.read_bytes()
        demand(os.fsencode(ROOT) not in data, f"{path.name} doesn't tell where it was built")
        demand((b"./src/protocol" in data) == (path in symbols), f"symbols in {path.name}")
        if path not in symbols and data.startswith(b"MZ"):
            start = data.find("ProductVersion\0".encode("utf-16le"))
            demand(start >= 0 and version.encode("utf-16le") in data[start:start + 60],
                   f"{path.name} names its version in its resources")
            demand("LegalCopyright".encode("utf-16le") in data, f"copyright of {path.name}")


def older_builds(builds, version, folder):
    """The builds with another version in the resources of the controls."""
    (folder / "native").symlink_to(builds / "native")
    control = ["PlexumLink.ocx", "PlexumLink.ocx.debug", "PlexumLink.manifest",
               "activex/generated/plexum.tlb"]
    for preset, others in (("win32", ["plexum.exe", "plexum.exe.debug"]), ("win64", [])):
        for name in control + others:
            target = folder / preset / name
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(builds / preset / name, target)
        path = folder / preset / "PlexumLink.ocx"
        data = bytearray(path.read_bytes().replace(version.encode("utf-16le"),
                                                   OLDER.encode("utf-16le")))
        numbers = data.index(bytes.fromhex("BD04EFFE")) + 8  # the numbers of file and product
        major, minor, patch = map(int, OLDER.split("."))
        data[numbers:numbers + 16] = struct.pack("<4H", minor, major, 0, patch) * 2
        path.write_bytes(data)


def test_signed(packages, folder):
    """Signs with new keys. No package is made when a signature isn't valid."""
    older_builds(ROOT / "build", project_version(), folder)
    gpg = {"GNUPGHOME": str(folder / "gpg"), "PLEXUM_SIGN_GPG_KEY": "Plexum test"}
    (folder / "gpg").mkdir(mode=0o700)
    for name in ("own", "other"):
        run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "3650",
            "-subj", "/CN=Plexum test", "-addext", "extendedKeyUsage=codeSigning",
            "-keyout", folder / f"{name}.key", "-out", folder / f"{name}.pem")
    own = {"PLEXUM_SIGN_CERTIFICATE": str(folder / "own.pem"),
           "PLEXUM_SIGN_KEY": str(folder / "own.key"), **gpg}
    make(packages, OLDER, folder, **{**own, "PLEXUM_SIGN_KEY": str(folder / "other.key")}, fails=True)
    demand(not list(packages.glob("*.*")), "no package is signed by a key of another certificate")
    try:
        run("gpg", "--batch", "--passphrase", "", "--faked-system-time", "20260101T000000",
            "--quick-generate-key", "Plexum test", "ed25519", **gpg)
        make(packages, OLDER, folder, **own)
        test_sums(packages)
        for name in ("SHA256SUMS", f"plexum_{OLDER}_amd64.deb"):
            run("gpg", "--verify", packages / f"{name}.asc", packages / name, **gpg)
    finally:
        run("gpgconf", "--kill", "all", **gpg)
    (folder / "unpacked").mkdir()
    for path in [*unpacked(packages, OLDER, folder / "unpacked"), *packages.glob("*.msi")]:
        if path.suffix in (".ocx", ".exe", ".msi"):
            run("osslsigncode", "verify", "-CAfile", folder / "own.pem", "-in", path)


def project_version():
    return run("bash", "-c", f". '{ROOT}/script/lib.sh'; project_version").strip()


def main():
    packages, older = (pathlib.Path(argument) for argument in sys.argv[1:])
    version = project_version()
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        make(packages, version, ROOT / "build")
        make(work / "again", version, ROOT / "build", TZ="Asia/Tokyo", LC_ALL="C",
             HOME=str(work), PYTHONHASHSEED="7")
        test_same_bytes(packages, work / "again")
        test_sums(packages)
        test_bill_of_materials(packages, version)
        (work / "unpacked").mkdir()
        test_programs(packages, version, work / "unpacked")
        (work / "older").mkdir()
        test_signed(older, work / "older")
    print("the same bytes twice; sums, bill, versions and signatures are right")


main()
