"""The map's tools in a real browser: editing, comparing, replaying, and how it all looks."""

import json
import math
import re
import sys

import tools_page
from browser import wait_for
from ellipsoid import destination, distance_to_route, inverse
from tools_page import ROUTE, converter_reads, gpx, route_json


class Editing(tools_page.ToolsTest):
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

    def test_a_route_of_one_point_that_grows_is_not_edited_and_harms_nothing(self):
        self.press("完成")
        self.press("在地图上绘制")
        self.browser.click(700, 600)
        wait_for(lambda: len(self.texts("#tools .route")) == 2, "its row")
        self.press("编辑", 1)
        wait_for(lambda: len(self.texts("#tools .route")) == 1, "the point to go")
        self.assertEqual(self.texts("#tools .editor"), [])
        self.edit()
        self.fill("纬度（°）", "12")
        self.assertEqual(self.points()[0][0], 12)
        self.run_js("clearAllLine()")
        self.assertEqual((self.routes(), self.texts("#tools .editor")), ([], []))
        self.assertEqual(self.faults(), [])

    def test_a_fraction_of_a_number_chooses_a_way_point(self):
        self.fill("航点", "1.7")
        self.assertEqual(self.field("航点"), "2")
        self.assertEqual(float(self.field("纬度（°）")), 34.0)
        self.assertEqual(self.faults(), [])

    def test_coordinates_that_the_converter_takes_for_zero_are_shown_as_zero(self):
        self.run_js("clearAllLine()")
        doc = json.loads(route_json([(10, 20), (30.5, 40)]))
        doc["cartographic"][0].update(latitude=11.5, longitude=" 20.50 ")
        self.load(self.write("a.json", json.dumps(doc)))
        self.edit()
        self.assertEqual(self.routes()[0]["points"][0], [0, 20.5])
        self.assertEqual((self.field("纬度（°）"), self.field("经度（°）")), ("0", " 20.50 "))

    def test_names_that_are_read_out_follow_a_new_name(self):
        self.fill("名称", "北线")
        names = self.run_js("""[].map.call(document.querySelectorAll('#tools .route [aria-label]'),
            function (e) { return e.getAttribute('aria-label'); })""")
        self.assertEqual(names, ["定位 北线", "编辑 北线", "删除 北线", "保存 北线", "显示文本 北线", "编辑航线 北线"])

    def test_the_focus_stays_with_what_was_removed_or_restored(self):
        focused = "document.activeElement.getAttribute('aria-label') || document.activeElement.id"
        self.press("删除")
        self.press("撤销删除")
        self.assertEqual(self.run_js(focused), "编辑 " + self.routes()[0]["name"])
        for name in ("a", "b"):
            self.load(self.write(f"{name}.gpx", gpx([(34, 113), (34.1, 113.1)], name)))
        wait_for(lambda: len(self.texts("#tools .track")) == 2, "the tracks' rows")
        self.press("移除")
        wait_for(lambda: self.run_js(focused) == "移除 b", "the focus on the next track")
        self.press("移除")
        wait_for(lambda: self.run_js(focused) == "file", "the focus on the field for files")

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


