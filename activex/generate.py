"""Writes what the build takes from activex/identity.toml and docs/members.toml.

  generate.py constants FILE                      the identity as C++ constants
  generate.py idl|declarations|definitions FILE   the interface: see interface.py
  generate.py fill TEMPLATE FILE [NAME=VALUE...]  a text with @section.name@ (a fact of the
                                                  identity) and @NAME@ put in
"""
import json
import pathlib
import re
import sys
import uuid

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "docs" / "generator"))

import identity  # noqa: E402
import interface  # noqa: E402
import members  # noqa: E402


def wide(text):
    """A text as a C++ literal; json quotes as C++ does."""
    return "L" + json.dumps(text)


def constants(facts):
    registry = identity.Registry(facts)
    control, page = facts["control"], facts["property_page"]
    numbers = uuid.UUID(page["id"]).fields
    guid = ", ".join([f"0x{number:X}" for number in numbers[:3]]
                     + ["{" + ", ".join(f"0x{byte:02X}" for byte in uuid.UUID(page["id"]).bytes[8:])
                        + "}"])
    lines = [
        f"inline constexpr wchar_t kDescription[] = {wide(control['description'])};",
        f"inline constexpr DWORD kMiscStatus = {control['misc_status_bits']};",
        f"inline constexpr CLSID kPropertyPageId{{{guid}}};",
        f"inline constexpr int kPropertyPageDialog = {page['dialog']};",
        f"inline constexpr wchar_t kServerKey[] = {wide(registry.server)};",
        "inline constexpr RegistryValue kRegistryValues[] = {",
        *(f"    {{{', '.join(map(wide, row))}}}," for row in registry.values), "};"]
    for name, keys in (("kOwnKeys", registry.own_keys), ("kSharedKeys", registry.shared_keys)):
        lines += [f"inline constexpr const wchar_t* {name}[] = {{",
                  *(f"    {wide(key)}," for key in keys), "};"]
    return lines


def fill(template, facts, every, definitions):
    facts["interface"]["slots"] = members.FIRST_SLOT + len(members.interface_lines(every))
    text = identity.filled(template, facts)
    return re.sub(r"@(\w+)@", lambda name: definitions[name[1]], text)


def main():
    what, *arguments = sys.argv[1:]
    facts, (every, _) = identity.load(), members.load()
    if what == "fill":
        template, target, *definitions = arguments
        text = fill(pathlib.Path(template).read_text(encoding="utf-8"), facts, every,
                    dict(definition.split("=", 1) for definition in definitions))
    else:
        target, = arguments
        lines = constants(facts) if what == "constants" else {
            "idl": interface.idl, "declarations": interface.declarations,
            "definitions": interface.definitions}[what](every)
        text = "".join(line + "\n" for line in lines)
    pathlib.Path(target).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
