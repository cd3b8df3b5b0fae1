#!/usr/bin/python3
"""Takes screenshots of the main window at common screen sizes, in both themes.

A two-hour demo flight on screens of 1366x768, 1920x1080, and 2732x1536 with scale factor 2: the window after the start,
fifteen curves, the same zoomed in, and the zoom rectangle of touch mode.
"""

import argparse
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

from take_screenshots import THEMES, Photographer, Rect

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "tests" / "e2e"))
from harness import Desktop, install_copy, wait_for  # noqa: E402

SIZES = {"1366x768": ((1366, 768), 1), "1920x1080": ((1920, 1080), 1), "scale-2": ((2732, 1536), 2)}


class SizePhotographer(Photographer):
    """A Photographer that does not depend on the screen size. Accessibility positions are unscaled."""

    def __init__(self, scale, *arguments):
        super().__init__(*arguments)
        self.scale = scale

    def scaled(self, rect):
        return Rect(*(value * self.scale for value in rect))

    def click(self, widget):
        place = self.scaled(widget.rect)
        self.desktop.click(place.x + place.width // 2, place.y + place.height // 2)

    def press(self, text):
        self.click(self.app.find(text, role="push button"))

    def tick_all(self):
        for box in self.app.find_all(role="check box"):
            if not box.checked:
                self.click(box)
                wait_for(lambda box=box: box.checked, f"{box} to be ticked")

    def touch_mode(self):
        """Switches touch mode on in the dialog; a value in config.ini only ticks the box."""
        self.tool_bar("ViewSetting", "显示设置")
        box = self.app.find("触摸模式", role="check box")
        self.click(box)
        wait_for(lambda: box.checked, "the touch mode to be ticked")
        self.close("显示设置")

    def drag_press(self, start, end):
        self.desktop.xdotool("mousemove", *start, "mousedown", 1)
        for step in range(1, 9):
            self.desktop.xdotool("mousemove", *(a + (b - a) * step // 8 for a, b in zip(start, end)))

    def drawing_of_first(self):
        first, _ = self.canvases()
        return self.drawing(first)

    def canvases(self):
        found = [self.scaled(widget.rect) for widget in self.app.find_all(role="filler") if not widget.children]
        found = [rect for rect in found if rect.width > self.desktop.size[0] / 2]
        return sorted(found, key=lambda rect: rect.y)

    def aside(self):
        self.desktop.move(self.desktop.size[0] - 2, self.desktop.size[1] - 2)

    def zoom(self, turns):
        area = self.drawing_of_first()
        self.desktop.move(area.x + area.width // 2, area.y + area.height // 2)
        for _ in range(turns):
            self.desktop.xdotool("click", 4)
        self.aside()

    def walk(self, flight, touch):
        self.window("Ostravel")
        self.aside()
        if not touch:
            self.take("start")
        self.select(flight)
        self.read()
        self.close_report()
        self.tick_all()
        self.aside()
        if touch:
            self.touch_mode()
            area = self.drawing_of_first()
            self.drag_press((area.x + area.width // 4, area.y + area.height // 4),
                            (area.x + area.width * 3 // 4, area.y + area.height * 3 // 4))
            self.take("touch")
            self.desktop.xdotool("mouseup", 1)
            return
        self.take("curves")
        self.zoom(20)
        self.take("zoomed")


def run(theme, size, touch, options):
    (width, height), scale = SIZES[size]
    folder = Path(tempfile.mkdtemp(prefix="ostravel-sizes-"))
    try:
        program = install_copy(options.bin / "Ostravel", folder / "bin")
        # A fixed folder, because the status bar shows the path.
        work = Path(tempfile.gettempdir()) / "ostravel-flights"
        shutil.rmtree(work, ignore_errors=True)
        work.mkdir()
        flight = work / "flight.txt"
        subprocess.run([program.parent / "ostravel-demo", "log", "--minutes", "120", "--seed", "7", str(flight)],
                       check=True, stdout=subprocess.DEVNULL)
        (program.parent / "config.ini").write_text(
            f"[Global]\ntouchMode=false\ntheme={THEMES[theme]}\nshowFactor=false\n", encoding="ascii")
        with Desktop(width, height) as desktop:
            environment = dict(os.environ, QT_SCALE_FACTOR=str(scale)) if scale != 1 else None
            app = desktop.start(program, work, env=environment)
            photographer = SizePhotographer(scale, desktop, app, f"{theme}-{size}", options.out.resolve(), set(),
                                            folder / "raw.png")
            try:
                photographer.walk(flight, touch)
            except BaseException:
                desktop.screenshot(Path(tempfile.gettempdir()) / "screenshots-failed.png")
                raise
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("bin", type=Path, help="folder of the built program")
    parser.add_argument("out", type=Path, help="folder of the pictures")
    parser.add_argument("--theme", choices=THEMES)
    parser.add_argument("--size", choices=SIZES)
    parser.add_argument("--touch", action="store_true", help="the rectangle of the touch mode alone")
    options = parser.parse_args()
    options.out.mkdir(parents=True, exist_ok=True)
    if options.theme and options.size:
        run(options.theme, options.size, options.touch, options)
        return 0
    # One process per screen, because the accessibility library stays connected to its first bus.
    for theme in [options.theme] if options.theme else THEMES:
        for size in [options.size] if options.size else SIZES:
            for touch in ([], ["--touch"]):
                command = [sys.executable, "-W", "ignore", __file__, str(options.bin), str(options.out),
                           "--theme", theme, "--size", size, *touch]
                if subprocess.run(command).returncode != 0:
                    return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
