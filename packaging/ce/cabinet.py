#!/usr/bin/env python3
"""Makes a cabinet that Windows CE installs, and shows what one holds.

    packaging/ce/cabinet.py make FILE.inf FOLDER OUT.cab [NAME=VALUE...]    the installation that FILE.inf describes, of the files in FOLDER;
                                                                            VALUE instead of what [CEStrings] says of NAME
    packaging/ce/cabinet.py show IN.cab                                     what the device would do, a line each

A cabinet's first file, NAME.000, says what becomes of the others: little-endian tables of strings, folders, files, registry keys and
shortcuts, which name each other by number. The archive itself is gcab's (stored, not compressed). Of the description file the sections
and members are read that the installations here use; any other is refused.

Error messages name the file and its line; nothing is written then.
"""

import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import tempfile

HEADER = struct.Struct("<4s11I6H6I6H2H")  # 100 bytes
HIVES = {"HKCR": 1, "HKCU": 2, "HKLM": 3, "HKU": 4}
TEXT, NUMBER = 0x00000000, 0x00010001  # types of registry values
SELF_REGISTER = 0x10000000
SECTIONS = {"version", "cestrings", "cedevice", "defaultinstall", "sourcedisksnames", "sourcedisksfiles", "destinationdirs"}
INSTALL_MEMBERS = {"copyfiles", "addreg", "ceshortcuts", "ceselfregister"}


class Refused(Exception):
    pass


class Description:
    """A description file: sections of lines, by lower-case name."""

    def __init__(self, path, changes=()):
        self.path = path
        self.sections = {}
        section = None
        for number, line in enumerate(path.read_text(encoding="ascii").splitlines(), 1):
            line = line.strip()
            if not line or line.startswith(";"):
                continue
            if line.startswith("["):
                section = self.sections.setdefault(line.strip("[]").lower(), [])
            elif section is None:
                raise Refused(f"{path}:{number}: '{line}' stands before the first [section]")
            else:
                section.append((number, line))
        self.strings = {f"%{name}%".lower(): value.strip('"') for name, value in self.members("cestrings").items()}
        for change in changes:
            name, _, value = change.partition("=")
            if f"%{name}%".lower() not in self.strings:
                raise Refused(f"{path}: [CEStrings] says nothing of {name}, which {change} is to change")
            self.strings[f"%{name}%".lower()] = value
        listed = {name.lower() for member in ("copyfiles", "addreg", "ceshortcuts") for name in self.names(member)}
        for section in self.sections.keys() - SECTIONS - listed:
            raise Refused(f"{path}: section [{section}] is used by nothing; name it in [DefaultInstall] or remove it")
        for member in self.members("defaultinstall").keys() - INSTALL_MEMBERS:
            raise Refused(f"{path}: '{member}' in [DefaultInstall] is not understood, only {', '.join(sorted(INSTALL_MEMBERS))}")

    def lines(self, section):
        if section.lower() not in self.sections:
            raise Refused(f"{self.path}: there is no section [{section}]")
        return self.sections[section.lower()]

    def members(self, section):
        found = {}
        for number, line in self.lines(section):
            name, equals, value = line.partition("=")
            if not equals:
                raise Refused(f"{self.path}:{number}: '{line}' is no NAME = VALUE")
            found[name.strip().lower()] = value.strip()
        return found

    def member(self, section, name):
        value = self.members(section).get(name.lower())
        if value is None:
            raise Refused(f"{self.path}: [{section}] says no {name}")
        return self.expand(value.strip('"'))

    def names(self, member):
        """What a member of [DefaultInstall] lists."""
        return [name.strip() for name in self.members("defaultinstall").get(member, "").split(",") if name.strip()]

    def expand(self, text):
        """Names of [CEStrings] replaced; %CE1% and the like stay, which the device replaces."""
        return re.sub(r"%\w+%", lambda name: self.strings.get(name[0].lower(), name[0]), text)

    def fields(self, section, least):
        for number, line in self.lines(section):
            fields = [self.expand(field.strip().strip('"')) for field in line.split(",")]
            if len(fields) < least:
                raise Refused(f"{self.path}:{number}: '{line}' has {len(fields)} fields, not {least}")
            yield number, fields + [""] * (5 - len(fields))


