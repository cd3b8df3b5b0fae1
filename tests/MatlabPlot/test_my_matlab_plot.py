"""Tests the m-function in a real Octave on a virtual screen: test_my_matlab_plot.py FOLDER_OF_THE_FUNCTION."""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

FOLDER = Path(sys.argv.pop(1)).resolve()

# Draws every case and prints the texts and axes of the figures, which the tests below check.
CASES = r"""
addpath('@FOLDER@');
function describe(name)
    figureHandle = get(0, 'CurrentFigure');
    words = {};
    for handle = findall(figureHandle, 'type', 'text')'
        words{end + 1} = get(handle, 'String');
    end
    printf('%s|figures|%d\n', name, numel(get(0, 'Children')));
    printf('%s|name|%s\n', name, get(figureHandle, 'Name'));
    printf('%s|place|%s\n', name, sprintf('%d ', get(figureHandle, 'Position')));
    for i = 1:numel(words)
        if ischar(words{i}) && ! isempty(words{i})
            printf('%s|text|%s\n', name, strrep(words{i}, "\n", ' '));
        end
    end
    for handle = findall(figureHandle, 'type', 'axes')'
        limits = [get(handle, 'XLim') get(handle, 'YLim') get(handle, 'ZLim')];
        printf('%s|axes|%s|%s|%s\n', name, get(get(handle, 'XLabel'), 'String'), ...
               sprintf('%.10g ', limits), sprintf('%.10g ', get(handle, 'DataAspectRatio')));
    end
end
function draw(name, kind, attack)
    try
        myMatlabPlot(int32(1), int32(1), int32(1), int32(kind), int32(0), int32(1), int32(1), int32(attack));
        describe(name);
    catch failure
        printf('%s|failure|%s\n', name, failure.message);
    end
end
for name = {@NAMES@}
    cd(fullfile('@WORK@', name{1}));
    draw([name{1} '/height'], 1, 0);
    draw([name{1} '/above'], 0, 0);
    draw([name{1} '/space'], 2, 0);
    draw([name{1} '/attack'], 2, 1);
    if ! strcmp(name{1}, 'whole')
        close all;
    end
end
draw('kind', 3, 0);
% Like the compiled function: the working folder and the folder of the function have no track, or another one.
cd(fullfile('@WORK@', 'whole'));
setenv('OSTRAVEL_PLOT_FOLDER', fullfile('@WORK@', 'torn'));
draw('announced', 1, 0);
setenv('OSTRAVEL_PLOT_FOLDER', fullfile('@WORK@', 'missing'));
draw('announced empty', 1, 0);
close all;
"""


def spiral(count):
    import math
    lines = []
    for i in range(count):
        part = i / (count - 1)
        up = -50.0 if i == count // 3 else 10.0 + 400.0 * part
        lines.append(f"{1500 * math.cos(20 * part):.6g}\t{500 * math.sin(20 * part):.6g}\t{up:.6g}\n")
    return "".join(lines)


FILES = {
    "whole": spiral(1000),
    "windows": spiral(1000).replace("\n", "\r\n"),
    "long": spiral(500_000),
    "missing": None,
    "unreadable": Path,
    "empty": "",
    "one": "1.5\t2\t3\n",
    "torn": "1\t2\t3\n4\t5\t6\n7\t8\t9",
    "damaged": "1\t2\t3\nx\n4\t5\n4\t5\t6\t7\n\n8\t9\t10\n",
    "nan": "nan\t1\t2\n1\tinf\t3\n-inf\t2\t3\n",
    "mixed": "1\t2\t3\nnan\t1\t2\n4\t5\t6\n",
    "still": "5\t5\t5\n" * 10,
    "words": "a\tb\tc\n\n\n",
    "far": "1e308\t-1e308\t1\n1e308\t1e308\t2\n",
}


