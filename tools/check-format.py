#!/usr/bin/env python3
"""Fails when a C++ file is not laid out as .clang-format says.

usage: check-format.py CLANG_FORMAT TOP_FOLDER; prints what to run for the files that differ.
"""
import pathlib
import re
import subprocess
import sys

FOLDERS = ("VideoAnalysis", "Platforms", "Host", "Testing", "Tests", "Benchmarks", "Fuzz", "Documentation")


def main():
    program, root = sys.argv[1], pathlib.Path(sys.argv[2])
    files = sorted(str(path.relative_to(root)) for folder in FOLDERS for path in (root / folder).rglob("*")
                   if path.suffix in (".h", ".cpp"))
    if not files:
        sys.exit(f"{root} is not the top folder")
    report = subprocess.run([program, "--dry-run", "--Werror", *files], cwd=root, capture_output=True, text=True, check=False)
    different = sorted(set(re.findall(r"^(\S+?):\d+:\d+: error", report.stderr, re.MULTILINE)))
    if report.returncode != 0 and not different:
        sys.exit(report.stderr)
    if different:
        sys.exit(f"Laid out differently than .clang-format says; run\n  {program} -i " + " ".join(different))
    print(f"{len(files)} files are laid out as .clang-format says.")


if __name__ == "__main__":
    main()
