"""Common base of the tests of an analyst's work: the program on a virtual screen, and steps that all tests use."""

import argparse
import contextlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

from harness import Desktop, Rect, WaitFailed, install_copy, wait_for

READ_LIMIT = 120.0  # seconds for a read on a slow machine

options = None


class WorkTest(unittest.TestCase):
    """A test with a working folder of its own."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="analyst-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.work = self.folder / "work"
        self.work.mkdir()

    def make_demo(self, kind, name, *arguments):
        """Writes a demo file; name is relative to the program's working directory. Returns its path."""
        path = self.work / name
        subprocess.run([options.demo, kind, *arguments, str(path)], check=True, stdout=subprocess.DEVNULL)
        return path


class AnalystTest(WorkTest):
    screen = (1920, 1080)

    def setUp(self):
        super().setUp()
        self.program = install_copy(options.program, self.folder / "bin")
        self.desktop = self.enterContext(Desktop(*self.screen))

    def step(self, name):
        return self.desktop.screenshot(options.artifacts / f"{name}.png")

    @contextlib.contextmanager
    def running(self, **options):
        """Context manager: runs the program. Saves a screenshot after a failure. The options are those of Popen."""
        app = self.desktop.start(self.program, self.work, **options)
        try:
            yield app
        except BaseException:
            self.step("failed")
            raise

    @staticmethod
    def insist(action, is_done, what):
        """Repeats an action until it has its effect: on a busy machine a new window takes the focus late."""
        def probe():
            action()
            end = time.monotonic() + 2
            while time.monotonic() < end:
                if is_done():
                    return True
                time.sleep(0.02)
            return False

        wait_for(probe, what, READ_LIMIT)

    def select(self, app, path):
        app.find("俯仰", role="check box")
        self.insist(lambda: self.desktop.key("ctrl+o"), lambda: app.find_all(role="text"), "the file dialog")
        self.type_path(app, path)
        app.find(re.compile(re.escape(str(path))), role="status bar")

    def type_path(self, app, path):
        """Types a path into the open file dialog and confirms it."""
        edit = app.find(role="text")

        def fill():
            self.desktop.key("ctrl+a")
            self.desktop.type(str(path))

        self.insist(fill, lambda: edit.text == str(path), f"{path} in the file dialog")
        self.insist(lambda: self.desktop.key("Return"), lambda: not app.find_all(role="text"), "the file dialog to go")

    @staticmethod
    def choose_entry(app, menu, entry):
        """Chooses an entry of a menu of the menu bar. Menu and entry are given by their texts."""
        app.find(menu, role="menu item").click()
        app.find(entry, role="menu item").click()

    def check_report(self, app, flight):
        """Waits for the report of a read, checks it and closes it."""
        app.find("解析完成:", role="label", timeout=READ_LIMIT)
        self.step("report")
        labels = [(label.name, label.rect) for label in app.find_all(role="label")]

        def value(name):
            row = next(rect for text, rect in labels if text == name)
            right = [(rect.x, text) for text, rect in labels if rect.y == row.y and rect.x > row.x]
            return int(min(right)[1])

        self.assertEqual(value("总帧数:"), flight.frames % 65536)
        self.assertEqual(value("错误帧："), flight.errors % 65536)
        self.assertEqual(value("所有飞机的帧数："), flight.frames % 65536 - flight.errors % 65536)
        for code, samples in flight.groups.items():
            self.assertEqual(value(f"0x{code:02X}:"), len(samples))
        self.desktop.key("Escape")
        app.wait_until_gone("解析完成:")

    def canvases(self, app):
        """The rectangles of the two canvases, found as wide widgets without children, one above the other."""
        found = [widget.rect for widget in app.find_all(role="filler")
                 if not widget.children and widget.rect.width > self.desktop.size[0] / 2]
        self.assertEqual(len(found), 2)
        return sorted(found, key=lambda rect: rect.y)

    @staticmethod
    def drawing(canvas):
        """The part of a canvas that contains only curves, without axes and legend."""
        return Rect(canvas.x + canvas.width // 10, canvas.y + canvas.height // 20,
                    canvas.width * 8 // 10, canvas.height * 8 // 10)

    def show(self, app, boxes):
        """Ticks the boxes, given as (text, number of the canvas, colour), and waits for their curves."""
        canvases = self.canvases(app)
        before = self.step("read")
        for text, _, _ in boxes:
            box = app.find(text, role="check box")
            self.assertFalse(box.checked, box)
            box.click()
            wait_for(lambda box=box: box.checked, f"{box} to be ticked")

        def drawn():
            after = self.step("shown")
            return all(len(after.pixels(colour, canvases[canvas], 40)) >
                       len(before.pixels(colour, canvases[canvas], 40)) + 5 for _, canvas, colour in boxes)

        wait_for(drawn, f"{len(boxes)} curves in their colours")

    def click_curve(self, app, name, colour, canvas):
        """Clicks points of a colour until the status bar shows that the curve was clicked. Returns the point."""
        area = self.drawing(canvas)

        def visible():
            picture = self.step("shown")
            points = picture.pixels(colour, area, 5)
            # If two curves are closer than the click tolerance, the upper one is clicked.
            return picture.by_distance_from_others(points[::len(points) // 60 + 1], colour, area)[:12]

        points = wait_for(visible, f"a visible point of {name}")
        message = re.compile(f"^Clicked on graph '{name}' at ")
        for x, y in points:
            self.desktop.click(x, y)
            try:
                app.find(message, role="status bar", timeout=1.5)
                return x, y
            except WaitFailed:
                continue  # another curve crosses here
        return self.fail(f"none of {len(points)} points hits {name}")

    def leave(self, app):
        self.desktop.key("alt+F4")
        app.find("退出程序？", role="label")
        self.step("question")
        app.find("Yes", role="push button").click()
        self.assertEqual(app.wait_for_end(60), 0)

    def check_log_order(self, lines, expected):
        """Checks that the log has no error and has the expected messages in order, possibly with others between."""
        self.assertEqual([line for line in lines if line.level not in ("info", "warning")], [])
        messages = [line.message for line in lines]
        at = 0
        for message in expected:
            self.assertIn(message, messages[at:], "missing, or not in this order")
            at = messages.index(message, at) + 1


def main(*helpers):
    """Runs the tests. Helpers are additional options of a test for the paths of other programs."""
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", type=Path, required=True, help="the built program; a copy of its folder is run")
    parser.add_argument("--demo", type=Path, required=True, help="the program that makes demo flights")
    parser.add_argument("--artifacts", type=Path, required=True, help="folder for screenshots")
    for helper in helpers:
        parser.add_argument(f"--{helper}", type=Path, required=True)
    global options
    options, rest = parser.parse_known_args()
    options.artifacts.mkdir(parents=True, exist_ok=True)
    unittest.main(argv=sys.argv[:1] + rest)
