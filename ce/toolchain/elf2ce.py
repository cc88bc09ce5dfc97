#!/usr/bin/env python3
"""Turns two links of one ARM program, at two bases, into a Windows CE DLL, or into a program where --program is given.

    elf2ce.py --output X.dll --exports X.def --imports A.def [--imports B.def...] [--symbols X.sym] FIRST.elf SECOND.elf
    elf2ce.py --program --output X.exe [--exports X.def] --imports A.def [--imports B.def...] [--symbols X.sym] FIRST.elf SECOND.elf

Both links carry their relocations (--emit-relocs). The words in which they differ must be exactly those that the relocations name: this
proves that the base relocations written into the image are complete and that none is too much. FIRST gives the preferred base.
--symbols writes the functions' and variables' addresses relative to the base, for those who look at it while it runs.
"""

import argparse
import struct
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))
import elf as elf_format
import module_definition
import pe_image
from pe_image import PAGE, PeSection, align

# Sections of the linker script, by the section of the image that they become.
GROUPS = (
    (".text", (".text",), pe_image.CODE | pe_image.EXECUTE | pe_image.READ),
    (".rdata", (".rdata", ".ARM.exidx"), pe_image.INITIALISED | pe_image.READ),
    (".data", (".data", ".bss"), pe_image.INITIALISED | pe_image.READ | pe_image.WRITE),
)


class ConversionError(Exception):
    """Why no image was written."""


def some(names, limit=8):
    names = sorted(set(names))
    return ", ".join(names[:limit]) + (f" and {len(names) - limit} more" if len(names) > limit else "")


def check_symbols(elf):
    """Nothing may be left open, and the linker must not have inserted code of its own."""
    open_symbols = [s for s in elf.symbols if s.section == elf_format.SHN_UNDEF and s.name]
    strong = [s.name for s in open_symbols if s.bind == elf_format.STB_GLOBAL]
    weak = [s.name for s in open_symbols if s.bind == elf_format.STB_WEAK]
    if strong:
        raise ConversionError(f"{elf.path}: undefined: {some(strong)}")
    if weak:
        raise ConversionError(f"{elf.path}: weak and undefined, so their address would be 0: {some(weak)}")
    veneers = [s.name for s in elf.symbols if s.name.endswith(("_veneer", "_from_arm", "_from_thumb", "_change_to_arm"))]
    if veneers:
        raise ConversionError(f"{elf.path}: the linker inserted veneers, whose addresses no relocation names: {some(veneers)}")


def check_sections(first, second):
    known = {name for _, names, _ in GROUPS for name in names}
    strange = [s.name for s in first.sections if s.allocated and s.size and s.name not in known]
    if strange:
        raise ConversionError(f"{first.path}: sections without a place in the image: {some(strange)}")
    shape = [(s.name, s.size) for s in first.sections if s.allocated]
    if shape != [(s.name, s.size) for s in second.sections if s.allocated]:
        raise ConversionError("the two links do not have the same sections: they are not of the same program")


def image_bases(first, second):
    bases = []
    for elf in (first, second):
        text = elf.section(".text")
        if text is None or text.address % PAGE or text.address < PAGE:
            raise ConversionError(f"{elf.path}: .text does not begin on a page of its own")
        bases.append(text.address - PAGE)
    if bases[0] == bases[1]:
        raise ConversionError("the two links have the same base, which proves nothing")
    return bases


def relocated_words(elf, base):
    """Offsets from the base of the words that hold an address."""
    words = set()
    for relocation in elf.relocations:
        if relocation.type in elf_format.RELATIVE:
            continue
        if relocation.type not in elf_format.ABSOLUTE:
            raise ConversionError(
                f"{elf.path}: relocation type {relocation.type} at 0x{relocation.offset:08X} "
                f"({relocation.symbol.name or 'a section'}) is not known"
            )
        if relocation.symbol.section == elf_format.SHN_ABS:
            continue
        if relocation.offset % 4:
            raise ConversionError(f"{elf.path}: the relocated word at 0x{relocation.offset:08X} is not aligned")
        words.add(relocation.offset - base)
    return words


