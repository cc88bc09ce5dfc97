#!/usr/bin/env python3
"""Uses the viewer as a person does: mouse and keyboard on a display of its own; looks at files, texts and pixels.

    camview_test.py CAMVIEW.EXE CAMVIEW_POKE.EXE [pictures|cameras]

What a person does with pictures and settings, or with cameras and their faults; without a word both.
"""
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
PROGRAM, POKE = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
FOLDER = pathlib.Path(tempfile.mkdtemp(prefix="camview-"))
DEADLINE = 40  # seconds, for anything that works at all
PIECES = ("handle", "parent", "kind", "id", "visible", "enabled", "left", "top", "width", "height", "state", "text")
passed = 0


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class Failed(Exception):
    pass


def wait_for(what, condition, seconds=DEADLINE):
    """Until the condition gives something; that."""
    global passed
    end = time.monotonic() + seconds
    while True:
        if got := condition():
            passed += 1
            return got
        if time.monotonic() > end:
            raise Failed(f"it did not come about: {what}")
        time.sleep(0.05)


def check(what, condition):
    global passed
    if not condition:
        raise Failed(f"it is not so: {what}")
    passed += 1


def run(*command):
    return subprocess.run([str(part) for part in command], check=True, capture_output=True, text=True, timeout=60).stdout


