#!/usr/bin/env python3
"""debian_test.py PACKAGES: lintian finds nothing in the package for Debian; it installs with its
dependencies met, runs, and is purged without a trace. A root folder of its own with this system's
list of packages takes it; the system itself stays as it is."""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile


def run(*command):
    done = subprocess.run(command, check=False, text=True, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if done.returncode != 0:
        sys.exit(f"FAILED: {command} ended with {done.returncode}: {done.stdout}")
    return done.stdout


def files(root):
    return sorted(path.relative_to(root) for path in root.rglob("*")
                  if "var" not in path.relative_to(root).parts)


def main():
    package, = pathlib.Path(sys.argv[1]).glob("plexum_*_amd64.deb")
    version = package.name.split("_")[1]
    print(run("lintian", "--allow-root", "--fail-on", "error,warning", package) or
          "lintian is content")
    # Who isn't root is it within a name space.
    as_root = [] if os.geteuid() == 0 else ["unshare", "--map-root-user"]
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        database = root / "var/lib/dpkg"
        for name in ("info", "updates", "triggers"):
            (database / name).mkdir(parents=True)
        shutil.copy("/var/lib/dpkg/status", database)
        dpkg = [*as_root, "dpkg", f"--root={root}", "--log=/dev/null"]
        empty = files(root)
        run(*dpkg, "--install", package)
        output = run(root / "usr/bin/plexum", "--version")
        if version not in output:
            sys.exit(f"FAILED: --version said {output}")
        run(root / "usr/bin/plexum", "demo")
        run(*dpkg, "--purge", "plexum")
        if files(root) != empty:
            sys.exit(f"FAILED: left behind {files(root)}")
    print("installed, ran, purged")


main()
