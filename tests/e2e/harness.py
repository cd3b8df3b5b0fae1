"""Harness for end-to-end tests: a virtual screen, a program on it, real mouse and keyboard input.

Finds widgets by their visible texts through the accessibility bus. Clicks and keys go through the X server and the
window manager. Only one Desktop per process, because the accessibility library uses the first bus for the whole
process. Needs Debian's Python (python3-pyatspi, python3-numpy), Xvfb, openbox, xdotool and ImageMagick.
"""

import contextlib
import ctypes
import os
import re
import shutil
import signal
import subprocess
import tempfile
import time
from collections import namedtuple
from pathlib import Path

import numpy

LIMIT = 20.0  # default time limit of a wait in seconds

# Factor for all time limits, for programs with sanitizers and slow machines.
PATIENCE = float(os.environ.get("OSTRAVEL_PATIENCE", "1"))

# Some machines have replacements of ImageMagick's programs earlier in PATH.
_TOOL_PATH = "/usr/bin:/bin:" + os.environ.get("PATH", "")

Rect = namedtuple("Rect", "x y width height")
LogLine = namedtuple("LogLine", "time level source function message")

_LOG_LINE = re.compile(r"\[([^\]]*)\] \[(\w+)\] \[([^\]]*)\] <([^>]*)> (.*)")


class WaitFailed(AssertionError):
    """A wait reached its time limit."""


def tool(name):
    path = shutil.which(name, path=_TOOL_PATH)
    if path is None:
        raise RuntimeError(f"{name} is not installed")
    return path


def wait_for(probe, what, timeout=LIMIT, interval=0.05):
    """Calls probe until it returns a true value, and returns that. Raises WaitFailed with what after timeout s."""
    timeout *= PATIENCE
    end = time.monotonic() + timeout
    while True:
        result = probe()
        if result:
            return result
        if time.monotonic() > end:
            raise WaitFailed(f"waited {timeout:g} s without success for {what}")
        time.sleep(interval)


def tile_services(folder):
    """Ids of the tile services started from a program's folder. They keep running after the program and its screen."""
    found = []
    for process in Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):  # the process just ended
            if os.readlink(process / "exe") == str(Path(folder) / "wmts.exe"):
                found.append(int(process.name))
    return found


def _end_with_parent():
    # The screen must end even if ctest kills the test at its time limit.
    pr_set_pdeathsig = 1
    ctypes.CDLL(None).prctl(pr_set_pdeathsig, signal.SIGKILL)


def _system_call(function, *arguments):
    if function(*arguments) != 0:
        raise OSError(ctypes.get_errno(), f"{function.__name__}{arguments}")


def mount_privately():
    """Lets this process mount file systems that only it and its children see.

    Raises OSError if the system does not permit it, as in many containers.
    """
    clone_newns, clone_newuser, ms_rec, ms_private = 0x20000, 0x10000000, 0x4000, 0x40000
    libc = ctypes.CDLL(None, use_errno=True)
    uid, gid = os.getuid(), os.getgid()
    _system_call(libc.unshare, clone_newns if uid == 0 else clone_newns | clone_newuser)
    if uid != 0:
        # Keep the user and group ids, because the message bus compares them.
        Path("/proc/self/setgroups").write_text("deny")
        Path("/proc/self/uid_map").write_text(f"{uid} {uid} 1")
        Path("/proc/self/gid_map").write_text(f"{gid} {gid} 1")
    _system_call(libc.mount, b"none", b"/", None, ms_rec | ms_private, None)


def mount_memory(folder, options=None):
    """Mounts an empty file system in memory on a folder, after mount_privately(). The options are those of tmpfs."""
    libc = ctypes.CDLL(None, use_errno=True)
    _system_call(libc.mount, b"none", os.fsencode(folder), b"tmpfs", 0, options and options.encode())


def resize_memory(folder, size):
    """Sets the size of a file system of mount_memory() in bytes; not below what it holds."""
    ms_remount = 32
    libc = ctypes.CDLL(None, use_errno=True)
    _system_call(libc.mount, b"none", os.fsencode(folder), b"tmpfs", ms_remount, f"size={size}".encode())


