"""The way of an analyst's first flight: select a log, read it, show curves, move one, leave."""

import argparse
import configparser
import math
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from harness import Desktop, Rect, WaitFailed, install_copy, wait_for

READ_LIMIT = 120.0  # seconds for a read under the sanitizers on a slow machine

# From top to bottom: text, canvas, colour of the curve.
BOXES = [
    ("俯仰", 0, (0, 255, 0)), ("目标俯仰", 0, (255, 0, 255)), ("俯仰差值", 1, (255, 0, 0)),
    ("横滚", 0, (255, 255, 0)), ("目标横滚", 0, (55, 200, 155)), ("横滚差值", 1, (255, 0, 0)),
    ("航向", 0, (37, 190, 255)), ("目标航向", 0, (255, 114, 121)), ("航向差值", 1, (255, 0, 0)),
    ("相对高度", 0, (255, 103, 0)), ("目标高度", 0, (198, 255, 46)), ("高度差值", 1, (255, 0, 0)),
    ("指示空速", 0, (255, 130, 0)), ("目标速度", 0, (0, 250, 255)), ("速度差值", 1, (255, 0, 0)),
]

CURVE_MENU = ["聚焦Y", "聚焦", "去除错误帧", "删除选定的点", "删除选定的曲线", "设置", "增加1个数据", "增加10个数据",
              "交换显示位置"]

MOVED, MOVED_COLOUR = "横滚", (255, 255, 0)

options = None


def float32(value):
    return struct.unpack("f", struct.pack("f", value))[0]


class Flight:
    """What a log should come to, decoded here for a second time: frame counts and both tracks."""

    # function code: (longest frame that is not decoded, fields as (position, format, divisor))
    FIELDS = {
        0x01: (16, [(8, ">i", 1e7), (12, ">i", 1e7)]),  # longitude and latitude of the origin
        0x02: (65, [(29, ">B", 1)]),  # sub-mode
        0x03: (48, [(15, ">B", 1), (16, ">i", 1e7), (20, ">i", 1e7), (32, ">i", 1e2)]),  # satellites, position, height
        0x04: (77, [(6, ">B", 1)]),
        0x05: (33, [(6, ">B", 1)]),
        0x41: (34, [(6, ">B", 1)]),
    }

    def __init__(self, path):
        self.groups = {code: [] for code in self.FIELDS}
        self.frames = 0
        self.errors = 0
        for line in Path(path).read_text(encoding="latin-1").splitlines():
            self._decode(bytes.fromhex(line))
        self._pad(0x02, 0x03)
        self._pad(0x04, 0x02)
        self._pad(0x05, 0x04)
        self.track = self._track(self._track_start(), 1000.0)
        start = self._attack_start()
        self.attack_track = [] if start is None else self._track(start, 10000.0)

    def _decode(self, frame):
        self.frames += 1
        if frame[:2] != b"\xaa\xec" or len(frame) < 4:
            self.errors += 1
            return
        code = frame[3]
        if code in self.FIELDS:
            gate, fields = self.FIELDS[code]
            if len(frame) > gate:
                self.groups[code].append(
                    [struct.unpack_from(kind, frame, position)[0] / divisor for position, kind, divisor in fields])
            else:
                self._repeat(code)
        # A group may lead the next one of the chain by one sample, never trail it.
        for leader, follower in ((0x04, 0x05), (0x02, 0x04), (0x03, 0x02)):
            ahead = len(self.groups[leader]) - len(self.groups[follower])
            if ahead < 0:
                self._repeat(leader)
            elif ahead > 1:
                self._repeat(follower)

    def _repeat(self, code):
        group = self.groups[code]
        group.append(group[-1] if group else [0.0] * len(self.FIELDS[code][1]))

    def _pad(self, follower, leader):
        if len(self.groups[leader]) > len(self.groups[follower]):
            self._repeat(follower)

    def _track_start(self):
        return next((i for i, sample in enumerate(self.groups[0x03]) if sample[0] > 10), 0)

    def _attack_start(self):
        modes = [sample[0] for sample in self.groups[0x02]]
        count = min(len(self.groups[0x03]), len(modes))
        for i in range(count, 0, -1):
            if i < len(modes) and modes[i] == 26 and modes[i - 1] != 26:
                return None if i == count else i
        return 0

    def _track(self, start, jump):
        origin_lng, origin_lat = (float32(value) for value in self.groups[0x01][-10])
        scale = float32(max(math.cos(math.radians(int(origin_lat * 1e7) / 1e7)), 0.01))
        metres = 1e7 * 0.011131884530186653
        points = []
        for _, lng, lat, height in self.groups[0x03][start:]:
            point = [(lng - origin_lng) * metres * scale, (lat - origin_lat) * metres, height]
            if not points:
                point[2] = min(point[2], 1000.0)
            else:
                before = points[-1]
                for axis in (0, 1):
                    if abs(point[axis] - before[axis]) > jump:
                        point[axis] = before[axis]
                if abs(point[2] - before[2]) > 100.0 or abs(point[2]) > 1000.0:
                    point[2] = before[2]
            points.append(point)
        return points


