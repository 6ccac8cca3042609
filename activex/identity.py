"""The control's identity, activex/identity.toml, as Python has it: for the build (generate.py), the
documents and the packages."""
import pathlib
import re
import tomllib

# The OLEMISC_ bits of OLE by their names in manifests.
MISC_STATUS = {"recomposeonresize": 0x1, "cantlinkinside": 0x10, "insideout": 0x80,
               "activatewhenvisible": 0x100, "setclientsitefirst": 0x20000}


def load():
    """The table as it is written, and besides control.misc_status_bits."""
    with open(pathlib.Path(__file__).with_name("identity.toml"), "rb") as file:
        facts = tomllib.load(file)
    facts["control"]["misc_status_bits"] = sum(
        MISC_STATUS[name] for name in facts["control"]["misc_status"])
    return facts


def filled(text, facts):
    """The text with @section.name@ replaced by the fact of that name; a list by its commas."""
    def fact(match):
        value = facts[match[1]][match[2]]
        return ",".join(value) if isinstance(value, list) else str(value)

    return re.sub(r"@(\w+)\.(\w+)@", fact, text)


class Registry:
    """The entries below Software\\Classes, with <file>, <folder> and <system> still to be filled."""

    def __init__(self, facts):
        entries = facts["registry"]
        self.values = [tuple(filled(text, facts) for text in row) for row in entries["values"]]
        self.server = filled(entries["server"], facts)
        self.own_keys = [filled(key, facts) for key in entries["own_keys"]]
        self.shared_keys = [filled(key, facts) for key in entries["shared_keys"]]

    def values_for(self, file, bits):
        """(key, name, text) for a PlexumLink.ocx of that path and bitness."""
        places = {"<file>": file, "<folder>": file.rpartition("\\")[0], "<system>": f"win{bits}"}
        for row in self.values:
            yield tuple(re.sub("<(file|folder|system)>", lambda place: places[place[0]], text)
                        for text in row)
