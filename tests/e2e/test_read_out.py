"""Reading the curves: the tool tip at the pointer, and a channel that only the data settings can show."""

import configparser
import re
import time

import numpy

from analyst import AnalystTest, main
from flight import Flight
from harness import Rect, WaitFailed, wait_for

ACTUAL = ("横滚", 0, (255, 255, 0))
TARGET = ("目标横滚", 0, (55, 200, 155))

# A channel of the tab "AttitudeAndPositionInfo" without a check box.
HIDDEN = "地速"

# One blank and six digits: position of the pointer. Two blanks and twelve digits: a sample.
POINTER = re.compile(r"\((\d{4}-\d\d-\d\d \d\d:\d\d:\d\d), (-?[\d.]+)\)")
SAMPLE = re.compile(r"\((\d{4}-\d\d-\d\d \d\d:\d\d:\d\d),  (\S+)\)")

PLACES = [0.12, 0.26, 0.37, 0.5, 0.71, 0.88]  # fractions of a canvas's width


class ReadOut(AnalystTest):
    def test_pointer_reads_the_curve_and_the_settings_show_a_channel_without_a_box(self):
        log = self.make_demo("log", "flight.txt", "--minutes", "10", "--seed", "11")
        flight = Flight(log.read_text(encoding="latin-1").splitlines())
        with self.running() as app:
            self.select(app, log)
            self.desktop.key("ctrl+r")
            self.check_report(app, flight)
            self.show(app, [ACTUAL, TARGET])
            canvas = self.canvases(app)[0]
            self.check_free_pointer(app, canvas, flight)
            self.select_by_legend(app, canvas)
            self.check_short_text(app, canvas, flight)
            self.switch_factors_on(app)
            self.check_factors(app, canvas, flight)
            self.clear_selection(app, canvas)
            self.show_hidden_channel(app, canvas, flight)
            self.leave(app)
        self.check_settings()
        name, target = ACTUAL[0], TARGET[0]
        self.check_log_order(app.log_lines(), [
            f"file selected is:{log}", "decode data finished", f"add graph:{name}, graph index is 0",
            f"add graph:{target}, graph index is 1", f"add graph:{HIDDEN}, graph index is 2",
            "mainwindow destructor", "close logger"])

    def tip(self, app, x, y):
        """Moves the pointer from outside the canvas to a position. Returns the text of the tool tip."""
        # A tool tip closes after ten seconds; on a busy machine, reading it may take longer.
        for _ in range(3):
            self.leave_canvas(app)
            self.desktop.move(x, y)
            try:
                return wait_for(app.tool_tip, f"a tool tip at {x}, {y}", 8)
            except WaitFailed:
                continue
        return self.fail(f"no tool tip at {x}, {y}")

    def leave_canvas(self, app):
        self.desktop.move(5, self.desktop.size[1] // 2)
        wait_for(lambda: app.tool_tip() is None, "the tool tip to disappear")

    @staticmethod
    def at(canvas, share):
        """A point at a fraction of the canvas's width, at half its height."""
        return canvas.x + canvas.width // 20 + int(canvas.width * 0.9 * share), canvas.y + canvas.height // 2

    @staticmethod
    def shown_time(key):
        return time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime(int(key)))

    def check_free_pointer(self, app, canvas, flight):
        """Checks that without a selected curve the tip shows the pointer's position with six digits."""
        left, right = self.shown_time(flight.start()), self.shown_time(flight.keys(ACTUAL[0])[-1])
        x, y = self.at(canvas, 0.5)
        seen = []
        for step in (0, canvas.height // 4):
            text = self.tip(app, x, y + step)
            match = POINTER.fullmatch(text)
            self.assertTrue(match, text)
            self.assertTrue(left < match[1] < right, f"{text} lies between {left} and {right}")
            seen.append(float(match[2]))
        roll = flight.series(ACTUAL[0])
        self.assertTrue(max(roll) > seen[0] > seen[1] > min(roll), f"{seen} on the axis of {ACTUAL[0]}")
        self.assertEqual(self.crosshair(canvas), set())

    def crosshair(self, canvas):
        """Columns of the screen that are red over most of the curves' height. The tool tip may hide a part."""
        curves = Rect(canvas.x, canvas.y + canvas.height // 20, canvas.width, canvas.height * 8 // 10)
        red, green, blue = numpy.moveaxis(self.step("crosshair").part(curves).astype(int), 2, 0)
        heights = (red - numpy.maximum(green, blue) > 40).sum(axis=0)
        return {curves.x + int(column) for column in numpy.flatnonzero(heights > curves.height * 0.6)}

    def select_by_legend(self, app, canvas):
        below = Rect(canvas.x, canvas.y + canvas.height * 9 // 10, canvas.width, canvas.height // 10)
        points = self.step("shown").pixels(ACTUAL[2], below, 5)
        self.assertTrue(points, "the legend shows no line in the curve's colour")
        self.desktop.click(*points[len(points) // 2])
        self.leave_canvas(app)
        # A selected curve has another pen, so its colour disappears from the drawing.
        wait_for(lambda: not self.step("selected").pixels(ACTUAL[2], self.drawing(canvas), 5), "the selected curve")

    def samples_at(self, flight, text):
        """The samples that match a tip: the same second and the same value."""
        match = SAMPLE.fullmatch(text)
        self.assertTrue(match, text)
        found = [i for i, (key, value) in enumerate(zip(flight.keys(ACTUAL[0]), flight.series(ACTUAL[0])))
                 if self.shown_time(key) == match[1] and f"{value:.12g}" == match[2]]
        self.assertTrue(found, f"{text} is no sample of {ACTUAL[0]}")
        return found

    def check_short_text(self, app, canvas, flight):
        """Checks that the tip shows a sample of the selected curve with twelve digits in one line without factors."""
        self.samples_at(flight, self.tip(app, *self.at(canvas, 0.3)))

    def switch_factors_on(self, app):
        self.choose_entry(app, "设置(S)", "界面设置(G)")
        app.find("显示设置", role="dialog")
        box = app.find("指标显示", role="check box")
        self.assertFalse(box.checked)
        box.click()
        wait_for(lambda: box.checked, f"{box} to be ticked")
        self.step("view-settings")
        self.desktop.key("Escape")
        app.wait_until_gone("显示设置", role="dialog")

    def factor_lines(self, flight, index):
        actual, target, keys = flight.series(ACTUAL[0]), flight.series(TARGET[0]), flight.keys(ACTUAL[0])
        goal = target[index]
        rises = goal > actual[index]
        reached = next((i for i in range(index, len(actual)) if (actual[i] > goal) == rises), None)
        rise = "" if reached is None else f"{keys[reached] - keys[index]:.6g}"
        area = 0.0
        for i in range(max(index - 5, 0), min(index + 5, len(actual), len(target))):
            area += flight.PERIOD_MS / 1000.0 * (actual[i] - target[i])
        return [f"偏       差: {actual[index] - goal:.6g}", f"面       积: {area:.6g}", f"上升时间: {rise}"]

    def check_factors(self, app, canvas, flight):
        told, rises = [], set()
        for share in PLACES:
            x, y = self.at(canvas, share)
            lines = self.tip(app, x, y).split("\n")
            self.step(f"factors-{share}")
            expected = {i: self.factor_lines(flight, i) for i in self.samples_at(flight, lines[0])}
            self.assertIn(lines[1:], list(expected.values()), lines)
            told.append((x, [i for i in expected if expected[i] == lines[1:]]))
            rises.add(lines[3])
            wait_for(lambda: any(abs(x - column) <= 1 for column in self.crosshair(canvas)),
                     f"the crosshair below the pointer at {x}")
        self.assertGreater(len(rises), 2, "the places tell too little about the rise time")

        # The sample is at the pointer, so its index is linear in the pointer's column.
        known = [(x, samples[0]) for x, samples in told if len(samples) == 1]
        self.assertGreater(len(known), 3, "the places tell too little about the sample")
        slope, offset = numpy.polyfit(*zip(*known), 1)
        for x, samples in told:
            self.assertLess(min(abs(slope * x + offset - i) for i in samples), 2.0, told)

    def clear_selection(self, app, canvas):
        # Before take-off both curves are in the middle.
        x, y = self.at(canvas, 0.05)
        y -= canvas.height // 4
        self.desktop.click(x, y)
        self.assertRegex(self.tip(app, x, y), POINTER)
        wait_for(lambda: not self.crosshair(canvas), "the crosshair to disappear")

    def show_hidden_channel(self, app, canvas, flight):
        self.leave_canvas(app)
        before = self.step("before")
        self.choose_entry(app, "设置(S)", "数据设置(D)")
        app.find("曲线设置", role="dialog")
        self.step("settings")
        app.find("AttitudeAndPositionInfo", role="page tab").click()
        switch = wait_for(lambda: [widget for widget in app.find_all(HIDDEN) if widget.role != "label"],
                          f"the switch of {HIDDEN}")[0]
        self.step("settings-tab")
        switch.click()
        app.wait_for_log(f"add graph:{HIDDEN}, graph index is 2")
        self.step("settings-switched")
        app.find("OK", role="push button").click()
        app.wait_until_gone("曲线设置", role="dialog")
        self.leave_canvas(app)
        wait_for(lambda: self.is_drawn(before, self.step("hidden"), canvas, flight), f"the curve of {HIDDEN}")

    def is_drawn(self, before, after, canvas, flight):
        """The axes still fit the first curve, so the new curve is visible where its values are in that range."""
        first, values = flight.series(ACTUAL[0]), flight.series(HIDDEN)
        inside = sum(min(first) < value < max(first) for value in values) / len(values)
        self.assertTrue(0.3 < inside < 1, f"{inside} of the samples are on the canvas")
        curves = Rect(canvas.x, canvas.y, canvas.width, canvas.height * 9 // 10)
        changed = (before.part(curves) != after.part(curves)).any(axis=2).any(axis=0)
        return abs(changed.mean() - inside) < 0.1

    def check_settings(self):
        settings = configparser.ConfigParser(interpolation=None)
        settings.optionxform = str
        settings.read(self.program.parent / "config.ini", encoding="utf-8")
        self.assertEqual(settings["Global"]["showFactor"], "true")


if __name__ == "__main__":
    main()
