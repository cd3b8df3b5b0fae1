#!/usr/bin/python3
"""No source has more than 500 lines and no function more than 60, outside tables.

Tables are what stands between "// clang-format off" and "// clang-format on". A function is measured from its first
line to its closing brace. It is found by the house style, which the test "format" keeps: the opening brace of a
function stands on a line of its own, that of a loop or a lambda does not.
"""

import re
import sys
import tempfile
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
FOLDERS = ("core", "Src", "wmts", "demo", "convert", "capi")
SUFFIXES = (".cpp", ".h", ".hpp", ".c")
MAX_LINES = 500
MAX_FUNCTION = 60


NO_FUNCTION = re.compile(r"(template\s*<[^{]*>\s*)?(namespace|class|struct|union|enum|extern)\b(?!.*\)$)")


def without_tables(lines):
    """The lines with those of tables left out."""
    kept = []
    in_table = False
    for line in lines:
        if line.strip() == "// clang-format off":
            in_table = True
        elif line.strip() == "// clang-format on":
            in_table = False
        elif not in_table:
            kept.append(line)
    return kept


def functions(lines):
    """Pairs of a function's head, in one line, and how many lines it has."""
    for index, line in enumerate(lines):
        opening = re.fullmatch(r"( *)\{", line)
        if not opening:
            continue
        first = index
        while first > 0 and not re.search(r"^\s*$|^\s*(//|/\*|\*|#)|[;{}]\s*$|^\s*(public|protected|private|signals)\b",
                                          lines[first - 1]):
            first -= 1
        head = " ".join(part.strip() for part in lines[first:index])
        if NO_FUNCTION.match(head):
            continue
        end = next((i for i in range(index + 1, len(lines)) if lines[i].startswith(opening[1] + "}")), len(lines) - 1)
        yield head, end - first + 1


def faults(folder):
    """What is too long below a folder, one line each."""
    found = []
    for path in sorted(path for name in FOLDERS for path in (folder / name).rglob("*") if path.suffix in SUFFIXES):
        name = path.relative_to(folder).as_posix()
        lines = without_tables(path.read_text(encoding="utf-8").splitlines())
        if len(lines) > MAX_LINES:
            found.append(f"{name}: {len(lines)} lines")
        found += [f"{name}: {head}: {size} lines" for head, size in functions(lines) if size > MAX_FUNCTION]
    return found


def example(size, head="int Some::function(int one,\n                   int two) const\n    : m_one(one)\n"):
    """A source with one function of so many lines."""
    return head + "{\n" + "    step();\n" * (size - 2 - head.count("\n")) + "}\n"


def check_the_measure():
    """The measure itself: what is one line too long is found, and nothing else."""
    table = "// clang-format off\n" + "    row,\n" * 600 + "// clang-format on\n"
    cases = {
        "core/long.cpp": (example(61), ["core/long.cpp: int Some::function(int one, int two) const : m_one(one): 61 lines"]),
        "core/short.cpp": (example(60), []),
        "Src/method.h": ("class A\n{\npublic:\n" + re.sub("(?m)^", "    ", example(61)).rstrip() + "\n};\n",
                         ["Src/method.h: int Some::function(int one, int two) const : m_one(one): 61 lines"]),
        "wmts/space.cpp": ("namespace a\n{\n" + "int x;\n" * 100 + "} // namespace a\n", []),
        "demo/file.cpp": ("int x;\n" * 501, ["demo/file.cpp: 501 lines"]),
        "demo/table.cpp": (table, []),
        "tests/other.cpp": (example(200), []),
    }
    with tempfile.TemporaryDirectory() as folder:
        for name, (text, _) in cases.items():
            path = Path(folder) / name
            path.parent.mkdir(exist_ok=True)
            path.write_text(text, encoding="utf-8")
        expected = sorted(fault for _, wanted in cases.values() for fault in wanted)
        found = sorted(faults(Path(folder)))
        assert found == expected, found


def main():
    check_the_measure()
    found = faults(SOURCE)
    print("\n".join(found))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
