"""Kills the programs at random moments: each file is old or new and whole afterwards, and the next run works.

Two kinds of files are written in place, as their readers expect it, and may be neither: a file of the text export has
the first bytes of the new one over the old one, because it is not truncated; a track file is truncated first, and then
has the first bytes of the new one. Temporary files may stay beside the others.
"""

import os
import random
import shutil
import subprocess
import time

from faults import (FORMATS, LIMIT, TEXT_FILES, ProgramsTest, WindowTest, analyst, bytes_of, is_mixed, is_prefix,
                    is_whole_workbook, main, put_tree, settings, tree)
from harness import wait_for

SEED = int(os.environ.get("OSTRAVEL_SEED", "20231118"))

# Kills of each operation: 120 without the window, 32 of the converter and 48 of the program with its window.
DRIVER_KILLS = {"read": 20, "database": 10, "text": 25, "workbook": 25, "route": 20, "config": 20}
CONVERTER_KILLS = 32
WINDOW_KILLS = 48

OLD_CONFIG = b"[Global]\ntheme=DarkTheme\ntouchMode=1\n"
TRACKS = ("data.txt", "data_attack.txt")
OPERATIONS = ("read", "text", "workbook", "route", "quit")


def check_texts(test, folder, old, new, done):
    """Checks the files of a text export, in the order in which they are written."""
    finished = True
    for name in TEXT_FILES:
        found = bytes_of(folder / name)
        whole = new[name] + old[name][len(new[name]):]
        if done or (finished and found == whole):
            test.assertEqual(found, whole, name)
        elif finished:
            test.assertTrue(is_mixed(found, old[name], new[name]), name)
            finished = False
        else:
            test.assertEqual(found, old[name], f"{name} is written before its turn")


def check_tracks(test, plots, old, new, done):
    for name in TRACKS:
        found = bytes_of(plots / name)
        test.assertTrue(found == new[name] or not done and (found == old[name] or is_prefix(found, new[name])), name)


