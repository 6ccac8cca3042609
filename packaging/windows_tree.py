"""The folder that the archive for Windows holds; the installer installs most of it:

  plexum.exe, PlexumLink.html, LICENSE.txt, register.cmd and its kin
  PlexumLink.reg  what is registered
  x64, x86    PlexumLink.ocx of that bitness, with its manifest and its type library
  examples    the samples
  licences    of what is linked in
"""
import components
import registration

CONTROL = {"PlexumLink.ocx": "PlexumLink.ocx", "PlexumLink.manifest": "PlexumLink.manifest",
           "activex/generated/plexum.tlb": "plexum.tlb"}
SIGNED = ["*/PlexumLink.ocx", "plexum.exe"]


def put(source, target):
    """Copies one file. Texts get the line ends of Windows; the command prompt and VB6 need them."""
    data = source.read_bytes()
    if b"\0" not in data:
        data = data.replace(b"\r\n", b"\n").replace(b"\n", b"\r\n")
    target.parent.mkdir(parents=True, exist_ok=True)
    target.write_bytes(data)


def make(root, win64, win32, help_page, target):
    for build, folder in ((win64, "x64"), (win32, "x86")):
        for source, name in CONTROL.items():
            put(build / source, target / folder / name)
    put(win32 / "plexum.exe", target / "plexum.exe")  # every Windows runs this one
    for path in (root / "packaging" / "windows").glob("*.cmd"):
        put(path, target / path.name)
    (target / "PlexumLink.reg").write_text(
        registration.reg_file(r"C:\Program Files\PlexumLink"), encoding="ascii", newline="\r\n")
    put(root / "LICENSE", target / "LICENSE.txt")
    (target / "PlexumLink.html").write_text(help_page, encoding="utf-8")
    for path in sorted((root / "examples").rglob("*")):
        if path.is_file() and "__pycache__" not in path.parts:
            put(path, target / path.relative_to(root))
    for component in components.OF_WINDOWS:
        put(component.copyright_file, target / "licences" / f"{component.source}.txt")
