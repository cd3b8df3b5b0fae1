#!/usr/bin/python3
"""Mutation testing: changes one token of the program at a time and runs the tests that should notice it.

Each mutant is one randomly chosen change (by --seed) in core/ or Src/: a comparison, an operator, a constant, a removed
call, or two swapped calls or arguments. It is built in a clone of HEAD under build/mutants; ccache and lld make
that quick. The tests run in the order in which they are likely to fail: the test named like the source, the
tests that OWN_TESTS lists for it, then the other tests of its folder. A test that fails twice, crashes or exceeds ten
times its normal duration kills the mutant. Mutants that no test can notice are listed with a reason in
tests/mutants.txt and do not count.

Each result is appended to build/mutants/results-SEED.txt at once. A later run of the same seed skips the mutants that
are in it, so an interrupted run continues where it stopped.

    scripts/mutate.py --count 300 --seed 1            # everywhere
    scripts/mutate.py --count 20 Src/Plot core/frame  # in these folders
    scripts/mutate.py --again                         # judges the survivors again, after tests were added
    scripts/mutate.py --count 300 --own               # a first look: without the other tests of the folder
"""

import argparse
import collections
import concurrent.futures
import fcntl
import io
import json
import os
import queue
import random
import re
import socket
import struct
import subprocess
import sys
import tarfile
import threading
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutants"
KNOWN = ROOT / "tests" / "mutants.txt"
SLOW = 20  # seconds; slower tests run only for the sources that they are named after or listed for

# Sources that this platform does not build, and values that the build sets.
NOT_BUILT = re.compile(r"_win\.cpp$|_none\.cpp$|/BuildDate\.cpp$")

