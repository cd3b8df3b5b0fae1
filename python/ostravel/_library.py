"""The shared library behind the package: where it lies, what its functions and structures are."""

from __future__ import annotations

import ctypes
import ctypes.util
import os
import sys
from ctypes import POINTER, c_char, c_char_p, c_double, c_int, c_int32, c_int64, c_size_t, c_uint8, c_void_p
from pathlib import Path
from typing import List

from .errors import (ExportError, FlightNotFound, LibraryNotFound, NoSuchTask, NotAFlight, OstravelError,
                     ReadCancelled)

INTERFACE = 1
"""OSTRAVEL_INTERFACE of the header that the structures below repeat."""

LABELS = 1
"""OSTRAVEL_LABELS, a flag of ostravel_export."""


class Error(ctypes.Structure):
    _fields_ = [("code", c_int32), ("text", c_char * 2044)]


class ChannelInfo(ctypes.Structure):
    _fields_ = [("name", c_char_p), ("label", c_char_p), ("unit", c_char_p), ("group", c_char_p),
                ("function_code", c_int32), ("row", c_int32)]


class TaskInfo(ctypes.Structure):
    _fields_ = [("id", c_int32), ("name", c_char_p), ("created_ms", c_int64)]


class Period(ctypes.Structure):
    _fields_ = [("function_code", c_int32), ("milliseconds", c_int32)]


Progress = ctypes.CFUNCTYPE(c_int, c_int64, c_int64, c_void_p)


class ReadOptions(ctypes.Structure):
    _fields_ = [("plane", c_int32), ("has_start", c_int32), ("start_seconds", c_int64), ("tasks", POINTER(c_uint8)),
                ("task_count", c_size_t), ("periods", POINTER(Period)), ("period_count", c_size_t),
                ("progress", Progress), ("user", c_void_p)]


class Report(ctypes.Structure):
    _fields_ = [("lines", c_int64), ("bad_headers", c_int64), ("other_planes", c_int64), ("unknown_codes", c_int64),
                ("gaps_filled", c_int64), ("broken_off", c_int32), ("broken_off_text", c_char_p)]


class Origin(ctypes.Structure):
    _fields_ = [("latitude", c_double), ("longitude", c_double), ("scale", c_double)]


class Track(ctypes.Structure):
    _fields_ = [("east", c_void_p), ("north", c_void_p), ("up", c_void_p), ("length", c_size_t)]


_FUNCTIONS = {
    # name: (result, arguments)
    "ostravel_interface": (c_int, []),
    "ostravel_version": (c_char_p, []),
    "ostravel_channel_count": (c_int, []),
    "ostravel_channel": (c_int, [c_int, POINTER(ChannelInfo)]),
    "ostravel_read_defaults": (None, [POINTER(ReadOptions)]),
    "ostravel_read": (c_void_p, [c_char_p, POINTER(ReadOptions), POINTER(Error)]),
    "ostravel_free": (None, [c_void_p]),
    "ostravel_samples": (c_void_p, [c_void_p, c_int, POINTER(c_size_t)]),
    "ostravel_period_ms": (c_int, [c_void_p, c_int]),
    "ostravel_start": (c_int, [c_void_p, POINTER(c_int64)]),
    "ostravel_flight_origin": (None, [c_void_p, POINTER(Origin)]),
    "ostravel_flight_track": (c_int, [c_void_p, c_int, POINTER(Track)]),
    "ostravel_flight_report": (None, [c_void_p, POINTER(Report)]),
    "ostravel_tasks": (c_void_p, [c_char_p, POINTER(Error)]),
    "ostravel_task": (c_int, [c_void_p, c_size_t, POINTER(TaskInfo)]),
    "ostravel_free_tasks": (None, [c_void_p]),
    "ostravel_export": (c_int, [c_void_p, c_char_p, c_char_p, c_int, POINTER(Error)]),
}

_EXCEPTIONS = {
    1: NotAFlight, 2: FlightNotFound, 3: NotAFlight, 4: NoSuchTask, 6: ReadCancelled, 8: ExportError, 9: ExportError,
}


def exception_of(error: Error) -> Exception:
    """The exception of an error that the library reports."""
    text = error.text.decode("utf-8", "replace")
    if error.code == 7:
        return ValueError(text)
    if error.code == 10:
        return MemoryError(text)
    return _EXCEPTIONS.get(error.code, OstravelError)(text)


def _candidates() -> List[str]:
    """Where the library may lie, the nearest place first."""
    chosen = os.environ.get("OSTRAVEL_LIBRARY")
    if chosen:
        return [chosen]
    name = "ostravel.dll" if sys.platform == "win32" else f"libostravel.so.{INTERFACE}"
    package = Path(__file__).resolve().parent
    # In a wheel inside the package; in the program's folder two levels up.
    places = [str(folder / name) for folder in (package, package.parent, package.parent.parent)
              if (folder / name).is_file()]
    if sys.platform == "win32":
        found = ctypes.util.find_library("ostravel")
        return places + ([found] if found else [])
    return places + [name]  # as the system's loader finds it


def load() -> ctypes.CDLL:
    """The library with its functions declared; LibraryNotFound when there is none that fits."""
    reasons = []
    for candidate in _candidates():
        try:
            library = ctypes.CDLL(candidate)
            for name, (result, arguments) in _FUNCTIONS.items():
                function = getattr(library, name)
                function.restype = result
                function.argtypes = arguments
        except (OSError, AttributeError) as error:
            reasons.append(str(error))
            continue
        if library.ostravel_interface() == INTERFACE:
            return library
        reasons.append(f"{candidate} has interface {library.ostravel_interface()} and not {INTERFACE}")
    hint = ("" if sys.platform == "win32"
            else " On Debian the library needs the packages that ostravel/README.md names.")
    raise LibraryNotFound("The library of Ostravel cannot be loaded: "
                          + ("; ".join(reasons) or "it lies neither in the package nor in the system's places")
                          + "." + hint)


library = load()
"""Calls let go of the interpreter's lock, so that other Python threads run meanwhile."""
