"""The tools of the map's page in a real browser: files in and out, editing, comparing, replaying, and how it all looks."""

import argparse
import json
import math
import os
import re
import shutil
import sys
import tempfile
import time
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

from browser import Browser, wait_for
from ellipsoid import destination, distance_to_route, inverse
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


class Files(ToolsTest):
    # ---- What is opened ----

    def test_a_route_file_becomes_a_route_with_its_name_and_length(self):
        words = self.load(self.write("a.json", json.dumps(ROUTE)))
        self.assertEqual(words, "a.json：航线 1 条。")
        route, = self.routes()
        self.assertEqual(route["name"], ROUTE["name"])
        wanted = [[33.95, 113.8], [34.0000001, 113.91378123456789], [33.95, 114.0], [33.9, 114.1]]
        self.assertEqual(route["points"], wanted)
        length = sum(inverse(*a, *b)[0] for a, b in zip(wanted, wanted[1:]))
        self.assertAlmostEqual(route["total"], length, delta=0.01)
        self.assertEqual(self.texts("#tools .route .length"), [f"{length / 1000:.3f} 公里 · 4 个航点"])
        self.assertEqual(self.run_js("document.querySelectorAll('#tools b').length"), 0, "a name is no markup")

    def test_each_kind_of_track_is_opened(self):
        points = [(34.0, 113.0), (34.1, 113.2), (34.05, 113.4)]
        gx = ('<kml xmlns="http://www.opengis.net/kml/2.2" xmlns:gx="http://www.google.com/kml/ext/2.2"><Placemark><gx:Track>'
              + "".join(f"<gx:coord>{lng} {lat} 5</gx:coord>" for lat, lng in points) + "</gx:Track></Placemark></kml>")
        prefixed = gpx(points).replace("<trk", "<g:trk").replace("</trk", "</g:trk").replace("<gpx", "<g:gpx").replace(
            "</gpx", "</g:gpx").replace("xmlns=", "xmlns:g=")
        halves = gpx(points[:1]).replace("</trkseg>", "</trkseg><trkseg>" + "".join(
            f'<trkpt lat="{lat}" lon="{lng}"/>' for lat, lng in points[1:]) + "</trkseg>")
        line = {"type": "LineString", "coordinates": [[lng, lat, 9] for lat, lng in points]}
        cases = {
            "a.gpx": gpx(points), "prefix.gpx": prefixed, "segments.gpx": halves, "utf16.gpx": gpx(points).encode("utf-16"),
            "a.kml": kml(points), "gx.kml": gx, "a.geojson": geojson(points), "bare.json": json.dumps(line),
            "geometries.json": json.dumps({"type": "GeometryCollection", "geometries": [
                {"type": "Point", "coordinates": [1, 2]}, {"type": "MultiLineString", "coordinates": [line["coordinates"]]}]}),
            "bom.json": b"\xef\xbb\xbf" + json.dumps(line).encode(), "no-suffix": "\n  " + gpx(points),
        }
        for name, content in cases.items():
            with self.subTest(name):
                self.run_js("clearAllLine()")
                self.assertEqual(self.load(self.write(name, content)), f"{name}：航迹 1 条。")
                self.assertEqual(self.tracks()[0]["points"], [[*p, i] for i, p in enumerate(points)])
        self.assertEqual(self.faults(), [])

    def test_damaged_files_are_told_in_words_and_change_nothing(self):
        self.load(self.write("good.gpx", gpx([(34, 113), (34.1, 113.1)])))
        good = gpx([(34, 113), (34.1, 113.1)])
        deep = "[" * 300000
        bomb = ('<?xml version="1.0"?><!DOCTYPE g [<!ENTITY a "aaaaaaaaaa">' + "".join(
            f'<!ENTITY {chr(98 + i)} "{("&" + chr(97 + i) + ";") * 10}">' for i in range(9))
            + ']><gpx><trk><name>&j;</name></trk></gpx>')

        def way(**values):
            return json.dumps({"cartographic": [{"longitude": "113", "latitude": "34", "height": 1}, values]})
        cases = [
            ("empty.gpx", b"", "文件是空的。"),
            ("blank.json", b" \n\t\r\n", "文件是空的。"),
            ("zeros.gpx", b"\0" * 5000, "文件是空的。"),
            ("cut.gpx", good[:-20], "文件不完整或不是正确的 XML（第 "),
            ("wrong.gpx", good.replace("</trkseg>", ""), "文件不完整或不是正确的 XML（第 "),
            ("html.gpx", "<html><body/></html>", "这是 XML，但不是 GPX 或 KML。"),
            ("none.gpx", "<gpx/>", "文件里没有航迹或航线。"),
            ("nan.gpx", gpx([(math.nan, 113.0), (34.0, math.inf)]), "文件里的点都没有有效的经纬度。"),
            ("attributes.gpx", "<gpx><trk><trkseg><trkpt/><trkpt lat='' lon=' '/></trkseg></trk></gpx>",
             "文件里的点都没有有效的经纬度。"),
            ("none.kml", "<kml><Placemark><Point/></Placemark></kml>", "文件里没有航迹或航线。"),
            ("hollow.kml", "<kml><LineString/></kml>", "文件里没有航迹或航线。"),
            ("words.kml", "<kml><LineString><coordinates>here, there</coordinates></LineString></kml>",
             "文件里的点都没有有效的经纬度。"),
            ("bomb.gpx", bomb, "文件含有实体声明，不予读取。"),
            ("two.gpx", good + "<gpx/>", "文件不完整或不是正确的 XML（第 "),
            ("quote.gpx", "<gpx><trk name=\"a><trkseg/></trk></gpx>", "文件不完整或不是正确的 XML（第 1 行）。"),
            ("bare.gpx", "<gpx><trk><trkseg>\n<trkpt lat=34 lon=113/></trkseg></trk></gpx>", "文件不完整或不是正确的 XML（第 2 行）。"),
            ("remark.gpx", "<gpx><!-- never closed <trk/></gpx>", "文件不完整或不是正确的 XML（第 1 行）。"),
            ("lone.gpx", "<", "文件不完整或不是正确的 XML（第 1 行）。"),
            ("nested.gpx", "<gpx>" + "<a>" * 300000, "文件不完整或不是正确的 XML（第 1 行）。"),
            ("cut.json", json.dumps(ROUTE)[:-5], "文件不完整或不是正确的 JSON"),
            ("literal.json", '{"cartographic": [{"height": NaN}]}', "文件不完整或不是正确的 JSON"),
            ("tail.json", json.dumps(ROUTE) + "}", "文件不完整或不是正确的 JSON"),
            ("array.json", "[1, 2]", "JSON 的最外层不是对象，不是航线文件或 GeoJSON。"),
            ("deep.json", deep, "文件不完整或不是正确的 JSON"),
            ("other.json", '{"a": 1}', "JSON 里没有 cartographic，也不是 GeoJSON。"),
            ("type.json", '{"type": 7}', "JSON 里没有 cartographic，也不是 GeoJSON。"),
            ("no-points.json", '{"cartographic": []}', "航线文件里没有航点。"),
            ("points.json", '{"cartographic": {"length": 3}}', "航线文件里没有航点。"),
            ("null.json", '{"type": "Feature", "geometry": null}', "文件里没有航迹或航线。"),
            ("kind.json", '{"type": "LineString", "coordinates": "abc"}', "文件里没有航迹或航线。"),
            ("pairs.json", '{"type": "LineString", "coordinates": [[], null, ["1", "2"], [200, 10]]}',
             "文件里的点都没有有效的经纬度。"),
            ("far.json", way(longitude="113", latitude="91"), "第 2 个航点的经纬度超出范围：经度 113，纬度 91。"),
            ("nan.json", way(longitude="nan", latitude="1"), "第 2 个航点的经纬度超出范围：经度 nan，纬度 1。"),
            ("huge.json", way(longitude="1", latitude="1").replace('"height": 1', '"height": 1e999'), "第 1 个航点的高度超出范围。"),
            ("kmz.kml", b"PK\x03\x04\x00\x00", "这是压缩文件（例如 KMZ），请先解压。"),
            ("text.txt", "hello\n" * 1000, "不是航线文件、GPX、KML 或 GeoJSON。"),
            ("binary.gpx", bytes(range(1, 256)) * 100, "不是航线文件、GPX、KML 或 GeoJSON。"),
        ]
        for name, content, words in cases:
            with self.subTest(name):
                told = self.load(self.write(name, content))
                self.assertTrue(told.startswith(name + "：" + words), told)
                self.assertIn("fault", self.run_js("document.querySelector('#tools .status').className"))
                self.assertEqual((len(self.tracks()), len(self.routes())), (1, 0))
        self.assertEqual(self.faults(), [])

    def test_all_that_xml_allows_is_understood(self):
        text = ("\ufeff<?xml version='1.0' encoding='utf-8'?>\n<!DOCTYPE gpx><!-- <trk> > -->\n<gpx a = \"x > y\" b='\"'>"
                "<metadata><name>not this</name></metadata><trk >\n<name>a &lt;b&gt; &amp; &#26085;&#x1F681; <![CDATA[<c>&amp;]]></name>"
                "<trkseg><trkpt lon = '113' flat=\"7\" lat\n=\n\"34\" ><name>nor this</name></trkpt ><trkpt lat='34.5' lon='113.5'/>"
                "</trkseg></trk></gpx>\n<!-- end -->\n")
        self.assertEqual(self.load(self.write("a.gpx", text)), "a.gpx：航迹 1 条。")
        track, = self.tracks()
        self.assertEqual((track["name"], track["points"]), ("a <b> & 日\U0001F681 <c>&amp;", [[34, 113, 0], [34.5, 113.5, 1]]))

    def test_a_file_beyond_all_sense_is_refused_unread(self):
        path = self.folder / "huge.gpx"
        with open(path, "wb") as file:
            file.truncate(101 * 1024 * 1024)
        self.assertEqual(self.load(path), "huge.gpx：文件太大（101 MB），最多 100 MB。")

    def test_invalid_points_are_left_out_and_counted(self):
        points = [(0.0, 0.0), (34.0, 113.0), (95.0, 113.0), (math.nan, 1.0), (34.1, 113.1), (34.0, -180.5)]
        self.assertEqual(self.load(self.write("a.gpx", gpx(points))), "a.gpx：航迹 1 条，略去 4 个无效的点。")
        self.assertEqual(self.tracks()[0]["points"], [[34.0, 113.0, 1], [34.1, 113.1, 4]])

    def test_way_points_that_the_converter_takes_for_zero_are_counted(self):
        way = json.dumps({"cartographic": [{"longitude": 113.5, "latitude": "34"}, {"longitude": "1", "latitude": "2"}, 5]})
        self.assertEqual(self.load(self.write("a.json", way)),
                         "a.json：航线 1 条，2 个航点的经纬度不是数字文本，解析航线时按 0 读取。")
        self.assertEqual(self.routes()[0]["points"], [[34, 0], [2, 1], [0, 0]])

    def test_one_broken_file_does_not_keep_the_others_out(self):
        words = self.load(self.write("a.gpx", gpx([(34, 113), (34.1, 113)])), self.write("b.gpx", "<gpx>"),
                          self.write("c.json", json.dumps(ROUTE)))
        self.assertEqual([line.split("：")[0] for line in words.split("\n")], ["a.gpx", "b.gpx", "c.json"])
        self.assertEqual((len(self.tracks()), len(self.routes())), (1, 1))

    def test_lines_beyond_a_panel_are_told(self):
        many = {"type": "MultiLineString", "coordinates": [[[113, 34], [113.1, 34]]] * 250}
        self.assertEqual(self.load(self.write("a.json", json.dumps(many))), "a.json：航迹 200 条，线条共 250 条，只取前 200 条。")

    def test_200000_points_are_opened_quickly(self):
        points = [(34 + 0.05 * math.sin(i / 300) + i * 1e-7, 113 + 0.08 * math.cos(i / 300)) for i in range(200000)]
        figures = {}
        for name, content in (("a.gpx", gpx(points)), ("a.kml", kml(points)), ("a.geojson", geojson(points)),
                              ("a.json", route_json(points))):
            self.run_js("clearAllLine()")
            path = self.write(name, content)
            self.run_js("""window.took = 0; (function () { var read = ostravelMap.trackFile.readFile;
                ostravelMap.trackFile.readFile = function (file, done) { var start = performance.now();
                    ostravelMap.trackFile.readFile = read;
                    read(file, function (result) { done(result); window.took = performance.now() - start; }); }; }())""")
            self.load(path)
            figures[name] = wait_for(lambda: self.run_js("window.took"), "the time")
            self.assertEqual(self.run_js("(ostravelMap.tracks[0] || { line: { count: function () {"
                                         " return ostravelMap.routes()[0].points.length; } } }).line.count()"), 200000)
        print("200,000 points opened, ms:", {name: round(value) for name, value in figures.items()}, file=sys.stderr)
        for name, value in figures.items():
            self.assertLess(value, 10000, name)

    # ---- What is saved ----

    def test_an_untouched_route_file_is_saved_to_the_letter(self):
        text = json.dumps(ROUTE, ensure_ascii=True, indent=3).replace('"speed": 30', '"speed" :3.0e1') + "\r\n\n"
        self.load(self.write("plan.v2.json", text))
        saved = self.save()
        self.assertEqual(saved.name, "plan.v2.json")
        self.assertEqual(saved.read_bytes(), text.encode())

    def test_a_changed_route_keeps_all_else_of_its_file(self):
        self.load(self.write("a.json", json.dumps(ROUTE)))
        self.edit()
        self.fill("航点", "2")
        self.fill("纬度（°）", "34.25")
        self.fill("速度（米/秒）", "18.5")
        saved = self.save()
        before, after = converter_reads(json.dumps(ROUTE)), converter_reads(saved.read_bytes())
        self.assertEqual(after[0], before[0])
        self.assertEqual(after[2:], before[2:])
        self.assertEqual((float(after[1][0]), float(after[1][1])), (113.9137812, 34.25))
        self.assertEqual(after[1][2:], (1e-7, 0.1, 18.5))
        doc = json.loads(saved.read_bytes())
        self.assertEqual((doc["task"], doc["name"], doc["cartographic"][0]["type"]), (ROUTE["task"], ROUTE["name"], "takeoff"))

    def test_a_renamed_route_keeps_every_way_point(self):
        self.load(self.write("a.json", json.dumps(ROUTE)))
        wait_for(lambda: self.texts("#tools .route"), "the row")
        self.fill("名称", 'a/b:"c"')
        saved = self.save()
        self.assertEqual(saved.name, "a_b__c_.json")
        self.assertEqual(converter_reads(saved.read_bytes()), converter_reads(json.dumps(ROUTE)))
        self.assertEqual(json.loads(saved.read_bytes())["name"], 'a/b:"c"')

    def test_a_drawn_route_is_a_file_that_the_converter_reads(self):
        points = [(33.95, 113.8), (34.0123456789, 113.9), (-0.00000005, -179.9)]
        self.make_route(points)
        rows = converter_reads(self.save().read_bytes())
        self.assertEqual(len(rows), 3)
        for (lng, lat, height, radius, speed), point in zip(rows, points):
            self.assertRegex(lng + " " + lat, r"^-?\d+(\.\d+)? -?\d+(\.\d+)?$")
            self.assertAlmostEqual(float(lat), point[0], delta=0.6e-7)
            self.assertAlmostEqual(float(lng), point[1], delta=0.6e-7)
            self.assertEqual((height, radius, speed), (100.0, 50.0, 20.0))
        # What it says of itself reads the same once more.
        self.run_js("clearAllLine()")
        self.load(self.write("again.json", json.dumps({"cartographic": [
            {"longitude": r[0], "latitude": r[1], "height": r[2], "radius": r[3], "speed": r[4]} for r in rows]})))
        self.assertEqual(converter_reads(self.save().read_bytes()), rows)

    def test_gpx_and_kml_hold_the_route_and_are_opened_again(self):
        self.load(self.write("a.json", json.dumps(ROUTE)))
        before = self.routes()[0]
        gpx_file, kml_file = self.save("gpx"), self.save("kml")
        space = {"g": "http://www.topografix.com/GPX/1/1", "k": "http://www.opengis.net/kml/2.2"}
        root = ElementTree.parse(gpx_file).getroot()
        self.assertEqual([[float(p.get("lat")), float(p.get("lon"))] for p in root.findall("g:rte/g:rtept", space)],
                         before["points"])
        self.assertEqual([float(e.text) for e in root.findall("g:rte/g:rtept/g:ele", space)], [120.5, 1e-7, -3, 0])
        self.assertEqual(root.find("g:rte/g:name", space).text, ROUTE["name"])
        root = ElementTree.parse(kml_file).getroot()
        rows = [[float(n) for n in row.split(",")] for row in root.find(".//k:coordinates", space).text.split()]
        self.assertEqual(rows, [[p[1], p[0], h] for p, h in zip(before["points"], [120.5, 1e-7, -3, 0])])
        heights = [row[2:] for row in converter_reads(json.dumps(ROUTE))]
        for path, kept in ((gpx_file, slice(0, 3)), (kml_file, slice(0, 1))):
            with self.subTest(path.name):
                self.run_js("clearAllLine()")
                self.assertEqual(self.load(path), path.name + "：航线 1 条。")
                self.assertEqual(self.routes()[0]["points"], before["points"])
                self.assertEqual(self.routes()[0]["name"], ROUTE["name"])
                self.assertEqual([row[2:][kept] for row in converter_reads(self.save().read_bytes())],
                                 [row[kept] for row in heights])

    def test_names_never_break_the_xml(self):
        self.load(self.write("a.json", json.dumps({**ROUTE, "name": "a<b>&\"c\0\b\uffff]]>"})))
        for kind in ("gpx", "kml"):
            self.assertIn("a<b>&\"c]]>", [e.text for e in ElementTree.parse(self.save(kind)).iter()])

    def test_a_track_becomes_a_route(self):
        self.load(self.write("a.gpx", gpx([(34, 113), (34.1, 113.1), (34.2, 113)])))
        wait_for(lambda: self.texts("#tools .track"), "the track's row")
        self.press("转为航线")
        self.assertEqual([float(row[1]) for row in converter_reads(self.save().read_bytes())], [34, 34.1, 34.2])

    def test_where_downloads_are_unknown_the_text_is_shown(self):
        for script in ("window.ostravelHost = { saves: false };",
                       "delete HTMLScriptElement.prototype.noModule;",
                       "delete HTMLAnchorElement.prototype.download;",
                       "window.URL.createObjectURL = undefined;"):
            with self.subTest(script), self.browser.before_each_page(script):
                self.open()
                self.make_route([(34, 113), (34.1, 113.1)])
                self.press("保存")
                self.assertEqual(self.texts("#tools .text label"),
                                 ["此窗口不能保存文件：请复制以下文本，存为“航线 1.json”（UTF-8）。"])
                text = self.run_js("document.activeElement.value.slice(document.activeElement.selectionStart,"
                                   " document.activeElement.selectionEnd)")
                self.assertEqual([row[1] for row in converter_reads(text)], ["34", "34.1"])
        with self.browser.before_each_page("window.ostravelHost = { saves: true }; delete HTMLScriptElement.prototype.noModule;"):
            self.open()
            self.make_route([(34, 113), (34.1, 113.1)])
            self.assertEqual(len(converter_reads(self.save().read_bytes())), 2)


