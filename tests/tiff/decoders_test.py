#!/usr/bin/env python3
"""Has sample pictures decoded by programs that nobody here wrote and compares what they find, pixel by pixel.

usage: decoders_test.py TIFF_SAMPLES FOLDER
"""
import glob
import os
import re
import shutil
import subprocess
import sys

# Per decoder: the program, its input, how it turns {name} and that ending into a portable bitmap {out}, and the widest picture it takes.
# ImageMagick refuses wide pictures of one colour: it holds so small a file for a broken one.
DECODERS = {
    "ImageMagick": ("convert", ".tif", "convert {name}.tif pbm:{out}", 5120),
    "leptonica": ("convertformat", ".tif", "convertformat {name}.tif {out} PNM", 32760),
    "poppler": ("pdfimages", ".pdf", "pdfimages {name}.pdf {out}", 14400),
    "mupdf": ("mutool", ".pdf", "mutool draw -q -r 72 -A 0 -F pbm -o {out} {name}.pdf", 14400),
}
LEAST_SAMPLES = 200  # for each decoder


def read_bitmap(path):
    """(width, rows, bits) of a binary portable bitmap, 1 for black."""
    with open(path, "rb") as file:
        data = file.read()
    head = re.match(rb"P4\s(?:#[^\n]*\n)*\s*(\d+)\s+(\d+)\s", data)
    if not head:
        raise ValueError(f"{path} is no binary bitmap")
    width, rows = int(head[1]), int(head[2])
    return width, rows, data[head.end():head.end() + (width + 7) // 8 * rows]


def main():
    program, folder = sys.argv[1:3]
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    subprocess.run([program, folder], check=True)
    names = sorted(path[:-4] for path in glob.glob(os.path.join(folder, "*.pbm")))
    bitmaps = {name: read_bitmap(name + ".pbm") for name in names}

    failures = 0
    asked = 0
    for decoder, (tool, ending, command, widest) in DECODERS.items():
        if not shutil.which(tool):
            print(f"{decoder} is not installed and was not asked")
            continue
        asked += 1
        given = [name for name in names if os.path.exists(name + ending) and bitmaps[name][0] <= widest]
        if len(given) < LEAST_SAMPLES:
            sys.exit(f"only {len(given)} samples for {decoder}")
        for name in given:
            out = f"{name}.{decoder}"
            words = [word.format(name=name, out=out) for word in command.split()]
            run = subprocess.run(words, capture_output=True, text=True)
            written = out if os.path.exists(out) else out + "-000.pbm"
            try:
                same = run.returncode == 0 and read_bitmap(written) == bitmaps[name]
            except (OSError, ValueError) as error:
                same = False
                run.stderr += str(error)
            if not same:
                failures += 1
                print(f"{decoder} finds another picture in {name}: {run.stderr.strip()[:200]}")
        print(f"{decoder}: {len(given)} pictures")
    if asked == 0:
        sys.exit("no decoder is installed")
    sys.exit(1 if failures else 0)


main()