def differing_words(first, second, bases):
    """Offsets from the base of the words that differ between the two links; each by the distance of the bases."""
    distance = (bases[1] - bases[0]) & 0xFFFFFFFF
    words = set()
    for one, other in zip(
        (s for s in first.sections if s.allocated and s.data), (s for s in second.sections if s.allocated and s.data)
    ):
        if one.address - bases[0] != other.address - bases[1]:
            raise ConversionError(f"{one.name} stands at another place in the second link")
        if one.data == other.data:
            continue
        for offset in range(0, len(one.data), 4):
            if one.data[offset : offset + 4] == other.data[offset : offset + 4]:
                continue
            where = one.address - bases[0] + offset
            before, after = (int.from_bytes(s.data[offset : offset + 4], "little") for s in (one, other))
            if (after - before) & 0xFFFFFFFF != distance:
                raise ConversionError(f"the word at base + 0x{where:X} differs, but not by the distance of the bases")
            words.add(where)
    return words


def check_relocations(named, differing):
    if missing := differing - named:
        raise ConversionError(f"no relocation names these words, which move with the base: {some(f'base + 0x{w:X}' for w in missing)}")
    if extra := named - differing:
        raise ConversionError(f"relocations name these words, which do not move: {some(f'base + 0x{w:X}' for w in extra)}")


def image_sections(elf, base):
    sections = []
    for name, members, flags in GROUPS:
        found = [s for s in elf.sections if s.name in members and s.allocated and s.size]
        if not found:
            raise ConversionError(f"{elf.path}: the image would have no {name}")
        start = found[0].address // PAGE * PAGE
        data = bytearray()
        for section in (s for s in found if s.data):
            data += bytes(section.address - start - len(data)) + section.data
        end = found[-1].address + found[-1].size
        sections.append(PeSection(name, start - base, bytes(data), end - start, flags))
    return sections


# Instructions with which a compiled function begins: saving registers, making room on the stack, keeping the frame's address.
PROLOGUE = ((0xFFFF0000, 0xE92D0000), (0xFFFF0FFF, 0xE52D0004), (0xFFFFF000, 0xE24DD000), (0xFFFFFFFF, 0xE1A0C00D), (0xFFFFF000, 0xE24CB000))


def prologue_length(code):
    """Instructions up to the last one that changes the frame, within the first straight run."""
    length = 0
    for index, (word,) in enumerate(struct.iter_unpack("<I", code[: 16 * 4])):
        if any(word & mask == value for mask, value in PROLOGUE):
            length = index + 1
        elif word & 0x0E000000 == 0x0A000000 or word & 0x0FFFFFF0 in (0x012FFF10, 0x012FFF30):
            break
    return length


