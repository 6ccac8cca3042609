#!/usr/bin/env python3
"""windows_test.py PACKAGES OLDER_PACKAGES: on a fresh Windows, which is a Wine prefix of its own,
installs, upgrades and uninstalls by the installers, also while a host holds the control, and
registers the archive's files, for all users and for one. A sample reads a simulated PLC each time;
afterwards the files and the registry are as they were."""
import contextlib
import pathlib
import sys
import zipfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "tests" / "activex"))

from simulated_plc import simulated_plc  # noqa: E402
from wine_prefix import SYSTEM, Prefix, demand, wait_until  # noqa: E402

PLEXUM = ROOT / "build" / "native" / "plexum"
SERVER = r"Software\Classes\CLSID\{64643F6A-8FA8-46F5-84E0-D4FE4F73595C}\InprocServer32"
ENVIRONMENT = r"HKLM\System\CurrentControlSet\Control\Session Manager\Environment"
INSTALLED = r"C:\Program Files\PlexumLink"
MSI_FAILED, MSI_NEEDS_RESTART = 1603 % 256, 3010 % 256  # exit codes have 8 bits here
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
    found, = pathlib.Path(folder).glob(pattern)
    return found


class Test:
    def __init__(self, prefix, packages, older, port):
        self.prefix, self.port = prefix, port
        self.setup = package(packages, "PlexumLink-*.msi")
        self.older = package(older, "PlexumLink-*.msi")
        self.archive = package(packages, "PlexumLink-*-windows.zip")
        self.version = self.setup.stem.split("-")[1]
        self.controls = self.controls_of(self.archive)
        self.older_controls = self.controls_of(package(older, "PlexumLink-*-windows.zip"))
        # Wine's script hosts register something when they run for the first time.
        for system in SYSTEM.values():
            prefix.run(system + r"\cscript.exe", "//nologo", r"C:\nothing.vbs")
        prefix.path(r"C:\host.vbs").write_text(HOST)
        prefix.path(r"C:\windows\Installer").mkdir()  # every Windows has it
        for key in ("CLSID", "Interface", "TypeLib"):  # every Windows has them
            prefix.demand("reg", "add", r"HKCU\Software\Classes" + "\\" + key, "/f")
        self.files, self.registry = prefix.files(), prefix.registry()

    def controls_of(self, archive):
        with zipfile.ZipFile(archive) as inside:
            return {bits: inside.read(f"{archive.stem}/{folder}/PlexumLink.ocx")
                    for bits, folder in FOLDERS.items()}

    def expect_registered(self, root, controls, folder):
        for bits in SYSTEM:
            path = self.prefix.value(f"{root}\\{SERVER}", bits)
            if root == "HKCU":  # Wine has one key for both bitnesses there; Windows has two
                bits = 32
            demand(path == f"{folder}\\{FOLDERS[bits]}\\PlexumLink.ocx" and
                   self.prefix.path(path).read_bytes() == controls[bits],
                   f"{path} is the {bits}-bit control of this version in {folder}")

    def expect_sample(self, folder):
        for system in SYSTEM.values():
            output = self.prefix.demand(
                system + r"\cscript.exe", "//nologo", folder + r"\examples\vbscript\read.vbs",
                "127.0.0.1", self.port)
            demand(output.endswith("disconnected\n"), f"sample in {folder}: {output}")
        output = self.prefix.demand(folder + r"\plexum.exe", "--version")
        demand(self.version in output, f"plexum.exe of {self.version}: {output}")

    def expect_clean(self, what):
        files = self.prefix.files() - self.files
        demand(not files, f"{what} left files: {sorted(files)}")
        lines = {(key, line) for key, line in self.prefix.registry() - self.registry
                 if "=" in line or r"\Installer" not in key}  # its empty lists stay
        demand(not lines, f"{what} left in the registry: {sorted(lines)[:20]}")

    def msiexec(self, action, package, *properties, code=0):
        path = "Z:" + str(package.resolve()).replace("/", "\\")
        self.prefix.demand("msiexec", action, path, "/qn", *properties, code=code)

    def keys(self, folder):
        """The control's lines in the registry, without the name of the folder."""
        inside = folder.replace("\\", r"\\")
        return {(key, line.replace(inside, "")) for key, line in
                self.prefix.registry() - self.registry
                if r"\Classes" in key and r"\Installer" not in key}

    @contextlib.contextmanager
    def running_host(self):
        """While the block runs, a host reads with the registered control."""
        host = self.prefix.start(SYSTEM[32] + r"\cscript.exe", "//nologo", r"C:\host.vbs", self.port)
        try:
            wait_until(self.prefix.path(r"C:\reading").exists, "the host to read")
            yield
        finally:
            self.prefix.path(r"C:\end").touch()
            output = host.communicate()[0].decode("cp437")
        demand("host ended well" in output, f"the host: {output}")
        for name in ("reading", "end"):
            self.prefix.path("C:\\" + name).unlink()

    def test_installer(self):
        folder, own = INSTALLED, f"HKCU\\{SERVER}"
        self.prefix.demand("reg", "add", own, "/ve", "/d", r"C:\own.ocx", "/f")
        self.msiexec("/i", self.older, code=MSI_FAILED)
        self.prefix.demand("reg", "delete", own.rpartition("\\")[0], "/f")
        self.expect_clean("refused, since this user's own registration would hide it:")
        # No option leads to another folder, where ordinary users may write.
        self.msiexec("/i", self.older, "ADDLOCAL=ALL", r"InstallFolder=C:\users\Public",
                     r"TARGETDIR=C:\users\Public")
        self.expect_registered("HKLM", self.older_controls, folder)
        path = self.prefix.value(ENVIRONMENT, 64, "PATH")
        demand(path.endswith(f";{folder}\\"), f"the folder in PATH: {path}")
        # A host has the control loaded, so the new file is put in place when Windows starts. (Wine
        # doesn't delete a loaded file when it uninstalls.)
        with self.running_host():
            self.msiexec("/i", self.setup, code=MSI_NEEDS_RESTART)
        self.prefix.demand("wineboot", "--restart")
        self.expect_registered("HKLM", self.controls, folder)
        self.expect_sample(folder)
        links = [path for path in self.prefix.files() - self.files if path.endswith(".lnk")]
        demand(len(links) == 3, f"three links in the start menu: {links}")
        self.installed_keys = self.keys(folder)
        self.msiexec("/i", self.older, code=MSI_FAILED)
        self.expect_registered("HKLM", self.controls, folder)
        self.msiexec("/x", self.setup)
        self.expect_clean("uninstalling")

    def register(self, folder, script, *arguments, code=0):
        return self.prefix.demand("cmd", "/c", script, *arguments, code=code,
                                  folder=self.prefix.path(folder))

    def test_archive(self):
        with zipfile.ZipFile(self.archive) as archive:
            for folder in (r"C:\Program Files", r"C:\unpacked & here"):
                archive.extractall(self.prefix.path(folder))
        self.files = self.prefix.files()
        for base, arguments, root in ((r"C:\Program Files", [], "HKLM"),
                                      (r"C:\unpacked & here", ["user"], "HKCU")):
            folder = f"{base}\\{self.archive.stem}"
            shown = self.register(folder, "register.cmd", *arguments)
            self.expect_registered(root, self.controls, folder)
            demand(shown.count("none") == 2 and shown.count(folder) == 2, f"registered: {shown}")
            if root == "HKLM":
                self.expect_sample(folder)
                keys = self.keys(folder)
            self.register(folder, "unregister.cmd", *arguments)
            self.expect_clean("unregister.cmd")
        self.prefix.demand("reg", "import", folder + r"\PlexumLink.reg")
        for what, others in (("the installer", self.installed_keys),
                             ("PlexumLink.reg", self.keys(INSTALLED))):
            demand(others == keys, f"{what} writes what the control writes: {others ^ keys}")
        self.register(folder, "unregister.cmd")
        for arguments, code in (([], 1), (["nonsense"], 2)):
            self.register(folder, "register.cmd", *arguments, code=code)
            self.expect_clean(f"register.cmd {arguments}")


def main():
    packages, older = sys.argv[1:]
    prefix = Prefix(str(ROOT / "script" / "wine"),
                    str(ROOT / "build" / "tools" / "wine" / "packages"))
    try:
        with simulated_plc(str(PLEXUM)) as port:
            test = Test(prefix, packages, older, port)
            test.test_installer()
            test.test_archive()
    finally:
        prefix.stop()
    print("installed, upgraded, uninstalled; nothing stayed behind")


main()
