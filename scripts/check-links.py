#!/usr/bin/env python3
"""Follows every link of a built site, in each of its pages, to a file and to a place in it.

    scripts/check-links.py FOLDER    prints those that lead nowhere, and ends with 1 then; links to elsewhere are not followed
"""

import pathlib
import sys
import urllib.parse
from html.parser import HTMLParser


class Page(HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links, self.places = set(), set()
        self.feed(path.read_text(encoding="utf-8", errors="replace"))

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("href", "src") and value:
                self.links.add(value)
            elif name in ("id", "name") and value:
                self.places.add(value)


def main():
    if len(sys.argv) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    folder = pathlib.Path(sys.argv[1]).resolve()
    pages = {path: Page(path) for path in folder.rglob("*.html")}
    followed, broken = 0, []
    for path, page in pages.items():
        if path.name == "404.html":  # its links are those of the place where it is shown
            continue
        for link in sorted(page.links):
            parts = urllib.parse.urlsplit(link)
            if parts.scheme or parts.netloc or link.startswith("javascript:"):
                continue
            target = (path.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else path
            if target.is_dir():
                target /= "index.html"
            followed += 1
            place = urllib.parse.unquote(parts.fragment)
            if not target.is_file() or (place and target in pages and not place.startswith("__") and place not in pages[target].places):
                broken.append(f"{path.relative_to(folder)}: {link}")
    print("\n".join(broken) if broken else f"{len(pages)} pages, {followed} links: all lead somewhere")
    return 1 if broken or not followed else 0


if __name__ == "__main__":
    sys.exit(main())
