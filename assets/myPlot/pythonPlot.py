"""Draws the flown track: pythonPlot.py Height|XY|XYZ|Attack|Demo1 [--save FILE].

Reads "data.txt" (whole flight) and "data_attack.txt" (last leg) from the working directory: one line per sample with
metres east, metres north and metres up, separated by tabs. Shows a window until the user closes it, or saves to FILE
(png, pdf, svg) without a window. The environment variable OSTRAVEL_FIGURE_AREA ("X Y WIDTH HEIGHT" in pixels) sets the
part of the screen for the window. Errors are shown in the window. Exit codes: 0 drawn, 1 no screen or FILE not written,
2 invalid arguments.
"""

import logging
import os
import sys
from pathlib import Path

# Suppresses the harmless warning of the first start on a machine that the font cache is built.
logging.getLogger("matplotlib.font_manager").setLevel(logging.ERROR)

import matplotlib
import matplotlib.collections
import matplotlib.colors
import matplotlib.ticker
import numpy as np
from matplotlib import pyplot as plt

TRACK, ATTACK_TRACK = "data.txt", "data_attack.txt"
KINDS = ("Height", "XY", "XYZ", "Attack", "Demo1")

FONTS = ("Noto Sans CJK SC", "Noto Sans CJK JP", "Source Han Sans SC", "Source Han Sans CN", "WenQuanYi Micro Hei",
         "WenQuanYi Zen Hei", "Microsoft YaHei", "SimHei", "PingFang SC")

BUCKETS = 900  # sections of a simplified track; each keeps up to eight points, more than a screen can show
MAX_DISTANCE = 1e9  # metres; values beyond are invalid

WINDOW_FRAME = np.array([12, 90])  # pixels of the window's frame, title and tool bar
MIN_FIGURE = np.array([480, 360])  # minimum readable size

INK, QUIET, FAINT = "#22303c", "#6b7a88", "#b9c4cd"
LINE, FILL = "#1565a9", "#cfe2f3"
START, END, TOP = "#1a9850", "#d7301f", "#f28e2b"
COLOURS = ["#31307d", "#2166ac", "#2a9d8f", "#8ab84b", "#f2b134", "#e4572e"]  # all readable on white


class CannotDraw(Exception):
    """Error with a message for the user."""


class Track:
    """Points as three arrays of equal length, with notes about skipped data."""

    def __init__(self, east, north, up, notes=()):
        self.east, self.north, self.up = east, north, up
        self.notes = list(notes)

    def __len__(self):
        return len(self.up)

    def at(self, chosen):
        return Track(self.east[chosen], self.north[chosen], self.up[chosen], self.notes)

    def ground_distance(self):
        """Ground distance in metres from the first point to each point."""
        steps = np.hypot(np.diff(self.east), np.diff(self.north))
        return np.concatenate(([0.0], np.cumsum(steps)))


def read_table(path):
    """All lines of three numbers as rows, and the number of other lines."""
    try:
        text = path.read_text(encoding="ascii", errors="replace")
    except FileNotFoundError:
        raise CannotDraw(f"没有轨迹文件 {path.name}\n\n请先读取一次飞行数据") from None
    except OSError as error:
        raise CannotDraw(f"无法打开轨迹文件 {path.name}\n\n{error.strerror}") from None
    lines = text.splitlines()
    # A file that is being written may end within a line. A truncated number is still a valid number, so drop that line.
    torn = bool(lines) and not text.endswith("\n")
    if torn:
        lines.pop()
    if not lines:
        return np.empty((0, 3)), int(torn), torn
    try:
        table = np.loadtxt(lines, delimiter="\t", ndmin=2, comments=None)
        if table.shape == (len(lines), 3):
            return table, int(torn), torn
    except ValueError:
        pass
    rows = [row for row in map(numbers_of, lines) if row is not None]
    return np.array(rows, float).reshape(-1, 3), len(lines) - len(rows) + torn, torn


def numbers_of(line):
    try:
        row = [float(word) for word in line.split("\t")]
    except ValueError:
        return None
    return row if len(row) == 3 else None


