#!/usr/bin/env python3
"""The conversion to the system's image format: what it must refuse, and that damaged input is reported and not tripped over.

    converter_test.py CE_BUILD_FOLDER      (the folder that holds bin/ and ce/)
"""

import random
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
CE = SOURCE / "ce" / "toolchain"
sys.path.insert(0, str(CE))
import elf as elf_format
import elf2ce
import module_definition

BUILD = Path()
IMPORTS = [CE / "imports" / name for name in ("coredll.def", "ole32.def", "oleaut32.def")]
GUEST = SOURCE / "tests" / "ce" / "guest"


class Links:
    """The two links of selftest.dll, to be changed byte by byte."""

    def __init__(self):
        folder = BUILD / "ce" / "selftest"
        self.blobs = [bytearray((folder / name).read_bytes()) for name in ("0x10000000.elf", "0x21430000.elf")]
        self.elves = [elf_format.read(folder / name) for name in ("0x10000000.elf", "0x21430000.elf")]

    def relocation_entries(self, elf, kind):
        """(offset in the file, relocation offset) of the entries of this type in allocated sections."""
        for table in elf.sections:
            if table.type != elf_format.SHT_REL or not elf.sections[table.info].allocated:
                continue
            for position in range(0, table.size, 8):
                offset, info = struct.unpack_from("<II", table.data, position)
                symbol = elf.symbols[info >> 8]
                if info & 0xFF == kind and symbol.section != elf_format.SHN_ABS:
                    yield table.offset + position, offset, info

    def set_relocation_type(self, old, new):
        """Changes the type of the first such entry in both links; returns its offset from the base."""
        for blob, elf in zip(self.blobs, self.elves):
            at, offset, info = next(self.relocation_entries(elf, old))
            struct.pack_into("<I", blob, at + 4, info & ~0xFF | new)
            where = offset - (elf.section(".text").address - 0x1000)
        return where

    def change_symbol(self, name, change):
        """change(name offset, value, size, info, other, section) → the new values, in both links."""
        for blob, elf in zip(self.blobs, self.elves):
            table = next(s for s in elf.sections if s.type == elf_format.SHT_SYMTAB)
            index = next(i for i, s in enumerate(elf.symbols) if s.name == name)
            entry = struct.unpack_from("<IIIBBH", table.data, 16 * index)
            struct.pack_into("<IIIBBH", blob, table.offset + 16 * index, *change(*entry))

    def convert(self, exports=GUEST / "selftest.def"):
        with tempfile.TemporaryDirectory() as folder:
            paths = [Path(folder) / name for name in ("first.elf", "second.elf")]
            for path, blob in zip(paths, self.blobs):
                path.write_bytes(blob)
            output = Path(folder) / "out.dll"
            imports = IMPORTS + [GUEST / "provider_imports.def", GUEST / "late_imports.def"]
            elf2ce.convert(*paths, exports, imports, output)
            return output.read_bytes()


class Refusals(unittest.TestCase):
    def refuses(self, links, text):
        with self.assertRaises((elf2ce.ConversionError, elf_format.ElfError)) as caught:
            links.convert()
        self.assertIn(text, str(caught.exception))
        return str(caught.exception)

    def test_unchanged_links_give_the_built_image(self):
        self.assertEqual(Links().convert(), (BUILD / "bin" / "selftest.dll").read_bytes())

    def test_one_relocation_removed(self):
        links = Links()
        where = links.set_relocation_type(2, 0)
        self.assertIn(f"base + 0x{where:X}", self.refuses(links, "no relocation names these words"))

    def test_one_relocation_too_many(self):
        links = Links()
        links.set_relocation_type(28, 2)
        self.refuses(links, "which do not move")

    def test_unknown_relocation(self):
        links = Links()
        links.set_relocation_type(2, 97)
        self.refuses(links, "relocation type 97")

    def test_undefined_symbol(self):
        links = Links()
        links.change_symbol("StaticSum", lambda name, value, size, info, other, section: (name, 0, 0, 0x10, other, 0))
        self.refuses(links, "undefined: StaticSum")

    def test_weak_undefined_symbol(self):
        links = Links()
        links.change_symbol("StaticSum", lambda name, value, size, info, other, section: (name, 0, 0, 0x20, other, 0))
        self.refuses(links, "weak and undefined, so their address would be 0: StaticSum")

    def test_veneer(self):
        links = Links()
        strings = b"__StaticSum_from_arm\0"
        for blob, elf in zip(links.blobs, links.elves):
            symbols = next(s for s in elf.sections if s.type == elf_format.SHT_SYMTAB)
            table = elf.sections[symbols.link]
            # Some long name makes room for the veneer's.
            index = next(i for i, s in enumerate(elf.symbols) if len(s.name) > len(strings) and s.section)
            at = struct.unpack_from("<I", symbols.data, 16 * index)[0]
            blob[table.offset + at : table.offset + at + len(strings)] = strings
        self.refuses(links, "veneers")

    def test_a_word_that_differs_by_something_else(self):
        links = Links()
        text = links.elves[1].section(".text")
        links.blobs[1][text.offset + 8] ^= 0x55
        self.refuses(links, "not by the distance of the bases")

    def test_two_links_at_one_base(self):
        links = Links()
        links.blobs[1] = links.blobs[0]
        self.refuses(links, "the same base")

    def test_missing_export(self):
        links = Links()
        with self.assertRaises(elf2ce.ConversionError) as caught:
            links.convert(SOURCE / "src" / "ocellus.def")
        self.assertIn("exported but not defined: DllCanUnloadNow", str(caught.exception))


