#!/usr/bin/python3
"""Checks that clang-tidy reports nothing for the sources of the program, the core and the tile service.

Checks the files that differ from the main branch; on the main branch, the files changed by the last commits, newest
first, until the time limit. --all checks all files, which takes at least 15 minutes. Lists the files that were not
checked in time.
"""

import argparse
import json
import os
import shlex
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
FOLDERS = ("Src/", "capi/", "core/", "wmts/")
COMMITS = 10
BUDGET = 8 * 60  # seconds after which no further check starts
SKIPPED = 77

# GCC only; clang cannot read GCC's precompiled headers.
DROPPED = {"-Winvalid-pch", "-fpch-preprocess", "-flto=auto", "-ffat-lto-objects", "-fno-fat-lto-objects"}


def git(*arguments):
    done = subprocess.run(["git", "-C", SOURCE, *arguments], capture_output=True, text=True)
    return done.stdout.split("\n") if done.returncode == 0 else None


def first_line(lines):
    return lines[0] if lines else None


def changed_files():
    """Changed paths relative to the top folder, newest change first. None if git has no answer."""
    head = first_line(git("rev-parse", "HEAD"))
    if not head:
        return None
    for main in ("origin/HEAD", "origin/main", "main"):
        base = first_line(git("merge-base", "HEAD", main))
        if base and base != head:
            break
    else:
        # In a clone without history, one commit contains all files.
        base = first_line(git("rev-parse", "-q", "--verify", f"HEAD~{COMMITS}"))
    if not base:
        return None
    names = (git("diff", "--name-only", "HEAD") + git("ls-files", "-o", "--exclude-standard")
             + git("log", "-m", "--format=", "--name-only", f"{base}..HEAD"))
    return list(dict.fromkeys(name for name in names if name))


def command_of(entry):
    """The entry's command for clang, without compiler cache and precompiled header."""
    words = shlex.split(entry["command"]) if "command" in entry else list(entry["arguments"])
    while not Path(words[0]).name.endswith(("g++", "c++", "clang++")):
        words.pop(0)
    kept = []
    while words:
        word = words.pop(0)
        if word == "-include" and words[0].endswith("cmake_pch.hxx"):
            words.pop(0)
        elif word not in DROPPED:
            kept.append(word)
    return kept


def database(build):
    """The commands of the project's sources by path relative to the top folder."""
    commands = {}
    for entry in json.loads((build / "compile_commands.json").read_text(encoding="utf-8")):
        try:
            name = Path(entry["file"]).resolve().relative_to(SOURCE).as_posix()
        except ValueError:
            continue
        if name.startswith(FOLDERS):
            commands[name] = {"directory": entry["directory"], "file": entry["file"], "arguments": command_of(entry)}
    return commands


def sources_to_check(commands, changed):
    """The sources to check. A changed header is checked through the source with the same name."""
    if changed is None:
        return sorted(commands)
    stems = dict.fromkeys(name.rsplit(".", 1)[0] for name in changed)
    by_stem = {name.rsplit(".", 1)[0]: name for name in commands}
    return [by_stem[stem] for stem in stems if stem in by_stem]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=Path, help="folder of a build with compile_commands.json")
    parser.add_argument("--tidy", default="clang-tidy", help="the program")
    parser.add_argument("--all", action="store_true", help="every source")
    options = parser.parse_args()

    if not (options.build / "compile_commands.json").exists():
        print("skipped: the build has no compile_commands.json")
        return SKIPPED
    commands = database(options.build)
    if not commands:
        print("the build knows none of our sources")
        return 1
    names = sources_to_check(commands, None if options.all else changed_files())
    print(f"{len(names)} of {len(commands)} sources")
    with tempfile.TemporaryDirectory(prefix="tidy-") as folder:
        path = Path(folder) / "compile_commands.json"
        path.write_text(json.dumps(list(commands.values())), encoding="utf-8")

        def check_source(name):
            if not options.all and time.monotonic() > end:
                return None
            return subprocess.run([options.tidy, "--quiet", "-p", folder, SOURCE / name], capture_output=True,
                                  text=True)

        end = time.monotonic() + BUDGET
        failed = []
        left = []
        with ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
            for name, done in zip(names, pool.map(check_source, names)):
                if done is None:
                    left.append(name)
                elif done.returncode != 0:
                    failed.append(name)
                    print(done.stdout + done.stderr, flush=True)
    if left:
        print("no time for", ", ".join(left))
    if failed:
        print("findings in", ", ".join(failed))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
