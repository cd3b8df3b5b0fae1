"""A clock that jumps back while the programs run, and one that was never set."""

import json
import os
import subprocess
import time

from faults import FORMATS, LIMIT, ProgramsTest, WindowTest, analyst, main, settings, tree
from harness import wait_for

LIBRARY = "/usr/lib/x86_64-linux-gnu/faketime/libfaketime.so.1"
TWO_HOURS_BACK = "-7200"
NEVER_SET = "@1970-01-01 00:00:10"


class Clock:
    """Variables for a program whose clock follows set(). Only the clock of the date is changed, as by a user."""

    def __init__(self, folder):
        self._setting = folder / "clock"
        self.set("+0")
        self.variables = {"LD_PRELOAD": LIBRARY, "FAKETIME_TIMESTAMP_FILE": str(self._setting),
                          "FAKETIME_NO_CACHE": "1", "FAKETIME_DONT_FAKE_MONOTONIC": "1", "FAKETIME_DONT_RESET": "1"}

    def set(self, offset):
        # In one step, because the program may read it at any time.
        new = self._setting.with_suffix(".new")
        new.write_text(offset + "\n", encoding="ascii")
        new.rename(self._setting)


class Programs(ProgramsTest):
    def setUp(self):
        super().setUp()
        self.clock = Clock(self.folder)
        self.log = self.make_demo("log", "flight.txt", "--minutes", "20")

    def test_clock_is_really_changed(self):
        for offset, expected in (("+0", 0), (TWO_HOURS_BACK, -7200)):
            self.clock.set(offset)
            shown = subprocess.run(["date", "+%s"], env={**os.environ, **self.clock.variables}, capture_output=True,
                                   check=True, text=True).stdout
            self.assertAlmostEqual(int(shown) - time.time(), expected, delta=30)

    def test_conversion_over_a_jump_gives_the_same_files_and_a_sensible_time(self):
        self.assertEqual(self.convert("-f", FORMATS, "-o", "without", self.log).returncode, 0)
        process = subprocess.Popen([analyst.options.converter, "--json", "-f", FORMATS, "-o", "with", self.log],
                                   cwd=self.work, env=self.environment(**self.clock.variables), text=True,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        wait_for(lambda: list((self.work / "with").glob("ostravel-unfinished-*")), "the conversion to begin",
                 interval=0.005)
        self.clock.set(TWO_HOURS_BACK)
        out, error = process.communicate(timeout=LIMIT)
        self.assertEqual((process.returncode, error), (0, ""))
        self.assertEqual(tree(self.work / "with"), tree(self.work / "without"))
        seconds = [json.loads(line)["elapsed"] for line in out.splitlines()]
        self.assertTrue(seconds)
        for value in seconds:
            self.assertTrue(0 <= value < LIMIT, seconds)

    def test_clock_that_was_never_set_gives_the_same_files(self):
        self.assertEqual(self.convert("-f", FORMATS, "-o", "without", self.log).returncode, 0)
        self.clock.set(NEVER_SET)
        done = self.convert("-f", FORMATS, "-o", "with", self.log, **self.clock.variables)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(tree(self.work / "with"), tree(self.work / "without"))

    def test_lock_of_a_killed_run_from_the_future_does_not_hold_up_the_quit(self):
        self.run_driver("config", "dark")
        # What QSettings leaves when it is killed between its lock and its file, seen after the clock went back.
        lock = self.config.with_name("config.ini.lock")
        dead = subprocess.Popen(["true"])
        dead.wait()
        lock.write_text(f"{dead.pid}\nFaultsDriver\n{os.uname().nodename}\n", encoding="ascii")
        self.clock.set(TWO_HOURS_BACK)
        began = time.monotonic()
        self.run_driver("config", "light", **self.clock.variables)
        self.assertLess(time.monotonic() - began, 20)
        self.assertEqual(settings(self.config)["theme"], "lightTheme")


class Window(WindowTest):
    def test_program_reads_exports_and_logs_over_a_jump(self):
        clock = Clock(self.folder)
        self.make_demo("log", "flight.txt", "--minutes", "5")
        with self.running(env={**os.environ, **clock.variables}) as app:
            self.read(app, "flight.txt")
            self.export_both(app)
            before = self.outputs()
            for name in before:
                (self.work / name).unlink()
            count = len(app.log_lines())
            self.select(app, "flight.txt")
            self.desktop.key("ctrl+r")
            clock.set(TWO_HOURS_BACK)
            self.close_report(app)
            # Messages of the status bar and of the log appear in time, although the clock has not come so far again.
            wait_for(lambda: len(app.log_lines()) > count, "a log line after the jump")
            self.export_both(app)
            self.show(app, [("横滚", 0, (255, 255, 0))])
            self.leave(app)
        self.assertTrue(self.outputs() == before)
        lines = app.log_lines()
        self.assertEqual([line for line in lines if line.level not in ("info", "warning")], [])
        times = [line.time for line in lines]
        self.assertNotEqual(times, sorted(times), "the clock did not jump")
        self.assertEqual(lines[-1].message, "close logger")

    def outputs(self):
        return {name: content for name, content in tree(self.work).items()
                if name.startswith("flight") and name != "flight.txt"}


if __name__ == "__main__":
    main()
