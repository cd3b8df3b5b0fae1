#!/usr/bin/python3
"""Takes the manual's screenshots: the real program on a virtual screen, all windows in both themes.

Each run uses the same demo flight, sizes and clicks. Two runs differ only in the random colours of some channels and
the build date.
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "tests" / "e2e"))
sys.dont_write_bytecode = True

import numpy  # noqa: E402

from harness import Desktop, Picture, Rect, WaitFailed, install_copy, tool, wait_for  # noqa: E402

SCREEN = 1600, 1000
READ_LIMIT = 300.0  # seconds
ENGINE_LIMIT = 120.0  # seconds for the first start of GNU Octave on a machine
THEMES = {"day": "lightTheme", "night": "darkTheme"}
MENUS = {"file": "文件(F)", "view": "视图(V)", "setting": "设置(S)", "trace": "轨迹(T)", "other": "其他(O)",
         "help": "帮助(H)"}
TABS = {"global": "全局", "control": "ControlSystemStatus", "attitude": "AttitudeAndPositionInfo",
        "equipment": "EquipmentStatus"}

ROLL, ROLL_COLOUR = "横滚", (255, 255, 0)
ROLL_DIFF, ROLL_DIFF_COLOUR = "横滚差值", (255, 0, 0)
SELECTED = (80, 80, 255)  # the plot library's pen of a selected curve
COLOURS, FREQUENT = 256, 64
RECORDED = 1689670865  # time stamp of the demo flights in the file dialog


def few_colours(data):
    """Reduces a picture to a palette. The most frequent colours come first, so that plain areas stay exact; then
    repeatedly the colour with the largest weighted error, so that thin curves and small icons keep their colours. All
    other colours are replaced by the nearest."""
    packed = data.reshape(-1, 3).astype(numpy.int32) @ numpy.array([65536, 256, 1])
    values, place, counts = numpy.unique(packed, return_inverse=True, return_counts=True)
    parts = numpy.stack([values >> 16, values >> 8 & 255, values & 255], axis=1)
    nearest = numpy.zeros(len(parts), int)
    distance = numpy.full(len(parts), numpy.inf)
    order = numpy.argsort(-counts)
    for number in range(min(COLOURS, len(parts))):
        taken = order[number] if number < FREQUENT else (distance * numpy.sqrt(counts)).argmax()
        to_it = numpy.square(parts - parts[taken]).sum(axis=1)
        nearer = to_it < distance
        nearest[nearer] = taken
        distance[nearer] = to_it[nearer]
    return parts[nearest][place].astype(numpy.uint8).reshape(data.shape)


class Photographer:
    """One run of the program in one theme."""

    def __init__(self, desktop, app, theme, folder, wanted, raw):
        self.desktop = desktop
        self.app = app
        self.theme = theme
        self.folder = folder
        self.wanted = wanted
        self.raw = raw  # file of the last screenshot

    # ---- pictures ----

    def take(self, name, rect=None):
        """Waits until the screen does not change any more, then saves it or a part of it."""
        last = [None]

        def settled():
            now = self.desktop.screenshot(self.raw)
            before, last[0] = last[0], now
            return before is not None and (before.data == now.data).all()

        wait_for(settled, f"{name} to stand still", interval=0.3)
        self.keep(name, rect)

    def keep(self, name, rect=None):
        """Saves the last screenshot with a palette, which makes it about a third of the size."""
        if self.wanted and name not in self.wanted:
            return
        data = few_colours(Picture(self.raw).part(rect))
        height, width = data.shape[:2]
        target = self.folder / f"{self.theme}-{name}.png"
        subprocess.run([tool("convert"), "-size", f"{width}x{height}", "-depth", "8", "rgb:-", "-strip",
                        "-define", "png:compression-level=9", f"png8:{target}"], input=data.tobytes(), check=True)
        print(target.name, flush=True)

    def frame(self):
        """The geometry of the focused window, including its decorations."""
        window = self.desktop.xdotool("getactivewindow").strip()
        shell = self.desktop.xdotool("getwindowgeometry", "--shell", window)
        values = dict(line.split("=") for line in shell.split())
        # Title bar and borders of the window manager's default theme; xdotool counts them twice.
        return Rect(int(values["X"]) - 2, int(values["Y"]) - 40, int(values["WIDTH"]) + 2, int(values["HEIGHT"]) + 21)

    def take_window(self, name):
        self.aside()
        self.take(name, self.frame())

    def aside(self):
        self.desktop.move(SCREEN[0] - 2, SCREEN[1] - 2)

    # ---- actions ----

    def window(self, title):
        """Waits until a window with this title has the focus."""
        def active():
            window = self.desktop.xdotool("getactivewindow", check=False).strip()
            return window and self.desktop.xdotool("getwindowname", window, check=False).strip() == title
        wait_for(active, f"the window {title!r}", ENGINE_LIMIT)

    def press(self, text):
        self.app.find(text, role="push button").click()

    def tool_bar(self, text, title):
        self.window("Ostravel")
        self.press(text)
        self.window(title)

    def close(self, title):
        self.desktop.key("Escape")
        self.window("Ostravel")
        self.app.wait_until_gone(title, role="dialog")

    def select(self, path):
        self.desktop.key("ctrl+o")
        self.app.find(role="text")
        self.desktop.type(str(path))
        self.desktop.key("Return")
        self.app.find(re.compile(re.escape(str(path))), role="status bar")

    def read(self, during=None):
        self.desktop.key("ctrl+r")
        if during:
            during()
        self.app.find("解析完成:", role="label", timeout=READ_LIMIT)

    def close_report(self):
        self.desktop.key("Escape")
        self.app.wait_until_gone("解析完成:")
        self.window("Ostravel")

    def tick(self, *texts):
        for text in texts:
            box = self.app.find(text, role="check box")
            box.click()
            wait_for(lambda box=box: box.checked, f"{text} to be ticked")

    def tick_all(self):
        self.tick(*[box.name for box in self.app.find_all(role="check box") if not box.checked])

    def clear(self):
        for box in self.app.find_all(role="check box"):
            if box.checked:
                box.click()
                wait_for(lambda box=box: not box.checked, f"{box} to be cleared")

    def canvases(self):
        found = [widget.rect for widget in self.app.find_all(role="filler")
                 if not widget.children and widget.rect.width > SCREEN[0] / 2]
        return sorted(found, key=lambda rect: rect.y)

    @staticmethod
    def drawing(canvas):
        return Rect(canvas.x + canvas.width // 10, canvas.y + canvas.height // 20,
                    canvas.width * 8 // 10, canvas.height * 8 // 10)

    def click_curve(self, name, colour, canvas):
        """Selects a curve by a click near the middle of the canvas. Returns the point."""
        picture = self.desktop.screenshot(self.raw)
        middle = canvas.x + canvas.width // 2
        points = sorted(picture.pixels(colour, self.drawing(canvas), 5), key=lambda point: abs(point[0] - middle))
        message = re.compile(f"^Clicked on graph '{name}' at ")
        for x, y in points[::max(1, len(points) // 40)]:
            self.desktop.click(x, y)
            try:
                wait_for(lambda: self.app.find_all(message, role="status bar"), f"a click on {name}", 1.0)
                return x, y
            except WaitFailed:
                continue  # another curve crosses here
        raise WaitFailed(f"no point of {name} can be clicked")

    def clear_selection(self, canvas):
        """Clicks beside the curves until no curve has the pen of a selected one."""
        area = self.drawing(canvas)
        for share in (0.1, 0.9, 0.3, 0.7, 0.5):
            self.desktop.click(area.x + area.width // 3, area.y + int(area.height * share))
            self.aside()
            try:
                wait_for(lambda: not self.desktop.screenshot(self.raw).pixels(SELECTED, area, 2), "no selection", 2.0)
                return
            except WaitFailed:
                continue  # there was a curve
        raise WaitFailed("the selection cannot be cleared")

    # ---- the pictures, in the order in which they are taken ----

    def before_a_read(self):
        self.window("Ostravel")
        self.aside()
        self.take("main-start")
        for name, text in MENUS.items():
            entry = self.app.find(text, role="menu item")
            entry.click()
            self.desktop.move(SCREEN[0] // 2, SCREEN[1] - 2)
            self.take(f"menu-{name}", Rect(0, 0, 640, 240))
            self.desktop.key("Escape")
            self.desktop.key("Escape")
        self.window("Ostravel")

        self.desktop.key("ctrl+r")
        self.window("Info")
        self.take_window("no-file")
        self.desktop.key("Return")
        self.window("Ostravel")

        self.desktop.key("ctrl+o")
        self.window("Select data file")
        self.take_window("select-file")
        self.desktop.key("Escape")
        self.window("Ostravel")

    def long_read(self, path):
        def picture():
            self.aside()
            rect = []

            def under_way():
                bars = self.app.find_all(role="progress bar")
                if not bars:
                    return False
                bar = bars[0].accessible.queryValue()
                if bar.currentValue - bar.minimumValue < 0.3 * (bar.maximumValue - bar.minimumValue):
                    return False
                box = bars[0].parent.rect
                self.desktop.screenshot(self.raw)
                rect[:] = [Rect(box.x - 1, box.y - 20, box.width + 2, box.height + 21)]
                return True

            wait_for(under_way, "the progress of a read", READ_LIMIT, interval=0.02)
            self.keep("progress", rect[0])

        self.select(path)
        self.read(picture)
        self.close_report()

    def read_flight(self, path):
        self.select(path)
        self.read()
        self.take_window("report")
        self.close_report()

    def curves(self):
        first, second = self.canvases()
        self.tick_all()
        self.aside()
        self.take("main-curves")

        self.clear()
        self.tick("横滚", "目标横滚", "横滚差值")
        # Zooms into the middle of the flight with the wheel.
        x, y = first.x + first.width // 2, first.y + first.height // 2
        self.desktop.move(x, y)
        for _ in range(9):
            self.desktop.xdotool("click", 4)
        self.desktop.click(x, y, button=3)
        self.take("menu-canvas", Rect(x - 240, y - 60, 640, 220))
        self.desktop.key("Down", "Return")  # fit the values to the last curve
        self.aside()
        self.take("main-zoomed")

        at = self.click_curve(ROLL, ROLL_COLOUR, first)
        self.desktop.move(at[0] - 40, at[1] + 30)
        self.desktop.move(at[0], at[1])
        wait_for(self.app.tool_tip, "the read-out")
        self.take("read-out-factors", Rect(at[0] - 320, at[1] - 160, 640, 360))

        self.desktop.click(*at, button=3)
        self.take("menu-curve", Rect(at[0] - 240, at[1] - 60, 640, 420))
        self.desktop.key("Escape")
        self.app.choose("设置", lambda: self.desktop.click(*at, button=3))
        self.window("设置")
        self.take_window("pen")
        self.close("设置")

        self.clear_selection(first)
        x, y = first.x + first.width // 3, first.y + first.height // 3
        self.desktop.move(x - 30, y)
        self.desktop.move(x, y)
        wait_for(self.app.tool_tip, "the read-out")
        self.take("read-out-pointer", Rect(x - 320, y - 120, 640, 240))

        at = self.click_curve(ROLL_DIFF, ROLL_DIFF_COLOUR, second)
        self.desktop.click(*at, button=3)
        self.take("menu-curve-second", Rect(at[0] - 240, at[1] - 320, 640, 400))
        self.desktop.key("Escape")
        self.clear_selection(second)
        self.axis_menu(first)
        self.legend()
        self.clear()

    def axis_menu(self, canvas):
        # The line of the value axis is at the left of the plot.
        picture = self.desktop.screenshot(self.raw)
        line = (255, 255, 255) if self.theme == "night" else (0, 0, 0)
        columns = {}
        for x, y in picture.pixels(line, Rect(canvas.x, canvas.y, canvas.width // 8, canvas.height // 2), 10):
            columns[x] = columns.get(x, 0) + 1
        x = max(columns, key=columns.get)
        y = canvas.y + canvas.height // 4
        self.desktop.click(x, y)
        self.desktop.click(x, y, button=3)
        self.take("menu-axis", Rect(x - 120, y - 80, 640, 200))
        self.desktop.key("Escape")
        self.app.choose("修改字体大小", lambda: self.desktop.click(x, y, button=3))
        self.window("设置")
        self.take_window("font")
        self.close("设置")
        self.clear_selection(canvas)

    def legend(self):
        first, _ = self.canvases()
        x, y = self.legend_entry(first)
        self.desktop.double_click(x, y)
        self.window("修改标签")
        self.take_window("rename")
        self.close("修改标签")
        self.clear_selection(first)

    def legend_entry(self, canvas):
        """A point of the first entry of the legend."""
        strip = Rect(canvas.x + canvas.width // 10, canvas.y + canvas.height - 30, canvas.width * 8 // 10, 28)
        data = self.desktop.screenshot(self.raw).part(strip).astype(int)
        there = numpy.abs(data - data[0, 0]).max(axis=2) > 60
        row = there[:, :strip.width // 4].sum(axis=1).argmax()
        return strip.x + int(there[row].argmax()) + 12, strip.y + int(row)

    def mode_read_out(self):
        self.tool_bar("GolbalSetting", "曲线设置")
        self.app.find(TABS["control"], role="page tab").click()
        label = self.app.find("子飞行模式", role="label").rect
        self.desktop.click(label.x + label.width + 60, label.y + label.height // 2)
        self.close("曲线设置")
        first, _ = self.canvases()
        # The curve's colour is random, but it is the only curve, so any legend entry selects it.
        self.desktop.click(*self.legend_entry(first))
        self.desktop.move(first.x + first.width // 2 - 30, first.y + first.height // 2)
        self.desktop.move(first.x + first.width // 2, first.y + first.height // 2)
        wait_for(self.app.tool_tip, "the read-out")
        self.take("read-out-mode", Rect(first.x + first.width // 2 - 420, first.y, 840, first.height))
        self.clear_selection(first)

    def settings(self):
        self.tool_bar("GolbalSetting", "曲线设置")
        for name, text in TABS.items():
            self.app.find(text, role="page tab").click()
            self.take_window(f"data-settings-{name}")
        self.close("曲线设置")

        self.tool_bar("ViewSetting", "显示设置")
        self.take_window("view-settings")
        # The buttons without a text, from top to bottom.
        frame = self.frame()
        buttons = [button for button in self.app.find_all(role="push button")
                   if button.rect.width <= 40 and button.rect.y > frame.y and button.rect.x > frame.x]
        buttons[0].click()
        wait_for(lambda: self.app.find_all(role="color chooser") or self.app.find_all("Pick Screen Color"),
                 "the colour dialog")
        self.take_window("colour")
        self.desktop.key("Escape")
        self.window("显示设置")
        self.close("显示设置")

    def exports(self, path):
        self.press("写Excel")
        self.window("info")
        self.take_window("export-finished")
        self.desktop.key("Return")
        self.window("Ostravel")
        path.with_suffix(".xlsx").unlink()

    def track_plots(self):
        self.tool_bar("PyPlot", "PyPlot")
        self.take_window("python")
        self.close("PyPlot")
        self.window("Ostravel")
        self.press("MPlot")
        self.window("MPlot")
        self.take_window("matlab")
        self.close("MPlot")

    def map(self):
        self.window("Ostravel")
        self.press("Map")
        self.window("Form")
        start = self.app.find("启功WMTS", role="push button")
        start.click()
        self.press("画无人机航迹")
        self.aside()
        area = Rect(0, 22, start.rect.x - 20, SCREEN[1] - 22)

        def tiles_shown():
            # Without tiles most of the map has one colour.
            packed = self.desktop.screenshot(self.raw).part(area).reshape(-1, 3) @ numpy.array([65536, 256, 1])
            return numpy.unique(packed, return_counts=True)[1].max() < 0.4 * len(packed)

        wait_for(tiles_shown, "the tiles", 60.0, interval=0.5)
        self.take("map-track")

        self.press("清除所有航线")
        self.press("航线使能")
        for x, y in ((0.25, 0.7), (0.35, 0.35), (0.55, 0.3), (0.7, 0.55)):
            self.desktop.click(area.x + int(area.width * x), area.y + int(area.height * y))
        self.desktop.key("Escape")
        self.aside()
        self.take("map-route")

        self.press("清除所有航线")
        self.press("测距")
        for x, y in ((0.25, 0.65), (0.5, 0.4), (0.7, 0.6)):
            self.desktop.click(area.x + int(area.width * x), area.y + int(area.height * y))
        self.desktop.key("Escape")
        self.aside()
        self.take("map-measure")
        self.desktop.key("alt+F4")
        self.window("Ostravel")

    def tools(self, route):
        self.tool_bar("Route2Excel", "Routes")
        self.press("解析航线")
        self.window("info")
        self.take_window("no-route")
        self.desktop.key("Return")
        self.window("Routes")
        self.press("选择航线")
        self.window("选择航线文件")
        self.desktop.type(str(route))
        self.desktop.key("Return")
        self.window("Routes")
        self.press("解析航线")
        wait_for(route.with_suffix(".xlsx").exists, "the workbook of the route")
        self.take_window("route")
        self.close("Routes")

        self.window("Ostravel")
        self.press("MathLib")
        self.window("CommonModule")
        self.calculate()
        self.take_window("calculators")
        self.desktop.key("alt+F4")
        self.window("Ostravel")

    def calculate(self):
        def fill(label, value, number=0):
            """Types into the edit on the right of a label."""
            place = sorted((found.rect for found in self.app.find_all(label, role="label")),
                           key=lambda rect: rect.y)[number]
            edit = min((edit.rect for edit in self.app.find_all(role="text")
                        if abs(edit.rect.y - place.y) < 12 and edit.rect.x > place.x), key=lambda rect: rect.x)
            self.desktop.xdotool("mousemove", edit.x + edit.width // 2, edit.y + edit.height // 2, "click",
                                 "--repeat", "3", "--delay", "40", "1")
            self.desktop.type(value)

        fill("1点经度：", "113.9137800")
        fill("1点纬度：", "33.9470710")
        fill("2点经度：", "113.9580000")
        fill("2点纬度：", "33.9785000")
        fill("1点经度：", "114.0000000", 1)
        fill("1点纬度：", "34.0000000", 1)
        for number, button in enumerate(sorted(self.app.find_all("计算", role="push button"),
                                               key=lambda found: found.rect.y)):
            if number == 2:
                self.fill_vectors()
            button.click()

    def fill_vectors(self):
        for label, values in (("二维向量a", ("3", "4")), ("二维向量b", ("1", "5"))):
            place = self.app.find(label, role="label").rect
            middle = place.x + place.width // 2
            edits = sorted((edit.rect for edit in self.app.find_all(role="text")
                            if 0 < edit.rect.y - place.y < 90 and 0 < middle - edit.rect.x < edit.rect.width),
                           key=lambda rect: rect.y)
            for edit, value in zip(edits, values):
                self.desktop.click(edit.x + edit.width // 2, edit.y + edit.height // 2)
                self.desktop.type(value)

    def about(self):
        self.window("Ostravel")
        self.app.find(MENUS["help"], role="menu item").click()
        self.desktop.key("Down", "Return")
        self.window("About Ostravel")
        self.take_window("about")
        self.close("About Ostravel")

    def tasks(self, path):
        self.select(path)
        self.desktop.key("ctrl+r")
        self.app.find("fly data lists", role="dialog", timeout=READ_LIMIT)
        self.window("fly data lists")
        self.take_window("tasks")
        self.desktop.key("Escape")
        self.app.find("解析完成:", role="label", timeout=READ_LIMIT)
        self.close_report()

    def leave(self):
        self.desktop.key("alt+F4")
        self.app.find("退出程序？", role="label")
        self.take_window("quit")
        self.press("Yes")
        status = self.app.wait_for_end(60)
        if status != 0:
            raise WaitFailed(f"the program ended with {status}")


def walk(theme, program, demo, out, wanted, work):
    flight, long_flight = work / "flight.txt", work / "long.txt"
    database, route = work / "flights.db", work / "route.json"
    for kind, path, *options in (("log", flight, "--minutes", "20", "--seed", "7"),
                                 ("log", long_flight, "--minutes", "300", "--seed", "1"),
                                 ("db", database, "--minutes", "2", "--seed", "5"),
                                 ("route", route, "--waypoints", "24")):
        subprocess.run([demo, kind, *options, str(path)], check=True, stdout=subprocess.DEVNULL)
        os.utime(path, (RECORDED, RECORDED))
    (program.parent / "config.ini").write_text(
        f"[Global]\ntouchMode=false\ntheme={THEMES[theme]}\nshowFactor=true\n", encoding="ascii")
    with Desktop(*SCREEN) as desktop:
        app = desktop.start(program, work)
        photographer = Photographer(desktop, app, theme, out, wanted, work / "raw.png")
        try:
            photographer.before_a_read()
            photographer.long_read(long_flight)
            photographer.read_flight(flight)
            photographer.curves()
            photographer.mode_read_out()
            photographer.settings()
            photographer.exports(flight)
            photographer.track_plots()
            photographer.map()
            photographer.tools(route)
            photographer.about()
            photographer.tasks(database)
            photographer.leave()
        except BaseException:
            failed = Path(tempfile.gettempdir()) / "screenshots-failed.png"
            desktop.screenshot(failed)
            print(f"The screen when it failed: {failed}", file=sys.stderr)
            raise


def run(theme, options):
    # A fixed folder, because the file dialog shows the path.
    folder = Path(tempfile.gettempdir()) / "ostravel-screenshots"
    folder.mkdir()
    try:
        program = install_copy(options.bin / "Ostravel", folder / "bin")
        (program.parent / "tiles").mkdir(exist_ok=True)
        demo = program.parent / "ostravel-demo"
        subprocess.run([demo, "tiles", str(program.parent / "tiles" / "demo.mbtiles")], check=True)
        work = folder / "flights"
        work.mkdir()
        walk(theme, program, demo, options.out.resolve(), set(options.picture), work)
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("bin", type=Path, help="folder of the built program")
    parser.add_argument("out", type=Path, help="folder of the pictures")
    parser.add_argument("picture", nargs="*", help="pictures to take, by their names without the theme (all)")
    parser.add_argument("--theme", choices=THEMES, help="one theme alone")
    options = parser.parse_args()
    options.out.mkdir(parents=True, exist_ok=True)
    if options.theme:
        run(options.theme, options)
        return 0
    # One process per screen, because the accessibility library stays connected to its first bus.
    for theme in THEMES:
        if subprocess.run([sys.executable, "-W", "ignore", *sys.argv, "--theme", theme]).returncode != 0:
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
