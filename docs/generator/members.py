"""The member table, docs/members.toml, with its shared texts put in.

As a program it writes what builds take from the table:
  members.py definitions FILE   the help strings as macros, for the IDL
  members.py rows FILE          name, signature and help string as rows of a C++ array
"""
import json
import pathlib
import sys
import tomllib

DOCS = pathlib.Path(__file__).resolve().parent.parent
# Of types as VB hosts name them: as the type library does, and as C# does.
AUTOMATION = {"String": "BSTR", "Long": "I4", "Integer": "I2", "Boolean": "BOOL",
              "Variant": "VARIANT"}
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


def main():
    what, path = sys.argv[1:]
    members, _ = load()
    if what == "definitions":
        lines = [f"#define HELP_{member.name} {json.dumps(member.help)}" for member in members]
    else:
        lines = [f"{{{', '.join(map(json.dumps, (member.name, member.signature, member.help)))}}},"
                 for member in members]
    pathlib.Path(path).write_text("".join(line + "\n" for line in lines), encoding="utf-8")


if __name__ == "__main__":
    main()
