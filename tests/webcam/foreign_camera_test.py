#!/usr/bin/env python3
"""The library's driver on a camera that nobody here wrote: Wine's webcam filter, which opens what fake_v4l2.c plays to it.

    foreign_camera_test.py RUN BIN SHIM FOLDER [--short | OPTIONS]    scripts/host.sh or host32.sh, the folder of the build's programs, fake_v4l2.so
                                                                      of that width, a folder to work in; of camverify

With options, what camverify says of such a camera. Without, in every size a preview and a still, looked at; two cameras at once; unplugged in
mid-stream, and there again; one that hangs. --short leaves out two at once, and the one that hangs.
"""
import re
import struct
import sys
import time
from pathlib import Path

from programs import Programs, check, finish

ONE, TWO = "Foreign camera one", "Foreign camera two"
SIZES = [(640, 480, 30), (1280, 720, 10), (320, 240, 30)]
MARKS = {(0, 0): (255, 0, 0), (15, 0): (0, 255, 0), (0, 11): (0, 0, 255), (15, 11): (255, 255, 255)}
TOLERANCE = 24  # of 255: YUY2 on the way


class Session(Programs):
    def __init__(self, run, binaries, shim, folder):
        self.cameras = folder / "cameras"
        super().__init__(run, binaries, folder, OCELLUS_PRELOAD=str(shim), FAKE_V4L2=str(self.cameras))

    def plug(self, number, name, sizes):
        listed = " ".join(f"{width}x{height}@{rate}" for width, height, rate in sizes)
        (self.cameras / f"video{number}").write_text(f"{name}: {listed}\n")

    def unplug(self, number):
        (self.cameras / f"video{number}").unlink()

    def mark(self, number, what):
        return self.cameras / f"video{number}.{what}"

    def preview(self, number, seconds, *options):
        """Returns when the camera sends."""
        self.mark(number, "streams").unlink(missing_ok=True)
        process = self.start("camctl.exe", "preview", "--seconds", str(seconds), "--camera", (ONE, TWO)[number], *options)
        deadline = time.monotonic() + 60
        while not self.mark(number, "streams").exists() and time.monotonic() < deadline:
            time.sleep(0.02)
        return process

    # In mid-stream, with the time that is left.
    def disturb(self, number, how, seconds):
        preview = self.preview(number, seconds, "--json")
        how()
        started = time.monotonic()
        output, code = self.end(preview)
        return output, code, time.monotonic() - started


def pixel(data, column, row):
    start, = struct.unpack_from("<I", data, 10)
    width, height, _, bits = struct.unpack_from("<iiHH", data, 18)
    x, y = (2 * column + 1) * width // 32, (2 * row + 1) * abs(height) // 24
    if height > 0:
        y = height - 1 - y
    stride = (width * bits + 31) // 32 * 4
    place = start + y * stride + x * bits // 8
    if bits == 16:
        word, = struct.unpack_from("<H", data, place)
        return (word >> 11) * 255 // 31, (word >> 5 & 63) * 255 // 63, (word & 31) * 255 // 31
    return data[place + 2], data[place + 1], data[place]


def judge_still(session, width, height):
    picture = session.folder / "still.bmp"
    picture.unlink(missing_ok=True)
    output, code = session.camctl("snap", picture.name, "--size", f"{width}x{height}", "--camera", ONE)
    title = f"still of {width}x{height}"
    if code != 0 or not picture.exists():
        check(False, f"{title}: exit code {code}: {output.strip()}")
        return
    data = picture.read_bytes()
    check(struct.unpack_from("<ii", data, 18) in ((width, height), (width, -height)), f"{title}: has that size")
    wrong = {place: pixel(data, *place) for place, colour in MARKS.items()
             if max(abs(a - b) for a, b in zip(pixel(data, *place), colour)) > TOLERANCE}
    check(not wrong, f"{title}: upright, in its colours {wrong or ''}")


def judge_two(session):
    # One after the other: a listing of the webcams writes them anew, and another one meanwhile may miss one.
    first = session.preview(0, 8)
    second = session.preview(1, 3)
    check(first.poll() is None, "both send at the same time")
    for name, rate, process in ((ONE, 30, first), (TWO, 15, second)):
        output, code = session.end(process)
        measured = re.search(r"measured ([\d.]+), 0 of", output)
        check(code == 0 and measured and abs(float(measured.group(1)) - rate) < 0.1 * rate, f"{name} beside the other: {output.strip()}")


def judge_hanging(session, seconds):
    hangs = session.mark(0, "hangs")
    output, code, took = session.disturb(0, hangs.touch, seconds)
    check(took < seconds + 6 and '"lost": true' in output, f"hanging in mid-stream: ended after {took:.1f} s with {code}: {' '.join(output.split())}")
    hangs.unlink()
    judge_still(session, 640, 480)


def main():
    run, binaries, shim, folder = (Path(argument).resolve() for argument in sys.argv[1:5])
    session = Session(run, binaries, shim, folder)
    session.cameras.mkdir(parents=True, exist_ok=True)
    for left in session.cameras.iterdir():
        left.unlink()
    session.plug(0, ONE, SIZES)
    session.plug(1, TWO, [(640, 480, 15)])
    is_short = sys.argv[5:] == ["--short"]
    if len(sys.argv) > 5 and not is_short:
        output, code = session.end(session.start("camverify.exe", *sys.argv[5:], OCELLUS_CAMERA=ONE), 500)
        print(output)
        return code

    # The first program makes the Wine prefix.
    output, _ = session.end(session.start("camctl.exe", "list", "--formats"), 400)
    check(ONE in output and TWO in output, "both are listed")
    listed = [tuple(map(int, one)) for one in re.findall(r"RGB3 (\d+)x(\d+), (\d+) a second", output)]
    check(listed == SIZES + [(640, 480, 15)], f"with their formats {listed}")
    for width, height, _ in SIZES:
        judge_still(session, width, height)

    if not is_short:
        judge_two(session)
    seconds = 5
    output, code, took = session.disturb(0, lambda: session.unplug(0), seconds)
    check(took < seconds + 3 and '"lost": true' in output, f"unplugged in mid-stream: ended after {took:.1f} s with {code}: {' '.join(output.split())}")
    output, code = session.camctl("snap", "gone.bmp", "--camera", ONE)
    check(code == 3 and "0x8007048F" in output and not (session.folder / "gone.bmp").exists(), f"while it is gone: {code}")
    session.plug(0, ONE, SIZES)
    judge_still(session, 640, 480)

    if not is_short:
        judge_hanging(session, seconds)
    return finish()


if __name__ == "__main__":
    sys.exit(main())
