"""No HOME and none of the folders that the desktop names: the program reads, exports, shows the map and quits.

Runs as an ordinary user, so that nothing can be written to the top folder instead.
"""

import os

from faults import FORMATS, ProgramsTest, WindowTest, main_as_ordinary_user, settings, tree

NAMES = ("HOME", "USER", "LOGNAME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME",
         "XDG_CONFIG_DIRS", "XDG_DATA_DIRS", "XDG_RUNTIME_DIR")


class Converter(ProgramsTest):
    def test_conversion_gives_the_same_files(self):
        log = self.make_demo("log", "flight.txt", "--minutes", "1")
        self.assertEqual(self.convert("-f", FORMATS, "-o", "with", log).returncode, 0)
        done = self.convert("-f", FORMATS, "-o", "without", log, **dict.fromkeys(NAMES))
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(tree(self.work / "without"), tree(self.work / "with"))


class Window(WindowTest):
    def test_program_reads_exports_opens_the_map_and_quits(self):
        self.make_demo("log", "flight.txt", "--minutes", "2")
        self.config.write_bytes(b"[Global]\ntheme=lightTheme\n")  # the map has a colour of its own then
        environment = {name: value for name, value in os.environ.items() if name not in NAMES}
        with self.running(env=environment) as app:
            self.read(app, "flight.txt")
            self.show(app, [("横滚", 0, (255, 255, 0))])
            self.export_both(app)
            self.save_picture(app, self.work / "picture.png", f"图片已保存：{self.work / 'picture.png'}")
            self.assertIsNone(self.open_and_close_map(app))
            self.leave(app)
        self.assertEqual(set(settings(self.config)), {"touchMode", "theme", "showFactor"})
        self.assertEqual([line for line in app.log_lines() if line.level == "error"], [])


if __name__ == "__main__":
    main_as_ordinary_user()
