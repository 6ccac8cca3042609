"""examples/csharp/Plexum.cs: the declarations of the interface, from the member table and the IDL's
GUIDs."""
import re

import members

TYPES = {"String": "string", "Long": "int", "Integer": "short", "Boolean": "bool",
         "Variant": "object"}
HEAD = """\
// Made by script/docs from docs/members.toml: what a reference to the type library declares. The
// order of the members is that of the interface's slots.
using System;
using System.Runtime.InteropServices;

namespace Plexum
{
    [ComImport, Guid("%s"), ClassInterface(ClassInterfaceType.None)]
    public class PlexumLink
    {
    }

    [ComImport, Guid("%s"), InterfaceType(ComInterfaceType.InterfaceIsDual)]
    public interface _PlexumLink
    {
"""


def parameter(argument):
    if argument.by_value:
        return f"{TYPES[argument.type]} {argument.name}"
    marshalling = "[MarshalAs(UnmanagedType.Struct)] " if argument.type == "Variant" else ""
    return f"{marshalling}ref {TYPES[argument.type]} {argument.name}"


def declarations(root):
    idl = (root / "activex" / "plexum.idl").read_text(encoding="utf-8")
    guids = {name: re.search(rf"uuid\(([-0-9A-F]+)\)[^]]*\]\s*{kind} {name}\b", idl)[1]
             for kind, name in (("coclass", "PlexumLink"), ("interface", "_PlexumLink"))}
    lines = []
    for member in members.load()[0]:
        lines.append(f"        [DispId(0x{member.id:08X})]")
        if member.kind != "method":
            lines.append(f"        {TYPES[member.type]} {member.name} {{ get; set; }}")
            continue
        if member.type == "Variant":
            lines.append("        [return: MarshalAs(UnmanagedType.Struct)]")
        result = TYPES[member.type] if member.type else "void"
        parameters = ", ".join(map(parameter, member.arguments))
        lines.append(f"        {result} {member.name}({parameters});")
    return (HEAD % (guids["PlexumLink"], guids["_PlexumLink"]) + "\n".join(lines)
            + "\n    }\n}\n")
