"""Tests the images and axes of the plot script: test_python_plot.py FOLDER_OF_THE_SCRIPT."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
import unittest.mock
import warnings
from pathlib import Path

import numpy

SCRIPTS = Path(sys.argv.pop(1)).resolve()
SCRIPT = SCRIPTS / "pythonPlot.py"
sys.path.insert(0, str(SCRIPTS))

import pythonPlot  # noqa: E402

KINDS = ("Height", "XY", "XYZ", "Attack", "Demo1")


class Folder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        self.addCleanup(pythonPlot.plt.close, "all")
        os.chdir(folder.name)
        pythonPlot.plt.switch_backend("agg")
        pythonPlot.use_font()

    def write_file(self, text, name="data.txt"):
        Path(name).write_text(text, encoding="ascii")

    def write_track(self, count=1000, name="data.txt"):
        """Writes a square spiral of 3000 by 1000 m that climbs from 10 to 410 m, with one spike to -50 m."""
        part = numpy.linspace(0, 1, count)
        east = 1500 * numpy.cos(20 * part)
        north = 500 * numpy.sin(20 * part)
        up = 10 + 400 * part
        up[count // 3] = -50
        self.write_file("".join(f"{e:.6g}\t{n:.6g}\t{u:.6g}\n" for e, n, u in zip(east, north, up)), name)
        return east, north, up

    def run_script(self, *words):
        return subprocess.run([sys.executable, "-B", str(SCRIPT), *words], capture_output=True, text=True, timeout=120)

    def run_inside(self, *words):
        """Runs the script in this process, which is faster than a new process."""
        with unittest.mock.patch.object(sys, "argv", ["pythonPlot.py", *words]):
            pythonPlot.main()
        pythonPlot.plt.close("all")

    def draw(self, kind):
        pythonPlot.DRAW[kind][1]()
        return pythonPlot.plt.gcf()

    def refusal(self, kind="Height"):
        with self.assertRaises(pythonPlot.CannotDraw) as caught:
            self.draw(kind)
        return str(caught.exception)


class Pictures(Folder):
    def test_each_kind_is_saved_without_a_window(self):
        self.write_track()
        self.write_track(300, "data_attack.txt")
        for kind in KINDS:
            with self.subTest(kind):
                result = self.run_script(kind, "--save", f"{kind}.png")
                self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))
                picture = pythonPlot.plt.imread(f"{kind}.png")
                self.assertGreaterEqual(picture.shape[0], 600)
                self.assertGreaterEqual(picture.shape[1], 900)
                self.assertGreater(len(numpy.unique(picture[..., :3].reshape(-1, 3), axis=0)), 500)
                # The background is white, and a few percent of the pixels are drawn.
                ink = (picture[..., :3].min(axis=2) < 0.9).mean()
                self.assertGreater(ink, 0.01)
                self.assertLess(ink, 0.5)

    def test_demo_needs_no_data(self):
        result = self.run_script("Demo1", "--save", "demo.png")
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_wrong_arguments_are_rejected(self):
        for words in ((), ("Width",), ("height",), ("Height", "--save"), ("Height", "Height")):
            with self.subTest(words):
                result = self.run_script(*words)
                self.assertEqual(result.returncode, 2)
                self.assertIn("usage: pythonPlot.py Height|XY|XYZ|Attack|Demo1", result.stderr)

    def test_unwritable_file_is_reported(self):
        result = self.run_script("Demo1", "--save", "nowhere/demo.png")
        self.assertEqual(result.returncode, 1)
        self.assertIn("cannot save", result.stderr)
        self.assertNotIn("Traceback", result.stderr)

    def test_damaged_files_give_an_image_and_no_traceback(self):
        for name, text in (("none", None), ("empty", ""), ("one line", "1\t2\t3\n"), ("torn", "1\t2\t3\n4\t5\t6\n7\t8"),
                           ("nan", "nan\tnan\tnan\n"), ("words", "a\tb\tc\n\n\n"), ("infinite", "inf\t0\t1\n" * 3),
                           ("still", "5\t5\t5\n" * 10), ("zero bytes", "\0\0\0"),
                           ("far", "1e308\t-1e308\t1\n1e308\t1e308\t2\n"),
                           ("near the limit", "9e8\t-9e8\t1\n-9e8\t9e8\t2\n")):
            for kind in KINDS[:4]:
                with self.subTest(name, kind=kind):
                    for file in ("data.txt", "data_attack.txt"):
                        if text is None:
                            Path(file).unlink(missing_ok=True)
                        else:
                            self.write_file(text, file)
                    with warnings.catch_warnings():
                        warnings.simplefilter("error")
                        self.run_inside(kind, "--save", "damaged.png")
                    self.assertGreater(pythonPlot.plt.imread("damaged.png").std(), 0.01)

    def test_unreadable_files_give_an_image_and_no_traceback(self):
        for file in ("data.txt", "data_attack.txt"):
            Path(file).mkdir()
        for kind in KINDS[:4]:
            with self.subTest(kind):
                self.assertIn("无法打开轨迹文件", self.refusal(kind))
                self.run_inside(kind, "--save", "refused.png")
                self.assertGreater(pythonPlot.plt.imread("refused.png").std(), 0.01)

    def test_files_of_another_user_give_an_image_and_no_traceback(self):
        self.write_track()
        os.chmod("data.txt", 0)
        shutil.copy(SCRIPT, ".")  # other users can read this folder
        os.chmod(".", 0o777)
        # Root can read everything.
        nobody = {"user": 65534, "group": 65534, "extra_groups": []} if os.geteuid() == 0 else {}
        with tempfile.TemporaryDirectory() as settings:
            os.chmod(settings, 0o777)
            result = subprocess.run([sys.executable, "-B", SCRIPT.name, "Height", "--save", "refused.png"], timeout=120,
                                    capture_output=True, text=True, env=dict(os.environ, MPLCONFIGDIR=settings), **nobody)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        picture = pythonPlot.plt.imread("refused.png")
        self.assertGreater(picture.std(), 0.01)
        # Only text, without the colours of a plot.
        self.assertLess(numpy.ptp(picture[..., :3], axis=2).max(), 0.2)


class Axes(Folder):
    def test_height_shows_all_samples_by_number_and_distance(self):
        east, north, up = self.write_track()
        distance = numpy.hypot(numpy.diff(east), numpy.diff(north)).sum()
        first, second = self.draw("Height").axes
        for axes, end in ((first, 999.0), (second, distance)):
            across, heights = axes.lines[0].get_data()
            self.assertAlmostEqual(across[0], 0.0)
            self.assertAlmostEqual(across[-1] / end, 1.0, places=4)
            self.assertAlmostEqual(heights.min(), -50.0)
            self.assertAlmostEqual(heights.max(), 410.0)
            low, high = axes.get_ylim()
            self.assertTrue(low < -50 and high > 410)
            self.assertIn("(m)", axes.get_ylabel())
        self.assertEqual(second.get_xlabel(), "地面航程 (m)")

    def test_track_from_above_has_equal_scales(self):
        self.write_track()
        figure = self.draw("XY")
        figure.canvas.draw()
        axes = figure.axes[0]
        centre, right, up = axes.transData.transform([(0, 0), (100, 0), (0, 100)])
        self.assertAlmostEqual(right[0] - centre[0], up[1] - centre[1], places=3)
        (west, east), (south, north) = axes.get_xlim(), axes.get_ylim()
        self.assertTrue(west < -1500 and east > 1500 and south < -500 and north > 500)

    def test_track_in_space_has_equal_scales_east_and_north(self):
        self.write_track()
        axes = self.draw("XYZ").axes[0]
        scales = [box / (limits[1] - limits[0]) for box, limits in
                  zip(axes._box_aspect, (axes.get_xlim(), axes.get_ylim(), axes.get_zlim()))]
        self.assertAlmostEqual(scales[0] / scales[1], 1.0, places=9)
        # The heights are scaled by the factor in the axis title.
        self.assertIn(f"放大 {scales[2] / scales[0]:g} 倍", axes.get_zlabel())
        self.assertTrue(axes.get_zlim()[0] <= -50 and axes.get_zlim()[1] >= 410)

    def test_attack_shows_the_whole_track_as_background(self):
        self.write_track()
        self.write_file("".join(f"{i}\t{2 * i}\t{300 - i}\n" for i in range(300)), "data_attack.txt")
        axes = self.draw("Attack").axes[0]
        self.assertIn("全程航迹", axes.get_legend_handles_labels()[1])
        self.assertTrue(axes.get_xlim()[0] <= 0 and axes.get_xlim()[1] >= 299)
        self.assertTrue(axes.get_ylim()[0] <= 0 and axes.get_ylim()[1] >= 598)

    def test_attack_alone_is_drawn(self):
        self.write_track(300, "data_attack.txt")
        self.draw("Attack")

    def test_font_shows_chinese(self):
        from matplotlib import font_manager
        font = font_manager.get_font(font_manager.findfont(font_manager.FontProperties(family=["sans-serif"])))
        for letter in "高度二维航迹三全阶段末端攻击东北向距离采样序号地面航程起终点最放大倍演示":
            self.assertNotEqual(font.get_char_index(ord(letter)), 0, letter)


def box_of(text):
    """The corners of a rotated text in pixels."""
    turn = numpy.radians(text.get_rotation())
    bounds = text.get_window_extent()
    centre = numpy.array([bounds.x0 + bounds.x1, bounds.y0 + bounds.y1]) / 2
    angle = text.get_rotation()
    text.set_rotation(0)
    flat = text.get_window_extent()
    text.set_rotation(angle)
    half = numpy.array([flat.width, flat.height]) / 2
    corners = numpy.array([(-1, -1), (1, -1), (1, 1), (-1, 1)]) * half
    return centre + corners @ numpy.array([[numpy.cos(turn), numpy.sin(turn)], [-numpy.sin(turn), numpy.cos(turn)]])


def gap(one, other):
    """The largest gap between two boxes along a separating axis; negative if they overlap."""
    widest = -numpy.inf
    for box in (one, other):
        for side in (box[1] - box[0], box[2] - box[1]):
            across = numpy.array([-side[1], side[0]]) / (numpy.hypot(*side) or 1)
            for direction in (across, -across):
                widest = max(widest, (other @ direction).min() - (one @ direction).max())
    return widest


class Titles(Folder):
    SIZES = ((10.5, 8.0), (9.47, 6.3), (4.8, 3.6))

    def write_leg(self, east, north, up, far=0.0):
        lines = (f"{far + east * i / 179:.6g}\t{north * i / 179 - far:.6g}\t{400 + up * i / 179:.6g}\n" for i in range(180))
        self.write_file("".join(lines), "data_attack.txt")

    def test_axis_titles_in_space_do_not_overlap_numbers(self):
        self.write_track()
        for leg in ((537, -358, -358), (3000, 100, -390), (50, 4000, -300), (-20, -30, -399), (12000, -9000, -399)):
            for far in (0.0, 25000.0):
                self.write_leg(*leg, far)
                for kind in ("Attack", "XYZ"):
                    figure = self.draw(kind)
                    for size in self.SIZES:
                        with self.subTest(leg=leg, far=far, kind=kind, size=size):
                            figure.set_size_inches(size)
                            figure.canvas.draw()
                            self.check_titles(figure)
                    pythonPlot.plt.close("all")

    def check_titles(self, figure):
        axes = figure.axes[0]
        # The labels as drawn; reading them from the axis would change their layout to 2D.
        every = [(axis, tick.label1) for axis in (axes.xaxis, axes.yaxis, axes.zaxis) for tick in axis.majorTicks
                 if min(axis.get_view_interval()) <= tick.get_loc() <= max(axis.get_view_interval())]
        self.assertGreater(len(every), 5)
        for axis in (axes.xaxis, axes.yaxis, axes.zaxis):
            title = box_of(axis.label)
            for _, text in every:
                self.assertGreater(gap(title, box_of(text)), 1.0, (axis.label.get_text(), text.get_text()))


class Windows(Folder):
    """Tests the place of figures on the screen with a fake window that records its geometry."""

    class Window:
        def __init__(self):
            self.at = None

        def wm_geometry(self, place):
            self.at = tuple(int(number) for number in place[1:].split("+"))

    def fitted(self, area, size=(10.5, 8.0)):
        figure = pythonPlot.plt.figure(figsize=size, dpi=100)
        manager = unittest.mock.Mock(window=self.Window())
        with unittest.mock.patch.object(figure.canvas, "manager", manager):
            pythonPlot.fit(figure, area)
        return manager.window.at, figure.get_size_inches() * 100

    def test_large_figure_is_reduced_to_its_area(self):
        for area in ((407, 0, 959, 768), (0, 40, 700, 1000), (1366, 0, 1024, 728)):
            with self.subTest(area=area):
                (x, y), (width, height) = self.fitted(area)
                # The window's frame and tool bar add at least 2x67 pixels (measured).
                self.assertTrue(area[0] <= x and x + width + 2 <= area[0] + area[2])
                self.assertTrue(area[1] <= y and y + height + 67 <= area[1] + area[3])
                self.assertGreater(min(width / 700, height / 600), 0.95)

    def test_small_figure_keeps_its_size_and_is_centred(self):
        (x, y), size = self.fitted((407, 0, 1513, 1080))
        self.assertEqual(size.tolist(), [1050, 800])
        self.assertAlmostEqual(x + 1050 / 2, 407 + 1513 / 2, delta=10)

    def test_area_is_read_from_the_environment(self):
        for text, area in (("407 0 959 768", (407, 0, 959, 768)), ("-5 -6 7 8", (-5, -6, 7, 8)), ("", None),
                           ("1 2 3", None), ("1 2 3 4 5", None), ("a b c d", None), ("0 0 0 0", None)):
            with unittest.mock.patch.dict(os.environ, OSTRAVEL_FIGURE_AREA=text):
                self.assertEqual(pythonPlot.figure_area(), area, text)


class Reading(Folder):
    def test_reasons_are_shown(self):
        self.assertIn("没有轨迹文件 data.txt", self.refusal())
        self.assertIn("没有轨迹文件 data_attack.txt", self.refusal("Attack"))
        self.write_file("")
        self.assertIn("没有数据", self.refusal())
        self.write_file("1.5\t2\t3\n")
        self.assertIn("只有一个点", self.refusal())
        self.assertIn("东向 1.5 m，北向 2 m，高度 3 m", self.refusal())
        self.write_file("nan\t1\t2\n1\tinf\t3\n")
        self.assertIn("2 个点不是有效数值，已略去", self.refusal())
        Path("data.txt").unlink()
        Path("data.txt").mkdir()
        self.assertIn("无法打开轨迹文件 data.txt", self.refusal())

    def test_incomplete_last_line_is_skipped_and_reported(self):
        # The last number may be truncated, so the line is skipped although it has three numbers.
        self.write_file("1\t2\t3\n4\t5\t6\n7\t8\t9")
        track = pythonPlot.read_track("data.txt")
        self.assertEqual(track.up.tolist(), [3, 6])
        self.assertEqual(track.notes, ["最后一行不完整，已略去"])

    def test_damaged_lines_are_skipped_and_counted(self):
        self.write_file("1\t2\t3\nx\n4\t5\n4\t5\t6\t7\n\n8\t9\t10\n")
        track = pythonPlot.read_track("data.txt")
        self.assertEqual(track.east.tolist(), [1, 8])
        self.assertEqual(track.notes, ["4 行不完整，已略去"])

    def test_numbers_are_read_as_the_program_writes_them(self):
        self.write_file("1.23457e+06\t-113.914\t0\n-1e-05\t2\t-0\r\n")
        track = pythonPlot.read_track("data.txt")
        self.assertEqual(track.east.tolist(), [1234570.0, -0.00001])
        self.assertEqual(track.notes, [])

    def test_long_tracks_are_thinned_and_keep_their_extremes(self):
        rng = numpy.random.default_rng(5)
        columns = [rng.normal(size=500_000).cumsum() for _ in range(3)]
        for column, place in zip(columns, (123_457, 314_159, 499_998)):
            column[place] = 1e6
            column[place - 7] = -1e6
        kept = pythonPlot.thinned(*columns)
        self.assertLess(len(kept), 9000)
        self.assertTrue((numpy.diff(kept) > 0).all())
        self.assertEqual((kept[0], kept[-1]), (0, 499_999))
        for column in columns:
            self.assertEqual((column[kept].min(), column[kept].max()), (-1e6, 1e6))

    def test_short_tracks_are_kept_complete(self):
        self.assertEqual(len(pythonPlot.thinned(numpy.arange(7200.0))), 7200)


if __name__ == "__main__":
    unittest.main()
