#!/usr/bin/env python3
"""Holds the source tree to its structure, and draws it.

    scripts/architecture.py           checks; prints each include that breaks a rule, and ends with 1 then
    scripts/architecture.py --draw    draws docs/images/architecture.svg from the includes (Graphviz)

The rules: an include points from a module to one below it (LAYERS), no file includes itself in a circle, nothing outside tests/ uses a file of
tests/, only the platform seam asks for which system it is compiled, the modules in PURE include nothing of Windows, a file of src/ has at most
MAX_LINES lines and half of them MAX_MEDIAN at most. The picture carries the arrows that it shows: one that is out of date breaks a rule, too.
"""
import collections
import pathlib
import re
import shutil
import statistics
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PICTURE = ROOT / "docs" / "images" / "architecture.svg"

# From the top down. A module may include what stands in a lower line.
LAYERS = [["com", "api"], ["dshow_camera", "imager_camera"], ["still", "config"], ["platform"], ["filter_base", "tiff"], ["base"]]
# What may be included against the direction, by whom: the interface that both cameras implement.
UPWARDS = {"api/camera_device.h": {"dshow_camera", "imager_camera"}}
PURE = {"tiff"}
MAX_LINES = 300
MAX_MEDIAN = 80

SOURCES = {".cpp", ".h", ".hpp", ".inl", ".c"}
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
WINDOWS_HEADERS = {"windows.h", "dshow.h", "strmif.h", "unknwn.h", "objbase.h", "oaidl.h", "msxml2.h", "oleauto.h"}


def tracked():
    """The files of the tree, those not added yet included."""
    names = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT, check=True, capture_output=True, text=True).stdout
    return [name for name in names.split("\0") if name and (ROOT / name).is_file()]


class Tree:
    def __init__(self):
        self.files = tracked()
        self.sources = [name for name in self.files if pathlib.Path(name).suffix in SOURCES]
        self.text = {name: (ROOT / name).read_text(encoding="utf-8", errors="replace").splitlines() for name in self.sources}
        self.includes = {name: list(self.includes_of(name)) for name in self.sources}

    def includes_of(self, name):
        """(line number, what is included, the file of the tree that this is or None)"""
        for number, line in enumerate(self.text[name], 1):
            if found := INCLUDE.match(line):
                yield number, found[2], self.resolve(name, found[1], found[2])

    def resolve(self, includer, kind, included):
        places = [f"include/{included}"]
        if kind == '"':
            top = includer.split("/")[0]
            places = [f"{pathlib.PurePosixPath(includer).parent}/{included}", f"src/{included}", f"{top}/{included}", f"tests/{included}"] + places
        return next((place for place in places if place in self.text), None)


def module_of(name):
    parts = name.split("/")
    return parts[1] if parts[0] == "src" and len(parts) > 2 else None


def rank(module):
    return next((number for number, layer in enumerate(LAYERS) if module in layer), None)


def wrong_arrows(tree):
    for name in tree.sources:
        module = module_of(name)
        if module is None:
            if name.startswith("src/"):
                yield f"{name}: stands in no module; src/ has folders only"
            continue
        if rank(module) is None:
            yield f"{name}: the module {module} is not known; give it a place in LAYERS of scripts/architecture.py"
            continue
        for number, included, target in tree.includes[name]:
            other = module_of(target) if target else None
            if other is None and target and target.split("/")[0] not in ("src", "include"):
                yield f"{name}:{number}: {module} -> {target}: the library includes nothing from outside src/ and include/"
            if other in (None, module) or rank(other) is None or rank(module) < rank(other):
                continue
            if module in UPWARDS.get(included, ()):
                continue
            yield f"{name}:{number}: {module} -> {other} ({included}): arrows point down only"


def circles(tree):
    done, path = set(), []

    def visit(name):
        if name in path:
            yield " -> ".join(path[path.index(name):] + [name]) + ": a circle of includes"
            return
        if name in done:
            return
        path.append(name)
        for _, _, target in tree.includes[name]:
            if target:
                yield from visit(target)
        path.pop()
        done.add(name)

    for name in tree.sources:
        yield from visit(name)


def uses_of_tests(tree):
    for name in tree.sources:
        if name.startswith("tests/"):
            continue
        for number, included, target in tree.includes[name]:
            if target and target.startswith("tests/"):
                yield f"{name}:{number}: includes {included} of tests/"
    for name in tree.files:
        if name.startswith("tests/") or not (name.endswith("CMakeLists.txt") or name.endswith(".cmake")):
            continue
        for number, line in enumerate((ROOT / name).read_text().splitlines(), 1):
            code = line.split("#")[0]
            # The functions that declare tests name the folder, and so does whoever adds it.
            if re.search(r"\btests/\w", code) and "add_subdirectory" not in code and name != "cmake/ocellus.cmake":
                yield f"{name}:{number}: builds with a file of tests/: {line.strip()}"


