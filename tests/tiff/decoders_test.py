#!/usr/bin/env python3
"""Has sample pictures decoded by programs that nobody here wrote and compares what they find, pixel by pixel.

usage: decoders_test.py TIFF_SAMPLES FOLDER

Each program is given all its samples at once: starting one takes far longer than decoding a picture. Two read with libtiff, by which tiff_test
has every sample judged, so they see a part; the other two have decoders of their own.
"""
import glob
import os
import re
import shutil
import subprocess
import sys

WIDEST_FOR_IMAGEMAGICK = 5120  # it refuses wide pictures of one colour: it holds so small a file for a broken one
WIDEST_PAGE = 14400


def run(*words):
    done = subprocess.run(words, capture_output=True, text=True)
    if done.returncode:
        sys.exit(f"{words[0]} ended with {done.returncode}: {done.stderr.strip()[:500]}")


def imagemagick(names, folder):
    run("mogrify", "-format", "pbm", "-path", folder, *[name + ".tif" for name in names])
    return [f"{folder}/{os.path.basename(name)}.pbm" for name in names]


def leptonica(names, folder):
    written = [f"{folder}/{os.path.basename(name)}.pbm" for name in names]
    for name, out in zip(names, written):
        run("convertformat", name + ".tif", out, "PNM")
    return written


def book(names, folder):
    """One document with a page for each sample."""
    run("mutool", "merge", "-o", f"{folder}/book.pdf", *[name + ".pdf" for name in names])
    return f"{folder}/book.pdf"


def poppler(names, folder):
    run("pdfimages", book(names, folder), f"{folder}/page")
    return [f"{folder}/page-{page:03}.pbm" for page in range(len(names))]


def mupdf(names, folder):
    run("mutool", "draw", "-q", "-r", "72", "-A", "0", "-F", "pbm", "-o", f"{folder}/%d.pbm", book(names, folder))
    return [f"{folder}/{page}.pbm" for page in range(1, len(names) + 1)]


# Per decoder: the program it needs, which samples it is given, every how manieth of them, and how many that must be at least.
DECODERS = [
    (imagemagick, "mogrify", lambda width: width <= WIDEST_FOR_IMAGEMAGICK, 5, 40),
    (leptonica, "convertformat", lambda width: width > WIDEST_FOR_IMAGEMAGICK, 1, 20),
    (poppler, "pdfimages", lambda width: width <= WIDEST_PAGE, 1, 200),
    (mupdf, "mutool", lambda width: width <= WIDEST_PAGE, 1, 200),
]


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
    run(program, folder)
    bitmaps = {path[:-4]: read_bitmap(path) for path in sorted(glob.glob(f"{folder}/*.pbm"))}

    failures = 0
    for decode, tool, takes, step, least in DECODERS:
        if not shutil.which(tool):
            sys.exit(f"{tool} is not installed; run scripts/setup.sh test")
        names = [name for name, (width, _, _) in bitmaps.items() if takes(width)]
        if decode in (poppler, mupdf):
            names = [name for name in names if os.path.exists(name + ".pdf")]
        names = names[::step]
        if len(names) < least:
            sys.exit(f"only {len(names)} samples for {decode.__name__}")
        found = f"{folder}/{decode.__name__}"
        os.mkdir(found)
        for name, written in zip(names, decode(names, found)):
            try:
                same = read_bitmap(written) == bitmaps[name]
            except (OSError, ValueError) as error:
                same = False
                print(error)
            if not same:
                failures += 1
                print(f"{decode.__name__} finds another picture in {name}")
        print(f"{decode.__name__}: {len(names)} pictures")
    sys.exit(1 if failures else 0)


main()
