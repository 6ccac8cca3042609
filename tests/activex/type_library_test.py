#!/usr/bin/env python3
"""type_library_test.py FILE BITS: holds the type library within a file of that bitness, read by our
own reader, against what is written by hand: type_library.txt and interface.txt."""
import pathlib
import sys

sys.dont_write_bytecode = True
import type_library_reader as reader  # noqa: E402

FOLDER = pathlib.Path(__file__).resolve().parent
PURE_VIRTUAL, STDCALL = 1, 4
SYSTEMS = {1: "win32", 3: "win64"}


def described(library, pointer):
    """The lines of type_library.txt, whose table sizes are in slots."""
    yield (f"library {library.name(library.name_at)} {library.guid(library.guid_at)} "
           f"{library.version}: {library.flags}; {library.text(library.help_at)}")
    for name, guid, version in library.imports():
        yield f"imports {name} {guid} {version}"
    for each in library.types.values():
        yield f"{each.kind} {each.name} {each.guid}: {each.flags}; {library.text(each.help)}"
        if each.kind == "coclass":
            for name, flags in each.implemented():
                yield f"  {flags}: {name}"
        else:
            base = f", above {library.reference(each.base)}" if each.base != -1 else ""
            yield (f"  {each.function_count} functions in {each.table_size // pointer} slots{base}")


def signature(function, pointer):
    """A line of interface.txt."""
    result, parameters = "", []
    for kind, name, way in function.parameters:
        if way & reader.RESULT:
            result = f" : {kind.removesuffix('*')}"
        else:
            direction = "inout" if way & reader.OUT else "in"
            name = "value" if function.call == "put" else name
            parameters.append(f"{direction} {kind} {name}")
    return (f"{function.table_offset // pointer:2d} 0x{function.id:08x} {function.call:6} "
            f"{function.name}({', '.join(parameters)}){result}")


def main():
    path, bits = sys.argv[1], int(sys.argv[2])
    pointer = bits // 8
    library = reader.Library(pathlib.Path(path).read_bytes())
    faults = []

    def demand(name, found, wanted):
        if found != wanted:
            faults.append(f"{name}\n  found  {found}\n  wanted {wanted}")

    demand("kind of system", SYSTEMS.get(library.system), f"win{bits}")
    interface = next(each for each in library.types.values() if each.name == "_PlexumLink")
    functions = list(interface.functions())
    for file, lines in (("type_library.txt", list(described(library, pointer))),
                        ("interface.txt", [signature(each, pointer) for each in functions])):
        wanted = (FOLDER / file).read_text(encoding="ascii").splitlines()
        demand(f"lines of {file}", len(lines), len(wanted))
        for found, line in zip(lines, wanted):
            demand(file, found, line)
    for each in functions:
        is_state = each.id >> 16 == 0x4003
        demand(each.name, (each.function_kind, each.convention, each.result),
               (PURE_VIRTUAL, STDCALL, "HRESULT"))
        demand(f"{each.name} in property grids", each.flags, "nonbrowsable" if is_state else "")
        demand(f"{each.name} is explained", len(each.help) > 20, True)
    sys.exit("\n".join(faults) or 0)


main()
