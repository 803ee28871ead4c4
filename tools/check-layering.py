#!/usr/bin/env python3
"""Fails when an include points outward, from an inner ring to one further out or to what only an outer ring may know.

Called by the tests with the top folder as its first argument; prints one line per offending include. With --arrows it prints
the component's rooms instead, each with the rooms that it includes.
"""
import pathlib
import re
import sys

QT = r"<Q\w|<Qt\w*/|\"Q[A-Z]\w+\"|\bmoc_|\.moc\b"
FFMPEG = r"[<\"]lib(av\w+|sw\w+)/"
YUV = r"[<\"]libyuv\b"
CAIRO = r"[<\"]cairo"
OUTER = r"[<\"](?:\.\./)*(Platforms|Host|Testing|Tests|Benchmarks|Fuzz)/"

# The component's rooms in their order: a room may include those before it. Rooms of one line know nothing of each other, except
# that the ground's do.
ROOMS = [
    ["Platform", "JSON", "Store"],
    ["Sketch", "Timeline", "Controls"],
    ["Analysis"],
    ["Video"],
    ["Trimming"],
    ["Player"],
    ["Screen"],
]
GROUND = ROOMS[0]
# What a screen platform may not include of the component: all but the seams and the umbrella of the views.
COMPONENT = r"\"VideoAnalysis/(?!Platform/|Views\.h)"

# Folder: what its files may not include, as expressions on what follows "#include".
RULES = {
    "VideoAnalysis": [OUTER, QT, FFMPEG, YUV, CAIRO, r"<(format|ranges)>"],
    "Platforms/Headless": [r"\"(Host|Testing|Tests|Benchmarks|Fuzz)/", r"\"Platforms/(?!Headless)", QT, FFMPEG, YUV, CAIRO,
                           COMPONENT],
    "Platforms/FFmpeg": [r"\"(Host|Testing|Tests|Benchmarks|Fuzz)/", r"\"Platforms/(?!FFmpeg)", QT, CAIRO],
    "Platforms/Cairo": [r"\"(Host|Testing|Tests|Benchmarks|Fuzz)/", r"\"Platforms/(?!Cairo)", QT, FFMPEG],
    "Platforms/QtQuick": [r"\"(Host|Testing|Tests|Benchmarks|Fuzz)/", r"\"Platforms/(?!QtQuick)", FFMPEG, CAIRO, COMPONENT],
}
for level, rooms in enumerate(ROOMS):
    for room in rooms:
        allowed = [other for lower in ROOMS[:level] for other in lower] + (GROUND if room in GROUND else [room])
        RULES[f"VideoAnalysis/{room}"] = [rf"\"VideoAnalysis/(?!({'|'.join(allowed)})/)"]
# JSON text is parsed in one place.
JSON_PARSER = (r"<nlohmann/", "VideoAnalysis/JSON")

INCLUDE = re.compile(r"^\s*#\s*include\s*(.+)$")


def arrows(root):
    """Which rooms each room includes, as lines of text."""
    for rooms in ROOMS:
        for room in rooms:
            text = "\n".join(path.read_text(encoding="utf-8") for path in (root / "VideoAnalysis" / room).rglob("*.[hc]*"))
            found = set(re.findall(r'^#include "VideoAnalysis/(\w+)/', text, re.MULTILINE)) - {room}
            yield f"{room} -> {', '.join(sorted(found)) or 'none'}"


def offences(root):
    known = {room for rooms in ROOMS for room in rooms}
    for folder in sorted(path.name for path in (root / "VideoAnalysis").iterdir() if path.is_dir()):
        if folder not in known:
            yield f"VideoAnalysis/{folder}: not in the list of rooms"
    for folder, forbidden in RULES.items():
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in (".h", ".cpp"):
                continue
            name = path.relative_to(root).as_posix()
            rules = list(forbidden)
            if not name.startswith(JSON_PARSER[1]) or path.suffix == ".h":
                rules.append(JSON_PARSER[0])
            for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
                match = INCLUDE.match(line)
                if match and any(re.search(rule, match.group(1)) for rule in rules):
                    yield f"{name}:{number}: may not include {match.group(1)}"


def main():
    root = pathlib.Path(sys.argv[1])
    if not (root / "VideoAnalysis").is_dir():
        sys.exit(f"{root} is not the top folder")
    if "--arrows" in sys.argv[2:]:
        print("\n".join(arrows(root)))
        return
    found = list(offences(root))
    print("\n".join(found) or "Every include points inward.")
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
