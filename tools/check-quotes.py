#!/usr/bin/env python3
"""Checks that code quoted in the documentation is code that is compiled.

usage: check-quotes.py TOP_FOLDER

A fenced block after the line `<!-- quoted from PATH -->` must appear in the file PATH, apart from its indentation.
"""
import pathlib
import re
import sys
import textwrap

QUOTE = re.compile(r"<!-- quoted from (\S+) -->\n```\w*\n(.*?)```", re.DOTALL)


def lines_of(text):
    return [line.strip() for line in textwrap.dedent(text).strip("\n").split("\n")]


def contains(lines, part):
    return any(lines[start:start + len(part)] == part for start in range(len(lines) - len(part) + 1))


def main():
    root = pathlib.Path(sys.argv[1])
    pages = [root / "README.md", root / "CONTRIBUTING.md", *sorted((root / "Documentation").glob("*.md"))]
    count = 0
    passed = True
    for page in pages:
        for path, quote in QUOTE.findall(page.read_text(encoding="utf-8")):
            count += 1
            source = root / path
            if not source.is_file() or not contains(lines_of(source.read_text(encoding="utf-8")), lines_of(quote)):
                print(f"{page.relative_to(root)}: this is not in {path}:\n{quote}")
                passed = False
    if count == 0:
        sys.exit("No quote was found.")
    print(f"{count} quotes checked.")
    sys.exit(0 if passed else 1)


if __name__ == "__main__":
    main()