def unmount(folder):
    _system_call(ctypes.CDLL(None, use_errno=True).umount2, os.fsencode(folder), 2)  # detached when still in use


def hide(*folders):
    """Hides the contents of folders from this process. Call it in a child before its program starts.

    Raises OSError if the system does not permit it, as in many containers.
    """
    mount_privately()
    for folder in folders:
        mount_memory(folder)


class Picture:
    """A screenshot. The shape of data is rows x columns x (red, green, blue)."""

    def __init__(self, path):
        self.path = Path(path)
        size = subprocess.run([tool("identify"), "-format", "%w %h", str(path)], check=True, capture_output=True)
        self.width, self.height = (int(n) for n in size.stdout.split())
        raw = subprocess.run([tool("convert"), str(path), "-depth", "8", "rgb:-"], check=True, capture_output=True)
        self.data = numpy.frombuffer(raw.stdout, numpy.uint8).reshape(self.height, self.width, 3)

    def part(self, rect=None):
        if rect is None:
            return self.data
        return self.data[max(rect.y, 0):rect.y + rect.height, max(rect.x, 0):rect.x + rect.width]

    def pixels(self, colour, rect=None, tolerance=0):
        """All (x, y) inside rect (default: all) that differ from (r, g, b) by at most tolerance in each component."""
        distance = numpy.abs(self.part(rect).astype(int) - numpy.array(colour)).max(axis=2)
        left, top = (max(rect.x, 0), max(rect.y, 0)) if rect else (0, 0)
        return [(left + int(x), top + int(y)) for y, x in numpy.argwhere(distance <= tolerance)]

    def by_distance_from_others(self, points, colour, rect):
        """Sorts points of a curve by their distance from pixels of another hue, largest distance first."""
        def hue(data):
            low, high = data.min(axis=-1, keepdims=True), data.max(axis=-1, keepdims=True)
            return (data - low) / numpy.maximum(high - low, 1), (high - low)[..., 0]

        hues, strengths = hue(self.part(rect).astype(float))
        others = (strengths > 60) & (numpy.abs(hues - hue(numpy.array(colour, float))[0]).max(axis=2) > 0.35)
        places = numpy.argwhere(others)[:, ::-1] + (rect.x, rect.y)
        if not len(places):
            return points
        return sorted(points, reverse=True, key=lambda at: numpy.abs(places - at).max(axis=1).min())

    def colours(self, rect=None):
        """Number of different colours inside rect. An empty area has one or two, a drawing many."""
        return len(numpy.unique(self.part(rect).reshape(-1, 3), axis=0))


class Widget:
    """An accessible object on the screen. Properties are read at each access."""

    def __init__(self, desktop, accessible):
        self._desktop = desktop
        self.accessible = accessible

    @property
    def name(self):
        return self.accessible.name

    @property
    def role(self):
        return self.accessible.getRoleName()

    @property
    def rect(self):
        import pyatspi
        box = self.accessible.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
        return Rect(box.x, box.y, box.width, box.height)

    @property
    def centre(self):
        box = self.rect
        return box.x + box.width // 2, box.y + box.height // 2

    @property
    def checked(self):
        return self._has_state("STATE_CHECKED")

    @property
    def showing(self):
        return self._has_state("STATE_SHOWING")

    @property
    def enabled(self):
        return self._has_state("STATE_ENABLED")

    @property
    def text(self):
        """The text of an edit."""
        return self.accessible.queryText().getText(0, -1)

    @property
    def children(self):
        return [Widget(self._desktop, child) for child in self.accessible if child is not None]

    @property
    def parent(self):
        return Widget(self._desktop, self.accessible.parent)

    def click(self, button=1):
        self._desktop.click(*self.centre, button=button)

    def find_all(self, name=None, role=None):
        """All visible descendants with this name (a text or a compiled pattern) and this role."""
        found = []
        waiting = [self.accessible]
        while waiting:
            accessible = waiting.pop(0)
            children = [child for child in accessible if child is not None]
            for child in children:
                widget = Widget(self._desktop, child)
                if _fits(widget, name, role) and widget.showing:
                    found.append(widget)
            waiting.extend(children)
        return found

    def _has_state(self, state):
        import pyatspi
        return self.accessible.getState().contains(getattr(pyatspi, state))

    def __repr__(self):
        return f"<{self.role} '{self.name}'>"


