"""The map, opened by the window's button: track over tiles, route, measurement, and the page in a browser."""

import contextlib
import json
import os
import signal
import urllib.error
import urllib.request
from unittest import mock

import analyst
from analyst import AnalystTest, main
from flight import Flight
from harness import Rect, tile_services, wait_for

SERVICE = "http://127.0.0.1:9800"
ENGINE_LIMIT = 60.0  # seconds for the first start of the web engine on this machine

TRACK = (216, 27, 96)
ROUTE = (23, 99, 166)
MEASURE = (122, 63, 160)
GROUND = (238, 241, 243)  # background without tiles
MODE_NOTE = (33, 79, 112)  # the dark message of a mode, on the background without tiles

# A fake browser that records its arguments; another test checks the page in a browser.
BROWSER = """#!/bin/sh
printf '%s\\n' "$#" "$@" >>"$OPENED"
"""


def ask_service():
    """The layers of the tile service, or None if no service is running."""
    try:
        with urllib.request.urlopen(SERVICE + "/layers.json", timeout=5) as answer:
            return [layer["name"] for layer in json.load(answer)]
    except (urllib.error.URLError, ConnectionError):  # a service that is ending may break the connection
        return None


class Map(AnalystTest):
    def setUp(self):
        super().setUp()
        # A folder name with characters that are special in a URL.
        self.program = self.program.parent.rename(self.folder / "程序 1%20#?") / self.program.name
        # The page uses the program's theme. In the night theme the background without tiles has the window's colour.
        (self.program.parent / "config.ini").write_text("[Global]\ntheme=lightTheme\n", encoding="ascii")
        hands = self.folder / "hands"
        hands.mkdir()
        (hands / "xdg-open").write_text(BROWSER, encoding="ascii")
        (hands / "xdg-open").chmod(0o755)
        self.opened = self.folder / "opened"
        self.enterContext(mock.patch.dict(os.environ, PATH=f"{hands}:{os.environ['PATH']}", OPENED=str(self.opened)))
        self.assertIsNone(ask_service(), "another tile service has the port")

    def test_track_route_measure_service_and_browser(self):
        (self.program.parent / "tiles").mkdir()
        self.make_demo("tiles", self.program.parent / "tiles" / "demo.mbtiles")
        log = self.make_demo("log", "flight.txt", "--minutes", "20")
        with self.running() as app:
            self.select(app, log)
            self.desktop.key("ctrl+r")
            self.check_report(app, Flight(log.read_text(encoding="latin-1").splitlines()))
            area = self.open_map(app)
            self.draw_track(app, area)
            self.start_service(app, area)
            self.draw_route(app, area)
            self.measure(app, area)
            self.clear(app, area)
            self.open_in_browser(app)
            self.desktop.key("alt+F4")
            app.wait_until_gone("画无人机航迹", role="push button")
            self.leave(app)
        self.assertEqual([line for line in app.log_lines() if line.level == "error"], [])
        # The service keeps running without the program, and ends on request.
        self.assertEqual(ask_service(), ["demo"])
        service, = tile_services(self.program.parent)
        os.kill(service, signal.SIGTERM)
        wait_for(lambda: ask_service() is None, "the service to end")

    # ---- Steps ----

    def open_map(self, app):
        """Presses the window's button and waits for the page. Returns its rectangle on the screen."""
        app.find("Map", role="push button").click()
        left = app.find("画无人机航迹", role="push button", timeout=ENGINE_LIMIT).parent.rect.x

        def page():
            picture = self.step("map")
            found = picture.pixels(GROUND)
            return found if len(found) > picture.width * picture.height / 3 else None

        found = wait_for(page, "the page", ENGINE_LIMIT, interval=0.5)
        rows, columns = [y for _, y in found], [x for x, _ in found]
        area = Rect(min(columns), min(rows), max(columns) - min(columns) + 1, max(rows) - min(rows) + 1)
        self.assertLessEqual(area.x + area.width, left, "the page ends where the buttons begin")
        self.assertGreater(area.width * area.height, 0.7 * self.desktop.size[0] * self.desktop.size[1])
        return area

    def draw_track(self, app, area):
        self.assertEqual(self.colour("map", TRACK, area), 0)
        app.find("画无人机航迹", role="push button").click()
        self.wait_for_colour("track", TRACK, area, 1000)
        # The view is fitted to the flight.
        points = self.step("track").pixels(TRACK, area, 20)
        width = max(x for x, _ in points) - min(x for x, _ in points)
        height = max(y for _, y in points) - min(y for _, y in points)
        self.assertTrue(width > 0.45 * area.width or height > 0.45 * area.height, (width, height))

    def start_service(self, app, area):
        # The grid is on a plain background.
        before = self.colour("no-tiles", GROUND, area)
        self.assertGreater(before, area.width * area.height / 2)
        app.find("启功WMTS", role="push button").click()
        wait_for(ask_service, "the service")
        self.assertEqual(ask_service(), ["demo"])
        service, = tile_services(self.program.parent)
        self.assertEqual(os.getsid(service), service, "the service has left the program's terminal")

        def covered():
            picture = self.step("service")
            return len(picture.pixels(GROUND, area)) < before / 20 and len(picture.pixels(TRACK, area, 20)) > 1000

        wait_for(covered, "the track over tiles", interval=0.3)
        # A second click does not affect the running service.
        app.find("启功WMTS", role="push button").click()

    def draw_route(self, app, area):
        before = self.colour("service", ROUTE, area)
        self.switch(app, area, "航线使能", on=True)
        ends = self.click_line(area, (0.2, 0.3), (0.35, 0.6), (0.6, 0.75))
        wait_for(lambda: self.line_between("route", ends, ROUTE), "a route through the points that were clicked")
        # Dragging a waypoint moves its legs.
        moved = [ends[0], (ends[1][0], ends[1][1] + 90), ends[2]]
        with self.dragged(area, ends[1], moved[1]):
            wait_for(lambda: self.line_between("route", moved, ROUTE), "the route through the point that is dragged")
        self.desktop.key("Escape")
        self.switch(app, area, "航线使能", on=False)
        self.assertGreater(self.colour("route", ROUTE, area), before + 1000)

    def measure(self, app, area):
        self.switch(app, area, "测距", on=True)
        ends = self.click_line(area, (0.3, 0.15), (0.55, 0.2), (0.7, 0.45))
        wait_for(lambda: self.line_between("measure", ends, MEASURE), "a line through the points that were clicked")
        self.desktop.key("Escape")
        self.switch(app, area, "测距", on=False)

    def clear(self, app, area):
        app.find("清除所有航线", role="push button").click()

        def plain():
            picture = self.step("cleared")
            return all(len(picture.pixels(colour, area, 12)) < 100 for colour in (TRACK, ROUTE, MEASURE))

        wait_for(plain, "an empty map")

    def open_in_browser(self, app):
        app.find("在浏览器中打开", role="push button").click()
        wait_for(self.opened.exists, "the browser")
        page = self.program.parent / "Leaflet" / "demo.html"
        self.assertEqual(wait_for(lambda: self.opened.read_text(encoding="utf-8").split("\n"), "its address"),
                         ["1", page.as_uri(), ""])

    # ---- Helpers ----

    def switch(self, app, area, button, on):
        """Presses a mode's button and waits until the page shows or hides the mode's message."""
        app.find(button, role="push button").click()
        top = Rect(area.x, area.y, area.width, area.height // 8)
        wait_for(lambda: (self.colour("mode", MODE_NOTE, top, 16) > 3000) == on, f"the note of {button}")

    def click_line(self, area, *parts):
        """Clicks points given as fractions of the map's width and height. Returns the points in pixels."""
        places = [(area.x + int(area.width * x), area.y + int(area.height * y)) for x, y in parts]
        for place in places:
            self.desktop.click(*place)
        return places

    @contextlib.contextmanager
    def dragged(self, area, start, end):
        """Context manager: drags and keeps the button pressed at the end, because the map updates a frame later."""
        self.move_seen(area, *start)
        self.desktop.xdotool("mousedown", 1)
        # The page uses the first movement only as the start of a drag, so that movement is small.
        for part in (0.04, 0.3, 0.6, 0.9, 1):
            self.move_seen(area, *(round(a + (b - a) * part) for a, b in zip(start, end)))
        yield
        self.desktop.xdotool("mouseup", 1)

    def move_seen(self, area, x, y):
        """Moves the pointer and waits for the new coordinates, because a busy page merges several moves."""
        label = Rect(area.x + area.width - 320, area.y + area.height - 45, 320, 45)
        before = self.step("moved").part(label)
        self.desktop.move(x, y)
        wait_for(lambda: (self.step("moved").part(label) != before).any(), "the pointer's coordinates")

    def line_between(self, name, places, colour):
        """Whether the lines between places have pixels of the colour. Skips ends and middle, which have labels."""
        picture = self.step(name)
        for (x0, y0), (x1, y1) in zip(places, places[1:]):
            for part in (0.15, 0.25, 0.75, 0.85):
                x, y = round(x0 + (x1 - x0) * part), round(y0 + (y1 - y0) * part)
                if not picture.pixels(colour, Rect(x - 4, y - 4, 9, 9), 12):
                    return False
        return True

    def colour(self, name, colour, area, tolerance=12):
        return len(self.step(name).pixels(colour, area, tolerance))

    def wait_for_colour(self, name, colour, area, minimum):
        wait_for(lambda: self.colour(name, colour, area) >= minimum, f"{minimum} pixels of {colour}", interval=0.3)


if __name__ == "__main__":
    main()
