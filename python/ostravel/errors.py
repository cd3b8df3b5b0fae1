"""What can go wrong, as exceptions. All derive from OstravelError."""

from __future__ import annotations

__all__ = [
    "ExportError", "FlightNotFound", "LibraryNotFound", "NoSuchTask", "NoStartTime", "NotAFlight", "OstravelError",
    "ReadCancelled", "UnknownChannel",
]


class OstravelError(Exception):
    """Base of all exceptions of this package."""


class LibraryNotFound(OstravelError, ImportError):
    """The library libostravel (ostravel.dll) is missing, or of another version than this package."""


class FlightNotFound(OstravelError, OSError):
    """A file is missing, no regular file, or not readable."""


class NotAFlight(OstravelError, ValueError):
    """A file is neither a text log (txt) nor a flight database (db)."""


class NoSuchTask(OstravelError, LookupError):
    """A database has no task, or not one that was asked for."""


class NoStartTime(OstravelError, ValueError):
    """Neither the log's clock nor the caller says when the flight began."""


class ReadCancelled(OstravelError):
    """The progress function returned False."""


class ExportError(OstravelError, OSError):
    """A flight cannot be exported in this format or to this place."""


class UnknownChannel(OstravelError, KeyError):
    """There is no channel or group of this name."""

    def __str__(self) -> str:
        # KeyError would show the sentence in quotes.
        return str(self.args[0]) if self.args else ""
