#!/usr/bin/env python3
"""Writes CONTENTS.txt into the folder of a package: its components with their versions and licences, the libraries that
it needs of the system, and all files with their hashes.

contents.py --system linux --version 2.3.2 [--manifest FILE] FOLDER

FILE lists the files of the package, separated by semicolons; without it they are all files of the folder. Fails when a program or library belongs to no component of the table below, or when a licence text is missing.
"""

import argparse
import fnmatch
import hashlib
import re
import shutil
import subprocess
import sys
import zipfile
from pathlib import Path
from typing import NamedTuple

SOURCE = Path(__file__).resolve().parent.parent
NAME = "CONTENTS.txt"
OWN = "Ostravel"


class Component(NamedTuple):
    name: str
    package: str  # of Debian: gives the version
    licence: str  # as an SPDX expression
    files: tuple = ()  # patterns; without any, the component is compiled into the programs
    stage: str = ""  # of packaging/windows/deps.sh


LEAFLET = Component("Leaflet", "libjs-leaflet", "BSD-2-Clause",
                    ("Leaflet/leaflet.js", "Leaflet/leaflet.css", "Leaflet/images/*"))
STYLE = Component("QDarkStyleSheet", "python3-qdarkstyle", "MIT AND CC-BY-4.0")
BOOST = Component("Boost (Asio, Beast)", "libboost1.74-dev", "BSL-1.0", stage="boost")
CLI11 = Component("CLI11", "libcli11-dev", "BSD-3-Clause", stage="cli11")
FMT = Component("fmt", "libfmt-dev", "MIT", stage="logging")
SPDLOG = Component("spdlog", "libspdlog-dev", "MIT", stage="logging")

COMPONENTS = {
    # The other libraries come from the system.
    "linux": (LEAFLET, STYLE, BOOST, CLI11, FMT, SPDLOG),
    "windows": (
        Component("Qt", "qtbase5-dev", "LGPL-3.0-only OR GPL-2.0-only",
                  ("Qt5Core.dll", "Qt5Gui.dll", "Qt5PrintSupport.dll", "Qt5Sql.dll", "Qt5Widgets.dll",
                   "plugins/platforms/*", "plugins/styles/*", "plugins/sqldrivers/*", "plugins/printsupport/*",
                   "plugins/imageformats/q[!s]*.dll"), "qtbase"),
        # Their versions are those of Qt's sources, and their licences are in its text.
        Component("parts of Qt: FreeType, HarfBuzz, libjpeg-turbo, libpng, PCRE2, zlib, double-conversion", "qtbase5-dev",
                  "FTL AND MIT AND IJG AND libpng-2.0 AND BSD-3-Clause AND Zlib", stage="qtbase"),
        Component("Qt SVG", "libqt5svg5-dev", "LGPL-3.0-only OR GPL-2.0-only",
                  ("Qt5Svg.dll", "plugins/imageformats/qsvg.dll", "plugins/iconengines/qsvgicon.dll"), "qtsvg"),
        Component("GCC runtime", "gcc-mingw-w64-x86-64-posix-runtime", "GPL-3.0-or-later WITH GCC-exception-3.1",
                  ("libgcc_s_seh-1.dll", "libstdc++-6.dll")),
        Component("mingw-w64 runtime", "mingw-w64-x86-64-dev", "ZPL-2.1 AND MIT AND BSD-3-Clause",
                  ("libwinpthread-1.dll",)),
        Component("zlib", "libz-mingw-w64", "Zlib", ("zlib1.dll",)),
        Component("QCustomPlot", "libqcustomplot-dev", "GPL-3.0-or-later", stage="qcustomplot"),
        Component("GeographicLib", "libgeographiclib-dev", "MIT", stage="geographiclib"),
        Component("double-conversion", "libdouble-conversion-dev", "BSD-3-Clause", stage="double_conversion"),
        Component("minizip", "libminizip-dev", "Zlib", stage="minizip"),
        Component("SQLite", "libsqlite3-dev", "blessing", stage="sqlite3"),
        LEAFLET, STYLE, BOOST, CLI11, FMT, SPDLOG,
    ),
}

# Programs and libraries of our own. Files that are neither are our own, too, unless a component has them.
OWN_BINARIES = (
    "Ostravel", "Ostravel.exe", "wmts.exe", "ostravel-convert", "ostravel-convert.exe", "ostravel-demo", "libostravel.so*",
    "libostravel_web.so", "ostravel.dll", "lib/libostravel.dll.a", "python/ostravel-*.whl",
)
LICENCE_FOLDERS = ("licences", "licenses")


def is_binary(head):
    return head[:4] in (b"\x7fELF", b"!<ar", b"PK\3\4") or head[:2] == b"MZ"


def matches(name, patterns):
    return any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns)


def owner(name, head, components):
    """The component of a file, or None for a program or library that nothing is known of."""
    # The more special one is the last of the table.
    for component in reversed(components):
        if matches(name, component.files):
            return component.name
    return OWN if matches(name, OWN_BINARIES) or not is_binary(head) else None


