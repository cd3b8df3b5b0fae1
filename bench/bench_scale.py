#!/usr/bin/python3
"""How time and memory grow from 10,000 frames to 5,000,000, in the window, the plots and the converter.

bench_scale: prints a table of its own, a row for each step with its exponent between the last two sizes: 1 is as the
input grows. Takes about six minutes and needs 3 GB of disk and 6 GB of memory, so that bench.sh runs it only by name.
Uses Xvfb without a display.
"""

import math
import os
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ASSETS = Path(__file__).resolve().parent.parent / "assets" / "myPlot"
BUILD = Path(sys.argv[0]).absolute().parent.parent  # this script is a link in the folder of the benchmarks
STEPS = BUILD / "bench/scale_steps"

FRAMES_PER_SAMPLE = 6
FRAMES = [int(float(text)) for text in os.environ.get("OSTRAVEL_SCALE", "1e4 1e5 1e6 5e6").split()]
MAX_EXPONENT = 1.05
RUNS = {10_000: 5, 100_000: 5, 1_000_000: 3}  # the best counts; the largest size runs twice
LEAST_RUNS = 2

OCTAVE = "addpath('{assets}'); myMatlabPlot({arguments}); drawnow; exit"
ARGUMENTS = ", ".join(f"int32({value})" for value in (1, 1, 1, 1, 0, 1, 1, 0))

NAMES = {
    "read": "read in the window",
    "show": "show fifteen curves",
    "replot": "replot both canvases",
    "text": "text export",
    "workbook": "workbook",
    "map": "map: hand over the track",
    "line": "map: until the page has the track",
    "python": "Python figure, height",
    "octave": "Octave figure, height",
    "convert": "converter, csv",
}


def resources(command, **options):
    """Runs a command. @return seconds and the peak of its memory in MiB"""
    start = time.monotonic()
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, **options)
    _, status, usage = os.wait4(process.pid, 0)
    if status != 0:
        sys.exit(f"bench_scale: {command[0]} failed")
    return time.monotonic() - start, usage.ru_maxrss / 1024


def window_steps(log):
    """What the program does with a log, in one process. Memory is counted above the empty window."""
    output = subprocess.run([STEPS, log], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, check=True, text=True).stdout
    print(output, file=sys.stderr, flush=True)
    rows = [line.split() for line in output.splitlines()]
    empty = next(float(row[2]) for row in rows if row[0] == "empty")
    return {name: (float(seconds), float(peak) - empty) for name, seconds, peak, _ in rows if name != "empty"}


def plots():
    """The figures of the track that the last read left."""
    folder = BUILD / "bench/myPlot"
    octave = OCTAVE.format(assets=ASSETS, arguments=ARGUMENTS)
    return {
        "python": resources(["/usr/bin/python3", ASSETS / "pythonPlot.py", "Height", "--save", folder / "figure.png"],
                            cwd=folder),
        "octave": resources(["octave", "--no-gui", "--quiet", "--norc", "--no-history", "--eval", octave], cwd=folder),
    }


def convert(log, folder):
    out = folder / "out"
    result = resources([BUILD / "bin/ostravel-convert", "-o", out, log])
    shutil.rmtree(out)
    return {"convert": result}


def best(results):
    """The least time and the least peak of each step over several runs."""
    return {name: tuple(min(result[name][i] for result in results) for i in (0, 1)) for name in results[0]}


def measure(kind, frames, folder):
    log = folder / ("flight.db" if kind == "database" else "flight.txt")
    subprocess.run([STEPS, "--make", kind, log, str(round(frames / FRAMES_PER_SAMPLE))], check=True)
    results = []
    for _ in range(RUNS.get(frames, LEAST_RUNS)):
        steps = window_steps(log)
        # The plots see only the track files, which are the same for both kinds.
        if kind == "text":
            steps.update(plots())
        steps.update(convert(log, folder))
        results.append(steps)
        print(f"{kind} of {frames} frames: {steps}", file=sys.stderr, flush=True)
    log.unlink()
    return best(results)


def exponent(values, first):
    """The slope on logarithmic scales from a size to the largest one."""
    if values[first] <= 0 or values[-1] <= 0:
        return "-"
    return f"{math.log(values[-1] / values[first]) / math.log(FRAMES[-1] / FRAMES[first]):.2f}"


def print_row(name, values, form):
    # Small flights take mostly constant time, so the last two sizes count.
    slopes = [exponent(values, len(FRAMES) - 2), exponent(values, 0)]
    print(" | ".join([name, *map(form, values), *slopes, f"at most {MAX_EXPONENT}"]), flush=True)


def seconds_text(value):
    return f"{value:.3f} s" if value < 10 else f"{value:.1f} s"


def main():
    if "DISPLAY" not in os.environ:
        os.execvp("xvfb-run", ["xvfb-run", "-a", "-s", "-screen 0 1920x1080x24", sys.executable, "-B", sys.argv[0]])
    os.environ.update(QT_QPA_PLATFORM="xcb", LIBGL_ALWAYS_SOFTWARE="1")
    print(" | ".join(["name", *(f"{frames:,} frames" for frames in FRAMES), "exponent", "from the first", "target"]), flush=True)
    with tempfile.TemporaryDirectory() as name:
        os.environ.setdefault("XDG_RUNTIME_DIR", name)
        for kind in ("text", "database"):
            results = [measure(kind, frames, Path(name)) for frames in FRAMES]
            for step in (step for step in NAMES if step in results[0]):
                if kind == "database" and step not in ("read", "convert"):
                    continue  # the same work on the same store
                of = f"{NAMES[step]}, {kind}" if step in ("read", "convert") else NAMES[step]
                print_row(of, [result[step][0] for result in results], seconds_text)
                print_row(f"{of}: memory", [result[step][1] for result in results], lambda value: f"{value:.0f} MiB")


if __name__ == "__main__":
    main()
