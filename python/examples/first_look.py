# %% [markdown]
# # A first look at a flight
#
# Runs as a script, `first_look.py FLIGHT [FOLDER FOR PICTURES]`, and cell by cell in Spyder, VS Code or Jupyter.

# %% Read
import sys
from pathlib import Path

import matplotlib.pyplot as plt
import numpy as np

import ostravel

log = sys.argv[1] if len(sys.argv) > 1 else "demo-flight.txt"
pictures = Path(sys.argv[2]) if len(sys.argv) > 2 else None
flight = ostravel.read(log)
print(flight)
print("origin:", flight.origin)


def show(name):
    """Saves the picture where a folder was named, else opens a window."""
    if pictures:
        plt.savefig(pictures / f"{name}.png", dpi=120)
    else:
        plt.show()
    plt.close()


# %% Commanded and actual roll
count = min(len(flight["FTP_TargetRoll"]), len(flight["PGS_Roll"]))
plt.figure(figsize=(10, 4), layout="constrained")
plt.plot(flight.time("PGS_Roll")[:count], flight["PGS_Roll"][:count], label="actual")
plt.plot(flight.time("FTP_TargetRoll")[:count], flight["FTP_TargetRoll"][:count], label="commanded")
plt.ylabel("roll [°]")
plt.grid(alpha=0.3)
plt.legend()
plt.title(f"{Path(log).stem}, {flight.start}")
show("roll")

# %% Statistics of a flight mode
AUTONOMOUS = 2
count = min(len(flight["FSS_FlightMode"]), len(flight["PGS_Roll"]))
autonomous = flight["FSS_FlightMode"][:count] == AUTONOMOUS
seconds = autonomous.sum() * flight.period("FSS_FlightMode")
print(f"autonomous: {seconds:.0f} s of {flight.duration:.0f} s")
for name in ("PGS_GroundSpeed", "PGS_IndicateAirSpeed", "PGS_GPS_Relative_Height", "PGS_Roll"):
    samples = flight[name][:count][autonomous]
    print(f"  {name:24} mean {samples.mean():8.2f}  min {samples.min():8.2f}  max {samples.max():8.2f}")

# %% Deviation in the attack leg
ATTACK = 26
count = min(len(flight["FSS_SubFlightMode"]), len(flight["DF_RollDiff"]))
attack = flight["FSS_SubFlightMode"][:count] == ATTACK
for name in ("DF_RollDiff", "DF_PitchDiff", "DF_YawDiff", "DF_SpeedDiff", "DF_HeightDiff"):
    deviation = flight[name][:count][attack]
    if name == "DF_YawDiff":
        deviation = (deviation + 180) % 360 - 180  # the short way round
    rms = np.sqrt(np.mean(deviation ** 2))
    print(f"  {name:24} RMS {rms:8.2f}  95 % {np.percentile(np.abs(deviation), 95):8.2f}")

# %% The track, and the attack leg in it
plt.figure(figsize=(6, 6), layout="constrained")
plt.plot(flight.track.x, flight.track.y, linewidth=0.8, label="flight")
plt.plot(flight.attack_track.x, flight.attack_track.y, label="attack leg")
plt.axis("equal")
plt.xlabel("east [m]")
plt.ylabel("north [m]")
plt.grid(alpha=0.3)
plt.legend()
show("track")
