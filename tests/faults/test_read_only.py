"""Folders that the user cannot write to. Runs as an ordinary user, because root can write everywhere."""

import re
import shutil
import subprocess

from faults import FORMATS, TEXT_FILES, ProgramsTest, WindowTest, main_as_ordinary_user, put_tree, settings, tree
from harness import wait_for


def lock(test, folder):
    """Removes the permission to write to a folder and the files in it."""
    paths = [folder, *folder.rglob("*")]
    modes = {path: path.stat().st_mode for path in paths if not path.is_symlink()}
    for path, mode in modes.items():
        path.chmod(mode & ~0o222)

    def unlock():
        for path, mode in modes.items():
            path.chmod(mode)

    test.addCleanup(unlock)


class ReadOnly(ProgramsTest):
    """The operations without the window, and the converter."""

    def setUp(self):
        super().setUp()
        (self.work / "data").mkdir()
        self.log = self.make_demo("log", "data/flight.txt", "--minutes", "1")
        self.data = self.log.parent

    def log_text(self):
        return (self.work / "logs/log.txt").read_text(encoding="utf-8")

    def test_conversion_into_a_read_only_folder_is_reported_and_changes_nothing(self):
        self.assertEqual(self.convert("-f", FORMATS, self.log).returncode, 0)
        before = tree(self.data)
        lock(self, self.data)
        for arguments in ((), ("--overwrite",)):
            done = self.convert(*arguments, "-f", FORMATS, self.log)
            if arguments:
                self.assertEqual(done.returncode, 1, done)
                self.assertRegex(done.stderr, f"{self.data} cannot be written: .*Permission denied")
            self.assertEqual(tree(self.data), before)

    def test_conversion_into_another_folder_reads_a_read_only_one(self):
        self.assertEqual(self.convert("-f", FORMATS, "-o", "free", self.log).returncode, 0)
        free = tree(self.work / "free")
        lock(self, self.data)
        self.assertEqual(self.convert("-f", FORMATS, "-o", "again", self.log).returncode, 0)
        self.assertEqual(tree(self.work / "again"), free)

    def test_database_in_a_read_only_folder_is_read(self):
        path = self.make_demo("db", "data/flight.db", "--minutes", "1")
        free = self.convert("-o", "free", path)
        lock(self, self.data)
        done = self.convert("-o", "again", path)
        self.assertEqual((done.returncode, done.stderr), (0, ""), free)
        self.assertEqual(tree(self.work / "again"), tree(self.work / "free"))

    def test_exports_into_a_read_only_folder_are_logged(self):
        lock(self, self.data)
        self.run_driver("workbook", self.log)
        self.assertRegex(self.log_text(), rf"\[warning\] .*{self.data}/flight.xlsx cannot be written: Permission denied")
        self.run_driver("text", self.log)
        self.assertIn("mkdir failed", self.log_text())
        self.assertEqual(list(tree(self.data)), ["flight.txt"])

    def test_read_only_files_of_an_export_are_logged_and_kept(self):
        folder = self.data / "flight-export"
        put_tree(folder, dict.fromkeys(TEXT_FILES, b"old"))
        lock(self, folder)
        self.run_driver("text", self.log)
        self.assertEqual(self.log_text().count("txt file open failed when write"), len(TEXT_FILES))
        self.assertEqual(tree(folder), dict.fromkeys(TEXT_FILES, b"old"))

    def test_route_in_a_read_only_folder_is_logged(self):
        route = self.make_demo("route", "data/route.json", "--waypoints", "20")
        lock(self, self.data)
        self.run_driver("route", route)
        self.assertRegex(self.log_text(), rf"\[warning\] .*{self.data}/route.xlsx cannot be written: Permission denied")

    def test_settings_in_a_read_only_folder_stay(self):
        self.run_driver("config", "light")
        before = self.config.read_bytes()
        lock(self, self.driver.parent)
        self.run_driver("config", "dark")
        self.assertEqual(self.config.read_bytes(), before)

    def test_working_folder_without_a_log_ends_the_program_with_words(self):
        lock(self, self.work)
        done = subprocess.run([self.driver, "read", self.log], cwd=self.work, env=self.environment(), text=True,
                              capture_output=True, input="go\n", timeout=120, check=False)
        # The log is a condition of the program; what cannot be opened is in the system's words.
        self.assertNotEqual(done.returncode, 0)
        self.assertRegex(done.stderr, "Failed opening file logs/log.txt for writing: Permission denied|"
                                      "create.*logs|logs/log.txt")


class ReadOnlyWindow(WindowTest):
    """The real program in a folder of the system, with data on a disk that is read only."""

    def test_program_reads_shows_tells_and_quits(self):
        data = self.folder / "data"
        data.mkdir()
        for kind, name in (("log", "flight.txt"), ("route", "route.json")):
            shutil.copy(self.make_demo(kind, name), data)
        self.config.write_bytes(b"[Global]\ntheme=lightTheme\n")
        before = tree(self.program.parent), tree(data)
        for folder in (self.program.parent, data):
            lock(self, folder)
        with self.running() as app:
            self.select(app, data / "flight.txt")
            self.desktop.key("ctrl+r")
            self.close_report(app)
            self.show(app, [("横滚", 0, (255, 255, 0))])
            self.export_both(app)
            self.save_picture(app, data / "picture.png",
                              re.compile(f"^图片未能保存：{data}/picture.png.*Permission denied"))
            self.convert_route(app, data / "route.json")
            wait_for(lambda: "route.xlsx cannot be written: Permission denied" in self.log_text(), "the log line")
            self.desktop.key("Escape")
            app.wait_until_gone("解析航线", role="push button")
            self.leave(app)
        for words in ("flight.xlsx cannot be written: Permission denied", "mkdir failed", "picture not saved: "):
            self.assertIn(words, self.log_text())
        self.assertTrue((tree(self.program.parent), tree(data)) == before)

    def log_text(self):
        return (self.work / "logs/log.txt").read_text(encoding="utf-8")


if __name__ == "__main__":
    main_as_ordinary_user()
