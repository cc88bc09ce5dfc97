#!/usr/bin/env python3
"""ce-run as its users call it: run_test.py CE_RUN CE_BUILD. Programs, exports, the device's files and registry, faults, the deadline, the report."""

import json
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CE_RUN, BIN = "", Path()


class Device(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="ce-run-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def run_it(self, *arguments, image=None, folder=True):
        command = [CE_RUN] + (["--folder", self.folder] if folder else [])
        words = [str(BIN / word) if word == image else str(word) for word in arguments]
        return subprocess.run([*map(str, command), *words], capture_output=True, text=True, timeout=120, check=False)

    def file(self, name, contents):
        path = self.folder / name
        path.write_bytes(contents if isinstance(contents, bytes) else contents.encode())
        return path

    def has(self, text, *parts):
        for part in parts:
            self.assertIn(part, text)


class Programs(Device):
    def test_console_program(self):
        done = self.run_it("console.exe", "one", "two words", "", image="console.exe")
        lines = done.stdout.splitlines()
        self.assertEqual(done.returncode, 44, done.stdout + done.stderr)
        self.assertEqual(lines[0], "constructed")
        self.assertEqual(lines[1:5], ["argument 0: \\Windows\\console.exe", "argument 1: one", "argument 2: two words", "argument 3: "])
        self.has(done.stdout, "to the debugger: ä€")
        self.assertEqual(lines[-1], "destroyed")
        self.has(done.stderr, "to the error stream", "ended with 44")

    def test_window_program(self):
        done = self.run_it("window.exe", "30", image="window.exe")
        self.assertEqual(done.returncode, 33, done.stderr)
        self.has(done.stderr, "after 300 ms", "messages posted  1", "left open        nothing")

    def test_program_with_a_camera(self):
        saved = self.folder / "device.reg"
        self.assertEqual(self.run_it("--save-registry", saved, "ocellus.dll", "DllRegisterServer", image="ocellus.dll").returncode, 0)
        self.has(saved.read_text(), '@="\\\\Windows\\\\ocellus.dll"')
        done = self.run_it("--registry", saved, "take_pictures.exe", "picture.bmp", image="take_pictures.exe")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.folder.joinpath("picture.bmp").read_bytes()[:2], b"BM")
        self.has(done.stderr, "left open        nothing")
        # Without the filters' registration the camera does not come up, as on a device.
        failed = self.run_it("take_pictures.exe", "picture.bmp", image="take_pictures.exe")
        self.assertEqual(failed.returncode, 1)


class Exports(Device):
    def test_export_and_its_arguments(self):
        for arguments, result in (
            (["provideSquare", "12"], "provideSquare = 144 (0x00000090)"),
            (["provideSquare", "-3"], "provideSquare = 9 (0x00000009)"),
            (["provideSquare", "0x10"], "provideSquare = 256 (0x00000100)"),
        ):
            done = self.run_it("--quiet", "provider.dll", *arguments, image="provider.dll")
            self.assertEqual((done.returncode, done.stdout.strip(), done.stderr), (0, result, ""))
        text = self.run_it("--quiet", "selftest.dll", "Narrow", "camera", image="selftest.dll")
        self.assertEqual(text.stdout, "Narrow = 108 (0x0000006C)\n")

    def test_export_that_is_missing(self):
        done = self.run_it("provider.dll", "nothing", image="provider.dll")
        self.assertEqual(done.returncode, 125)
        self.has(done.stderr, "provider.dll does not export nothing")


