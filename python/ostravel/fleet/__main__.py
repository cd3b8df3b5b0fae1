"""The command: python3 -m ostravel.fleet FOLDER -o fleet.csv"""

from __future__ import annotations

import argparse
import importlib
import os
import pickle
import sys
from pathlib import Path
from typing import Any, Callable, Dict, List, Optional

from ..errors import OstravelError
from . import _cluster, _local
from ._table import Key, Row, read_table, row_of, write_table
from ._work import Job, Result, find_jobs

_DEFAULT = "ostravel.fleet:statistics"


class _WrongUse(Exception):
    pass


def _arguments(words: Optional[List[str]]) -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="python3 -m ostravel.fleet",
        description="Makes a table of the flights of a folder and the folders in it: a row for each text log (txt) and "
        "for each task of a flight database (db). A second run does only what is new or changed.",
        epilog="A flight that cannot be read, or at which the function fails, is a row with its error. Status: 0 all "
        "well, 1 rows with errors, 2 wrong use, 3 the cluster fails or the table cannot be written.")
    parser.add_argument("folder", type=Path, help="on a cluster: a folder that all workers see under this path")
    parser.add_argument("-o", "--output", type=Path, required=True, metavar="FILE", help="the table, CSV in UTF-8")
    parser.add_argument("--function", default=_DEFAULT, metavar="MODULE:NAME",
                        help="called with each flight; returns the cells of its row as a dictionary (%(default)s)")
    parser.add_argument("--scheduler", metavar="tcp://HOST:8786", help="run on this Dask cluster instead of here")
    parser.add_argument("-j", "--jobs", type=int, default=os.cpu_count() or 1, metavar="N",
                        help="processes on this machine (%(default)s)")
    parser.add_argument("--retry", action="store_true", help="do flights again whose row has an error")
    arguments = parser.parse_args(words)
    if arguments.jobs < 1:
        parser.error("--jobs: at least 1")
    return arguments


def _function_of(name: str) -> Callable[..., Any]:
    module, _, attribute = name.partition(":")
    if not module or not attribute:
        raise _WrongUse(f"--function {name}: MODULE:NAME is wanted")
    try:
        function = getattr(importlib.import_module(module), attribute)
    except (ImportError, AttributeError) as error:
        raise _WrongUse(f"--function {name}: {error}") from None
    if not callable(function):
        raise _WrongUse(f"--function {name} is no function")
    return function


class _Progress:
    """A line that counts, on a terminal alone."""

    def __init__(self, total: int) -> None:
        self._total = total
        self._done = 0
        self._visible = sys.stderr.isatty()

    def step(self) -> None:
        self._done += 1
        if self._visible:
            print(f"\r{self._done} of {self._total} flights", end="", file=sys.stderr, flush=True)

    def end(self) -> None:
        if self._visible and self._done:
            print(file=sys.stderr)


def _is_current(job: Job, row: Optional[Row], function: str, retry: bool) -> bool:
    return (row is not None and (row["bytes"], row["modified"], row["function"]) == (str(job.bytes), job.modified,
                                                                                      function)
            and not (retry and row["error"]))


def _work(arguments: argparse.Namespace, jobs: List[Job], rows: Dict[Key, Row]) -> None:
    """Fills rows with those of jobs."""
    progress = _Progress(len(jobs))

    def done(job: Job, result: Result) -> None:
        rows[job.key] = row_of(job, arguments.function, result)
        progress.step()

    for job in jobs:
        if job.error:
            done(job, ({}, job.error))
    left = [job for job in jobs if not job.error]
    function = _function_of(arguments.function)
    try:
        if not left:
            return
        if arguments.scheduler:
            _cluster.run_on_cluster(left, _cluster.pickled(function), arguments.scheduler, done)
        else:
            _local.run_locally(left, pickle.dumps(function), arguments.jobs, done)
    finally:
        progress.end()


def _run(arguments: argparse.Namespace) -> int:
    if not arguments.folder.is_dir():
        raise _WrongUse(f"{arguments.folder} is no folder")
    _function_of(arguments.function)
    known = read_table(arguments.output)
    jobs = find_jobs(arguments.folder.resolve())
    if not jobs:
        raise _WrongUse(f"{arguments.folder} holds no flight")
    rows = {job.key: known[job.key] for job in jobs
            if _is_current(job, known.get(job.key), arguments.function, arguments.retry)}
    new = [job for job in jobs if job.key not in rows]
    try:
        _work(arguments, new, rows)
    finally:
        # What is done stays done, also when the rest was stopped.
        write_table(arguments.output, [rows[job.key] for job in jobs if job.key in rows])
    failed = [row for row in rows.values() if row["error"]]
    gone = len(known.keys() - {job.key for job in jobs})
    print(f"{arguments.output}: {len(rows)} flights, {len(new)} done now, {len(failed)} with errors"
          + (f", {gone} rows of flights that are gone left out" if gone else ""))
    return 1 if failed else 0


def main(words: Optional[List[str]] = None) -> int:
    """Runs the command. Returns its status."""
    arguments = _arguments(words)
    try:
        return _run(arguments)
    except _WrongUse as error:
        print(f"ostravel.fleet: {error}", file=sys.stderr)
        return 2
    except (OstravelError, OSError) as error:
        print(f"ostravel.fleet: {error}", file=sys.stderr)
        return 3
    except KeyboardInterrupt:
        return 130


if __name__ == "__main__":
    sys.exit(main())