class Comparing(tools_page.ToolsTest):
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

    def compare_slowly(self):
        """A comparison that is under way for as long as the test asks the page."""
        self.make_route([(34.0, 113.0), (34.0, 113.2)])
        self.run_js("addRoutes([34.01, 113.05, 34.01, 113.1])")
        self.run_js("""var real = ostravelMap.deviation.start; ostravelMap.deviation.start = function (p, r, g, done) {
            var stop = null; window.goOn = function () { stop = real(p, r, g, done); };
            return function () { window.stopped = true; if (stop) stop(); }; }; 0""")
        self.press("比较")
        self.assertTrue(self.run_js("ostravelMap.isComparing()"))

    def test_a_comparison_under_way_is_cancelled(self):
        self.compare_slowly()
        self.press("取消着色")
        self.assertTrue(self.run_js("window.stopped && !ostravelMap.isComparing()"))

    def test_a_comparison_under_way_begins_anew_with_a_changed_route(self):
        self.compare_slowly()
        self.run_js("""window.first = window.goOn; ostravelMap.routes()[0].place(0, L.latLng(34.01, 113.0));
            ostravelMap.routes()[0].place(1, L.latLng(34.01, 113.2))""")
        wait_for(lambda: self.run_js("window.stopped === true && window.goOn !== window.first"), "the next comparison")
        self.run_js("goOn()")
        wait_for(lambda: self.texts("#tools dd"), "its result")
        # The geodesic between two points of a parallel lies at most 17 m (L^2 tan(lat) / 8R) north of it.
        self.assertLess(float(self.texts("#tools dd")[0].split()[0]), 20)

    def test_a_comparison_under_way_ends_with_its_track(self):
        self.compare_slowly()
        self.run_js("addRoutes([])")
        wait_for(lambda: self.run_js("!ostravelMap.isComparing()"), "the comparison to end")

    def test_the_result_is_announced(self):
        self.compare([(34.0, 113.0), (34.0, 113.2)], [(34.01, 113.05), (34.01, 113.1)])
        greatest, mean = self.texts("#tools dd")[:2]
        self.assertIn(f"比较完成：最大偏差 {greatest}，平均偏差 {mean}。", self.texts("#tools .status"))

    def test_without_typed_arrays_distances_are_the_same(self):
        found = self.compare([(34.0, 113.0), (34.0, 113.2)], [(34.01, 113.05), (34.03, 113.1)])
        with self.browser.before_each_page("delete window.Float64Array;"):
            self.open()
            self.assertEqual(self.compare([(34.0, 113.0), (34.0, 113.2)], [(34.01, 113.05), (34.03, 113.1)]), found)
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

    def test_the_nearest_sample_is_found_among_few(self):
        self.run_js("""window.flat = []; for (var i = 0; i < 50000; ++i)
            flat.push(30 + 10 * Math.sin(i / 5000) + 0.01 * Math.sin(i * 7.3), 110 + i * 1e-4 + 0.01 * Math.cos(i * 5.1));
            addRoutes(flat); window.track = ostravelMap.track(); window.read = 0;
            window.plain = track._x; window.counted = new Proxy(plain, {
                get: function (list, key) { ++read; return list[key]; } }); 0""")
        # Against a search through all of them, in the plane of the projection.
        found, wanted, reads = self.run_js("""(function () { var found = [], wanted = [], reads = [];
            for (var k = 0; k < 40; ++k) { var i = (k * 7919) % 50000, at = L.latLng(flat[2 * i] + 0.004, flat[2 * i + 1] - 0.003);
                track._x = counted; read = 0; found.push(track.nearest(at, 12, 14 + k * 5)); reads.push(read); track._x = plain;
                var p = L.CRS.EPSG3857.latLngToPoint(at, 12), best = 14 + k * 5, n = -1;
                for (var j = 0; j < 50000; ++j) { var q = L.CRS.EPSG3857.latLngToPoint(track.position(j), 12), d = p.distanceTo(q);
                    if (d < best) { best = d; n = j; } }
                wanted.push(n); }
            return [found, wanted, reads]; }())""")
        self.assertEqual(found, wanted)
        self.assertGreater(len([i for i in found if i >= 0]), 10)
        self.assertLess(max(reads), 10000)
        self.assertEqual(self.run_js("track._x = counted; read = 0; [track.nearest(L.latLng(-60, 20), 12, 14), read]"), [-1, 0])

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


class Replaying(tools_page.ToolsTest):
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


class Looks(tools_page.ToolsTest):
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
        self.assertEqual(self.run_js("document.querySelectorAll('script').length"), 4)

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

    def test_other_keys_on_the_map_tell_nothing_and_add_no_listener(self):
        self.run_js("ostravelMap.map.setView([10, 20], 8, { animate: false }); ostravelMap.map.getContainer().focus(); 0")
        self.browser.key("ArrowUp", 38)
        wait_for(lambda: self.texts(".coordinates")[0].startswith("地图中心"), "the centre's position")
        # The one of the page itself among them.
        before = self.run_js("ostravelMap.map._events.moveend.length")
        self.browser.move(700, 400)
        wait_for(lambda: self.texts(".coordinates")[0].startswith("指针位置"), "the pointer's position")
        for _ in range(3):
            self.browser.key("Shift", 16)
        self.assertEqual(self.run_js("ostravelMap.map._events.moveend.length"), before)
        self.run_js("ostravelMap.map.setView([11, 20], 8, { animate: false }) && 0")
        self.assertTrue(self.texts(".coordinates")[0].startswith("指针位置"))


if __name__ == "__main__":
    tools_page.main()