class Editing(ToolsTest):
    POINTS = [(33.95, 113.8), (34.0, 113.9), (33.95, 114.0)]

    def setUp(self):
        super().setUp()
        self.make_route(self.POINTS)
        self.run_js("ostravelMap.map.setView([33.95, 113.9], 11, { animate: false }) && 0")
        self.edit()

    def points(self):
        return self.routes()[0]["points"]

    def near(self, found, wanted):
        """Within the small movement at a drag's begin that Leaflet leaves out."""
        a, b = self.pixel(*found), self.pixel(*wanted)
        self.assertLess(math.dist(a, b), 6, f"{found} for {wanted}")

    def test_a_vertex_is_dragged(self):
        wanted = (34.05, 113.95)
        self.browser.drag(*self.pixel(34.0, 113.9), *self.pixel(*wanted))
        self.near(self.points()[1], wanted)
        self.assertEqual([self.points()[0], self.points()[2]], [list(self.POINTS[0]), list(self.POINTS[2])])
        self.assertEqual(self.field("航点"), "2")
        self.assertAlmostEqual(float(self.field("纬度（°）")), self.points()[1][0], delta=1e-7)
        length = sum(inverse(*a, *b)[0] for a, b in zip(self.points(), self.points()[1:]))
        self.assertAlmostEqual(self.routes()[0]["total"], length, delta=0.01)
        wait_for(lambda: self.texts("#tools .route .length") == [f"{length / 1000:.3f} 公里 · 3 个航点"], "the length")

    def test_the_middle_of_a_leg_makes_a_way_point(self):
        self.browser.click(*self.centre(".vertex.middle", 1))
        self.assertEqual(len(self.points()), 4)
        self.near(self.points()[2], (33.975, 113.95))
        self.browser.drag(*self.centre(".vertex.middle", 0), *self.pixel(33.9, 113.8))
        self.assertEqual(len(self.points()), 5)
        self.near(self.points()[1], (33.9, 113.8))

    def test_the_chosen_way_point_is_removed_by_button_and_key(self):
        self.browser.click(*self.pixel(34.0, 113.9))
        self.assertEqual(self.field("航点"), "2")
        self.browser.key("Delete", 46)
        self.assertEqual(self.points(), [list(self.POINTS[0]), list(self.POINTS[2])])
        self.press("删除航点")
        self.press("删除航点")
        self.assertEqual(len(self.points()), 1, "the last one stays")
        self.fill("纬度（°）", "10")
        self.run_js("document.querySelector('#tools .editor input').focus()")
        self.browser.key("Delete", 46)
        self.assertEqual(len(self.points()), 1)

    def test_fields_reach_each_value(self):
        self.fill("航点", "3")
        self.fill("纬度（°）", "-12.5")
        self.fill("经度（°）", "-45.25")
        self.fill("高度（米）", "321.5")
        self.fill("半径（米）", "0")
        self.assertEqual(self.points()[2], [-12.5, -45.25])
        row = converter_reads(self.save().read_bytes())[2]
        self.assertEqual(row, ("-45.25", "-12.5", 321.5, 0.0, 20.0))

    def test_senseless_values_are_refused_and_said(self):
        for label, text in (("纬度（°）", "91"), ("经度（°）", "abc"), ("高度（米）", ""), ("速度（米/秒）", "Infinity")):
            with self.subTest(label):
                before = self.field(label)
                self.fill(label, text or " ")
                self.assertEqual(self.field(label), before)
                self.assertIn("未更改", self.texts("#tools .editor .fault")[0])
        self.fill("航点", "99")
        self.assertEqual(self.field("航点"), "3")
        self.fill("航点", "-4")
        self.assertEqual(self.field("航点"), "1")

    def test_the_whole_route_is_moved_by_metres_and_keeps_its_length(self):
        before, total = self.points(), self.routes()[0]["total"]
        self.fill("整条向北（米）", "5000")
        self.fill("整条向东（米）", "-2000")
        self.press("移动整条")
        after = self.points()
        middle = [((min(p[0] for p in t) + max(p[0] for p in t)) / 2, (min(p[1] for p in t) + max(p[1] for p in t)) / 2)
                  for t in (before, after)]
        moved, bearing = inverse(*middle[0], *middle[1])
        self.assertAlmostEqual(moved, math.hypot(5000, 2000), delta=10)
        self.assertAlmostEqual(bearing, 360 - math.degrees(math.atan2(2000, 5000)), delta=0.2)
        self.assertAlmostEqual(self.routes()[0]["total"], total, delta=total * 1e-4)

    def test_the_whole_route_is_dragged_by_its_handle(self):
        x, y = self.centre(".mover")
        before = [self.pixel(*p) for p in self.points()]
        self.browser.drag(x, y, x + 60, y - 40)
        for (ax, ay), (bx, by) in zip(before, [self.pixel(*p) for p in self.points()]):
            self.assertLess(math.hypot(bx - ax - 60, by - ay + 40), 6)

    def test_a_move_off_the_globe_is_refused(self):
        before = self.points()
        self.fill("整条向北（米）", "9000000")
        self.press("移动整条")
        self.assertEqual(self.points(), before)
        self.assertIn("未移动", self.texts("#tools .editor .fault")[0])

    def test_a_deleted_route_comes_back(self):
        before = self.points()
        self.press("删除")
        self.assertEqual((self.routes(), self.texts(".vertex")), ([], []))
        self.assertEqual(self.texts("#tools .editor"), [])
        self.press("撤销删除")
        self.assertEqual(self.points(), before)
        self.assertEqual(len(self.texts(".vertex")), 3)

    def test_the_programs_modes_end_the_editing(self):
        self.run_js("enableMeasureDis(1)")
        self.assertEqual(self.texts("#tools .editor"), [])
        self.assertEqual(self.texts(".vertex.middle"), [])
        self.browser.drag(*self.pixel(34.0, 113.9), *self.pixel(34.05, 113.9))
        self.assertEqual(self.points()[1], [34.0, 113.9])

    def test_clear_takes_routes_files_and_editor(self):
        self.load(self.write("a.gpx", gpx([(34, 113), (34.1, 113.1)])))
        self.run_js("clearAllLine()")
        wait_for(lambda: self.texts("#tools .route") == [], "the rows to go")
        self.assertEqual((self.routes(), self.tracks(), self.texts("#tools .editor")), ([], [], []))
        self.assertEqual(self.run_js("document.querySelectorAll('.leaflet-marker-pane > *').length"), 0)
        self.assertEqual(self.faults(), [])

    def test_a_route_is_made_and_grown_without_a_pointer(self):
        self.press("完成")
        self.press("在地图中心新建")
        wait_for(lambda: self.texts("#tools .editor"), "the editor")
        self.fill("纬度（°）", "34")
        self.fill("经度（°）", "113")
        self.press("在后面添加")
        self.fill("纬度（°）", "34.5")
        self.assertEqual(len(self.routes()[1]["points"]), 2)
        self.assertEqual(self.routes()[1]["points"][0], [34, 113])

    def test_a_route_drawn_meanwhile_is_listed(self):
        self.press("在地图上绘制")
        self.assertEqual(self.run_js("ostravelMap.state().mode"), "draw")
        for x in (600, 800):
            self.browser.click(x, 600)
        self.browser.key("Escape", 27)
        wait_for(lambda: len(self.texts("#tools .route")) == 2, "its row")
        self.press("在地图上绘制")
        self.assertEqual(self.run_js("ostravelMap.state().mode"), "")

    def test_a_long_route_is_edited_by_its_chosen_point(self):
        self.run_js("clearAllLine()")
        self.load(self.write("a.json", route_json([(34 + i * 1e-4, 113 + (i % 2) * 1e-3) for i in range(2000)])))
        self.edit()
        self.fill("航点", "1000")
        self.assertEqual(len(self.texts(".vertex")), 1)
        self.fill("纬度（°）", "34.5")
        self.assertEqual(self.routes()[0]["points"][999][0], 34.5)
        self.press("删除航点")
        self.assertEqual(len(self.routes()[0]["points"]), 1999)


