"""The table on disk: one row a flight, CSV in UTF-8."""

from __future__ import annotations

import csv
import io
import os
from pathlib import Path
from typing import Dict, Iterable, List, Tuple

from ..errors import OstravelError
from ._work import Job, Result

META = ["file", "task", "bytes", "modified", "function", "error"]
"""The first columns: which flight, in which state it was, what was run on it, and what went wrong."""

Row = Dict[str, str]
Key = Tuple[str, str]


class NotATable(OstravelError):
    """The output exists and is something else."""


def row_of(job: Job, function: str, result: Result) -> Row:
    """The row of a flight."""
    cells, error = result
    row = dict(zip(META, (job.file, job.key[1], str(job.bytes), job.modified, function, error)))
    return {**{name: value for name, value in cells.items() if name not in META}, **row}


def read_table(path: Path) -> Dict[Key, Row]:
    """The rows of an earlier run; none where there is no file."""
    try:
        text = path.read_text(encoding="utf-8-sig")
    except FileNotFoundError:
        return {}
    except (OSError, UnicodeDecodeError) as error:
        raise NotATable(f"{path} cannot be read: {error}") from None
    reader = csv.DictReader(io.StringIO(text, newline=""))
    if text and list(reader.fieldnames or [])[:len(META)] != META:
        raise NotATable(f"{path} is no table of flights; choose another name.")
    rows: Dict[Key, Row] = {}
    try:
        for row in reader:
            # A row of another length is damaged: its flight is done again.
            if None not in row and None not in row.values():
                rows[row["file"], row["task"]] = dict(row)
    except csv.Error as error:
        raise NotATable(f"{path} is damaged: {error}") from None
    return rows


def write_table(path: Path, rows: Iterable[Row]) -> None:
    """Replaces the table when the new one is complete."""
    rows = list(rows)
    columns: List[str] = list(dict.fromkeys(META + [name for row in rows for name in row]))
    text = io.StringIO(newline="")
    writer = csv.DictWriter(text, columns, restval="", lineterminator="\n")
    writer.writeheader()
    writer.writerows(rows)
    # Excel takes a text for UTF-8 only with a mark; without need it would be in the way of others.
    encoding = "utf-8" if text.getvalue().isascii() else "utf-8-sig"
    part = path.with_name(f"{path.name}.part{os.getpid()}")
    try:
        part.write_bytes(text.getvalue().encode(encoding, "replace"))
        os.replace(part, path)
    finally:
        try:
            part.unlink()
        except FileNotFoundError:
            pass
