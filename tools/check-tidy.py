#!/usr/bin/env python3
"""Runs clang-tidy over the sources of the component, the platforms and the program; fails when it finds anything.

usage: check-tidy.py BUILD_FOLDER [FILE...]

BUILD_FOLDER holds compile_commands.json. A source that passed is skipped until it, a header of this project that it
includes, its compile command, .clang-tidy or the version of clang-tidy changes: stamps in BUILD_FOLDER/tidy.
"""
import concurrent.futures
import functools
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys

PROGRAM = "clang-tidy-14"
FOLDERS = ("VideoAnalysis", "Platforms", "Host")
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)


@functools.lru_cache(maxsize=None)
def read(root, name):
    """The text of a file and the project's headers that it includes itself."""
    text = (root / name).read_text(encoding="utf-8")
    return text, tuple(header for header in INCLUDE.findall(text) if (root / header).is_file())


def fingerprint(root, name, command, settings):
    digest = hashlib.sha256(settings + command.encode())
    seen, waiting = set(), [name]
    while waiting:
        current = waiting.pop()
        if current not in seen:
            seen.add(current)
            waiting += read(root, current)[1]
    for current in sorted(seen):
        digest.update(f"\n{current}\n".encode() + read(root, current)[0].encode())
    return digest.hexdigest()


def run(build, path):
    result = subprocess.run([PROGRAM, "--quiet", "--warnings-as-errors=*", "-p", str(build), path],
                            capture_output=True, text=True, check=False)
    return result.returncode == 0, result.stdout + ("" if result.returncode == 0 else result.stderr)


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    root = pathlib.Path(__file__).resolve().parent.parent
    wanted = {(root / name).resolve() for name in sys.argv[2:]}
    stamps = build / "tidy"
    stamps.mkdir(exist_ok=True)
    version = subprocess.run([PROGRAM, "--version"], capture_output=True, check=True).stdout
    settings = version + (root / ".clang-tidy").read_bytes()

    waiting = []
    for entry in json.loads((build / "compile_commands.json").read_text(encoding="utf-8")):
        path = pathlib.Path(entry["directory"], entry["file"]).resolve()
        if not path.is_relative_to(root) or path.is_relative_to(build):
            continue
        name = path.relative_to(root).as_posix()
        if name.split("/")[0] not in FOLDERS or (wanted and path not in wanted):
            continue
        stamp = stamps / (name.replace("/", "-") + ".stamp")
        mark = fingerprint(root, name, entry["command"], settings)
        if not stamp.is_file() or stamp.read_text() != mark:
            waiting.append((name, path, stamp, mark))

    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = pool.map(lambda item: run(build, str(item[1])), waiting)
        for number, ((name, _, stamp, mark), (passed, output)) in enumerate(zip(waiting, results), 1):
            if passed:
                stamp.write_text(mark)
            else:
                failed += 1
                print(output, flush=True)
            print(f"[{number}/{len(waiting)}] {name}", flush=True)
    print(f"clang-tidy: {failed} of {len(waiting)} sources with findings." if failed else "clang-tidy: no findings.")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