class Registry(Device):
    HEAD = "Windows Registry Editor Version 5.00\r\n\r\n"

    def test_in_and_out(self):
        text = self.HEAD + (
            '; a comment\r\n[HKEY_LOCAL_MACHINE\\Software\\Sample]\r\n"Count"=dword:00000029\r\n@="a \\"b\\" \\\\ c"\r\n'
            '"Bytes"=hex:01,02,\\\r\n  ff\r\n"List"=hex(7):61,00,00,00\r\n"Gone"="x"\r\n"Gone"=-\r\n'
            "[HKEY_CURRENT_USER\\Away]\r\n[-HKEY_CURRENT_USER\\Away]\r\n"
        )
        expected = (
            'Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\Software]\n\n[HKEY_LOCAL_MACHINE\\Software\\Sample]\n@="a \\"b\\" \\\\ c"\n'
            '"Bytes"=hex:01,02,ff\n"Count"=dword:0000002a\n"List"=hex(7):61,00,00,00\n'
        )
        for encoded in (text.encode(), b"\xef\xbb\xbf" + text.encode(), b"\xff\xfe" + text.encode("utf-16-le")):
            path, saved = self.file("in.reg", encoded), self.folder / "out.reg"
            done = self.run_it("--registry", path, "--save-registry", saved, "console.exe", image="console.exe")
            self.has(done.stdout, "count is now 42")
            self.assertEqual(saved.read_text(), expected)

    def test_refused(self):
        for line, reason in (
            ("[HKEY_NOWHERE\\A]", "no such root: HKEY_NOWHERE"),
            ("[HKEY_LOCAL_MACHINE\\A", "closing bracket"),
            ('"a"="b"', "before the first key"),
            ('[HKEY_LOCAL_MACHINE\\A]\r\n"a"="b', "does not end"),
            ('[HKEY_LOCAL_MACHINE\\A]\r\n"a"=dword:123456789', "too many digits"),
            ('[HKEY_LOCAL_MACHINE\\A]\r\n"a"=hex:1x', "another character"),
            ('[HKEY_LOCAL_MACHINE\\A]\r\n"a"=soon', "after the ="),
        ):
            with self.subTest(line):
                path = self.file("in.reg", self.HEAD + line + "\r\n")
                done = self.run_it("--registry", path, "console.exe", image="console.exe")
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                number = 3 + line.count("\n")
                self.has(done.stderr, f"in.reg:{number}: ", reason)
        done = self.run_it("--registry", self.file("in.reg", "[HKEY_LOCAL_MACHINE\\A]\n"), "console.exe", image="console.exe")
        self.has(done.stderr, "in.reg:1: a registry file begins with")


class Faults(Device):
    def test_each_fault_names_its_place(self):
        for number, parts in (
            (1, ("invalid store of 4 bytes at 0x00000008 in StoreToNull", "likely a null pointer", "r0 0x", "from main+")),
            (2, ("unaligned load of 4 bytes", "in LoadUnaligned", "a cast pointer")),
            (3, ("stack overflow", "in Recurse", "64 KB")),
            (4, ("undefined instruction", "faults.exe, 0x")),
            (5, ("UseFreed", "memory that has been freed")),
            (6, ("deadlock", "thread main waits for event never", "from WaitForever+")),
            (7, ("call to an unbound import: late.dll!lateFunction", "from main+")),
            (8, ("a C++ exception", "from Throw+")),
            (11, ("invalid store of 4 bytes at ", "which may only be read, in StoreToConstant")),
            (12, ("store of 4 bytes at ", "in StoreToFreed", "memory that has been freed")),
            (13, ("load of 1 bytes at ", "in LoadPastTheEnd", "past the end of a block of the heap")),
            (14, ("a system call was given the address ", "it has been freed", "from CopyFromFreed")),
            (15, ("undefined instruction", "in RunLaterInstruction", "ARMv4T lacks")),
            (16, ("closed with CloseHandle, but it is that of registry key ", "which RegCloseKey closes", "from CloseKeyAsHandle")),
            (17, ("closed with RegCloseKey, but it is that of event", "from CloseEventAsKey")),
            (18, ("that of file search, which FindClose closes", "from CloseSearchAsHandle")),
            (19, ("a wait for registry key ", "from WaitForKey")),
            (20, ("closed with ReleaseDC", "which DeleteDC closes", "from ReleaseCompatibleContext")),
            (21, ("the bitmap 8 x 8 was deleted while it is selected", "from DeleteSelectedBitmap")),
            (22, ("the buffer of a sample of 32 bytes was written beyond its ends", "from WritePastASample")),
            (23, ("closed with CloseHandle, but it is that of message queue", "from CloseQueueAsHandle")),
        ):
            with self.subTest(number):
                done = self.run_it("faults.exe", number, image="faults.exe")
                self.assertEqual(done.returncode, 125)
                self.has(done.stderr, *parts, "faults.exe faulted")

    def test_what_is_written_unwatched_after_it_was_freed(self):
        done = self.run_it("--fast", "faults.exe", 12, image="faults.exe")
        self.assertEqual(done.returncode, 125)
        self.has(done.stderr, "the block of 16 bytes allocated by StoreToFreed", "was written after that")

    def test_what_the_system_refuses(self):
        self.file("fixed.txt", "x").chmod(0o444)
        done = self.run_it("faults.exe", image="faults.exe")
        self.assertEqual(done.returncode, 0, f"bits of RefusedInTime: {done.returncode:b}\n{done.stderr}")

    def test_place_without_a_list_of_symbols(self):
        shutil.copy(BIN / "selftest.dll", self.folder)
        shutil.copy(BIN / "provider.dll", self.folder)
        done = self.run_it(self.folder / "selftest.dll", "StoreThroughNull")
        self.has(done.stderr, "at 0x00000004 in StoreThroughNull (selftest.dll, 0x")

    def test_stack_option(self):
        done = self.run_it("--stack", 256, "faults.exe", 3, image="faults.exe")
        self.has(done.stderr, "a stack has 256 KB")

    def test_deadline(self):
        done = self.run_it("--deadline", 1, "faults.exe", 9, image="faults.exe")
        self.assertEqual(done.returncode, 124)
        self.has(done.stderr, "the deadline of 1 s has passed", "in Spin")


    def test_device_deadline(self):
        done = self.run_it("--device-deadline", 1, "reliability.exe", "\\", "once", image="reliability.exe")
        self.assertEqual(done.returncode, 124)
        self.has(done.stderr, "the deadline of 1 s of the device's time has passed", "thread main waits for")

    def test_call_that_fails(self):
        path = self.folder / "report.json"
        options = ["--quiet", "--watch", "Ocellus.dll", "--json", path]
        self.run_it(*options, "ocellus.dll", "DllRegisterServer", image="ocellus.dll")
        calls = {one["function"]: (one["count"], one["canFail"]) for one in json.loads(path.read_text())["calls"]}
        self.assertEqual(calls["RegCreateKeyExW"][1], True)
        self.assertEqual(calls["memcpy"][1], False)
        self.assertEqual(calls["CreateFileW"], (0, True))
        for call, result in ((1, "0x80070005"), (calls["RegCreateKeyExW"][0] + 1, "0x00000000")):
            done = self.run_it(*options, "--fail", f"RegCreateKeyExW:{call}", "ocellus.dll", "DllRegisterServer", image="ocellus.dll")
            self.has(done.stdout, result)
        for wrong, reason in (("memcpy:1", "'memcpy' is no import that can fail"), ("malloc", "a number from 1"), ("malloc:x", "a number from 1")):
            done = self.run_it(*options, "--fail", wrong, "ocellus.dll", "DllRegisterServer", image="ocellus.dll")
            self.assertEqual(done.returncode, 2)
            self.has(done.stderr, reason)


