"""A flight: its samples as NumPy arrays, its times, its tracks, its exports."""

from __future__ import annotations

import ctypes
import datetime
import os
from pathlib import Path
from typing import TYPE_CHECKING, Any, Callable, Dict, Iterator, List, Mapping, NamedTuple, Optional, Sequence, Union

import numpy as np

from . import _library
from ._channels import channel_of, channels, channels_of, function_code_of, groups
from .errors import ExportError, FlightNotFound, NoStartTime, OstravelError

if TYPE_CHECKING:
    import pandas

_lib = _library.library

PathLike = Union[str, "os.PathLike[str]"]
Time = Union[str, datetime.datetime, np.datetime64]

_DEFAULT_PERIOD_MS = 200
_DAY_MS = 24 * 60 * 60 * 1000


class Track(NamedTuple):
    """A flown track in metres from the flight's origin; three read-only arrays of equal length."""

    x: np.ndarray
    """Metres east."""
    y: np.ndarray
    """Metres north."""
    z: np.ndarray
    """Metres up."""


class Origin(NamedTuple):
    """The point of which the tracks count."""

    latitude: float
    """Degrees north."""
    longitude: float
    """Degrees east."""
    scale: float
    """Length of a degree of longitude beside that of a degree of latitude."""


class Report(NamedTuple):
    """What the lines of a file were."""

    lines: int
    """All lines of a text log, or records of a database."""
    bad_headers: int
    """Lines that are no frame."""
    other_planes: int
    """Frames that the plane filter drops."""
    unknown_codes: int
    """Accepted frames whose code brings no sample."""
    gaps_filled: int
    """Samples of a group that repeat the one before, because a frame was missing or too short."""
    broken_off: str
    """Why the file ended early; empty when it was read to its end."""

    @property
    def accepted(self) -> int:
        """Frames that the header and the plane filter let through."""
        return self.lines - self.bad_headers - self.other_planes


class Task(NamedTuple):
    """One flight task of a database."""

    id: int
    """0 to 255; what the argument tasks of read() takes."""
    name: str
    created: datetime.datetime
    """When it was made, in this machine's local time."""


class _Handle:
    """Owns a flight of the library; arrays refer to it, so that their memory stays."""

    def __init__(self, address: int) -> None:
        self.address = address
        self._free = _lib.ostravel_free  # the module may be gone before the last array

    def __del__(self) -> None:
        self._free(self.address)


class _Memory:
    """Samples inside a flight, in the form that NumPy takes without a copy."""

    def __init__(self, handle: _Handle, address: int, length: int) -> None:
        self._handle = handle
        self.__array_interface__ = {"data": (address, True), "shape": (length,), "typestr": np.dtype(float).str,
                                    "version": 3}


def _array(handle: _Handle, address: Optional[int], length: int) -> np.ndarray:
    if not address or length == 0:
        return np.frombuffer(bytes(8))[:0]  # nobody can make it writable
    return np.asarray(_Memory(handle, address, length))


def _path_bytes(path: PathLike) -> bytes:
    text = os.fspath(path)
    if isinstance(text, bytes):
        text = os.fsdecode(text)
    if "\0" in text:
        raise FlightNotFound(f"The path {text!r} holds a NUL character.")
    try:
        return text.encode("utf-8")
    except UnicodeEncodeError:
        raise FlightNotFound(f"The path {text!r} is not valid Unicode; give the file another name.") from None


def _seconds_of(start: Time) -> int:
    try:
        if isinstance(start, datetime.datetime) and start.tzinfo is not None:
            raise ValueError("it must have no time zone, since the aircraft's clock has none")
        moment = np.datetime64(start, "s")
        if np.isnat(moment):
            raise ValueError("it is no time")
        return int(moment.astype(np.int64))
    except ValueError as error:
        raise ValueError(f"start={start!r} cannot be used: {error}") from None


