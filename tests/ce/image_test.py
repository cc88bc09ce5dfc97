#!/usr/bin/env python3
"""The images of the ce build, read by programs that nobody here wrote.

    image_test.py CE_BUILD_FOLDER
"""

import struct
import subprocess
import sys
import unittest
from pathlib import Path

try:
    import pefile
except ImportError:
    print("python3-pefile is missing; run scripts/setup.sh test")
    sys.exit(77)

SOURCE = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCE / "ce" / "toolchain"))
import module_definition

BUILD = Path()
LARGEST = 450 * 1024
RELOCATION = 5
EXCEPTION = 3


class Image(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.path = BUILD / "bin" / "ocellus.dll"
        cls.image = pefile.PE(str(cls.path))

    def test_headers(self):
        header, optional = self.image.FILE_HEADER, self.image.OPTIONAL_HEADER
        self.assertEqual(header.Machine, 0x01C0)
        self.assertTrue(header.Characteristics & 0x2000, "a DLL")
        self.assertFalse(header.Characteristics & 0x0001, "relocations are not stripped")
        self.assertEqual(optional.Subsystem, 9)
        self.assertEqual((optional.MajorSubsystemVersion, optional.MinorSubsystemVersion), (5, 0))
        self.assertEqual(self.image.get_warnings(), [])
        self.assertTrue(self.image.verify_checksum())
        self.assertLess(self.path.stat().st_size, LARGEST)

    def test_exports(self):
        wanted = [(e.name, e.ordinal) for e in module_definition.read(SOURCE / "src" / "ocellus.def").entries]
        found = [(e.name.decode(), e.ordinal) for e in self.image.DIRECTORY_ENTRY_EXPORT.symbols]
        self.assertEqual(sorted(found), sorted(wanted))
        code = self.image.sections[0]
        for export in self.image.DIRECTORY_ENTRY_EXPORT.symbols:
            self.assertTrue(code.VirtualAddress <= export.address < code.VirtualAddress + code.Misc_VirtualSize, export.name)

    def test_imports(self):
        allowed = {}
        for name in ("coredll", "ole32", "oleaut32"):
            definition = module_definition.read(SOURCE / "ce" / "toolchain" / "imports" / f"{name}.def")
            allowed[definition.library] = {e.name for e in definition.entries}
        for library in self.image.DIRECTORY_ENTRY_IMPORT:
            name = library.dll.decode()
            self.assertIn(name, allowed)
            for entry in library.imports:
                self.assertIn(entry.name.decode(), allowed[name])

    def test_function_table(self):
        directory = self.image.OPTIONAL_HEADER.DATA_DIRECTORY[EXCEPTION]
        base = self.image.OPTIONAL_HEADER.ImageBase
        table = self.image.get_data(directory.VirtualAddress, directory.Size)
        relocated = {e.rva for block in self.image.DIRECTORY_ENTRY_BASERELOC for e in block.entries if e.type}
        end = 0
        for offset in range(0, len(table), 8):
            start, packed = struct.unpack_from("<II", table, offset)
            length, prologue = packed >> 8 & 0x3FFFFF, packed & 0xFF
            self.assertGreaterEqual(start, end, "sorted, and no function within another")
            self.assertLessEqual(prologue, length)
            self.assertTrue(packed & 1 << 30, "32-bit instructions")
            self.assertIn(directory.VirtualAddress + offset, relocated)
            end = start + 4 * length
        code = self.image.sections[0]
        self.assertLessEqual(end, base + code.VirtualAddress + code.Misc_VirtualSize)
        self.assertGreater(len(table), 8 * 500)

    def test_readobj(self):
        for tool in ("llvm-readobj", "llvm-readobj-14"):
            try:
                run = subprocess.run(
                    [tool, "--file-headers", "--sections", "--coff-imports", "--coff-exports", "--coff-basereloc", str(self.path)],
                    capture_output=True, text=True,
                )
            except FileNotFoundError:
                continue
            self.assertEqual(run.returncode, 0, run.stderr)
            self.assertEqual(run.stderr, "")
            self.assertIn("IMAGE_FILE_MACHINE_ARM (0x1C0)", run.stdout)
            self.assertIn("IMAGE_SUBSYSTEM_WINDOWS_CE_GUI", run.stdout)
            self.assertIn("camSnapPictureWithText", run.stdout)
            return
        self.fail("llvm-readobj is missing")


if __name__ == "__main__":
    BUILD = Path(sys.argv.pop(1)).resolve()
    if not (BUILD / "bin" / "ocellus.dll").exists():
        print(f"{BUILD}: the ce build is missing; make it with: cmake --preset ce && cmake --build --preset ce")
        sys.exit(77)
    unittest.main(verbosity=1)
