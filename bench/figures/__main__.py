#!/usr/bin/env python3
"""Runs a benchmark and keeps what it told; draws what is kept. scripts/bench starts it.

usage: figures run FOLDER NAME COMMAND [WORD…]    runs the benchmark, again where its runs differ too much
       figures table FOLDER SOURCE…               the page of the benchmarks with these sources, in Markdown
       figures plot FOLDER SOURCE…                their curves of growth, in SVG

The results are in the FOLDER, a file a benchmark. Exit status: 0 done, 1 failed, 2 the command line is
wrong, 77 this machine can't run the benchmark.
"""
import pathlib
import sys

from page import page
from plot import plot
from results import BadFigure, read
from runs import run

PICTURE = "growth.svg"


def main(words):
    if len(words) < 3 or words[0] not in ("run", "table", "plot") or (words[0] == "run" and len(words) < 4):
        print(__doc__, file=sys.stderr)
        return 2
    folder = pathlib.Path(words[1])
    if words[0] == "run":
        return run(folder, words[2], words[3:])
    sources = sorted((pathlib.Path(word) for word in words[2:]), key=lambda source: source.stem)
    try:
        all_results = [read(folder, source.stem) for source in sources]
    except BadFigure as wrong:
        print(f"figures: {wrong}", file=sys.stderr)
        return 1
    if words[0] == "table":
        print(page(sources, all_results, PICTURE), end="")
    else:
        print(plot([figure for results in all_results for figure in results.figures]), end="")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