# Tests of sources that are tested under another name or from another folder, by the start of the source's path without
# suffix. All matching rows apply, in this order.
OWN_TESTS = (
    ("Src/App/main", "TestProcess"),
    ("Src/App/AppConfig", "TestProcess"),
    ("Src/Data/DataHandler", "TestDecodeLine TestReadText TestReadDatabase TestMainWindowRead"),
    ("Src/Data/LogText", "TestDecodeLine TestReadText"),
    ("Src/Data/FrameTable", "TestDecodeLine"),
    ("Src/FileOperator/ExportGroups", "TestTxtExport TestExcelOperator TestSameExport"),
    ("Src/Map/Page", "TestWebEngine"),
    ("Src/Map/WebEngine", "TestWebEngine"),
    ("Src/Map/WebPage", "TestWebEngine"),
    ("Src/Map/WebProfile", "TestWebEngine"),
    ("Src/Map/WebRequestFilter", "TestWebEngine"),
    ("Src/Map/WebView", "TestWebEngine"),
    ("Src/Map/WkeFileDialogs", "TestWebEngine"),
    ("Src/Map/WkeWebEngine", "TestWebEngine"),
    ("Src/Map/WkeLibrary", "TestWkeApi"),
    ("Src/Map/WkeStandIn", "TestWkeApi TestWebWidget"),
    ("Src/MatlabPlot/MatlabLibrary_octave", "TestMatlabPlot"),
    ("Src/MatlabPlot/MatlabLibrary_runtime", "TestMatlabRuntime"),
    ("Src/Plot/CanvasLook", "TestMyCustomPlotCanvas TestMyCustomPlotGui"),
    ("Src/Plot/CanvasSelection", "TestMyCustomPlotCurves"),
    ("Src/Plot/CanvasTracer", "TestMyCustomPlotReadOut"),
    ("Src/Plot/ReadOutText", "TestMyCustomPlotReadOut"),
    ("Src/Plot/TimeTicker", "TestValueTicker TestMyCustomPlotCanvas"),
    ("Src/Plot/ZoomRectangle", "TestMyCustomPlotGui TestViewHistory"),
    ("Src/PythonPlot/PlotShell", "TestPythonPlot"),
    ("Src/Tools", "TestScreenFit"),
    ("Src/UI/Canvas", "TestMainWindowCurves TestMainWindowKeys"),
    ("Src/UI/ChannelBoxes", "TestMainWindowCurves TestSwitchCurve"),
    ("Src/UI/ColorButtonStyle", "TestSettingDialog TestSettingDialog_2 TestWindowSettingDialog"),
    ("Src/UI/TrackNote", "TestMPlotDialog TestPyPlotDialog TestMapWidget"),
    ("Src/UI/Updater", "TestMainWindowUpdate"),
    ("Src/UI/WindowLook", "TestMainWindow TestWindowSettingDialog TestIcons"),
    ("core/export/ClockText", "TestCsvWriter TestTrackWriters TestTxtExport"),
    ("core/export/ExportFormat", "TestExportFormats TestTrackWriters TestMatWriter TestCsvWriter"),
    ("core/export/ExportGroup", "TestTextWriter TestWorkbookWriter TestTxtExport TestExcelOperator"),
    ("core/export/GeoJsonWriter", "TestTrackWriters"),
    ("core/export/GpxWriter", "TestTrackWriters"),
    ("core/export/KmlWriter", "TestTrackWriters"),
    ("core/export/ReplacedFile", "TestCsvWriter TestTrackWriters TestExportFormats TestConvert"),
    ("core/export/TextWriter", "TestTxtExport"),
    ("core/export/TrackLines", "TestTrackWriters"),
    ("core/export/WholeWrite", "TestTextWriter TestTxtExport TestTxtOperator"),
    ("core/export/WorkbookWriter", "TestExcelOperator TestQXlsxOutside"),
    ("core/flight/Derivations", "TestPostProcess"),
    ("core/flight/FlightBuilder", "TestFlight TestReadFlight TestSameFlight"),
    ("core/flight/FlightDatabase", "TestReadFlight TestReadDatabase TestDatabaseSeeds"),
    ("core/flight/GroupPeriods", "TestReadFlight TestConvert TestCApi"),
    ("core/flight/LocalFrame", "TestDerivations TestPostProcess"),
    ("core/flight/LogFormat", "TestReadFlight"),
    ("core/flight/Read", "TestReadFlight TestConvert TestCApi"),
    ("core/flight/RegularFile", "TestReadFlight TestReadText TestReadDatabase"),
    ("core/flight/TextLog", "TestReadFlight TestReadText"),
    ("core/frame/ChannelNames", "TestCApi"),
    ("core/frame/FieldValue", "TestFrameDecoder TestFrameTable"),
    ("core/frame/Frame", "TestFrameDecoder TestFrameTable TestDecodeLine"),
    ("core/frame/FrameRows", "TestDerivations"),
    ("core/frame/SeriesRefs", "TestFrameDecoder"),
    ("core/frame/Triads", "TestDerivations TestChannelStore TestPostProcess TestMainWindowCurves"),
    ("core/geodesy", "TestCommonModule"),
    ("core/mat/MatFile_level5", "TestMatWriterLevel5"),
    ("core/mat/MatFile_matio", "TestMatWriter"),
    ("core/xlsx/FileRename", "TestXlsxTarget"),
    ("core/xlsx/XlsxZip", "TestXlsxZip"),
    ("core/xlsx", "TestQXlsx TestQXlsxExisting TestExcelOperator"),
)

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
_NO_EFFECT = re.compile(r"^\s+(logToBoth|Q_UNUSED)\b|\.reserve\(")  # the log and the speed
_SYMMETRIC = re.compile(r"\b(std::min|std::max|qMin|qMax|std::hypot)\($")
_TEXT = re.compile(r"[\"']|\bQLatin1|\bQString|\btr\(")
MAX_OF_A_KIND = 5  # mutants of one kind in one source, so that long tables do not dominate


def code_of(line):
    """The line with string contents and comments replaced by spaces, so that columns do not change."""
    line = re.sub(r'"(?:\\.|[^"\\])*"', lambda found: '"' + " " * (len(found[0]) - 2) + '"', line)
    return re.sub(r"//.*", lambda found: " " * len(found[0]), line)


def constant(text):
    if text in ("true", "false"):
        return "false" if text == "true" else "true"
    return f"{float(text) * 2 + 1:g}" if "." in text else str(int(text) + 1)


def depend(first, second):
    """False for calls whose order hardly ever matters: two connects, two setters, one function of two objects."""
    calls = [re.match(r"(?:emit )?((?:[\w.]|->|::)*?)(?:->|\.|::)?(\w+)\(", line) for line in (first, second)]
    return not any(line.startswith("connect(") for line in (first, second)) and not (
        all(calls) and (calls[0][2] == calls[1][2] and calls[0][1] != calls[1][1]
                        or all(call[2].startswith("set") for call in calls)))


