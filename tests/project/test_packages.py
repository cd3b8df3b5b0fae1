"""Checks what makes a package trustworthy: equal sources give equal bytes, and a list names all that is inside."""

import gzip
import hashlib
import io
import os
import re
import shutil
import subprocess
import sys
import tarfile
import tempfile
import unittest
import zipfile
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCE / "packaging"))

import compare_packages  # noqa: E402
import contents  # noqa: E402

ELF = b"\x7fELF" + bytes(60)
DLL = b"MZ" + bytes(60)

# What Debian's copyright files call the licences.
DEBIAN_LICENCES = {
    "BSD-2-Clause": "BSD-2-clause", "BSD-3-Clause": "BSD-3-clause", "BSL-1.0": "BSL-1.0", "CC-BY-4.0": "CC-BY-4.0",
    "GPL-3.0-or-later": "GPL-3+", "MIT": "Expat", "Zlib": "Zlib", "blessing": "public-domain", "ZPL-2.1": "ZPL-2.1",
    "LGPL-3.0-only": "LGPL-3", "GPL-2.0-only": "GPL-2", "FTL": "FTL", "IJG": "IJG", "libpng-2.0": "libpng",
}

PROJECT = """
cmake_minimum_required(VERSION 3.25)
project(Twice LANGUAGES CXX)
include("{source}/cmake/BuildOptions.cmake")
set(CMAKE_AUTOMOC OFF)
set(CMAKE_AUTOUIC OFF)
add_executable(twice main.cpp other.cpp)
target_link_libraries(twice PRIVATE build_options link_time_optimisation)
"""


class ScratchTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="packages-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def write(self, name, data):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data if isinstance(data, bytes) else data.encode())
        return path


class Build(ScratchTest):
    def test_program_is_the_same_from_two_folders(self):
        found = []
        for name in ("first", "another folder/with a longer name"):
            self.write(f"{name}/CMakeLists.txt", PROJECT.format(source=SOURCE))
            self.write(f"{name}/main.cpp", "#include <cstdio>\nconst char *file();\nnamespace { struct Start { Start() "
                                           "{ std::puts(file()); } } start; }\nint main() { std::puts(__FILE__); }\n")
            self.write(f"{name}/other.cpp", "const char *file();\nconst char *file() { return __FILE__; }\n")
            made = self.folder / name / "build"
            for command in (["cmake", "-G", "Ninja", "-S", self.folder / name, "-B", made, "-DCMAKE_BUILD_TYPE=Release",
                             "-DOSTRAVEL_LTO=ON"], ["cmake", "--build", made]):
                done = subprocess.run(command, capture_output=True, text=True, check=False,
                                      env={**os.environ, "CCACHE_DISABLE": "1"})
                self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
            found.append((made / "twice").read_bytes())
            # The name is still there for whoever reads a log.
            self.assertEqual(subprocess.run([made / "twice"], check=True, capture_output=True, text=True).stdout,
                             "other.cpp\nmain.cpp\n")
        self.assertNotIn(str(self.folder).encode(), found[0])
        self.assertEqual(*found)