class Flight(Mapping[str, np.ndarray]):
    """One recorded flight, made by read().

    A mapping of 143 channels: flight["PGS_Roll"] and flight["横滚"] are the same read-only array of float64, in the
    channel's unit. No sample is copied, and an array keeps the memory of the flight for as long as it lives. Any number
    of threads may use a flight.
    """

    def __init__(self, handle: _Handle, path: Path) -> None:
        self._handle = handle
        self.path: Path = path
        """The file that was read."""

    # --- samples ---

    def __getitem__(self, name: str) -> np.ndarray:
        """The samples of a channel by its name or its Chinese label; UnknownChannel otherwise."""
        length = ctypes.c_size_t()
        address = _lib.ostravel_samples(self._handle.address, channel_of(name).index, ctypes.byref(length))
        return _array(self._handle, address, length.value)

    def __iter__(self) -> Iterator[str]:
        return (channel.name for channel in channels())

    def __len__(self) -> int:
        return len(channels())

    def __bool__(self) -> bool:
        return True

    def __eq__(self, other: object) -> bool:
        return self is other  # comparing 143 arrays is nobody's wish

    __hash__ = object.__hash__

    def __reduce__(self) -> Any:
        raise TypeError("A flight stays in its process: send its path and read it there.")

    # --- time ---

    def period(self, name: Union[str, int]) -> float:
        """Seconds between two samples of a channel, a group or a function code."""
        return _lib.ostravel_period_ms(self._handle.address, function_code_of(name)) / 1000.0

    @property
    def start(self) -> Optional[np.datetime64]:
        """Time of sample 0 on the aircraft's own clock, datetime64[s]; None when the log does not tell."""
        seconds = ctypes.c_int64()
        if not _lib.ostravel_start(self._handle.address, ctypes.byref(seconds)):
            return None
        return np.datetime64(seconds.value, "s")

    def _length(self, name: Union[str, int]) -> int:
        if isinstance(name, str) and name not in groups():
            return len(self[name])
        return len(self[channels_of(name)[0].name])

    def _milliseconds(self, name: Union[str, int]) -> np.ndarray:
        step = _lib.ostravel_period_ms(self._handle.address, function_code_of(name))
        return np.arange(self._length(name), dtype=np.int64) * step

    def seconds(self, name: Union[str, int]) -> np.ndarray:
        """Seconds of each sample of a channel or group since sample 0, float64."""
        return self._milliseconds(name) / 1000.0

    def time(self, name: Union[str, int]) -> np.ndarray:
        """Times of the samples of a channel or group on the aircraft's own clock, datetime64[ns].

        NoStartTime when the log does not tell when it began; read() takes a start then.
        """
        start = self.start
        if start is None:
            raise NoStartTime("The log has no trustworthy clock: give read() a start, or use seconds().")
        return start.astype("datetime64[ns]") + self._milliseconds(name).astype("timedelta64[ms]")

    # --- tables ---

    def frame(self, group: Union[str, int], labels: bool = False) -> pandas.DataFrame:
        """The channels of a group ("attitude", or its function code 0x03) as a pandas table.

        The index is the time, or the time since sample 0 where the log does not tell the start. Columns have the
        channels' names, with labels=True the Chinese ones. Needs pandas.
        """
        try:
            import pandas
        except ImportError:
            raise OstravelError("Tables need pandas: install python3-pandas, or use flight[name] and "
                                "flight.time(name).") from None
        members = channels_of(group)
        code = members[0].function_code
        if self.start is None:
            index: Any = pandas.Index(self._milliseconds(code).astype("timedelta64[ms]").astype("timedelta64[ns]"),
                                      name="time")
        else:
            index = pandas.DatetimeIndex(self.time(code), name="time")
        return pandas.DataFrame({channel.label if labels else channel.name: self[channel.name] for channel in members},
                                index=index)

    def frames(self, labels: bool = False) -> Dict[str, pandas.DataFrame]:
        """A table for each of the nine groups, by the group's name; see frame()."""
        return {group: self.frame(group, labels) for group in groups()}

    # --- what belongs to the flight as a whole ---

    def _track(self, kind: int) -> Track:
        track = _library.Track()
        _lib.ostravel_flight_track(self._handle.address, kind, ctypes.byref(track))
        return Track(*(_array(self._handle, address, track.length) for address in (track.east, track.north, track.up)))

    @property
    def track(self) -> Track:
        """The flown track in metres from the origin, from the first good position fix on."""
        return self._track(0)

    @property
    def attack_track(self) -> Track:
        """The last leg of the track; the whole flight where there is none."""
        return self._track(1)

    @property
    def origin(self) -> Origin:
        """The origin of the tracks; a fixed one when the log has fewer than ten heartbeats."""
        origin = _library.Origin()
        _lib.ostravel_flight_origin(self._handle.address, ctypes.byref(origin))
        return Origin(origin.latitude, origin.longitude, origin.scale)

    @property
    def report(self) -> Report:
        """What the lines of the file were."""
        report = _library.Report()
        _lib.ostravel_flight_report(self._handle.address, ctypes.byref(report))
        return Report(report.lines, report.bad_headers, report.other_planes, report.unknown_codes,
                      report.gaps_filled, report.broken_off_text.decode("utf-8", "replace"))

    @property
    def duration(self) -> float:
        """Seconds from sample 0 to the last sample of the longest group."""
        return max((self.seconds(group)[-1] for group in groups() if self._length(group)), default=0.0)

    def __repr__(self) -> str:
        report = self.report
        start = "" if self.start is None else f" from {str(self.start).replace('T', ' ')}"
        minutes, seconds = divmod(round(self.duration), 60)
        damaged = f", {report.bad_headers} bad lines" if report.bad_headers else ""
        broken = ", broken off" if report.broken_off else ""
        return (f"<Flight {self.path.name}: {minutes} min {seconds} s{start}, {report.accepted} frames{damaged}"
                f"{broken}>")

    # --- exports ---

    def _export(self, file_format: str, path: PathLike, flags: int = 0) -> Path:
        error = _library.Error()
        if _lib.ostravel_export(self._handle.address, file_format.encode(), _path_bytes(path), flags,
                                ctypes.byref(error)):
            raise _library.exception_of(error)
        return Path(os.fsdecode(path))

    def to_csv(self, path: PathLike, labels: bool = False) -> Path:
        """Writes one table: time, seconds and the channels under their names, with labels=True the Chinese ones.

        A file that exists is replaced. Groups with a period of their own go to tables beside it (flight.0x01.csv).
        """
        return self._export("csv", path, _library.LABELS if labels else 0)

    def to_mat(self, path: PathLike) -> Path:
        """Writes a MAT file of level 5 for MATLAB and GNU Octave, a struct a group. A file that exists is replaced."""
        return self._export("mat", path)

    def to_xlsx(self, path: PathLike) -> Path:
        """Writes the workbook of the program's export, a sheet a group. A workbook that exists keeps its other sheets."""
        return self._export("xlsx", path)

    def to_kml(self, path: PathLike) -> Path:
        """Writes the flown track with time and height as KML. A file that exists is replaced."""
        return self._export("kml", path)

    def to_gpx(self, path: PathLike) -> Path:
        """Writes the flown track with time and height as GPX. A file that exists is replaced."""
        return self._export("gpx", path)

    def to_geojson(self, path: PathLike) -> Path:
        """Writes the flown track with time and height as GeoJSON. A file that exists is replaced."""
        return self._export("geojson", path)

    def to_parquet(self, path: PathLike) -> Path:
        """Writes the table of to_csv() as Parquet, nulls where a group is shorter. Needs pyarrow.

        Groups with a period of their own go to tables beside it (flight.0x01.parquet).
        """
        try:
            import pyarrow
            import pyarrow.parquet
        except ImportError:
            raise ExportError("Parquet needs pyarrow, which is not installed: pip install pyarrow, or use to_csv().") \
                from None
        path = Path(os.fsdecode(path))
        tables: Dict[Path, List[str]] = {}
        for group in groups():
            code = function_code_of(group)
            own = round(1000 * self.period(group)) != _DEFAULT_PERIOD_MS
            tables.setdefault(path.with_name(f"{path.stem}.0x{code:02x}{path.suffix}") if own else path,
                              []).append(group)
        for name, members in tables.items():
            pyarrow.parquet.write_table(pyarrow.table(self._columns(members, pyarrow.array)), str(name))
        return path

    def _columns(self, members: Sequence[str], make: Callable[..., Any]) -> Dict[str, Any]:
        """The columns of one table of groups with the same period, filled up to the longest."""
        longest = max(members, key=self._length)
        rows = self._length(longest)

        def column(samples: np.ndarray) -> Any:
            missing = np.arange(rows) >= len(samples)
            return make(np.concatenate([samples, np.zeros(rows - len(samples))]), mask=missing)

        columns = {} if self.start is None else {"time": make(self.time(longest))}
        columns["seconds"] = make(self.seconds(longest))
        for group in members:
            for channel in channels_of(group):
                columns[channel.name] = column(self[channel.name])
        return columns


