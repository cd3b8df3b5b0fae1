"""Recorded flights in Python: text logs and flight databases as NumPy arrays.

    import ostravel
    flight = ostravel.read("flight.txt")
    flight["PGS_Roll"]              # degrees; a read-only NumPy array without a copy
    flight.time("PGS_Roll")         # datetime64[ns]
    flight.frame("attitude")        # a pandas table, where pandas is installed

The work is done by the library libostravel, which reads as the program Ostravel does.
"""

from ._channels import Channel, channels, groups
from ._flight import Flight, Origin, Report, Task, Track, read, tasks
from ._library import library as _loaded
from .errors import (ExportError, FlightNotFound, LibraryNotFound, NoSuchTask, NoStartTime, NotAFlight, OstravelError,
                     ReadCancelled, UnknownChannel)

__version__: str = _loaded.ostravel_version().decode()

__all__ = [
    "Channel", "ExportError", "Flight", "FlightNotFound", "LibraryNotFound", "NoStartTime", "NoSuchTask", "NotAFlight",
    "Origin", "OstravelError", "ReadCancelled", "Report", "Task", "Track", "UnknownChannel", "channels", "groups",
    "read", "tasks",
]
