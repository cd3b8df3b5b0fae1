"""The example runs, and says what the flight says."""

import re
import subprocess
import sys
import unittest

import numpy as np

import ostravel
from ostravel.fleet import statistics
from support import PACKAGE, FolderTest


class Example(FolderTest):
    def test_it_prints_statistics_and_draws(self):
        log = self.make("log", "飞行.txt", "--minutes", 5)
        done = subprocess.run([sys.executable, "-B", "-W", "error::DeprecationWarning:__main__",
                               PACKAGE / "examples/first_look.py", log, self.folder], check=True, capture_output=True,
                              text=True)
        flight = ostravel.read(log)
        self.assertTrue(done.stdout.startswith(repr(flight)), done.stdout)
        self.assertIn(f"autonomous: {statistics(flight)['autonomous_s']:.0f} s of 300 s", done.stdout)
        attack = flight["FSS_SubFlightMode"] == 26
        roll = flight["DF_RollDiff"][attack]
        self.assertRegex(done.stdout, rf"DF_RollDiff +RMS +{re.escape(f'{np.sqrt((roll * roll).mean()):.2f}')} ")
        for name in ("roll.png", "track.png"):
            self.assertGreater((self.folder / name).stat().st_size, 10_000, name)


if __name__ == "__main__":
    unittest.main()
