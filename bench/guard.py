#!/usr/bin/env python3
"""Notices when a routine has become slower on ARM: counts its instructions a pixel again, over a picture that is
the same on every machine, and ends with 1 when one of them is more than 3 % above what bench/baseline.json says.

    bench/ce/guard.py PROGRAM [--accept]    PROGRAM: ce_instructions; --accept: what was counted is the new baseline
"""
import json
import pathlib
import re
import subprocess
import sys

TOLERANCE = 1.03
BASELINE = pathlib.Path(__file__).resolve().parent.parent / "baseline.json"
ROW = re.compile(r"^(\S.*?) {2,}(plain|word|chosen) +\d+ +([0-9.]+) ")


def count(program):
    """Instructions a pixel, by routine and kernels."""
    run = subprocess.run([program, "--chart"], capture_output=True, text=True)
    if run.returncode != 0:
        print(run.stdout + run.stderr)
        sys.exit(run.returncode)
    rows = (ROW.match(line) for line in run.stdout.splitlines())
    return {f"{row[1]}, {row[2]}": float(row[3]) for row in rows if row}


def complaints(baseline, counted):
    """What is slower, was not counted, or has no figure to be compared with."""
    for name in sorted(baseline.keys() | counted.keys()):
        if name not in counted:
            yield f"{name}: in the baseline, but not counted any more"
        elif name not in baseline:
            yield f"{name}: {counted[name]:.2f} instructions a pixel, not in the baseline"
        elif counted[name] > baseline[name] * TOLERANCE:
            share = 100 * (counted[name] / baseline[name] - 1)
            yield f"{name}: {counted[name]:.2f} instructions a pixel, the baseline is {baseline[name]:.2f} ({share:.1f} % more)"


def main():
    program, *options = sys.argv[1:]
    counted = count(program)
    if options == ["--accept"]:
        BASELINE.write_text(json.dumps({"arm": counted}, indent=2) + "\n")
        return 0
    found = list(complaints(json.loads(BASELINE.read_text())["arm"], counted))
    for line in found:
        print(line)
    if found:
        print(f"If that is meant: {sys.argv[0]} {program} --accept")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
