"""External track plots: all nine buttons of the two plot dialogs, with the real Python and the real Octave."""

import os
import subprocess
from pathlib import Path

import analyst
from analyst import AnalystTest, main
from flight import Flight
from harness import Picture, WaitFailed, tool, wait_for

ENGINE_LIMIT = 120.0  # seconds for the first start of an engine on this machine

PYTHON = [("高度", "Height", "高度曲线"), ("二维航迹", "XY", "二维航迹"), ("三维-全阶段", "XYZ", "三维航迹（全阶段）"),
          ("三维-末端攻击", "Attack", "三维航迹（末端攻击）"), ("demo", "Demo1", "演示：盘旋爬升与俯冲")]
OCTAVE = PYTHON[:4]


class TrackPlots(AnalystTest):
    def test_nine_plots_stay_open_after_dialog_and_program_are_closed(self):
        log = self.make_demo("log", "flight.txt", "--minutes", "20")
        with self.running() as app:
            self.select(app, log)
            self.desktop.key("ctrl+r")
            self.check_report(app, Flight(log.read_text(encoding="latin-1").splitlines()))
            figures = self.draw(app, "python", "PyPlot", PYTHON)
            figures += self.draw(app, "octave", "MPlot", OCTAVE)
            self.assertEqual([line for line in app.log_lines() if line.level == "error"], [])
            self.assertEqual(len(set(figures)), 9, "every plot has a window of its own")
            self.desktop.focus(self.desktop.window("Ostravel"))
            self.leave(app)
        # A figure stays open until the user closes it; the process ends with its last figure.
        for window in figures:
            self.assertIn(window, self.desktop.windows())
            self.assertTrue(self.engines())
            self.desktop.focus(window)
            self.desktop.key("alt+F4")
            wait_for(lambda window=window: window not in self.desktop.windows(), "the figure to close")
        wait_for(lambda: not self.engines(), "the engines to end with their figures")

    def draw(self, app, engine, title, plots):
        """Draws all plots of a dialog and closes the dialog. Returns the windows."""
        self.desktop.focus(self.desktop.window("Ostravel"))
        app.find(title, role="push button").click()
        figures = []
        for button, name, figure in plots:
            before = self.desktop.windows()  # figures of the other engine have the same titles
            dialog = wait_for(lambda: self.desktop.window(title), f"the dialog {title} to be ready", ENGINE_LIMIT)
            self.desktop.focus(dialog)  # the previous figure may cover it
            app.find(button, role="push button").click()
            window = wait_for(lambda figure=figure: self.desktop.window(f"Ostravel - {figure}", but=before),
                              f"the figure {figure}", ENGINE_LIMIT)
            figures.append(window)
            self.check_place(window, dialog if engine == "python" else None)
            picture = self.picture_of(window, f"{engine}-{name.lower()}")
            # The image has curves, text and a colour bar.
            self.assertGreater((picture.data.min(axis=2) < 200).mean(), 0.005, name)
        self.desktop.focus(dialog)
        self.desktop.key("alt+F4")
        wait_for(lambda: not self.desktop.window(title), f"{title} to close")
        return figures

    def check_place(self, window, dialog):
        """Checks that the window is on the screen and does not cover the dialog, whose buttons the user needs."""
        width, height = self.desktop.size

        def placed():
            place = self.desktop.place(window)
            if place.x < 0 or place.y < 0 or place.x + place.width > width or place.y + place.height > height:
                return False
            if dialog is None:
                return True
            buttons = self.desktop.place(dialog)
            return place.x >= buttons.x + buttons.width or place.x + place.width <= buttons.x

        wait_for(placed, "the figure to be on the screen beside the buttons")

    def engines(self):
        """Ids of the processes whose working directory is the plot folder of this test's program."""
        folder = str(self.program.parent / "myPlot")
        found = []
        for process in Path("/proc").glob("[0-9]*"):
            try:
                if os.readlink(process / "cwd") == folder:
                    found.append(int(process.name))
            except OSError:
                pass  # the process just ended
        return found

    def picture_of(self, window, name):
        """Waits until the window does not change. Returns a screenshot of the window."""
        path = analyst.options.artifacts / f"{name}.png"
        self.desktop.focus(window)  # the window manager may keep it below the dialog
        last = [None]

        def settled():
            subprocess.run([tool("import"), "-window", window, str(path)], check=True)
            now = Picture(path)
            before, last[0] = last[0], now
            same = before is not None and before.data.shape == now.data.shape and (before.data == now.data).all()
            return now if same and now.colours() > 200 else None

        try:
            return wait_for(settled, f"{name} to be drawn", ENGINE_LIMIT, interval=0.5)
        except WaitFailed:
            self.step("failed")
            raise


class TrackPlotsOnASmallScreen(TrackPlots):
    screen = (1366, 768)


if __name__ == "__main__":
    main()