class Reports(Device):
    def test_what_was_left_open(self):
        path = self.folder / "report.json"
        done = self.run_it("--json", path, "faults.exe", 10, image="faults.exe")
        self.has(done.stderr, "1 device context", "1 event kept", "1 block, 100 bytes, allocated by LeaveOpen+", "Sample: Nobody is there")
        report = json.loads(path.read_text())
        self.assertEqual((report["end"], report["value"], report["messages"], report["peakHeap"]), ("exit", 0, 1, 100))
        self.assertEqual(report["handles"], [{"what": "device context", "count": 1}, {"what": "event kept", "count": 1}])
        self.assertEqual([(block["blocks"], block["bytes"]) for block in report["blocks"]], [(1, 100)])
        self.assertGreater(report["instructions"], 100)
        self.assertEqual([stack["thread"] for stack in report["stacks"]], ["main"])

    def test_repeatable(self):
        reports = []
        for seed in (None, None, 7, 7, 8):
            path = self.folder / "report.json"
            options = ["--seed", seed, BIN / "reliability.exe", "\\", "once"] if seed else [BIN / "window.exe", 5]
            done = self.run_it("--quiet", "--json", path, *options)
            self.assertEqual(done.returncode, 0 if seed else 8, done.stdout + done.stderr)
            reports.append(path.read_text())
        self.assertEqual(reports[0], reports[1])
        self.assertEqual(reports[2], reports[3])
        self.assertNotEqual(reports[3], reports[4])

    def test_trace(self):
        done = self.run_it("--trace", "--quiet", "console.exe", image="console.exe")
        self.has(
            done.stderr,
            '_wfopen("\\Notes.txt", "wb") = ',
            'OutputDebugStringW("to the debugger: ä€\\r\\n")',
            'RegOpenKeyExW(0x80000002, "software\\Sample", 0, 0x00020019, ',
            "TerminateProcess(66, 41) does not return",
        )
        saved = self.folder / "device.reg"
        registered = self.run_it("--trace", "--save-registry", saved, "ocellus.dll", "DllRegisterServer", image="ocellus.dll")
        self.has(registered.stderr, "RegCreateKeyExW(0x80000000, ")
        traced = self.run_it("--trace", "--registry", saved, "take_pictures.exe", "a.bmp", image="take_pictures.exe")
        self.has(traced.stderr, "CoCreateInstance(CLSID_FilterGraph, ", "IMediaControl::Run(", "FindFirstDevice(3, the class of cameras, ")