def read_track(name):
    path = Path(name)
    table, damaged, torn = read_table(path)
    notes = []
    if damaged:
        notes.append(f"{damaged} 行不完整，已略去" if damaged > 1 or not torn else "最后一行不完整，已略去")
    # Comparisons with NaN are false.
    sound = (np.abs(table) <= MAX_DISTANCE).all(axis=1)
    if not sound.all():
        notes.append(f"{len(sound) - sound.sum()} 个点不是有效数值，已略去")
    table = table[sound]
    why = "\n".join(notes)
    if len(table) == 0:
        raise CannotDraw(f"轨迹文件 {name} 中没有数据\n\n{why}".strip())
    if len(table) == 1:
        east, north, up = table[0]
        raise CannotDraw(f"轨迹文件 {name} 中只有一个点\n\n"
                         f"东向 {east:g} m，北向 {north:g} m，高度 {up:g} m\n{why}".strip())
    return Track(*table.T.copy(), notes)


def demo_track():
    """A computed track: a spiral climb and a dive."""
    turn = np.linspace(0.0, 8.0 * np.pi, 1600)
    radius = 900.0 - 20.0 * turn
    climb = Track(radius * np.cos(turn), radius * np.sin(turn), 400.0 * (1.0 - np.cos(turn / 8.0)) / 2.0)
    part = np.linspace(0.0, 1.0, 300)[1:]
    return Track(np.concatenate((climb.east, climb.east[-1] - 1300.0 * part ** 2)),
                 np.concatenate((climb.north, climb.north[-1] + 500.0 * part)),
                 np.concatenate((climb.up, climb.up[-1] * (1.0 - part ** 2))))


def thinned(*columns):
    """Indices of the points that are distinguishable on the screen: ends and extremes of each section, in order."""
    count = len(columns[0])
    if count <= 8 * BUCKETS:
        return np.arange(count)
    size = count // BUCKETS
    whole = size * BUCKETS
    starts = np.arange(0, whole, size)
    kept = [starts, starts + size - 1, np.arange(whole, count)]
    for column in columns:
        pieces = column[:whole].reshape(BUCKETS, size)
        kept += [starts + pieces.argmin(axis=1), starts + pieces.argmax(axis=1)]
    return np.unique(np.concatenate(kept))


def use_font():
    from matplotlib import font_manager
    there = {font.name for font in font_manager.fontManager.ttflist}
    matplotlib.rcParams.update({
        "font.family": "sans-serif",
        "font.sans-serif": [name for name in FONTS if name in there] + ["DejaVu Sans"],
        "font.size": 10.5, "axes.unicode_minus": False,
        # Hinting of Chinese characters takes a third of the drawing time and has almost no visible effect.
        "text.hinting": "none", "text.hinting_factor": 1,
        "text.color": INK, "axes.labelcolor": INK, "axes.edgecolor": QUIET, "xtick.color": QUIET, "ytick.color": QUIET,
        "xtick.labelcolor": INK, "ytick.labelcolor": INK,
        "axes.spines.top": False, "axes.spines.right": False, "axes.axisbelow": True,
        "grid.color": "#e3e9ee", "grid.linewidth": 0.9, "legend.frameon": False,
        "figure.facecolor": "white", "savefig.facecolor": "white", "lines.solid_capstyle": "round",
    })


def figure_area():
    """The part of the screen for a window as (x, y, width, height), or None."""
    try:
        area = tuple(int(word) for word in os.environ.get("OSTRAVEL_FIGURE_AREA", "").split())
    except ValueError:
        return None
    return area if len(area) == 4 and area[2] > 0 and area[3] > 0 else None


def fit(figure, area):
    """Shrinks a window to the area and moves it there."""
    x, y, width, height = area
    ratio = getattr(figure.canvas, "device_pixel_ratio", 1.0)
    room = np.maximum((np.array([width, height]) - WINDOW_FRAME) / ratio, MIN_FIGURE)
    size = np.minimum(figure.get_size_inches(), room / figure.dpi * ratio)
    figure.set_size_inches(size)
    slack = np.maximum(room - size * figure.dpi / ratio, 0.0) * ratio / 2.0
    x, y = (int(start + rest) for start, rest in zip((x, y), slack))
    window = getattr(figure.canvas.manager, "window", None)
    if hasattr(window, "wm_geometry"):  # Tk
        window.wm_geometry(f"+{x}+{y}")
    elif hasattr(window, "move"):  # Qt, which uses logical pixels
        window.move(int(x / ratio), int(y / ratio))


