#!/usr/bin/env python3
"""windows_test.py PACKAGES OLDER_PACKAGES: on a fresh Windows, which is a Wine prefix of its own,
installs, upgrades and uninstalls from the installers, for all users and for one, also while a host
holds the control, and registers the archive's files. A sample reads a simulated PLC each time;
afterwards the files and the registry are as they were."""
import contextlib
import pathlib
import re
import subprocess
import sys
import time
import zipfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "tests" / "activex"))

from simulated_plc import simulated_plc  # noqa: E402
from wine_prefix import SYSTEM, Prefix, demand, wait_until  # noqa: E402

PLEXUM = ROOT / "build" / "native" / "plexum"
SERVER = r"Software\Classes\CLSID\{64643F6A-8FA8-46F5-84E0-D4FE4F73595C}\InprocServer32"
UNINSTALL = r"Software\Microsoft\Windows\CurrentVersion\Uninstall\PlexumLink"
MENU = r"Microsoft\Windows\Start Menu\Programs\PlexumLink"
FOLDERS = {64: "x64", 32: "x86"}

# A host that goes on reading until a file appears.
HOST = r"""
Set plc = CreateObject("Plexum.PlexumLink")
plc.Tzeit = 10000
Set files = CreateObject("Scripting.FileSystemObject")
connected = plc.ag_ini("127.0.0.1", WScript.Arguments(0), "1.0", "3.2")
count = 0
Do Until files.FileExists("C:\end")
  words = plc.ag_ReadB("1", "4", "16", "B", "D")
  If plc.err <> 0 Then WScript.Quit 1
  count = count + 1
  If count = 1 Then files.CreateTextFile("C:\reading").Close
Loop
plc.ag_exit
WScript.Echo "host ended well"
"""


def package(folder, pattern):
    found = sorted(pathlib.Path(folder).glob(pattern))
    demand(len(found) == 1, f"one {pattern} in {folder}")
    return found[0]