def function_table(elf, text, base):
    """.pdata: for each function its address and a word with the length of the prologue (8 bits), the length (22 bits), both in
    instructions, and the flag for 32-bit instructions."""
    functions = {s.value: s for s in elf.symbols if s.type == elf_format.STT_FUNC and s.section == text.index and s.size}
    table, relocated, end = b"", [], 0
    for address in sorted(functions):
        # Assembler routines have entries within others; the table has one entry for a piece of code.
        if address < end:
            continue
        end = address + functions[address].size
        start = address - text.address
        code = text.data[start : start + functions[address].size]
        if len(code) // 4 >= 1 << 22:
            raise ConversionError(f"{functions[address].name} is too long for the function table")
        relocated.append(len(table))
        table += struct.pack("<II", address, prologue_length(code) | len(code) // 4 << 8 | 1 << 30)
    return table, relocated


def exported(elf, definition, base):
    defined = elf.defined()
    missing = [e.name for e in definition.entries if e.name not in defined]
    if missing:
        raise ConversionError(f"{elf.path}: exported but not defined: {some(missing)}")
    if any(not e.ordinal for e in definition.entries):
        raise ConversionError(f"{definition.library}: every export needs an ordinal")
    return [(e.name, e.ordinal, defined[e.name].value - base) for e in definition.entries]


def imported(elf, definitions, base):
    """(library, rva of the first slot, [(name, ordinal)]) in the order of the slots."""
    owners = {e.name: (d.library, e.ordinal) for d in definitions for e in d.entries}
    slots = sorted((s.value, s.name[len("__imp_") :]) for s in elf.defined().values() if s.name.startswith("__imp_"))
    imports = []
    for address, name in slots:
        if name not in owners:
            raise ConversionError(f"{elf.path}: {name} has an import slot, but no list of imports names it")
        library, ordinal = owners[name]
        if not imports or imports[-1][0] != library:
            imports.append((library, address - base, []))
        if address - base != imports[-1][1] + 4 * len(imports[-1][2]):
            raise ConversionError(f"{elf.path}: the import slots of {library} are not in one piece at {name}")
        imports[-1][2].append((name, ordinal))
    libraries = [library for library, _, _ in imports]
    if len(set(libraries)) != len(libraries):
        raise ConversionError(f"{elf.path}: the import slots of one library are not in one piece")
    return imports


def compiled_resources(path):
    """What a resource compiler wrote: (type, name, language, contents) of each resource, which must all be known by numbers."""
    data, at = Path(path).read_bytes(), 0
    while at < len(data):
        size, header, kind_mark, kind, name_mark, name = struct.unpack_from("<IIHHHH", data, at)
        if kind_mark != 0xFFFF or name_mark != 0xFFFF:
            raise ConversionError(f"{path}: a resource at {at} has a name for a type or a number")
        (language,) = struct.unpack_from("<H", data, at + 22)
        if kind:  # the first stands for the format itself
            yield kind, name, language, data[at + header : at + header + size]
        at += align(header + size, 4)


def convert(first_path, second_path, exports_path, import_paths, output, symbols_path=None, program=False, resources_path=None):
    first, second = elf_format.read(first_path), elf_format.read(second_path)
    check_symbols(first)
    check_sections(first, second)
    bases = image_bases(first, second)
    base = bases[0]
    words = relocated_words(first, base)
    check_relocations(words, differing_words(first, second, bases))

    sections = image_sections(first, base)
    data = sections[-1]
    imports = imported(first, [module_definition.read(path) for path in import_paths], base)

    def append(name, contents, flags):
        rva = align(sections[-1].rva + sections[-1].virtual_size, PAGE)
        sections.append(PeSection(name, rva, contents, len(contents), flags))
        return sections[-1]

    readable = pe_image.INITIALISED | pe_image.READ
    directories = {}
    functions, relocated = function_table(first, first.section(".text"), base)
    pdata = append(".pdata", functions, readable)
    words |= {pdata.rva + offset for offset in relocated}
    directories[pe_image.EXCEPTION] = (pdata.rva, len(functions))

    if exports_path:
        definition = module_definition.read(exports_path)
        rva = align(sections[-1].rva + sections[-1].virtual_size, PAGE)
        edata = append(".edata", pe_image.export_table(rva, definition.library, exported(first, definition, base)), readable)
        directories[pe_image.EXPORT] = (rva, edata.virtual_size)

    if imports:
        rva = align(sections[-1].rva + sections[-1].virtual_size, PAGE)
        contents, descriptors_size, slots = pe_image.import_table(rva, imports)
        append(".idata", contents, readable)
        directories[pe_image.IMPORT] = (rva, descriptors_size)
        filled = bytearray(data.data)
        for (_, slot_rva, _), slot_words in zip(imports, slots):
            struct.pack_into(f"<{len(slot_words)}I", filled, slot_rva - data.rva, *slot_words)
        data.data = bytes(filled)

    if resources_path:
        rva = align(sections[-1].rva + sections[-1].virtual_size, PAGE)
        rsrc = append(".rsrc", pe_image.resource_table(rva, compiled_resources(resources_path)), readable)
        directories[pe_image.RESOURCE] = (rva, rsrc.virtual_size)

    relocation = append(".reloc", pe_image.relocation_table(words), readable | pe_image.DISCARDABLE)
    directories[pe_image.RELOCATION] = (relocation.rva, relocation.virtual_size)
    pe_image.write(output, sections, base, first.entry - base, directories, program)
    if symbols_path:
        write_symbols(symbols_path, first, base)


def write_symbols(path, elf, base):
    wanted = [s for s in elf.symbols if s.section not in (elf_format.SHN_UNDEF, elf_format.SHN_ABS) and s.size and s.name]
    with open(path, "w", encoding="utf-8") as file:
        for symbol in sorted(wanted, key=lambda s: (s.value, s.name)):
            kind = "F" if symbol.type == elf_format.STT_FUNC else "D"
            file.write(f"{symbol.value - base:08x} {symbol.size:x} {kind} {symbol.name}\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--output", required=True)
    parser.add_argument("--exports")
    parser.add_argument("--imports", action="append", default=[])
    parser.add_argument("--symbols")
    parser.add_argument("--resources", help="a .res file")
    parser.add_argument("--program", action="store_true")
    parser.add_argument("first")
    parser.add_argument("second")
    options = parser.parse_args()
    if not options.exports and not options.program:
        parser.error("a DLL needs --exports")
    try:
        convert(
            options.first,
            options.second,
            options.exports,
            options.imports,
            options.output,
            options.symbols,
            options.program,
            options.resources,
        )
    except (ConversionError, elf_format.ElfError, module_definition.DefinitionError, OSError) as error:
        Path(options.output).unlink(missing_ok=True)
        sys.exit(f"elf2ce: {error}")


if __name__ == "__main__":
    main()