def debian_version(package):
    if shutil.which("dpkg-query") is None:
        return "unknown"
    done = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], capture_output=True, text=True, check=False)
    return done.stdout if done.returncode == 0 and done.stdout else "unknown"


def licence_text(folder, component):
    """The file in the package that holds the licence, relative to its folder, or None."""
    names = [f"{top}/{component.package}.txt" for top in LICENCE_FOLDERS]
    if component.stage:
        names.append(f"licenses/{component.stage}/{component.package}.txt")
    return next((name for name in names if (folder / name).is_file()), None)


def needed_libraries(folder):
    """The libraries of the system with their Debian packages, as the launcher's table names them."""
    launcher = folder / "ostravel.sh"
    if not launcher.is_file():
        return {}
    table = re.search(r"library_packages='\n(.*?)'", launcher.read_text(encoding="utf-8"), re.S)[1]
    return dict(line.split() for line in table.splitlines())


def commit():
    done = subprocess.run(["git", "-C", SOURCE, "status", "--porcelain", "--branch"], capture_output=True, text=True,
                          check=False)
    if done.returncode != 0:
        return "unknown"
    changed = any(not line.startswith("##") for line in done.stdout.splitlines())
    head = subprocess.run(["git", "-C", SOURCE, "rev-parse", "HEAD"], capture_output=True, text=True, check=True)
    return head.stdout.strip() + (", with changes" if changed else "")


def table(rows):
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]) - 1)]
    return "".join(" | ".join([*(cell.ljust(width) for cell, width in zip(row, widths)), row[-1]]) + "\n" for row in rows)


def wheel_members(path):
    """The programs and libraries inside a wheel: name and bytes."""
    with zipfile.ZipFile(path) as wheel:
        for name in sorted(wheel.namelist()):
            data = wheel.read(name)
            if is_binary(data[:4]):
                yield name, data


def packed_files(folder, manifest):
    """The names of the package's files in their order."""
    if manifest is None:
        names = [path.relative_to(folder).as_posix() for path in folder.rglob("*") if path.is_file()]
    else:
        top, *installed = manifest.read_text(encoding="utf-8").split(";")
        names = [Path(path).relative_to(top).as_posix() for path in installed]
    return sorted(set(names) - {NAME})


def file_rows(folder, names, components, problems):
    rows = []

    def add(shown, name, data):
        component = owner(name, data[:4], components)
        if component is None:
            problems.append(f"{shown} belongs to no component")
        rows.append((hashlib.sha256(data).hexdigest(), component or "?", shown))

    for name in names:
        add(name, name, (folder / name).read_bytes())
        if name.endswith(".whl"):
            for member, data in wheel_members(folder / name):
                # The package of Python has the libraries of the folder, under the same names.
                add(f"{name}:{member}", member.split("/", 1)[1], data)
    return rows


def contents(folder, system, version, manifest=None):
    """The text of the file, and what is wrong with the package."""
    problems = []
    components = COMPONENTS[system]
    if system == "windows":
        stages = {path.name for path in (folder / "licenses").iterdir() if path.is_dir()} - {"common"}
        for stage in sorted(stages - {component.stage for component in components}):
            problems.append(f"the library {stage} has no component")

    rows = [("component", "version", "licence", "text of the licence"), (OWN, version, "GPL-3.0-or-later", "LICENSE")]
    for component in components:
        text = licence_text(folder, component)
        if text is None and shutil.which("dpkg-query") is not None:  # elsewhere the texts have other places
            problems.append(f"{component.name} has no licence text")
        rows.append((component.name, debian_version(component.package), component.licence, text or "?"))
    if system == "windows":
        rows[1] = (*rows[1][:3], "licenses/Ostravel.txt")
    parts = [f"{OWN} {version} for {system}, from commit {commit()}\n",
             "Components. Those without a file below are compiled into the programs. Versions are those of Debian's "
             "packages.\n\n" + table(rows)]

    needed = needed_libraries(folder)
    if needed:
        parts.append("Libraries that are not inside: Debian's packages, with the versions of this build.\n\n" + table(
            [("library", "package", "version")]
            + [(library, package, debian_version(package)) for library, package in needed.items()]))
    parts.append("Files: SHA-256, component, name.\n\n" + table(
        file_rows(folder, packed_files(folder, manifest), components, problems)))
    return "\n".join(parts), problems


def main():
    parser = argparse.ArgumentParser(description="Writes CONTENTS.txt into the folder of a package.")
    parser.add_argument("--system", choices=sorted(COMPONENTS), required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--manifest", type=Path)
    parser.add_argument("folder", type=Path)
    arguments = parser.parse_args()
    text, problems = contents(arguments.folder, arguments.system, arguments.version, arguments.manifest)
    if problems:
        sys.exit(f"{arguments.folder}: " + "; ".join(problems))
    (arguments.folder / NAME).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
