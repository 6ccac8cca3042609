"""The installer for Windows: lists the files of the folder for windows/installer.nsi."""
import os
import pathlib
import subprocess
import tempfile

SCRIPT = pathlib.Path(__file__).resolve().parent / "windows" / "installer.nsi"
NOT_INSTALLED = {"register.cmd", "unregister.cmd", "regsvr32.cmd"}


def install_lines(tree, paths):
    folder = None
    for path in paths:
        if path.parent != folder:
            folder = path.parent
            yield f'  SetOutPath "{windows(folder)}"'
        yield f'  File "{tree / path}"'


def uninstall_lines(paths):
    for path in paths:
        yield f'  Push "{windows(path)}"'
        yield "  Call un.Remove"
    # The folders inside go before those around them; what users put there keeps its folder.
    folders = {folder for path in paths for folder in path.parents if folder.parts}
    for folder in sorted(folders, reverse=True):
        yield f'  RMDir "{windows(folder)}"'


def windows(path):
    return "\\".join(["$INSTDIR", *path.parts]).replace("/", "\\")


def macros(tree, paths):
    parts = {
        "InstallCommon": install_lines(tree, [path for path in paths if path.parts[0] != "x64"]),
        "Install64": install_lines(tree, [path for path in paths if path.parts[0] == "x64"]),
        "UninstallFiles": uninstall_lines(paths),
    }
    return "".join(f"!macro {name}\n" + "".join(line + "\n" for line in lines) + "!macroend\n"
                   for name, lines in parts.items())


def make(tree, version, epoch, signing, target):
    paths = sorted(path.relative_to(tree) for path in tree.rglob("*") if path.is_file())
    paths = [path for path in paths if path.name not in NOT_INSTALLED]
    for path in paths:
        os.utime(tree / path, (epoch, epoch))
    size = sum((tree / path).stat().st_size for path in paths)
    with tempfile.TemporaryDirectory() as folder:
        files = pathlib.Path(folder) / "files.nsh"
        files.write_text(macros(tree, paths), encoding="utf-8")
        defines = {"VERSION": version, "FILES": files, "OUTPUT": target,
                   "LICENCE": tree / "LICENSE.txt", "SIZE": (size + 1023) // 1024}
        if signing:
            defines["SIGN"] = " ".join(f'"{word}"' for word in signing.command)
        subprocess.run(["makensis", "-V2", "-WX", "-INPUTCHARSET", "UTF8",
                        *(f"-D{name}={value}" for name, value in defines.items()), SCRIPT],
                       check=True, env={**os.environ, "SOURCE_DATE_EPOCH": str(epoch)})
    if signing:
        signing.sign(target)

