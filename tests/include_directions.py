"""Holds the direction of the includes, and of the links between the folders' CMake targets."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

CORE = ["src/base", "src/convert", "src/protocol", "src/data", "src/plc", "src/blocks", "src/control"]
PLATFORM = ["platform/posix", "platform/windows", "platform/portable"]

CLIENT = ["client/wire", "client"]

# The folders of the command, each of which may include those before it.
COMMAND = [f"cli/{name}" for name in ("text", "system", "watching", "link", "plc", "blocks", "host",
                                      "help", "commands")]

# Folder -> the other folders that its files may include.
MAY_INCLUDE = {
    "src/base": [],
    "src/convert": ["src/base"],
    "src/protocol": ["src/base", "src/convert"],
    "src/data": ["src/base", "src/convert", "src/protocol"],
    "src/plc": ["src/base", "src/convert", "src/protocol"],
    "src/blocks": ["src/base", "src/convert", "src/protocol"],
    "src/control": CORE,
    "platform/portable": ["src/base"],
    "platform/posix": ["src/base", "platform/portable"],
    "platform/windows": ["src/base", "platform/portable"],
    "activex": CORE + ["platform/windows"],
    "client/wire": [],
    "client": ["client/wire", "src/base"],
    "sim": ["src/base"] + PLATFORM,
    **{folder: CORE + PLATFORM + CLIENT + ["sim"] + COMMAND[:place]
       for place, folder in enumerate(COMMAND)},
    "cli": COMMAND,
    "bench": CORE + PLATFORM + CLIENT + ["activex", "sim"],
}

# Headers of Debian's libraries are for the command line and the benchmarks alone, the system's own for those that
# have a system to deal with; the core gets by with the standard library.
LIBRARIES = re.compile(r"(CLI|nlohmann|gtest|gmock|boost|benchmark)/")
LIBRARY_USERS = ["bench", "cli", *COMMAND]
STANDARD = re.compile(r"[a-z_]+$")

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)
TARGET = re.compile(r"plexum_(?:library|program)\(\s*(\w+)|add_(?:library|executable)\(\s*(\w+)")
LINK = re.compile(r"target_link_libraries\(([^)]*)\)")


def folder_of(path):
    """The innermost folder of the table that a file belongs to, or None."""
    name = path.relative_to(ROOT).as_posix()
    return max((folder for folder in MAY_INCLUDE if name.startswith(folder + "/")), key=len,
               default=None)


def included_file(path, name):
    """The file that an include by name means: by its path below src/ or below the project."""
    return next((base / name for base in (ROOT / "src", ROOT) if (base / name).is_file()), None)


def faults_of_includes(path, folder):
    for bracket, name in INCLUDE.findall(path.read_text(errors="replace")):
        if bracket == "<":
            if LIBRARIES.match(name) and folder not in LIBRARY_USERS:
                yield f"<{name}> is a library that only bench and cli may use"
            elif folder in CORE and not STANDARD.match(name):
                yield f"<{name}> is no header of the standard library"
            continue
        target = included_file(path, name)
        if target is None:
            # Made by the build, for example from the interface description.
            if "/" in name:
                yield f'"{name}" is no path below src/ or the project'
            continue
        other = folder_of(target)
        if other == folder:
            continue
        if other not in MAY_INCLUDE[folder]:
            yield f'"{name}" is in {other}, which {folder} may not include'


def targets_by_folder(files):
    """CMake target -> the folder that declares it."""
    return {name: folder_of(path) for path in files if folder_of(path)
            for pair in TARGET.findall(path.read_text()) for name in pair if name}


def faults_of_links(path, folder, owners):
    for call in LINK.findall(path.read_text()):
        for name in call.split():
            other = owners.get(name, folder)
            if other != folder and other not in MAY_INCLUDE[folder]:
                yield f"links {name} of {other}, which {folder} may not"


def main():
    sources = sorted({path for folder in MAY_INCLUDE for path in (ROOT / folder).rglob("*")
                      if path.suffix in (".h", ".cpp")})
    lists = sorted(path for top in ("src", "client", "platform", "activex", "sim", "cli", "bench")
                   for path in (ROOT / top).rglob("CMakeLists.txt"))
    strays = [path for top in ("src", "client", "platform", "activex", "sim", "cli", "bench")
              for path in sorted((ROOT / top).rglob("*"))
              if path.suffix in (".h", ".cpp") and folder_of(path) is None]
    owners = targets_by_folder(lists)
    faults = [(path, "is in no folder that the include directions know") for path in strays]
    faults += [(path, fault) for path in sources
               for fault in faults_of_includes(path, folder_of(path))]
    faults += [(path, fault) for path in lists if folder_of(path)
               for fault in faults_of_links(path, folder_of(path), owners)]
    for path, fault in faults:
        print(f"{path.relative_to(ROOT)}: {fault}")
    if not sources:
        sys.exit("no sources found")
    print(f"{len(sources)} sources, {len(lists)} CMake lists, {len(faults)} faults")
    sys.exit(1 if faults else 0)


main()
