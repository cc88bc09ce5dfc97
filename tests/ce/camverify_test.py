#!/usr/bin/env python3
"""The conformance program on the emulated device: camverify_test.py CE_RUN CE_BUILD [--fast] ARGUMENTS...

Passed when camverify is, every picture is as it should be, no thread needs more than 40 KB of stack, and nothing of the library is left when the
program ends. The checks that are skipped are those that SKIPPED names.
"""

import json
import os
import subprocess
import sys
import tempfile
from pathlib import Path

MAX_STACK = 40 * 1024
# What needs something that Windows CE does not have, or that the emulator does not show; docs/targets.md tells the same.
SKIPPED = {
    "the library enters COM for the thread that loads it, and leaves it",
    "a library that stands too deep for COM is not registered",
    "a driver has no list of a webcam's formats",
    "windows above the video window can be worked on while it previews",
    "the video fills the owner's client area while preview runs",
    "without a usable imager library it says so, and everything else goes on",
}


def main():
    ce_run, binaries, arguments = sys.argv[1], Path(sys.argv[2]) / "bin", sys.argv[3:]
    if not (binaries / "camverify.exe").is_file():
        print("the ce build is missing; make it with: cmake --preset ce && cmake --build --preset ce")
        return 77
    run_options = [one for one in arguments if one == "--fast"]
    arguments = [one for one in arguments if one != "--fast"]
    problems = []
    with tempfile.TemporaryDirectory(prefix="camverify-ce-") as name:
        folder = Path(name)
        start = [ce_run, "--folder", name]
        registry = ["--save-registry", folder / "device.reg", binaries / "ocellus.dll", "DllRegisterServer"]
        subprocess.run([*start, "--quiet", *registry], check=True, stdout=subprocess.DEVNULL, timeout=60)
        options = ["--registry", folder / "device.reg", "--json", folder / "run.json", "--deadline", "300", *run_options]
        program = [binaries / "camverify.exe", "--json", "\\report.json", "--pictures", "\\pictures", *arguments]
        done = subprocess.run([*start, *options, *program], check=False, timeout=400)
        run = json.loads((folder / "run.json").read_text())
        if done.returncode or run["end"] != "exit":
            return 1
        checks = json.loads((folder / "report.json").read_text())["checks"]
        for check in checks:
            # Of the other type of camera, when one is asked for by name.
            if check["result"] == "skipped" and check["name"] not in SKIPPED and "--type" not in check["reason"]:
                problems.append(f"'{check['name']}' was skipped: {check['reason']}")
        for stack in run["stacks"]:
            if stack["bytes"] > MAX_STACK:
                problems.append(f"{stack['thread']} needs {stack['bytes']} bytes of stack")
        left = [one["what"] for one in run["handles"] if one["what"] != "event "] + run["references"]
        # The settings document that was read last is kept for the next start.
        left = [one for one in left if not one.startswith("XML document")]
        if left:
            problems.append(f"left open: {left}")
        pictures = list((folder / "pictures").iterdir())
        if pictures:
            judge = Path(__file__).parents[2] / "tools/camverify/judge_pictures.py"
            if subprocess.run([sys.executable, judge, folder / "pictures"], check=False).returncode:
                problems.append("a picture is wrong")
    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
