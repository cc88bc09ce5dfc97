#!/usr/bin/env python3
"""Draws the columns of a table over its first one, each in a field of its own from its lowest to its highest value: plot.py TABLE.csv PICTURE.svg"""

import csv
import sys
from pathlib import Path

WIDTH, HEIGHT, LABEL, GAP = 900, 60, 190, 14


def main():
    with Path(sys.argv[1]).open(newline="") as file:
        names, *rows = csv.reader(file)
    table = [[int(value) for value in row] for row in rows if len(row) == len(names)]
    lines = []
    for index, name in enumerate(names[1:]):
        values = [row[index + 1] for row in table]
        low, high = min(values), max(values)
        top = GAP + index * (HEIGHT + GAP)
        step = (WIDTH - LABEL - GAP) / max(1, len(values) - 1)
        height = high - low or 1
        points = " ".join(f"{LABEL + at * step:.1f},{top + HEIGHT - (value - low) * HEIGHT / height:.1f}" for at, value in enumerate(values))
        lines.append(f'<rect x="{LABEL}" y="{top}" width="{WIDTH - LABEL - GAP}" height="{HEIGHT}" fill="#f4f4f4"/>')
        lines.append(f'<text x="8" y="{top + 20}">{name}</text><text x="8" y="{top + 40}" fill="#666">{low} to {high}, last {values[-1]}</text>')
        lines.append(f'<polyline points="{points}" fill="none" stroke="#1f77b4"/>')
    total = GAP + (len(names) - 1) * (HEIGHT + GAP)
    head = f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{total}" font-family="sans-serif" font-size="13">'
    Path(sys.argv[2]).write_text("\n".join([head, *lines, "</svg>", ""]))


if __name__ == "__main__":
    main()
