"""Checks that the version number is the same everywhere, and the list of changes fits to it."""

import argparse
import datetime
import re
import subprocess
import sys
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
# Folders and files whose numbers of three parts are all versions of the program.
PLACES = ("README*.md", "CONTRIBUTING.md", "ARCHITECTURE.md", "Src/App/*", "Resources/windows/*", "capi/*", "convert/*",
          "docs/man/*", "docs/manual/*.md", "python/**/*.py", "python/*.md", "packaging/**/*.sh", "packaging/**/*.py")

options = None


def text(name):
    return (SOURCE / name).read_text(encoding="utf-8")


VERSION = re.search(r'kVersion\[\] = "(.+)"', text("Src/App/Release.h"))[1]


class Numbers(unittest.TestCase):
    def test_newest_section_of_the_changes_is_that_of_the_program(self):
        sections = re.findall(r"(?m)^## (\d\S*)", text("CHANGELOG.md"))
        self.assertEqual(sections[0], VERSION)

    def test_packages_are_named_after_the_version_of_the_program(self):
        pages = ["README.md", "README.zh.md", "CONTRIBUTING.md", "docs/manual/15-install.md", "docs/manual/17-windows.md"]
        for system in ("linux", "windows"):
            named = [found for page in pages for found in re.findall(rf"Ostravel-(\d[\d.]*)-{system}-", text(page))]
            self.assertEqual(set(named), {VERSION}, system)

    def test_every_version_in_texts_and_sources_is_that_of_the_program(self):
        found = {}
        for place in PLACES:
            for path in SOURCE.glob(place):
                if path.is_file():
                    for number in re.findall(r"(?<![\w.])v?(\d+\.\d+\.\d+)(?![\d.]*\d)", path.read_text(encoding="utf-8")):
                        found.setdefault(number, set()).add(str(path.relative_to(SOURCE)))
        self.assertGreaterEqual(len(found.get(VERSION, ())), 6, found)
        self.assertEqual(set(found), {VERSION}, found)

    def test_build_has_the_version_of_the_program(self):
        self.assertEqual(options.project_version, VERSION)
        self.assertEqual(subprocess.run([options.converter, "--version"], check=True, capture_output=True, text=True).stdout,
                         f"ostravel-convert {VERSION}\n")
        # ostravel_version(), which is also that of the package of Python.
        self.assertIn(f"\0{VERSION}\0".encode(), options.library.read_bytes())
        interface = re.search(r"#define OSTRAVEL_INTERFACE (\d+)\n", text("capi/ostravel.h"))[1]
        self.assertTrue((options.library.parent / f"libostravel.so.{interface}").exists())


class Changes(unittest.TestCase):
    def setUp(self):
        parts = re.split(r"(?m)^## (.+)\n", text("CHANGELOG.md"))
        self.sections = list(zip(parts[1::2], parts[2::2]))

    def test_only_the_first_section_may_be_unreleased(self):
        for name, _ in self.sections[1:] if self.sections[0][0] == "Unreleased" else self.sections:
            self.assertRegex(name, r"^\d+\.\d+\.\d+ - \d{4}-\d\d-\d\d$")

    def test_versions_and_dates_descend(self):
        dated = [name.split(" - ") for name, _ in self.sections if name != "Unreleased"]
        versions = [tuple(map(int, version.split("."))) for version, _ in dated]
        dates = [datetime.date.fromisoformat(date) for _, date in dated]
        self.assertEqual(versions, sorted(set(versions), reverse=True))
        self.assertEqual(dates, sorted(dates, reverse=True))

    def test_each_section_has_entries_under_the_usual_headings(self):
        for name, body in self.sections:
            headings = re.findall(r"(?m)^### (.+)$", body)
            self.assertEqual(headings, [heading for heading in ("Added", "Changed", "Fixed") if heading in headings], name)
            for entries in re.split(r"(?m)^### .+\n", body)[1:]:
                self.assertRegex(entries, r"(?m)^- \S", name)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--project-version", required=True)
    parser.add_argument("--converter", type=Path, required=True)
    parser.add_argument("--library", type=Path, required=True)
    options, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], *rest])
