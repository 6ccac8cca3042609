"""The registry keys of the control, for the installer and the .reg file. The control writes the same
keys itself (activex/registration.cpp); tests/packages/windows_test.py compares them."""
CLASSES = r"Software\Classes"
CLASS = "{64643F6A-8FA8-46F5-84E0-D4FE4F73595C}"
PROPERTY_PAGE = "{795531A0-FE9F-4FA0-8BB3-C739A1E9C5DD}"
LIBRARY = "{ACD85100-F31F-49C6-B8A9-20E8DDA5729C}"
NAME = "Plexum PLC link"
PROG_ID = "Plexum.PlexumLink"
INTERFACES = [  # with the marshaller of OLE Automation
    ("_PlexumLink", "{C2157FE1-6F89-4F61-B560-4E51AF201512}",
     "{00020424-0000-0000-C000-000000000046}"),
    ("__PlexumLink", "{35C0DA89-CEB5-4ABD-8AC7-614CC18580D7}",
     "{00020420-0000-0000-C000-000000000046}"),
]


def keys(bits, file, folder):
    """Yields (key below Software\\Classes, name of the value, value) for the control of one
    bitness; an empty name is the key's default value."""
    for clsid, name in ((CLASS, NAME), (PROPERTY_PAGE, f"{NAME} properties")):
        yield rf"CLSID\{clsid}", "", name
        yield rf"CLSID\{clsid}\InprocServer32", "", file
        yield rf"CLSID\{clsid}\InprocServer32", "ThreadingModel", "Apartment"
    for key, value in {
            "ProgID": f"{PROG_ID}.1",
            "VersionIndependentProgID": PROG_ID,
            "TypeLib": LIBRARY,
            "Version": "1.0",
            "ToolboxBitmap32": f"{file}, 101",
            "MiscStatus": "0",
            r"MiscStatus\1": "131473",
            "Control": "",
            "Programmable": "",
            r"Implemented Categories\{40FC6ED4-2438-11CF-A3DB-080036F12502}": ""}.items():
        yield rf"CLSID\{CLASS}\{key}", "", value
    for prog_id in (PROG_ID, f"{PROG_ID}.1"):
        yield prog_id, "", NAME
        yield rf"{prog_id}\CLSID", "", CLASS
    yield rf"{PROG_ID}\CurVer", "", f"{PROG_ID}.1"
    library = rf"TypeLib\{LIBRARY}\1.0"
    yield library, "", NAME
    yield rf"{library}\FLAGS", "", "2"
    yield rf"{library}\HELPDIR", "", folder
    yield rf"{library}\0\win{bits}", "", file
    for name, iid, marshaller in INTERFACES:
        yield rf"Interface\{iid}", "", name
        yield rf"Interface\{iid}\ProxyStubClsid32", "", marshaller
        yield rf"Interface\{iid}\TypeLib", "", LIBRARY
        yield rf"Interface\{iid}\TypeLib", "Version", "1.0"


def quoted(text):
    return '"' + text.replace("\\", r"\\").replace('"', r"\"") + '"'


def reg_file(folder):
    """A file to import on a 64-bit Windows, for all users: both bitnesses, in the folders x64 and x86
    of the folder. Only classes and interfaces have a key for each bitness."""
    values = {}
    for bits, inside in ((64, "x64"), (32, "x86")):
        for key, name, value in keys(bits, rf"{folder}\{inside}\PlexumLink.ocx",
                                     rf"{folder}\{inside}"):
            view = "Wow6432Node\\" if bits == 32 and key.startswith(("CLSID", "Interface")) else ""
            values.setdefault(f"{view}{key}", {})[name] = value
    return "Windows Registry Editor Version 5.00\n" + "".join(
        f"\n[HKEY_LOCAL_MACHINE\\{CLASSES}\\{key}]\n" +
        "".join(f"{quoted(name) if name else '@'}={quoted(value)}\n"
                for name, value in named.items())
        for key, named in values.items())
