"""Tracks that the converter writes, opened by the map page in a real browser."""

import struct
import subprocess

import tools_page


def positions(log):
    """The track of a flight without damage, decoded here: from the first fix of more than ten satellites on."""
    points = []
    for line in log.read_text(encoding="ascii").splitlines():
        frame = bytes.fromhex(line)
        if frame[3] == 3 and (points or frame[15] > 10):
            lng, lat = struct.unpack(">ii", frame[16:24])
            points.append([lat / 1e7, lng / 1e7])
    return points


def attack_begin(log):
    """Number of the sample, from 0, that begins the last run of sub-mode 26."""
    modes = [frame[29] for frame in map(bytes.fromhex, log.read_text(encoding="ascii").splitlines()) if frame[3] == 2]
    return max(i for i in range(1, len(modes)) if modes[i] == 26 and modes[i - 1] != 26), len(modes)


class Converted(tools_page.ToolsTest):
    def test_tracks_of_the_converter_are_opened(self):
        programs = tools_page.options.page.parents[1]
        log = self.folder / "航班 一.txt"
        subprocess.run([programs / "ostravel-demo", "log", "--minutes", "5", log], check=True)
        subprocess.run([programs / "ostravel-convert", "-f", "gpx,kml,geojson", log], check=True, capture_output=True)
        points = positions(log)
        begin, samples = attack_begin(log)
        for suffix in ("gpx", "kml", "geojson"):
            with self.subTest(suffix):
                self.run_js("clearAllLine()")
                self.assertEqual(self.load(log.with_suffix("." + suffix)), f"航班 一.{suffix}：航迹 2 条。")
                track, attack = self.tracks()
                self.assertEqual(track["name"], "航班 一")
                self.assertEqual(track["count"], len(points))
                self.assertEqual([point[:2] for point in track["points"]], points[:50])
                self.assertEqual(attack["name"], "航班 一 (attack leg)")
                self.assertEqual(attack["count"], samples - begin)
                self.assertEqual(attack["points"][0][:2], points[begin - samples])
        self.assertEqual(self.faults(), [])


if __name__ == "__main__":
    tools_page.main()
