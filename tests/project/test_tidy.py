#!/usr/bin/python3
"""clang-tidy over the sources of the program, its core and the tile service: no finding.

Looked at is what differs from the main branch, or on that branch itself what its last commits changed, the newest
first and as many as some minutes allow. With --all it is everything, which takes a quarter of an hour and more. What
there was no time for is named.
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
BUDGET = 8 * 60  # seconds in which a source may be begun
SKIPPED = 77

# Of GCC alone: clang does not read its precompiled headers.
DROPPED = {"-Winvalid-pch", "-fpch-preprocess", "-flto=auto", "-ffat-lto-objects", "-fno-fat-lto-objects"}


def git(*arguments):
    done = subprocess.run(["git", "-C", SOURCE, *arguments], capture_output=True, text=True)
    return done.stdout.split("\n") if done.returncode == 0 else None


def first_line(lines):
    return lines[0] if lines else None


def changed_files():
    """Paths relative to the top that differ from where this line of work began, the newest change first; None where git
    cannot tell."""
    head = first_line(git("rev-parse", "HEAD"))
    if not head:
        return None
    for main in ("origin/HEAD", "origin/main", "main"):
        base = first_line(git("merge-base", "HEAD", main))
        if base and base != head:
            break
    else:
        # A clone without history has all of it in one commit.
        base = first_line(git("rev-parse", "-q", "--verify", f"HEAD~{COMMITS}"))
    if not base:
        return None
    names = (git("diff", "--name-only", "HEAD") + git("ls-files", "-o", "--exclude-standard")
             + git("log", "-m", "--format=", "--name-only", f"{base}..HEAD"))
    return list(dict.fromkeys(name for name in names if name))


def command_of(entry):
    """The entry's command as clang understands it: no compiler cache, no precompiled header."""
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
    """The commands of our own sources, by their paths relative to the top."""
    commands = {}
    for entry in json.loads((build / "compile_commands.json").read_text(encoding="utf-8")):
        try:
            name = Path(entry["file"]).resolve().relative_to(SOURCE).as_posix()
        except ValueError:
            continue
        if name.startswith(FOLDERS):
            commands[name] = {"directory": entry["directory"], "file": entry["file"], "arguments": command_of(entry)}
    return commands


def wanted(commands, changed):
    """A changed header is looked at through the source of its name."""
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
    names = wanted(commands, None if options.all else changed_files())
    print(f"{len(names)} of {len(commands)} sources")
    with tempfile.TemporaryDirectory(prefix="tidy-") as folder:
        path = Path(folder) / "compile_commands.json"
        path.write_text(json.dumps(list(commands.values())), encoding="utf-8")

        def look(name):
            if not options.all and time.monotonic() > end:
                return None
            return subprocess.run([options.tidy, "--quiet", "-p", folder, SOURCE / name], capture_output=True,
                                  text=True)

        end = time.monotonic() + BUDGET
        failed = []
        left = []
        with ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
            for name, done in zip(names, pool.map(look, names)):
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
