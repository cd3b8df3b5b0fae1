"""Uses every function of the program like a user: by visible texts, with mouse and keyboard.

Other tests check the results in detail. This test fails if a widget is missing or cut off, if an unexpected window is
open, and if the program reports a problem: a toolkit warning on standard error, or a log entry with level error.
"""

import os
import re
import signal
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))

import analyst
from analyst import AnalystTest
from flight import Flight
from harness import Rect, WaitFailed, wait_for

ENGINE_LIMIT = 120.0  # seconds for the first start of an engine on this machine

MENUS = {
    "文件(F)": ["选择文件(O)", "读取数据(R)", "写Excel", "写Txt"],
    "视图(V)": ["清空(C)", "缩放(R)"],
    "设置(S)": ["数据设置(D)", "界面设置(G)"],
    "轨迹(T)": ["matlib(M)", "python(P)"],
    "其他(O)": ["航线解析(R)", "共用模块(M)"],
    "帮助(H)": ["关于(A)", "文档(D)", "更新(D)"],
}
TOOLS = ["File", "Read", "GolbalSetting", "ViewSetting", "写Excel", "写Txt", "MPlot", "PyPlot", "Map", "Route2Excel",
         "MathLib", "Document"]

CANVAS_MENU = ["自适应Y轴", "自适应缩放", "清空所有曲线"]
CURVE_MENU = ["聚焦Y", "聚焦", "去除错误帧", "删除选定的点", "删除选定的曲线", "设置", "增加1个数据", "增加10个数据",
              "交换显示位置"]
CURVE_MENU_2 = ["聚焦Y", "聚焦", "删除选定的点", "删除选定的曲线", "设置", "去除错误帧", "交换显示位置"]
AXIS_MENU = ["修改字体大小"]

# Text, canvas and colour of some boxes; the first canvas comes first.
ROLL = ("横滚", 0, (255, 255, 0))
TARGET = ("目标横滚", 0, (55, 200, 155))
SPEED_DIFFERENCE = ("速度差值", 1, (255, 0, 0))

# Tabs of the data settings, each with a channel that has no check box in the main window.
TABS = [("HeartBeat", "飞行器类型"), ("ControlSystemStatus", "主电池电压"), ("AttitudeAndPositionInfo", "地速"),
        ("SensorValue", "RC1"), ("FlightTargetValue", "目标半径"), ("PayloadInfo", "光轴俯仰角"),
        ("EquipmentStatus", "磁罗盘"), ("Other", "速度角度")]

# Permitted texts on standard error and permitted log errors, with their reasons.
PERMITTED_ERRORS = []
PERMITTED_NOISE = [
    # The view settings write each chosen curve colour to the debug output.
    re.compile(r"^QColor\(.*\)$"),
    # A read writes the suffix of its file to the debug output.
    re.compile(r'^"(txt|db)"$'),
    # The toolkit requests the position of a window that just closed.
    re.compile(r"^qt\.qpa\.xcb: QXcbConnection: XCB error: 3 \(BadWindow\)"),
    # The web engine has no sandbox for user id 0 and prints this message.
    re.compile(r"^Sandboxing disabled by user\.$"),
]


