#!/usr/bin/python3
"""Mutation testing: changes one token of the program at a time and runs the tests of its folder.

Each mutant is one randomly chosen change (by --seed) in core/ or Src/: a comparison, a constant, a removed call, or two
swapped calls or arguments. It is built in a clone of HEAD under build/mutants. A test that fails, crashes or hangs
kills it. Mutants that cannot change the behaviour are listed with a reason in tests/mutants.txt and count as equivalent.

    scripts/mutate.py --count 300 --seed 1            # everywhere
    scripts/mutate.py --count 20 Src/Plot core/frame  # in these folders
"""

import argparse
import collections
import os
import random
import re
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutants"
TREE = WORK / "tree"
KNOWN = ROOT / "tests" / "mutants.txt"
TEST_LIMIT = 120  # seconds per test program; a hanging mutant counts as killed

Mutant = collections.namedtuple("Mutant", "path line kind before after lines")

COMPARISONS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&"}
ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "+=": "-=", "-=": "+="}
# With spaces on both sides, as clang-format writes binary operators; template brackets have none.
_COMPARISON = re.compile(r"(?<= )(<=|>=|==|!=|&&|\|\||<|>)(?= )")
_ARITHMETIC = re.compile(r"(?<=[\w)\]] )(\+=|-=|\+|-|\*|/)(?= [\w(])")
_CONSTANT = re.compile(r"(?<![\w.'\"])(\d+\.\d+|\d+|true|false)(?![\w.'\"])")
_CALL = re.compile(r"^\s+(?!return|delete|throw|emit$|using|else|if|for|while|case|Q_)"
                   r"(?:emit )?[A-Za-z_][\w.:]*(?:(?:->|\.|::)\w+)*(?:\([^;{}]*\))+;$")
_ARGUMENTS = re.compile(r"(?<=\()([A-Za-z_][\w.]*), ([A-Za-z_][\w.]*)(?=\))")


def code_of(line):
    """The line with string contents and comments replaced by spaces, so that columns do not change."""
    line = re.sub(r'"(?:\\.|[^"\\])*"', lambda found: '"' + " " * (len(found[0]) - 2) + '"', line)
    return re.sub(r"//.*", lambda found: " " * len(found[0]), line)


def constant(text):
    if text in ("true", "false"):
        return "false" if text == "true" else "true"
    return f"{float(text) * 2 + 1:g}" if "." in text else str(int(text) + 1)


def mutants_of(path):
    lines = (TREE / path).read_text(encoding="utf-8").split("\n")
    found = []
    in_comment = False

    def change(number, kind, start, end, after):
        line = lines[number]
        found.append(Mutant(path, number + 1, kind, line.strip(), (line[:start] + after + line[end:]).strip(),
                            {number: line[:start] + after + line[end:]}))

    previous_call = None
    for number, line in enumerate(lines):
        stripped = line.strip()
        if stripped.startswith("/*"):
            in_comment = True
        if in_comment or stripped.startswith(("#", "//", "static_assert", "Q_ASSERT", "template", "using")):
            in_comment = in_comment and "*/" not in line
            previous_call = None
            continue
        code = code_of(line)
        for pattern, kind, replacement in ((_COMPARISON, "comparison", COMPARISONS.get),
                                           (_ARITHMETIC, "arithmetic", ARITHMETIC.get),
                                           (_CONSTANT, "constant", constant)):
            for match in pattern.finditer(code):
                change(number, kind, match.start(1), match.end(1), replacement(match[1]))
        for match in _ARGUMENTS.finditer(code):
            if match[1] != match[2]:
                change(number, "arguments", match.start(), match.end(), f"{match[2]}, {match[1]}")
        indent = len(line) - len(line.lstrip())
        is_call = bool(_CALL.match(code)) and not re.match(r"^\s+(connect|logToBoth|Q_UNUSED)\b", code)
        if is_call:
            change(number, "removed call", indent, len(line), ";")
            if previous_call == (number - 1, indent):
                found.append(Mutant(path, number, "order", lines[number - 1].strip(), line.strip(),
                                    {number - 1: line, number: lines[number - 1]}))
        previous_call = (number, indent) if is_call else None
    return found


def run(command, limit=None, **options):
    try:
        return subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=limit,
                              **options)
    except subprocess.TimeoutExpired:
        return None


def tests_of(path):
    """The test programs of the folder that mirrors the source's folder."""
    folder = path.parent.relative_to("Src") if path.parts[0] == "Src" else path.parent
    return sorted(test.stem for test in (TREE / "tests" / folder).glob("Test*.cpp"))


