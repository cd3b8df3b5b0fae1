"""Functions of a user, good and mean, for the tests of ostravel.fleet."""

import os
import signal
import sys
import time
from pathlib import Path


def samples(flight):
    return {"samples": len(flight["PGS_Roll"]), "roll": flight["PGS_Roll"].max()}


def counted(flight):
    """Leaves a trace of each call beside the flights."""
    with (Path(os.environ["FLEET_TRACE"]) / "calls").open("a", encoding="utf-8") as file:
        file.write(flight.path.name + "\n")
    return samples(flight)


def crash_at_mean(flight):
    """Ends the whole Python at one flight, as a fault in a C extension does."""
    if flight.path.name.startswith("mean"):
        os.kill(os.getpid(), signal.SIGKILL)
    return samples(flight)


def leave_at_mean(flight):
    if flight.path.name.startswith("mean"):
        sys.exit("I leave")
    return samples(flight)


def nothing(_flight):
    return None


def slow(flight):
    """Says that it is at work and by whom, then takes its time."""
    trace = Path(flight.path.parent) / "at-work"
    trace.mkdir(exist_ok=True)
    (trace / f"{flight.path.name}.{os.getpid()}").touch()
    time.sleep(0.5)
    return samples(flight)
