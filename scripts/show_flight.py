#!/usr/bin/python3
"""Runs the program on a virtual screen: opens a flight, shows fifteen curves, takes a screenshot and quits."""

import argparse
import re
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "tests" / "e2e"))
sys.dont_write_bytecode = True

from harness import Desktop, wait_for  # noqa: E402

READ_LIMIT = 300.0  # seconds; a flight of two hours takes a few


def show(app, desktop, flight, screenshot):
    app.find(role="check box")
    desktop.key("ctrl+o")
    app.find(role="text")
    desktop.type(str(flight))
    desktop.key("Return")
    app.find(re.compile(re.escape(str(flight))), role="status bar")

    desktop.key("ctrl+r")
    app.find("解析完成:", role="label", timeout=READ_LIMIT)
    desktop.key("Escape")
    app.wait_until_gone("解析完成:")

    boxes = app.find_all(role="check box")
    for box in boxes:
        box.click()
        wait_for(lambda box=box: box.checked, f"{box} to be ticked")
    # A click returns when its curve is drawn; one more round trip makes sure that the last curve is on the screen.
    desktop.move(*boxes[-1].centre)
    app.find(role="status bar")
    desktop.screenshot(screenshot)

    desktop.key("alt+F4")
    app.find("退出程序？", role="label")
    app.find("Yes", role="push button").click()
    return app.wait_for_end()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("program", type=Path)
    parser.add_argument("flight", type=Path)
    parser.add_argument("screenshot", type=Path)
    options = parser.parse_args()
    with Desktop() as desktop:
        app = desktop.start(options.program, Path.cwd())
        try:
            return show(app, desktop, options.flight, options.screenshot)
        except BaseException:
            desktop.screenshot(options.screenshot)
            raise


if __name__ == "__main__":
    sys.exit(main())