def mutants_of(path, text):
    lines = text.split("\n")
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
            # Joined texts have no other operator.
            for match in () if kind == "arithmetic" and _TEXT.search(code) else pattern.finditer(code):
                change(number, kind, match.start(1), match.end(1), replacement(match[1]))
        for match in _ARGUMENTS.finditer(code):
            if match[1] != match[2] and not _SYMMETRIC.search(code[:match.start()]):
                change(number, "arguments", match.start(), match.end(), f"{match[2]}, {match[1]}")
        indent = len(line) - len(line.lstrip())
        is_call = bool(_CALL.match(code)) and not _NO_EFFECT.search(code)
        if is_call:
            change(number, "removed call", indent, len(line), ";")
            if previous_call == (number - 1, indent) and depend(lines[number - 1].strip(), stripped):
                found.append(Mutant(path, number, "order", lines[number - 1].strip(), line.strip(),
                                    {number - 1: line, number: lines[number - 1]}))
        previous_call = (number, indent) if is_call else None
    return found


def run(command, **options):
    return subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, **options)


def sources(paths):
    """The sources of HEAD by path, as the trees have them."""
    archive = subprocess.run(["git", "-C", str(ROOT), "archive", "HEAD", *paths], check=True, capture_output=True).stdout
    with tarfile.open(fileobj=io.BytesIO(archive)) as files:
        return {Path(name): files.extractfile(name).read().decode("utf-8") for name in sorted(files.getnames())
                if re.fullmatch(r"(Src|core)/.*\.(cpp|h)", name) and not NOT_BUILT.search(name)}


def pool(paths):
    """All possible mutants by kind, in an order that depends only on the sources."""
    found = collections.defaultdict(list)
    for path, text in sources(paths).items():
        for mutant in mutants_of(path, text):
            found[mutant.kind].append(mutant)
    return found


def sample(found, seed, count):
    """Takes the kinds in turn, because constants are by far the most frequent."""
    chooser = random.Random(seed)
    rest = {kind: list(found[kind]) for kind in sorted(found)}
    for mutants in rest.values():
        chooser.shuffle(mutants)
    chosen = []
    taken = collections.Counter()
    while len(chosen) < count and any(rest.values()):
        for mutants in filter(None, rest.values()):
            mutant = mutants.pop()
            taken[mutant.kind, mutant.path] += 1
            if taken[mutant.kind, mutant.path] <= MAX_OF_A_KIND:
                chosen.append(mutant)
    return chosen[:count]


def key_of(mutant):
    return str(mutant.path), mutant.before, mutant.after


def known():
    """The rows of tests/mutants.txt: {(path, before, after): verdict}. Its head describes the format."""
    rows = {}
    lines = KNOWN.read_text(encoding="utf-8").splitlines() if KNOWN.exists() else []
    for number, line in enumerate(lines):
        head = re.fullmatch(r"(equivalent|not observable) (\S+): .+", line)
        if head and number + 2 < len(lines):
            before, after = lines[number + 1], lines[number + 2]
            if before.startswith("  - ") and after.startswith("  + "):
                rows[head[2], before[4:], after[4:]] = head[1]
                continue
        if line.strip() and not line.startswith(("#", "  - ", "  + ")) or head:
            sys.exit(f"{KNOWN}:{number + 1}: neither a comment nor a row")
    return rows


class Results:
    """The verdicts of one seed, one JSON object per line. A later line replaces an earlier one."""

    def __init__(self, seed):
        self._file = WORK / f"results-{seed}.txt"
        self._lock = threading.Lock()
        self.rows = {}
        if self._file.exists():
            for line in self._file.read_text(encoding="utf-8").splitlines():
                row = json.loads(line)
                self.rows[row["path"], row["before"], row["after"], row["line"]] = row

    @staticmethod
    def _key(mutant):
        return (*key_of(mutant), mutant.line)

    def of(self, mutant):
        return self.rows.get(self._key(mutant))

    def add(self, mutant, verdict, test, seconds):
        row = {"verdict": verdict, "path": str(mutant.path), "line": mutant.line, "kind": mutant.kind,
               "before": mutant.before, "after": mutant.after, "test": test, "seconds": round(seconds, 1)}
        with self._lock, self._file.open("a", encoding="utf-8") as out:
            out.write(json.dumps(row) + "\n")
            self.rows[self._key(mutant)] = row


