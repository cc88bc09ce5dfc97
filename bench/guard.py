#!/usr/bin/env python3
"""Notices when a routine has become slower: counts its instructions a pixel again, over pictures that are the same on
every machine, and ends with 1 when one of them is more than 3 % above what bench/baseline.json says; with 77 when
this machine cannot count.

    bench/guard.py arm PROGRAM [--accept]        PROGRAM: ce_instructions, which counts in the emulator
    bench/guard.py desktop PROGRAM [--accept]    PROGRAM: desktop_instructions, counted by valgrind

--accept: what was counted is the new baseline.
"""
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

TOLERANCE = 1.03
BASELINE = pathlib.Path(__file__).resolve().parent / "baseline.json"
ARM_ROW = re.compile(r"^(\S.*?) {2,}(plain|word|chosen) +\d+ +([0-9.]+) ")
DUMP = re.compile(r"^desc: Trigger: Client Request: (.*?)$.*?^(?:summary|totals): (\d+)", re.MULTILINE | re.DOTALL)


def run(*command):
    """What the program prints; ends with its result when that is not 0."""
    done = subprocess.run(command, capture_output=True, text=True)
    if done.returncode != 0:
        print(done.stdout + done.stderr)
        sys.exit(done.returncode)
    return done.stdout


def count_arm(program):
    """Instructions a pixel, by routine and kernels."""
    rows = (ARM_ROW.match(line) for line in run(program, "--chart").splitlines())
    return {f"{row[1]}, {row[2]}": float(row[3]) for row in rows if row}


def count_desktop(program):
    """Likewise. Needs valgrind."""
    if not shutil.which("valgrind"):
        print("valgrind is missing; run scripts/setup.sh bench")
        sys.exit(77)
    with tempfile.TemporaryDirectory() as folder:
        dumps = pathlib.Path(folder) / "dumps"
        printed = run("valgrind", "-q", "--tool=callgrind", "--collect-atstart=no", "--combine-dumps=yes",
                      f"--callgrind-out-file={dumps}", program)
        totals = {name: int(total) for name, total in DUMP.findall(dumps.read_text())}
    pixels = dict(line.split("\t") for line in printed.splitlines())
    return {name: round(totals[name] / int(count), 2) for name, count in pixels.items()}


def is_optional(name):
    """Not every processor has the widest vectors."""
    return name.endswith(", avx2")


def complaints(baseline, counted):
    """What is slower, was not counted, or has no figure to be compared with."""
    for name in sorted(baseline.keys() | counted.keys()):
        if name not in counted:
            if not is_optional(name):
                yield f"{name}: in the baseline, but not counted any more"
        elif name not in baseline:
            yield f"{name}: {counted[name]:.2f} instructions a pixel, not in the baseline"
        elif counted[name] > baseline[name] * TOLERANCE:
            share = 100 * (counted[name] / baseline[name] - 1)
            yield f"{name}: {counted[name]:.2f} instructions a pixel, the baseline is {baseline[name]:.2f} ({share:.1f} % more)"


def main():
    target, program, *options = sys.argv[1:]
    counted = {"arm": count_arm, "desktop": count_desktop}[target](program)
    baseline = json.loads(BASELINE.read_text())
    if options == ["--accept"]:
        BASELINE.write_text(json.dumps({**baseline, target: counted}, indent=2) + "\n")
        return 0
    found = list(complaints(baseline[target], counted))
    for line in found:
        print(line)
    if found:
        print(f"If that is meant: {sys.argv[0]} {target} {program} --accept")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