class Kills(ProgramsTest):
    """The program's operations without its window, and the converter."""

    def setUp(self):
        super().setUp()
        self.random = random.Random(SEED)

    def make_logs(self, kind, suffix):
        """Makes the same log twice; the old one is longer, so that a tail that stays can be told."""
        return (self.make_demo(kind, f"old{suffix}", "--minutes", "12", "--seed", "8"),
                self.make_demo(kind, f"new{suffix}", "--minutes", "10", "--seed", "9"))

    def kill_often(self, count, restore, start, check):
        """Kills a process count times, each time at a random moment of what it does.

        restore() puts the old files back; start() gives a process at work; check(done) judges what it has left. Each
        kill is followed by a whole run on top of what the kill left.
        """
        def finish(process):
            began = time.monotonic()
            printed = process.communicate(timeout=LIMIT)[0]
            self.assertEqual(process.returncode, 0, printed)
            check(True)
            return time.monotonic() - began

        restore()
        length = min(finish(start()) for _ in range(3))
        early = 0
        for _ in range(count):
            restore()
            process = start()
            time.sleep(self.random.random() * length)
            process.kill()
            process.communicate()
            early += process.returncode != 0
            check(False)
            # A lock or a temporary file of a killed run must not hold the next one up.
            self.assertLess(finish(start()), 20 * length + 5)
        print(f"{self.id()}: {count} kills within {length * 1000:.0f} ms, {early} of them before the end")
        self.assertGreater(early, count // 2, "most kills come too late")

    def kill_driver(self, operation, argument, restore, check, kind=None):
        def start():
            process = self.start_driver(operation, argument)
            self.go(process)
            return process

        def check_all(done):
            check(done)
            if self.config.exists():
                settings(self.config)

        self.kill_often(DRIVER_KILLS[kind or operation], restore, start, check_all)

    def kill_read(self, old, new, kind):
        self.run_driver("read", new)
        after = tree(self.plots)
        self.run_driver("read", old)
        before = tree(self.plots)
        self.assertEqual(set(before), set(TRACKS))
        self.assertNotEqual(before, after)
        log = new.read_bytes()

        def check(done):
            check_tracks(self, self.plots, before, after, done)
            self.assertEqual(new.read_bytes(), log)

        self.kill_driver("read", new, lambda: put_tree(self.plots, before), check, kind)
        self.assertEqual(sorted(path.name for path in self.work.iterdir()), sorted({"logs", old.name, new.name}))

    def test_read_of_a_text_log_leaves_old_tracks_or_a_beginning_of_the_new_ones(self):
        self.kill_read(*self.make_logs("log", ".txt"), "read")

    def test_read_of_a_database_leaves_it_as_it_was(self):
        self.kill_read(*self.make_logs("db", ".db"), "database")

    def test_text_export_leaves_old_files_with_a_beginning_of_the_new_ones(self):
        old, new = self.make_logs("log", ".txt")
        self.run_driver("text", old)
        before = tree(self.work / "old-export")
        self.run_driver("text", new)
        after = tree(self.work / "new-export")
        self.assertEqual(sorted(before), TEXT_FILES)
        self.assertEqual(sorted(after), TEXT_FILES)
        folder = self.work / "new-export"
        self.kill_driver("text", new, lambda: put_tree(folder, before),
                         lambda done: check_texts(self, folder, before, after, done))

    def kill_replaced(self, operation, old, new):
        """Kills an operation whose only output is a workbook that is replaced when complete."""
        book = new.with_suffix(".xlsx")
        self.run_driver(operation, old)
        before = old.with_suffix(".xlsx").read_bytes()
        shutil.copy(old.with_suffix(".xlsx"), book)
        self.run_driver(operation, new)
        after = book.read_bytes()
        self.assertNotEqual(before, after)
        self.assertTrue(is_whole_workbook(book))

        def restore():
            for left in self.work.glob(f"{book.name}*"):
                left.unlink()
            book.write_bytes(before)

        self.kill_driver(operation, new, restore,
                         lambda done: self.assertIn(book.read_bytes(), [after] if done else [before, after]))

    def test_workbook_export_leaves_the_old_or_the_new_workbook(self):
        self.kill_replaced("workbook", *self.make_logs("log", ".txt"))

    def test_route_conversion_leaves_the_old_or_the_new_workbook(self):
        self.kill_replaced("route", self.make_demo("route", "old.json", "--waypoints", "400"),
                           self.make_demo("route", "new.json", "--waypoints", "300", "--seed", "2"))

    def test_quit_leaves_the_old_or_the_new_settings(self):
        self.run_driver("config", "light")
        after = self.config.read_bytes()
        self.assertEqual(settings(self.config), {"touchMode": "false", "theme": "lightTheme", "showFactor": "false"})
        before = after.replace(b"lightTheme", b"DarkTheme")  # read as the dark theme

        def check(done):
            self.assertIn(self.config.read_bytes(), [after] if done else [before, after])

        self.kill_driver("config", "light", lambda: self.config.write_bytes(before), check)

    def test_conversion_leaves_old_or_new_files(self):
        old, new = self.make_logs("log", ".txt")
        done = self.convert("-f", FORMATS, "-o", "after", new)
        self.assertEqual(done.returncode, 0, done)
        after = tree(self.work / "after")
        (self.work / "other").mkdir()
        done = self.convert("-f", FORMATS, "-o", "before", old.rename(self.work / "other" / "new.txt"))
        self.assertEqual(done.returncode, 0, done)
        before = tree(self.work / "before")
        self.assertEqual(set(before), set(after))
        out = self.work / "out"

        def start():
            return subprocess.Popen([analyst.options.converter, "--overwrite", "-f", FORMATS, "-o", "out", new],
                                    stdout=subprocess.PIPE, stderr=subprocess.STDOUT, cwd=self.work,
                                    env=self.environment())

        def check(done):
            found = tree(out)
            for name, content in after.items():
                self.assertTrue(found[name] == content or not done and found[name] == before[name], name)
            others = [name for name in found if name not in after]
            self.assertEqual([name for name in others if not name.startswith("ostravel-unfinished-")], [])

        self.kill_often(CONVERTER_KILLS, lambda: put_tree(out, before), start, check)


class KillsOfTheWindow(WindowTest):
    """The real program on its screen."""

    def setUp(self):
        super().setUp()
        self.random = random.Random(SEED)
        self.plots = self.program.parent / "myPlot"
        self.lengths = {}

    def test_files_are_old_or_new_and_the_next_start_works(self):
        self.make_demo("log", "flight.txt", "--minutes", "6", "--seed", "8")
        self.make_demo("route", "route.json", "--waypoints", "400")
        self.config.write_bytes(OLD_CONFIG)
        before = {**self.run_all(), "quit": OLD_CONFIG}
        self.make_demo("log", "flight.txt", "--minutes", "5", "--seed", "9")
        self.make_demo("route", "route.json", "--waypoints", "300", "--seed", "2")
        self.restore(before)
        shutil.rmtree(self.work / "flight-export")
        after = self.run_all()
        texts = after["text"]
        after["text"] = {name: texts[name] + old[len(texts[name]):] for name, old in before["text"].items()}
        for name in OPERATIONS:
            self.assertNotEqual(before[name], after[name], name)

        late = 0
        for number in range(WINDOW_KILLS):
            name = OPERATIONS[number % len(OPERATIONS)]
            self.restore(before)
            with self.running() as app:
                trigger = self.get_ready(app, name)
                trigger()
                time.sleep(self.random.random() * self.lengths[name])
                app.process.kill()
                app.process.wait()
            found = self.snapshot()
            late += found[name] == after[name]
            settings(self.config)
            if name == "read":
                check_tracks(self, self.plots, before["read"], after["read"], False)
            elif name == "text":
                check_texts(self, self.work / "flight-export", before["text"], texts, False)
            else:
                self.assertIn(found[name], (before[name], after[name]), name)
            for other in set(OPERATIONS) - {name, "read"}:
                self.assertEqual(found[other], before[other], f"{other} after a kill of {name}")
        # Each start above found what was left of the settings by an older run; this one finds what the last kill left.
        with self.running() as app:
            self.read(app, "flight.txt")
            self.leave(app)
        lengths = ", ".join(f"{name} {length * 1000:.0f} ms" for name, length in self.lengths.items())
        print(f"{WINDOW_KILLS} kills of the program with its window, {late} of them after the end; {lengths}")
        self.assertLess(late, WINDOW_KILLS * 2 // 3, "most kills come too late")

    # ---- Files ----

    def snapshot(self):
        """What the operations have written, by their names."""
        plots = tree(self.plots)
        return {"read": {name: plots.get(name) for name in TRACKS}, "text": tree(self.work / "flight-export"),
                "workbook": bytes_of(self.work / "flight.xlsx"), "route": bytes_of(self.work / "route.xlsx"),
                "quit": bytes_of(self.config)}

    def restore(self, files):
        # The lock and the temporary files of the settings stay, as for a user who starts the program again.
        for left in self.work.glob("*.xlsx*"):
            left.unlink()
        put_tree(self.plots, files["read"])
        put_tree(self.work / "flight-export", files["text"])
        (self.work / "flight.xlsx").write_bytes(files["workbook"])
        (self.work / "route.xlsx").write_bytes(files["route"])
        self.config.write_bytes(files["quit"])

    # ---- Steps ----

    def run_all(self):
        """Runs all operations in one session and measures them. Returns what they have written."""
        with self.running() as app:
            for name in OPERATIONS:
                trigger = self.get_ready(app, name, is_read=name != "read")
                began = time.time()
                trigger()
                ended = self.wait_for_end_of(app, name, began)
                # The shorter one of two runs, because a busy machine makes them longer.
                self.lengths[name] = min(max(ended - began, 0.01), self.lengths.get(name, LIMIT))
        return self.snapshot()

    def get_ready(self, app, name, is_read=False):
        """Does all that comes before an operation. Returns what starts it."""
        if name == "read":
            self.select(app, "flight.txt")
            return lambda: self.desktop.key("ctrl+r")
        if name in ("text", "workbook"):
            if not is_read:
                self.read(app, "flight.txt")
            return app.find("写Txt" if name == "text" else "写Excel", role="push button").click
        if name == "route":
            self.select_route(app, "route.json")
            return app.find("解析航线", role="push button").click
        if app.find_all("解析航线", role="push button"):
            self.desktop.key("Escape")
            app.wait_until_gone("解析航线", role="push button")
        self.desktop.key("alt+F4")
        app.find("退出程序？", role="label")
        return app.find("Yes", role="push button").click

    def wait_for_end_of(self, app, name, began):
        """Waits for the end of an operation. Returns its time, by the last file that it wrote."""
        if name == "quit":
            self.assertEqual(app.wait_for_end(LIMIT), 0)
            return time.time()
        if name == "read":
            self.close_report(app)
            files = [self.plots / track for track in TRACKS]
        elif name == "route":
            book = self.work / "route.xlsx"
            wait_for(lambda: book.exists() and book.stat().st_mtime > began, "the workbook of the route")
            files = [book]
        else:
            self.close_box(app, "Txt导出完成！" if name == "text" else "Excel导出完成！")
            files = [self.work / "flight.xlsx"] if name == "workbook" else (self.work / "flight-export").iterdir()
        return max(path.stat().st_mtime for path in files)


if __name__ == "__main__":
    main()