class Comparison(ScratchTest):
    def tarball(self, name, *, order=("a", "b"), time=1000000000, mode=0o644, owner=0, data=b"the same text\0\1", level=9):
        stream = io.BytesIO()
        with tarfile.open(fileobj=stream, mode="w", format=tarfile.GNU_FORMAT) as archive:
            for member in order:
                entry = tarfile.TarInfo(f"top/{member}")
                entry.mtime, entry.mode, entry.uid, entry.size = time, mode, owner, len(data)
                archive.addfile(entry, io.BytesIO(data))
        return self.write(name, gzip.compress(stream.getvalue(), level, mtime=0))

    def zip(self, name, time, data=b"text"):
        with zipfile.ZipFile(self.folder / name, "w") as archive:
            archive.writestr(zipfile.ZipInfo("top/a", time), data)
        return self.folder / name

    def said(self, first, second):
        done = subprocess.run([sys.executable, "-B", SOURCE / "packaging/compare_packages.py", first, second],
                              capture_output=True, text=True, check=False)
        self.assertEqual(done.stderr, "")
        return done.returncode, done.stdout.splitlines()

    def test_equal_packages_pass_with_their_hash(self):
        first = self.tarball("first.tar.gz")
        digest = hashlib.sha256(first.read_bytes()).hexdigest()
        self.assertEqual(self.said(first, self.tarball("second.tar.gz")),
                         (0, [f"first.tar.gz: equal, SHA-256 {digest}"]))

    def test_each_difference_is_named(self):
        first = self.tarball("first.tar.gz")
        for change, line in (
                ({"time": 1000000060}, "top/a: time 2001-09-09T01:46:40Z and 2001-09-09T01:47:40Z"),
                ({"mode": 0o600}, "top/a: permissions 0o644 and 0o600"),
                ({"owner": 7}, "top/a: owner (0, 0, '', '') and (7, 0, '', '')"),
                ({"order": ("b", "a")}, "the order differs from top/a and top/b on"),
                ({"order": ("a",)}, "top/b: only in the first"),
                ({"order": ("a", "b", "c")}, "top/c: only in the second"),
                ({"data": b"the same text\0\2"}, "top/a: byte 14, sizes 15 and 15"),
                ({"data": b"the same text"}, "top/a: byte 13, sizes 15 and 13"),
                ({"data": b"another text\0\1"}, "top/a: only in the second: another text"),
                ({"level": 1}, "the archive itself: byte 8, ")):
            with self.subTest(line):
                code, said = self.said(first, self.tarball("second.tar.gz", **change))
                self.assertEqual(code, 1)
                self.assertTrue(any(found.startswith(line) for found in said), said)
                self.assertEqual(said[-1], "first.tar.gz: the packages differ")

    def test_zips_are_compared(self):
        first = self.zip("first.zip", (2001, 9, 9, 1, 46, 40))
        self.assertEqual(self.said(first, self.zip("second.zip", (2001, 9, 9, 1, 46, 40)))[0], 0)
        code, said = self.said(first, self.zip("third.zip", (2001, 9, 9, 1, 46, 42)))
        self.assertEqual(code, 1)
        self.assertIn("top/a: time (2001, 9, 9, 1, 46, 40) and (2001, 9, 9, 1, 46, 42)", said)


class Contents(ScratchTest):
    def setUp(self):
        super().setUp()
        for component in contents.COMPONENTS["linux"]:
            self.write(f"licences/{component.package}.txt", "text\n")
        self.write("Ostravel", ELF)
        self.write("Leaflet/leaflet.js", "L = 1;\n")
        self.write("Leaflet/demo.js", "demo();\n")

    def run_it(self, *arguments):
        return subprocess.run([sys.executable, "-B", SOURCE / "packaging/contents.py", "--system", "linux", "--version",
                               "1.2.3", *arguments, self.folder], capture_output=True, text=True, check=False)

    def rows(self, *arguments):
        done = self.run_it(*arguments)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        text = (self.folder / "CONTENTS.txt").read_text(encoding="utf-8")
        return text, [tuple(cell.strip() for cell in line.split(" | ")) for line in text.splitlines() if " | " in line]

    def test_components_have_version_licence_and_text(self):
        text, rows = self.rows()
        self.assertRegex(text, r"\AOstravel 1\.2\.3 for linux, from commit [0-9a-f]{40}(, with changes)?\n")
        self.assertIn(("Ostravel", "1.2.3", "GPL-3.0-or-later", "LICENSE"), rows)
        version = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", "libjs-leaflet"], capture_output=True, text=True,
                                 check=True).stdout
        self.assertIn(("Leaflet", version, "BSD-2-Clause", "licences/libjs-leaflet.txt"), rows)

    def test_files_have_hash_and_component(self):
        rows = self.rows()[1]
        for name, component, data in (("Ostravel", "Ostravel", ELF), ("Leaflet/leaflet.js", "Leaflet", b"L = 1;\n"),
                                      ("Leaflet/demo.js", "Ostravel", b"demo();\n")):
            self.assertIn((hashlib.sha256(data).hexdigest(), component, name), rows)

    def test_second_run_gives_the_same(self):
        self.assertEqual(self.rows(), self.rows())

    def test_only_files_of_the_manifest_are_listed(self):
        self.write("someone/elses.so", ELF)
        other = Path(tempfile.mkdtemp(prefix="manifest-"))
        self.addCleanup(shutil.rmtree, other)
        manifest = other / "manifest"
        manifest.write_text("/usr;/usr/Ostravel;/usr/Leaflet/demo.js", encoding="utf-8")
        self.assertEqual([row[2] for row in self.rows("--manifest", manifest)[1] if len(row[0]) == 64],
                         ["Leaflet/demo.js", "Ostravel"])

    def test_library_without_a_component_is_refused(self):
        self.write("libforeign.so.1", ELF)
        done = self.run_it()
        self.assertEqual(done.returncode, 1)
        self.assertIn("libforeign.so.1 belongs to no component", done.stderr)
        self.assertFalse((self.folder / "CONTENTS.txt").exists())

    def test_library_in_a_wheel_needs_a_component(self):
        (self.folder / "python").mkdir()
        with zipfile.ZipFile(self.folder / "python/ostravel-1.2.3-py3-none-any.whl", "w") as wheel:
            wheel.writestr("ostravel/libostravel.so.1", ELF)
            wheel.writestr("ostravel/__init__.py", "")
        self.assertIn((hashlib.sha256(ELF).hexdigest(), "Ostravel",
                       "python/ostravel-1.2.3-py3-none-any.whl:ostravel/libostravel.so.1"), self.rows()[1])
        with zipfile.ZipFile(self.folder / "python/ostravel-1.2.3-py3-none-any.whl", "a") as wheel:
            wheel.writestr("ostravel/libforeign.so.1", ELF)
        self.assertIn("libforeign.so.1 belongs to no component", self.run_it().stderr)

    def test_missing_licence_text_is_refused(self):
        (self.folder / "licences/libcli11-dev.txt").unlink()
        done = self.run_it()
        self.assertEqual(done.returncode, 1)
        self.assertIn("CLI11 has no licence text", done.stderr)