class Tour(AnalystTest):
    def setUp(self):
        super().setUp()
        # Fake programs record the pages and programs that the system would open.
        programs = self.folder / "programs"
        programs.mkdir()
        self.opened = self.folder / "opened.txt"
        self.updates = self.folder / "updates.txt"
        self.stand_in(programs / "xdg-open", self.opened)
        self.stand_in(programs / "updater.exe", self.updates)
        path = os.environ["PATH"]
        os.environ["PATH"] = f"{programs}:{path}"
        self.addCleanup(os.environ.__setitem__, "PATH", path)

    @staticmethod
    def stand_in(path, notes):
        path.write_text(f'#!/bin/sh\nprintf "%s\\n" "$*" >>"{notes}"\n', encoding="utf-8")
        path.chmod(0o755)

    def recorded(self, notes, what):
        wait_for(lambda: notes.exists() and notes.read_text(encoding="utf-8"), what)
        text = notes.read_text(encoding="utf-8").splitlines()
        notes.unlink()
        return text

    def test_all_functions_work_without_errors(self):
        log = self.make_demo("log", "flight.txt", "--minutes", "10", "--seed", "3", "--backup")
        with self.visiting() as app:
            self.before_a_read(app)
            self.look_at_menus_and_tools(app)
            self.drop_a_log(app, log)
            self.read_ten_times(app, log)
            self.use_curves(app)
            self.use_second_canvas(app)
            self.use_settings(app)
            self.change_view(app)
            self.export(app, log)
            self.convert_a_route(app)
            self.calculate(app)
            self.plot_externally(app)
            self.use_the_map(app)
            self.read_about(app)
            self.quit_at_the_end(app)
        self.check_complaints(app)

    def test_update_starts_the_updater_and_quits(self):
        with self.visiting() as app:
            self.pick(app, "帮助(H)", "更新(D)")
            self.assertEqual(app.wait_for_end(60), 0)
        arguments = self.recorded(self.updates, "the updater's arguments")[0].split()
        self.assertEqual(arguments[:2] + arguments[3:], ["Ostravel", "2.3.2", "1"])
        self.assertRegex(arguments[2], r"^20\d{6}$")
        self.check_complaints(app)

    # Helpers

    def visiting(self):
        return self.running(stderr=(self.folder / "stderr.txt").open("wb"))

    def only(self, app, *expected):
        """Checks that only the main window and the windows with the expected titles are on the screen."""
        def titles():
            return sorted(window.name for window in app.windows if window.showing and window.role != "tool tip")

        wanted = sorted(("Ostravel",) + expected)
        try:
            wait_for(lambda: titles() == wanted, "the windows")
        except WaitFailed:
            self.step("windows")
            self.fail(f"the windows are {titles()}, not {wanted}")

    def pick(self, app, menu, entry):
        app.find(menu, role="menu item").click()
        app.find(entry, role="menu item").click()

    def tool(self, app, name):
        app.find(name, role="push button").click()

    def close(self, app, title):
        """Closes the front window with the keyboard."""
        self.desktop.key("alt+F4")
        self.only(app)
        self.assertNotIn(title, self.desktop.windows().values())

    def answer(self, app, text, button):
        """Presses a button of the message box with this text."""
        app.find(text, role="label")
        app.find(button, role="push button").click()
        app.wait_until_gone(text, role="label")

    def context_menu(self, app, place, entry, texts):
        self.assertEqual(app.choose(entry, lambda: self.desktop.click(*place, button=3)), texts)

    def fill(self, edit, text):
        def filled():
            edit.click()
            self.desktop.key("ctrl+a")
            self.desktop.type(text)
            return edit.text == text

        # A new window may still move during the click.
        wait_for(filled, f"{text!r} in {edit}", interval=0.5)

    def status(self, app, text):
        app.find(re.compile(text), role="status bar")

    # Steps

    def before_a_read(self, app):
        self.only(app)
        box = app.find("横滚", role="check box")
        box.click()
        self.status(app, "^还未读取数据$")
        box.click()
        self.desktop.key("ctrl+r")
        self.answer(app, "未选择文件", "OK")
        for tool in ("写Excel", "写Txt"):
            self.tool(app, tool)
            self.answer(app, "还未读取数据", "OK")
        self.tool(app, "File")
        app.find("Select data file", role="dialog")
        self.desktop.key("Escape")
        self.status(app, "^未选择文件$")
        self.only(app)

    def look_at_menus_and_tools(self, app):
        bar = app.find(role="menu bar")
        self.assertEqual([menu.name for menu in bar.children], list(MENUS))
        for menu in bar.children:
            menu.click()
            entries = [wait_for(lambda text=text: app.find_all(text, role="menu item"), text)[0]
                       for text in MENUS[menu.name]]
            tops = [entry.rect.y for entry in entries]
            self.assertEqual(tops, sorted(set(tops)), "the entries stand one under the other, in their order")
            self.step(f"menu-{list(MENUS).index(menu.name)}")
            self.desktop.key("Escape")
            app.wait_until_gone(MENUS[menu.name][0], role="menu item")
            self.desktop.key("Escape")
        tools = app.find("toolBar", role="tool bar").find_all(role="push button")
        self.assertEqual([tool.name for tool in tools], TOOLS)

    def drop_a_log(self, app, log):
        wanted = self.folder / "wanted.txt"
        file = self.desktop.run_beside([str(analyst.options.file_to_drag), str(log)], stdout=wanted.open("wb"))
        window = wait_for(lambda: self.desktop.window("file to drag"), "a file on the desktop")
        self.desktop.focus(window)
        place, canvas = self.desktop.place(window), self.canvases(app)[0]
        start = place.x + place.width // 2, place.y + place.height // 2
        left = canvas.x + 100
        end = left if place.x > left + 50 else canvas.x + canvas.width - 100, canvas.y + canvas.height - 60
        self.desktop.drag(start, end, until=lambda: wanted.read_bytes())
        self.status(app, f"^selected file is {re.escape(str(log))}$")
        app.wait_for_log(f"file selected is: {log}")
        file.terminate()
        wait_for(lambda: not self.desktop.window("file to drag"), "the file window to close")
        self.only(app)

    def read_ten_times(self, app, log):
        """Reads intact and damaged text logs and a database in turn, with and without curves on the canvases."""
        other = self.make_demo("log", "second.txt", "--minutes", "2", "--seed", "4", "--blanks")
        damaged = self.make_demo("damaged", "damaged.txt", "--minutes", "2", "--seed", "5")
        database = self.make_demo("db", "flight.db", "--minutes", "2", "--seed", "6")
        for number, path in enumerate([other, damaged, database, other, database, damaged, other, database, log, log]):
            self.select(app, path)
            if number % 2:
                self.desktop.key("ctrl+r")
            else:
                self.pick(app, "文件(F)", "读取数据(R)")
            if path == database:
                self.take_first_task(app)
            app.find("解析完成:", role="label", timeout=ENGINE_LIMIT)
            self.step(f"read-{number}")
            if number == 8:
                self.check_report(app, Flight(log.read_text(encoding="latin-1").splitlines()))
            else:
                self.desktop.key("Escape")
                app.wait_until_gone("解析完成:")
            self.only(app)
            if number in (1, 4):
                app.find(ROLL[0], role="check box").click()
                app.find(SPEED_DIFFERENCE[0], role="check box").click()
                app.wait_for_log(f"add graph:{SPEED_DIFFERENCE[0]}, graph index is 0")

    def take_first_task(self, app):
        dialog = app.find("fly data lists", role="dialog")
        self.step("tasks")
        dialog.find_all("Confirm")[0].click()

    def use_curves(self, app):
        """Uses every entry of the first canvas's three menus, drag and wheel, and renames a curve in the legend."""
        self.show(app, [ROLL, TARGET])
        canvas = self.canvases(app)[0]
        free = canvas.x + canvas.width // 5, canvas.y + 40
        middle = canvas.x + canvas.width // 2, canvas.y + canvas.height // 2
        self.desktop.drag(middle, (middle[0] + 60, middle[1] + 20))
        self.desktop.click(*middle, button=4)
        self.desktop.click(*middle, button=5)
        self.pick(app, "视图(V)", "缩放(R)")
        self.context_menu(app, free, "自适应Y轴", CANVAS_MENU)
        self.context_menu(app, free, "自适应缩放", CANVAS_MENU)

        for entry in ("聚焦Y", "聚焦", "去除错误帧", "删除选定的点", "增加1个数据", "增加10个数据", "设置"):
            # Some entries show the curve again, and a new curve is not selected.
            self.desktop.click(*free)
            self.click_curve(app, ROLL[0], ROLL[2], canvas)
            self.context_menu(app, middle, entry, CURVE_MENU)
            if entry == "设置":
                self.draw_thicker(app)
            self.only(app)
        self.desktop.click(*free)

        # Between the ticks of the lower axis there is only the axis.
        self.desktop.click(canvas.x + 20, middle[1])
        self.context_menu(app, middle, "修改字体大小", AXIS_MENU)
        app.find("字体大小", role="label")
        self.step("axis-font")
        app.find("OK", role="push button").click()
        self.only(app)
        self.desktop.click(*free)

        self.rename_in_legend(app, canvas)
        self.desktop.click(*free)
        self.context_menu(app, free, "清空所有曲线", CANVAS_MENU)
        wait_for(lambda: not app.find(ROLL[0], role="check box").checked, "the boxes to be cleared")

    def draw_thicker(self, app):
        app.find("设置", role="dialog")
        self.step("pen")
        button = next(widget for widget in app.find_all(role="push button") if widget.name == "颜色")
        button.click()
        self.choose_colour(app)
        app.find("OK", role="push button").click()
        self.only(app)

    def choose_colour(self, app):
        app.find("Select Color", role="dialog")
        self.step("colour")
        self.desktop.key("Return")
        app.wait_until_gone("Select Color", role="dialog")

    def rename_in_legend(self, app, canvas):
        below = Rect(canvas.x, canvas.y + canvas.height * 9 // 10, canvas.width, canvas.height // 10)
        points = self.step("legend").pixels(TARGET[2], below, 5)
        self.assertTrue(points, "the legend shows no line in the curve's colour")
        self.desktop.double_click(*points[len(points) // 2])
        app.find("New graph name:", role="label")
        self.step("rename")
        self.desktop.type("renamed")
        self.desktop.key("Return")
        self.only(app)

    def use_second_canvas(self, app):
        self.show(app, [SPEED_DIFFERENCE])
        canvas = self.canvases(app)[1]
        middle = canvas.x + canvas.width // 2, canvas.y + canvas.height // 2
        free = canvas.x + canvas.width // 5, canvas.y + 20
        self.context_menu(app, middle, "自适应缩放", CANVAS_MENU)
        for entry in ("聚焦Y", "聚焦", "删除选定的点", "去除错误帧", "交换显示位置"):
            self.desktop.click(*free)
            self.click_curve(app, SPEED_DIFFERENCE[0], SPEED_DIFFERENCE[2], canvas)
            self.context_menu(app, middle, entry, CURVE_MENU_2)
            self.only(app)
        self.context_menu(app, free, "自适应Y轴", CANVAS_MENU)
        # The curve is now on the upper canvas and is also removed; its box is unticked.
        self.context_menu(app, free, "清空所有曲线", CANVAS_MENU)
        wait_for(lambda: not app.find(SPEED_DIFFERENCE[0], role="check box").checked, "the box to be cleared")

    def use_settings(self, app):
        self.tool(app, "GolbalSetting")
        app.find("曲线设置", role="dialog")
        for tab, channel in TABS:
            app.find(tab, role="page tab").click()
            switch = wait_for(lambda: [widget for widget in app.find_all(channel) if widget.role != "label"],
                              f"the switch of {channel}")[0]
            switch.click()
            wait_for(lambda: [line for line in app.log_lines() if line.message.startswith(f"add graph:{channel},")],
                     f"the curve of {channel}")
            self.step(f"settings-{tab}")
        app.find("全局", role="page tab").click()
        self.fill(app.find("0x03-AttitudeAndPositionInfo", role="text"), "100")
        app.find("OK", role="push button").click()
        self.only(app)
        self.pick(app, "设置(S)", "数据设置(D)")
        self.assertEqual(app.find("0x03-AttitudeAndPositionInfo", role="text").text, "100")
        app.find("Cancel", role="push button").click()
        self.only(app)
        self.pick(app, "视图(V)", "清空(C)")

    def change_view(self, app):
        """Toggles every option twice, but the theme only once: the second half of the tour uses the day theme."""
        self.pick(app, "设置(S)", "界面设置(G)")
        app.find("显示设置", role="dialog")
        self.step("view-night")
        for option in ("指标显示", "触摸模式", "夜间模式"):
            box = app.find(option, role="check box")
            was = box.checked
            box.click()
            wait_for(lambda: box.checked != was, f"{box} to change")
        self.step("view-day")
        for button in ("颜色1 ", "颜色2 "):
            app.find(button, role="push button").click()
            self.choose_colour(app)
        app.find("OK", role="push button").click()
        self.only(app)
        canvas = self.canvases(app)[0]
        self.desktop.drag((canvas.x + 300, canvas.y + 100), (canvas.x + 700, canvas.y + 300))
        self.tool(app, "ViewSetting")
        box = app.find("触摸模式", role="check box")
        self.assertTrue(box.checked)
        box.click()
        wait_for(lambda: not box.checked, f"{box} to change")
        app.find("Cancel", role="push button").click()
        self.only(app)
        picture = self.step("day")
        self.assertGreater((picture.part(canvas) > 200).mean(), 0.5, "the canvas is white by day")

    def export(self, app, log):
        self.tool(app, "写Excel")
        self.answer(app, "Excel导出完成！", "OK")
        self.assertGreater(log.with_suffix(".xlsx").stat().st_size, 10000)
        self.pick(app, "文件(F)", "写Txt")
        self.answer(app, "Txt导出完成！", "OK")
        self.assertEqual(len(list(log.with_name("flight-export").glob("*.txt"))), 9)
        self.only(app)

    def convert_a_route(self, app):
        route = self.make_demo("route", "route.json", "--waypoints", "20")
        self.tool(app, "Route2Excel")
        app.find("Routes", role="dialog")
        app.find("解析航线", role="push button").click()
        self.answer(app, "route file is empty", "OK")
        app.find("选择航线", role="push button").click()
        app.find("选择航线文件", role="dialog")
        self.desktop.type(str(route))
        self.desktop.key("Return")
        app.wait_until_gone("选择航线文件", role="dialog")
        app.find("解析航线", role="push button").click()
        wait_for(route.with_suffix(".xlsx").exists, "the workbook of the route")
        self.only(app, "Routes")
        self.step("routes")
        self.close(app, "Routes")
        self.pick(app, "其他(O)", "航线解析(R)")
        self.only(app, "Routes")
        self.close(app, "Routes")

    def calculate(self, app):
        self.tool(app, "MathLib")
        app.find("CommonModule")
        edits = {}
        for edit in sorted(app.find_all(role="text"), key=lambda edit: edit.rect.y):
            edits.setdefault(edit.name, edit)  # the position of the offset group has the same names, further down
        for name, text in (("1点经度：", "113.5"), ("1点纬度：", "22.5"), ("2点经度：", "113.6"), ("2点纬度：", "22.6")):
            self.fill(edits[name], text)
        for button in app.find_all("计算", role="push button"):
            button.click()
        wait_for(lambda: edits["相对距离："].text, "the distance")
        # Ten minutes of arc are 15 km; other tests check the digits.
        self.assertAlmostEqual(float(edits["相对距离："].text), 15100, delta=200)
        self.step("calculators")
        self.close(app, "CommonModule")
        self.pick(app, "其他(O)", "共用模块(M)")
        self.only(app, "CommonModule")
        self.close(app, "CommonModule")

    def plot_externally(self, app):
        for open_it, title, figure in (
                (lambda: self.tool(app, "PyPlot"), "PyPlot", "Ostravel - 高度曲线"),
                (lambda: self.tool(app, "MPlot"), "MPlot", "Ostravel - 二维航迹"),
                (lambda: self.pick(app, "轨迹(T)", "python(P)"), "PyPlot", None),
                (lambda: self.pick(app, "轨迹(T)", "matlib(M)"), "MPlot", None)):
            open_it()
            dialog = wait_for(lambda title=title: self.desktop.window(title), f"{title} to be ready", ENGINE_LIMIT)
            self.step(f"plots-{title}")
            if figure:
                app.find("高度" if "高度" in figure else "二维航迹", role="push button").click()
                window = wait_for(lambda figure=figure: self.desktop.window(figure), figure, ENGINE_LIMIT)
                self.step(f"figure-{title}")
                self.desktop.focus(window)
                self.desktop.key("alt+F4")
                wait_for(lambda figure=figure: not self.desktop.window(figure), "the figure to close")
            self.desktop.focus(dialog)
            self.close(app, title)

    def use_the_map(self, app):
        (self.program.parent / "tiles").mkdir(exist_ok=True)
        self.make_demo("tiles", self.program.parent / "tiles" / "demo.mbtiles")
        self.addCleanup(self.end_tile_service)
        self.tool(app, "Map")
        app.find("启功WMTS", role="push button").click()
        for button in ("画无人机航迹", "航线使能", "测距", "清除所有航线"):
            app.find(button, role="push button").click()
            self.step(f"map-{button}")
        app.find("在浏览器中打开", role="push button").click()
        page = self.recorded(self.opened, "the page in the browser")
        self.assertEqual(len(page), 1)
        self.assertRegex(page[0], r"^file://.*/Leaflet/demo\.html$")
        self.only(app, "Form")
        self.close(app, "Form")

    def end_tile_service(self):
        for process in Path("/proc").glob("[0-9]*"):
            try:
                if os.readlink(process / "exe") == str(self.program.parent / "wmts.exe"):
                    os.kill(int(process.name), signal.SIGTERM)
            except OSError:
                pass  # the process just ended

    def read_about(self, app):
        self.pick(app, "帮助(H)", "关于(A)")
        app.find(re.compile("^Version v2\\.3\\.2$"), role="label")
        self.step("about")
        self.close(app, "About Ostravel")
        for open_it in (lambda: self.pick(app, "帮助(H)", "文档(D)"), lambda: self.tool(app, "Document")):
            open_it()
            self.assertEqual(self.recorded(self.opened, "the manual"), [f"file://{self.program.parent}/README.html"])

    def quit_at_the_end(self, app):
        self.desktop.key("alt+F4")
        self.answer(app, "退出程序？", "No")
        self.only(app)
        self.leave(app)

    def check_complaints(self, app):
        errors = [line for line in app.log_lines() if line.level not in ("info", "warning")]
        self.assertEqual([line for line in errors if line.message not in PERMITTED_ERRORS], [])
        noise = (self.folder / "stderr.txt").read_text(encoding="utf-8", errors="replace").splitlines()
        self.assertEqual([line for line in noise if not any(known.search(line) for known in PERMITTED_NOISE)], [])


if __name__ == "__main__":
    analyst.main("file-to-drag")