class Tables:
    """The tables of the first file; each method answers the number of its entry."""

    def __init__(self):
        self.strings, self.folders, self.files, self.hives, self.keys, self.links = {}, {}, [], {}, [], []

    def string(self, text):
        return self.strings.setdefault(text, len(self.strings) + 1)

    def path(self, text):
        """A path is the numbers of its parts, with a zero after the last; a part is never a backslash."""
        return tuple(self.string(part) for part in text.split("\\") if part)

    def folder(self, path):
        return self.folders.setdefault(self.path(path), len(self.folders) + 1)

    def file(self, folder, name, flags):
        number = len(self.files) + 1
        self.files.append((number, self.folder(folder), flags, name))
        return number

    def key(self, hive, path, name, kind, data):
        hive = self.hives.setdefault((hive, self.path(path)), len(self.hives) + 1)
        self.keys.append((len(self.keys) + 1, hive, kind, name, data))

    def link(self, path, target):
        base = re.match(r"%CE(\d+)%\\", path)
        if not base:
            raise Refused(f"the shortcut '{path}' stands in no folder of the system, %CE1% to %CE17%")
        self.links.append((len(self.links) + 1, int(base[1]), target, self.path(path[base.end():])))

    @staticmethod
    def numbers(path):
        return struct.pack(f"<H{len(path) + 1}H", 2 * (len(path) + 1), *path, 0)

    @staticmethod
    def text(text):
        return text.encode("ascii") + b"\0"

    def bytes(self, description):
        parts = [
            b"".join(struct.pack("<HH", number, len(text) + 1) + self.text(text) for text, number in self.strings.items()),
            b"".join(struct.pack("<H", number) + self.numbers(path) for path, number in self.folders.items()),
            b"".join(struct.pack("<3HIH", number, folder, number, flags, len(name) + 1) + self.text(name)
                     for number, folder, flags, name in self.files),
            b"".join(struct.pack("<3H", number, hive, 0) + self.numbers(path) for (hive, path), number in self.hives.items()),
            b"".join(struct.pack("<3HIH", number, hive, 1, kind, len(name) + 1 + len(data)) + self.text(name) + data
                     for number, hive, kind, name, data in self.keys),
            # The 1: to a file, not to a folder.
            b"".join(struct.pack("<5H", number, 0, base, target, 1) + self.numbers(path) for number, base, target, path in self.links),
        ]
        application = self.text(description.member("CEStrings", "AppName"))
        provider = self.text(description.member("Version", "Provider"))
        offsets, at = [], HEADER.size + len(application) + len(provider)
        for part in parts:
            offsets.append(at)
            at += len(part)
        version = [int(part) for name in ("VersionMin", "VersionMax") for part in description.member("CEDevice", name).split(".")]
        header = HEADER.pack(b"MSCE", 0, at, 0, 1, int(description.member("CEDevice", "ProcessorType")), *version, 0, 0xE0000000,
                             len(self.strings), len(self.folders), len(self.files), len(self.hives), len(self.keys), len(self.links),
                             *offsets, HEADER.size, len(application), HEADER.size + len(application), len(provider), 0, 0, 0, 0)
        return header + application + provider + b"".join(parts)


def make(inf, source, out, changes):
    description = Description(inf, changes)
    tables = Tables()
    registered = {name.lower() for name in description.names("ceselfregister")}
    folders = description.members("destinationdirs")
    numbers, sources = {}, {}

    def destination(section):
        if section.lower() not in folders:
            raise Refused(f"{inf}: [DestinationDirs] says nothing of [{section}]")
        return description.expand(folders[section.lower()].split(",", 1)[1].strip())

    for section in description.names("copyfiles"):
        for number, (name, origin, _, flags, _) in description.fields(section, 1):
            sources[name.lower()] = path = source / (origin or name)
            if not path.is_file():
                raise Refused(f"{inf}:{number}: there is no {path}; build it first: cmake --build --preset ce")
            flags = int(flags or "0", 0) | (SELF_REGISTER if name.lower() in registered else 0)
            numbers[name.lower()] = tables.file(destination(section), name, flags)
    for name in registered - numbers.keys():
        raise Refused(f"{inf}: CESelfRegister names {name}, which is not copied")
    for section in description.names("addreg"):
        for number, (hive, path, name, kind, value) in description.fields(section, 5):
            if hive.upper() not in HIVES:
                raise Refused(f"{inf}:{number}: '{hive}' is no part of the registry, only {', '.join(HIVES)}")
            if int(kind, 0) not in (TEXT, NUMBER):
                raise Refused(f"{inf}:{number}: values of type {kind} are not written, only {TEXT:#010x} and {NUMBER:#010x}")
            data = struct.pack("<I", int(value, 0)) if int(kind, 0) == NUMBER else Tables.text(value)
            tables.key(HIVES[hive.upper()], path, name, int(kind, 0), data)
    for section in description.names("ceshortcuts"):
        for number, (name, _, target, _, _) in description.fields(section, 3):
            if target.lower() not in numbers:
                raise Refused(f"{inf}:{number}: the shortcut's target {target} is not copied")
            tables.link(destination(section) + "\\" + name + ".lnk", numbers[target.lower()])

    def short(name, number):
        return f"{re.sub(r'[^A-Za-z0-9]', '', name.split('.')[0])[:8].upper():0>8}.{number:03}"

    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        names = [short(out.name, 0)]
        (folder / names[0]).write_bytes(tables.bytes(description))
        # The description is read first; then the files, the highest number before the others.
        for number, _, _, name in reversed(tables.files):
            names.append(short(name, number))
            shutil.copy2(sources[name.lower()], folder / names[-1])
        # Dated like the files that it describes, so that the same files give the same cabinet.
        newest = max(path.stat().st_mtime for path in folder.iterdir() if path.name != names[0])
        os.utime(folder / names[0], (newest, newest))
        made = folder / "made.cab"
        subprocess.run(["gcab", "--create", "--nopath", made, *(folder / name for name in names)], check=True)
        out.parent.mkdir(parents=True, exist_ok=True)
        out.write_bytes(made.read_bytes())