class Comparing(ToolsTest):
    def compare(self, route, track):
        self.make_route(route)
        self.run_js(f"addRoutes({json.dumps([n for p in track for n in p])})")
        self.press("比较")
        wait_for(lambda: self.run_js("ostravelMap.comparison() !== null"), "the comparison")
        return self.run_js("[].slice.call(ostravelMap.comparison().result.distance)")

    def test_distances_are_those_to_the_nearest_geodesic(self):
        routes = {
            "short legs": [(33.95, 113.8), (34.0, 113.9), (33.95, 114.0), (33.9, 114.0)],
            "100 km": [(45.0, 100.0), (45.3, 101.2), (44.5, 101.5)],
            "date line": [(10.0, 179.9), (10.1, -179.9)],
            "far south": [(-71.0, 20.0), (-71.2, 21.0)],
            "one place twice": [(5.0, 5.0), (5.0, 5.0), (5.1, 5.05)],
            "one point": [(5.0, 5.0)],
        }
        for name, route in routes.items():
            with self.subTest(name):
                self.open()
                track = []
                for i in range(40):
                    a, b = route[i % len(route)], route[(i + 1) % len(route)]
                    length, bearing = inverse(*a, *b)
                    on = destination(*a, bearing, length * (i / 39 * 1.2 - 0.1))
                    track.append(destination(*on, i * 47, (i * i * 13) % 20000))
                # The page takes no pair of zeros, and keeps longitudes as they are.
                found = self.compare(route, track)
                wanted = [distance_to_route(point, route) for point in track]
                for point, a, b in zip(track, found, wanted):
                    self.assertAlmostEqual(a, b, delta=0.01, msg=str(point))
                shown = dict(zip(self.texts("#tools dt"), self.texts("#tools dd")))

                def metres(value):
                    return f"{value:.1f} 米" if value < 10000 else f"{value / 1000:.3f} 公里"
                self.assertEqual(shown["最大偏差"], metres(max(found)))
                self.assertEqual(shown["平均偏差"], metres(sum(found) / len(found)))
                self.assertEqual(shown["最大处"], f"样本 {wanted.index(max(wanted))}")

    def test_the_track_is_coloured_by_the_distance(self):
        # Along a parallel of latitude just north of the equator: 0 at its begin, 1100 m at its end.
        self.compare([(0.0, 20.0), (0.0, 20.2)], [(0.01 * i / 400 or 1e-9, 20.0 + 0.2 * i / 400) for i in range(401)])
        self.assertEqual(self.texts("#tools .legend li")[0], "0 米 – 200 米")
        self.assertEqual(self.texts("#tools .legend li")[-1], "≥ 1000 米")
        colours = self.run_js("ostravelMap.deviation.colours")
        for share, number in ((0.05, 0), (0.25, 1), (0.6, 3), (0.97, 5)):
            wanted = [int(colours[number][i:i + 2], 16) for i in (1, 3, 5)]
            self.assertTrue(self.run_js(f"""(function () {{ var map = ostravelMap.map;
                var c = document.querySelector('.leaflet-track-pane canvas'), r = c.getBoundingClientRect();
                var m = map.getContainer().getBoundingClientRect();
                var p = map.latLngToContainerPoint([{0.01 * share}, {20 + 0.2 * share}]);
                var d = c.getContext('2d').getImageData(p.x + m.left - r.left - 3, p.y + m.top - r.top - 3, 7, 7).data;
                for (var i = 0; i < d.length; i += 4) if (Math.abs(d[i] - {wanted[0]}) + Math.abs(d[i + 1] - {wanted[1]})
                    + Math.abs(d[i + 2] - {wanted[2]}) < 12 && d[i + 3] > 200) return true;
                return false; }}())"""), share)
        self.press("取消着色")
        self.assertTrue(self.run_js("ostravelMap.comparison() === null"))

    def test_a_moved_route_is_compared_again_and_a_removed_one_no_more(self):
        self.compare([(34.0, 113.0), (34.0, 113.2)], [(34.01, 113.05), (34.01, 113.1)])
        before = self.texts("#tools dd")[0]
        self.run_js("ostravelMap.routes()[0].place(0, L.latLng(34.01, 113.0)); ostravelMap.routes()[0].place(1, L.latLng(34.01, 113.2))")
        wait_for(lambda: self.texts("#tools dd") and self.texts("#tools dd")[0] not in ("", before), "the new distance")
        self.press("删除")
        wait_for(lambda: self.run_js("ostravelMap.comparison() === null"), "the comparison to go")
        self.assertEqual(self.texts("#tools dd"), [])
        self.assertEqual(self.faults(), [])

    def test_without_route_or_track_the_panel_says_so(self):
        self.press("比较")
        self.assertIn("地图上没有航线。", self.texts("#tools .fault"))
        self.make_route([(34, 113), (34.1, 113)])
        self.press("比较")
        self.assertIn("地图上没有航迹。", self.texts("#tools .fault"))

    def test_hovering_tells_the_distance(self):
        self.compare([(0.0, 20.0), (0.0, 20.2)], [(0.001, 20.05), (0.001, 20.15)])
        self.browser.move(*self.pixel(0.001, 20.15))
        wait_for(lambda: self.texts(".label.hover"), "the label")
        # 0.001 degrees of a meridian at the equator.
        self.assertEqual(self.texts(".label.hover")[0].split("\n")[-1], "偏差 110.6 米")

    def test_200000_points_against_300_legs_take_a_moment(self):
        took = self.run_js("""(function () { var n = 200000, p = { count: n, lat: [], lng: [] }, r = [], i;
            for (i = 0; i < n; ++i) { p.lat.push(34 + 0.1 * Math.sin(i / 9000) + 2e-4 * Math.sin(i / 7));
                p.lng.push(113 + 0.1 * Math.cos(i / 7000)); }
            for (i = 0; i <= 300; ++i) r.push({ lat: 34 + 0.1 * Math.sin(i / 9), lng: 113 + 0.1 * Math.cos(i / 7) });
            var t = performance.now(), found = ostravelMap.deviation.compute(p, r); t = performance.now() - t;
            /* Every leg for some of the points, one by one: the nearest is never missed. */
            for (i = 0; i < n; i += 997) { var best = Infinity;
                for (var k = 0; k < 300; ++k) best = Math.min(best, ostravelMap.deviation.compute({ count: 1, lat: [p.lat[i]],
                    lng: [p.lng[i]] }, [r[k], r[k + 1]]).max);
                if (Math.abs(best - found.distance[i]) > 1e-6) throw new Error(i + ': ' + best + ' ' + found.distance[i]); }
            return t; }())""")
        print(f"200,000 points against 300 legs: {took:.0f} ms", file=sys.stderr)
        self.assertLess(took, 5000)


