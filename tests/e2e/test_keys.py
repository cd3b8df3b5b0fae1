"""Keyboard control of the canvases: reading samples, going back and forward through views, saving an image."""

import re

from analyst import AnalystTest, main
from flight import Flight
from harness import Rect, wait_for

ROLL = ("横滚", 0, (255, 255, 0))
TARGET = ("目标横滚", 0, (55, 200, 155))
DIFFERENCE = ("横滚差值", 1, (255, 0, 0))

SAMPLE = re.compile(r"\((\d{4}-\d\d-\d\d \d\d:\d\d:\d\d),  (\S+)\)")


class Keys(AnalystTest):
    def test_keys_read_the_curve_change_the_view_and_save_an_image(self):
        log = self.make_demo("log", "flight.txt", "--minutes", "10", "--seed", "11")
        flight = Flight(log.read_text(encoding="latin-1").splitlines())
        with self.running() as app:
            self.select(app, log)
            self.desktop.key("ctrl+r")
            self.check_report(app, flight)
            self.show(app, [ROLL, TARGET, DIFFERENCE])
            self.select_by_legend(self.canvases(app)[0])
            self.check_read_out(app, flight)
            self.check_views(app)
            self.check_picture(app)
            self.leave(app)
        self.check_log_order(app.log_lines(), [
            "decode data finished", "picture copied to the clipboard", f"picture saved: {self.work / 'flight.svg'}",
            "mainwindow destructor"])

    def select_by_legend(self, canvas):
        below = Rect(canvas.x, canvas.y + canvas.height * 9 // 10, canvas.width, canvas.height // 10)
        points = self.step("shown").pixels(ROLL[2], below, 5)
        self.assertTrue(points, "the legend shows no line in the curve's colour")
        self.desktop.click(*points[len(points) // 2])
        # A selected curve has another pen, so its colour disappears from the drawing.
        wait_for(lambda: not self.step("selected").pixels(ROLL[2], self.drawing(canvas), 5), "the selected curve")

    def check_tip(self, app, flight, index):
        """Checks that the tool tip shows the sample with this index; negative indices count from the end."""
        value = flight.series(ROLL[0])[index]
        seen = []

        def tip_matches():
            tip = app.tool_tip()
            match = tip and SAMPLE.fullmatch(tip)
            seen[:] = [tip]
            return match and match[2] == f"{value:.12g}"

        wait_for(tip_matches, f"the read-out of sample {index}, {value:.12g}; the last one: {seen}")

    def check_read_out(self, app, flight):
        values = flight.series(ROLL[0])
        self.desktop.key("Home")
        self.check_tip(app, flight, 0)
        self.desktop.key(*["Right"] * 3)
        self.check_tip(app, flight, 3)
        self.desktop.key("shift+Right")
        self.check_tip(app, flight, 13)
        other = next(i for i in range(13, len(values)) if values[i] != values[13])
        self.desktop.key("ctrl+Right")
        self.check_tip(app, flight, other)
        self.step("walked")
        self.desktop.key("End")
        self.check_tip(app, flight, -1)
        self.desktop.key("Left")
        self.check_tip(app, flight, -2)
        self.step("end")

    def upper_drawing(self, app, name):
        canvas = self.drawing(self.canvases(app)[0])
        return self.step(name).part(canvas)

    def check_views(self, app):
        self.desktop.key("a")
        fitted = None

        def unchanged():
            nonlocal fitted
            before, fitted = fitted, self.upper_drawing(app, "fitted")
            return before is not None and (before == fitted).all()

        wait_for(unchanged, "the fitted view")
        canvas = self.canvases(app)[0]
        self.desktop.move(canvas.x + canvas.width // 2, canvas.y + canvas.height // 2)
        self.desktop.xdotool("click", "--repeat", 4, "--delay", 50, 4)
        wait_for(lambda: (self.upper_drawing(app, "zoomed") != fitted).mean() > 0.02, "the zoomed view")
        self.desktop.key("BackSpace")
        # The crosshair followed the mouse, so a few columns differ.
        wait_for(lambda: (self.upper_drawing(app, "back") != fitted).mean() < 0.02, "the view before")
        self.desktop.key("shift+BackSpace")
        wait_for(lambda: (self.upper_drawing(app, "forward") != fitted).mean() > 0.02, "the zoomed view again")

    def check_picture(self, app):
        self.desktop.key("ctrl+c")
        app.find("图片已复制到剪贴板", role="status bar")
        self.desktop.key("ctrl+shift+s")
        app.find("保存图片", role="dialog")
        path = self.work / "flight.svg"
        self.type_path(app, path)
        app.find(f"图片已保存：{path}", role="status bar")
        self.assertTrue(path.read_text(encoding="utf-8").rstrip().endswith("</svg>"))
        self.step("saved")


if __name__ == "__main__":
    main()
