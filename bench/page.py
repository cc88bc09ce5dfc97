#!/usr/bin/env python3
"""Puts what scripts/bench.sh measured into the documents, or beside what is aimed at.

    bench/page.py FOLDER --aims     prints the aims with what was reached; tables that were not measured are left out
    bench/page.py FOLDER --write    writes all tables, which are of one run, into docs/, and the picture

A document has "<!-- measured: NAME -->" before each table and "<!-- end of NAME -->" after it.
"""
import pathlib
import re
import sys

TOP = pathlib.Path(__file__).resolve().parent.parent
PAGES = [TOP / "docs/performance.md", TOP / "docs/bilevel-tiff.md"]
PICTURE = TOP / "docs/images/performance.svg"
MISSED = "**missed**"
SIZES = ["640 x 480", "1600 x 1200", "2592 x 1944"]
FLAT = {"gradient", "chart", "screen", "text", "halftone"}
PHOTOGRAPHED = {"photograph", "film", "page"}


def png_aims(scene):
    """How many times libpng's speed at least, what share of its size at most."""
    return 4 if scene in PHOTOGRAPHED else 3, 1.06 if scene in FLAT else 1.03



def rows_of(table):
    return ["| " + " | ".join(str(cell) for cell in row) + " |" for row in table]


class Run:
    """The texts of one run, taken apart. What was not measured is empty."""

    def __init__(self, folder):
        self.folder = folder
        self.races = {}  # (race, size): {contender: ms}
        race = None
        for line in self.text("pixel").splitlines():
            if head := re.match(r"(\S.*), (\d+ x \d+) \(best", line):
                race = self.races.setdefault((head[1], head[2]), {})
            elif row := re.match(r"  (\S.*?) +([0-9.]+) ms +[0-9.]+ ns/pixel", line):
                race[row[1]] = float(row[2])
        self.kernels = re.findall(r"^(\S.*?) {2,}(\d+)x(\d+) +(\w+) +[0-9.]+ +[0-9.]+ +([0-9.]+)$", self.text("kernels"), re.M)
        scene = re.compile(r"^(\w+) +(\d+) +(\d+ x \d+) +([0-9.]+) +([0-9.]+) +([0-9.]+) +(\d+) +([0-9.]+)$", re.M)
        self.png = scene.findall(self.text("png"))
        self.jpeg = scene.findall(self.text("jpeg"))
        self.bmp = re.findall(r"^BMP (\d+ x \d+): .*: ([0-9.]+)\)$", self.text("files"), re.M)
        self.arm = {(name, kernels): fields.split() for name, kernels, fields in
                    re.findall(r"^(\S.*?) {2,}(plain|word|chosen) +(\d.*)$", self.text("arm"), re.M)}
        self.bilevel, self.counted = {}, {}
        for line in self.text("bilevel").splitlines():
            cells = [cell.strip() for cell in line.strip("|").split("|")]
            if len(cells) == 7 and re.fullmatch(r"\d+x\d+", cells[2]):
                self.bilevel[cells[0], cells[1], cells[2], cells[3]] = float(cells[4])
            elif len(cells) == 5 and re.fullmatch(r"[0-9.]+", cells[3]):
                self.counted[cells[0], cells[1], cells[2]] = float(cells[3])

    def text(self, name):
        path = self.folder / f"{name}.txt"
        return path.read_text() if path.exists() else ""

    # ---- Aims

    def aims(self):
        """Rows of: what, size, aim, reached, missed or not."""
        def row(what, size, relation, aim, reached):
            met = reached <= aim if relation == "at most" else reached >= aim
            return (what, size, f"{relation} {aim}", f"{reached:.2f}", "" if met else MISSED)

        for size in SIZES:
            for what, race, one, other, relation, aim in [
                ("YUY2 to RGB565: libyuv's AVX2 (the faster of its two forms) to ours", "YUY2 to RGB565", "libyuv", "Ocellus avx2", "at least", 1.5),
                ("YUY2 to RGB565: ours with SSE2 only to libyuv's AVX2", "YUY2 to RGB565", "Ocellus sse2", "libyuv", "at most", 1.2),
                ("YUY2 to RGB565: swscale to ours", "YUY2 to RGB565", "swscale", "Ocellus avx2", "at least", 5.5),
                ("grey to words: ours to OpenCV", "Grey to words", "Ocellus avx2", "OpenCV, grey to BGR565", "at most", 1.0),
                ("grey to words: plain twin to ours", "Grey to words", "Ocellus plain", "Ocellus avx2", "at least", 4),
                ("RGB565 to RGB888: ours to OpenCV", "RGB565 to RGB888 rows", "Ocellus avx2", "OpenCV, BGR565 to RGB (not rounded)", "at most", 1.2),
                ("RGB565 to RGB888: plain twin to ours", "RGB565 to RGB888 rows", "Ocellus plain", "Ocellus avx2", "at least", 4),
                ("RGB565 to JPEG: ours to libjpeg-turbo alone", "JPEG in memory", "Ocellus, from RGB565", "libjpeg-turbo alone, from RGB888", "at most", 0.92),
                ("YUY2 to JPEG: ours to libjpeg-turbo alone", "JPEG in memory", "Ocellus, from YUY2", "libjpeg-turbo alone, from RGB888", "at most", 1.25),
                ("YUY2 to JPEG file: OpenCV's `imwrite` to ours", "YUY2 frame to JPEG file", "OpenCV, YUY2 to BGR, imwrite", "Ocellus", "at least", 1.6),
                ("RGB565 to PNG: libpng alone to ours", "PNG in memory", "libpng alone, from RGB888", "Ocellus, from RGB565", "at least", 4),
            ]:
                times = dict(self.races.get((race, size), {}))
                fastest = [time for name, time in times.items() if name.startswith("libyuv AVX2")]
                if fastest:
                    times["libyuv"] = min(fastest)
                if one in times and other in times:
                    yield row(what, size, relation, aim, times[one] / times[other])
        for kind, scenes in (("photograph, film and page", PHOTOGRAPHED), ("landscape and grey", {"landscape", "grey"}), ("flat scenes", FLAT)):
            faster, limit = png_aims(min(scenes))
            for size in SIZES:
                found = [scene for scene in self.png if scene[2] == size and scene[0] in scenes]
                if found:
                    yield row(f"PNG, {kind}: libpng to ours, worst scene", size, "at least", faster, min(float(scene[5]) for scene in found))
                    yield row(f"PNG, {kind}: size to libpng's, worst scene", size, "at most", limit, max(float(scene[7]) for scene in found))
        for size, ratio in self.bmp:
            yield row("BMP file: ours to a bare write (medians)", size, "at most", 1.35, float(ratio))
        if self.kernels:
            name, width, rows, kernels, ratio = max(self.kernels, key=lambda kernel: float(kernel[4]))
            yield row(f"Windows build to native build, worst of {len(self.kernels)} ({name}, {kernels})", f"{width} x {rows}", "at most", 1.1, float(ratio))
        for name, kernels, what, field, aim in [
            ("YUY2 to RGB565", "word", "instructions on ARM to the plain twin's", 2, 0.5),
            ("RGB565 to RGB888", "word", "instructions on ARM to the plain twin's", 2, 0.6),
            ("grey to words", "word", "instructions on ARM to the plain twin's", 2, 0.6),
            ("threshold", "chosen", "instructions a pixel on ARM", 1, 16),
            ("JPEG, quality 90", "chosen", "instructions a pixel on ARM", 1, 105),
            ("PNG", "chosen", "instructions a pixel on ARM", 1, 300),
        ]:
            if fields := self.arm.get((name, kernels)):
                yield row(f"{name}: {what}", SIZES[0], "at most", aim, float(fields[field]))
        for what, stage, peer, ours, contents, aim in [
            ("Group 4: libtiff to ours, worst content but random bits", "group4", "libtiff", "sse2", "[^r]", 5),
            ("Group 4: libtiff to ours, random bits", "group4", "libtiff", "sse2", "random", 4.5),
            ("Group 4: spandsp to ours, worst content", "group4", "spandsp", "sse2", "", 2),
            ("threshold: OpenCV to ours with SSE2, worst content", "threshold", "opencv", "sse2", "", 2.4),
            ("threshold: OpenCV to ours with AVX2, worst content", "threshold", "opencv", "avx2", "", 4),
            ("YUY2 frame to TIFF: OpenCV and libtiff to ours with SSE2, worst content", "file", "opencv + libtiff", "sse2", "", 3),
            ("YUY2 frame to TIFF: OpenCV and libtiff to ours with AVX2, worst content", "file", "opencv + libtiff", "avx2", "", 3.7),
        ]:
            for size in SIZES:
                key = size.replace(" ", "")
                ratios = [self.bilevel[stage, peer, key, content] / time for (s, name, z, content), time in self.bilevel.items()
                          if (s, name, z) == (stage, ours, key) and re.match(contents, content) and (stage, peer, key, content) in self.bilevel]
                if ratios:
                    yield row(what, size, "at least", aim, min(ratios))
        shares = [self.counted["group4", "sse2", content] / number for (stage, name, content), number in self.counted.items() if (stage, name) == ("group4", "libtiff")]
        if shares:
            yield row("Group 4: our instructions to libtiff's, worst content", SIZES[0], "at most", 0.33, max(shares))
        spent = [number for (stage, name, _), number in self.counted.items() if (stage, name) == ("threshold", "sse2")]
        if spent:
            yield row("threshold: instructions a pixel with SSE2", SIZES[0], "at most", 11, max(spent))

    # ---- Tables

    def aims_table(self):
        return ["| what | size | aim | reached | |", "|---|---|---|---:|---|", *rows_of(self.aims())]

    def pixel_table(self):
        lines = ["| | | " + " | ".join(SIZES) + " |", "|---|---|---:|---:|---:|"]
        for race in dict.fromkeys(race for race, _ in self.races):
            for index, name in enumerate(self.races[race, SIZES[0]]):
                times = [self.races[race, size].get(name) for size in SIZES]
                lines += rows_of([["" if index else race, name, *(f"{time:.3f}" if time else "-" for time in times)]])
        return lines

    @staticmethod
    def scene_table(peer, scenes, aims):
        lines = [f"| scene | seed | size | {peer} | ours | times | share |", "|---|---:|---|---:|---:|---:|---:|"]
        for scene, seed, size, theirs, ours, times, _, share in scenes:
            faster, limit = aims(scene)
            lines += rows_of([[scene, seed, size, theirs, ours, times + (f" {MISSED}" if float(times) < faster else ""),
                               share + (f" {MISSED}" if float(share) > limit else "")]])
        return lines

    def kernel_table(self):
        lines = ["| kernel | set | " + " | ".join(SIZES) + " |", "|---|---|---:|---:|---:|"]
        ratios = {(name, kernels, f"{width} x {rows}"): ratio for name, width, rows, kernels, ratio in self.kernels}
        for name, kernels in dict.fromkeys((name, kernels) for name, kernels, _ in ratios):
            lines += rows_of([[name, kernels, *(ratios.get((name, kernels, size), "-") for size in SIZES)]])
        return lines

    def bilevel_table(self):
        lines = self.text("bilevel").splitlines()
        timed = [line for line in lines[2:] if "| 1600x1200 |" in line]
        counted = lines[lines.index("") + 1:]
        return [*lines[:2], *timed, "", "Instructions a pixel, counted by valgrind, 640 x 480:", "", *counted]

    def ratio_table(self):
        contents = list(dict.fromkeys(key[3] for key in self.bilevel))
        lines = ["| | size | " + " | ".join(contents) + " | aim |", "|---|---|" + "---:|" * len(contents) + "---|"]
        for what, stage, peer, ours, aim in [
            ("Group 4, libtiff", "group4", "libtiff", ["sse2"], "5; 4.5 on random bits"), ("Group 4, spandsp", "group4", "spandsp", ["sse2"], "2"),
            ("Group 4, leptonica", "group4", "leptonica", ["sse2"], ""), ("threshold, OpenCV", "threshold", "opencv", ["sse2", "avx2"], "2.4 / 4"),
            ("frame to file, OpenCV and libtiff", "file", "opencv + libtiff", ["sse2", "avx2"], "3 / 3.7"),
        ]:
            for size in SIZES:
                z = size.replace(" ", "")
                cells = [" / ".join(f"{self.bilevel[stage, peer, z, content] / self.bilevel[stage, name, z, content]:.2f}" for name in ours) for content in contents]
                lines += rows_of([[what, size, *cells, aim]])
        return lines

    def fenced(self, *names):
        return ["```", *"\n".join(self.text(name).rstrip() for name in names).splitlines(), "```"]

    def tables(self):
        return {
            "machine": self.text("machine").splitlines(), "aims": self.aims_table(), "pixel": self.pixel_table(),
            "png": self.scene_table("libpng", self.png, png_aims),
            "jpeg": self.scene_table("libjpeg-turbo", self.jpeg, lambda scene: (0, 1)),
            "kernels": self.kernel_table(), "files": self.fenced("files"), "latency": self.fenced("latency"), "arm": self.fenced("arm"),
            "scenes": self.fenced("scenes"), "memory": self.fenced("memory"), "desktop-memory": self.fenced("desktop-memory"),
            "bilevel": self.bilevel_table(), "bilevel-ratios": self.ratio_table(), "webcam": self.fenced("webcam"),
        }

    # ---- The picture

    def draw(self):
        import matplotlib
        matplotlib.use("svg")
        matplotlib.rcParams.update({"svg.hashsalt": "ocellus", "font.size": 9})
        from matplotlib import pyplot
        size, key = SIZES[1], SIZES[1].replace(" ", "")
        panels = {race: self.races[race, size] for race in
                  ("YUY2 to RGB565", "Grey to words", "RGB565 to RGB888 rows", "JPEG in memory", "YUY2 frame to JPEG file", "PNG in memory") if (race, size) in self.races}
        for title, stage in (("threshold of a page", "threshold"), ("Group 4 of a page", "group4"), ("YUY2 frame to TIFF, a page", "file")):
            panels[title] = {name if name in ("opencv", "libtiff", "spandsp", "leptonica", "opencv + libtiff") else f"Ocellus {name}": time * 1.92
                             for (s, name, z, content), time in self.bilevel.items() if (s, z, content) == (stage, key, "page")}
        figure, axes = pyplot.subplots(len(panels), 1, figsize=(8.5, 16), layout="constrained",
                                       height_ratios=[1 + sum(not name.endswith((" plain", " word")) for name in times) for times in panels.values()])
        for axis, (title, times) in zip(axes, panels.items()):
            shown = {name: time for name, time in times.items() if not name.endswith((" plain", " word"))}
            names = sorted(shown, key=shown.get, reverse=True)
            colors = ["#1b7f5c" if name.startswith("Ocellus") else "#444444" if name.startswith("floor") else "#b9b9b9" for name in names]
            bars = axis.barh(names, [shown[name] for name in names], color=colors)
            axis.bar_label(bars, fmt="%.2f", padding=3)
            axis.set_title(title, loc="left", fontweight="bold")
            axis.margins(x=0.1)
            axis.spines[["top", "right"]].set_visible(False)
        figure.suptitle(f"Milliseconds for {size} pixels: Ocellus (green), other libraries (grey), floors (dark)")
        figure.savefig(PICTURE, metadata={"Date": None})


def write(run):
    missing = [name for name, lines in run.tables().items() if not "".join(lines).strip("`")]
    if missing:
        sys.exit(f"page: not measured: {', '.join(missing)}")
    used = set()
    for page in PAGES:
        text = page.read_text()
        for name, lines in run.tables().items():
            marked = re.compile(rf"(<!-- measured: {name} -->\n).*?(<!-- end of {name} -->)", re.S)
            text, count = marked.subn(lambda found: found[1] + "\n" + "\n".join(lines) + "\n\n" + found[2], text)
            used.update([name] if count else [])
        page.write_text(text)
    if unused := run.tables().keys() - used:
        sys.exit(f"page: no document has a place for: {', '.join(sorted(unused))}")
    run.draw()


def main():
    run = Run(pathlib.Path(sys.argv[1]))
    if sys.argv[2:] == ["--write"]:
        write(run)
    else:
        print("\n".join(run.aims_table()))


if __name__ == "__main__":
    main()
