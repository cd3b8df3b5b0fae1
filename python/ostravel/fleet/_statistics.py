"""The row that a flight has when the user brings no function of his own."""

from __future__ import annotations

from typing import Dict, Optional, Union

import numpy as np

from .._flight import Flight

Cell = Union[str, int, float, None]

ATTACK = 26
"""Sub flight mode of the attack leg."""

_MODES = {1: "remote_s", 2: "autonomous_s", 3: "protection_s", 4: "debugging_s", 5: "ready_s"}

_DEVIATIONS = {"roll": "DF_RollDiff", "pitch": "DF_PitchDiff", "yaw": "DF_YawDiff", "speed": "DF_SpeedDiff",
               "height": "DF_HeightDiff"}


def wrapped(degrees: np.ndarray) -> np.ndarray:
    """Differences of angles on the short way round: -180 up to, and not including, 180 degrees."""
    return (degrees + 180.0) % 360.0 - 180.0


def deviation(flight: Flight, name: str) -> np.ndarray:
    """Actual minus commanded value of "roll", "pitch", "yaw" (degrees), "speed" (m/s) or "height" (m).

    Yaw is wrapped. Only samples that have a command; without one the channel holds the actual value.
    """
    commanded = min(len(flight["FTP_TargetPoint_Group"]), len(flight["PGS_Roll"]))
    samples = flight[_DEVIATIONS[name]][:commanded]
    return wrapped(samples) if name == "yaw" else samples


def _lowest(samples: np.ndarray) -> Optional[float]:
    # Before the first frame of a group arrives its gaps are filled with 0.
    above = samples[samples > 0]
    return float(above.min()) if len(above) else None


def _mode_seconds(flight: Flight) -> Dict[str, Cell]:
    modes = flight["FSS_FlightMode"]
    period_ms = round(1000 * flight.period("FSS_FlightMode"))

    def seconds(chosen: np.ndarray) -> float:
        return int(np.count_nonzero(chosen)) * period_ms / 1000

    cells: Dict[str, Cell] = {name: seconds(modes == mode) for mode, name in _MODES.items()}
    cells["other_mode_s"] = seconds(~np.isin(modes, list(_MODES)))
    cells["attack_s"] = seconds(flight["FSS_SubFlightMode"] == ATTACK)
    return cells


def statistics(flight: Flight) -> Dict[str, Cell]:
    """The cells of a flight's row.

    start: time of sample 0 on the aircraft's clock. length_s: seconds from the first to the last sample. distance_m:
    length of the track over ground. highest_m: highest point of the track above the origin. remote_s and so on: seconds
    in each main flight mode, attack_s in the sub mode of the attack. roll_rms, roll_p95 and so on: root of the mean
    square of a deviation (actual minus commanded; degrees, m/s, m) and the value that 95 % of its magnitudes do not
    exceed; yaw takes the short way round. battery_level_min and battery_voltage_min: lowest values above 0, in the
    recorder's units. frames: accepted ones. damaged_frames: lines that are no frame. gaps: samples filled in for
    missing frames. broken_off: why the file ended early. A cell is None where a flight has nothing to count.
    """
    track = flight.track
    report = flight.report
    cells: Dict[str, Cell] = {
        "start": None if flight.start is None else str(flight.start),
        "length_s": flight.duration,
        "distance_m": float(np.hypot(np.diff(track.x), np.diff(track.y)).sum()),
        "highest_m": float(track.z.max()) if len(track.z) else None,
    }
    cells.update(_mode_seconds(flight))
    for name in _DEVIATIONS:
        samples = deviation(flight, name)
        cells[f"{name}_rms"] = float(np.sqrt(np.mean(samples * samples))) if len(samples) else None
        cells[f"{name}_p95"] = float(np.percentile(np.abs(samples), 95)) if len(samples) else None
    cells["battery_level_min"] = _lowest(flight["FSS_MainBatteryLevel"])
    cells["battery_voltage_min"] = _lowest(flight["FSS_MainBatteryVoltage"])
    cells["frames"] = report.accepted
    cells["damaged_frames"] = report.bad_headers
    cells["gaps"] = report.gaps_filled
    cells["broken_off"] = report.broken_off
    return cells
