"""The 143 channels and their nine groups."""

from __future__ import annotations

import ctypes
import difflib
from typing import Dict, List, NamedTuple, Union

from . import _library
from .errors import UnknownChannel


class Channel(NamedTuple):
    """One channel of the downlink."""

    name: str
    """Key in code, such as "PGS_Roll"."""
    label: str
    """Chinese name that the program shows, such as "横滚"."""
    unit: str
    """"deg", "m", "m/s", "degC", "%", "laps" or "satellites"; empty where none is settled."""
    group: str
    """Name of its group, such as "attitude"."""
    function_code: int
    """Of its frames, such as 0x03."""
    row: int
    """In the table of its function code, from 0."""
    index: int
    """Among all channels, from 0."""


def _all_channels() -> List[Channel]:
    channels = []
    for index in range(_library.library.ostravel_channel_count()):
        info = _library.ChannelInfo()
        _library.library.ostravel_channel(index, ctypes.byref(info))
        channels.append(Channel(info.name.decode(), info.label.decode(), info.unit.decode(), info.group.decode(),
                                info.function_code, info.row, index))
    return channels


_CHANNELS = _all_channels()
_BY_NAME: Dict[str, Channel] = {key: channel for channel in _CHANNELS for key in (channel.name, channel.label)}
_GROUPS: Dict[str, List[Channel]] = {}
for _channel in _CHANNELS:
    _GROUPS.setdefault(_channel.group, []).append(_channel)


def channels(group: Union[str, int, None] = None) -> List[Channel]:
    """All channels in the order of the downlink, or those of a group ("attitude", or its function code 0x03)."""
    return list(_CHANNELS if group is None else channels_of(group))


def groups() -> List[str]:
    """The names of the nine groups, in the order of the downlink."""
    return list(_GROUPS)


def _near(name: str, known: List[str]) -> str:
    lower = {}
    for each in known:
        lower.setdefault(each.lower(), each)
    # A part of a name counts as near: "roll" finds "PGS_Roll".
    near = difflib.get_close_matches(name.lower(), lower, 3, 0.6)
    near += [key for key in lower if name.lower() in key and key not in near] if len(name) > 1 else []
    return f" Near names: {', '.join(lower[key] for key in near[:4])}." if near else ""


def channel_of(name: str) -> Channel:
    """The channel of a name or label; UnknownChannel with near names otherwise."""
    found = _BY_NAME.get(name) if isinstance(name, str) else None
    if found is None:
        raise UnknownChannel(f"There is no channel {name!r}.{_near(str(name), list(_BY_NAME))}"
                             " ostravel.channels() lists all.")
    return found


def channels_of(group: Union[str, int]) -> List[Channel]:
    """The channels of a group, by its name or function code; UnknownChannel otherwise."""
    if isinstance(group, str) and group in _GROUPS:
        return _GROUPS[group]
    found = [channel for channel in _CHANNELS if channel.function_code == group]
    if not found:
        raise UnknownChannel(f"There is no group {group!r}.{_near(str(group), list(_GROUPS))}"
                             f" Groups: {', '.join(_GROUPS)}.")
    return found


def function_code_of(name: Union[str, int]) -> int:
    """The function code of a channel, a group or a function code."""
    if isinstance(name, str) and name in _BY_NAME:
        return _BY_NAME[name].function_code
    if name in _GROUPS or not isinstance(name, str):
        return channels_of(name)[0].function_code
    return channel_of(name).function_code
