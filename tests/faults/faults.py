"""Common base of the tests of faults: the driver and the converter, small disks, and checks of what files hold."""

import configparser
import contextlib
import os
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import zipfile
from pathlib import Path

import numpy

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "e2e"))

import analyst
from analyst import AnalystTest, WorkTest
from harness import install_copy, mount_memory, mount_privately, resize_memory, unmount, wait_for

NOBODY = 65534  # an unprivileged user

LIMIT = 120  # seconds for one operation on a slow machine

FORMATS = "csv,xlsx,txt,mat,kml,gpx,geojson"  # all that the converter writes

MAP_GROUND = (238, 241, 243)  # the light map without tiles

# Files of the text export, in the order in which they are written.
TEXT_FILES = [f"{name}.txt" for name in (
    "0x01-HeartBeat", "0x02-ControlSystemStatus", "0x03-AttitudeAndPositionInfo", "0x04-SensorValue",
    "0x05-FlightTargetValue", "0x41-PayloadInfo", "0x51-Difference", "0x52-Backup", "0x53-EquipmentStatus")]


def main():
    analyst.main("converter", "driver")


def main_as_ordinary_user():
    """Like main(), but for root as an ordinary user, because root may do everything.

    The programs are copied before, since the build may lie in a folder that only root can enter.
    """
    if os.geteuid() != 0:
        main()
        return
    folder = Path(tempfile.mkdtemp(prefix="programs-"))
    folder.chmod(0o755)
    try:
        arguments = _copied(sys.argv, folder)
        child = os.fork()
        if child == 0:
            os.chdir("/")
            os.setgroups([])
            os.setresgid(NOBODY, NOBODY, NOBODY)
            os.setresuid(NOBODY, NOBODY, NOBODY)
            sys.argv = arguments
            main()
        status = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
        artifacts = sys.argv[sys.argv.index("--artifacts") + 1]
        shutil.copytree(folder / "artifacts", artifacts, dirs_exist_ok=True)
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    sys.exit(status)


def _copied(arguments, folder):
    """Copies the programs that the arguments name. Returns the arguments with the copies."""
    arguments = list(arguments)
    (folder / "artifacts").mkdir()
    (folder / "artifacts").chmod(0o777)
    for option in ("--program", "--demo", "--converter", "--driver", "--artifacts"):
        place = arguments.index(option) + 1
        if option == "--program":
            copy = install_copy(arguments[place], folder / "program")
        elif option == "--artifacts":
            copy = folder / "artifacts"
        else:
            copy = folder / Path(arguments[place]).name
            shutil.copy2(arguments[place], copy)
        arguments[place] = str(copy)
    return arguments


def bytes_of(path):
    """The content of a file; None when there is no file."""
    with contextlib.suppress(FileNotFoundError):
        return Path(path).read_bytes()
    return None


def tree(folder):
    """The content of each file below a folder, by its relative name."""
    return {str(path.relative_to(folder)): path.read_bytes() for path in sorted(Path(folder).rglob("*"))
            if path.is_file()}


def put_tree(folder, files):
    """Makes a folder hold these files; see tree(). Files of other names stay."""
    for name, content in files.items():
        path = Path(folder) / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)


def is_mixed(found, old, new):
    """Whether a file has the first bytes of the new content over the old content, as writing in place leaves it."""
    length = min(len(found), len(new))
    differs = numpy.flatnonzero(numpy.frombuffer(found, numpy.uint8, length) !=
                                numpy.frombuffer(new, numpy.uint8, length))
    same = int(differs[0]) if len(differs) else length
    return found[same:] == old[same:]


def is_prefix(found, new):
    return found is not None and new.startswith(found)


def settings(path):
    """The settings of a config.ini by their names. Raises an error when it cannot be parsed."""
    parser = configparser.ConfigParser(interpolation=None, strict=True)
    parser.optionxform = str
    with Path(path).open(encoding="utf-8") as stream:
        parser.read_file(stream)
    return dict(parser["Global"]) if parser.has_section("Global") else {}


def is_whole_workbook(path):
    with zipfile.ZipFile(path) as book:
        return book.testzip() is None and "xl/workbook.xml" in book.namelist()


def limit_file_size(size):
    """In a child: files cannot grow beyond size bytes. Writing more fails as on a full disk."""
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))


