"""Flights for the tests of the Python package, made by ostravel-demo."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

DEMO = os.environ["OSTRAVEL_DEMO"]
PACKAGE = Path(__file__).resolve().parents[2] / "python"


def make(kind, path, *arguments):
    """A demo flight: log, db or damaged."""
    subprocess.run([DEMO, kind, str(path), *map(str, arguments)], check=True, stdout=subprocess.DEVNULL)
    return path


class FolderTest(unittest.TestCase):
    """Each test has an empty folder, with Chinese letters and a blank in its name."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="试飞 数据-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def make(self, kind, name, *arguments):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        return make(kind, path, *arguments)


def write_frames(path, *frames):
    """A text log of frames, given as hexadecimal payloads behind their function code."""
    path.write_text("".join(f"AAEC01{code:02X}0000{payload}\n" for code, payload in frames), encoding="ascii")
    return path


def python(code, **environment):
    """Runs code in a Python of its own; returns what it prints."""
    done = subprocess.run([sys.executable, "-B", "-c", code], env={**os.environ, **environment}, check=True,
                          capture_output=True, text=True, timeout=300)
    return done.stdout
