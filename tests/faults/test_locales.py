"""Locales with other decimal points, letters and encodings: the same numbers in every file."""

import os
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from faults import FORMATS, TEXT_FILES, ProgramsTest, WindowTest, main, settings, tree
from harness import wait_for

# Name: source, encoding, Python's name of the encoding.
LOCALES = {"de_DE.UTF-8": ("de_DE", "UTF-8", "utf-8"), "tr_TR.UTF-8": ("tr_TR", "UTF-8", "utf-8"),
           "zh_CN.UTF-8": ("zh_CN", "UTF-8", "utf-8"), "zh_CN.GB18030": ("zh_CN", "GB18030", "gb18030")}

folder = None  # of the locales; glibc reads it from LOCPATH


def setUpModule():
    global folder
    made = tempfile.TemporaryDirectory(prefix="locales-")
    unittest.addModuleCleanup(made.cleanup)
    folder = Path(made.name)
    for name, (source, encoding, _) in LOCALES.items():
        subprocess.run(["localedef", "--no-archive", "-i", source, "-f", encoding, folder / name], check=True)


def variables(name):
    return {"LC_ALL": name, "LANG": name, "LOCPATH": str(folder)}


def check_text(test, found, plain, encoding, what):
    """Checks a file of the text export against that of UTF-8: the same labels in the first line, the same numbers."""
    head, _, numbers = plain.partition(b"\n")
    own_head, _, own_numbers = found.partition(b"\n")
    # The labels are in the toolkit's encoding of the locale. Debian's takes UTF-8 in all locales.
    test.assertIn(head.decode("utf-8"), [own_head.decode(each, errors="replace") for each in (encoding, "utf-8")], what)
    test.assertTrue(own_numbers == numbers, what)


class Programs(ProgramsTest):
    def test_locales_are_really_in_use(self):
        shown = {name: subprocess.run(["locale", "-k", "decimal_point", "charmap"], capture_output=True, check=True,
                                      env={**os.environ, **variables(name)}, text=True).stdout for name in LOCALES}
        for name, (_, encoding, _) in LOCALES.items():
            self.assertIn(f'charmap="{encoding}"', shown[name])
            comma = name.startswith(("de", "tr"))
            self.assertIn(f'decimal_point="{"," if comma else "."}"', shown[name])

    def test_converter_writes_the_same_bytes(self):
        log = self.make_demo("log", "flight.txt", "--minutes", "1", "--backup")
        self.assertEqual(self.convert("-f", FORMATS, "--labels", "-o", "plain", log).returncode, 0)
        plain = tree(self.work / "plain")
        for name, (_, _, encoding) in LOCALES.items():
            done = self.convert("-f", FORMATS, "--labels", "-o", name, log, **variables(name))
            self.assertEqual((done.returncode, done.stderr), (0, ""), name)
            found = tree(self.work / name)
            self.assertEqual(set(found), set(plain))
            for file, content in plain.items():
                if not file.endswith(".txt"):
                    self.assertTrue(found[file] == content, f"{file} in {name}")
                    continue
                check_text(self, found[file], content, encoding, f"{file} in {name}")

    def test_converter_reads_the_same_numbers_from_its_command_line_and_prints_them(self):
        log = self.make_demo("log", "flight.txt", "--minutes", "1")
        arguments = ("--json", "--check", "--start", "2023-07-18 09:00:00", "--period", "0x01=1000", log)

        def told(**changes):
            return re.sub(r'"elapsed":[0-9.e-]+', "", self.convert(*arguments, **changes).stdout)

        plain = told()
        self.assertIn("2023-07-18", plain)
        for name in LOCALES:
            self.assertEqual(told(**variables(name)), plain, name)


class Window(WindowTest):
    def test_program_writes_the_same_numbers(self):
        self.make_demo("log", "flight.txt", "--minutes", "2")
        self.make_demo("route", "route.json", "--waypoints", "30")
        results = {name: self.run_in(name) for name in ["C.UTF-8", *LOCALES]}
        plain = results["C.UTF-8"]
        self.assertTrue(set(TEXT_FILES) < {Path(name).name for name in plain})
        for name, (_, _, encoding) in LOCALES.items():
            found = results[name]
            self.assertEqual(set(found), set(plain), name)
            for file, content in plain.items():
                if not file.startswith("flight-export/"):
                    self.assertTrue(found[file] == content, f"{file} in {name}")
                    continue
                check_text(self, found[file], content, encoding, f"{file} in {name}")

    def run_in(self, name):
        """Runs the program in a locale. Returns all files that it wrote."""
        for left in [*self.work.glob("*.xlsx"), *self.work.glob("flight-export/*"), self.config]:
            left.unlink(missing_ok=True)
        with self.running(env={**os.environ, **(variables(name) if name in LOCALES else {})}) as app:
            self.read(app, "flight.txt")
            self.export_both(app)
            self.convert_route(app, "route.json")
            wait_for((self.work / "route.xlsx").exists, "the workbook of the route")
            self.desktop.key("Escape")
            app.wait_until_gone("解析航线", role="push button")
            self.leave(app)
        self.assertEqual(set(settings(self.config)), {"touchMode", "theme", "showFactor"})
        files = {file: content for file, content in tree(self.work).items()
                 if file.startswith(("flight-export/", "flight.xlsx", "route.xlsx"))}
        tracks = {file: content for file, content in tree(self.program.parent / "myPlot").items()
                  if file.startswith("data")}
        return {**files, **tracks, "config.ini": self.config.read_bytes()}


if __name__ == "__main__":
    main()