class WindowsContents(ScratchTest):
    def test_libraries_of_the_package_are_assigned(self):
        table = contents.COMPONENTS["windows"]
        for name, component in (("Qt5Core.dll", "Qt"), ("Qt5Sql.dll", "Qt"), ("Qt5Svg.dll", "Qt SVG"),
                                ("plugins/imageformats/qsvg.dll", "Qt SVG"), ("plugins/imageformats/qjpeg.dll", "Qt"),
                                ("plugins/imageformats/qgif.dll", "Qt"), ("plugins/iconengines/qsvgicon.dll", "Qt SVG"),
                                ("libstdc++-6.dll", "GCC runtime"), ("libwinpthread-1.dll", "mingw-w64 runtime"),
                                ("Ostravel.exe", "Ostravel"), ("foreign.dll", None), ("Qt5WebEngineCore.dll", None)):
            with self.subTest(name):
                self.assertEqual(contents.owner(name, DLL[:4], table), component)

    def stages(self):
        """The stages of deps.sh with their packages."""
        script = (SOURCE / "packaging/windows/deps.sh").read_text(encoding="utf-8")
        packages = re.search(r"declare -A packages_of=\(\n(.*?)\n\)", script, re.S)[1]
        return {stage: names.split() for stage, names in re.findall(r'\[(\w+)\]="([^"]*)"', packages)}

    def test_every_library_that_is_built_has_a_component(self):
        stages = self.stages()
        self.assertIn("qtbase", stages)
        table = contents.COMPONENTS["windows"]
        self.assertEqual(set(stages) - {component.stage for component in table}, set())
        for stage, packages in stages.items():
            listed = {component.package for component in table if component.stage in (stage, "sqlite3", "boost")}
            # The package "libboost-dev" only depends on the one with the headers.
            self.assertEqual(set(packages) - listed - {"libboost-dev"}, set(), stage)

    def test_stage_without_a_component_is_refused(self):
        for component in contents.COMPONENTS["windows"]:
            self.write(f"licenses/{component.stage or '.'}/{component.package}.txt", "text\n")
            self.write(f"licenses/{component.package}.txt", "text\n")
        self.assertEqual(contents.contents(self.folder, "windows", "1.2.3")[1], [])
        self.write("licenses/foreign/foreign.txt", "text\n")
        self.assertEqual(contents.contents(self.folder, "windows", "1.2.3")[1], ["the library foreign has no component"])

    def test_library_without_a_licence_text_is_refused(self):
        for component in contents.COMPONENTS["windows"]:
            if component.stage != "geographiclib":
                self.write(f"licenses/{component.stage or '.'}/{component.package}.txt", "text\n")
                self.write(f"licenses/{component.package}.txt", "text\n")
        self.assertEqual(contents.contents(self.folder, "windows", "1.2.3")[1], ["GeographicLib has no licence text"])


class Licences(unittest.TestCase):
    def test_licences_are_those_of_debians_copyright_files(self):
        checked = 0
        for component in {entry for table in contents.COMPONENTS.values() for entry in table}:
            path = Path("/usr/share/doc") / component.package / "copyright"
            if not path.exists() or component.name in ("GCC runtime",):  # no machine-readable file
                continue
            text = path.read_text(encoding="utf-8").lower()
            for name in re.split(r" (?:AND|OR) ", component.licence):
                self.assertIn(DEBIAN_LICENCES[name].lower(), text, component)
            checked += 1
        self.assertGreaterEqual(checked, 6)


if __name__ == "__main__":
    unittest.main()
