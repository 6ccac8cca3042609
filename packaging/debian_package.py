"""The package for Debian: what the native build installs, with the files that Debian's policy asks
for. The same files give the same bytes."""
import email.utils
import gzip
import hashlib
import os
import pathlib
import re
import subprocess
import tempfile

import components

FOLDER = pathlib.Path(__file__).resolve().parent / "debian"
MAINTAINER = "Plexum maintainers <maintainers@plexum.example>"


def run(*command, **options):
    return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE, **options).stdout


def compress(path, data):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(gzip.compress(data, 9, mtime=0))


def changelog(version, epoch):
    return (f"plexum ({version}) unstable; urgency=medium\n\n"
            f"  * See NEWS.gz for what changed.\n\n"
            f" -- {MAINTAINER}  {email.utils.formatdate(epoch)}\n").encode()


def copyright_file(root):
    """Plexum's licence, then the copyright files of what is compiled in."""
    licence = (root / "LICENSE").read_text(encoding="utf-8")
    text = f"Plexum\n======\n\n{licence}"
    for component in components.OF_COMMAND:
        text += f"\n{component.name}\n{'=' * len(component.name)}\n\n"
        text += component.copyright_file.read_text(encoding="utf-8")
    return text


def depends(program):
    """The packages of the libraries that the program needs, with versions."""
    with tempfile.TemporaryDirectory() as folder:
        control = pathlib.Path(folder) / "debian" / "control"
        control.parent.mkdir()
        control.write_text("Source: plexum\n\nPackage: plexum\nArchitecture: amd64\n")
        line = run("dpkg-shlibdeps", "-O", "-e", program, cwd=folder, stderr=subprocess.DEVNULL)
    return line.partition("shlibs:Depends=")[2].strip()


def settle(tree, epoch):
    """Gives everything the modes of a package, and the same time."""
    for path in [tree, *tree.rglob("*")]:
        path.chmod(0o755 if path.is_dir() or path.parent == tree / "usr/bin" else 0o644)
        os.utime(path, (epoch, epoch))


def make(root, build, version, epoch, tree, target):
    run("cmake", "--install", build, "--prefix", tree / "usr", "--strip")
    for page in (tree / "usr/share/man").rglob("*.[1-8]"):
        compress(page.with_name(page.name + ".gz"), page.read_bytes())
        page.unlink()
    documents = tree / "usr/share/doc/plexum"
    compress(documents / "changelog.gz", changelog(version, epoch))
    compress(documents / "NEWS.gz", (root / "CHANGELOG.md").read_bytes())
    (documents / "copyright").write_text(copyright_file(root), encoding="utf-8")

    size = sum(path.stat().st_size for path in tree.rglob("*") if path.is_file())
    values = {"VERSION": version, "MAINTAINER": MAINTAINER, "SIZE": str((size + 1023) // 1024),
              "DEPENDS": depends(tree / "usr/bin/plexum")}
    control = re.sub("@([A-Z]+)@", lambda match: values[match.group(1)],
                     (FOLDER / "control.in").read_text(encoding="utf-8"))
    sums = "".join(f"{hashlib.md5(path.read_bytes()).hexdigest()}  {path.relative_to(tree)}\n"
                   for path in sorted(tree.rglob("*")) if path.is_file())
    (tree / "DEBIAN").mkdir()
    (tree / "DEBIAN/control").write_text(control, encoding="utf-8")
    (tree / "DEBIAN/md5sums").write_text(sums, encoding="utf-8")
    settle(tree, epoch)
    # With more threads the same files are compressed to other bytes.
    run("dpkg-deb", "--build", "--root-owner-group", "-Zxz", "--threads-max=1", tree, target,
        env={**os.environ, "SOURCE_DATE_EPOCH": str(epoch)})
