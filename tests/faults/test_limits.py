"""Few file descriptors and little address space: the program reads, plots, exports, and says what is not possible."""

import resource
import shutil

from faults import FORMATS, LIMIT, ProgramsTest, WindowTest, is_whole_workbook, main, settings, tree
from harness import wait_for

DESCRIPTORS = 64
SPACE = 2 << 30  # bytes

ROLL = ("横滚", 0, (255, 255, 0))


def limit(kind, value):
    """What a child has to do before it starts, so that no program of its own can lift the limit."""
    return lambda: resource.setrlimit(kind, (value, value))


class Programs(ProgramsTest):
    def test_converter_with_few_descriptors_runs_fewer_jobs_and_gives_the_same_files(self):
        logs = self.work / "logs"
        logs.mkdir()
        for number in range(40):
            self.make_demo("log", f"logs/{number}.txt", "--minutes", "1", "--seed", str(number + 1))
        self.assertEqual(self.convert("-f", FORMATS, "-o", "free", logs).returncode, 0)
        free = tree(self.work / "free")
        for descriptors, jobs in ((DESCRIPTORS, 8), (DESCRIPTORS, 64), (16, 8), (24, 8), (32, 8)):
            done = self.convert("--overwrite", "-j", jobs, "-f", FORMATS, "-o", "limited", logs,
                                prepare=limit(resource.RLIMIT_NOFILE, descriptors))
            self.assertEqual((done.returncode, done.stderr), (0, ""), descriptors)
            self.assertTrue(tree(self.work / "limited") == free, descriptors)
            shutil.rmtree(self.work / "limited")

    def test_converter_that_cannot_open_the_log_says_so_and_leaves_nothing(self):
        log = self.make_demo("log", "flight.txt", "--minutes", "1")
        # The toolkit takes the fifth descriptor and cannot do without it.
        done = self.convert("-f", FORMATS, "-o", "out", log, prepare=limit(resource.RLIMIT_NOFILE, 5))
        self.assertEqual(done.returncode, 1, done)
        self.assertIn("cannot be opened: Too many open files", done.stderr)
        self.assertFalse((self.work / "out").exists() and list((self.work / "out").iterdir()))

    def test_converter_in_little_space_converts_a_flight_of_two_hours(self):
        log = self.make_demo("log", "flight.txt", "--minutes", "120")
        done = self.convert("-f", FORMATS, log, prepare=limit(resource.RLIMIT_AS, SPACE))
        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_converter_without_enough_space_says_so_and_leaves_nothing(self):
        log = self.make_demo("log", "flight.txt", "--minutes", "120")
        outcomes = set()
        for megabytes in (150, 200, 300, 500):
            done = self.convert("-j", "1", "-f", FORMATS, "-o", "out", log,
                                prepare=limit(resource.RLIMIT_AS, megabytes << 20))
            outcomes.add(done.returncode)
            self.assertIn(done.returncode, (0, 1), (megabytes, done))
            if done.returncode == 1:
                self.assertRegex(done.stderr, "memory|bad_alloc", megabytes)
            if (self.work / "out").exists():
                self.assertEqual(list((self.work / "out").glob("ostravel-unfinished-*")), [], megabytes)
            shutil.rmtree(self.work / "out", ignore_errors=True)
        self.assertIn(1, outcomes)


class LimitedWindow(WindowTest):
    def use(self, minutes, kind, value, words):
        """Uses the program under a limit. The words are those in the place of the map; empty for a map."""
        self.make_demo("log", "flight.txt", "--minutes", str(minutes))
        self.make_demo("route", "route.json", "--waypoints", "30")
        # The light theme, whose map has a colour of its own.
        self.config.write_bytes(b"[Global]\ntheme=lightTheme\n")
        with self.running(prepare=limit(kind, value)) as app:
            self.check_limit(app, kind, value)
            self.read(app, "flight.txt")
            self.show(app, [ROLL])
            self.export_both(app)
            self.save_picture(app, self.work / "picture.png", f"图片已保存：{self.work / 'picture.png'}")
            self.convert_route(app, "route.json")
            wait_for((self.work / "route.xlsx").exists, "the workbook of the route")
            self.desktop.key("Escape")
            app.wait_until_gone("解析航线", role="push button")
            for _ in range(2):
                self.assertRegex(self.open_and_close_map(app) or "", words or "^$")
            self.plot(app)
            self.read(app, "flight.txt")
            self.leave(app)
        self.assertTrue(is_whole_workbook(self.work / "flight.xlsx"))
        self.assertEqual(settings(self.config)["theme"], "lightTheme")
        return [line for line in app.log_lines() if line.level == "error"]

    def check_limit(self, app, kind, value):
        row = {resource.RLIMIT_NOFILE: "Max open files", resource.RLIMIT_AS: "Max address space"}[kind]
        with open(f"/proc/{app.process.pid}/limits", encoding="ascii") as limits:
            line = next(line for line in limits if line.startswith(row))
        self.assertEqual(line[len(row):].split()[:2], [str(value)] * 2)

    def plot(self, app):
        """Has the track drawn by Python: the plotter is a process of its own, under the same limit."""
        self.press(app, "PyPlot")
        dialog = wait_for(lambda: self.desktop.window("PyPlot"), "the plot dialog", LIMIT)
        app.find("高度", role="push button").click()
        figure = wait_for(lambda: self.desktop.window("Ostravel - 高度曲线"), "the plot", LIMIT)
        self.step("plot")
        self.desktop.focus(figure)
        self.desktop.key("alt+F4")
        wait_for(lambda: not self.desktop.window("Ostravel - 高度曲线"), "the plot to close")
        self.desktop.focus(dialog)
        self.desktop.key("alt+F4")
        app.wait_until_gone("高度", role="push button")

    def test_few_descriptors(self):
        self.assertEqual(self.use(20, resource.RLIMIT_NOFILE, DESCRIPTORS, ""), [])

    def test_little_space(self):
        errors = self.use(120, resource.RLIMIT_AS, SPACE, "地址空间")
        self.assertEqual(len(errors), 2, errors)
        self.assertTrue(all("web engine not loaded" in line.message for line in errors), errors)


if __name__ == "__main__":
    main()