def new_figure(title, subtitle="", size=(10.0, 7.0)):
    figure = plt.figure(figsize=size, dpi=100)
    if figure.canvas.manager is not None:
        figure.canvas.manager.set_window_title(f"Ostravel - {title}")
        area = figure_area()
        if area is not None and plt.get_backend().lower() != "agg":
            fit(figure, area)
    figure.text(0.045, 0.957, title, fontsize=17, fontweight="bold", va="center")
    figure.text(0.045, 0.915, subtitle, fontsize=10.5, color=QUIET, va="center")
    return figure


def summary(track):
    facts = [f"{len(track)} 个点", f"地面航程 {track.ground_distance()[-1]:,.0f} m",
             f"高度 {metres(track.up.min())} 至 {metres(track.up.max())} m"]
    return "   ·   ".join(facts + track.notes)


def metres(value):
    """Formats with one decimal, without a sign before zero."""
    return f"{round(value, 1) + 0.0:,.1f}"


def colour_map():
    return matplotlib.colors.LinearSegmentedColormap.from_list("track", COLOURS)


def segments(*columns):
    points = np.column_stack(columns)[:, None, :]
    return np.concatenate((points[:-1], points[1:]), axis=1)


def scale_beside(figure, drawn, label, place):
    axes = figure.add_axes(place)
    bar = figure.colorbar(drawn, cax=axes)
    bar.outline.set_visible(False)
    bar.set_label(label)
    axes.tick_params(length=0)


def middles(values):
    return (values[:-1] + values[1:]) / 2.0


def spread(values, margin=0.05, least=1.0):
    """Range of the values with a margin; never empty."""
    low, high = float(values.min()), float(values.max())
    room = max((high - low) * margin, least / 2.0)
    return low - room, high + room


def square_limits(track, margin=0.06, slimmest=0.45):
    """Ranges east and north for equal scales; widens the smaller one, so that a straight leg is not degenerate."""
    ranges = [np.array(spread(values, margin)) for values in (track.east, track.north)]
    longest = max(high - low for low, high in ranges)
    for limits in ranges:
        lack = slimmest * longest - (limits[1] - limits[0])
        if lack > 0.0:
            limits += (-lack / 2.0, lack / 2.0)
    return ranges


def draw_height():
    track = read_track(TRACK)
    figure = new_figure("高度曲线", summary(track))
    numbers, distance = np.arange(len(track), dtype=float), track.ground_distance()
    top = int(track.up.argmax())
    kept = thinned(track.up)
    floor, ceiling = spread(track.up, 0.12)
    for place, across, label in (([0.085, 0.535, 0.88, 0.33], numbers, "采样序号"),
                                 ([0.085, 0.085, 0.88, 0.33], distance, "地面航程 (m)")):
        axes = figure.add_axes(place)
        axes.fill_between(across[kept], track.up[kept], floor, color=FILL, alpha=0.6, linewidth=0)
        axes.plot(across[kept], track.up[kept], color=LINE, linewidth=1.5)
        for index, colour, marker, name in ((0, START, "o", "起点"), (-1, END, "s", "终点"), (top, TOP, "^", "最高点")):
            axes.plot(across[index], track.up[index], marker, color=colour, markersize=8, markeredgecolor="white",
                      label=f"{name} {metres(track.up[index])} m", clip_on=False, zorder=4, linestyle="none")
        axes.set(xlim=spread(across, 0.01), ylim=(floor, ceiling), xlabel=label, ylabel="高度 (m)")
        axes.xaxis.set_major_formatter(matplotlib.ticker.StrMethodFormatter("{x:,.0f}"))
        axes.grid(True)
        axes.tick_params(length=3)
    figure.axes[0].legend(loc="lower right", bbox_to_anchor=(1.005, 1.0), ncol=3, handletextpad=0.2, columnspacing=1.4)


