"""Checks that commands of README and CONTRIBUTING leave no file in the tree: the quick ones here, the others by
scripts/check_clean_tree.py."""

import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCE / "scripts"))

import check_clean_tree  # noqa: E402
from check_clean_tree import Command  # noqa: E402

PAGES = ("README.md", "README.zh.md", "CONTRIBUTING.md")
COMMAND = re.compile(r"^(\./\w+\.sh|\.ci/run|ninja|cmake|ctest|(?:docs|packaging|scripts|tests)/\S+\.(?:sh|py)(?=\s|$))")


def commands_of(page):
    """The commands of a page: lines of its shell blocks, and texts between backquotes."""
    text = (SOURCE / page).read_text(encoding="utf-8")
    lines = [line for block in re.findall(r"```sh\n(.*?)```", text, re.S) for line in block.splitlines()]
    inline = [words.replace("\n", " ") for words in re.findall(r"`([^`]+)`", re.sub(r"```.*?```", "", text, flags=re.S))]
    # A Python script alone is the name of a file.
    lines += [words for words in inline if " " in words or not words.endswith(".py")]
    for line in lines:
        for part in line.split("#")[0].split("&&"):
            if COMMAND.match(part.strip()):
                yield part.strip()


def program(command):
    """What tells one command from another: the script, or the tool with its target."""
    words = command.replace("env -u DISPLAY -u WAYLAND_DISPLAY ", "").split()
    return " ".join([words[0], *words[-1:]]) if words[0] == "ninja" else words[0]


class Pages(unittest.TestCase):
    def test_every_command_of_the_pages_is_in_the_table(self):
        known = {program(part.strip()) for command in check_clean_tree.COMMANDS for part in command.line.split("&&")}
        for page in PAGES:
            found = list(commands_of(page))
            self.assertTrue(found, page)
            for command in found:
                # A script without arguments in the running text may only be a mention of a file.
                if (SOURCE / command).is_file() and not (SOURCE / command).stat().st_mode & 0o100:
                    continue
                self.assertIn(program(command), known, f"{page}: {command}")


class Commands(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(tempfile.mkdtemp(prefix="clean-tree-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        cls.tree = cls.folder / "tree"
        check_clean_tree.clone(cls.tree)

    def test_quick_commands_leave_nothing(self):
        quick = [command for command in check_clean_tree.COMMANDS if command.quick]
        self.assertGreater(len(quick), 5)
        for command in quick:
            with self.subTest(command.line):
                self.assertEqual(check_clean_tree.run(command, self.tree), [])

    def test_new_and_changed_files_are_found(self):
        for command, lines in (
                (Command("mkdir logs && echo line > logs/log.txt"), ["new file logs/log.txt"]),
                (Command("echo line >> README.md"), ["changed file README.md"]),
                (Command("echo line >> README.md", ("docs/*",)), ["changed file README.md"]),
                (Command("echo line >> README.md", ("README.md",)), []),
                (Command("echo line > docs/new", ("docs/*",)), ["new file docs/new"]),
                (Command("mkdir -p build && echo line > build/any"), []),
                (Command("exit 3"), ["exit code 3: "])):
            with self.subTest(command.line):
                self.assertEqual(check_clean_tree.run(command, self.tree), lines)


if __name__ == "__main__":
    unittest.main()
