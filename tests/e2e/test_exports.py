"""All outputs of the program: workbook and text files of a flight, workbook of a route, calculators."""

import json
import math
import re
import subprocess
from decimal import ROUND_HALF_UP, Decimal

import openpyxl

from analyst import READ_LIMIT, AnalystTest, main
from flight import Flight, float32
from harness import wait_for

OFFICE = "/usr/bin/libreoffice"
OFFICE_LIMIT = 240.0  # seconds; the first start of an office suite on a busy machine is slow

# Sheets and files in order: name, number of channels.
GROUPS = [("0x01-HeartBeat", 5), ("0x02-ControlSystemStatus", 37), ("0x03-AttitudeAndPositionInfo", 18),
          ("0x04-SensorValue", 34), ("0x05-FlightTargetValue", 13), ("0x41-PayloadInfo", 14), ("0x51-Difference", 5),
          ("0x53-EquipmentStatus", 16)]
# Only in the text export: the first channel of another group.
BACKUP, BACKUP_SOURCE = "0x52-Backup", "0x53-EquipmentStatus"

HEADERS = {
    "0x01-HeartBeat": ["飞行器类型", "地面定位状态", "原点经度", "原点纬度", "通信协议版本"],
    "0x51-Difference": ["俯仰差值", "横滚差值", "航向差值", "速度差值", "高度差值"],
    "0x53-EquipmentStatus": ["陀螺", "解保", "磁罗盘", "气压计", "空速计", "定位", "SBUS", "链路", "电压", "筒外", "掉高",
                             "锁定（油门）", "姿态", "惯导", "动力", "载荷"],
}

ROUTE_TITLES = ["id", "longitude", "latitude", "height", "radius", "speed", "distance", "flyTime", "totalTime"]

# The example in the manual of the Australian geodetic datum: 54,972.271 m, bearing 306°52'05.37".
FLINDERS_PEAK = ("144.424867889", "-37.951033417")
BUNINYONG = ("143.926495528", "-37.652821139")
METRES, BEARING = 54972.271, 306.87


def streamed(value):
    """A number as in the text files: six significant digits, ties rounded away from zero."""
    if value == 0:
        return "0"
    exact = Decimal(value)
    rounded = exact.quantize(Decimal(1).scaleb(exact.adjusted() - 5), ROUND_HALF_UP)
    exponent = rounded.adjusted()
    if -5 < exponent < 6:
        return f"{rounded.normalize():f}"
    return f"{rounded.scaleb(-exponent).normalize():f}e{exponent:+03d}"


def vincenty(first, second):
    """Distance in metres between two (longitude, latitude) in degrees, by Vincenty's iteration (1975)."""
    a, f = 6378137.0, 1 / 298.257223563
    b = a * (1 - f)
    u1, u2 = (math.atan((1 - f) * math.tan(math.radians(latitude))) for _, latitude in (first, second))
    difference = math.radians(second[0] - first[0])
    lam = difference
    for _ in range(50):
        p = math.cos(u2) * math.sin(lam)
        q = math.cos(u1) * math.sin(u2) - math.sin(u1) * math.cos(u2) * math.cos(lam)
        sin_s = math.hypot(p, q)
        if sin_s == 0:
            return 0.0
        cos_s = math.sin(u1) * math.sin(u2) + math.cos(u1) * math.cos(u2) * math.cos(lam)
        s = math.atan2(sin_s, cos_s)
        sin_alpha = math.cos(u1) * math.cos(u2) * math.sin(lam) / sin_s
        square = 1 - sin_alpha ** 2
        cos_m = cos_s - 2 * math.sin(u1) * math.sin(u2) / square
        c = f / 16 * square * (4 + f * (4 - 3 * square))
        lam = difference + (1 - c) * f * sin_alpha * (s + c * sin_s * (cos_m + c * cos_s * (2 * cos_m ** 2 - 1)))
    u = square * (a * a - b * b) / (b * b)
    big_a = 1 + u / 16384 * (4096 + u * (-768 + u * (320 - 175 * u)))
    big_b = u / 1024 * (256 + u * (-128 + u * (74 - 47 * u)))
    return b * big_a * (s - big_b * sin_s * (cos_m + big_b / 4 * (
        cos_s * (2 * cos_m ** 2 - 1) - big_b / 6 * cos_m * (4 * sin_s ** 2 - 3) * (4 * cos_m ** 2 - 3))))