class FirstFlight(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="first-flight-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.program = install_copy(options.program, self.folder / "bin")
        self.work = self.folder / "work"
        self.work.mkdir()
        self.log = self.work / "flight.txt"
        subprocess.run([options.demo, "log", "--minutes", "10", "--seed", "7", str(self.log)], check=True,
                       stdout=subprocess.DEVNULL)
        self.desktop = self.enterContext(Desktop())

    def step(self, name):
        return self.desktop.screenshot(options.artifacts / f"{name}.png")

    def test_log_is_selected_read_shown_moved_and_left_in_files(self):
        flight = Flight(self.log)
        app = self.desktop.start(self.program, self.work)
        try:
            self.select(app)
            self.read(app, flight)
            self.show_all(app)
            self.move_one(app)
            self.leave(app)
        except BaseException:
            self.step("failed")
            raise
        self.check_settings()
        self.check_track("data.txt", flight.track)
        self.check_track("data_attack.txt", flight.attack_track)
        self.check_log(app)

    def select(self, app):
        app.find("俯仰", role="check box")
        self.desktop.key("ctrl+o")
        app.find(role="text")
        self.desktop.type(str(self.log))
        self.desktop.key("Return")
        app.wait_until_gone(role="text")
        app.find(re.compile(re.escape(str(self.log))), role="status bar")

    def read(self, app, flight):
        self.desktop.key("ctrl+r")
        app.find("解析完成:", role="label", timeout=READ_LIMIT)
        self.step("report")
        labels = [(label.name, label.rect) for label in app.find_all(role="label")]

        def value(name):
            row = next(rect for text, rect in labels if text == name)
            right = [(rect.x, text) for text, rect in labels if rect.y == row.y and rect.x > row.x]
            return int(min(right)[1])

        self.assertEqual(value("总帧数:"), flight.frames % 65536)
        self.assertEqual(value("错误帧："), flight.errors % 65536)
        self.assertEqual(value("所有飞机的帧数："), (flight.frames - flight.errors) % 65536)
        for code, samples in flight.groups.items():
            self.assertEqual(value(f"0x{code:02X}:"), len(samples))
        self.desktop.key("Escape")
        app.wait_until_gone("解析完成:")

    def canvases(self, app):
        """The places of the two canvases: wide, without anything inside, one above the other."""
        found = [widget.rect for widget in app.find_all(role="filler")
                 if not widget.children and widget.rect.width > self.desktop.size[0] / 2]
        self.assertEqual(len(found), 2)
        return sorted(found, key=lambda rect: rect.y)

    def show_all(self, app):
        canvases = self.canvases(app)
        before = self.step("read")
        boxes = [app.find(text, role="check box") for text, _, _ in BOXES]
        for box in boxes:
            self.assertFalse(box.checked, box)
            box.click()
            wait_for(lambda box=box: box.checked, f"{box} to be ticked")
        self.desktop.move(*boxes[-1].centre)
        wait_for(lambda: self.all_drawn(canvases, before), "fifteen curves in their colours")

    def all_drawn(self, canvases, before):
        after = self.step("shown")
        return all(len(after.pixels(colour, canvases[canvas], 40)) > len(before.pixels(colour, canvases[canvas], 40)) + 5
                   for _, canvas, colour in BOXES)

    def move_one(self, app):
        first, second = self.canvases(app)
        before = self.step("shown")
        x, y = self.select_curve(app, before, first)
        self.step("selected")
        self.assertEqual(app.choose("交换显示位置", lambda: self.desktop.click(x, y, button=3)), CURVE_MENU)

        def moved():
            after = self.step("moved")
            return (not after.pixels(MOVED_COLOUR, first, 5) and
                    len(after.pixels(MOVED_COLOUR, second, 5)) > len(before.pixels(MOVED_COLOUR, second, 5)))

        self.desktop.move(5, self.desktop.size[1] // 2)
        wait_for(moved, "the curve on the other canvas")
        self.assertTrue(app.find(MOVED, role="check box").checked)

    def select_curve(self, app, picture, canvas):
        """Clicks on points in the curve's colour until the status bar says that it was the curve that was hit."""
        # The axes at the edges would take the click, and the legend below the curves has the same colours.
        drawing = Rect(canvas.x + canvas.width // 10, canvas.y + canvas.height // 20,
                       canvas.width * 8 // 10, canvas.height * 8 // 10)
        points = picture.pixels(MOVED_COLOUR, drawing, 5)
        self.assertTrue(points, "no point of the curve is visible")
        message = re.compile(f"^Clicked on graph '{MOVED}' at ")
        for x, y in points[::len(points) // 12 + 1]:
            self.desktop.click(x, y)
            try:
                app.find(message, role="status bar", timeout=1.5)
                return x, y
            except WaitFailed:
                continue  # another curve crosses here
        return self.fail(f"none of {len(points)} points hits {MOVED}")

    def leave(self, app):
        self.desktop.key("alt+F4")
        app.find("退出程序？", role="label")
        self.step("question")
        app.find("Yes", role="push button").click()
        self.assertEqual(app.wait_for_end(60), 0)

    def check_settings(self):
        settings = configparser.ConfigParser(interpolation=None)
        settings.optionxform = str
        settings.read(self.program.parent / "config.ini", encoding="utf-8")
        self.assertEqual({name: dict(settings[name]) for name in settings.sections()},
                         {"Global": {"touchMode": "false", "theme": "darkTheme", "showFactor": "false"}})

    def check_track(self, name, expected):
        self.assertGreater(len(expected), 100, "the flight is too short to tell anything")
        text = (self.program.parent / "myPlot" / name).read_text(encoding="ascii")
        self.assertTrue(text.endswith("\n"))
        rows = [line.split("\t") for line in text.splitlines()]
        self.assertEqual({len(row) for row in rows}, {3})
        self.assertEqual(len(rows), len(expected))
        for number, (row, point) in enumerate(zip(rows, expected)):
            for written, wanted in zip(row, point):
                # Six significant digits, and what single precision loses on the way.
                self.assertTrue(math.isclose(float(written), wanted, rel_tol=1e-5, abs_tol=1e-4),
                                f"{name}, line {number + 1}: {row}, expected {point}")

    def check_log(self, app):
        lines = app.log_lines()
        self.assertEqual([line for line in lines if line.level not in ("info", "warning")], [])
        curves = [0, 0]
        expected = ["start select data file", f"file selected is:{self.log}", "start decode data file",
                    "decode data finished"]
        for text, canvas, _ in BOXES:
            expected.append(f"add graph:{text}, graph index is {curves[canvas]}")
            curves[canvas] += 1
        expected += [f"delete graph {MOVED}", f"add graph:{MOVED}, graph index is {curves[1]}",
                     "mainwindow destructor", "write config ini", "close logger"]
        messages = [line.message for line in lines]
        at = 0
        for message in expected:
            self.assertIn(message, messages[at:], "missing, or not in this order")
            at = messages.index(message, at) + 1
        for kind in ("add graph:", "delete graph "):
            self.assertEqual([m for m in messages if m.startswith(kind)], [m for m in expected if m.startswith(kind)])


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", type=Path, required=True, help="the built program; a copy of its folder is run")
    parser.add_argument("--demo", type=Path, required=True, help="the program that makes demo flights")
    parser.add_argument("--artifacts", type=Path, required=True, help="folder for screenshots")
    global options
    options, rest = parser.parse_known_args()
    options.artifacts.mkdir(parents=True, exist_ok=True)
    unittest.main(argv=sys.argv[:1] + rest)


if __name__ == "__main__":
    main()