class Replaying(ToolsTest):
    def setUp(self):
        super().setUp()
        # East along the equator, then north: 11 points and 10 points, 0.01 degrees apart.
        east = [(1e-9, 20 + 0.01 * i) for i in range(11)]
        self.track = east + [(0.01 * i, 20.1) for i in range(1, 11)]
        self.run_js(f"addRoutes({json.dumps([0, 0] + [n for p in self.track for n in p])})")
        wait_for(lambda: self.run_js("!document.querySelector('input[type=range]').disabled"), "the slider")

    def replay(self):
        return self.run_js("ostravelMap.replay()")

    def to(self, value):
        self.run_js(f"""var s = document.querySelector('input[type=range]'); s.value = {value};
            s.dispatchEvent(new Event('input'))""")

    def rotation(self):
        return float(re.search(r"rotate\(([-\d.]+)\)", self.run_js(
            "document.querySelector('.aircraft path').getAttribute('transform')"))[1])

    def test_the_slider_puts_the_aircraft_on_its_sample_with_its_heading(self):
        for at, heading in ((0, 90), (5, 90), (12, 0), (20, 0)):
            self.to(at)
            x, y = self.run_js("""var r = document.querySelector('.aircraft-box').getBoundingClientRect();
                [r.left + r.width / 2, r.top + r.height / 2]""")
            px, py = self.pixel(*self.track[at])
            self.assertLess(math.hypot(x - px, y - py), 2)
            self.assertAlmostEqual(self.rotation(), heading, delta=0.01)
            words = self.run_js("document.querySelector('input[type=range]').getAttribute('aria-valuetext')")
            # The pair of zeros before it is sample 0 of the flight.
            self.assertTrue(words.startswith(f"样本 {at + 1}，北纬 "), words)
            self.assertTrue(words.endswith(f"航向 {heading:05.1f}°"), words)

    def test_play_runs_to_the_end_and_stops(self):
        self.run_js("[].filter.call(document.querySelectorAll('#tools select'), function (s) {"
                    " return s.options.length === 6; })[0].selectedIndex = 3")
        self.press("播放")
        self.assertTrue(self.replay()["playing"])
        wait_for(lambda: self.replay() == {"at": 20, "playing": False, "heading": 0, "shown": True}, "the end")
        self.press("播放")
        wait_for(lambda: self.replay()["playing"] or self.replay()["at"] < 20, "the beginning once more")

    def test_pause_and_slider_stop_it(self):
        self.run_js("[].filter.call(document.querySelectorAll('#tools select'), function (s) {"
                    " return s.options.length === 6; })[0].selectedIndex = 0")
        self.press("播放")
        self.press("暂停")
        self.assertFalse(self.replay()["playing"])
        self.press("播放")
        self.to(7)
        self.assertEqual((self.replay()["playing"], self.replay()["at"]), (False, 7))

    def test_the_arrow_keys_step_by_sample(self):
        self.to(3)
        self.run_js("document.querySelector('input[type=range]').focus()")
        self.browser.key("ArrowRight", 39)
        self.assertEqual(self.replay()["at"], 4)

    def test_a_track_that_stays_has_no_heading(self):
        self.run_js("addRoutes([34, 113, 34, 113, 34.000001, 113])")
        wait_for(lambda: self.run_js("document.querySelector('input[type=range]').max") == "2", "the slider")
        self.to(1)
        self.assertIsNone(self.replay()["heading"])
        self.assertNotIn("航向", self.run_js("document.querySelector('input[type=range]').getAttribute('aria-valuetext')"))

    def test_a_track_that_goes_takes_its_aircraft_along(self):
        self.to(3)
        self.press("播放")
        self.run_js("clearAllLine()")
        wait_for(lambda: not self.replay()["shown"] and not self.replay()["playing"], "the aircraft to go")
        self.assertTrue(self.run_js("document.querySelector('input[type=range]').disabled"))
        self.assertEqual(self.faults(), [])


