"""The work on one flight, as every kind of worker does it."""

from __future__ import annotations

import math
import os
import pickle
import re
from datetime import datetime, timezone
from pathlib import Path
from typing import Any, Dict, Iterator, List, NamedTuple, Optional, Tuple

from .. import _flight
from ..errors import OstravelError

Result = Tuple[Dict[str, str], str]
"""Cells as text, and an error, which is empty after success."""

DIED = "The worker process died at this flight, also when it had nothing else to do."


class Job(NamedTuple):
    """One flight of a folder."""

    file: str
    """Relative to the folder, with slashes."""
    path: str
    """As the workers open it."""
    task: Optional[int]
    """Of a database; None for a text log."""
    bytes: int
    modified: str
    """UTC, of the file and of what SQLite has beside it."""
    error: str = ""
    """Why there is nothing to work on; else empty."""

    @property
    def key(self) -> Tuple[str, str]:
        """What a row is found by."""
        return self.file, "" if self.task is None else str(self.task)


def _state_of(path: Path) -> Tuple[int, str]:
    size, modified = 0, 0
    for each in (path, path.with_name(path.name + "-wal")):
        try:
            state = each.stat()
        except OSError:
            continue
        size += state.st_size
        modified = max(modified, state.st_mtime_ns)
    return size, datetime.fromtimestamp(modified / 1e9, timezone.utc).isoformat(timespec="microseconds")


def _logs(folder: Path) -> Iterator[Path]:
    for place, folders, files in os.walk(folder):
        folders.sort()
        # The files of the program's own text exports hold columns and no frames.
        exported = re.compile(r"0x\d\d-\w+\.txt" if place.endswith("-export") else r"(?!)")
        for name in sorted(files):
            if name.endswith((".txt", ".db")) and not exported.fullmatch(name):
                yield Path(place) / name


def find_jobs(folder: Path) -> List[Job]:
    """The flights of a folder and those below it: a text log is one, a database one for each task."""
    jobs = []
    for path in _logs(folder):
        file = path.relative_to(folder).as_posix()
        size, modified = _state_of(path)
        if path.suffix == ".txt":
            jobs.append(Job(file, str(path), None, size, modified))
            continue
        try:
            # Two numbers of a file may be the same task, of which only the low bits count.
            ids = list(dict.fromkeys(task.id for task in _flight.tasks(path)))
        except OstravelError as error:
            jobs.append(Job(file, str(path), None, size, modified, str(error)))
            continue
        jobs += [Job(file, str(path), task, size, modified) for task in ids]
        if not ids:
            jobs.append(Job(file, str(path), None, size, modified, "The database has no task."))
    return sorted(jobs, key=lambda job: (job.file, -1 if job.task is None else job.task))


def _text_of(value: Any) -> str:
    value = getattr(value, "item", lambda: value)()  # a NumPy scalar as Python's own
    if value is None or isinstance(value, float) and math.isnan(value):
        return ""
    return repr(value) if isinstance(value, float) else str(value)


def run(path: str, task: Optional[int], function: bytes) -> Result:
    """Reads a flight and runs the pickled function on it. Whatever goes wrong becomes the error of the row."""
    try:
        flight = _flight.read(path, tasks=None if task is None else [task])
        if flight.report.accepted == 0:
            return {}, flight.report.broken_off or "There is no frame in it."
    except (OstravelError, MemoryError) as error:
        return {}, str(error) or type(error).__name__
    try:
        cells = pickle.loads(function)(flight)
        return {str(name): _text_of(value) for name, value in dict(cells).items()}, ""
    except KeyboardInterrupt:
        raise
    except BaseException as error:  # sys.exit() in a user's function must not end the worker
        return {}, f"{type(error).__name__}: {error}"
