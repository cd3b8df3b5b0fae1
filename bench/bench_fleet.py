#!/usr/bin/python3
"""Times flights in Python against the library in C++, against one thread, and against pandas.

bench_fleet: prints rows "name | floor | measured | ratio | target". A two-hour log; best of seven, in turn.
"""

import os
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

SOURCE = Path(__file__).resolve().parent
BUILD = Path(sys.argv[0]).absolute().parent.parent  # this script is a link in the folder of the benchmarks
RUNS = 7
RUNS_OF_PANDAS = 2  # a quarter of a minute each
MINUTES = 120

os.environ["OSTRAVEL_LIBRARY"] = str(BUILD / "bin/libostravel.so")
sys.path[:0] = [str(SOURCE.parent / "python"), str(SOURCE)]

import pandas  # noqa: E402

import decode  # noqa: E402
import ostravel  # noqa: E402


def row(name, floor, measured, target):
    print(f"{name} | {1000 * floor:.1f} ms | {1000 * measured:.1f} ms | {measured / floor:.3g} | {target}", flush=True)


def seconds(work):
    start = time.perf_counter()
    work()
    return time.perf_counter() - start


def best(floor, work, runs=RUNS):
    """The best of runs, in turn, of two functions that return seconds."""
    pairs = [(floor(), work()) for _ in range(runs)]
    return min(pair[0] for pair in pairs), min(pair[1] for pair in pairs)


def read(log):
    """To arrays, all of them."""
    return dict(ostravel.read(log))


def on_two_threads(work):
    threads = [threading.Thread(target=work) for _ in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()


def with_struct(log):
    """Tables of a flight as a script would make them."""
    return {code: pandas.DataFrame(channels) for code, channels in decode.decode(log).items()}


class Reader:
    """readFlight in C++, in a process that lives as long as this one."""

    def __init__(self, log):
        self._process = subprocess.Popen([BUILD / "bench/read_flight", log], stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, text=True)

    def seconds(self):
        self._process.stdin.write("\n")
        self._process.stdin.flush()
        return float(self._process.stdout.readline()) / 1000

    def end(self):
        self._process.stdin.close()
        self._process.wait()


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        log = folder / "flight.txt"
        subprocess.run([BUILD / "bin/ostravel-demo", "log", log, "--minutes", str(MINUTES)], check=True,
                       stdout=subprocess.DEVNULL)
        reader = Reader(log)
        floor, measured = best(reader.seconds, lambda: seconds(lambda: read(log)))
        reader.end()
        row("read a 2-hour log to arrays in Python, against C++", floor, measured, "at most 1.10")

        floor, measured = best(lambda: seconds(lambda: (read(log), read(log))),
                               lambda: seconds(lambda: on_two_threads(lambda: read(log))))
        row("two 2-hour logs on two threads of Python, against one", floor, measured, "at most 0.75")

        flight = ostravel.read(log)
        table = pandas.concat([flight.frame(group) for group in ostravel.groups()], axis=1)
        floor, measured = best(lambda: seconds(lambda: table.to_csv(folder / "pandas.csv")),
                               lambda: min(seconds(lambda: flight.to_csv(folder / "flight.csv")) for _ in range(3)),
                               RUNS_OF_PANDAS)
        row("csv of a 2-hour flight, against pandas", floor, measured, "at most 0.05")

        floor, measured = best(lambda: seconds(lambda: read(log)), lambda: seconds(lambda: with_struct(log)), 3)
        row("for the eye: the same by a script of pandas and struct", floor, measured, "-")


if __name__ == "__main__":
    main()
