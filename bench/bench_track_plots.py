#!/usr/bin/python3
"""Compares the Python and Octave plots with minimal scripts that draw the same arrays. Uses Xvfb without a display.

Prints rows "name | floor | measured | ratio | target" for a two-hour track: best of seven, alternating.
"""

import math
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path

RUNS = 7
SAMPLES = 2 * 3600 * 5
SCRIPTS = Path(__file__).resolve().parent.parent / "assets" / "myPlot"

# A minimal script: import, read, draw, show. Both sides end as soon as the window is drawn.
BARE = {
    "Height": "plt.plot(z)",
    "XY": "plt.plot(x, y); plt.axis('equal')",
    "XYZ": "plt.figure().add_subplot(projection='3d').plot(x, y, z)",
}
BARE_SCRIPT = """
import numpy, matplotlib.pyplot as plt
x, y, z = numpy.loadtxt('data.txt').T
{draw}
plt.gcf().canvas.mpl_connect('draw_event', lambda event: __import__('os')._exit(0))
plt.show()
"""

def lay_track(folder):
    with open(folder / "data.txt", "w", encoding="ascii") as file:
        for i in range(SAMPLES):
            turn = 40 * math.pi * i / SAMPLES
            file.write(f"{3000 * math.cos(turn) + 900 * math.sin(7 * turn):.6g}\t{2000 * math.sin(turn):.6g}\t"
                       f"{300 + 100 * math.sin(11 * turn):.6g}\n")


def seconds(command, **options):
    start = time.monotonic()
    subprocess.run(command, check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, **options)
    return time.monotonic() - start


def row(name, floor, measured, target):
    print(f"{name} | {1000 * floor:.1f} ms | {1000 * measured:.1f} ms | {measured / floor:.2f} | at most {target:.2f}",
          flush=True)


def best(floor, work):
    pairs = [(floor(), work()) for _ in range(RUNS)]
    return min(pair[0] for pair in pairs), min(pair[1] for pair in pairs)


def python_rows(folder):
    shell = dict(os.environ, PATH=f"{SCRIPTS / 'shell'}:{os.environ['PATH']}")
    script = folder / "pythonPlot.py"
    # The original script, but it ends after the first drawing instead of waiting for the user.
    text = (SCRIPTS / "pythonPlot.py").read_text(encoding="utf-8")
    script.write_text(text.replace("        plt.show()\n", "        plt.gcf().canvas.mpl_connect('draw_event', "
                                   "lambda event: __import__('os')._exit(0))\n        plt.show()\n"), encoding="utf-8")
    for kind, draw in BARE.items():
        floor, measured = best(
            lambda draw=draw: seconds(["/usr/bin/python3", "-c", BARE_SCRIPT.format(draw=draw)], cwd=folder),
            lambda kind=kind: seconds(["sh", "-c", f"python pythonPlot.py {kind}"], cwd=folder, env=shell))
        row(f"Python figure of a 2-hour track, {kind}", floor, measured, 1.5)


def octave_rows(folder):
    """A plot through the loop in which the program keeps Octave, against the time that Octave itself takes for it."""
    loop = (SCRIPTS.parent.parent / "Src" / "MatlabPlot" / "OctaveLoop.m").read_text(encoding="utf-8")
    engine = subprocess.Popen(["octave", "--no-gui", "--quiet", "--norc", "--no-history", "--eval", loop], cwd=folder,
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)

    def ask(line):
        start = time.monotonic()
        engine.stdin.write(line + "\n")
        engine.stdin.flush()
        said = []
        while not said or not said[-1].startswith("plot-engine:"):
            said.append(engine.stdout.readline())
        if said[-1] != "plot-engine:done\n":
            sys.exit("".join(said))
        return time.monotonic() - start, said

    def itself(plot):
        _, said = ask(f"tic; {plot}; printf('%g\\n', toc)")
        return float(next(line for line in said if line.strip()))

    ask(f"addpath('{SCRIPTS}')")
    for name, kind in (("height", 1), ("from above", 0), ("in space", 2)):
        plot = f"myMatlabPlot(int32(1), int32(1), int32(1), int32({kind}), int32(0), int32(1), int32(1), int32(0))"
        ask(plot)
        floor, measured = best(lambda plot=plot: itself(plot), lambda plot=plot: ask(plot)[0])
        row(f"later Octave figure of a 2-hour track, {name}", floor, measured, 1.5)
        ask("close all")
    engine.stdin.close()
    engine.wait()


def main():
    if "DISPLAY" not in os.environ:
        os.execvp("xvfb-run", ["xvfb-run", "-a", "-s", "-screen 0 1920x1080x24", sys.executable, "-B", __file__])
    os.environ.update(QT_QPA_PLATFORM="xcb", LIBGL_ALWAYS_SOFTWARE="1")
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        os.environ.setdefault("XDG_RUNTIME_DIR", name)
        lay_track(folder)
        python_rows(folder)
        octave_rows(folder)


if __name__ == "__main__":
    main()
