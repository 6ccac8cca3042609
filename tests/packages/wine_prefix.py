"""A Wine prefix as the Windows on which packages are installed: runs programs there, reads its registry
and its files."""
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time

SYSTEM = {64: r"C:\windows\system32", 32: r"C:\windows\syswow64"}


def demand(condition, what):
    if not condition:
        raise SystemExit(f"FAILED: {what}")


class Prefix:
    def __init__(self, wine, folder):
        """Makes a new one in the folder; wine is the path of script/wine."""
        self.wine, self.folder = wine, pathlib.Path(folder)
        self.environment = {**os.environ, "PLEXUM_WINEPREFIX": str(folder)}
        self.stop()
        shutil.rmtree(folder, ignore_errors=True)

    def stop(self):
        if self.folder.exists():
            self.run("--stop")

    def start(self, *command, folder=None):
        return subprocess.Popen([self.wine, *command], stdin=subprocess.DEVNULL, cwd=folder,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                env=self.environment)

    def run(self, *command, folder=None):
        """(exit code, output)"""
        process = self.start(*command, folder=folder)
        output = process.communicate()[0].decode("cp437").replace("\r\n", "\n")
        return process.returncode, output

    def demand(self, *command, folder=None, code=0):
        """The output of a command that must end with the code."""
        found, output = self.run(*command, folder=folder)
        demand(found == code, f"{command} ended with {found}: {output}")
        return output

    def path(self, windows):
        """Where the file C:\\... lies in this system. The case of its letters counts."""
        return self.folder / "drive_c" / windows[3:].replace("\\", "/")

    def value(self, key, bits, name=None):
        """A text of the registry, or None."""
        code, output = self.run("reg", "query", key, *(["/v", name] if name else ["/ve"]),
                                f"/reg:{bits}")
        found = re.search(r" REG_(?:EXPAND_)?SZ +(.*)", output)
        return found.group(1).strip() if code == 0 and found else None

    def registry(self):
        """All lines, each with its key, of the parts of the registry that programs write."""
        found = set()
        for root in (r"HKLM\Software", r"HKCU\Software", r"HKCU\Environment"):
            with tempfile.NamedTemporaryFile(suffix=".reg") as file:
                self.demand("reg", "export", root, "Z:" + file.name.replace("/", "\\"), "/y")
                text = pathlib.Path(file.name).read_bytes().decode("utf-16")
            key = ""
            for line in text.splitlines():
                key = line if line.startswith("[") else key
                if r"\Windows NT\CurrentVersion\NetworkCards" not in key:  # Wine writes them at any time
                    found.add((key, line))
        return found

    def files(self):
        top = self.folder / "drive_c"
        return {str(path.relative_to(top)) for path in top.rglob("*")}


def wait_until(condition, what, seconds=60):
    for _ in range(seconds * 10):
        if condition():
            return
        time.sleep(0.1)
    demand(False, f"{what}, within {seconds} s")
