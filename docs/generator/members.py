"""The member table, docs/members.toml, with its shared texts put in.

As a program it writes what the command's build takes from the table, as rows of C++ arrays:
  members.py help FILE         name, signature and help string of every member
  members.py methods FILE      the methods of `plexum host`, for cli/host/members.cpp
  members.py properties FILE   its properties and state variables, likewise
activex/generate.py makes the COM server's share.
"""
import json
import pathlib
import sys
import tomllib

DOCS = pathlib.Path(__file__).resolve().parent.parent
# Types as VB hosts name them, to those of OLE Automation and to those of the core.
AUTOMATION = {"String": "BSTR", "Long": "I4", "Integer": "I2", "Boolean": "BOOL",
              "Variant": "VARIANT"}
CORE = {"String": "std::string", "Long": "std::int32_t", "Integer": "std::int16_t",
        "Boolean": "bool"}
FIRST_SLOT = 7  # behind IDispatch


class Argument:
    def __init__(self, text, member, shared):
        self.name, _, kind = text.partition(": ")
        self.type = kind or "String"
        meaning = member.get("meaning", {}).get(self.name) or shared.get(self.name)
        assert meaning, f"{member['name']}: {self.name} has no meaning"
        self.meaning = meaning
        self.bytes = self.name in member.get("bytes", [])
        # Numbers are by value, all else by reference.
        self.by_value = self.type == "Long"


class Member:
    def __init__(self, entry, table):
        known = {"name", "kind", "group", "id", "type", "arguments", "bytes", "help", "meaning",
                 "like", "result", "err", "errors", "notes", "default", "before", "example",
                 "at_clock"}
        assert not set(entry) - known, f"{entry['name']}: {set(entry) - known}"
        entry = table["like"].get(entry.get("like"), {}) | entry
        self.name, self.kind, self.id = entry["name"], entry["kind"], entry["id"]
        self.group = entry["group"]
        assert self.group in table["groups"], self.group
        self.type = entry.get("type")
        self.help = entry["help"]
        self.arguments = [Argument(text, entry, table["arguments"])
                          for text in entry.get("arguments", [])]
        strays = (set(entry.get("meaning", {})) | set(entry.get("bytes", []))) - {
            argument.name for argument in self.arguments}
        assert not strays, f"{self.name}: {strays}"
        self.result = entry.get("result", "")
        self.err = [table["err"].get(text, text) for text in entry.get("err", [])]
        self.errors = [table["errors"].get(text, text) for text in entry.get("errors", [])]
        self.notes = entry.get("notes", "")
        self.default = entry.get("default")
        self.before = entry.get("before", [])
        self.example = entry["example"]
        self.at_clock = entry.get("at_clock", False)

    @property
    def signature(self):
        """As VB hosts read it."""
        result = f" As {self.type}" if self.type else ""
        if self.kind != "method":
            return self.name + result
        arguments = ", ".join(argument.name if argument.type == "String" else
                              f"{argument.name} As {argument.type}" for argument in self.arguments)
        return f"{self.name}({arguments}){result}"


def load():
    with open(DOCS / "members.toml", "rb") as file:
        table = tomllib.load(file)
    return [Member(entry, table) for entry in table["member"]], table["groups"]


def interface_lines(members):
    """The interface as tests/activex/interface.txt describes it: one line a slot."""
    def line(kind, member, parameters, result):
        return (f"{FIRST_SLOT + len(lines):2d} 0x{member.id:08x} {kind:6} {member.name}"
                f"({parameters}){' : ' + AUTOMATION[result] if result else ''}")

    lines = []
    for member in members:
        if member.kind == "method":
            parameters = ", ".join(
                f"in {AUTOMATION[argument.type]} {argument.name}" if argument.by_value else
                f"inout {AUTOMATION[argument.type]}* {argument.name}"
                for argument in member.arguments)
            lines.append(line("method", member, parameters, member.type))
        else:
            lines.append(line("get", member, "", member.type))
            lines.append(line("put", member, f"in {AUTOMATION[member.type]} value", None))
    return lines


def help_rows(members):
    return [f"{{{', '.join(map(json.dumps, (member.name, member.signature, member.help)))}}},"
            for member in members]


def method_rows(members):
    """The methods without arguments by value: those that `plexum host` calls by strings."""
    rows = []
    for member in members:
        if member.kind == "method" and not any(each.by_value for each in member.arguments):
            arguments = ", ".join(f'bytes("{each.name}")' if each.bytes else f'text("{each.name}")'
                                  for each in member.arguments)
            rows.append(f'method("{member.name}", &PlexumLink::{member.name}, {{{arguments}}}),')
    return rows


def property_rows(members):
    return [f'property<{CORE[member.type]}>("{member.name}", &PlexumLink::{member.name}, '
            f'&PlexumLink::{member.name}),' for member in members if member.kind != "method"]


def main():
    what, path = sys.argv[1:]
    rows = {"help": help_rows, "methods": method_rows, "properties": property_rows}[what]
    lines = rows(load()[0])
    pathlib.Path(path).write_text("".join(line + "\n" for line in lines), encoding="utf-8")


if __name__ == "__main__":
    main()
