"""An analyst's first flight: select a log, read it, show curves, move one, quit."""

import configparser
import math

from analyst import AnalystTest, main
from flight import Flight
from harness import wait_for

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


class FirstFlight(AnalystTest):
    def test_log_is_read_and_shown_and_its_track_files_are_written(self):
        log = self.make_demo("log", "flight.txt", "--minutes", "10", "--seed", "7")
        flight = Flight(log.read_text(encoding="latin-1").splitlines())
        with self.running() as app:
            self.select(app, log)
            self.desktop.key("ctrl+r")
            self.check_report(app, flight)
            self.show(app, BOXES)
            self.move_one(app)
            self.leave(app)
        self.check_settings()
        self.check_track("data.txt", flight.track)
        self.check_track("data_attack.txt", flight.attack_track)
        self.check_log(app, log)

    def move_one(self, app):
        first, second = self.canvases(app)
        before = self.step("shown")
        x, y = self.click_curve(app, MOVED, MOVED_COLOUR, first)
        self.step("selected")
        self.assertEqual(app.choose("交换显示位置", lambda: self.desktop.click(x, y, button=3)), CURVE_MENU)

        def moved():
            after = self.step("moved")
            return (not after.pixels(MOVED_COLOUR, first, 5) and
                    len(after.pixels(MOVED_COLOUR, second, 5)) > len(before.pixels(MOVED_COLOUR, second, 5)))

        self.desktop.move(5, self.desktop.size[1] // 2)
        wait_for(moved, "the curve on the other canvas")
        self.assertTrue(app.find(MOVED, role="check box").checked)

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
                # Tolerance for six significant digits and single precision.
                self.assertTrue(math.isclose(float(written), wanted, rel_tol=1e-5, abs_tol=1e-4),
                                f"{name}, line {number + 1}: {row}, expected {point}")

    def check_log(self, app, log):
        curves = [0, 0]
        expected = ["start select data file", f"file selected is:{log}", "start decode data file",
                    "decode data finished"]
        for text, canvas, _ in BOXES:
            expected.append(f"add graph:{text}, graph index is {curves[canvas]}")
            curves[canvas] += 1
        expected += [f"delete graph {MOVED}", f"add graph:{MOVED}, graph index is {curves[1]}",
                     "mainwindow destructor", "write config ini", "close logger"]
        lines = app.log_lines()
        self.check_log_order(lines, expected)
        messages = [line.message for line in lines]
        for kind in ("add graph:", "delete graph "):
            self.assertEqual([m for m in messages if m.startswith(kind)], [m for m in expected if m.startswith(kind)])


if __name__ == "__main__":
    main()