class DamagedInput(unittest.TestCase):
    def test_damaged_files_are_reported(self):
        """Whatever byte is wrong: a reasoned refusal or an image, and never a crash of the converter."""
        links = Links()
        whole = [bytes(blob) for blob in links.blobs]
        source = random.Random(4)
        refused = 0
        for _ in range(60):
            links.blobs = [bytearray(blob) for blob in whole]
            blob = links.blobs[source.randrange(2)]
            if source.random() < 0.3:
                del blob[source.randrange(len(blob)) :]
            # The headers and tables are what can mislead; they stand at the two ends.
            for _ in range(source.randrange(1, 6)):
                if blob:
                    at = source.randrange(min(len(blob), 256)) if source.random() < 0.4 else source.randrange(len(blob))
                    blob[at] = source.randrange(256)
            try:
                links.convert()
            except (elf2ce.ConversionError, elf_format.ElfError):
                refused += 1
        self.assertGreater(refused, 20)

    def test_definitions(self):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "x.def"
            for text, complaint in (
                ("EXPORTS\n f @1\n", "no LIBRARY"),
                ("LIBRARY x.dll\nEXPORTS\n f @1\n f @2\n", "listed twice"),
                ("LIBRARY x.dll\nEXPORTS\n f @1\n g @1\n", "listed twice"),
                ("LIBRARY x.dll\nEXPORTS\n f @70000\n", "out of range"),
                ("LIBRARY x.dll\nEXPORTS\n f DATA\n", "'DATA' is not understood"),
            ):
                path.write_text(text)
                with self.assertRaises(module_definition.DefinitionError) as caught:
                    module_definition.read(path)
                self.assertIn(complaint, str(caught.exception))


class OtherConvention(unittest.TestCase):
    def test_the_wrong_compiler_option_does_not_compile(self):
        options = ["-march=armv4t", "-mabi=aapcs", "-E", "-include", str(CE / "include" / "ocellus_ce_prefix.h"), "-x", "c", "/dev/null"]
        run = subprocess.run(["arm-none-eabi-gcc", *options], capture_output=True, text=True)
        self.assertNotEqual(run.returncode, 0)
        self.assertIn("The calling convention of the system is that of -mabi=apcs-gnu", run.stderr)


class MissingFunctions(unittest.TestCase):
    def test_a_function_that_the_system_lacks_fails_the_link_with_its_name(self):
        for function in ("GetSystemTimeAsFileTime", "CreateFileA", "GetEnvironmentVariableW", "InitializeSRWLock"):
            with tempfile.TemporaryDirectory() as folder, self.subTest(function):
                folder = Path(folder)
                (folder / "x.c").write_text(f"int {function}(void); int DllMainCRTStartup(void) {{ return {function}(); }}\n")
                run = lambda *words: subprocess.run(words, cwd=folder, capture_output=True, text=True)
                thunks = run(sys.executable, str(CE / "import_thunks.py"), "imports.S", "imports.ld", *map(str, IMPORTS))
                self.assertEqual(thunks.returncode, 0, thunks.stderr)
                compiler = ["arm-none-eabi-gcc", "-march=armv4t", "-marm", "-mfloat-abi=soft"]
                link = run(*compiler, "-nostdlib", "-T", str(CE / "image.ld"), "-Wl,--defsym,imageBase=0x10000000", "-L.", "x.c", "imports.S")
                self.assertNotEqual(link.returncode, 0)
                self.assertIn(f"undefined reference to `{function}'", link.stderr)


if __name__ == "__main__":
    BUILD = Path(sys.argv.pop(1)).resolve()
    if not (BUILD / "bin" / "selftest.dll").exists():
        print(f"{BUILD}: the ce build is missing; make it with: cmake --preset ce && cmake --build --preset ce")
        sys.exit(77)
    unittest.main(verbosity=1)
