"""Files of the map's tools in a real browser: each kind, damaged ones, and what is saved of a route."""

import json
import math
import sys
import time
import xml.etree.ElementTree as ElementTree

import tools_page
from browser import wait_for
from ellipsoid import inverse
from tools_page import ROUTE, converter_reads, geojson, gpx, kml, route_json


class Files(tools_page.ToolsTest):
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
            ("crossed.gpx", "<gpx>\n<trk><trkseg></trk></trkseg></gpx>", "文件不完整或不是正确的 XML（第 2 行）。"),
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

    def test_text_in_another_attribute_is_no_position(self):
        for note in ("note=\" lat='5' lon='6' \"", "a=' lat=\"5\"' b=' lon=\"6\"'"):
            with self.subTest(note):
                self.run_js("clearAllLine()")
                self.load(self.write("a.gpx", f"<gpx><trk><trkpt {note} lat='34' lon='113'/></trk></gpx>"))
                self.assertEqual(self.tracks()[0]["points"], [[34, 113, 0]])

    def test_markup_in_a_literal_section_is_text(self):
        self.load(self.write("a.gpx", "<gpx><trk><name>1<![CDATA[<!-- a --> &amp;]]><b c='>'>2</b><!-- > --></name>"
                                      "<trkpt lat='34' lon='113'/></trk></gpx>"))
        self.assertEqual(self.tracks()[0]["name"], "1<!-- a --> &amp;2")

    def test_a_route_inside_a_way_point_is_no_failure_of_the_page(self):
        words = self.load(self.write("a.gpx", "<gpx><rte><rtept lat='34' lon='113'><rte/></rtept></rte></gpx>"))
        self.assertEqual(words, "a.gpx：文件里没有航迹或航线。")

    def test_nested_markup_is_read_in_linear_time(self):
        marks = "<![CDATA[" + "<!--" * 250000 + "]]>"
        cases = {
            "values.gpx": ("<gpx><rte><rtept lat='1' lon='2'>" + "<ele>" * 50000 + "</ele>" * 50000 + "</rtept></rte></gpx>",
                           "文件的元素嵌套过深，不予读取。"),
            "marks.gpx": (f"<gpx><rte><rtept lat='1' lon='2'><ele>{marks}</ele></rtept></rte></gpx>", "航线 1 条。"),
        }
        for name, (text, words) in cases.items():
            with self.subTest(name):
                path = self.write(name, text)
                begin = time.monotonic()
                self.assertEqual(self.load(path), f"{name}：{words}")
                self.assertLess(time.monotonic() - begin, 20)

    def test_a_missing_position_is_told_in_words(self):
        for way, words in (({"latitude": "95"}, "经度 （无），纬度 95"), ({"longitude": "181", "latitude": [5]}, "经度 181，纬度 [5]")):
            with self.subTest(words):
                self.assertEqual(self.load(self.write("a.json", json.dumps({"cartographic": [way]}))),
                                 f"a.json：第 1 个航点的经纬度超出范围：{words}。")

    def test_a_route_file_nested_too_deeply_to_be_saved_is_refused(self):
        for levels, words in ((50, "航线 1 条。"), (20000, "航线文件嵌套过深，不予读取。")):
            with self.subTest(levels):
                self.run_js("clearAllLine()")
                text = json.dumps(ROUTE).replace('"takeoff"', "[" * levels + "]" * levels)
                self.assertEqual(self.load(self.write("a.json", text)), "a.json：" + words)

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

    def test_a_changed_route_keeps_a_key_with_a_name_of_the_language(self):
        self.load(self.write("a.json", json.dumps({"__proto__": {"a": 1}, "constructor": 2, **ROUTE})))
        wait_for(lambda: self.texts("#tools .route"), "the row")
        self.fill("名称", "other")
        saved = json.loads(self.save().read_bytes())
        self.assertEqual((saved["__proto__"], saved["constructor"], saved["name"]), ({"a": 1}, 2, "other"))

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

    def test_no_number_of_gpx_or_kml_has_an_exponent(self):
        values = {"height": 1e-7, "radius": 1.25e21, "speed": -3.5e-10}
        row = {"latitude": "1e-9", "longitude": "-2.5e-8", **values}
        self.load(self.write("a.json", json.dumps({"cartographic": [row, row]})))
        gpx_text = self.save("gpx").read_text(encoding="utf-8")
        self.assertIn('lat="0.000000001" lon="-0.000000025"><ele>0.0000001</ele>', gpx_text)
        self.assertIn("<o:radius>1250000000000000000000</o:radius><o:speed>-0.00000000035</o:speed>", gpx_text)
        self.assertIn("-0.000000025,0.000000001,0.0000001\n", self.save("kml").read_text(encoding="utf-8"))

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


if __name__ == "__main__":
    tools_page.main()
