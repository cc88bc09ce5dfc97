#!/usr/bin/env python3
"""Judges the pictures that camverify --pictures leaves in a folder, with ImageMagick and zbarimg in place of the library's own code.

    tools/camverify/judge_pictures.py FOLDER

still-N-WxH.EXTENSION holds the pattern that camverify's callback painted (Paint in picture.cpp), imager-barcode.* the imager's label.
Ends with 0 when every picture is as it should be, with 1 and a line for each that is not, with 2 when there are none, and with 77 when
the folder is not there, which camverify makes before anything else: it did not run.
"""

import functools
import pathlib
import re
import subprocess
import sys


def decode(path):
    """Width, height and the bytes of red, green and blue."""
    ppm = subprocess.run(["convert", path, "-depth", "8", "ppm:-"], check=True, capture_output=True).stdout
    magic, size, _, pixels = ppm.split(b"\n", 3)
    if magic != b"P6":
        raise ValueError("not decoded")
    width, height = map(int, size.split())
    return width, height, pixels


@functools.cache
def pattern_row(green, odd, width, black_white):
    """The bytes of a row of the pattern: its green, and whether the chequerboard begins with a light field."""
    row = bytearray()
    for x in range(width):
        light = (x // 8 + odd) & 1
        row += bytes((255 * light,) * 3 if black_white else (round(x * 31 // width * 255 / 31), green, 255 * light))
    return bytes(row)


# How far a component may be from the pattern's: at any pixel, and in the mean. A decoder may widen five bits otherwise than by rounding.
LIMITS = {".bmp": (4, 4), ".png": (0, 0), ".jpg": (255, 12), ".tif": (0, 0)}


def judge(path, width, height):
    kind = path.suffix.lower()
    black_white = kind == ".tif"
    seen_width, seen_height, pixels = decode(path)
    file_width = (width + 7) // 8 * 8 if black_white else width  # a TIFF file's rows are whole bytes
    if (seen_width, seen_height) != (file_width, height):
        return f"is {seen_width} x {seen_height}, not {file_width} x {height}"
    worst = total = 0
    for y in range(height):
        row = pixels[3 * y * seen_width :][: 3 * width]
        expected = pattern_row(round(y * 63 // height * 255 / 63), y // 8 & 1, width, black_white)
        if row != expected:
            apart = [abs(seen - wanted) for seen, wanted in zip(row, expected)]
            worst = max(worst, max(apart))
            total += sum(apart)
    mean = total / (3 * width * height)
    limit, mean_limit = LIMITS[kind]
    return "" if worst <= limit and mean <= mean_limit else f"is {worst} apart from the pattern at worst, {mean:.2f} in the mean"


def judge_barcode(path):
    # By its contents, not its name: the imager writes BMP whatever it is called.
    found = subprocess.run(["zbarimg", "--quiet", "--raw", "bmp:" + str(path)], capture_output=True).stdout
    return "" if found == b"OCELLUS2\n" else f"holds the barcode {found!r}, not OCELLUS2"


def main():
    if len(sys.argv) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    if not pathlib.Path(sys.argv[1]).is_dir():
        print(f"there is no folder {sys.argv[1]}; run camverify --pictures {sys.argv[1]} first")
        return 77
    count = wrong = 0
    for path in sorted(pathlib.Path(sys.argv[1]).iterdir()):
        size = re.fullmatch(r"still-\d+-(\d+)x(\d+)\.\w+", path.name)
        if size:
            problem = judge(path, int(size[1]), int(size[2]))
        elif path.name.startswith("imager-barcode."):
            problem = judge_barcode(path)
        else:
            continue
        count += 1
        if problem:
            wrong += 1
            print(f"{path.name} {problem}")
    print(f"{count} pictures: {count - wrong} right, {wrong} wrong")
    return 2 if count == 0 else 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
