#!/usr/bin/env python3
"""Everything at once for a while: preview, a picture every half second, sliders that move, pages that change. What the process holds must
stay as it is.

    camview_soak.py CAMVIEW.EXE CAMVIEW_POKE.EXE [MINUTES]
"""
import os
import shutil
import sys
import time

import camview_test as person

MINUTES = float(sys.argv[3]) if len(sys.argv) > 3 else 10
# Beyond the first quarter, in which fonts, codecs and lists are loaded: what may come and go between two looks.
MAX_HANDLES, MAX_GDI, MAX_WINDOWS, MAX_KILOBYTES = 12, 12, 0, 6000


def counts(viewer):
    numbers = [int(number) for number in viewer.ask("counts")[0]]
    if min(numbers) <= 0:
        raise person.Failed(f"the system does not count: {numbers}")
    return numbers


def processor_seconds():
    """Of all of the viewer's threads, from the system below Wine."""
    fields = (person.process_of_viewer() / "stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def main():
    server = person.display()
    viewer = None
    try:
        viewer = person.Viewer("--folder", person.windows_path(person.FOLDER / "pictures"))
        viewer.logs("first frame")
        viewer.set_text(viewer.the(number=120, kind="Edit"), "0.5")
        viewer.the("Every").click()
        started = time.monotonic()
        settled = None
        last_processor, last_time = processor_seconds(), 0.0
        print("minute   handles   GDI  windows  KB      processor %  status", flush=True)
        step = 0
        while (gone := time.monotonic() - started) < MINUTES * 60:
            viewer.tab(1)
            viewer.the(number=200 + 8 * (step % 4)).click()
            viewer.key(*["Right"] * 10, *["Left"] * 10)
            for tab in (2, 3, 4, 0):
                viewer.tab(tab)
            for path in viewer.files()[:-2]:
                path.unlink()
            step += 1
            now = counts(viewer)
            elapsed = time.monotonic() - started
            if step % 5 == 1:
                processor = processor_seconds()
                share = (processor - last_processor) * 100 / max(elapsed - last_time, 0.1)
                last_processor, last_time = processor, elapsed
                print(f"{gone / 60:6.2f} {now[0]:9} {now[1]:5} {now[2]:8} {now[3]:8} {share:9.1f}", "  ", person.status(viewer), flush=True)
            if settled is None and gone > MINUTES * 15:
                settled = now
        rise = [after - before for after, before in zip(counts(viewer), settled)]
        print(f"since minute {MINUTES / 4:.1f}: handles {rise[0]:+}, GDI {rise[1]:+}, windows {rise[2]:+}, {rise[3]:+} KB")
        if any(more > limit for more, limit in zip(rise, (MAX_HANDLES, MAX_GDI, MAX_WINDOWS, MAX_KILOBYTES))):
            print("FAILED: it grows")
            return 1
        viewer.tab(0)
        viewer.the("Stop (E)").click()
        viewer.close()
    finally:
        server.terminate()
        shutil.rmtree(person.FOLDER, ignore_errors=True)
    print("passed")
    return 0


sys.exit(main())
