#!/usr/bin/env python3
"""What the viewer costs: time to its window, frames that arrive, processor time of its own threads. The machine should be calm.

    camview_measure.py CAMVIEW.EXE CAMVIEW_POKE.EXE [SECONDS]

SECONDS (20 by itself) is how long each preview runs.
"""
import json
import pathlib
import re
import statistics
import sys
import time

import camview_test as person

SECONDS = float(sys.argv[3]) if len(sys.argv) > 3 else 20
STARTS, ROUNDS = 7, 3
MAX_SHARE = 3  # per cent of a core
PAGES = ("Picture", "Controls", "Camera", "Log", "Kit")


def nanoseconds(process):
    """Of the viewer's own threads, by name, and of all. What a thread starts bears its name: the eldest is the viewer's."""
    own, every = {}, 0
    for thread in sorted((process / "task").iterdir(), key=lambda path: int(path.name)):
        spent = int((thread / "schedstat").read_text().split()[0])
        every += spent
        name = (thread / "comm").read_text().strip()
        if name.startswith("camview "):
            own.setdefault(name, spent)
    return own, every


def viewer():
    started = person.Viewer("--folder", person.windows_path(person.FOLDER / "pictures"))
    started.logs("first frame")
    # A pointer that rests on a button has its place asked for a hundred times a second.
    person.run("xdotool", "mousemove", 1899, 1199)
    return started


def starts():
    times = []
    for _ in range(STARTS):
        one = person.Viewer()
        one.logs("window shown")
        one.logs("first frame")
        times.append(int(re.search(r"window shown, (\d+) ms", one.log.read_text())[1]))
        one.close()
    print(f"from the start of the process to the window: median {statistics.median(times):.0f} ms of {times}")


def shares():
    one = viewer()
    worst = 0
    for number, page in enumerate(PAGES):
        one.tab(number)
        time.sleep(1)
        before, all_before = nanoseconds(person.process_of_viewer())
        began = time.monotonic()
        time.sleep(SECONDS)
        after, all_after = nanoseconds(person.process_of_viewer())
        per_cent = 1e-7 / (time.monotonic() - began)
        own = {name: (spent - before.get(name, 0)) * per_cent for name, spent in after.items()}
        worst = max(worst, sum(own.values()))
        parts = ", ".join(f"{name.removeprefix('camview ')} {share:.2f}" for name, share in own.items())
        print(f"preview, page {page}: {sum(own.values()):.2f} % of a core ({parts}) of {(all_after - all_before) * per_cent:.1f} % in all")
    one.close()
    return worst


def frames():
    kept = True
    for _ in range(ROUNDS):
        one = viewer()
        time.sleep(SECONDS)
        one.close()  # which compares what arrived with what the kit has sent
        seen, lost, sent = re.search(r"preview: (\d+) frames, (\d+) lost, (\d+) sent", one.log.read_text()).groups()
        print(f"viewer: {seen} of the {sent} frames that the kit has sent, {lost} places in the camera's rhythm without one")
        kept = kept and int(seen) >= int(sent) - 1
        told = person.run(person.ROOT / "scripts" / "host.sh", person.PROGRAM.parent / "camctl.exe", "preview", "--seconds", SECONDS, "--json")
        answer = json.loads(told)
        print(f"camctl: {answer['frames']} frames, {answer['framesPerSecond']:.2f} a second")
    return kept


def main():
    server = person.display()
    try:
        starts()
        worst = shares()
        kept = frames()
    finally:
        server.terminate()
    if worst > MAX_SHARE or not kept:
        print("FAILED")
        return 1
    print("passed")
    return 0


sys.exit(main())