class Looks(ToolsTest):
    LOOKS = [(1366, 768, False), (1366, 768, True), (390, 844, False), (390, 844, True)]

    def rect(self, selector):
        return self.run_js(f"""var r = document.querySelector({selector!r}).getBoundingClientRect();
            [r.left, r.top, r.right, r.bottom]""")

    def apart(self, a, b):
        return a[2] <= b[0] or b[2] <= a[0] or a[3] <= b[1] or b[3] <= a[1]

    def looks(self, tools):
        for width, height, night in self.LOOKS:
            self.open(width, height, night, tools=tools)
            yield width, height, night

    def fixed_parts(self):
        return [".leaflet-control-zoom", ".tool-button", ".leaflet-control-layers", ".north", ".leaflet-control-scale",
                ".coordinates"]

    def test_nothing_on_the_map_covers_another_thing_or_is_cut_off(self):
        for tools in (False, True):
            for width, height, night in self.looks(tools):
                self.run_js("enableDrawLines(1)")
                self.browser.move(*self.pixel(33.947071, 113.91378))
                wait_for(lambda: "北纬" in self.texts(".coordinates")[0], "the position")
                area = self.rect("#map")
                parts = {name: self.rect(name) for name in self.fixed_parts() + [".note.mode"]}
                for name, part in parts.items():
                    self.assertTrue(area[0] <= part[0] and area[1] <= part[1] and part[2] <= area[2] and part[3] <= area[3],
                                    f"{name} {part} in {area}")
                    for other, place in parts.items():
                        self.assertTrue(name == other or self.apart(part, place), f"{name} {part} and {other} {place}")

    def test_the_panel_takes_nothing_of_the_map_and_scrolls_on_its_own(self):
        for width, height, night in self.looks(True):
            self.load(self.write("a.json", json.dumps(ROUTE)), self.write("a.gpx", gpx([(34, 113), (34.1, 113.1)])))
            self.edit()
            self.press("比较")
            wait_for(lambda: self.texts("#tools .legend li"), "the legend")
            self.assertTrue(self.apart(self.rect("#tools"), self.rect("#map")))
            self.assertEqual(self.run_js("[document.documentElement.scrollWidth, document.documentElement.scrollHeight]"),
                             [width, height])
            self.assertEqual(self.run_js("var t = document.getElementById('tools'); t.scrollWidth - t.clientWidth"), 0)
            # Leaflet knows the size that it has now.
            self.assertEqual(self.run_js("var s = ostravelMap.map.getSize(), c = ostravelMap.map.getContainer();"
                                         " [s.x - c.clientWidth, s.y - c.clientHeight]"), [0, 0])
            self.press("收起")
            self.assertEqual(self.rect("#map"), [0, 0, width, height])

    def test_every_text_stands_out_from_its_ground(self):
        for width, height, night in self.looks(True):
            self.load(self.write("a.json", json.dumps(ROUTE)), self.write("bad.gpx", "<gpx>"))
            self.edit()
            faint = self.run_js("""(function () {
                function rgb(text) { return text.match(/[\\d.]+/g).map(Number); }
                function light(c) { return c.slice(0, 3).map(function (v) { v /= 255;
                    return v <= 0.03928 ? v / 12.92 : Math.pow((v + 0.055) / 1.055, 2.4); })
                    .reduce(function (sum, v, i) { return sum + v * [0.2126, 0.7152, 0.0722][i]; }, 0); }
                var found = [];
                [].forEach.call(document.querySelectorAll('#tools *, .note, .coordinates, .north span,'
                    + ' .leaflet-control-scale-line, .tool-button, .leaflet-control-zoom a, .leaflet-control-layers label'), function (e) {
                    var own = [].some.call(e.childNodes, function (n) { return n.nodeType === 3 && n.nodeValue.trim(); });
                    if (!(own || /INPUT|SELECT|TEXTAREA/.test(e.tagName)) || !e.offsetParent || e.disabled || e.id === 'file') return;
                    var style = getComputedStyle(e), ground = e;
                    while (ground && (rgb(getComputedStyle(ground).backgroundColor)[3] || 1) < 0.9
                        || getComputedStyle(ground).backgroundColor === 'rgba(0, 0, 0, 0)') ground = ground.parentElement;
                    var a = light(rgb(style.color)), b = light(rgb(getComputedStyle(ground).backgroundColor));
                    var ratio = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
                    if (ratio < 4.5) found.push(e.tagName + '.' + e.className + ' ' + e.innerText + ' ' + ratio.toFixed(2));
                });
                return found; }())""")
            self.assertEqual(faint, [], (width, night))

    def test_each_control_has_a_name_and_is_reached_by_the_keyboard(self):
        self.load(self.write("a.json", json.dumps(ROUTE)), self.write("a.gpx", gpx([(34, 113), (34.1, 113.1)])))
        self.edit()
        wait_for(lambda: self.texts("#tools .track"), "the track's row")
        tree = self.browser.send("Accessibility.getFullAXTree")["nodes"]
        roles = {"button", "textbox", "slider", "checkbox", "combobox", "spinbutton", "radio", "link", "application",
                 "region"}
        nameless = [node["role"]["value"] for node in tree if node.get("role", {}).get("value") in roles
                    and not node.get("ignored") and not node.get("name", {}).get("value")]
        self.assertEqual(nameless, [])
        wanted = self.run_js("""[].filter.call(document.querySelectorAll('#tools button, #tools input, #tools select'),
            function (e) { return !e.disabled && e.offsetParent; }).map(function (e, i) { e.tour = 'c' + i; return e.tour; })""")
        self.run_js("document.querySelector('.tool-button').focus()")
        seen, unseen = [], []
        for _ in range(len(wanted) + 20):
            self.browser.key("Tab", 9)
            if not self.run_js("document.hasFocus() && document.activeElement !== document.body"):
                break
            tour = self.run_js("document.activeElement.tour || ''")
            if tour:
                seen.append(tour)
                # A frame round it, or round the label that stands for it.
                if not self.run_js("""var e = document.activeElement;
                    parseFloat(getComputedStyle(e.id === 'file' ? e.nextSibling : e).outlineWidth) >= 2
                    && getComputedStyle(e.id === 'file' ? e.nextSibling : e).outlineStyle === 'solid'"""):
                    unseen.append(tour)
        self.assertEqual(list(dict.fromkeys(seen)), wanted, "all of them, in the order of the page")
        self.assertEqual(unseen, [])

    def test_the_panel_is_opened_and_closed_by_the_keyboard(self):
        self.open(tools=False)
        self.run_js("document.querySelector('.tool-button').focus()")
        self.browser.send("Input.dispatchKeyEvent", type="keyDown", key="Enter", code="Enter", text="\r",
                          windowsVirtualKeyCode=13)
        self.browser.send("Input.dispatchKeyEvent", type="keyUp", key="Enter", code="Enter", windowsVirtualKeyCode=13)
        wait_for(lambda: self.run_js("document.activeElement.id") == "file", "the panel's first control")
        self.assertEqual(self.run_js("document.querySelector('.tool-button').getAttribute('aria-expanded')"), "true")
        self.press("收起")
        self.assertEqual(self.run_js("document.activeElement.className"), "tool-button")
        self.assertEqual(self.run_js("document.querySelector('.tool-button').getAttribute('aria-expanded')"), "false")

    def test_the_tools_are_loaded_when_they_are_first_opened(self):
        self.open(tools=False)
        self.assertEqual(self.run_js("typeof ostravelMap.trackFile"), "undefined")
        self.assertEqual(self.run_js("document.querySelectorAll('script').length"), 8)

    def test_opening_the_tools_keeps_the_policy_and_asks_nobody(self):
        self.load(self.write("a.json", json.dumps(ROUTE)))
        self.save()
        self.assertEqual(self.faults(), [])
        self.assertEqual([url for url in self.browser.requests if not url.startswith("http://127.0.0.1:9800/")], [])

    def test_the_programs_theme_wins_over_the_systems(self):
        for host, night in (("{ night: true }", True), ("{ night: false }", False), ("{}", True)):
            with self.browser.before_each_page(f"window.ostravelHost = {host};"):
                self.open(night=True, tools=False)
                self.assertEqual(self.run_js("document.documentElement.className.indexOf('night') >= 0"), night)

    def test_keys_on_the_map_tell_its_centre(self):
        self.run_js("ostravelMap.map.setView([10, 20], 8, { animate: false }); ostravelMap.map.getContainer().focus()")
        self.browser.key("ArrowUp", 38)
        wait_for(lambda: self.texts(".coordinates")[0].startswith("地图中心：北纬 "), "the centre's position")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--page", type=Path, required=True, help="demo.html as it is laid beside the program")
    global options
    options, rest = parser.parse_known_args()
    options.page = Path(os.path.abspath(options.page))
    unittest.main(argv=sys.argv[:1] + rest)


if __name__ == "__main__":
    main()