class Tree:
    """A clone of HEAD with its own build, used by one worker."""

    serial = threading.Lock()  # for tests that use a fixed port or the whole machine
    measuring = threading.Lock()

    def __init__(self, number):
        self.folder = WORK / f"tree-{number}"
        self.build = self.folder / "build" / "debug"
        self.head = ""
        self.environment = {}
        self.tests = {}
        self.durations = {}

    def prepare(self):
        self.head = run(["git", "-C", str(ROOT), "rev-parse", "HEAD"]).stdout.strip()
        if not self.folder.exists():
            subprocess.run(["git", "clone", "-q", "--shared", str(ROOT), str(self.folder)], check=True)
        subprocess.run(["git", "-C", str(self.folder), "fetch", "-q", "origin", self.head], check=True)
        subprocess.run(["git", "-C", str(self.folder), "checkout", "-q", "--force", self.head], check=True)
        # The compiler flags of debug, so that everything but the mutant comes from the compiler cache.
        link = "-fuse-ld=lld"
        subprocess.run(["cmake", "--preset", "debug", f"-DCMAKE_EXE_LINKER_FLAGS={link}",
                        f"-DCMAKE_MODULE_LINKER_FLAGS={link}", f"-DCMAKE_SHARED_LINKER_FLAGS={link}"],
                       cwd=self.folder, check=True, stdout=subprocess.DEVNULL)
        # Warnings are no errors in a mutant. The cache ignores its prefix when it looks for an object.
        prefix = WORK / "without-errors"
        prefix.write_text('#!/bin/sh\nexec "$@" -Wno-error\n', encoding="utf-8")
        prefix.chmod(0o755)
        self.environment = dict(os.environ, CCACHE_PREFIX=str(prefix))
        listed = json.loads(run(["ctest", "--test-dir", str(self.build), "--show-only=json-v1"]).stdout)
        for test in listed["tests"]:
            properties = {row["name"]: row["value"] for row in test["properties"]}
            # Has no command until the program is built.
            if test["name"].startswith("Test") and not properties.get("DISABLED"):
                properties["command"] = [f"{properties['WORKING_DIRECTORY']}/{test['name']}"]
                self.tests[test["name"]] = properties

    def make(self, targets, jobs=1):
        # In a session of its own, as the tests are, because the scheduler shares the processor between sessions.
        return run(["ninja", "-C", str(self.build), "-j", str(jobs), *targets], env=self.environment,
                   start_new_session=True).returncode == 0

    def run_test(self, name, limit):
        """Returns "passed", "failed" or "exceeded". Ends the test at its first failure."""
        test = self.tests[name]
        environment = dict(os.environ, **dict(pair.split("=", 1) for pair in test.get("ENVIRONMENT", [])))
        lock = self.serial if test.get("RUN_SERIAL") or test.get("RESOURCE_LOCK") else threading.Lock()
        with lock, subprocess.Popen(test["command"], cwd=test["WORKING_DIRECTORY"], env=environment,
                                    stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                    start_new_session=True) as process:
            exceeded = threading.Event()
            timer = threading.Timer(limit, lambda: (exceeded.set(), self._end(process)))
            timer.start()
            failed = False
            for line in process.stdout:
                if line.startswith(b"FAIL!"):
                    failed = True
                    break
            if failed:
                self._end(process)
            process.wait()
            timer.cancel()
            self._end(process)
        if exceeded.is_set():
            return "exceeded"
        return "failed" if failed or process.returncode != 0 else "passed"

    @staticmethod
    def _end(process):
        """Ends the test and the programs that it started, which are in its session."""
        try:
            os.killpg(process.pid, 9)
        except ProcessLookupError:
            pass

    def measure(self, names):
        """Builds the tests and measures them without a mutant. Tests that fail then are not used."""
        if not self.make(names, os.cpu_count()):
            raise RuntimeError(f"{self.folder}: the tests cannot be built without a mutant")
        # Measured anew for each commit: a test that fails without a mutant would kill all of them.
        file = WORK / f"durations-{self.head[:12]}.json"
        with self.measuring:
            self.durations = json.loads(file.read_text(encoding="utf-8")) if file.exists() else {}
            for name in names:
                if self.durations.get(name) is not None:
                    continue
                start = time.monotonic()
                passed = self.run_test(name, 300) == "passed"
                self.durations[name] = round(time.monotonic() - start, 2) if passed else None
                print(f"{name}: " + (f"{self.durations[name]} s" if passed else "FAILS without a mutant, not used"),
                      flush=True)
                file.write_text(json.dumps(self.durations, indent=0), encoding="utf-8")

    def verdict(self, mutant, names):
        """Returns the verdict and the test that killed the mutant."""
        source = self.folder / mutant.path
        original = source.read_text(encoding="utf-8")
        lines = original.split("\n")
        for number, text in mutant.lines.items():
            lines[number] = text
        source.write_text("\n".join(lines), encoding="utf-8")
        try:
            # The static assertions for a table in a header are in the source of its name.
            if mutant.path.suffix == ".h" and source.with_suffix(".cpp").exists() \
                    and not self.make([f"{source.with_suffix('.cpp')}^"]):
                return "no build", ""
            for name in names:
                if not self.make([name]):
                    return "no build", name
                # A failure must repeat, because a busy machine can make a test fail.
                limit = 10 + 10 * self.durations[name]
                result = self.run_test(name, limit)
                if result == "exceeded" or result == "failed" and self.run_test(name, limit) != "passed":
                    return "killed", name
            return "survived", ""
        finally:
            source.write_text(original, encoding="utf-8")


