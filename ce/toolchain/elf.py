"""Just enough of the ELF format (32 bit, little-endian, ARM) to read a fully linked image with its relocations."""

import struct
from dataclasses import dataclass, field

SHT_PROGBITS, SHT_SYMTAB, SHT_STRTAB, SHT_RELA, SHT_NOBITS, SHT_REL = 1, 2, 3, 4, 8, 9
SHT_ARM_EXIDX = 0x70000001
SHF_WRITE, SHF_ALLOC, SHF_EXECINSTR = 1, 2, 4
SHN_UNDEF, SHN_ABS = 0, 0xFFF1
STB_GLOBAL, STB_WEAK = 1, 2
STT_FUNC, STT_SECTION = 2, 3
EM_ARM = 40

# Relocations whose word holds an address and moves with the image.
ABSOLUTE = {2: "R_ARM_ABS32", 38: "R_ARM_TARGET1"}
# Relocations between two places of the image: nothing to do when it moves.
RELATIVE = {
    0: "R_ARM_NONE",
    1: "R_ARM_PC24",
    3: "R_ARM_REL32",
    28: "R_ARM_CALL",
    29: "R_ARM_JUMP24",
    40: "R_ARM_V4BX",
    41: "R_ARM_TARGET2",  # --target2=rel
    42: "R_ARM_PREL31",
}


class ElfError(Exception):
    """The file is damaged, or is not what the converter understands."""


@dataclass
class Section:
    index: int
    name: str
    type: int
    flags: int
    address: int
    offset: int
    size: int
    link: int
    info: int
    entry_size: int
    data: bytes = b""

    @property
    def allocated(self):
        return bool(self.flags & SHF_ALLOC)


@dataclass
class Symbol:
    name: str
    value: int
    size: int
    bind: int
    type: int
    section: int


@dataclass
class Relocation:
    offset: int  # address of the word
    type: int
    symbol: Symbol


@dataclass
class Elf:
    path: str
    sections: list = field(default_factory=list)
    symbols: list = field(default_factory=list)
    relocations: list = field(default_factory=list)
    entry: int = 0

    def defined(self):
        """Global and weak symbols that the image defines, by name."""
        return {s.name: s for s in self.symbols if s.section != SHN_UNDEF and s.bind in (STB_GLOBAL, STB_WEAK)}

    def section(self, name):
        for section in self.sections:
            if section.name == name:
                return section
        return None


def _unpack(layout, blob, offset, what, path):
    size = struct.calcsize(layout)
    if offset < 0 or offset + size > len(blob):
        raise ElfError(f"{path}: {what} lies outside the file")
    return struct.unpack_from(layout, blob, offset)


def _text(table, offset, path):
    end = table.find(b"\0", offset)
    if offset >= len(table) or end < 0:
        raise ElfError(f"{path}: a name lies outside its string table")
    return table[offset:end].decode("ascii", "replace")


def _read_sections(blob, path, header):
    shoff, shentsize, shnum, shstrndx = header
    if shentsize != 40 or shnum == 0 or shstrndx >= shnum:
        raise ElfError(f"{path}: there is no usable section table")
    raw = []
    for index in range(shnum):
        raw.append(_unpack("<10I", blob, shoff + index * 40, f"section header {index}", path))
    sections = []
    for index, (name, kind, flags, address, offset, size, link, info, _, entsize) in enumerate(raw):
        data = b""
        if kind not in (0, SHT_NOBITS):
            if offset + size > len(blob):
                raise ElfError(f"{path}: section {index} lies outside the file")
            data = blob[offset : offset + size]
        sections.append(Section(index, str(name), kind, flags, address, offset, size, link, info, entsize, data))
    names = sections[shstrndx].data
    for section in sections:
        section.name = _text(names, int(section.name), path)
    return sections


def _read_symbols(sections, path):
    for table in sections:
        if table.type != SHT_SYMTAB:
            continue
        if table.link >= len(sections) or table.size % 16:
            raise ElfError(f"{path}: the symbol table is damaged")
        strings = sections[table.link].data
        symbols = []
        for offset in range(0, table.size, 16):
            name, value, size, info, _, section = struct.unpack_from("<IIIBBH", table.data, offset)
            symbols.append(Symbol(_text(strings, name, path), value, size, info >> 4, info & 15, section))
        return symbols
    raise ElfError(f"{path}: there is no symbol table; link without --strip")


def _read_relocations(sections, symbols, path):
    relocations = []
    for table in sections:
        if table.type not in (SHT_REL, SHT_RELA):
            continue
        if table.info >= len(sections):
            raise ElfError(f"{path}: {table.name} belongs to no section")
        if not sections[table.info].allocated:
            continue
        if table.type == SHT_RELA:
            raise ElfError(f"{path}: {table.name} has explicit addends, which no ARM compiler writes")
        for position in range(0, table.size - 7, 8):
            offset, info = struct.unpack_from("<II", table.data, position)
            if info >> 8 >= len(symbols):
                raise ElfError(f"{path}: {table.name} names a symbol that does not exist")
            relocations.append(Relocation(offset, info & 0xFF, symbols[info >> 8]))
    return relocations


def read(path):
    """The image at `path`. ElfError: what is wrong with it."""
    with open(path, "rb") as file:
        blob = file.read()
    if blob[:7] != b"\x7fELF\x01\x01\x01":
        raise ElfError(f"{path}: not a 32-bit little-endian ELF file")
    kind, machine, _, entry, _, shoff, _, _, _, _, shentsize, shnum, shstrndx = _unpack(
        "<HHIIIIIHHHHHH", blob, 16, "the header", path
    )
    if machine != EM_ARM or kind != 2:
        raise ElfError(f"{path}: not a linked ARM image (type {kind}, machine {machine})")
    elf = Elf(path, entry=entry)
    elf.sections = _read_sections(blob, path, (shoff, shentsize, shnum, shstrndx))
    elf.symbols = _read_symbols(elf.sections, path)
    elf.relocations = _read_relocations(elf.sections, elf.symbols, path)
    return elf