class Control:
    def __init__(self, pieces):
        values = dict(zip(PIECES, pieces))
        self.handle, self.parent, self.kind, self.text = (values[name] for name in ("handle", "parent", "kind", "text"))
        for name in ("id", "visible", "enabled", "left", "top", "width", "height", "state"):
            setattr(self, name, int(values[name]))

    def click(self, x=None, y=None, how="click"):
        run("xdotool", "mousemove", self.left + (self.width // 2 if x is None else x), self.top + (self.height // 2 if y is None else y), how, "1")


class Viewer:
    """One start of the program."""

    def __init__(self, *arguments, state="state", webcams=False):
        self.log = FOLDER / "log"
        self.log.unlink(missing_ok=True)
        self.pictures = FOLDER / "pictures"
        self.pictures.mkdir(exist_ok=True)
        command = [ROOT / "scripts" / "host.sh", PROGRAM, "--state", windows_path(FOLDER / state), "--log", windows_path(self.log),
                   "--dpi", "96", *arguments]
        environment = dict(os.environ, OCELLUS_WEBCAMS="1" if webcams else "0")
        self.process = subprocess.Popen([str(part) for part in command], stdin=subprocess.DEVNULL, env=environment)
        self.poke = None

    def ask(self, command):
        if self.poke is None:
            environment = dict(os.environ, WINEPREFIX=os.environ["OCELLUS_WINE_PREFIX"] + "-visible", WINEDEBUG="-all")
            self.poke = subprocess.Popen(["wine", str(POKE)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, env=environment)
        self.poke.stdin.write(command + "\n")
        self.poke.stdin.flush()
        lines = []
        while line := self.poke.stdout.readline().rstrip("\r\n"):
            lines.append(line.split("\t"))
        return lines

    def controls(self):
        return [Control(line) for line in self.ask("list")]

    def find(self, text=None, kind=None, number=None, after=None):
        """The visible control with that text, kind or id; `after` a label with that text."""
        past = after is None
        for control in self.controls():
            if not control.visible:
                continue
            if past and (text is None or text in control.text.replace("&", "")) and (kind is None or control.kind == kind) and \
                    (number is None or control.id == number) and (after is None or control.width):
                return control
            past = past or (control.kind == "Static" and control.text.replace("&", "") == after)
        return None

    def the(self, *arguments, **named):
        return wait_for(f"a control {arguments} {named}", lambda: self.find(*arguments, **named))

    def lines(self, text):
        return self.log.read_text(encoding="utf-8").count(text) if self.log.exists() else 0

    def logs(self, text, times=1):
        wait_for(f"the log says '{text}' {times} times", lambda: self.lines(text) >= times)

    def key(self, *keys):
        run("xdotool", "key", "--delay", "30", *keys)

    def type(self, text):
        run("xdotool", "type", "--delay", "5", "--", text)

    def tab(self, number):
        self.key(f"ctrl+{number + 1}")
        wait_for("the page is shown", lambda: self.find(kind="SysTabControl32").state == number)

    def focus_picture(self):
        self.the("Live picture").click(20, 20)

    def set_text(self, control, text):
        control.click(6)
        self.key("ctrl+a")
        self.type(text)

    def choose(self, label, entry):
        """In a drop-down list, by its place; looks whether it has taken, as a person does, and tries again: an open list closes when the
        camera's own window goes at that moment."""
        def chosen():
            box = self.the(after=label, kind="ComboBox")
            if box.state == entry:
                return True
            box.click(10)
            self.key(*["Down" if entry > box.state else "Up"] * abs(entry - box.state), "Return")
            end = time.monotonic() + 3
            while time.monotonic() < end:
                if self.the(after=label, kind="ComboBox").state == entry:
                    return True
            return False
        wait_for(f"entry {entry} of {label}", chosen)

    def fault(self, *words):
        def shown():
            banner = self.find("\\n", kind="Static")
            return banner and all(word in banner.text for word in words) and banner
        return wait_for(f"a banner says {words}", shown)

    def no_fault(self):
        wait_for("the banner is gone", lambda: not self.find("\\n", kind="Static"))

    def dismiss(self):
        self.focus_picture()
        self.key("Escape")
        self.no_fault()

    def files(self, pattern="*"):
        return sorted(path for path in self.pictures.glob(pattern) if path.stat().st_size)

    def wait_for_files(self, count, pattern="*"):
        wait_for(f"{count} files {pattern}", lambda: len(self.files(pattern)) >= count)

    def close(self):
        self.focus_picture()
        self.key("alt+F4")
        self.ended()

    def ended(self):
        code = self.process.wait(timeout=DEADLINE)
        check(f"the viewer ends with 0, not {code}", code == 0)
        # One is on its way when the camera begins to be shut down; more may come until it is.
        for seen, sent in re.findall(r"preview: (\d+) frames.* (\d+) sent by the kit", self.log.read_text(encoding="utf-8")):
            check(f"of {sent} frames {seen} arrived", int(seen) >= int(sent) - 1)
        if self.poke:
            self.poke.stdin.close()
            self.poke.wait(timeout=DEADLINE)


def viewers_below_wine():
    """The processes of this test's viewers, as folders of /proc."""
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            words = (process / "cmdline").read_bytes().decode(errors="replace")
        except OSError:
            continue  # it has ended meanwhile
        if FOLDER.name in words and words.partition("\0")[0].endswith("camview.exe"):
            yield process


def process_of_viewer():
    for process in viewers_below_wine():
        return process
    raise Failed("the system below Wine does not show the viewer")


def pixel(x, y):
    out = subprocess.run(["import", "-window", "root", "-crop", f"1x1+{x}+{y}", "-depth", "8", "rgb:-"], check=True, capture_output=True).stdout
    return tuple(out[:3])


def picture_corner(viewer):
    """The colour of the chart's corner mark at the top left, which is red."""
    video = [control for control in viewer.controls() if control.text == "Live picture"][1]
    return pixel(video.left + video.width // 40, video.top + video.height // 30)


def is_red(color):
    return color[0] > 200 and color[1] < 60 and color[2] < 60


def is_grey(color):
    return max(color) - min(color) < 16  # the preview has 5 bits a colour


# ---- What a person does ----------------------------------------------------------------------------------------------

def first_start(state):
    viewer = Viewer("--folder", windows_path(FOLDER / "pictures"), state=state)
    viewer.logs("first frame")
    check("a newcomer sees the first page", viewer.the(kind="SysTabControl32").state == 0)
    wait_for("the chart is on the screen", lambda: is_red(picture_corner(viewer)))
    check("nothing is wrong", not viewer.find("\\n", kind="Static"))
    return viewer


def pictures(viewer):
    viewer.focus_picture()
    viewer.key("space")
    viewer.wait_for_files(1, "*.jpg")
    wait_for("it is in the strip", lambda: viewer.find(kind="SysListView32").state == 1)
    run("identify", "-regard-warnings", viewer.files()[0])
    viewer.set_text(viewer.the(number=118, kind="Edit"), "3")
    viewer.the("Burst of").click()
    viewer.wait_for_files(4)
    # A space in a field is a space, and no picture.
    viewer.set_text(viewer.the(after="Name", kind="Edit"), "ward 7 %H%M%S")
    wait_for("the next name is shown", lambda: viewer.find("Next: ward 7 "))
    check("no picture was taken by typing", len(viewer.files()) == 4)
    viewer.choose("Format", 2)
    viewer.set_text(viewer.the(number=120, kind="Edit"), "0.3")
    viewer.the("Every").click()
    viewer.wait_for_files(3, "ward 7*.png")
    viewer.the("Stop (E)").click()
    wait_for("the interval can be started again", lambda: viewer.find("Every"))
    viewer.set_text(viewer.the(after="Stamp text", kind="Edit"), "Dock 3")
    viewer.choose("Format", 3)
    viewer.focus_picture()
    viewer.key("space")
    viewer.wait_for_files(1, "*.tif")
    check("a black and white picture", "Group4" in run("identify", "-format", "%[compression]", viewer.files("*.tif")[0]))
    viewer.logs("camSnapPictureWithText")
    viewer.choose("Format", 1)


def resolution(viewer):
    viewer.choose("Resolution", 2)
    viewer.logs("camSetResolution 2\tcamOk")
    before = len(viewer.files())
    viewer.focus_picture()
    viewer.key("space")
    viewer.wait_for_files(before + 1)
    newest = max(viewer.files(), key=lambda path: path.stat().st_mtime)
    check("it has the size that was chosen", run("identify", "-format", "%w", newest) == "1280")


def controls(viewer):
    viewer.tab(1)
    slider = viewer.the(after="Brightness", kind="msctls_trackbar32")
    slider.click()
    viewer.key("Right", "Right", "Right")
    viewer.logs("camSetProperty 0 = ")
    number = viewer.the(number=201, kind="Edit")
    viewer.set_text(number, "-40")
    viewer.key("Return")
    viewer.logs("camSetProperty 0 = -40\tcamOk")
    wait_for("the slider follows", lambda: viewer.find(number=200).state == 60)
    # Gamma goes in steps of ten.
    viewer.set_text(viewer.the(number=200 + 5 * 8 + 1), "127")
    viewer.key("Return")
    viewer.logs("camSetProperty 5 = 130\tcamOk")
    viewer.the(number=200 + 6 * 8 + 2).click(10)
    viewer.logs("camSetProperty 6 = 0\tcamOk")
    wait_for("the picture is grey", lambda: is_grey(picture_corner(viewer)))
    viewer.the(number=200 + 7 * 8 + 3).click(10)
    viewer.logs("camSetProperty 7 = 5000 auto\tcamOk")
    wait_for("what the camera sets itself cannot be set", lambda: not viewer.find(number=200 + 7 * 8).enabled)
    viewer.the(number=200 + 0 * 8 + 4).click()
    viewer.logs("camSetProperty 0 = 0\tcamOk")


def settings(viewer):
    saved = FOLDER / "saved.ini"
    viewer.the("Save...").click()
    dialog(viewer, saved)
    wait_for("the settings are saved", saved.exists)
    text = saved.read_text()
    check("in the library's own form", all(line in text for line in ("[Camera]", "Color=0", "Gamma=130", "WhiteBalanceAuto=1", "Resolution=2")))
    viewer.the("Reset all").click()
    viewer.logs("camSetProperty 6 = 1\tcamOk")
    wait_for("the picture has colours again", lambda: is_red(picture_corner(viewer)))
    wait_for("the switch says so", lambda: viewer.find(number=200 + 6 * 8 + 2).state == 1)
    viewer.the("Load...").click()
    dialog(viewer, saved)
    wait_for("they have been set", lambda: viewer.find(number=200 + 6 * 8 + 2).state == 0)
    saved.write_text(text.replace("Version=1", "Version=2"))
    viewer.the("Load...").click()
    dialog(viewer, saved)
    viewer.fault("saved.ini was written by a later version")
    viewer.dismiss()
    viewer.the("Reset all").click()
    wait_for("colours again", lambda: viewer.find(number=200 + 6 * 8 + 2).state == 1)


def dialog(viewer, path):
    """The system's dialog for files: types the name and looks that it stands there."""
    def controls():
        every = viewer.controls()
        inside = {control.handle for control in every if control.kind == "#32770"}
        for control in every:  # what stands in a window comes after it
            if control.parent in inside:
                inside.add(control.handle)
        return [control for control in every if control.handle in inside]

    def field():
        found = [control for control in controls() if control.visible and control.kind == "Edit"]
        return found[0] if found else None

    def typed():
        viewer.set_text(field(), windows_path(path))
        end = time.monotonic() + 5  # a busy machine takes a while to take the keys in
        while time.monotonic() < end:
            if (box := field()) and box.text == windows_path(path):
                return True
            time.sleep(0.1)
        return False
    wait_for("the dialog is there", field)
    wait_for("the name stands in the dialog", typed)
    viewer.key("Return")
    wait_for("the dialog is gone", lambda: not controls())


def bad_places(viewer):
    viewer.tab(0)
    folder = viewer.the(after="Folder", kind="Edit")
    viewer.set_text(folder, windows_path(FOLDER / "gone"))
    viewer.focus_picture()
    viewer.key("space")
    viewer.fault("gone does not exist", "Choose another folder")
    (FOLDER / "small").mkdir()
    full = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=8k", "camview-test", str(FOLDER / "small")], capture_output=True).returncode == 0
    if full:
        try:
            viewer.set_text(folder, windows_path(FOLDER / "small"))
            viewer.focus_picture()
            viewer.key("space")
            viewer.fault("could not be written", "disk is full")
        finally:
            run("umount", FOLDER / "small")
    else:
        print("not tested: a full disk, since this user cannot mount a small one")
    viewer.set_text(folder, windows_path(FOLDER / "pictures"))
    viewer.set_text(viewer.the(after="Name", kind="Edit"), "a:b%Q")
    wait_for("the field says so at once", lambda: viewer.find("No file can have this name"))
    viewer.focus_picture()
    viewer.key("space")
    viewer.fault('"a:b%Q" makes no name', "conversions")
    before = len(viewer.files())
    viewer.set_text(viewer.the(after="Name", kind="Edit"), "again")
    viewer.dismiss()
    viewer.key("space")
    viewer.wait_for_files(before + 1)


def faults(viewer):
    viewer.tab(4)
    viewer.the("Fail the next picture").click()
    viewer.focus_picture()
    viewer.key("space")
    viewer.fault("could not be taken", "camCaptureFailed")
    viewer.dismiss()
    before = len(viewer.files())
    viewer.key("space")
    viewer.wait_for_files(before + 1)
    frames = viewer.lines("first frame")
    viewer.the("Lose the device now").click()
    viewer.fault("sends no pictures any more", "looked for every few seconds")
    wait_for("the status bar says so", lambda: "Camera lost" in status(viewer))
    viewer.the("Bring it back").click()
    # The camera comes back while a button is held down: whoever uses it notices nothing.
    held = viewer.the("Play scenario")
    held.click(how="mousedown")
    viewer.logs("first frame", frames + 1)
    viewer.no_fault()
    held.click(how="mouseup")
    viewer.logs("first frame", frames + 2)
    viewer.the("Resume after sleep").click()
    viewer.choose("Scenario", 3)
    viewer.the("Play scenario").click()
    viewer.fault("could not be opened", "0x800700AA", "Another program")
    viewer.choose("Scenario", 0)
    viewer.the("Play scenario").click()
    viewer.logs("first frame", frames + 3)
    viewer.no_fault()


def status(viewer):
    bar = viewer.find(kind="msctls_statusbar32")
    return bar.text if bar else ""


def cameras(viewer):
    viewer.tab(0)
    frames = viewer.lines("first frame")
    viewer.choose("Camera", 1)
    viewer.logs("camSelect \"Imager\"\tcamOk")
    viewer.logs("first frame", frames + 1)
    viewer.choose("Camera", 0)
    viewer.logs("first frame", frames + 2)
    wait_for("the chart is back", lambda: is_red(picture_corner(viewer)))


def screens(viewer):
    for dpi, width in ((144, 690), (96, 460)):
        viewer.ask(f"dpi {dpi}")
        wait_for(f"the controls suit {dpi} dots an inch", lambda: abs(viewer.find(kind="SysTabControl32").width - width) < 30)
        wait_for("the picture is there", lambda: is_red(picture_corner(viewer)))


TAKES_KEYS = ("Button", "Edit", "ComboBox", "msctls_trackbar32", "SysListView32", "SysTabControl32", "camview.preview")


def names(viewer):
    """As screen readers have them: everything that the Tab key reaches has a name, and no two of one page have the same."""
    pages = 0
    named = set()
    for _, kind, number, name in viewer.ask("names"):
        if kind == "camview.page":
            pages += 1
        if kind not in TAKES_KEYS:
            continue
        check(f"{kind} {number} of page {pages} has a name, not '{name}'", any(letter.isalnum() for letter in name))
        if kind != "camview.preview":  # one in the other
            check(f"'{name}' is the name of one control", (pages, name) not in named)
            named.add((pages, name))
    check(f"there are many: {len(named)}", len(named) > 100 and pages > 5)
    check("a button says what it is about", {"Brightness: default", "White balance: automatic", "Color enable: on"} <= {name for _, name in named})
    viewer.tab(1)
    check("what is to be seen is short", viewer.the(number=204, kind="Button").text == "Default")
    viewer.tab(0)


ONE_OF_TWO = "1:1"


def tab_key(viewer):
    """Goes round each page by the Tab key: everything that is to be seen and can be used is on the way."""
    for page in range(5):
        viewer.focus_picture()
        viewer.tab(page)
        reached = []
        focus = viewer.ask("focus")[0][0]
        while focus not in reached:
            reached.append(focus)
            viewer.key("Tab")
            wait_for("the Tab key goes on", lambda: viewer.ask("focus")[0][0] != reached[-1])
            focus = viewer.ask("focus")[0][0]
        for control in viewer.controls():
            # One of two choices is left by the arrow keys; of the two windows of the picture one takes the keys.
            if control.visible and control.enabled and control.width and control.kind in TAKES_KEYS[:-1] and control.text != ONE_OF_TWO:
                check(f"page {page}: {control.kind} {control.id} '{control.text}' is reached", control.handle in reached)
        check(f"page {page}: {len(reached)} controls are on the way", len(reached) > 4)
    viewer.focus_picture()
    viewer.tab(0)


def kit_form(viewer):
    """Properties of the kit's camera, changed by numbers instead of JSON."""
    frames = viewer.lines("first frame")
    viewer.tab(4)
    viewer.choose("Property", 1)
    wait_for("the camera's own range stands there", lambda: viewer.find(number=113, kind="Edit").text == "200")
    viewer.set_text(viewer.the(number=113, kind="Edit"), "150")
    viewer.the("Change").click()
    viewer.logs("first frame", frames + 1)
    viewer.choose("Property", 12)
    viewer.the("Exists").click()
    viewer.the("Change").click()
    viewer.logs("first frame", frames + 2)
    viewer.tab(1)
    wait_for("there is no zoom", lambda: not viewer.find("Zoom"))
    viewer.set_text(viewer.the(number=209, kind="Edit"), "170")
    viewer.key("Return")
    viewer.logs("camSetProperty 1 = 150\tcamOk")
    viewer.tab(4)
    viewer.choose("Property", 1)
    viewer.set_text(viewer.the(number=114, kind="Edit"), "0")
    viewer.the("Change").click()
    viewer.fault("The scenario cannot be played", "step")
    viewer.dismiss()
    viewer.choose("Scenario", 1)
    viewer.choose("Scenario", 0)
    frames = viewer.lines("first frame")
    viewer.the("Play scenario").click()
    viewer.logs("first frame", frames + 1)


def webcam():
    """The kit as a webcam: found, seen, unplugged and plugged in again."""
    def plug(how):
        run(ROOT / "scripts" / "host.sh", PROGRAM.parent / "camctl.exe", "kit", "webcam", how)

    plug("on")
    try:
        viewer = Viewer("--folder", windows_path(FOLDER / "pictures"), state="webcam", webcams=True)
        viewer.logs("camSelect \"Device kit webcam\"\tcamOk")
        viewer.logs("first frame")
        wait_for("the chart is on the screen", lambda: is_red(picture_corner(viewer)))
        before = len(viewer.files())
        viewer.focus_picture()
        viewer.key("space")
        viewer.wait_for_files(before + 1)
        plug("off")
        viewer.tab(4)
        viewer.the("Lose the device now").click()
        viewer.fault("Device kit webcam sends no pictures any more")
        plug("on")
        viewer.logs("first frame", 2)
        viewer.no_fault()
        wait_for("the chart is back", lambda: is_red(picture_corner(viewer)))
        viewer.close()
    finally:
        plug("off")


def close(viewer):
    viewer.close()


def close_with_a_picture_on_its_way(viewer):
    viewer.focus_picture()
    before = len(viewer.files())
    viewer.key("space", "alt+F4")
    viewer.ended()
    check("the picture was not lost", len(viewer.files()) == before + 1)


def second_start():
    """The state of a later version stays as it is; a camera in use is waited for."""
    state = FOLDER / "newer"
    state.write_text("version=99\ntab=1\n")
    scenario = '{"calls": {"IPersistPropertyBag::Load": {"times": 2, "result": "0x800700AA"}}}'
    viewer = Viewer("--kit", "--scenario", scenario, "--folder", windows_path(FOLDER / "pictures"), "--exit-after", "60", state="newer")
    viewer.fault("could not be opened", "Another program uses the camera")
    viewer.logs("first frame")
    viewer.no_fault()
    check("what is understood of the state counts", viewer.the(kind="SysTabControl32").state == 1)
    viewer.close()
    check("the later version's file is as it was", state.read_text() == "version=99\ntab=1\n")


def nothing_registered():
    """As from the SDK's archive by a double click: the device kit beside the program is the camera."""
    prefix = os.environ["OCELLUS_WINE_PREFIX"] + "-visible"
    environment = dict(os.environ, WINEPREFIX=prefix, WINEDEBUG="-all")
    for library in ("ocellus", "devicekit"):
        subprocess.run(["wine", "regsvr32", "/s", "/u", windows_path(PROGRAM.parent / f"{library}.dll")], check=True, env=environment, timeout=60)
    try:
        viewer = Viewer("--folder", windows_path(FOLDER / "pictures"), state="bare")
        viewer.logs("first frame")
        wait_for("the chart is on the screen", lambda: is_red(picture_corner(viewer)))
        viewer.close()
    finally:
        for stamp in pathlib.Path(prefix).glob(".registered-*"):
            stamp.unlink()


def from_the_command_line():
    refused = subprocess.run([ROOT / "scripts" / "host.sh", PROGRAM, "--nonsense"], capture_output=True, text=True, stdin=subprocess.DEVNULL)
    check("a wrong word is refused", refused.returncode == 2 and "nonsense" in refused.stderr)
    one = FOLDER / "one.png"
    viewer = Viewer("--snap", windows_path(one), state="fresh")
    wait_for("the picture that was asked for", lambda: one.exists() and one.stat().st_size)
    viewer.close()
    check("it is whole", run("identify", "-regard-warnings", "-format", "%m", one) == "PNG")
    viewer = Viewer("--exit-after", "1", state="fresh")
    viewer.ended()


HALVES = {
    "pictures": (pictures, resolution, controls, settings, bad_places, screens, close_with_a_picture_on_its_way, from_the_command_line),
    "cameras": (names, tab_key, faults, kit_form, cameras, close, second_start, webcam, nothing_registered),
}


def display():
    """A display of its own for what is started from here on; its server."""
    missing = [tool for tool in ("Xvfb", "xdotool", "import", "wine") if not shutil.which(tool)]
    if missing:
        print("skipped: there is no", ", ".join(missing))
        sys.exit(77)
    read, write = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1900x1200x24", "-nolisten", "tcp"], pass_fds=[write],
                              stderr=subprocess.DEVNULL)
    os.close(write)
    os.environ["DISPLAY"] = ":" + os.read(read, 20).decode().strip()
    os.environ["OCELLUS_HEADLESS"] = "0"
    os.environ.setdefault("OCELLUS_WINE_PREFIX", str(ROOT / "build" / "wine-camview"))
    # A Wine prefix that is made first may take longer than anything has that is waited for.
    subprocess.run([ROOT / "scripts" / "host.sh", PROGRAM.parent / "camctl.exe", "--version"], check=True, stdout=subprocess.DEVNULL, timeout=300)
    return server


def main():
    server = display()
    step = "start"
    viewer = None
    try:
        started = time.monotonic()
        for half in sys.argv[3:] or HALVES:
            viewer = first_start(half)
            print(f"{step}: {time.monotonic() - started:.1f} s", flush=True)
            for part in HALVES[half]:
                step = part.__name__
                part(viewer) if part.__code__.co_argcount else part()
                print(f"{step}: {time.monotonic() - started:.1f} s", flush=True)
    except Failed as failure:
        picture = ROOT / "build" / "camview-failure.png"
        subprocess.run(["import", "-window", "root", str(picture)], check=False)
        print(f"FAILED in {step}: {failure}\nthe screen: {picture}\nthe log:")
        print((FOLDER / "log").read_text() if (FOLDER / "log").exists() else "none")
        print("what is to be seen:")
        if viewer and viewer.process.poll() is None:
            for control in viewer.controls():
                if control.visible and control.text:
                    print(vars(control))
        return 1
    finally:
        for process in viewers_below_wine():
            os.kill(int(process.name), signal.SIGTERM)
        server.terminate()
        server.wait()
        shutil.rmtree(FOLDER, ignore_errors=True)
    print(f"{passed} passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
