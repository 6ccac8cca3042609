#!/usr/bin/python3
"""package.py --version VERSION --epoch SECONDS [--output FOLDER] [--builds FOLDER]: makes the
packages from the builds. script/package builds and calls it. The same builds, version and epoch
give the same bytes."""
import argparse
import hashlib
import os
import pathlib
import shutil
import sys

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.append(str(ROOT / "docs" / "generator"))

import archive  # noqa: E402
import components  # noqa: E402
import debian_package  # noqa: E402
import help_page  # noqa: E402
import installer  # noqa: E402
import sbom  # noqa: E402
import signing  # noqa: E402
import symbols  # noqa: E402
import windows_tree  # noqa: E402


def arguments():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--version", required=True)
    parser.add_argument("--epoch", type=int, required=True)
    parser.add_argument("--output", type=pathlib.Path, default=ROOT / "build" / "packages")
    parser.add_argument("--builds", type=pathlib.Path, default=ROOT / "build")
    return parser.parse_args()


def main():
    options = arguments()
    version, epoch = options.version, options.epoch
    output, builds = options.output.resolve(), options.builds.resolve()
    os.umask(0o022)
    os.environ["SOURCE_DATE_EPOCH"] = str(epoch)
    certificate = signing.certificate()
    shutil.rmtree(output, ignore_errors=True)
    output.mkdir(parents=True)
    work = output / "work"

    windows = work / "windows"
    windows_tree.make(ROOT, builds / "win64", builds / "win32",
                      help_page.page(ROOT, version), windows)
    if certificate:
        for pattern in windows_tree.SIGNED:
            for path in sorted(windows.glob(pattern)):
                certificate.sign(path)
    zipped = output / f"PlexumLink-{version}-windows.zip"
    setup = output / f"PlexumLink-{version}.msi"
    debian = output / f"plexum_{version}_amd64.deb"
    archive.make(windows, epoch, zipped)
    symbols.make(builds, work / "symbols")
    archive.make(work / "symbols", epoch, output / f"Plexum-{version}-symbols.zip")
    installer.make(windows, version, epoch, certificate, setup)
    debian_package.make(ROOT, builds / "native", version, epoch, work / "debian", debian)
    products = {setup: components.OF_WINDOWS, zipped: components.OF_WINDOWS,
                debian: components.OF_COMMAND}
    (output / f"Plexum-{version}.spdx.json").write_text(
        sbom.document(products, version, epoch), encoding="utf-8")
    shutil.rmtree(work)
    signing.sign_beside(debian)
    files = sorted(output.iterdir())
    sums = output / "SHA256SUMS"
    sums.write_text("".join(
        f"{hashlib.sha256(path.read_bytes()).hexdigest()}  {path.name}\n" for path in files))
    signing.sign_beside(sums)
    for path in sorted(output.iterdir()):
        print(f"{path.stat().st_size:>10} {path.name}")


main()
