#!/usr/bin/env python3
"""What keeps a webcam from sending, as the device kit plays it: camctl tells each by its result and name, with what to do about it.

    refusals_test.py RUN BIN FOLDER    scripts/host.sh or host32.sh, the folder of the build's programs, a folder to work in

The kit must be a webcam in the Wine prefix: camctl kit webcam on.
"""
import json
import sys
from pathlib import Path

from programs import Programs, check, finish

NAME = "Device kit webcam"
NO_CAMERA = 3  # camctl's exit code


def refused(call, result):
    return {"calls": {call: {"times": 0, "result": result}}}


RUN, LOAD = "IBaseFilter::Run Webcam", "IPersistPropertyBag::Load Webcam"
# What is wrong, the scenario, the result with its name, words of the remedy, and options of camctl.
CASES = [
    ("in use", refused(RUN, "0x8007001F"), "0x8007001F (in use)", "another program uses the camera", []),
    ("in use, or too little bandwidth", refused(RUN, "0x800705AA"), "0x800705AA (no resources)", "another port", []),
    ("busy", refused(RUN, "0x800700AA"), "0x800700AA (busy)", "another program uses the camera", []),
    ("switched off for privacy", refused(RUN, "0x80070005"), "0x80070005 (E_ACCESSDENIED)", "ms-settings:privacy-webcam", []),
    ("switched off for privacy, at the opening", refused(LOAD, "0x80070005"), "0x80070005 (E_ACCESSDENIED)", "ms-settings:privacy-webcam", []),
    ("no format that is understood", {"webcamFormats": [{"encoding": "Y800"}]}, "0x80040200 (no format)", "list --formats", []),
    ("not there", {}, "0x8007048F (not connected)", "plug it in", ["--camera", "A webcam that is not there"]),
    ("unplugged", {"loseDeviceAfterFrames": 3}, "0x8007048F (not connected)", "plug it in", ["--skip", "5"]),
    ("unplugged, without a word of it", {"loseDeviceAfterFrames": 3, "webcamHabits": {"losesSilently": True}}, "0x8007048F (not connected)",
     "plug it in", ["--skip", "5"]),
    ("no frame within the limit", {"webcamHabits": {"firstFrameMs": 60000}}, "0x8007048F (not connected)", "unplug it and plug it in again",
     ["--timeout", "14"]),
]


def main():
    run, binaries, folder = (Path(argument).resolve() for argument in sys.argv[1:4])
    folder.mkdir(parents=True, exist_ok=True)
    programs = Programs(run, binaries, folder)
    for what, scenario, result, remedy, more in CASES:
        picture = folder / "refused.bmp"
        picture.unlink(missing_ok=True)
        camera = [] if "--camera" in more else ["--camera", NAME]
        output, code = programs.camctl("snap", picture.name, "--scenario", json.dumps(scenario), *camera, *more)
        good = code == NO_CAMERA and result in output and remedy in output and not picture.exists()
        check(good, f"{what}: exit code {code}: {' '.join(output.split())}")
    # Slow, but not too slow.
    output, code = programs.camctl("snap", "slow.bmp", "--camera", NAME, "--scenario", json.dumps({"webcamHabits": {"firstFrameMs": 2500}}))
    check(code == 0, f"slow to start: {output.strip()}")
    return finish()


if __name__ == "__main__":
    sys.exit(main())