def draw_xy():
    track = read_track(TRACK)
    figure = new_figure("二维航迹", summary(track), (10.0, 8.0))
    axes = figure.add_axes([0.095, 0.085, 0.745, 0.775])
    part = track.at(thinned(track.east, track.north))
    lines = matplotlib.collections.LineCollection(segments(part.east, part.north), cmap=colour_map(), linewidths=2.2,
                                                  capstyle="round", array=middles(part.up))
    axes.add_collection(lines)
    east, north = square_limits(track)
    # Extends the limits beside a narrow track, so that the scales are equal and the axes fill the figure.
    axes.set(xlim=east, ylim=north, xlabel="东向距离 (m)", ylabel="北向距离 (m)")
    axes.set_aspect("equal", adjustable="datalim")
    axes.grid(True)
    axes.tick_params(length=3)
    for index, colour, marker, name in ((0, START, "o", "起点"), (-1, END, "s", "终点")):
        axes.plot(track.east[index], track.north[index], marker, color=colour, markersize=10, markeredgecolor="white",
                  markeredgewidth=1.4, label=name, zorder=5, linestyle="none")
    axes.legend(loc="lower right", bbox_to_anchor=(1.005, 1.0), ncol=2, handletextpad=0.2, columnspacing=1.4)
    axes.annotate("北", xy=(0.965, 0.975), xytext=(0.965, 0.895), xycoords="axes fraction", ha="center", va="center",
                  arrowprops={"arrowstyle": "-|>", "color": INK, "linewidth": 1.6}, fontsize=11)
    scale_beside(figure, lines, "高度 (m)", [0.875, 0.085, 0.022, 0.775])


def title_pad(limits):
    """Distance in points between a 3D axis and its title; longer numbers need more space."""
    return 7.0 + 1.6 * max(len(f"{limit:.0f}") for limit in limits)


def space_axes(figure, track, floor, margin=0.06):
    """3D axes with equal scales east and north; small heights are stretched."""
    axes = figure.add_axes([-0.045, -0.01, 0.9, 0.93], projection="3d", computed_zorder=False)
    east, north = square_limits(track, margin)
    up = (floor, spread(track.up, max(margin, 0.06))[1])
    spans = [float(high - low) for low, high in (east, north, up)]
    longest = max(spans[:2])
    stretch = 1.0
    if spans[2] < 0.4 * longest:
        # Round factors: 2, 3, 5, 10 times.
        wanted = 0.45 * longest / spans[2]
        unit = 10.0 ** np.floor(np.log10(wanted))
        stretch = max(step * unit for step in (1.0, 2.0, 3.0, 5.0) if step * unit <= wanted * 1.0001)
        stretch = max(stretch, 1.0)
    axes.set_box_aspect((spans[0], spans[1], min(spans[2] * stretch, 1.2 * longest)), zoom=1.06)
    axes.set(xlim=east, ylim=north, zlim=up)
    axes.set_xlabel("东向距离 (m)", labelpad=title_pad(east))
    axes.set_ylabel("北向距离 (m)", labelpad=title_pad(north))
    axes.set_zlabel("高度 (m)" if stretch == 1.0 else f"高度 (m)，放大 {stretch:g} 倍", labelpad=title_pad(up) - 2)
    for axis in (axes.xaxis, axes.yaxis, axes.zaxis):
        axis.set_pane_color((0.965, 0.975, 0.985, 1.0))
        axis.line.set_color(FAINT)
        axis._axinfo["grid"].update(color="#dde5eb", linewidth=0.8)
        axis.set_major_locator(matplotlib.ticker.MaxNLocator(6))
    axes.view_init(elev=27, azim=-58)
    return axes


def draw_in_space(axes, track, colours, markers):
    """Draws the track in colours with its shadow on the floor. Returns the artist for the colour bar."""
    from mpl_toolkits.mplot3d.art3d import Line3DCollection
    floor = axes.get_zlim()[0]
    kept = thinned(track.east, track.north, track.up)
    part = track.at(kept)
    axes.plot(part.east, part.north, floor, color="#c2ccd5", linewidth=1.0, zorder=1)
    for index, colour, _, _ in markers:
        axes.plot([track.east[index]] * 2, [track.north[index]] * 2, [floor, track.up[index]], color=colour,
                  linewidth=1.1, linestyle=(0, (3, 2)), zorder=2)
    lines = Line3DCollection(segments(part.east, part.north, part.up), cmap=colour_map(), linewidths=2.2,
                             capstyle="round", zorder=4)
    lines.set_array(middles(colours[kept]))
    axes.add_collection3d(lines)
    for index, colour, marker, name in markers:
        axes.plot(*([values[index]] for values in (track.east, track.north, track.up)), marker, color=colour,
                  markersize=10, markeredgecolor="white", markeredgewidth=1.3, label=name, zorder=6, linestyle="none")
    return lines


