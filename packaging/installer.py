"""The installer for Windows: an MSI package for all users, with both bitnesses of the control. It
declares files and registry keys; Windows copies and writes them, and runs nothing of ours. wixl makes
the database; msibuild adds what wixl can't express."""
import hashlib
import os
import pathlib
import re
import subprocess
import tempfile
import time
import uuid
import xml.etree.ElementTree as xml

import registration

NOT_INSTALLED = {"register.cmd", "unregister.cmd", "registration.cmd", "registered.cmd",
                 "PlexumLink.reg"}
UPGRADE_CODE = uuid.UUID("F2B01B38-94D7-467A-A364-464B0A11F3FC")  # of every version, for ever
OWN_CLASS = rf"{registration.CLASSES}\{registration.REGISTRY.server}"


def braced(code):
    return "{" + str(code).upper() + "}"


def guid(name):
    """The same name always gives the same one, so components keep theirs in later versions."""
    return braced(uuid.uuid5(UPGRADE_CODE, name))


def identifier(path):
    return "f." + re.sub(r"[^A-Za-z0-9.]", "_", path.as_posix()) if path.parts else "InstallFolder"


def both_names(name, number):
    """The short and the long name, as the database wants them. Each name in a folder needs another
    number."""
    stem, _, kind = name.partition(".")
    if re.fullmatch(r"\w{1,8}", stem) and re.fullmatch(r"\w{0,3}", kind):
        return name
    return f"P{number:07}{'.' if kind else ''}{kind[:3].upper()}|{name}"


class Document:
    """The source for wixl."""

    def __init__(self, tree, version, content):
        self.tree = tree
        self.root = xml.Element("Wix", xmlns="http://schemas.microsoft.com/wix/2006/wi")
        self.product = self.element(
            self.root, "Product", Id=guid(f"product {version} {content}"), Name="PlexumLink",
            Language="1033", Version=version, Manufacturer="Plexum",
            UpgradeCode=braced(UPGRADE_CODE))
        self.element(self.product, "Package", InstallerVersion="500", Compressed="yes",
                     InstallScope="perMachine", Manufacturer="Plexum",
                     Description=f"PlexumLink {version}")
        self.element(self.product, "Media", Id="1", Cabinet="files.cab", EmbedCab="yes")
        for name, value in (
                ("ARPNOMODIFY", "1"),  # the list of programs offers no change
                ("REINSTALLMODE", "emus")):  # a file of the same version is replaced, too
            self.element(self.product, "Property", Id=name, Value=value)
        self.upgrade(version)
        top = self.element(self.product, "Directory", Id="TARGETDIR", Name="SourceDir")
        programs = self.element(top, "Directory", Id="ProgramFiles64Folder")
        # A command line can only set names in capitals. So the folder is always this one, into which
        # only administrators may write.
        self.folders = {pathlib.Path(): self.element(programs, "Directory", Id="InstallFolder",
                                                     Name=both_names("PlexumLink", 0))}
        self.features = {
            "Main": self.element(self.product, "Feature", Id="Main", Title="PlexumLink", Level="1"),
            "Path": self.element(self.product, "Feature", Id="Path", Level="1000",
                                 Title="Entry in PATH")}
        self.files()
        self.registration(top)
        self.menu(self.element(top, "Directory", Id="ProgramMenuFolder"))
        self.path(top)

    @staticmethod
    def element(parent, kind, **attributes):
        return xml.SubElement(parent, kind, attributes)

    def component(self, parent, name, feature="Main", **attributes):
        component = self.element(parent, "Component", Id=f"c.{name}", Guid=guid(name), **attributes)
        self.element(self.features[feature], "ComponentRef", Id=f"c.{name}")
        return component

    def upgrade(self, version):
        """The installed version is removed by the same transaction: a failure brings it back."""
        upgrade = self.element(self.product, "Upgrade", Id=self.product.get("UpgradeCode"))
        self.element(upgrade, "UpgradeVersion", Minimum="0.0.0", Maximum=version,
                     Property="INSTALLEDVERSION")
        self.element(upgrade, "UpgradeVersion", Minimum=version, IncludeMinimum="no",
                     OnlyDetect="yes", Property="NEWERVERSION")
        self.element(self.product, "Condition",
                     Message="A newer version of PlexumLink is installed.").text = \
            "NOT NEWERVERSION"
        sequence = self.element(self.product, "InstallExecuteSequence")
        self.element(sequence, "RemoveExistingProducts", After="InstallInitialize")

    def folder(self, path):
        if path not in self.folders:
            self.folders[path] = self.element(self.folder(path.parent), "Directory",
                                              Id=identifier(path),
                                              Name=both_names(path.name, len(self.folders)))
        return self.folders[path]

    def files(self):
        for number, path in enumerate(paths(self.tree)):
            component = self.component(self.folder(path.parent), f"file.{identifier(path)}",
                                       Win64="yes")
            self.element(component, "File", Id=identifier(path),
                         Name=both_names(path.name, number),
                         Source=path.as_posix(), KeyPath="yes")

    def registration(self, top):
        """A component for each bitness, which decides into which view of the registry it writes."""
        written = set()
        for bits, folder in ((64, "x64"), (32, "x86")):
            component = self.component(top, f"registration{bits}",
                                       **({"Win64": "yes"} if bits == 64 else {}))
            key_path = {"KeyPath": "yes"}
            for row in registration.values(bits, rf"[InstallFolder]{folder}\PlexumLink.ocx"):
                key, name, text = row
                if row in written and not registration.has_two_views(key):
                    continue
                written.add(row)
                named = {"Name": name} if name else {}
                self.element(component, "RegistryValue", Root="HKLM", Type="string", Value=text,
                             Key=rf"{registration.CLASSES}\{key}", **named, **key_path)
                key_path = {}

    def menu(self, programs):
        menu = self.element(programs, "Directory", Id="Menu", Name=both_names("PlexumLink", 0))
        component = self.component(menu, "menu", Win64="yes")
        self.element(component, "RegistryValue", Root="HKLM", Key=r"Software\Plexum\PlexumLink",
                     Name="Menu", Type="integer", Value="1", KeyPath="yes")
        self.element(component, "RemoveFolder", Id="Menu", On="uninstall")
        for number, (name, target, arguments) in enumerate((
                ("PlexumLink documents", "[#f.PlexumLink.html]", {}),
                ("PlexumLink samples", "[f.examples]", {}),
                ("Plexum command line", "[System64Folder]cmd.exe", {
                    "Arguments": '/k "set "PATH=[InstallFolder];%PATH%" & plexum --help"'}))):
            self.element(component, "Shortcut", Id=f"shortcut{number}", Target=target,
                         Name=both_names(name, number), **arguments)

    def path(self, top):
        component = self.component(top, "path", "Path", Win64="yes")
        self.element(component, "RegistryValue", Root="HKLM", Key=r"Software\Plexum\PlexumLink",
                     Name="Path", Type="integer", Value="1", KeyPath="yes")


