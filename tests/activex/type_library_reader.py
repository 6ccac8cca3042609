"""Reads a type library of the MSFT format as it stands in the file, without a system's type library
functions: those of Wine and the compiler that made it come from one project and could agree on a
mistake.

A library is a header, then the offsets of its types, then a directory of 15 segments. Each type
has a record of 100 bytes in the first segment, and its functions stand elsewhere, one after the
other. A type refers to another by an offset: of its record, or, with the lowest bit set, of an
entry in the segment of imports.
"""
import struct
import uuid

MAGIC = b"MSFT\x02\x00\x01\x00"
HEADER = 0x54
SEGMENTS = ("types import_infos import_files references guid_hashes guids name_hashes names texts "
            "type_descriptions array_descriptions custom_data custom_guids reserved_e "
            "reserved_f").split()
KINDS = "enum record module interface dispinterface coclass alias union".split()
TYPE_FLAGS = {0x1: "appobject", 0x2: "cancreate", 0x4: "licensed", 0x8: "predeclid",
              0x10: "hidden", 0x20: "control", 0x40: "dual", 0x80: "nonextensible",
              0x100: "oleautomation", 0x200: "restricted", 0x400: "aggregatable",
              0x800: "replaceable", 0x1000: "dispatchable", 0x2000: "reversebind"}
LIBRARY_FLAGS = {0x1: "restricted", 0x2: "control", 0x4: "hidden", 0x8: "hasdiskimage"}
IMPLEMENTED_FLAGS = {0x1: "default", 0x2: "source", 0x4: "restricted", 0x8: "defaultvtable"}
FUNCTION_FLAGS = {0x1: "restricted", 0x40: "hidden", 0x400: "nonbrowsable"}
CALLS = {1: "method", 2: "get", 4: "put", 8: "putref"}
TYPES = {2: "I2", 3: "I4", 8: "BSTR", 11: "BOOL", 12: "VARIANT", 24: "void", 25: "HRESULT"}
POINTER = 26
IN, OUT, RESULT = 1, 2, 8  # of PARAMFLAGs


def names_of(flags, table):
    return " ".join([name for bit, name in table.items() if flags & bit]
                    + [f"0x{bit:x}" for bit in (1 << at for at in range(32))
                       if flags & bit and bit not in table])


class Library:
    def __init__(self, file):
        self.bytes = file[file.index(MAGIC):]  # within an executable, too
        (self.guid_at, _, self.language, system, version, flags, count, self.help_at) = (
            self.numbers(8, 8))
        self.system = system & 0xF
        self.version = f"{version & 0xFFFF}.{version >> 16}"
        self.flags = names_of(flags, LIBRARY_FLAGS)
        self.name_at, = self.numbers(0x38, 1)
        types_at = HEADER + (4 if system & 0x100 else 0)
        directory = types_at + 4 * count
        self.segments = {name: self.numbers(directory + 16 * i, 2)
                         for i, name in enumerate(SEGMENTS)}
        self.types = {offset: Type(self, offset) for offset in self.numbers(types_at, count)}

    def numbers(self, at, count, form="i"):
        return struct.unpack_from(f"<{count}{form}", self.bytes, at)

    def within(self, segment, offset):
        start, length = self.segments[segment]
        assert 0 <= offset < length, f"{segment}: {offset} of {length}"
        return start + offset

    def guid(self, offset):
        at = self.within("guids", offset)
        return "{" + str(uuid.UUID(bytes_le=self.bytes[at:at + 16])).upper() + "}"

    def name(self, offset):
        at = self.within("names", offset)
        length = self.bytes[at + 8]
        return self.bytes[at + 12:at + 12 + length].decode("ascii")

    def text(self, offset):
        at = self.within("texts", offset)
        length, = self.numbers(at, 1, "H")
        return self.bytes[at + 2:at + 2 + length].decode("ascii")

    def type_name(self, value):
        """Of a value: a simple type by itself, others by their description."""
        if value < 0:
            return TYPES[value & 0xFFF]
        kind, _, simple, is_simple = self.numbers(self.within("type_descriptions", value), 4, "H")
        assert kind & 0xFFF == POINTER, f"type {kind}"
        return (TYPES[simple] if is_simple & 0x8000 else
                self.type_name(simple | is_simple << 16)) + "*"

    def reference(self, value):
        """What a type refers to: one of this library by its name, another's by kind and GUID."""
        if value & 3 == 0:
            return self.types[value].name
        flags, _, guid = self.numbers(self.within("import_infos", value & ~3), 3)
        assert flags & 0x10000, "an import by number"
        return f"{KINDS[flags >> 24 & 0xF]} {self.guid(guid)}"

    def imports(self):
        """(name, GUID, version) of every other library."""
        at, length = self.segments["import_files"]
        end = at + max(length, 0)
        while at < end:
            guid, _, version, size = self.numbers(at, 4)[:3] + self.numbers(at + 12, 1, "H")
            name = self.bytes[at + 14:at + 14 + (size >> 2)].decode("ascii")
            yield name, self.guid(guid), f"{version & 0xFFFF}.{version >> 16}"
            at += 14 + (size >> 2) + -(14 + (size >> 2)) % 4


