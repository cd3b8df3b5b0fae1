#!/usr/bin/python3
"""Runs the commands of README and CONTRIBUTING in a fresh clone and checks that none leaves a file in the tree.

check_clean_tree.py [--list] [PATTERN...]

Without a pattern it runs all commands, which takes hours; a pattern chooses those that contain it. A file counts when
"git status" shows it: new ones, and changed ones unless the command is there to change them. The test
project_clean_tree runs the quick commands and checks that the table below has every command of the pages.
"""

import argparse
import fnmatch
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path
from typing import NamedTuple

SOURCE = Path(__file__).resolve().parent.parent


class Command(NamedTuple):
    line: str
    changes: tuple = ()  # patterns of tracked files that it is there to change
    quick: bool = False  # takes seconds


COMMANDS = (
    Command("./run.sh --help", quick=True),
    Command("./test.sh --help", quick=True),
    Command("./bench.sh --help", quick=True),
    Command("docs/screenshots.sh --help", quick=True),
    Command("packaging/linux/build.sh --help", quick=True),
    Command("packaging/windows/build.sh --help", quick=True),
    Command("packaging/windows/smoke.sh --help", quick=True),
    Command("packaging/check_reproducible.sh --help", quick=True),
    Command("packaging/linux/check_bare_root.sh --help", quick=True),
    Command("scripts/check_clean_tree.py --list", quick=True),
    Command("cmake --preset debug", quick=True),
    Command("PYTHONPATH=python /usr/bin/python3 -c 'import ostravel.errors' || true", quick=True),
    Command("./run.sh --build-only"),
    Command("env -u DISPLAY -u WAYLAND_DISPLAY ./run.sh"),
    Command("cmake --preset debug && cmake --build build/debug --target TestChannelStore"),
    Command("ctest --test-dir build/debug -R TestChannelStore"),
    Command("tests/project/test_tidy.py build/debug"),
    Command("cmake --build build/debug --target api-docs"),
    Command("ninja -C build/debug api-docs"),
    Command("ninja -C build/debug format"),
    Command("./test.sh -- -R Store"),
    Command("./test.sh -- -R e2e_first_flight"),
    Command("./test.sh -- -LE e2e"),
    Command("./test.sh"),
    Command("./test.sh --asan"),
    Command("./test.sh --tsan"),
    Command(".ci/run"),
    Command("tests/fuzz/run.sh 1"),
    Command("./bench.sh switch dialog"),
    Command("./bench.sh"),
    Command("bench/profile.sh start"),
    Command("bench/profile.sh"),
    Command("ninja -C build/release package"),
    Command("cmake --install build/release --prefix build/installed"),
    Command("packaging/linux/build.sh"),
    Command("packaging/windows/build.sh"),
    Command("packaging/windows/smoke.sh"),
    Command("packaging/check_reproducible.sh"),
    Command("packaging/linux/check_bare_root.sh"),
    Command("docs/screenshots.sh calculators", ("docs/screens/*",)),
    Command("docs/screenshots.sh", ("docs/screens/*",)),
    Command("scripts/take_screenshots.py build/release/bin docs/screens", ("docs/screens/*",)),
    Command("scripts/take_python_pictures.py build/release/bin docs/python", ("docs/python/*",)),
)


def run(command, tree):
    """What is wrong after a command, as lines."""
    done = subprocess.run(["bash", "-c", command.line], cwd=tree, capture_output=True, text=True, check=False)
    lines = []
    if done.returncode != 0:
        lines.append(f"exit code {done.returncode}: {(done.stdout + done.stderr)[-2000:]}")
    status = subprocess.run(["git", "status", "--porcelain", "--untracked-files=all"], cwd=tree, capture_output=True,
                            text=True, check=True).stdout
    for entry in status.splitlines():
        kind, name = entry[:2], entry[3:]
        if kind == "??" or not any(fnmatch.fnmatchcase(name, pattern) for pattern in command.changes):
            lines.append(f"{'new' if kind == '??' else 'changed'} file {name}")
    # The next command starts with a clean tree; ignored files stay, such as the build.
    subprocess.run(["git", "checkout", "--quiet", "."], cwd=tree, check=True)
    subprocess.run(["git", "clean", "-qfd"], cwd=tree, check=True)
    return lines


def clone(tree):
    """The last commit, with the changes of this tree to the files that git knows."""
    subprocess.run(["git", "clone", "--quiet", SOURCE, tree], check=True)
    changes = subprocess.run(["git", "-C", SOURCE, "diff", "--binary", "HEAD"], capture_output=True, check=True).stdout
    if changes:
        subprocess.run(["git", "-C", tree, "apply", "--index"], input=changes, check=True)
        subprocess.run(["git", "-C", tree, "-c", "user.name=x", "-c", "user.email=x", "commit", "--quiet", "-m", "changes"],
                       check=True)


def main():
    parser = argparse.ArgumentParser(description="Runs the commands of README and CONTRIBUTING in a fresh clone.")
    parser.add_argument("--list", action="store_true", help="print the commands")
    parser.add_argument("patterns", nargs="*", metavar="PATTERN")
    arguments = parser.parse_args()
    chosen = [command for command in COMMANDS
              if not arguments.patterns or any(pattern in command.line for pattern in arguments.patterns)]
    if arguments.list:
        print("\n".join(command.line for command in chosen))
        return 0
    folder = Path(tempfile.mkdtemp(prefix="clean-tree-"))
    failed = False
    try:
        clone(folder / "tree")
        for command in chosen:
            lines = run(command, folder / "tree")
            failed = failed or bool(lines)
            print(f"{'FAILED' if lines else 'clean'}: {command.line}", *(f"    {line}" for line in lines), sep="\n",
                  flush=True)
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    return int(failed)


if __name__ == "__main__":
    sys.exit(main())
