#!/usr/bin/env python3
"""Sessions on the emulated device under bad conditions: on_device.py CE_RUN CE_BUILD sweep [--all] [--every N] | seeds FIRST COUNT [--seconds S] | play [--folder F] ...

sweep   each call of the system by ocellus.dll that can fail does so, at its first, second and last occurrence: one run of two sessions for each
        (with --all at every occurrence; with --every N the first occurrence of each function and each Nth of the others)
seeds   threads are switched at random moments; one run of two sessions for each seed, no more of them than fit the seconds
play    the program with these arguments, in one process; its files in that folder

In each run: nothing hangs, every result is a documented one, nothing is left open, a picture is complete or not there, settings are as they
were, and the second session is faultless. Prints the number of runs, and for each that failed the command that repeats it.
"""

import argparse
import concurrent.futures
import hashlib
import json
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path

DEVICE_SECONDS = 120  # a run takes some five of the device's time
PICTURES = (".jpg", ".bmp", ".png", ".tif")


class Device:
    def __init__(self, ce_run, binaries, scratch):
        self.ce_run, self.binaries = str(ce_run.resolve()), binaries
        self.registry = scratch / "device.reg"
        registration = ["--save-registry", self.registry, binaries / "ocellus.dll", "DllRegisterServer"]
        subprocess.run([self.ce_run, "--quiet", "--folder", scratch, *registration], check=True, stdout=subprocess.DEVNULL, timeout=60)
        self.expected = None  # what an undisturbed run leaves: pictures and settings by name, and what is open
        self.readable = set()  # pictures that a foreign decoder has read; runs share most of them

    def command(self, folder, options, arguments):
        fixed = ["--quiet", "--fast", "--folder", folder, "--registry", self.registry, "--json", folder / "run.json", "--watch", "ocellus.dll"]
        return [str(word) for word in (self.ce_run, *fixed, *options, self.binaries / "reliability.exe", "\\", *arguments)]

    def run(self, options, arguments):
        """The report, the files that are left by name, and what the program said."""
        with tempfile.TemporaryDirectory(prefix="reliability-") as name:
            folder = Path(name)
            command = self.command(folder, ["--device-deadline", DEVICE_SECONDS, "--deadline", 300, *options], arguments)
            done = subprocess.run(command, capture_output=True, text=True, errors="replace", check=False, timeout=400)
            path = folder / "run.json"
            report = json.loads(path.read_text()) if path.is_file() else {"end": "none"}
            files = {one.name: one.read_bytes() for one in folder.iterdir() if one.name != "run.json" and one.is_file()}
            problems = [] if done.returncode == 0 else [f"ended with {done.returncode}: {done.stdout}{done.stderr}"]
            problems += self.judge(report, files) if self.expected else []
            return report, files, problems

    def judge(self, report, files):
        problems = []
        known_files, known_left = self.expected
        for name, contents in files.items():
            if known_files.get(name) == contents:
                continue
            if not name.endswith(PICTURES):
                problems.append(f"{name} is not as it was")
            elif not self.is_readable(name[-3:], contents):
                problems.append(f"{name} is half a picture of {len(contents)} bytes")
        problems += [f"left open: {one}" for one in left_open(report) if one not in known_left]
        return problems

    def is_readable(self, suffix, contents):
        picture = suffix, hashlib.sha256(contents).digest()
        if picture not in self.readable:
            decoder = ["convert", "-regard-warnings", f"{suffix}:-", "null:"]
            if subprocess.run(decoder, input=contents, capture_output=True, check=False).returncode:
                return False
            self.readable.add(picture)
        return True


def left_open(report):
    lines = [f"{one['count']} {one['what']}" for one in report.get("handles", [])] + report.get("references", [])
    return lines + [f"{one['blocks']} blocks by {one['by']}" for one in report.get("blocks", [])]


def calls_of(count, at_all):
    return range(1, count + 1) if at_all else sorted({1, min(2, count), count})


def sweep(device, every, at_all):
    counts = {one["function"]: one for one in device.run([], ["once"])[0]["calls"]}
    first, others = [], []
    for function, one in counts.items():
        if one["canFail"] and one["count"]:
            runs = [(["--fail", f"{function}:{call}"], ["twice"]) for call in calls_of(one["count"], at_all)]
            first += runs[:1]
            others += runs[1:]
    silent = [name for name, one in counts.items() if one["count"] and not one["canFail"]]
    unused = [name for name, one in counts.items() if not one["count"]]
    print(f"{len(counts)} imports: {len(counts) - len(silent) - len(unused)} can fail, {len(silent)} cannot ({' '.join(silent)}),")
    print(f"{len(unused)} are not called in a session ({' '.join(unused)})")
    return first + others[::every]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("ce_run", type=Path)
    parser.add_argument("build", type=Path)
    modes = parser.add_subparsers(dest="mode", required=True)
    sweeping = modes.add_parser("sweep")
    sweeping.add_argument("--every", type=int, default=1)
    sweeping.add_argument("--all", action="store_true")
    seeds = modes.add_parser("seeds")
    seeds.add_argument("first", type=int)
    seeds.add_argument("count", type=int)
    seeds.add_argument("--seconds", type=int, default=10**9)
    playing = modes.add_parser("play")
    playing.add_argument("--folder", type=Path)
    playing.add_argument("arguments", nargs="+")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    options = parser.parse_args()
    binaries = options.build / "bin"
    if not (binaries / "reliability.exe").is_file():
        print("the ce build is missing; make it with: cmake --preset ce && cmake --build --preset ce")
        return 77

    failed = done = 0
    end = time.monotonic() + getattr(options, "seconds", 10**9)
    with tempfile.TemporaryDirectory(prefix="reliability-") as scratch:
        device = Device(options.ce_run, binaries, Path(scratch))
        if options.mode == "play":
            limits = ["--deadline", 86400, "--device-deadline", 1000000]
            return subprocess.run(device.command(options.folder or Path(scratch), limits, options.arguments), check=False).returncode
        report, files, problems = device.run([], ["twice"])
        if problems:
            print("undisturbed:", *problems)
            return 1
        device.expected = files, left_open(report)
        if options.mode == "sweep":
            runs = sweep(device, options.every, options.all)
        else:
            runs = [(["--seed", seed], ["seed", seed]) for seed in range(options.first, options.first + options.count)]

        def play(run):
            return (run, device.run(*run)[2]) if time.monotonic() < end else (run, None)

        with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
            for (faults, arguments), problems in pool.map(play, runs):
                if problems is None:
                    continue
                done += 1
                if problems:
                    failed += 1
                    print("FAILED:", " ".join(map(str, faults + arguments)), *problems, sep="\n  ", flush=True)
    print(f"{options.mode}: {done} runs of two sessions, {failed} failed")
    return 1 if failed or not done else 0


if __name__ == "__main__":
    sys.exit(main())