def _options(plane: Optional[int], tasks: Optional[Sequence[int]], start: Optional[Time],
             periods: Optional[Mapping[Union[int, str], float]]) -> _library.ReadOptions:
    options = _library.ReadOptions()
    _lib.ostravel_read_defaults(ctypes.byref(options))
    if plane is not None:
        if not 0 <= plane <= 255:
            raise ValueError(f"plane={plane} is no plane: 0 to 255.")
        options.plane = plane
    if tasks is not None:
        chosen = [tasks] if isinstance(tasks, int) else list(tasks)
        for task in chosen:
            if not 0 <= task <= 255:
                raise ValueError(f"{task} is no task: 0 to 255.")
        options.tasks = (ctypes.c_uint8 * len(chosen))(*chosen)
        options.task_count = len(chosen)
    if start is not None:
        options.has_start = 1
        options.start_seconds = _seconds_of(start)
    if periods:
        for group, ms in periods.items():
            if ms != int(ms) or not 0 < ms <= _DAY_MS:
                raise ValueError(f"periods: {ms!r} for {group!r} is no whole number of milliseconds above 0.")
        pairs = [_library.Period(function_code_of(group), int(ms)) for group, ms in periods.items()]
        options.periods = (_library.Period * len(pairs))(*pairs)
        options.period_count = len(pairs)
    return options


