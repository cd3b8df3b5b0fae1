"""Checks that the version number is the same everywhere."""

import re
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]


def text(name):
    return (SOURCE / name).read_text(encoding="utf-8")


VERSION = re.search(r'kVersion\[\] = "(.+)"', text("Src/App/Release.h"))[1]


class Numbers(unittest.TestCase):
    def test_newest_section_of_the_changes_is_that_of_the_program(self):
        sections = re.findall(r"(?m)^## (\d\S*)", text("CHANGELOG.md"))
        self.assertEqual(sections[0], VERSION)

    def test_packages_are_named_after_the_version_of_the_program(self):
        pages = ["README.md", "CONTRIBUTING.md", "docs/manual/15-install.md", "docs/manual/17-windows.md"]
        for system in ("linux", "windows"):
            named = [found for page in pages for found in re.findall(rf"Ostravel-(\d[\d.]*)-{system}-", text(page))]
            self.assertEqual(set(named), {VERSION}, system)


if __name__ == "__main__":
    unittest.main()