def prepare(build):
    head = run(["git", "-C", str(ROOT), "rev-parse", "HEAD"]).stdout.strip()
    if not TREE.exists():
        WORK.mkdir(parents=True, exist_ok=True)
        subprocess.run(["git", "clone", "-q", "--shared", str(ROOT), str(TREE)], check=True)
    subprocess.run(["git", "-C", str(TREE), "fetch", "-q", "origin", head], check=True)
    subprocess.run(["git", "-C", str(TREE), "checkout", "-q", "--force", head], check=True)
    subprocess.run(["cmake", "--preset", "debug", "-DOSTRAVEL_WERROR=OFF"], cwd=TREE, check=True,
                   stdout=subprocess.DEVNULL)
    if not build:
        return
    # Built once, so that each mutant only recompiles its own source and relinks.
    subprocess.run(["ninja", "-C", "build/debug", "tests/all"], cwd=TREE, check=True, stdout=subprocess.DEVNULL)


def known_equivalents():
    """Reads lines "path | code before | code after | reason"; the reason is only documentation."""
    if not KNOWN.exists():
        return set()
    rows = (line.split(" | ") for line in KNOWN.read_text(encoding="utf-8").splitlines() if " | " in line)
    return {tuple(cell.strip() for cell in row[:3]) for row in rows}


def verdict(mutant, tests):
    source = TREE / mutant.path
    original = source.read_text(encoding="utf-8")
    lines = original.split("\n")
    for number, text in mutant.lines.items():
        lines[number] = text
    source.write_text("\n".join(lines), encoding="utf-8")
    try:
        if run(["ninja", "-C", "build/debug", *tests], cwd=TREE).returncode != 0:
            return "no build"
        pattern = "^(" + "|".join(tests) + ")$"
        done = run(["ctest", "--test-dir", "build/debug", "-R", pattern, "--stop-on-failure", "--no-tests=error", "-j",
                    str(os.cpu_count()), "--timeout", str(TEST_LIMIT)], cwd=TREE,
                   env=dict(os.environ, LC_ALL="C.UTF-8"))
        return "survived" if done.returncode == 0 else "killed"
    finally:
        source.write_text(original, encoding="utf-8")


def sample(options):
    files = [Path(name) for name in run(["git", "-C", str(TREE), "ls-files", *options.paths]).stdout.split("\n")
             if re.fullmatch(r"(Src|core)/.*\.(cpp|h)", name)]
    found = collections.defaultdict(list)
    for path in files:
        if tests_of(path):
            for mutant in mutants_of(path):
                found[mutant.kind].append(mutant)
    chooser = random.Random(options.seed)
    for kind in found.values():
        chooser.shuffle(kind)
    # Takes the kinds in turn, because constants are by far the most frequent.
    chosen = []
    kinds = sorted(found)
    while len(chosen) < options.count and any(found.values()):
        for kind in kinds:
            if found[kind] and len(chosen) < options.count:
                chosen.append(found[kind].pop())
    return chosen


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=20, help="number of mutants (%(default)s)")
    parser.add_argument("--seed", type=int, default=1, help="another seed, other mutants (%(default)s)")
    parser.add_argument("--wanted", type=float, default=85.0, help="per cent to kill (%(default)s)")
    parser.add_argument("--list", action="store_true", help="list the mutants and stop")
    parser.add_argument("paths", nargs="*", default=["Src", "core"])
    options = parser.parse_args()
    prepare(not options.list)
    equivalents = known_equivalents()
    counts = collections.Counter()
    for mutant in sample(options):
        where = f"{mutant.path}:{mutant.line}"
        if options.list:
            print(f"{where}: {mutant.kind}: {mutant.before}  ->  {mutant.after}")
            continue
        start = time.monotonic()
        if (str(mutant.path), mutant.before, mutant.after) in equivalents:
            result = "equivalent"
        else:
            result = verdict(mutant, tests_of(mutant.path))
        counts[result] += 1
        print(f"{result:10} {time.monotonic() - start:5.1f} s  {where}: {mutant.kind}: {mutant.before}  ->  "
              f"{mutant.after}", flush=True)
    judged = counts["killed"] + counts["survived"]
    if options.list or not judged:
        return 0
    share = 100.0 * counts["killed"] / judged
    print(f"{counts['killed']} of {judged} killed ({share:.1f} %), {counts['survived']} survived, "
          f"{counts['equivalent']} equivalent, {counts['no build']} did not build")
    return 0 if share >= options.wanted else 1


if __name__ == "__main__":
    sys.exit(main())