def read(path: PathLike, plane: Optional[int] = None, tasks: Optional[Sequence[int]] = None,
         start: Optional[Time] = None, periods: Optional[Mapping[Union[int, str], float]] = None,
         progress: Optional[Callable[[int, int], Optional[bool]]] = None) -> Flight:
    """Reads a flight from a text log (.txt) or a flight database (.db), as the program Ostravel does.

    plane: only the frames of this plane id, 0 to 255.
    tasks: of a database, the ids to read as one flight, in this order; None for all.
    start: time of sample 0 in whole seconds, as text ("2023-07-18 09:00:00"), datetime or datetime64, instead of the
        aircraft's clock. No time zone: it is that clock's own time.
    periods: milliseconds between two samples, by function code or group: {0x01: 1000}. 200 where it is missing; the
        differences and the equipment follow the control status.
    progress: called now and then with what is done and the whole, bytes or records; the whole is 0 while a database is
        copied before it is read. Returning False cancels.

    Damaged lines are counted in Flight.report. A file that breaks off gives what could be read; Flight.report says why.
    Raises FlightNotFound, NotAFlight, NoSuchTask or ReadCancelled. Other Python threads run during a read.
    """
    name = _path_bytes(path)
    options = _options(plane, tasks, start, periods)
    raised: List[BaseException] = []
    if progress is not None:
        def tell(done: int, total: int, _user: Optional[int]) -> int:
            try:
                return progress(done, total) is not False
            except BaseException as error:  # must not get lost in the library
                raised.append(error)
                return 0
        options.progress = _library.Progress(tell)
    error = _library.Error()
    address = _lib.ostravel_read(name, ctypes.byref(options), ctypes.byref(error))
    handle = _Handle(address) if address else None
    if raised:
        raise raised[0]
    if handle is None:
        raise _library.exception_of(error)
    return Flight(handle, Path(os.fsdecode(path)))


def tasks(path: PathLike) -> List[Task]:
    """The tasks of a flight database, in the order of the file. Raises FlightNotFound or NotAFlight."""
    error = _library.Error()
    listed = _lib.ostravel_tasks(_path_bytes(path), ctypes.byref(error))
    if not listed:
        raise _library.exception_of(error)
    found = []
    try:
        info = _library.TaskInfo()
        while _lib.ostravel_task(listed, len(found), ctypes.byref(info)) == 0:
            found.append(Task(info.id, info.name.decode("utf-8", "replace"), _local_time(info.created_ms)))
    finally:
        _lib.ostravel_free_tasks(listed)
    return found


def _local_time(milliseconds: int) -> datetime.datetime:
    try:
        return datetime.datetime.fromtimestamp(milliseconds / 1000)
    except (OverflowError, OSError, ValueError):
        return datetime.datetime.fromtimestamp(0)  # a damaged row
