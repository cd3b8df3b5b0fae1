#!/usr/bin/python3
"""Operates Ostravel.exe under Wine with the keyboard and checks the files that it writes.

The accessibility bus does not work under Wine. Windows are identified by their titles, the program's state by its log,
and a calculator's result is copied through the clipboard.
"""

import argparse
import math
import os
import re
import subprocess
import sys
import time
import zipfile
from pathlib import Path
from xml.etree import ElementTree

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tests" / "e2e"))
sys.dont_write_bytecode = True

from flight import Flight  # noqa: E402
from harness import Picture, tool, wait_for  # noqa: E402

LIMIT = 180.0  # seconds; Wine's first window is slow, especially on a loaded machine
CODE_PAGE = "gbk"  # encoding of 8-bit texts on a Chinese Windows

BOXES = 15
LABELS = ["飞行器类型", "地面定位状态", "原点经度", "原点纬度", "通信协议版本"]  # of the group 0x01
GROUPS = ["0x01-HeartBeat", "0x02-ControlSystemStatus", "0x03-AttitudeAndPositionInfo", "0x04-SensorValue",
          "0x05-FlightTargetValue", "0x41-PayloadInfo", "0x51-Difference", "0x53-EquipmentStatus"]
SHEET = "{http://schemas.openxmlformats.org/spreadsheetml/2006/main}"


def xdotool(*arguments):
    return subprocess.run([tool("xdotool"), *arguments], capture_output=True, text=True)


def key(*names):
    for name in names:
        xdotool("key", "--clearmodifiers", name)
        time.sleep(0.15)  # Wine loses keys that arrive while it switches windows


def type_text(text):
    xdotool("type", "--delay", "40", text)


def windows(title):
    def search():
        done = xdotool("search", "--onlyvisible", "--name", "^" + title + "$")
        # xdotool fails with a message when a window closes during the search; no match gives no message.
        return None if done.stderr else [done.stdout.split()]

    return wait_for(search, f"a search for {title} while no window goes", LIMIT)[0]


def window(title):
    """Waits for a window and activates it."""
    found = wait_for(lambda: windows(title), f"the window {title}", LIMIT)[-1]
    wait_for(lambda: xdotool("windowactivate", "--sync", found).returncode == 0, f"{title} to take the keys", LIMIT)
    time.sleep(0.5)
    return found


def wait_until_gone(title):
    wait_for(lambda: not windows(title), f"the window {title} to go", LIMIT)


def check(good, text):
    if not good:
        raise AssertionError(text)


class Program:
    MENUS = ["file", "view", "setting", "trace", "other", "help"]

    def __init__(self, wine, folder, data):
        self.data = data
        self.log_file = data / "logs" / "log.txt"
        self.output = open(data / "output.txt", "wb")
        self.process = subprocess.Popen([wine, str(folder / "Ostravel.exe")], cwd=data, stdin=subprocess.DEVNULL,
                                        stdout=self.output, stderr=subprocess.STDOUT)

    def log(self):
        return self.log_file.read_bytes().decode("utf-8") if self.log_file.exists() else ""

    def wait_for_log(self, text, times=1):
        def probe():
            check(self.process.poll() is None, f"the program ended before it logged: {text}")
            return self.log().count(text) >= times
        wait_for(probe, f"the log to say {times} times: {text}", LIMIT)

    def menu(self, name, item):
        """Opens a menu by the keyboard and triggers its item with this number, from 1."""
        key("alt", *["Right"] * self.MENUS.index(name), *["Down"] * item, "Return")


def select_and_read(program, name):
    window("Ostravel")
    key("ctrl+o")
    window("Select data file")
    type_text(name)
    key("Return")
    wait_until_gone("Select data file")
    program.wait_for_log(f"/{name}")
    window("Ostravel")
    key("ctrl+r")
    program.wait_for_log("decode data finished")
    # The report has the same title as the main window.
    wait_for(lambda: len(windows("Ostravel")) > 1, "the report", LIMIT)
    time.sleep(1)
    key("Escape")
    wait_for(lambda: len(windows("Ostravel")) == 1, "the report to go", LIMIT)


def show_curves(program):
    window("Ostravel")
    for _ in range(BOXES):
        key("Tab", "space")
    program.wait_for_log("add graph:", BOXES)


def export(program, item):
    window("Ostravel")
    program.menu("file", item)
    window("info")
    key("Return")
    wait_until_gone("info")


def convert_route(program, name):
    window("Ostravel")
    program.menu("other", 1)
    window("Routes")
    key("space")
    window("选择航线文件")
    type_text(name)
    key("Return")
    wait_until_gone("选择航线文件")
    window("Routes")
    key("Tab", "space")
    workbook = program.data / (Path(name).stem + ".xlsx")
    wait_for(lambda: workbook.exists() and zipfile.is_zipfile(workbook), "the workbook of the route", LIMIT)
    window("Routes")
    key("Escape")
    wait_until_gone("Routes")


def clipboard():
    return subprocess.run([tool("xclip"), "-o", "-selection", "clipboard"], capture_output=True, text=True).stdout


def calculate(program):
    first, second = (113.5, 34.5), (113.6, 34.4)
    window("Ostravel")
    program.menu("other", 2)
    window("CommonModule")
    for value in (*first, *second):
        key("Tab", "ctrl+a")
        type_text(str(value))
    key("Tab", "space", "Tab", "ctrl+a", "ctrl+c")
    text = wait_for(lambda: clipboard().strip(), "a calculated distance in the clipboard", LIMIT)
    # Approximation on a plane.
    north = (second[1] - first[1]) * 111318.845
    east = (second[0] - first[0]) * 111318.845 * math.cos(math.radians((first[1] + second[1]) / 2))
    check(math.isclose(float(text), math.hypot(north, east), rel_tol=0.005), f"distance {text}")
    key("alt+F4")
    wait_until_gone("CommonModule")


