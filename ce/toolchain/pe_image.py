"""Writes a Windows CE PE image: headers, sections, tables, checksum. Knows the file format and nothing of where the contents come from."""

import struct
from dataclasses import dataclass

FILE_ALIGNMENT = 0x200
PAGE = 0x1000
MACHINE_ARM = 0x01C0
SUBSYSTEM_WINDOWS_CE_GUI = 9
VERSION_CE = (5, 0)
HEADER_OFFSET = 0x80
# Executable, line numbers and local symbols stripped, 32-bit; and, for a DLL, that it is one.
CHARACTERISTICS, DLL_FLAG = 0x010E, 0x2000
STACK_RESERVE, STACK_COMMIT, HEAP_RESERVE, HEAP_COMMIT = 0x10000, 0x1000, 0x100000, 0x1000

CODE, INITIALISED, DISCARDABLE = 0x20, 0x40, 0x02000000
EXECUTE, READ, WRITE = 0x20000000, 0x40000000, 0x80000000

EXPORT, IMPORT, RESOURCE, EXCEPTION, RELOCATION = 0, 1, 2, 3, 5  # data directories
ORDINAL_FLAG = 0x80000000
RELOCATION_HIGHLOW = 3
SUBDIRECTORY = 0x80000000  # in an entry of the resource table


def align(value, to):
    return (value + to - 1) // to * to


@dataclass
class PeSection:
    name: str
    rva: int
    data: bytes
    virtual_size: int
    flags: int


def export_table(rva, library, exports):
    """exports: (name, ordinal, rva of the function). Ordinals need not be dense."""
    base = min(ordinal for _, ordinal, _ in exports)
    count = max(ordinal for _, ordinal, _ in exports) - base + 1
    functions = [0] * count
    for _, ordinal, target in exports:
        functions[ordinal - base] = target
    by_name = sorted(exports)  # the loader searches the names by halves
    functions_at = rva + 40
    names_at = functions_at + 4 * count
    ordinals_at = names_at + 4 * len(by_name)
    strings_at = ordinals_at + 2 * len(by_name)
    strings = library.encode("ascii") + b"\0"
    name_rvas = []
    for name, _, _ in by_name:
        name_rvas.append(strings_at + len(strings))
        strings += name.encode("ascii") + b"\0"
    directory = struct.pack(
        "<IIHHIIIIIII", 0, 0, 0, 0, strings_at, base, count, len(by_name), functions_at, names_at, ordinals_at
    )
    return (
        directory
        + struct.pack(f"<{count}I", *functions)
        + struct.pack(f"<{len(by_name)}I", *name_rvas)
        + struct.pack(f"<{len(by_name)}H", *(ordinal - base for _, ordinal, _ in by_name))
        + strings
    )


def import_table(rva, imports):
    """imports: (library, rva of the first slot, entries of (name, ordinal)), an ordinal of 0 meaning by name. Returns the section's
    contents, the size of the descriptors, and for each library the words that its slots hold before binding."""
    descriptors_size = 20 * (len(imports) + 1)
    lookup_at = rva + descriptors_size
    strings_at = lookup_at + sum(4 * (len(entries) + 1) for _, _, entries in imports)
    descriptors, lookups, strings, slots = b"", b"", b"", []
    for library, slot_rva, entries in imports:
        words = []
        for name, ordinal in entries:
            if ordinal:
                words.append(ORDINAL_FLAG | ordinal)
                continue
            if len(strings) % 2:
                strings += b"\0"
            words.append(strings_at + len(strings))
            strings += b"\0\0" + name.encode("ascii") + b"\0"
        slots.append(words)
        name_rva = strings_at + len(strings)
        strings += library.encode("ascii") + b"\0"
        descriptors += struct.pack("<5I", lookup_at + len(lookups), 0, 0, name_rva, slot_rva)
        lookups += struct.pack(f"<{len(words) + 1}I", *words, 0)
    return descriptors + bytes(20) + lookups + strings, descriptors_size, slots