class Test:
    def __init__(self, prefix, packages, older, port):
        self.prefix, self.port = prefix, port
        self.setup = package(packages, "PlexumLink-*-setup.exe")
        self.older = package(older, "PlexumLink-*-setup.exe")
        self.archive = package(packages, "PlexumLink-*-windows.zip")
        self.version = self.setup.name.split("-")[1]
        self.controls = self.controls_of(self.archive)
        self.older_controls = self.controls_of(package(older, "PlexumLink-*-windows.zip"))
        demand(self.controls != self.older_controls, "two versions")
        self.begin = time.monotonic()
        prefix.demand("cmd", "/c", "exit")
        prefix.path(r"C:\host.vbs").write_text(HOST)
        # Wine's script hosts register a part of their own when they run for the first time.
        prefix.path(r"C:\nothing.vbs").touch()
        for system in SYSTEM.values():
            prefix.demand(system + r"\cscript.exe", "//nologo", r"C:\nothing.vbs")
        for key in ("Classes\\CLSID", "Classes\\Interface", "Classes\\TypeLib",
                    r"Microsoft\Windows\CurrentVersion\Uninstall"):  # every Windows has them
            prefix.demand("reg", "add", "HKCU\\Software\\" + key, "/f")
        self.step("a fresh prefix")
        self.files, self.registry = prefix.files(), prefix.registry()

    def step(self, what):
        print(f"{time.monotonic() - self.begin:6.1f} s: {what}", flush=True)

    def controls_of(self, archive):
        with zipfile.ZipFile(archive) as inside:
            return {bits: inside.read(f"{archive.stem}/{folder}/PlexumLink.ocx")
                    for bits, folder in FOLDERS.items()}

    def expect_registered(self, root, controls, folder=None):
        for bits in SYSTEM:
            path = self.prefix.value(f"{root}\\{SERVER}", bits)
            demand(path is not None, f"{bits}-bit control registered in {root}")
            if folder:
                demand(path.startswith(folder), f"{path} in {folder}")
            if root == "HKCU":  # Wine, unlike Windows, has one key of a user for both bitnesses
                bits = 32
            demand(path.endswith(f"\\{FOLDERS[bits]}\\PlexumLink.ocx") and
                   self.prefix.path(path).read_bytes() == controls[bits],
                   f"{path} is the {bits}-bit control of this version")

    def expect_sample(self, folder):
        for system in SYSTEM.values():
            output = self.prefix.demand(
                system + r"\cscript.exe", "//nologo", folder + r"\examples\vbscript\read.vbs",
                "127.0.0.1", self.port)
            demand(output.endswith("disconnected\n"), f"sample in {folder}: {output}")
        output = self.prefix.demand(folder + r"\plexum.exe", "--version")
        demand(self.version in output, f"plexum.exe of {self.version}: {output}")

    def expect_clean(self, what):
        # The uninstaller's copy of itself goes when Windows starts; its temporary folder is left.
        files = {path for path in self.prefix.files() - self.files
                 if not re.search(r"/Temp/~nsu\w*\.tmp(/Un\.exe)?$", path)}
        demand(not files, f"{what} left files: {sorted(files)}")
        lines = self.prefix.registry() - self.registry
        demand(not lines, f"{what} left in the registry: {sorted(lines)[:20]}")

    def uninstall(self, root):
        command = self.prefix.value(f"{root}\\{UNINSTALL}", 64, "QuietUninstallString")
        demand(command is not None, f"QuietUninstallString in {root}")
        program, _, options = command[1:].partition('" ')
        self.prefix.demand(program, *options.split())
        # It goes on as a copy of itself.
        wait_until(lambda: not self.prefix.path(program).exists(), f"{program} to be gone")
        wait_until(lambda: self.prefix.value(f"{root}\\{UNINSTALL}", 64, "DisplayName") is None,
                   "uninstalled")

    def menu(self, base):
        folder = self.prefix.path(f"{base}\\{MENU}")
        return {path.name for path in folder.iterdir()} if folder.exists() else set()

    @contextlib.contextmanager
    def running_host(self, bits):
        """A host that reads with the registered control from begin to end of the block."""
        for name in ("reading", "end"):
            self.prefix.path("C:\\" + name).unlink(missing_ok=True)
        host = self.prefix.start(SYSTEM[bits] + r"\cscript.exe", "//nologo", r"C:\host.vbs",
                                 self.port)
        try:
            wait_until(self.prefix.path(r"C:\reading").exists, f"the {bits}-bit host to read")
            yield
            demand(host.poll() is None, f"the {bits}-bit host still runs")
        finally:
            self.prefix.path(r"C:\end").touch()
            output = host.communicate()[0].decode("cp437")
            for name in ("reading", "end"):
                self.prefix.path("C:\\" + name).unlink(missing_ok=True)
        demand("host ended well" in output, f"the {bits}-bit host: {output}")

    def test_for_all_users(self):
        program_files = r"C:\Program Files\PlexumLink"
        self.prefix.demand(str(self.older), "/S")
        self.expect_registered("HKLM", self.older_controls, program_files)
        signature = subprocess.run(  # by nobody whom this system trusts: it ends with 1
            ["osslsigncode", "verify", self.prefix.path(program_files + r"\uninstall.exe")],
            capture_output=True, text=True, check=False).stdout
        demand("CN=Plexum test" in signature, f"its uninstaller is signed: {signature}")
        self.step("installed the older version")
        with self.running_host(64):
            self.prefix.demand(str(self.setup), "/S")
            self.expect_registered("HKLM", self.controls, program_files)
            self.expect_sample(program_files)
        demand(self.prefix.value("HKLM\\" + UNINSTALL, 64, "DisplayVersion") == self.version,
               "DisplayVersion")
        demand(len(self.menu(r"C:\ProgramData")) == 3, "three links in the start menu")
        self.step("upgraded it while a host held it")
        with self.running_host(32):
            self.uninstall("HKLM")
        # What a host had loaded goes with the next start.
        self.prefix.demand("wineboot", "--restart")
        self.expect_clean("installing for all users")
        self.step("uninstalled it while a host held it")

    def test_for_one_user(self):
        folder = r"C:\users\Public\link"
        self.prefix.demand(str(self.setup), "/S", "/CurrentUser", "/D=" + folder)
        self.expect_registered("HKCU", self.controls, folder)
        demand(self.prefix.value("HKLM\\" + SERVER, 64) is None, "nothing for all users")
        self.prefix.demand(str(self.setup), "/S")  # again, where and as it is
        self.expect_registered("HKCU", self.controls, folder)
        self.uninstall("HKCU")
        self.expect_clean("installing for one user")
        self.step("installed and uninstalled for one user")

    def test_archive(self):
        folder = f"C:\\unpacked here\\{self.archive.stem}"
        with zipfile.ZipFile(self.archive) as archive:
            archive.extractall(self.prefix.path(r"C:\unpacked here"))
        self.files = self.prefix.files()
        for arguments, root in (([], "HKLM"), (["user"], "HKCU")):
            output = self.prefix.demand("cmd", "/c", folder + r"\register.cmd", *arguments)
            demand("PlexumLink is registered" in output, output)
            self.expect_registered(root, self.controls, folder)
            if root == "HKLM":  # Wine finds nothing by HKCU
                self.expect_sample(folder)
            self.prefix.demand("cmd", "/c", folder + r"\unregister.cmd", *arguments)
            self.expect_clean("unregister.cmd")
        code, output = self.prefix.run("cmd", "/c", folder + r"\register.cmd", "nonsense")
        demand(code != 0 and "usage" in output, f"a wrong argument: {code} {output}")
        self.step("registered and unregistered the archive's files")


def main():
    packages, older = sys.argv[1:]
    prefix = Prefix(str(ROOT / "script" / "wine"),
                    str(ROOT / "build" / "tools" / "wine" / "packages"))
    try:
        with simulated_plc(str(PLEXUM)) as port:
            test = Test(prefix, packages, older, port)
            test.test_for_all_users()
            test.test_for_one_user()
            test.test_archive()
    finally:
        prefix.stop()
    print("installed, upgraded, uninstalled; nothing stayed behind")


main()