def draw_space(title, track):
    figure = new_figure(title, summary(track), (10.5, 8.0))
    axes = space_axes(figure, track, min(spread(track.up, 0.03)[0], 0.0))
    lines = draw_in_space(axes, track, np.arange(len(track), dtype=float),
                          ((0, START, "o", "起点"), (-1, END, "s", "终点")))
    figure.legend(*axes.get_legend_handles_labels(), loc="upper right", bbox_to_anchor=(0.96, 0.985), ncol=2,
                  handletextpad=0.2)
    scale_beside(figure, lines, "采样序号（时间先后）", [0.905, 0.2, 0.018, 0.55])


def draw_attack():
    leg = read_track(ATTACK_TRACK)
    try:
        whole = read_track(TRACK)
    except CannotDraw:
        whole = leg  # draw only the leg
    figure = new_figure("三维航迹（末端攻击）", summary(leg), (10.5, 8.0))
    axes = space_axes(figure, leg, min(spread(leg.up, 0.03)[0], 0.0), 0.3)
    part = whole.at(thinned(whole.east, whole.north, whole.up))
    (left, right), (near, far), (low, high) = axes.get_xlim(), axes.get_ylim(), axes.get_zlim()
    inside = ((part.east >= left) & (part.east <= right) & (part.north >= near) & (part.north <= far)
              & (part.up >= low) & (part.up <= high))
    # 3D axes do not clip, so points outside the box are replaced by NaN.
    axes.plot(*(np.where(inside, values, np.nan) for values in (part.east, part.north, part.up)), color="#5f6f7d",
              linewidth=1.1, alpha=0.6, label="全程航迹", zorder=3)
    lines = draw_in_space(axes, leg, leg.up, ((0, START, "o", "攻击段起点"), (-1, END, "X", "终点")))
    figure.legend(*axes.get_legend_handles_labels(), loc="upper right", bbox_to_anchor=(0.96, 0.985), ncol=3,
                  handletextpad=0.4)
    scale_beside(figure, lines, "高度 (m)", [0.905, 0.2, 0.018, 0.55])


def draw_message(title, text):
    figure = new_figure(title, size=(7.5, 4.2))
    figure.text(0.5, 0.45, text, ha="center", va="center", fontsize=13, linespacing=1.6)


DRAW = {
    "Height": ("高度曲线", draw_height),
    "XY": ("二维航迹", draw_xy),
    "XYZ": ("三维航迹（全阶段）", lambda: draw_space("三维航迹（全阶段）", read_track(TRACK))),
    "Attack": ("三维航迹（末端攻击）", draw_attack),
    "Demo1": ("演示：盘旋爬升与俯冲", lambda: draw_space("演示：盘旋爬升与俯冲", demo_track())),
}


def wanted(words):
    """The kind of plot and the file to save to or None."""
    if len(words) == 1 and words[0] in KINDS:
        return words[0], None
    if len(words) == 3 and words[0] in KINDS and words[1] == "--save":
        return words[0], words[2]
    print(f"usage: pythonPlot.py {'|'.join(KINDS)} [--save FILE]", file=sys.stderr)
    sys.exit(2)


def main():
    kind, target = wanted(sys.argv[1:])
    if target is not None:
        plt.switch_backend("agg")
    use_font()
    title, draw = DRAW[kind]
    try:
        draw()
    except CannotDraw as reason:
        draw_message(title, str(reason))
    if target is None:
        if plt.get_backend().lower() == "agg":
            sys.exit("pythonPlot.py: there is no screen to draw on")
        plt.show()
        return
    try:
        plt.gcf().savefig(target)
    except (OSError, ValueError) as error:
        sys.exit(f"pythonPlot.py: cannot save: {error}")


if __name__ == "__main__":
    main()