def tests_of(path, tree):
    """The names of the tests for a source, those likely to fail first."""
    stem = path.stem.split("_")[0] if path.stem.endswith(("_unix", "_octave", "_runtime")) else path.stem
    own = [name for name in sorted(tree.tests) if name.startswith("Test" + stem)]
    own.sort(key=lambda name: name != "Test" + stem)
    for start, names in OWN_TESTS:
        if str(path.with_suffix("")).startswith(start):
            own.extend(names.split())
    folder = path.parent.relative_to("Src") if path.parts[0] == "Src" else path.parent
    others = [test.stem for test in (tree.folder / "tests" / folder).glob("Test*.cpp")]
    return [name for name in dict.fromkeys(own) if name in tree.tests], \
           [name for name in others if name in tree.tests and name not in own]


def ordered(path, tree, only_own):
    own, others = tests_of(path, tree)
    if only_own:
        others = []
    usable = [name for name in others if tree.durations.get(name) is not None and tree.durations[name] <= SLOW]
    return [name for name in own if tree.durations.get(name) is not None] + \
           sorted(usable, key=lambda name: tree.durations[name])


def judge(mutants, results, workers, only_own):
    todo = queue.SimpleQueue()
    # Those in headers last, because they take longest to build.
    for mutant in sorted(mutants, key=lambda mutant: mutant.path.suffix == ".h"):
        todo.put(mutant)

    def work(number):
        tree = Tree(number)
        tree.prepare()
        tree.measure(sorted({name for mutant in mutants for names in tests_of(mutant.path, tree) for name in names}))
        while True:
            try:
                mutant = todo.get_nowait()
            except queue.Empty:
                return
            start = time.monotonic()
            names = ordered(mutant.path, tree, only_own)
            verdict, test = tree.verdict(mutant, names) if names else ("no test", "")
            seconds = time.monotonic() - start
            results.add(mutant, verdict, test, seconds)
            print(f"{verdict:9} {seconds:5.1f} s  {describe(mutant)}  ({test})", flush=True)

    with concurrent.futures.ThreadPoolExecutor(workers) as executor:
        for done in [executor.submit(work, number) for number in range(1, workers + 1)]:
            done.result()


def describe(mutant):
    return f"{mutant.path}:{mutant.line}: {mutant.kind}: {mutant.before}  ->  {mutant.after}"


def table(title, mutants, verdict_of, group_of):
    columns = ("killed", "survived", "equivalent", "not observable", "no build")
    counts = collections.defaultdict(collections.Counter)
    for mutant in mutants:
        for group in (group_of(mutant), "all"):
            counts[group][verdict_of(mutant)] += 1
    print(f"| {title} | mutants | " + " | ".join(columns) + " | killed of the judged |")
    print("|---" * (len(columns) + 3) + "|")
    for group in [*sorted(set(counts) - {"all"}), "all"]:
        row = counts[group]
        judged = row["killed"] + row["survived"]
        share = f"{100.0 * row['killed'] / judged:.1f} %" if judged else ""
        print(f"| {group} | {sum(row.values())} | " + " | ".join(str(row[name]) for name in columns) + f" | {share} |")
    print()
    return counts["all"]


