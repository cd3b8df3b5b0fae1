"""A full disk under each file that the programs write: words about it, no crash, nothing old is lost.

The files of the program: config.ini, myPlot/data.txt and data_attack.txt beside the executable; logs/log.txt and
log.1.txt to log.3.txt in the working folder; the workbook and the text files of an export, the workbook of a route and
a picture of the canvases beside the data; the temporary copy of a database that was left in the middle of its work. The
map and the plotters write no file. The converter writes one file or folder for each format, and its report.
"""

import os
import re
import shutil
import sqlite3
import subprocess

from faults import (FORMATS, TEXT_FILES, ProgramsTest, SmallDisk, WindowTest, analyst, bytes_of, is_mixed, is_prefix,
                    main, put_tree, settings, tree)
from harness import wait_for

PAGE = os.sysconf("SC_PAGE_SIZE")


class FullDisk(ProgramsTest):
    def setUp(self):
        super().setUp()
        self.log = self.make_demo("log", "flight.txt", "--minutes", "1", "--seed", "4")

    def small_disk(self, folder):
        disk = SmallDisk(folder)
        self.addCleanup(disk.close)
        return disk

    @staticmethod
    def rooms(size):
        """Some sizes of the room that is left on a disk for output of this size: none, and ever more."""
        return sorted({0, PAGE, size // 4, size // 2, size * 3 // 4, size - PAGE, size - 1})

    # ---- Converter ----

    def check_conversion(self, name):
        """Converts to one format on disks with more and more room: all of it or a message."""
        for folder in ("old", "new"):
            (self.work / folder).mkdir()
        old = self.make_demo("log", "old/flight.txt", "--minutes", "2", "--seed", "5")
        self.assertEqual(self.convert("-f", name, old).returncode, 0)
        before = {path: content for path, content in tree(old.parent).items() if path != "flight.txt"}
        self.assertEqual(self.convert("-f", name, "-o", "new", self.log).returncode, 0)
        after = tree(self.work / "new")
        disk = self.small_disk(self.work / "disk")
        size = sum(map(len, after.values()))
        complete = 0
        for room in [*self.rooms(size), size + 64 * PAGE]:
            disk.clear()
            put_tree(disk.folder, before)
            disk.fill(room)
            done = self.convert("--overwrite", "-f", name, "-o", disk.folder, self.log, prepare=disk.prepare)
            found = tree(disk.folder)
            complete += done.returncode == 0
            with self.subTest(room=room):
                if done.returncode == 0:
                    self.assertTrue(found == after, "success is reported, but the output is not whole")
                else:
                    self.assertEqual(done.returncode, 1, done.stderr)
                    self.assertIn(disk.reason if name != "mat" else "the disk takes no more", done.stderr)
                    self.assertTrue(found == before, f"{set(found)} with other bytes than before")
        self.assertGreater(complete, 0, "no disk is large enough")
        self.assertLess(complete, 8, "no disk is too small")

    def test_csv_is_whole_or_reported(self):
        self.check_conversion("csv")

    def test_workbook_is_whole_or_reported(self):
        self.check_conversion("xlsx")

    def test_text_folder_is_whole_or_reported(self):
        self.check_conversion("txt")

    def test_matlab_file_is_whole_or_reported(self):
        self.check_conversion("mat")

    def test_kml_is_whole_or_reported(self):
        self.check_conversion("kml")

    def test_gpx_is_whole_or_reported(self):
        self.check_conversion("gpx")

    def test_geojson_is_whole_or_reported(self):
        self.check_conversion("geojson")

    def test_report_on_a_full_disk_is_a_failure(self):
        with open("/dev/full", "w", encoding="ascii") as full:
            done = subprocess.run([analyst.options.converter, "--check", "--json", self.log], stdout=full,
                                  stderr=subprocess.PIPE, text=True, env=self.environment(), check=False)
        self.assertEqual(done.returncode, 1, done)
        self.assertIn("No space left on device", done.stderr)

    # ---- The program without its window ----

    def move_driver(self, disk):
        shutil.move(self.driver, disk.folder)
        self.driver = disk.folder / self.driver.name

    def test_settings_stay_as_they_were(self):
        disk = self.small_disk(self.folder / "small")
        self.move_driver(disk)
        self.config.write_bytes(b"[Global]\ntouchMode=true\ntheme=darkTheme\nshowFactor=true\n")
        before = self.config.read_bytes()
        disk.fill(0)
        # The settings are written at the exit, and what becomes of them is not looked at.
        self.run_driver("config", "light", disk.prepare)
        self.assertEqual(self.config.read_bytes(), before)
        disk.clear()
        self.run_driver("config", "light")
        self.assertEqual(settings(self.config), {"touchMode": "true", "theme": "lightTheme", "showFactor": "true"})

    def test_cut_tracks_are_logged(self):
        disk = self.small_disk(self.folder / "small")
        self.move_driver(disk)
        self.run_driver("read", self.log)
        after = tree(self.plots)
        put_tree(self.plots, dict.fromkeys(after, b""))
        disk.fill(PAGE)
        self.assertIn(f"track file is cut short: {disk.reason}", self.run_driver("read", self.log, disk.prepare))
        for name, content in after.items():
            found = (self.plots / name).read_bytes()
            self.assertTrue(is_prefix(found, content), name)
            self.assertLessEqual(len(found), PAGE, name)

    def test_text_export_is_logged_and_keeps_what_it_has_not_reached(self):
        self.run_driver("text", self.log)
        after = tree(self.work / "flight-export")
        for room in self.rooms(sum(map(len, after.values())))[:-1]:
            disk = self.small_disk(self.work / f"disk-{room}")
            log = shutil.copy(self.log, disk.folder)
            folder = disk.folder / "flight-export"
            before = {name: b"old" for name in TEXT_FILES}
            put_tree(folder, before)
            disk.fill(room)
            printed = self.run_driver("text", log, disk.prepare)
            cut = [name for name in TEXT_FILES if bytes_of(folder / name) != after[name]]
            for name in cut:
                self.assertTrue(is_mixed(bytes_of(folder / name), before[name], after[name]), (room, name))
            self.assertEqual(printed.count(f"txt file write failed: {disk.reason}"), len(cut), room)

    def check_workbook(self, operation, source):
        self.run_driver(operation, source)
        size = source.with_suffix(".xlsx").stat().st_size
        for room in self.rooms(size)[:-1]:
            disk = self.small_disk(self.work / f"disk-{room}")
            copy = shutil.copy(source, disk.folder / source.name)
            book = copy.with_suffix(".xlsx")
            shutil.copy(source.with_suffix(".xlsx"), book)
            before = book.read_bytes()
            disk.fill(room)
            printed = self.run_driver(operation, copy, disk.prepare)
            self.assertIn(f"{book} is not written: {disk.reason}", printed, room)
            self.assertTrue(book.read_bytes() == before, room)
            self.assertEqual({path.name for path in disk.folder.iterdir()}, {copy.name, book.name})

    def test_old_workbook_of_a_flight_stays_and_the_failure_is_logged(self):
        self.check_workbook("workbook", self.log)

    def test_old_workbook_of_a_route_stays_and_the_failure_is_logged(self):
        self.check_workbook("route", self.make_demo("route", "route.json", "--waypoints", "900"))

    def test_log_that_cannot_grow_holds_nothing_up(self):
        reference = self.run_driver("workbook", self.log)
        book = (self.work / "flight.xlsx").read_bytes()
        disk = self.small_disk(self.folder / "small")
        log = shutil.move(self.log, self.folder / "flight.txt")
        self.work = disk.folder
        disk.fill(0 if disk.is_mounted else len(book) + PAGE)
        if not disk.is_mounted:
            (self.work / "logs").mkdir()
            (self.work / "logs/log.txt").write_bytes(b"\n" * (len(book) + PAGE))
        printed = self.run_driver("workbook", log, disk.prepare)
        self.assertTrue((self.folder / "flight.xlsx").read_bytes() == book)
        # The same lines are on the console.
        self.assertEqual(printed.count("] [info] "), reference.count("] [info] "))

    def test_log_that_cannot_be_rotated_holds_nothing_up(self):
        self.run_driver("read", self.log)
        disk = self.small_disk(self.folder / "small")
        log = shutil.move(self.log, self.folder / "flight.txt")
        self.work = disk.folder
        files = {"logs/log.txt": b"a" * (5 * 1024 * 1024 - 100), "logs/log.1.txt": b"b", "logs/log.2.txt": b"c",
                 "logs/log.3.txt": b"d"}
        put_tree(self.work, files)
        disk.fill(0 if disk.is_mounted else 5 * 1024 * 1024 - 100)
        self.run_driver("read", log, disk.prepare)
        found = tree(self.work / "logs")
        self.assertEqual((found["log.2.txt"][:1], found["log.3.txt"]), (b"b", b"c"))

    def test_database_that_cannot_be_copied_is_reported(self):
        path = self.make_demo("db", "flight.db", "--minutes", "2")
        # A writer that has ended in the middle leaves its journal, which a reader must not touch.
        with sqlite3.connect(path) as database:
            database.execute("PRAGMA cache_size = 1")
            database.execute("PRAGMA journal_mode = PERSIST")
        writer = sqlite3.connect(path, isolation_level=None)
        writer.execute("PRAGMA cache_size = 1")
        writer.execute("BEGIN")
        writer.execute("UPDATE t_fly_record SET frame = frame || '00'")
        for name in ("flight.db", "flight.db-journal"):
            shutil.copy(self.work / name, self.work / name.replace("flight", "left"))
        writer.close()
        before = bytes_of(self.work / "left.db"), bytes_of(self.work / "left.db-journal")
        disk = self.small_disk(self.work / "temporary")
        disk.fill(64 * PAGE)
        done = self.convert("--check", self.work / "left.db", prepare=disk.prepare, TMPDIR=disk.folder)
        self.assertEqual(done.returncode, 1, done)
        self.assertRegex(done.stderr, f"bytes are free|no room is left|{disk.reason}")
        self.assertEqual((bytes_of(self.work / "left.db"), bytes_of(self.work / "left.db-journal")), before)
        self.assertEqual(list(disk.folder.iterdir()), [])


class FullDiskOfTheWindow(WindowTest):
    """The real program: the disks of the executable and of the data are full."""

    def test_each_failure_is_told_and_the_program_goes_on(self):
        own, data = SmallDisk(self.folder / "own"), SmallDisk(self.folder / "data")
        for disk in (own, data):
            self.addCleanup(disk.close)
        shutil.copytree(self.program.parent, own.folder / "bin", symlinks=True)
        self.program = own.folder / "bin" / self.program.name
        self.config.write_bytes(b"[Global]\ntheme=darkTheme\n")
        log = self.make_demo("log", "flight.txt", "--minutes", "10")
        route = self.make_demo("route", "route.json", "--waypoints", "2000")
        for source in (log, route):
            shutil.copy(source, data.folder)
        old = {"flight.xlsx": b"old", "picture.png": b"old", "route.xlsx": b"old"}
        put_tree(data.folder, old)
        before = tree(data.folder)
        own.fill(0)
        data.fill(3 * PAGE if data.is_mounted else 16 * PAGE)

        with self.running(prepare=data.prepare) as app:
            self.select(app, data.folder / "flight.txt")
            self.desktop.key("ctrl+r")
            self.close_report(app)
            # Before the exports take what is left: the first part of the picture has room.
            if data.is_mounted:  # a limit that leaves room for the log leaves room for a picture
                self.save_picture_over(app, data)
            self.export_both(app)
            self.convert_route(app, data.folder / "route.json")
            wait_for(lambda: any(f"{data.folder}/route.xlsx is not written: {data.reason}" in line.message
                                 for line in app.log_lines()), "the log line about the route's workbook")
            self.desktop.key("Escape")
            app.wait_until_gone("解析航线", role="push button")
            self.leave(app)
        messages = [line.message for line in app.log_lines() if line.level in ("warning", "error")]
        told = ["track file is cut short: ", f"{data.folder}/flight.xlsx is not written: ", "txt file write failed: "]
        if data.is_mounted:
            told.append(f"picture not saved: {data.folder}/picture.png (")
        for expected in told:
            self.assertTrue(any(message.startswith(expected) and data.reason in message for message in messages),
                            f"{expected!r} is not in {messages}")
        found = tree(data.folder)
        for name, content in before.items():
            self.assertTrue(found[name] == content, name)

    def save_picture_over(self, app, disk):
        self.open_picture_dialog(app)
        self.desktop.key("ctrl+a")
        self.desktop.type(str(disk.folder / "picture.png"))
        self.desktop.key("Return")
        app.find("Yes", role="push button").click()
        told = app.find(re.compile(f"^图片未能保存：{disk.folder}/picture.png"), role="status bar").name
        self.assertIn(disk.reason, told)


if __name__ == "__main__":
    main()
