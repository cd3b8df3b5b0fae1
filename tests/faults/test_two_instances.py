"""Two instances in one folder at once. Nothing prevents that: the one that exits last decides the settings."""

import re

from faults import TEXT_FILES, ProgramsTest, WindowTest, is_whole_workbook, main, put_tree, settings, tree
from harness import wait_for

PAIRS = 8
LOG_LINE = re.compile(r"\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\] \[\w+\] \[[^\]]* \d+\] <[^>]*> .*")


class Pairs(ProgramsTest):
    """Pairs of operations at the same moment, without the window."""

    def run_pair(self, first, second):
        """Runs two operations at once. Each is given as its name and its argument."""
        processes = [self.start_driver(*operation) for operation in (first, second)]
        for process in processes:
            self.go(process)
        for process in processes:
            printed = process.communicate(timeout=120)[0]
            self.assertEqual((process.returncode, printed.splitlines()[-1:]), (0, [b"done"]), printed)

    def setUp(self):
        super().setUp()
        self.log = self.make_demo("log", "flight.txt", "--minutes", "2")

    def test_workbook_of_two_exports_is_whole(self):
        self.run_driver("workbook", self.log)
        book = self.work / "flight.xlsx"
        alone = book.read_bytes()
        for _ in range(PAIRS):
            book.unlink()
            self.run_pair(("workbook", self.log), ("workbook", self.log))
            self.assertTrue(book.read_bytes() == alone)
        self.assertEqual({path.name for path in self.work.iterdir()}, {"logs", self.log.name, book.name})

    def test_text_files_of_two_exports_are_whole(self):
        self.run_driver("text", self.log)
        alone = tree(self.work / "flight-export")
        for _ in range(PAIRS):
            for name in TEXT_FILES:
                (self.work / "flight-export" / name).unlink()
            self.run_pair(("text", self.log), ("text", self.log))
            self.assertTrue(tree(self.work / "flight-export") == alone)

    def test_tracks_of_two_reads_of_one_log_are_whole(self):
        self.run_driver("read", self.log)
        alone = tree(self.plots)
        for _ in range(PAIRS):
            self.run_pair(("read", self.log), ("read", self.log))
            self.assertTrue(tree(self.plots) == alone)

    def test_settings_of_two_exits_are_those_of_one(self):
        for _ in range(PAIRS):
            self.run_pair(("config", "light"), ("config", "dark"))
            found = settings(self.config)
            self.assertEqual(set(found), {"touchMode", "theme", "showFactor"})
            self.assertIn(found["theme"], ("lightTheme", "darkTheme"))
        self.assertEqual(sorted(path.name for path in self.driver.parent.iterdir()),
                         ["FaultsDriver", "config.ini", "myPlot"])

    def test_log_that_both_rotate_stays_readable(self):
        # A few lines below the limit, so that both instances rotate it.
        line = "[2023-07-18 09:00:00.000] [info] [Before.cpp 1] <before> before\n"
        put_tree(self.work, {"logs/log.txt": (line * (5 * 1024 * 1024 // len(line) - 3)).encode()})
        for _ in range(PAIRS):
            self.run_pair(("read", self.log), ("read", self.log))
        files = tree(self.work / "logs")
        self.assertTrue(set(files) <= {"log.txt", "log.1.txt", "log.2.txt", "log.3.txt"}, set(files))
        for name, content in files.items():
            for number, text in enumerate(content.decode("utf-8").splitlines()):
                self.assertRegex(text, LOG_LINE, f"{name}:{number}")


class TwoWindows(WindowTest):
    def test_both_read_export_and_quit(self):
        for number in (1, 2):
            self.make_demo("log", f"flight{number}.txt", "--minutes", "3", "--seed", str(number))
        with self.running() as first, self.running() as second:
            apps = {1: first, 2: second}
            windows = {number: self.window_of(app) for number, app in apps.items()}
            for number, app in apps.items():
                self.desktop.focus(windows[number])
                self.read(app, f"flight{number}.txt")
            self.switch_theme(first, windows[1])
            # Both boxes are open before one is closed. A request during an export, or below its box, is ignored.
            words = "Excel导出完成！"
            for number, app in apps.items():
                self.insist(lambda app=app, number=number: self.ask_for_workbook(app, windows[number]),
                            lambda app=app: app.find_all(words, role="label"), "the end of an export")
            for number, app in apps.items():
                self.desktop.focus(windows[number])
                self.close_box(app, words)
            for number, expected in ((1, "lightTheme"), (2, "darkTheme")):
                self.desktop.focus(windows[number])
                self.leave(apps[number])
                self.assertEqual(settings(self.config)["theme"], expected, "the last exit decides")
        for number in (1, 2):
            self.assertTrue(is_whole_workbook(self.work / f"flight{number}.xlsx"))
        text = (self.work / "logs/log.txt").read_text(encoding="utf-8")
        for line in text.splitlines():
            self.assertRegex(line, LOG_LINE)
        self.assertEqual(text.count("close logger"), 2)
        self.assertEqual(text.count("] [error] "), 0)

    def window_of(self, app):
        def search():
            found = self.desktop.xdotool("search", "--all", "--onlyvisible", "--pid", app.process.pid, "--name", "^Ostravel$",
                                         check=False).split()
            return found[0] if found else None

        return wait_for(search, "the window of an instance")

    def ask_for_workbook(self, app, window):
        self.desktop.focus(window)
        self.press(app, "写Excel")

    def switch_theme(self, app, window):
        self.desktop.focus(window)
        self.choose_entry(app, "设置(S)", "界面设置(G)")
        app.find("显示设置", role="dialog")
        box = app.find("夜间模式", role="check box")
        self.assertTrue(box.checked)
        box.click()
        wait_for(lambda: not box.checked, "the light theme")
        app.find("OK", role="push button").click()
        app.wait_until_gone("显示设置", role="dialog")


if __name__ == "__main__":
    main()