def judged_of(found, results):
    """All mutants with a result. After a change of the sources the same seed chooses others, but most of these remain."""
    return [mutant for kind in found.values() for mutant in kind if results.of(mutant)]


def report(mutants, results, rows):
    def verdict_of(mutant):
        row = results.of(mutant)
        # A mutant that a test kills is not equivalent, whatever its row says.
        if row and row["verdict"] in ("killed", "no build"):
            return row["verdict"]
        return rows.get(key_of(mutant)) or (row["verdict"] if row else "open")

    for mutant in mutants:
        if verdict_of(mutant) in ("survived", "no test"):
            print(f"{verdict_of(mutant)}: {describe(mutant)}")
        if verdict_of(mutant) == "killed" and key_of(mutant) in rows:
            print(f"killed, although tests/mutants.txt lists it: {describe(mutant)}")
    print()
    table("Kind", mutants, verdict_of, lambda mutant: mutant.kind)
    return table("Folder", mutants, verdict_of, lambda mutant: str(mutant.path.parent))


def isolate():
    """Continues in process and network namespaces of its own, if that is allowed. A mutant may signal processes that are
    not its own, and tests listen on fixed ports."""
    flag = "OSTRAVEL_MUTANTS_ISOLATED"
    isolated = ["unshare", "--pid", "--net", "--mount-proc", "--fork", "--kill-child"]
    if flag not in os.environ:
        if run([*isolated, "true"]).returncode != 0:
            print("Running without namespaces, which only root may create: mutants could signal other processes")
            return
        os.execvpe(isolated[0], [*isolated, sys.executable, *sys.argv], dict(os.environ, **{flag: "1"}))
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        set_flags, up = 0x8914, 0x41
        fcntl.ioctl(any_socket, set_flags, struct.pack("16sh22x", b"lo", up))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=20, help="number of mutants (%(default)s)")
    parser.add_argument("--seed", type=int, default=1, help="another seed, other mutants (%(default)s)")
    parser.add_argument("--wanted", type=float, default=85.0, help="per cent to kill (%(default)s)")
    parser.add_argument("--workers", type=int, default=1, help="mutants at the same time, each in its own tree")
    parser.add_argument("--nice", type=int, default=10, help="lowers the priority by this (%(default)s)")
    parser.add_argument("--again", action="store_true", help="judge only the survivors so far, again")
    parser.add_argument("--own", action="store_true", help="leave out the other tests of the folder, for a first look")
    parser.add_argument("--only", default="", help="judge only mutants whose description contains this text")
    parser.add_argument("--list", action="store_true", help="list the mutants and stop")
    parser.add_argument("--report", action="store_true", help="print the results so far and stop")
    parser.add_argument("paths", nargs="*", default=["Src", "core"])
    options = parser.parse_args()
    WORK.mkdir(parents=True, exist_ok=True)
    found = pool(options.paths)
    mutants = [mutant for mutant in sample(found, options.seed, options.count) if options.only in describe(mutant)]
    if options.list:
        print("\n".join(map(describe, mutants)))
        return 0
    results = Results(options.seed)
    rows = known()
    for row in set(rows) - {key_of(mutant) for kind in pool(["Src", "core"]).values() for mutant in kind}:
        print(f"tests/mutants.txt lists a mutant that does not exist: {' | '.join(row)}")
    if not options.report:
        isolate()
        os.nice(options.nice)
        if options.again:
            todo = [mutant for mutant in judged_of(found, results)
                    if options.only in describe(mutant) and results.of(mutant)["verdict"] in ("survived", "no test")]
        else:
            todo = [mutant for mutant in mutants if results.of(mutant) is None]
        judge([mutant for mutant in todo if key_of(mutant) not in rows], results, options.workers, options.own)
    counts = report(judged_of(found, results), results, rows)
    judged = counts["killed"] + counts["survived"]
    return 0 if judged and 100.0 * counts["killed"] / judged >= options.wanted and not counts["no test"] else 1


if __name__ == "__main__":
    sys.exit(main())
