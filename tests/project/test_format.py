#!/usr/bin/python3
"""Checks that every source is formatted according to .clang-format: test_format.py CLANG-FORMAT."""

import subprocess
import sys
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
SKIPPED = 77


def main():
    listed = subprocess.run(["git", "-C", SOURCE, "ls-files", "-z", "*.h", "*.cpp"], capture_output=True, text=True)
    if listed.returncode != 0:
        print("skipped: no checkout of git's")
        return SKIPPED
    names = [name for name in listed.stdout.split("\0") if name and (SOURCE / name).exists()]
    if not names:
        print("git names no source")
        return 1
    done = subprocess.run([sys.argv[1], "--dry-run", "-Werror", *names], cwd=SOURCE, capture_output=True, text=True)
    if done.returncode != 0:
        print(done.stderr, "The target \"format\" mends it.", sep="\n")
    return done.returncode


if __name__ == "__main__":
    sys.exit(main())
