"""examples/csharp/Plexum.cs: the declarations of the interface, from the member table and the
control's identity."""
import tomllib

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
    with open(root / "activex" / "identity.toml", "rb") as file:
        identity = tomllib.load(file)
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
    return (HEAD % (identity["control"]["id"], identity["interface"]["id"]) + "\n".join(lines)
            + "\n    }\n}\n")