def _fits(widget, name, role):
    if role is not None and widget.role != role:
        return False
    if name is None:
        return True
    if isinstance(name, re.Pattern):
        return name.search(widget.name) is not None
    return widget.name == name


class Desktop:
    """A private virtual screen with a window manager and a message bus. A context manager."""

    def __init__(self, width=1920, height=1080):
        self.size = width, height
        self._children = []
        self._program_folders = set()
        self._folder = None
        self._environment = None

    def __enter__(self):
        try:
            self._start()
        except BaseException:
            self.close()
            raise
        return self

    def __exit__(self, *_):
        self.close()

    def _start(self):
        self._folder = Path(tempfile.mkdtemp(prefix="desktop-"))
        runtime = self._folder / "runtime"
        runtime.mkdir(mode=0o700)
        for name in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "QT_QPA_PLATFORMTHEME", "XDG_CURRENT_DESKTOP",
                     "AT_SPI_BUS_ADDRESS", "DBUS_SESSION_BUS_ADDRESS", "QT_SCALE_FACTOR", "NO_AT_BRIDGE"):
            os.environ.pop(name, None)
        # The program must not see the user's settings, so its home folder is empty.
        home = self._folder / "home"
        home.mkdir()
        os.environ.update(
            HOME=str(home), XDG_CONFIG_HOME=str(home / ".config"), XDG_RUNTIME_DIR=str(runtime),
            QT_QPA_PLATFORM="xcb", QT_ACCESSIBILITY="1", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
            LC_ALL="C.UTF-8", LIBGL_ALWAYS_SOFTWARE="1")

        width, height = self.size
        read_end, write_end = os.pipe()
        quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
        self.run_beside([tool("Xvfb"), "-displayfd", str(write_end), "-screen", "0", f"{width}x{height}x24",
                         "-nolisten", "tcp", "-noreset"], pass_fds=(write_end,), **quiet)
        os.close(write_end)
        os.environ["DISPLAY"] = ":" + self._line(read_end, "the X server's number")

        read_end, write_end = os.pipe()
        self.run_beside([tool("dbus-daemon"), "--session", "--nofork", f"--print-address={write_end}"],
                        pass_fds=(write_end,), **quiet)
        os.close(write_end)
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = self._line(read_end, "the bus's address")

        self.run_beside([tool("openbox")], **quiet)
        wait_for(lambda: self.xdotool("get_desktop", check=False).strip() != "", "the window manager")

        import gi
        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi
        # A program that reads a log does not answer for some time; waits retry.
        Atspi.set_timeout(2000, 5000)
        # The first query starts the registry. A program that registers at the same time may be missing from it.
        wait_for(self._has_registry, "the accessibility registry")

    @staticmethod
    def _has_registry():
        import pyatspi
        from gi.repository import GLib
        try:
            return pyatspi.Registry.getDesktop(0).get_child_count() == 0
        except (GLib.Error, LookupError):
            return False

    @staticmethod
    def _line(descriptor, what):
        with os.fdopen(descriptor) as stream:
            line = stream.readline().strip()
        if not line:
            raise RuntimeError(f"did not get {what}")
        return line

    def run_beside(self, command, prepare=None, **options):
        """Starts a command that is ended with this desktop at the latest. The child calls prepare first."""
        def in_child():
            _end_with_parent()
            if prepare:
                prepare()

        child = subprocess.Popen(command, stdin=subprocess.DEVNULL, start_new_session=True, preexec_fn=in_child,
                                 **options)
        self._children.append(child)
        return child

    def start(self, program, cwd, prepare=None, **options):
        """Starts a program in the folder cwd and waits for its first window. Options are passed to Popen."""
        self._program_folders.add(Path(program).resolve().parent)
        app = App(self, self.run_beside([str(program)], prepare, cwd=str(cwd), **options), Path(cwd))
        app.wait_for_window()
        return app

    def close(self):
        for child in reversed(self._children):
            try:
                # Ends the whole process group, because the bus starts other programs.
                os.killpg(child.pid, signal.SIGTERM)
            except ProcessLookupError:
                pass
            try:
                child.wait(5)
            except subprocess.TimeoutExpired:
                os.killpg(child.pid, signal.SIGKILL)
                child.wait()
        self._children.clear()
        for folder in self._program_folders:
            for service in tile_services(folder):
                with contextlib.suppress(ProcessLookupError):
                    os.kill(service, signal.SIGTERM)
        if self._folder:
            shutil.rmtree(self._folder, ignore_errors=True)

    def _run_xdotool(self, *arguments):
        return subprocess.run([tool("xdotool"), *map(str, arguments)], capture_output=True, text=True,
                              timeout=LIMIT * PATIENCE)

    def xdotool(self, *arguments, check=True):
        done = self._run_xdotool(*arguments)
        if check and done.returncode != 0:
            raise RuntimeError(f"xdotool {' '.join(map(str, arguments))}: {done.stderr.strip()}")
        return done.stdout

    def move(self, x, y):
        self.xdotool("mousemove", x, y)

    def click(self, x, y, button=1):
        self.xdotool("mousemove", x, y, "click", button)

    def double_click(self, x, y):
        self.xdotool("mousemove", x, y, "click", "--repeat", 2, "--delay", 60, 1)

    def drag(self, start, end, until=None):
        """Presses the button at start, moves to end in steps, and releases the button when until() is true."""
        self.xdotool("mousemove", *start, "mousedown", 1)
        for step in range(1, 9):
            self.xdotool("mousemove", *(a + (b - a) * step // 8 for a, b in zip(start, end)))
        if until:
            def moved():
                self.xdotool("mousemove_relative", "--", -1, 0, "mousemove_relative", 1, 0)
                return until()
            wait_for(moved, "the place to take what is dragged")
        self.xdotool("mouseup", 1)

    def windows(self):
        """All windows on the screen with their titles, newest last. xdotool's title search does not support Chinese."""
        def search():
            done = self._run_xdotool("search", "--onlyvisible", "--name", ".")
            # No match is not an error, but xdotool fails if a window closes during the search.
            return None if done.stderr else [done.stdout.split()]

        found = wait_for(search, "a search for windows while none of them goes")[0]
        return {window: self.xdotool("getwindowname", window, check=False).strip() for window in found}

    def window(self, title, but=()):
        """A window with this title that is not in but, or None."""
        return next((window for window, name in self.windows().items() if name == title and window not in but), None)

    def place(self, window):
        """The rectangle of a window's contents on the screen."""
        values = dict(line.split("=") for line in self.xdotool("getwindowgeometry", "--shell", window).splitlines())
        return Rect(*(int(values[key]) for key in ("X", "Y", "WIDTH", "HEIGHT")))

    def focus(self, window):
        self.xdotool("windowactivate", "--sync", window)

    def key(self, *keys):
        self.xdotool("key", "--clearmodifiers", *keys)

    def type(self, text):
        self.xdotool("type", "--clearmodifiers", "--delay", "8", "--", text)

    def screenshot(self, path):
        Path(path).parent.mkdir(parents=True, exist_ok=True)
        subprocess.run([tool("import"), "-window", "root", str(path)], check=True, timeout=LIMIT * PATIENCE)
        return Picture(path)


class App:
    """A running program: windows, menus and log."""

    def __init__(self, desktop, process, folder):
        self.desktop = desktop
        self.process = process
        self.folder = folder

    @property
    def windows(self):
        import pyatspi
        from gi.repository import Atspi, GLib
        try:
            for application in pyatspi.Registry.getDesktop(0):
                if application is not None and application.get_process_id() == self.process.pid:
                    # The library caches names, and a status bar emits no event when its text changes.
                    application.set_cache_mask(Atspi.Cache.NONE)
                    return [Widget(self.desktop, child) for child in application if child is not None]
        except (GLib.Error, LookupError):
            pass  # not on the bus yet, or busy
        return []

    def _alive(self):
        if self.process.poll() is not None:
            raise WaitFailed(f"the program ended by itself with {self.process.returncode}")

    def wait_for_window(self, timeout=LIMIT):
        def probe():
            self._alive()
            return [window for window in self.windows if window.showing]
        return wait_for(probe, "the program's first window", timeout)[0]

    def find_all(self, name=None, role=None):
        from gi.repository import GLib
        try:
            found = []
            for window in self.windows:
                if _fits(window, name, role) and window.showing:
                    found.append(window)
                found.extend(window.find_all(name, role))
            return found
        except (GLib.Error, LookupError):
            return []  # a window closed during the search

    def find(self, name=None, role=None, timeout=LIMIT):
        """Waits for a visible widget with this text and role."""
        def probe():
            self._alive()
            return self.find_all(name, role)
        try:
            return wait_for(probe, f"{role or 'widget'} {name!r}", timeout)[0]
        except WaitFailed as failure:
            seen = [repr(widget) for widget in self.find_all() if widget.name]
            raise WaitFailed(f"{failure}; there are: {', '.join(seen)}") from None

    def tool_tip(self):
        """The text of the tool tip, or None. A tool tip is a separate window, so other windows are not searched."""
        from gi.repository import GLib
        try:
            return next((window.name for window in self.windows if window.role == "tool tip" and window.showing), None)
        except (GLib.Error, LookupError):
            return None  # it just closed

    def wait_until_gone(self, name=None, role=None, timeout=LIMIT):
        wait_for(lambda: not self.find_all(name, role), f"{role or 'widget'} {name!r} to disappear", timeout)

    def choose(self, entry, before):
        """Calls before(), which opens a pop-up menu, and chooses the entry with this text. Returns the menu's texts."""
        import pyatspi
        from gi.repository import GLib
        heard = []
        listener = heard.append
        # A pop-up menu is not in the tree of a window; its focused entry gives its position.
        pyatspi.Registry.registerEventListener(listener, "object:state-changed:focused")
        try:
            before()

            def focused_entry():
                self.desktop.key("Down")
                end = time.monotonic() + 0.5
                while time.monotonic() < end:
                    GLib.MainContext.default().iteration(False)
                    while heard:
                        event = heard.pop(0)
                        try:
                            if event.detail1 and event.source.getRoleName() in ("menu item", "check menu item"):
                                return event.source
                        except GLib.Error:
                            pass  # an entry of the previous menu, which is closed
                    time.sleep(0.01)
                return None

            menu = Widget(self.desktop, wait_for(focused_entry, "a pop-up menu", 10)).parent
        finally:
            pyatspi.Registry.deregisterEventListener(listener, "object:state-changed:focused")
        entries = [child for child in menu.children if child.name]
        texts = [child.name for child in entries]
        if entry not in texts:
            self.desktop.key("Escape")
            raise AssertionError(f"the menu has no {entry!r}: {texts}")
        entries[texts.index(entry)].click()
        return texts

    def wait_for_end(self, timeout=LIMIT):
        """Waits until the program ends. Returns the exit status."""
        timeout *= PATIENCE
        try:
            return self.process.wait(timeout)
        except subprocess.TimeoutExpired:
            raise WaitFailed(f"the program did not end within {timeout:g} s") from None

    def log_lines(self):
        """The log entries so far, as LogLine. Info entries are delayed by up to three seconds."""
        lines = []
        for text in (self.folder / "logs" / "log.txt").read_text(encoding="utf-8").splitlines():
            match = _LOG_LINE.fullmatch(text)
            if match:
                lines.append(LogLine(*match.groups()))
            elif lines:  # a message with several lines
                lines[-1] = lines[-1]._replace(message=lines[-1].message + "\n" + text)
        return lines

    def wait_for_log(self, message, timeout=LIMIT):
        return wait_for(lambda: [line for line in self.log_lines() if line.message == message],
                        f"the log line {message!r}", timeout)[0]


def install_copy(program, folder):
    """Copies a program and the files beside it into folder, without files of earlier runs. Returns its path."""
    program = Path(program).resolve()
    left_by_runs = {"config.ini", "data.txt", "data_attack.txt", "logs"}
    shutil.copytree(program.parent, folder, ignore=lambda _, names: left_by_runs & set(names))
    return Path(folder) / program.name
