#!/usr/bin/env python3
"""The device kit's webcam as ffmpeg sees it, a program that knows nothing of the kit: what it offers, and the pictures of every encoding.

    ffmpeg_test.py RUN BIN PACKAGE FOLDER    scripts/host.sh or host32.sh, the folder of the build's programs, the package with ffmpeg.exe, a
                                             folder to unpack it into

Ends with 77 when the package is not there (scripts/setup.sh test fetches it). The kit must be a webcam in the Wine prefix: camctl kit webcam on.
"""
import re
import shutil
import statistics
import sys
import tarfile
from pathlib import Path

from programs import Programs, check, finish

NAME = "Device kit webcam"
FRAMES = 15
# Encoding, width, height, highest rate: what the kit lists (its usual formats; one has the longer format block).
OFFERED = [("yuyv422", 640, 480, 30), ("yuyv422", 640, 480, 30), ("yuyv422", 320, 240, 30), ("yuyv422", 1280, 720, 10), ("nv12", 640, 480, 30),
           ("nv12", 320, 240, 30), ("mjpeg", 640, 480, 30), ("mjpeg", 1280, 720, 30), ("bgr24", 640, 480, 30), ("bgr24", 320, 240, 15),
           ("mjpeg", 1600, 1200, 15), ("yuyv422", 161, 121, 30)]
CAPTURED = [("yuyv422", 640, 480, 30), ("yuyv422", 1280, 720, 10), ("nv12", 640, 480, 30), ("nv12", 320, 240, 30), ("mjpeg", 640, 480, 30),
            ("mjpeg", 1280, 720, 30), ("bgr24", 640, 480, 30), ("bgr24", 320, 240, 15)]

# The test chart: a grid of 16 x 12 cells with a mark of its own colour in each corner, and the frame number in white and black.
COLUMNS, ROWS = 16, 12
MARKS = {(0, 0): (255, 0, 0), (15, 0): (0, 255, 0), (0, 11): (0, 0, 255), (15, 11): (255, 255, 255)}
COUNTER_ROW, COUNTER_COLUMNS = 10, range(2, 14)
TOLERANCE = 40  # of 255: ffmpeg's conversions, and JPEG


def cell(frame, width, height, column, row):
    x, y = (2 * column + 1) * width // (2 * COLUMNS), (2 * row + 1) * height // (2 * ROWS)
    place = 3 * (y * width + x)
    return tuple(frame[place:place + 3])


def frame_number(frame, width, height):
    number = 0
    for column in COUNTER_COLUMNS:
        number = 2 * number + (cell(frame, width, height, column, COUNTER_ROW)[1] > 127)
    return number


def input_options(encoding, width, height, rate):
    kind = ["-vcodec", "mjpeg"] if encoding == "mjpeg" else ["-pixel_format", encoding]
    return ["-hide_banner", "-y", "-f", "dshow", *kind, "-video_size", f"{width}x{height}", "-framerate", str(rate), "-i", f"video={NAME}"]


def judge_capture(programs, ffmpeg, encoding, width, height, rate):
    title = f"{encoding} {width}x{height}"
    raw, stamps = programs.folder / "out.raw", programs.folder / "out.stamps"
    for old in (raw, stamps):
        old.unlink(missing_ok=True)
    output, code = programs.call(ffmpeg, *input_options(encoding, width, height, rate), "-vsync", "0", "-frames:v", str(FRAMES), "-f", "rawvideo",
                                 "-pix_fmt", "rgb24", raw.name, "-c:v", "copy", "-copyts", "-frames:v", str(FRAMES), "-f", "framecrc", stamps.name)
    size = 3 * width * height
    data = raw.read_bytes() if raw.exists() else b""
    if code != 0 or len(data) != FRAMES * size:
        check(False, f"{title}: {FRAMES} frames (exit code {code}, {len(data) // size} frames)")
        print(output)
        return
    frames = [data[start:start + size] for start in range(0, len(data), size)]
    wrong = [(place, cell(frame, width, height, *place)) for frame in frames for place, colour in MARKS.items()
             if max(abs(a - b) for a, b in zip(cell(frame, width, height, *place), colour)) > TOLERANCE]
    check(not wrong, f"{title}: upright, not mirrored, in its colours {wrong[:4] or ''}")
    numbers = [frame_number(frame, width, height) for frame in frames]
    check(all(a < b for a, b in zip(numbers, numbers[1:])), f"{title}: every frame once {numbers}")
    base = re.search(r"^#tb \d+: (\d+)/(\d+)", stamps.read_text(), re.M)
    times = [int(line.split(",")[2]) for line in stamps.read_text().splitlines() if line and not line.startswith("#")]
    step = statistics.median(b - a for a, b in zip(times, times[1:])) * int(base.group(1)) / int(base.group(2))
    check(0.8 < step * rate < 1.25, f"{title}: {rate} frames a second stated, {1 / step if step else 0:.1f} measured")


def main():
    run, binaries, package, folder = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve(), Path(sys.argv[3]), Path(sys.argv[4]).resolve()
    if not package.exists():
        print(f"skipped: {package.name} is missing; scripts/setup.sh test fetches it")
        return 77
    folder.mkdir(parents=True, exist_ok=True)
    ffmpeg = folder / "ffmpeg.exe"
    if not ffmpeg.exists():
        with tarfile.open(package) as archive, archive.extractfile("package/ffmpeg.exe") as source, open(ffmpeg, "wb") as target:
            shutil.copyfileobj(source, target)
    shutil.copy(binaries / "launch.exe", folder)
    programs = Programs(run, binaries, folder)
    output, _ = programs.call(ffmpeg, "-hide_banner", "-list_devices", "true", "-f", "dshow", "-i", "dummy")
    check(f'"{NAME}"' in output, "ffmpeg lists the webcam")
    output, _ = programs.call(ffmpeg, "-hide_banner", "-f", "dshow", "-list_options", "true", "-i", f"video={NAME}")
    seen = [(kind, int(width), int(height), int(rate)) for kind, width, height, rate in
            re.findall(r"(?:pixel_format|vcodec)=(\w+) .* max s=(\d+)x(\d+) fps=(\d+)", output)]
    check(seen == OFFERED, f"ffmpeg lists every format {'' if seen == OFFERED else seen}")
    for format in CAPTURED:
        judge_capture(programs, ffmpeg, *format)

    # Two programs at once: ffmpeg, and the library with its own driver.
    other = programs.start("camctl.exe", "preview", "--seconds", "2", "--camera", NAME)
    judge_capture(programs, ffmpeg, "yuyv422", 640, 480, 30)
    output, code = programs.end(other)
    check(code == 0, f"the library beside it: {output.strip().splitlines()[:3]}")
    return finish()


if __name__ == "__main__":
    sys.exit(main())