def quit_program(program):
    window("Ostravel")
    key("alt+F4")
    window("退出程序")
    key("alt+y")
    check(program.process.wait(LIMIT) == 0, f"the program ended with {program.process.returncode}")
    program.output.close()


def sheets(workbook):
    """Names and row counts of a workbook's sheets, read without the program's library."""
    with zipfile.ZipFile(workbook) as archive:
        check(archive.testzip() is None, f"{workbook} is damaged")
        names = [s.get("name") for s in ElementTree.fromstring(archive.read("xl/workbook.xml")).iter(SHEET + "sheet")]
        return {name: sum(1 for _ in ElementTree.fromstring(archive.read(f"xl/worksheets/sheet{i}.xml")).iter(SHEET + "row"))
                for i, name in enumerate(names, 1)}


def check_files(program, folder, log_name, route_name, waypoints):
    flight = Flight((program.data / log_name).read_text(encoding="ascii").splitlines())
    stem = Path(log_name).stem

    for name, track in (("data.txt", flight.track), ("data_attack.txt", flight.attack_track)):
        text = (folder / "myPlot" / name).read_bytes()
        lines = text.split(b"\r\n")
        check(lines.pop() == b"" and b"\n" not in b"".join(lines), f"{name}: lines do not end in CR LF")
        check(len(lines) == len(track) > 100, f"{name}: {len(lines)} lines, expected {len(track)}")
        for line, point in zip(lines, track):
            numbers = [float(number) for number in line.split(b"\t")]
            check(all(math.isclose(a, b, rel_tol=1e-5, abs_tol=1e-4) for a, b in zip(numbers, point)),
                  f"{name}: {line}, expected {point}")

    exported = program.data / f"{stem}-export"
    texts = sorted(file.name for file in exported.iterdir())
    check(texts == sorted([g + ".txt" for g in GROUPS] + ["0x52-Backup.txt"]), f"text export: {texts}")
    for file in exported.iterdir():
        check(b"\r" not in file.read_bytes(), f"{file.name} has carriage returns")
    heart = (exported / "0x01-HeartBeat.txt").read_bytes().decode(CODE_PAGE).split("\n")
    check(heart[0] == "".join(label + "\t" for label in LABELS), f"header of the text export: {heart[0]!r}")
    check(len(heart) == 1 + len(flight.groups[0x01]), f"text export: {len(heart)} lines")

    rows = sheets(program.data / f"{stem}.xlsx")
    check(list(rows) == GROUPS, f"sheets of the export: {list(rows)}")
    for code, name in ((0x01, GROUPS[0]), (0x03, GROUPS[2]), (0x05, GROUPS[4])):
        check(rows[name] == 1 + len(flight.groups[code]), f"sheet {name}: {rows[name]} rows")
    route = sheets(program.data / (Path(route_name).stem + ".xlsx"))
    check(list(route.values()) == [1 + waypoints], f"workbook of the route: {route}")

    log = program.log_file.read_bytes()
    check(log.count(b"\n") == log.count(b"\r\n") > 0, "lines of the log do not end in CR LF")
    messages = [line.split("> ", 1)[-1] for line in log.decode("utf-8").split("\r\n")]
    check(any(re.fullmatch(r"file selected is:[A-Z]:/.*/" + re.escape(program.data.name) + "/" + log_name, message)
              for message in messages), "the path of the flight is not in the log as it is")
    check(messages[-2] == "close logger", f"the log ends with {messages[-2]}")
    check("theme=darkTheme" in (folder / "config.ini").read_text(encoding="utf-8"), "config.ini lacks the theme")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--wine", default="wine64")
    parser.add_argument("--waypoints", type=int, required=True, help="length of the route")
    parser.add_argument("--screenshot", type=Path, required=True)
    parser.add_argument("folder", type=Path, help="where the zip was unpacked")
    parser.add_argument("data", type=Path, help="where flight.txt and route.json lie")
    options = parser.parse_args()

    program = Program(options.wine, options.folder, options.data)
    steps = [
        ("select and read", lambda: select_and_read(program, "flight.txt")),
        ("fifteen curves", lambda: show_curves(program)),
        ("screenshot", lambda: screenshot(options.screenshot)),
        ("workbook", lambda: export(program, 3)),
        ("texts", lambda: export(program, 4)),
        ("route", lambda: convert_route(program, "route.json")),
        ("calculators", lambda: calculate(program)),
        ("quit", lambda: quit_program(program)),
        ("files", lambda: check_files(program, options.folder, "flight.txt", "route.json", options.waypoints)),
    ]
    for name, step in steps:
        print(name, flush=True)
        try:
            step()
        except BaseException:
            subprocess.run([tool("import"), "-window", "root", str(options.data / "failed.png")], check=False)
            print(xdotool("search", "--onlyvisible", "--name", ".").stdout, program.log(), sep="\n", file=sys.stderr)
            if program.process.poll() is None:
                program.process.kill()
            raise
    return 0


def screenshot(path):
    time.sleep(2)
    subprocess.run([tool("import"), "-window", "root", str(path)], check=True)
    check(Picture(path).colours() > 100, "the screen is nearly blank")


if __name__ == "__main__":
    os.environ["PATH"] = "/usr/lib/wine:" + os.environ.get("PATH", "")
    sys.exit(main())
