#!/usr/bin/env python3
"""Fails when a page for writers of backends names something that does not exist.

usage: check-names.py TOP_FOLDER; every identifier in backticks must be in a header, every path must exist.
"""
import pathlib
import re
import sys

PAGES = "Documentation/writing-a-*.md"
HEADERS = ("VideoAnalysis", "Platforms", "Testing")
VARIABLE = re.compile(r"VIDEOANALYSIS_\w+(=\S+)?")


def main():
    root = pathlib.Path(sys.argv[1])
    words = set()
    for folder in HEADERS:
        for header in (root / folder).rglob("*.h"):
            words.update(re.findall(r"\w+", header.read_text(encoding="utf-8")))
    pages = sorted(root.glob(PAGES))
    if not pages or not words:
        sys.exit(f"{root} is not the top folder")
    unknown = []
    for page in pages:
        for number, line in enumerate(page.read_text(encoding="utf-8").splitlines(), 1):
            for name in re.findall(r"`([^`]+)`", line):
                place = f"{page.relative_to(root)}:{number}: {name}"
                if VARIABLE.fullmatch(name):
                    continue
                if "/" in name:
                    if not (root / name).exists():
                        unknown.append(f"{place} does not exist")
                elif not set(re.findall(r"\w+", name)) <= words:
                    unknown.append(f"{place} is in no header")
    if unknown:
        sys.exit("\n".join(unknown))
    print(f"{len(pages)} pages name only what exists.")


if __name__ == "__main__":
    main()