class SmallDisk:
    """A folder with little room: a small file system where it can be mounted, otherwise a limit for each file."""

    _LARGE = 512 << 20
    _mounts = None  # whether this process may mount

    def __init__(self, folder):
        self.folder = Path(folder)
        self.folder.mkdir(parents=True, exist_ok=True)
        self._room = None
        self.is_mounted = self._may_mount()
        if self.is_mounted:
            mount_memory(self.folder, f"size={self._LARGE},mode=0777")

    @classmethod
    def _may_mount(cls):
        if cls._mounts is None:
            try:
                if os.environ.get("OSTRAVEL_NO_MOUNT"):
                    raise OSError("not wanted")
                mount_privately()
                cls._mounts = True
            except OSError:
                cls._mounts = False
        return cls._mounts

    def fill(self, left):
        """Leaves this many bytes, rounded down to whole pages, for what is written from now on."""
        self._room = left
        if self.is_mounted:
            self.clear()
            disk = os.statvfs(self.folder)
            page = os.sysconf("SC_PAGE_SIZE")
            used = (disk.f_blocks - disk.f_bfree) * disk.f_bsize
            resize_memory(self.folder, max(used + left // page * page, page))  # a size of 0 would be no limit

    def clear(self):
        """Makes room again."""
        if self.is_mounted:
            resize_memory(self.folder, self._LARGE)

    def prepare(self):
        """What a program's process has to do before it starts."""
        if not self.is_mounted:
            limit_file_size(self._room)

    @property
    def reason(self):
        """The system's words when there is no room."""
        return "No space left on device" if self.is_mounted else "File too large"

    def close(self):
        if self.is_mounted:
            unmount(self.folder)


class ProgramsTest(WorkTest):
    """A test of the converter, and of the driver, which runs the program's operations without its window."""

    def setUp(self):
        super().setUp()
        self.driver = self.folder / "program" / analyst.options.driver.name
        self.driver.parent.mkdir()
        shutil.copy2(analyst.options.driver, self.driver)

    @property
    def config(self):
        return self.driver.parent / "config.ini"

    @property
    def plots(self):
        return self.driver.parent / "myPlot"

    @staticmethod
    def environment(**changes):
        """Variables of a child; those with the value None are removed."""
        wanted = {**os.environ, "QT_QPA_PLATFORM": "offscreen", "LC_ALL": "C.UTF-8", **changes}
        return {name: str(value) for name, value in wanted.items() if value is not None}

    def start_driver(self, operation, argument, prepare=None, **changes):
        """Starts the driver and waits until it is ready for go()."""
        process = subprocess.Popen([self.driver, operation, str(argument)], stdin=subprocess.PIPE, preexec_fn=prepare,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, cwd=self.work,
                                   env=self.environment(**changes))
        self.addCleanup(self.end, process)
        for line in process.stdout:  # the log comes first
            if line == b"ready\n":
                return process
        raise AssertionError(f"the driver ended by itself with {process.wait()}")

    @staticmethod
    def end(process):
        with process:
            process.kill()

    @staticmethod
    def go(process):
        process.stdin.write(b"go\n")
        process.stdin.flush()

    def run_driver(self, operation, argument, prepare=None, **changes):
        """Runs an operation to its end. Returns what the program printed meanwhile, its log included."""
        process = self.start_driver(operation, argument, prepare, **changes)
        printed = process.communicate(b"go\n", timeout=LIMIT)[0].decode(errors="replace")
        self.assertEqual((process.returncode, printed.splitlines()[-1:]), (0, ["done"]), printed)
        return printed

    def convert(self, *arguments, prepare=None, **changes):
        return subprocess.run([analyst.options.converter, *map(str, arguments)], capture_output=True, text=True,
                              errors="replace", timeout=LIMIT, preexec_fn=prepare, cwd=self.work,
                              env=self.environment(**changes))


class WindowTest(AnalystTest):
    """A test of the program with its window. It reads quickly: files are chosen by their names in the work folder."""

    @property
    def config(self):
        return self.program.parent / "config.ini"

    def read(self, app, name):
        """Selects a log in the working folder, reads it and closes the report."""
        self.select(app, name)
        self.desktop.key("ctrl+r")
        self.close_report(app)

    def close_report(self, app):
        app.find("解析完成:", role="label", timeout=LIMIT)
        self.insist(lambda: self.desktop.key("Escape"), lambda: not app.find_all("解析完成:"), "the report to go")

    def press(self, app, name):
        app.find(name, role="push button").click()

    def export(self, app, name, words):
        self.press(app, name)
        self.close_box(app, words)

    def close_box(self, app, words):
        app.find(words, role="label", timeout=LIMIT)
        self.insist(lambda: [button.click() for button in app.find_all("OK", role="push button")],
                    lambda: not app.find_all(words, role="label"), f"the box {words!r} to go")

    def export_both(self, app):
        self.export(app, "写Excel", "Excel导出完成！")
        self.export(app, "写Txt", "Txt导出完成！")

    def select_route(self, app, name):
        self.press(app, "Route2Excel")
        self.press(app, "选择航线")
        app.find("选择航线文件", role="dialog")
        self.type_path(app, name)

    def convert_route(self, app, name):
        self.select_route(app, name)
        self.press(app, "解析航线")

    def open_picture_dialog(self, app):
        # The key belongs to the canvases; a click on the plot gives them the focus.
        canvas = self.canvases(app)[0]
        self.desktop.click(canvas.x + canvas.width // 2, canvas.y + canvas.height // 2)
        self.desktop.key("ctrl+shift+s")
        app.find("保存图片", role="dialog")

    def save_picture(self, app, name, message):
        self.open_picture_dialog(app)
        self.type_path(app, name)
        return app.find(message, role="status bar")

    def open_and_close_map(self, app):
        """Opens the map. Returns the words in its place, or None when the map is shown."""
        self.press(app, "Map")
        app.find("画无人机航迹", role="push button", timeout=LIMIT)

        def shown():
            words = app.find_all(re.compile("^无法显示地图："), role="label")
            return words or len(self.step("map").pixels(MAP_GROUND)) > self.desktop.size[0] * self.desktop.size[1] / 3

        found = wait_for(shown, "the map, or words about it", LIMIT, interval=0.3)
        words = found[0].name if found is not True else None
        self.desktop.key("alt+F4")
        app.wait_until_gone("画无人机航迹", role="push button")
        return words