class Reader:
    """Reads the first file back, every entry to its end."""

    def __init__(self, data):
        self.data = data
        magic, _, size, _, _, self.processor, *rest = HEADER.unpack_from(data)
        if magic != b"MSCE" or size != len(data):
            raise Refused("its first file describes no installation, or was cut")
        self.version, self.counts, self.offsets = rest[:4], rest[6:12], rest[12:18]
        (at, length), (other, other_length) = rest[18:20], rest[20:22]
        self.application = data[at : at + length].rstrip(b"\0").decode("ascii")
        self.provider = data[other : other + other_length].rstrip(b"\0").decode("ascii")
        self.at = 0
        self.strings = dict(self.entries(0, lambda: (self.take("<H"), self.text(self.take("<H")))))
        self.folders = dict(self.entries(1, lambda: (self.take("<H"), self.path())))
        self.files = self.entries(2, lambda: (self.take("<H"), self.take("<H"), self.take("<H"), self.take("<I"), self.text(self.take("<H"))))
        self.hives = {number: (root, path) for number, root, _, path in
                      self.entries(3, lambda: (self.take("<H"), self.take("<H"), self.take("<H"), self.path()))}
        self.keys = self.entries(4, lambda: (self.take("<H"), self.take("<H"), self.take("<H"), self.take("<I"), self.raw(self.take("<H"))))
        self.links = self.entries(5, lambda: (self.take("<H"), self.take("<H"), self.take("<H"), self.take("<H"), self.take("<H"), self.path()))

    def entries(self, table, read):
        self.at = self.offsets[table]
        return [read() for _ in range(self.counts[table])]

    def raw(self, length):
        part = self.data[self.at : self.at + length]
        if len(part) != length:
            raise Refused("its description was cut")
        self.at += length
        return part

    def take(self, kind):
        return struct.unpack(kind, self.raw(struct.calcsize(kind)))[0]

    def text(self, length):
        return self.raw(length).rstrip(b"\0").decode("ascii")

    def path(self):
        length = self.take("<H")
        numbers = struct.unpack(f"<{length // 2}H", self.raw(length))
        return "\\".join(self.strings[number] for number in numbers[:-1])


def show(cabinet):
    with tempfile.TemporaryDirectory() as folder:
        # A reader that nobody here wrote.
        subprocess.run(["cabextract", "--quiet", "--directory", folder, cabinet], check=True)
        first = sorted(pathlib.Path(folder).glob("*.000"))
        if len(first) != 1:
            raise Refused(f"{cabinet} holds {len(first)} descriptions of an installation, not one")
        reader = Reader(first[0].read_bytes())
        sizes = {int(path.suffix[1:]): path.stat().st_size for path in pathlib.Path(folder).iterdir()}
    print(f"{reader.application} ({reader.provider}), processor {reader.processor}, Windows CE"
          f" {reader.version[0]}.{reader.version[1]} to {reader.version[2]}.{reader.version[3]}")
    for number, folder, _, flags, name in reader.files:
        print(f"file {reader.folders[folder]}\\{name} ({sizes[number]} bytes{', registers itself' if flags & SELF_REGISTER else ''})")
    roots = {number: name for name, number in HIVES.items()}
    for _, hive, _, kind, data in reader.keys:
        name, _, value = data.partition(b"\0")
        value = struct.unpack("<I", value)[0] if kind == NUMBER else value.rstrip(b"\0").decode("ascii")
        print(f"value {roots[reader.hives[hive][0]]}\\{reader.hives[hive][1]}\\{name.decode('ascii')} = {value}")
    names = {number: name for number, *_, name in reader.files}
    for _, _, base, target, _, path in reader.links:
        print(f"shortcut %CE{base}%\\{path} to {names[target]}")


def main():
    try:
        match sys.argv[1:]:
            case ["make", inf, folder, out, *changes]:
                make(pathlib.Path(inf), pathlib.Path(folder), pathlib.Path(out), changes)
            case ["show", cabinet]:
                show(pathlib.Path(cabinet))
            case _:
                print(__doc__, file=sys.stderr)
                return 2
    except (Refused, OSError, ValueError) as error:
        print(f"cabinet: {error}", file=sys.stderr)
        return 1
    except subprocess.CalledProcessError as error:
        print(f"cabinet: {error.cmd[0]} ended with {error.returncode}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
