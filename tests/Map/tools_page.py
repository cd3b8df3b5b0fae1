"""What the tests of the map's tools share: the page with its panel open, and files for it."""

import argparse
import json
import os
import shutil
import sys
import tempfile
import time
import unittest
from pathlib import Path

from browser import Browser, wait_for
from test_map_page import tile_service

options = None

ROUTE = {
    "name": "巡线 <b>1</b>",
    "task": {"id": 7, "points": [1, 2]},
    "cartographic": [
        {"longitude": "113.8000000", "latitude": "33.95", "height": 120.5, "radius": 60, "speed": 25, "type": "takeoff"},
        {"longitude": "113.91378123456789", "latitude": " 34.0000001 ", "height": 1e-7, "radius": 0.1, "speed": 12.25},
        {"longitude": "1.14e2", "latitude": "+33.95", "height": -3, "radius": 2500, "speed": 0.30000000000000004},
        {"longitude": "114.1", "latitude": "33.9", "height": "high", "speed": 30},
    ],
}


def converter_reads(data):
    """What the program's converter takes from a route file: texts of coordinates, numbers of the rest."""
    doc = json.loads(data)
    rows = doc.get("cartographic", []) if isinstance(doc, dict) else []

    def text(value):
        return value if isinstance(value, str) else ""

    def number(value):
        return float(value) if isinstance(value, (int, float)) and not isinstance(value, bool) else 0.0
    return [(text(row.get("longitude")), text(row.get("latitude")), number(row.get("height")),
             number(row.get("radius")), number(row.get("speed"))) for row in rows]


def gpx(points, name="实飞"):
    rows = "".join(f'<trkpt lat="{lat!r}" lon="{lng!r}"><ele>1</ele></trkpt>\n' for lat, lng in points)
    return ('<?xml version="1.0"?><gpx version="1.1" xmlns="http://www.topografix.com/GPX/1/1"><trk>'
            f'<name>{name}</name><trkseg>\n{rows}</trkseg></trk></gpx>')


def kml(points):
    rows = "\n".join(f"{lng!r},{lat!r},100" for lat, lng in points)
    return ('<?xml version="1.0"?><kml xmlns="http://www.opengis.net/kml/2.2"><Document><Placemark><name>线</name>'
            f'<LineString><coordinates>{rows}</coordinates></LineString></Placemark></Document></kml>')


def geojson(points):
    return json.dumps({"type": "FeatureCollection", "features": [{
        "type": "Feature", "properties": {"name": "线"},
        "geometry": {"type": "LineString", "coordinates": [[lng, lat] for lat, lng in points]}}]})


def route_json(points):
    return json.dumps({"cartographic": [
        {"longitude": str(lng), "latitude": str(lat), "height": 1, "radius": 2, "speed": 3} for lat, lng in points]})


class ToolsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = cls.enterClassContext(Browser(1366, 768))

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="map-tools-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.browser.serve(tile_service([{"name": "demo", "minzoom": 0, "maxzoom": 18}], (120, 150, 110)))
        self.open()

    def open(self, width=1366, height=768, night=False, tools=True):
        self.browser.look(width, height, night)
        self.browser.open(options.page)
        self.run_js("ostravelMap.map.options.zoomAnimation = false; ostravelMap.map.options.inertia = false;")
        if tools:
            self.open_tools()

    def open_tools(self):
        self.browser.click(*self.centre(".tool-button"))
        wait_for(lambda: self.run_js("Boolean(ostravelMap.tools && document.body.className)"), "the panel")

    def run_js(self, script):
        return self.browser.run(script)

    def texts(self, selector):
        return self.run_js(f"[].map.call(document.querySelectorAll({selector!r}), function (e) {{ return e.innerText.trim(); }})")

    def centre(self, selector, number=0):
        self.run_js(f"document.querySelectorAll({selector!r})[{number}].scrollIntoView({{ block: 'center' }})")
        return self.run_js(f"""var r = document.querySelectorAll({selector!r})[{number}].getBoundingClientRect();
            [r.left + r.width / 2, r.top + r.height / 2]""")

    def pixel(self, lat, lng):
        return self.run_js(f"""var r = document.getElementById('map').getBoundingClientRect(),
            p = ostravelMap.map.latLngToContainerPoint([{lat}, {lng}]); [r.left + p.x, r.top + p.y]""")

    def press(self, words, number=0):
        """Clicks the button of the panel that shows these words, when the list is that of the routes on the map."""
        wait_for(lambda: self.run_js("""JSON.stringify([].map.call(document.querySelectorAll('#tools .route input:first-of-type'),
            function (e) { return e.parentNode.parentNode.className === 'route' ? e.value : ''; }).filter(Boolean)) ===
            JSON.stringify(ostravelMap.routes().map(function (r) { return r.name; }))"""), "the rows of the routes")
        self.run_js(f"""[].filter.call(document.querySelectorAll('#tools button'), function (e) {{ e.id = e.id || '';
            e.classList.remove('test-target'); return e.innerText === {words!r}; }})[{number}].classList.add('test-target')""")
        self.browser.click(*self.centre(".test-target"))

    def faults(self):
        return [text for text in self.browser.messages if not text.startswith("Failed to load resource")]

    def write(self, name, content):
        path = self.folder / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def status(self):
        return self.texts("#tools section:first-of-type .status")[0]

    def load(self, *paths):
        """Chooses files and gives the words that the page has for them."""
        self.run_js("document.querySelector('#tools section .status').innerText = ''")
        self.browser.choose("#file", paths)
        wait_for(lambda: self.status() and self.status().count("：") >= len(paths), "the words for the files")
        return self.status()

    def routes(self):
        return self.run_js("""ostravelMap.routes().map(function (r) { return { name: r.name, total: r.total,
            points: r.points.map(function (p) { return [p.at.lat, p.at.lng]; }) }; })""")

    def tracks(self):
        return self.run_js("""ostravelMap.tracks.map(function (t) { var c = t.line.coordinates(), p = [];
            for (var i = 0; i < Math.min(c.count, 50); ++i) p.push([c.lat[i], c.lng[i], c.index[i]]);
            return { name: t.name, count: c.count, points: p }; })""")

    def save(self, kind="json", number=0):
        """Saves a route by its button; the file's path."""
        target = self.folder / f"saved-{time.monotonic_ns()}"
        target.mkdir()
        self.browser.download_to(target)
        wait_for(lambda: len(self.texts("#tools .route")) > number, "the route's row")
        self.run_js(f"document.querySelectorAll('#tools .route select')[{number}].value = {kind!r}")
        self.press("保存", number)
        return wait_for(lambda: next((f for f in target.iterdir() if f.suffix == "." + kind and f.stat().st_size), None),
                        "the saved file")

    def make_route(self, points):
        places = ", ".join(f"{{ at: L.latLng({lat!r}, {lng!r}), way: null, moved: true }}" for lat, lng in points)
        self.run_js(f"ostravelMap.addRoute('', [{places}]) && 0")
        wait_for(lambda: self.texts("#tools .route"), "the route's row")

    def edit(self):
        wait_for(lambda: self.texts("#tools .route"), "the route's row")
        self.press("编辑")
        wait_for(lambda: self.texts("#tools .editor"), "the editor")

    def fill(self, label, text):
        """Types into the field with this label, and leaves it."""
        self.run_js(f"""[].filter.call(document.querySelectorAll('#tools label'), function (e) {{
            return e.innerText === {label!r}; }})[0].control.select()""")
        self.browser.type(text)
        self.run_js("document.activeElement.blur()")

    def field(self, label):
        return self.run_js(f"""[].filter.call(document.querySelectorAll('#tools label'), function (e) {{
            return e.innerText === {label!r}; }})[0].control.value""")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--page", type=Path, required=True, help="demo.html as it is laid beside the program")
    global options
    options, rest = parser.parse_known_args()
    options.page = Path(os.path.abspath(options.page))
    unittest.main("__main__", argv=sys.argv[:1] + rest)