class Type:
    def __init__(self, library, offset):
        self.library = library
        at = library.within("types", offset)
        kind, self.functions_at = library.numbers(at, 2)
        self.kind = KINDS[kind & 0xF]
        count, = library.numbers(at + 0x18, 1)
        self.function_count, self.variable_count = count & 0xFFFF, count >> 16
        guid, flags, name, _, help_at = library.numbers(at + 0x2C, 5)
        self.guid, self.name, self.help = library.guid(guid), library.name(name), help_at
        self.flags = names_of(flags, TYPE_FLAGS)
        self.implemented_count, self.table_size = library.numbers(at + 0x4C, 2, "H")
        self.base, = library.numbers(at + 0x54, 1)

    def implemented(self):
        """(reference, flags) of each interface of a class."""
        at = self.base
        for _ in range(self.implemented_count):
            reference, flags, _, at = self.library.numbers(self.library.within("references", at), 4)
            yield self.library.reference(reference), names_of(flags, IMPLEMENTED_FLAGS)

    def functions(self):
        """Each function in the order of the file."""
        count = self.function_count
        if count == 0:
            return
        size, = self.library.numbers(self.functions_at, 1)
        at = self.functions_at + 4
        ids = self.library.numbers(at + size, count)
        names = self.library.numbers(at + size + 4 * (count + self.variable_count), count)
        for index in range(count):
            yield Function(self.library, at, ids[index], names[index])
            at += self.library.numbers(at, 1, "H")[0]


class Function:
    def __init__(self, library, at, member_id, name):
        self.id, self.name = member_id & 0xFFFFFFFF, library.name(name)
        size, _ = library.numbers(at, 2, "H")
        result, flags = library.numbers(at + 4, 2)
        self.table_offset, _ = library.numbers(at + 0xC, 2, "H")
        kinds, = library.numbers(at + 0x10, 1)
        self.function_kind, self.call = kinds & 7, CALLS[kinds >> 3 & 0xF]
        self.convention = kinds >> 8 & 0xF
        self.flags = names_of(flags, FUNCTION_FLAGS)
        self.result = library.type_name(result)
        count, = library.numbers(at + 0x14, 1, "H")
        parameters = at + size - 12 * count
        self.help = library.text(library.numbers(at + 0x1C, 1)[0])
        assert parameters >= at + 0x20, f"{self.name} has no help text"
        self.parameters = []  # (type, name or None, PARAMFLAGs)
        for each in range(count):
            kind, name_at, way = library.numbers(parameters + 12 * each, 3)
            self.parameters.append((library.type_name(kind),
                                    None if name_at == -1 else library.name(name_at), way))
