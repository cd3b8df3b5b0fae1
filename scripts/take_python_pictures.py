#!/usr/bin/python3
"""Makes the pictures of README's part on Python: take_python_pictures.py BIN FOLDER, with BIN that of a build.

plot.png is what the lines of README draw, run as they stand there; fleet.png is a table of ostravel.fleet.
"""

import csv
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[1]
COLUMNS = ["file", "task", "start", "length_s", "distance_m", "highest_m", "autonomous_s", "roll_rms", "yaw_p95",
           "battery_level_min", "damaged_frames", "gaps", "error"]


def ten_lines():
    blocks = re.findall(r"```python\n(.*?)```", (SOURCE / "README.md").read_text(encoding="utf-8"), re.S)
    return next(block for block in blocks if "matplotlib" in block)


def draw_plot(folder):
    # The figure is saved where the lines would show it.
    code = ten_lines().replace("plt.show()", "plt.gcf().set_size_inches(10, 4); plt.savefig('plot.png', dpi=110, "
                               "bbox_inches='tight', pad_inches=0.1)")
    subprocess.run([sys.executable, "-B", "-c", code], check=True, cwd=folder)


def cell_text(name, text):
    if name in ("file", "start", "error") or not text:
        return text.replace("T", " ") if name == "start" else text[:24]
    return f"{float(text):.{0 if float(text) >= 1000 else 1}f}" if "." in text else text


def draw_table(table, picture):
    import matplotlib.pyplot as plt
    with table.open(encoding="utf-8-sig", newline="") as file:
        rows = [[cell_text(name, row[name]) for name in COLUMNS] for row in csv.DictReader(file)]
    figure, axes = plt.subplots(figsize=(13, 0.33 * (len(rows) + 1)))
    axes.axis("off")
    grid = axes.table(rows, colLabels=COLUMNS, loc="center", cellLoc="right")
    grid.auto_set_font_size(False)
    grid.set_fontsize(8.5)
    grid.auto_set_column_width(range(len(COLUMNS)))
    grid.scale(1, 1.35)
    for (row, column), cell in grid.get_celld().items():
        cell.set_edgecolor("#d0d0d0")
        cell.set_facecolor("#eef2f7" if row == 0 else "white")
        if COLUMNS[column] in ("file", "start", "error"):
            cell.set_text_props(ha="left")
    figure.savefig(picture, dpi=110, bbox_inches="tight", pad_inches=0.05)


def main():
    bin_folder, target = (Path(argument).resolve() for argument in sys.argv[1:3])
    os.environ.update(PYTHONPATH=str(SOURCE / "python"), OSTRAVEL_LIBRARY=str(bin_folder / "libostravel.so.1"),
                      MPLBACKEND="Agg")
    target.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)

        def make(kind, path, *arguments):
            (folder / path).parent.mkdir(exist_ok=True)
            subprocess.run([bin_folder / "ostravel-demo", kind, folder / path, *map(str, arguments)], check=True,
                           stdout=subprocess.DEVNULL)

        make("log", "flight.txt", "--minutes", 20)
        draw_plot(folder)
        for seed in range(1, 6):
            make("log", f"archive/flight-{seed:03}.txt", "--minutes", 12 + 7 * seed, "--seed", seed)
        make("damaged", "archive/flight-006.txt", "--minutes", 15, "--seed", 6)
        make("db", "archive/summer.db", "--minutes", 20)
        (folder / "archive/flight-007.txt").write_text("an empty recorder\n", encoding="ascii")
        subprocess.run([sys.executable, "-B", "-m", "ostravel.fleet", "archive", "-o", "fleet.csv"], cwd=folder,
                       stdout=subprocess.DEVNULL)  # status 1, for the rows with errors
        draw_table(folder / "fleet.csv", target / "fleet.png")
        (target / "plot.png").write_bytes((folder / "plot.png").read_bytes())


if __name__ == "__main__":
    main()
