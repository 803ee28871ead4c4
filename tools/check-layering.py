#!/usr/bin/env python3
"""Fails when an include points outward, from an inner ring to one further out or to what only an outer ring may know.

Called by the tests with the top folder as its only argument; prints one line per offending include.
"""
import pathlib
import re
import sys

QT = r"<Q\w|<Qt\w*/|\"Q[A-Z]\w+\"|\bmoc_|\.moc\b"
FFMPEG = r"[<\"]lib(av\w+|sw\w+)/"
YUV = r"[<\"]libyuv\b"
CAIRO = r"[<\"]cairo"
OUTER = r"[<\"](?:\.\./)*(Platforms|Host|Tests|Benchmarks|Fuzz)/"

UPPER_ROOMS = r"\"VideoAnalysis/(?!JSON/|Store/|Platform/)"

# Folder: what its files may not include, as expressions on what follows "#include".
RULES = {
    "VideoAnalysis": [OUTER, QT, FFMPEG, YUV, CAIRO, r"<(format|ranges)>"],
    "VideoAnalysis/JSON": [UPPER_ROOMS],
    "VideoAnalysis/Store": [UPPER_ROOMS],
    "VideoAnalysis/Platform": [UPPER_ROOMS],
    "Platforms/Headless": [r"\"(Host|Tests|Benchmarks|Fuzz)/", r"\"Platforms/(?!Headless)", QT, FFMPEG, YUV, CAIRO],
    "Platforms/FFmpeg": [r"\"(Host|Tests|Benchmarks|Fuzz)/", r"\"Platforms/(?!FFmpeg)", QT, CAIRO],
    "Platforms/Cairo": [r"\"(Host|Tests|Benchmarks|Fuzz)/", r"\"Platforms/(?!Cairo)", QT, FFMPEG],
    "Platforms/QtQuick": [r"\"(Host|Tests|Benchmarks|Fuzz)/", r"\"Platforms/(?!QtQuick)", FFMPEG, CAIRO],
}
# JSON text is parsed in one place.
JSON_PARSER = (r"<nlohmann/", "VideoAnalysis/JSON")

INCLUDE = re.compile(r"^\s*#\s*include\s*(.+)$")


def offences(root):
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
    found = list(offences(root))
    print("\n".join(found) or "Every include points inward.")
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