def paths(tree):
    found = sorted(path.relative_to(tree) for path in tree.rglob("*") if path.is_file())
    return [path for path in found if path.name not in NOT_INSTALLED]


def queries(tree, version):
    """What wixl can't express."""
    # Upgrades also from the same version, for builds between releases, and keeps chosen features.
    yield "DELETE FROM `Upgrade` WHERE `ActionProperty` = 'INSTALLEDVERSION'"
    yield ("INSERT INTO `Upgrade` (`UpgradeCode`, `VersionMin`, `VersionMax`, `Attributes`, "
           f"`ActionProperty`) VALUES ('{braced(UPGRADE_CODE)}', '0.0.0', '{version}', 769, "
           "'INSTALLEDVERSION')")
    # A file that has a version must have no hash.
    for path in paths(tree):
        if path.suffix in (".ocx", ".exe"):
            yield (f"UPDATE `File` SET `Version` = '{version}.0', `Language` = '1033' "
                   f"WHERE `File` = '{identifier(path)}'")
            yield f"DELETE FROM `MsiFileHash` WHERE `File_` = '{identifier(path)}'"
    yield ("UPDATE `Property` SET `Value` = "
           "'INSTALLEDVERSION;NEWERVERSION;OWNREGISTRATION64;OWNREGISTRATION32;HIDDEN' "
           "WHERE `Property` = 'SecureCustomProperties'")
    # A registration of the user's own would hide this one.
    for bits, kind in ((64, 18), (32, 2)):
        yield f"INSERT INTO `AppSearch` (`Property`, `Signature_`) " \
              f"VALUES ('OWNREGISTRATION{bits}', 'own{bits}')"
        yield f"INSERT INTO `RegLocator` (`Signature_`, `Root`, `Key`, `Type`) " \
              f"VALUES ('own{bits}', 1, '{OWN_CLASS}', {kind})"
        yield (f"INSERT INTO `LaunchCondition` (`Condition`, `Description`) VALUES ("
               f"'Installed OR NOT OWNREGISTRATION{bits} OR HIDDEN', "
               f"'This account has a PlexumLink of its own, which would hide the one for all "
               f"users: [OWNREGISTRATION{bits}]. Remove it with \"unregister.cmd user\" in its "
               f"folder, or install all the same with HIDDEN=1.')")
    for sequence in ("InstallUISequence", "InstallExecuteSequence"):
        yield f"INSERT INTO `{sequence}` (`Action`, `Sequence`) VALUES ('AppSearch', 50)"
    yield ("CREATE TABLE `Environment` (`Environment` CHAR(72) NOT NULL, "
           "`Name` CHAR(255) NOT NULL LOCALIZABLE, `Value` CHAR(255) LOCALIZABLE, "
           "`Component_` CHAR(72) NOT NULL PRIMARY KEY `Environment`)")
    # "*": for all users; "=-": set now, taken away with the component; "[~]": what was there before.
    yield ("INSERT INTO `Environment` (`Environment`, `Name`, `Value`, `Component_`) "
           "VALUES ('path', '=-*PATH', '[~];[InstallFolder]', 'c.path')")
    for action, place in (("RemoveEnvironmentStrings", 3300), ("WriteEnvironmentStrings", 5200)):
        yield ("INSERT INTO `InstallExecuteSequence` (`Action`, `Sequence`) "
               f"VALUES ('{action}', {place})")


def make(tree, version, epoch, signing, target):
    content = hashlib.sha256()
    content.update(pathlib.Path(__file__).read_bytes())
    content.update(repr(list(registration.values(64, ""))).encode())
    for path in paths(tree):
        content.update(path.as_posix().encode() + b"\0" + (tree / path).read_bytes())
        os.utime(tree / path, (epoch, epoch))
    document = Document(tree, version, content.hexdigest())
    # The database holds the time of its making.
    moment = time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime(epoch))
    package_code = guid(f"package {version} {content.hexdigest()}")

    def run(*command):
        subprocess.run(["faketime", "-f", moment, *command], check=True, cwd=tree,
                       env={**os.environ, "TZ": "UTC", "G_DEBUG": "fatal-warnings"})

    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder) / "installer.wxs"
        xml.ElementTree(document.root).write(source, encoding="utf-8")
        run("wixl", "-a", "x64", "-o", target, source)
    run("msibuild", target, *(word for query in queries(tree, version) for word in ("-q", query)))
    run("msibuild", target, "-s", f"PlexumLink {version}", "Plexum", "x64;1033", package_code)
    if signing:
        signing.sign(target)
