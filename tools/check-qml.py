#!/usr/bin/env python3
"""Checks the QML files with qmllint, which learns the types that the Qt Quick platform registers from their headers.

usage: check-qml.py TOP_FOLDER
"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile

REGISTRATION = re.compile(r'qmlRegister(Singleton)?Type<([\w:]+)>\(uri, 1, 0, "(\w+)"')
MODULE = "VideoAnalysis"
# The types that QML files know by themselves come from these modules.
FOREIGN = ("core", "gui", "qml", "quick")
# Unqualified access is not checked: delegates reach the ids around them, which only Qt 6.5 lets a file declare, and the
# program hands itself to its start screen as a context property.
OPTIONS = ["--unqualified", "disable", "--unused-imports", "warning", "--multiline-strings", "warning"]


def query(name):
    return pathlib.Path(subprocess.run(["qtpaths6", "--query", name], check=True, capture_output=True,
                                       text=True).stdout.strip())


def describe(root, folder):
    """Writes the description of the registered types into `folder`, as a module that qmllint can import."""
    tools = query("QT_INSTALL_LIBEXECS")
    platform = root / "Platforms/QtQuick"
    registered = {}
    for source in platform.rglob("*.cpp"):
        for singleton, name, element in REGISTRATION.findall(source.read_text(encoding="utf-8")):
            registered[name.split("::")[-1]] = (element, bool(singleton))
    if not registered:
        sys.exit("No registration of a QML type was found.")

    descriptions = []
    for header in sorted(platform.rglob("*.h")):
        if "Q_OBJECT" not in header.read_text(encoding="utf-8"):
            continue
        # Only the description beside the generated code is of interest.
        output = folder / (header.stem + ".moc")
        subprocess.run([tools / "moc", "--output-json", "-o", output, header], check=True)
        description = json.loads((folder / (header.stem + ".moc.json")).read_text())
        for entry in description["classes"]:
            element, is_singleton = registered.pop(entry["className"], (None, False))
            infos = entry.setdefault("classInfos", [])
            infos.append({"name": "QML.Element", "value": element or "anonymous"})
            if is_singleton:
                infos.append({"name": "QML.Singleton", "value": "true"})
        descriptions.append(description)
    if registered:
        sys.exit(f"No header declares {', '.join(registered)}.")

    # The registrar finds a base class by its full name only.
    full = {entry["className"]: entry["qualifiedClassName"] for file in descriptions for entry in file["classes"]}
    for entry in (entry for file in descriptions for entry in file["classes"]):
        for base in entry.get("superClasses", []):
            base["name"] = full.get(base["name"], base["name"])

    types = folder / "types.json"
    types.write_text(json.dumps(descriptions))
    module = folder / MODULE
    module.mkdir()
    foreign = [query("QT_INSTALL_LIBS") / f"metatypes/qt6{name}_none_metatypes.json" for name in FOREIGN]
    subprocess.run([tools / "qmltyperegistrar", "-o", folder / "registration.cpp", "--import-name", MODULE,
                    "--major-version", "1", "--minor-version", "0", "--generate-qmltypes", module / "plugins.qmltypes",
                    "--foreign-types", ",".join(map(str, foreign)), types], check=True)
    # A value type that QML files only pass on.
    description = (module / "plugins.qmltypes").read_text()
    (module / "plugins.qmltypes").write_text(description.replace(
        "Module {", 'Module {\n    Component { name: "videoanalysis::Image"; accessSemantics: "value" }', 1))
    (module / "qmldir").write_text(f"module {MODULE}\ntypeinfo plugins.qmltypes\ndepends QtQuick\n")


def copy(root, folder):
    """Copies the QML files, with imports from the program's resources made relative; gives their names."""
    names = []
    for path in sorted(path for top in ("Resources", "Host") for path in (root / top).rglob("*.qml")):
        name = path.relative_to(root)
        (folder / name).parent.mkdir(parents=True, exist_ok=True)
        text = path.read_text(encoding="utf-8")
        (folder / name).write_text(text.replace('"qrc:/VideoAnalysis/', '"../Resources/'), encoding="utf-8")
        names.append(name)
    return names


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        describe(root, folder)
        names = copy(root, folder)
        passed = subprocess.run([query("QT_INSTALL_BINS") / "qmllint", *OPTIONS, "-I", folder, *names], cwd=folder,
                                check=False).returncode == 0
    if passed:
        print(f"qmllint: no findings in {len(names)} files.")
    sys.exit(0 if passed else 1)


if __name__ == "__main__":
    main()