class Scenarios(Device):
    def picture(self, scenario):
        saved = self.folder / "device.reg"
        if not saved.exists():
            self.run_it("--save-registry", saved, "ocellus.dll", "DllRegisterServer", image="ocellus.dll")
        path = self.file("scenario.json", json.dumps(scenario))
        return self.run_it("--scenario", path, "--registry", saved, "take_pictures.exe", "a.bmp", image="take_pictures.exe")

    def test_played(self):
        for scenario, exit_code in (
            ({}, 0),
            ({"devices": ["CAM3:", {"name": "CAM1:", "cameraId": 7}], "framesPerSecond": 10, "watchGraph": True}, 0),
            ({"scene": "chart", "preview": {"width": 160, "height": 120}, "stillFormats": [{"width": 32, "height": 24}], "stillFormat": 0}, 0),
            ({"loseDeviceAfterFrames": 1, "resumeAfterFrames": 2, "properties": {"zoom": {"supported": False}}, "imager": {"scene": "page"}}, 1),
            ({"devices": []}, 1),
            ({"calls": {"IGraphBuilder::AddFilter": {"at": 2, "result": "0x80004005"}}}, 1),
            ({"calls": {"CoCreateInstance StillImageSink": {"result": "0x80040154"}}}, 1),
            ({"calls": {"IGraphBuilder::AddFilter": {"at": 99, "result": "0x80004005"}}}, 0),
        ):
            with self.subTest(scenario):
                done = self.picture(scenario)
                self.assertEqual(done.returncode, exit_code, done.stderr)
        slow = self.picture({"calls": {"IPersistPropertyBag::Load": {"delayMs": 1500}}})
        self.assertGreater(int(slow.stderr.split(" after ")[1].split()[0]), 1500)

    def test_refused_by_name(self):
        for scenario, reason in (
            ({"scene": {"picture": "a.png"}}, '"scene.picture" is "a.png"; it is not shown by the emulated camera'),
            ({"calls": {"IGraphBuilder::Fly": {"result": "0x80004005"}}}, '"calls.IGraphBuilder::Fly"'),
            ({"calls": {"IMediaControl::Run": {"result": "0x00000001"}}}, "failures only"),
            ({"devices": ["CAM1"]}, '"devices[0]"'),
            ({"imager": {"calls": {"Fly": {"result": 1}}}}, '"imager.calls.Fly"'),
            ({"preview": {"width": 160}}, 'give both "width" and "height"'),
            ({"chaos": {"seed": 1}}, "ce-run's --seed"),
            ({"colour": 1}, '"colour" is 1; there is no such member'),
        ):
            with self.subTest(scenario):
                done = self.picture(scenario)
                self.assertEqual(done.returncode, 2)
                self.has(done.stderr, "scenario.json: ", reason)


class Usage(Device):
    def test_refused(self):
        damaged = self.file("damaged.exe", b"MZ" + bytes(58) + struct.pack("<I", 64) + b"PE\0\0" + struct.pack("<H", 0x14C) + bytes(300))
        for arguments, reason in (
            ([], "a program or a DLL"),
            (["--sideways", "console.exe"], "--sideways"),
            (["missing.exe"], "there is no such file"),
            (["--deadline", "0", "console.exe"], "--deadline"),
            (["--registry", "missing.reg", "console.exe"], "missing.reg"),
            (["ocellus.dll"], "the name of an export"),
        ):
            with self.subTest(arguments):
                done = self.run_it(*arguments, image=arguments[-1] if arguments and (BIN / arguments[-1]).exists() else None)
                self.assertEqual(done.returncode, 2, done.stderr)
                self.has(done.stderr, reason)
        done = self.run_it(damaged)
        self.assertEqual(done.returncode, 125)
        self.has(done.stderr, "damaged.exe: no image for ARM")

    def test_help(self):
        done = self.run_it("--help", folder=False)
        self.assertEqual(done.returncode, 0)
        self.has(done.stdout, "--scenario", "LIBRARY.dll EXPORT", "UTF-16", "124 at the deadline")


if __name__ == "__main__":
    CE_RUN, BIN = sys.argv[1], Path(sys.argv[2]) / "bin"
    if not BIN.is_dir():
        print("the ce build is missing; make it with: cmake --preset ce && cmake --build --preset ce")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1])