def seams(tree):
    for name in tree.sources:
        module = module_of(name)
        if module is None:
            continue
        for number, line in enumerate(tree.text[name], 1):
            if module != "platform" and re.match(r"\s*#\s*(if|el).*\b(UNDER_CE|_WIN32_WCE)\b", line):
                yield f"{name}:{number}: asks for which system it is compiled; that is src/platform's to know"
        for number, included, _ in tree.includes[name]:
            if module in PURE and included.lower() in WINDOWS_HEADERS:
                yield f"{name}:{number}: {module} needs no Windows, and includes {included}"


def sizes(tree):
    lines = {name: len(tree.text[name]) for name in tree.sources if name.startswith("src/")}
    for name, count in sorted(lines.items()):
        if count > MAX_LINES:
            yield f"{name}: {count} lines; a file of src/ has at most {MAX_LINES}: split it where a seam is natural"
    median = statistics.median(lines.values())
    if median > MAX_MEDIAN:
        yield f"src: half of the files have more than {median:.0f} lines; {MAX_MEDIAN} are meant at most"


# ---- The picture -------------------------------------------------------------------------------------------------------

GROUND = {"base", "platform"}  # everything stands on them; their arrows would hide the others


def arrows(tree):
    """(module, module) -> number of includes, for what the picture shows."""
    counts = collections.Counter()
    for name in tree.sources:
        module = module_of(name)
        for _, _, target in tree.includes[name]:
            other = module_of(target) if target else None
            if module and other and other != module and not {module, other} & GROUND:
                counts[module, other] += 1
    return counts


def summary(counts):
    return "arrows: " + ", ".join(f"{a} {b}" for a, b in sorted(counts))


def picture_is_true(tree):
    wanted = summary(arrows(tree))
    if not PICTURE.is_file() or wanted not in PICTURE.read_text():
        yield f"{PICTURE.relative_to(ROOT)}: shows other arrows than the includes; this draws it anew: scripts/architecture.py --draw"


def draw(tree):
    if not shutil.which("dot"):
        sys.exit("architecture: Graphviz is missing; run scripts/setup.sh test")
    counts = arrows(tree)
    titles = {"com": "com\\nCOM server", "api": "api\\nexported functions", "dshow_camera": "dshow_camera\\ncamera type 1", "imager_camera": "imager_camera\\ncamera type 2",
              "still": "still\\nfilters, pixels, text, encoders", "config": "config\\nXML and INI", "filter_base": "filter_base\\nDirectShow base classes", "tiff": "tiff\\nthreshold, Group 4"}
    lines = ['digraph { rankdir=TB; nodesep=0.5; ranksep=0.45; bgcolor="white"',
             'node [shape=box, style="rounded,filled", fillcolor="#eef3fa", color="#4a6a94", fontname="DejaVu Sans", fontsize=11, margin="0.18,0.09"]',
             'edge [color="#4a6a94", arrowsize=0.7]']
    for layer in LAYERS:
        shown = [module for module in layer if module not in GROUND]
        lines.append("{ rank=same; " + "; ".join(f'{module} [label="{titles[module]}"]' for module in shown) + " }")
    for a, b in sorted(counts):
        upwards = rank(a) > rank(b)
        lines.append(f"{a} -> {b}" + (" [style=dashed, constraint=false]" if upwards else ""))
    lines.append('ground [label="platform: the seam between Windows CE and the desktop\\nbase: owners, lock, frame, picture format, processor", width=8.2, fillcolor="#f4efe4", color="#94784a"]')
    for bottom in ("filter_base", "tiff", "config"):
        lines.append(f"{bottom} -> ground [style=invis]")
    lines.append("}")
    svg = subprocess.run(["dot", "-Tsvg"], input="\n".join(lines), text=True, capture_output=True, check=True).stdout
    svg = re.sub(r"<!-- (Generated by|Title:).*?-->", "", svg, flags=re.S)
    svg = svg.replace("<svg ", f"<!-- {summary(counts)} -->\n<svg ", 1)
    PICTURE.write_text(re.sub(r"\n\s*\n+", "\n", svg))


def main():
    if sys.argv[1:] not in ([], ["--draw"]):
        sys.exit(f"architecture: unknown argument\n{__doc__}")
    tree = Tree()
    if sys.argv[1:]:
        draw(tree)
        return
    broken = [line for rule in (wrong_arrows, circles, uses_of_tests, seams, sizes, picture_is_true) for line in rule(tree)]
    for line in broken:
        print(f"architecture: {line}", file=sys.stderr)
    if broken:
        sys.exit(1)


if __name__ == "__main__":
    main()