class Exports(AnalystTest):
    def test_flight_and_route_are_exported_and_the_calculators_match_published_values(self):
        log = self.make_demo("log", "flight.2023.txt", "--minutes", "1", "--seed", "3")
        route = self.make_demo("route", "route.json", "--waypoints", "22")
        flight = Flight(log.read_text(encoding="latin-1").splitlines())
        with self.running() as app:
            self.select(app, log)
            self.desktop.key("ctrl+r")
            self.check_report(app, flight)
            self.export(app, "写Excel", "Excel导出完成！")
            self.export(app, "写Txt", "Txt导出完成！")
            shown = self.convert(app, route)
            self.calculate(app)
            self.leave(app)
        # The name is that of the log up to its first dot.
        sheets = self.check_workbook(self.work / "flight.xlsx")
        self.check_samples(sheets, flight)
        self.check_files(self.work / "flight-export", sheets)
        self.check_route(route, self.work / "route.xlsx", shown)
        self.assertEqual(sorted(entry.name for entry in self.work.iterdir()),
                         ["flight-export", "flight.2023.txt", "flight.xlsx", "logs", "route.json", "route.xlsx"])
        self.check_log_order(app.log_lines(), ["decode data finished", "mainwindow destructor", "close logger"])

    def export(self, app, entry, words):
        self.choose_entry(app, "文件(F)", entry)
        app.find(words, role="label", timeout=READ_LIMIT)
        self.step(f"finished-{entry}")
        self.desktop.key("Return")
        app.wait_until_gone(words, role="label")

    def convert(self, app, route):
        """Converts a route. Returns the rows of the table; all rows are visible."""
        self.choose_entry(app, "其他(O)", "航线解析(R)")
        app.find("选择航线", role="push button").click()
        app.find("选择航线文件", role="dialog")
        self.type_path(app, route)
        app.find("解析航线", role="push button").click()
        wait_for(route.with_suffix(".xlsx").exists, "the route's workbook")
        self.step("route")
        rows = len(json.loads(route.read_text())["cartographic"])

        def shown():
            cells = [cell.name for cell in app.find_all(role="table cell")]
            return cells if len(cells) == rows * len(ROUTE_TITLES) else None

        cells = wait_for(shown, f"{rows} rows")
        self.desktop.key("Escape")
        app.wait_until_gone("解析航线", role="push button")
        return [cells[i:i + len(ROUTE_TITLES)] for i in range(0, len(cells), len(ROUTE_TITLES))]

    def calculate(self, app):
        self.choose_entry(app, "其他(O)", "共用模块(M)")
        app.find("位置输入")

        def find(name, role, number):
            """The widget with this name and number, counted from top to bottom."""
            def probe():
                found = sorted(app.find_all(name, role), key=lambda widget: widget.rect.y)
                return found[number] if len(found) > number else None

            return wait_for(probe, f"{role} {name}, number {number}")

        def edit(name, number=0):
            return find(name, "text", number)

        def fill(target, text):
            target.click()
            self.desktop.key("ctrl+a")
            self.desktop.type(text)
            wait_for(lambda: target.text == text, f"{text} in {target}")

        def value(name):
            target = edit(name)
            return float(wait_for(lambda: target.text, f"{name} to be computed"))

        for name, text in zip(("1点经度：", "1点纬度：", "2点经度：", "2点纬度："), FLINDERS_PEAK + BUNINYONG):
            fill(edit(name), text)
        find("计算", "push button", 0).click()
        # Positions are truncated to 1e-7 degrees, about a centimetre. The float resolution is 4 mm there.
        self.assertAlmostEqual(value("相对距离："), METRES, delta=0.02)
        self.assertEqual(edit("相对方位：").text, f"{BEARING:.3f}")
        north, east = value("北向偏移量："), value("东向偏移量：")
        self.assertAlmostEqual(north, METRES * math.cos(math.radians(306.868158)), delta=0.05)
        self.assertAlmostEqual(east, METRES * math.sin(math.radians(306.868158)), delta=0.05)

        # The first point plus the offset is the second point.
        for name, text in zip(("1点经度：", "1点纬度："), FLINDERS_PEAK):
            fill(edit(name, 1), text)
        find("计算", "push button", 1).click()
        self.assertAlmostEqual(value("偏移航点经度："), float(BUNINYONG[0]), delta=6e-7)
        self.assertAlmostEqual(value("偏移航点纬度："), float(BUNINYONG[1]), delta=6e-7)
        self.step("calculators")
        self.desktop.key("alt+F4")
        app.wait_until_gone("位置输入")

    def office(self, path):
        """Opens the workbook in an office suite and saves it again. Returns the new workbook."""
        folder = self.folder / "office"
        subprocess.run([OFFICE, f"-env:UserInstallation=file://{self.folder}/profile", "--headless", "--convert-to",
                        "xlsx", "--outdir", str(folder), str(path)], check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=OFFICE_LIMIT)
        return openpyxl.load_workbook(folder / path.name)

    def check_workbook(self, path):
        """Checks the workbook. Returns its sheets by name, as lists of rows of values."""
        ours, theirs = openpyxl.load_workbook(path), self.office(path)
        sheets = {}
        for book in (ours, theirs):
            self.assertEqual(book.sheetnames, [name for name, _ in GROUPS])
        for name, columns in GROUPS:
            rows = [list(row) for row in ours[name].values]
            self.assertEqual({len(row) for row in rows}, {columns})
            self.assertEqual(len(set(rows[0])), columns)
            self.assertEqual(rows[0], HEADERS.get(name, rows[0]))
            self.assertTrue(any(re.search("[\u4e00-\u9fff]", label) for label in rows[0]), rows[0])
            self.assertEqual({type(value) for row in rows[1:] for value in row} - {int, float}, set())
            for row, other in zip(rows, theirs[name].values):
                self.assertEqual(len(row), len(other))
                for value, read in zip(row, other):
                    self.assertTrue(value == read or math.isclose(value, read, rel_tol=1e-14), (name, value, read))
            self.assertEqual(theirs[name].max_row, len(rows))
            for book in (ours, theirs):
                self.check_looks(book[name])
            sheets[name] = rows
        return sheets

    def check_looks(self, sheet):
        for cell in sheet[1]:
            self.assertEqual((cell.font.sz, cell.font.color.rgb), (12, "FF000000"), cell)
            self.assertEqual((cell.fill.fill_type, cell.fill.fgColor.rgb), ("solid", "FFC0C0C0"), cell)
        for row in (sheet[2], sheet[sheet.max_row]):
            for cell in row:
                self.assertEqual((cell.fill.fill_type, cell.number_format), (None, "General"), cell)
        for row in (sheet[1], sheet[2], sheet[sheet.max_row]):
            for cell in row:
                self.assertEqual(cell.alignment.horizontal, "center", cell)
                for side in ("left", "right", "top", "bottom"):
                    self.assertEqual(getattr(cell.border, side).style, "thin", cell)

    def check_samples(self, sheets, flight):
        """Checks the channels of the independent decoder and the length of their groups."""
        for code, (_, fields) in flight.FIELDS.items():
            rows = next(rows for name, rows in sheets.items() if name.startswith(f"0x{code:02X}-"))
            self.assertEqual(len(rows) - 1, len(flight.groups[code]))
            for label in fields:
                column = next(i for i, header in enumerate(rows[0])
                              if header == label or re.match(re.escape(label) + "[(（]", header))
                for row, value in zip(rows[1:], flight.series(label)):
                    self.assertTrue(math.isclose(row[column], value, rel_tol=1e-14), (label, row[column], value))

    def check_files(self, folder, sheets):
        backup = [row[:1] for row in sheets[BACKUP_SOURCE]]
        expected = {**sheets, BACKUP: backup}
        self.assertEqual(sorted(entry.name for entry in folder.iterdir()), sorted(f"{name}.txt" for name in expected))
        for name, rows in expected.items():
            lines = ["".join(f"{field}\t" for field in rows[0])]
            lines += ["".join(f"{streamed(value)}\t" for value in row) for row in rows[1:]]
            self.assertEqual((folder / f"{name}.txt").read_bytes(), "\n".join(lines).encode(), name)

    def check_route(self, route, path, shown):
        waypoints = json.loads(route.read_text())["cartographic"]
        book = openpyxl.load_workbook(path)
        self.assertEqual(book.sheetnames, ["Sheet1"])
        rows = [list(row) for row in book.active.values]
        self.assertEqual(rows[0], ROUTE_TITLES)
        self.assertEqual(len(rows), len(waypoints) + 1)
        self.check_looks(book.active)
        total, before = 0.0, None
        for number, (waypoint, row) in enumerate(zip(waypoints, rows[1:]), 1):
            texts = waypoint["longitude"], waypoint["latitude"]
            self.assertEqual(row[:6], [number, *map(float, texts), waypoint["height"], waypoint["radius"],
                                       waypoint["speed"]])
            # Distances are computed from positions in single precision.
            place = [math.trunc(float32(float(text)) * 1e7) / 1e7 for text in texts]
            distance = vincenty(before, place) if before else 0.0
            self.assertAlmostEqual(row[6], distance, delta=1e-3)
            self.assertEqual(row[7], float32(row[6] / waypoint["speed"]))
            total = float32(total + row[7])
            self.assertEqual(row[8], total)
            before = place
        self.assertEqual(shown, [[str(row[0]), waypoint["longitude"], waypoint["latitude"],
                                  *(f"{value:.6g}" for value in row[3:])] for waypoint, row in zip(waypoints, rows[1:])])


if __name__ == "__main__":
    main()