def resource_table(rva, resources):
    """resources: (type, name, language, contents), the first three numbers. The table is a tree of these three levels."""
    tree = {}
    for kind, name, language, contents in resources:
        tree.setdefault(kind, {}).setdefault(name, {})[language] = contents

    def lay(node, at):
        if isinstance(node, bytes):
            return struct.pack("<4I", rva + at + 16, len(node), 0, 0) + node + bytes(-len(node) % 4)
        entries, below = b"", b""
        below_at = at + 16 + 8 * len(node)
        for number, child in sorted(node.items()):
            child_at = below_at + len(below)
            entries += struct.pack("<II", number, child_at | (SUBDIRECTORY if isinstance(child, dict) else 0))
            below += lay(child, child_at)
        return struct.pack("<IIHHHH", 0, 0, 0, 0, 0, len(node)) + entries + below

    return lay(tree, 0)


def relocation_table(rvas):
    """Base relocations for the 32-bit words at `rvas`, a block a page."""
    pages = {}
    for rva in sorted(rvas):
        pages.setdefault(rva // PAGE * PAGE, []).append(RELOCATION_HIGHLOW << 12 | rva % PAGE)
    table = b""
    for page, entries in pages.items():
        if len(entries) % 2:
            entries.append(0)
        table += struct.pack("<II", page, 8 + 2 * len(entries)) + struct.pack(f"<{len(entries)}H", *entries)
    return table


def checksum(blob, field_offset):
    """The image checksum: 16-bit ones' complement sum of the file without the field itself, plus the file's length."""
    padded = blob[:field_offset] + bytes(4) + blob[field_offset + 4 :] + bytes(len(blob) % 2)
    total = sum(struct.unpack(f"<{len(padded) // 2}H", padded))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return total + len(blob)


def write(path, sections, base, entry_rva, directories, program):
    """directories: index → (rva, size). The sections stand in the order of their addresses."""
    headers_size = align(HEADER_OFFSET + 4 + 20 + 224 + 40 * len(sections), FILE_ALIGNMENT)
    image_size = align(sections[-1].rva + sections[-1].virtual_size, PAGE)
    code_size = sum(align(len(s.data), FILE_ALIGNMENT) for s in sections if s.flags & CODE)
    data_size = sum(align(len(s.data), FILE_ALIGNMENT) for s in sections if not s.flags & CODE)
    characteristics = CHARACTERISTICS | (0 if program else DLL_FLAG)
    file_header = struct.pack("<HHIIIHH", MACHINE_ARM, len(sections), 0, 0, 0, 224, characteristics)
    optional = struct.pack("<HBBIIIIII", 0x10B, 2, 40, code_size, data_size, 0, entry_rva, sections[0].rva, sections[1].rva)
    optional += struct.pack("<III", base, PAGE, FILE_ALIGNMENT)
    optional += struct.pack("<HHHHHHI", *VERSION_CE, 0, 0, *VERSION_CE, 0)
    checksum_offset = HEADER_OFFSET + 4 + 20 + len(optional) + 8
    optional += struct.pack("<IIIHH", image_size, headers_size, 0, SUBSYSTEM_WINDOWS_CE_GUI, 0)
    optional += struct.pack("<IIIIII", STACK_RESERVE, STACK_COMMIT, HEAP_RESERVE, HEAP_COMMIT, 0, 16)
    for index in range(16):
        optional += struct.pack("<II", *directories.get(index, (0, 0)))
    table, contents, offset = b"", b"", headers_size
    for section in sections:
        raw = section.data + bytes(-len(section.data) % FILE_ALIGNMENT)
        table += struct.pack(
            "<8sIIIIIIHHI",
            section.name.encode("ascii"),
            section.virtual_size,
            section.rva,
            len(raw),
            offset if raw else 0,
            0,
            0,
            0,
            0,
            section.flags,
        )
        contents += raw
        offset += len(raw)
    dos = bytearray(HEADER_OFFSET)
    dos[0:2] = b"MZ"
    struct.pack_into("<I", dos, 0x3C, HEADER_OFFSET)
    blob = bytearray(bytes(dos) + b"PE\0\0" + file_header + optional + table)
    blob += bytes(headers_size - len(blob))
    blob += contents
    struct.pack_into("<I", blob, checksum_offset, checksum(bytes(blob), checksum_offset))
    with open(path, "wb") as file:
        file.write(blob)