class Figures(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        work = Path(folder.name)
        for name, text in FILES.items():
            (work / name).mkdir()
            if text is Path:
                for file in ("data.txt", "data_attack.txt"):
                    (work / name / file).mkdir()
            elif text is not None:
                for file in ("data.txt", "data_attack.txt"):
                    (work / name / file).write_text(text, encoding="ascii", newline="")
        script = work / "cases.m"
        script.write_text(CASES.replace("@FOLDER@", str(FOLDER)).replace("@WORK@", str(work))
                          .replace("@NAMES@", ", ".join(f"'{name}'" for name in FILES)), encoding="utf-8")
        environment = dict(os.environ, XDG_RUNTIME_DIR=folder.name, QT_QPA_PLATFORM="xcb", LIBGL_ALWAYS_SOFTWARE="1")
        done = subprocess.run(["xvfb-run", "-a", "-s", "-screen 0 1400x900x24", "octave", "--no-gui", "--quiet",
                               "--norc", "--no-history", str(script)], env=environment, capture_output=True, text=True,
                              timeout=540, stdin=subprocess.DEVNULL)
        cls.output = done.stdout
        cls.errors = done.stderr

    def facts(self, case, kind):
        return [line.split("|")[2:] for line in self.output.splitlines() if line.startswith(f"{case}|{kind}|")]

    def texts(self, case):
        return [fact[0] for fact in self.facts(case, "text")]

    def axes(self, case, label):
        limits, aspect = next(fact[1:] for fact in self.facts(case, "axes") if fact[0] == label)
        return [float(n) for n in limits.split()], [float(n) for n in aspect.split()]

    def test_no_case_fails_or_warns(self):
        failures = [line for line in self.output.splitlines() if "|failure|" in line]
        self.assertEqual(failures, ["kind|failure|unknown kind of plot 3"], self.errors)
        self.assertNotIn("warning", self.errors)

    def test_several_figures_stay_open(self):
        self.assertEqual([self.facts(f"whole/{plot}", "figures") for plot in ("height", "above", "space", "attack")],
                         [[["1"]], [["2"]], [["3"]], [["4"]]])

    def test_figures_have_names(self):
        self.assertEqual([self.facts(f"whole/{plot}", "name")[0][0] for plot in ("height", "above", "space", "attack")],
                         ["Ostravel - 高度曲线", "Ostravel - 二维航迹", "Ostravel - 三维航迹（全阶段）",
                          "Ostravel - 三维航迹（末端攻击）"])

    def test_figures_and_their_tool_bars_are_on_the_screen(self):
        for plot in ("height", "above", "space", "attack"):
            left, bottom, width, height = (int(n) for n in self.facts(f"whole/{plot}", "place")[0][0].split())
            # The screen has 1400x900 pixels. A task bar needs 48, and title, menu and tool bar need 101 (measured).
            self.assertGreaterEqual(left, 1, plot)
            self.assertLessEqual(left + width, 1400, plot)
            self.assertGreaterEqual(bottom, 48, plot)
            self.assertLessEqual(bottom + height, 900 - 101, plot)
            self.assertGreaterEqual(min(width, height), 500, plot)

    def test_height_shows_all_samples_by_number_and_distance(self):
        for case in ("whole", "windows", "long"):
            samples = FILES[case].count("\n")
            (left, right, low, high, *_), _ = self.axes(f"{case}/height", "采样序号")
            self.assertTrue(left <= 0 and right >= samples - 1 and low < -50 and high > 410, case)
            self.axes(f"{case}/height", "地面航程 (m)")

    def test_track_from_above_has_equal_scales(self):
        (west, east, south, north, *_), aspect = self.axes("whole/above", "东向距离 (m)")
        self.assertTrue(west < -1500 and east > 1500 and south < -500 and north > 500)
        self.assertEqual(aspect[0], aspect[1])

    def test_track_in_space_shows_its_height_factor(self):
        (west, east, south, north, low, high), aspect = self.axes("whole/space", "东向距离 (m)")
        self.assertTrue(west < -1500 and east > 1500 and south < -500 and north > 500 and low <= -50 and high > 410)
        self.assertEqual(aspect[0], aspect[1])
        self.assertIn(f"高度 (m)，放大 {aspect[0] / aspect[2]:g} 倍", self.texts("whole/space"))

    def test_only_the_given_folder_is_used(self):
        self.assertTrue(any(text.startswith("2 个点") for text in self.texts("announced")), self.texts("announced"))
        self.assertIn("没有轨迹文件 data.txt", self.texts("announced empty"))

    def test_reasons_are_shown(self):
        for case, words in (("missing", "没有轨迹文件 data.txt"), ("unreadable", "无法打开轨迹文件 data.txt"),
                            ("empty", "轨迹文件 data.txt 中没有数据"),
                            ("one", "东向 1.5 m，北向 2 m，高度 3 m"), ("nan", "3 个点不是有效数值，已略去"),
                            ("words", "轨迹文件 data.txt 中没有数据"), ("far", "2 个点不是有效数值，已略去")):
            for plot in ("height", "above", "space"):
                self.assertIn(words, self.texts(f"{case}/{plot}"))
        self.assertIn("没有轨迹文件 data_attack.txt", self.texts("missing/attack"))

    def test_skipped_points_are_reported(self):
        for case, words in (("torn", "2 个点   ·   地面航程 4 m   ·   高度 3.0 至 6.0 m   ·   最后一行不完整，已略去"),
                            ("damaged", "4 行不完整，已略去"), ("mixed", "1 个点不是有效数值，已略去")):
            for plot in ("height", "above", "space", "attack"):
                self.assertTrue(any(words in text for text in self.texts(f"{case}/{plot}")), f"{case}/{plot}")


if __name__ == "__main__":
    unittest.main()
