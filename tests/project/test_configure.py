"""Checks what a configuration of the project provides for the scripts."""

import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]


class Configured(unittest.TestCase):
    def configure(self, *options):
        folder = Path(tempfile.mkdtemp(prefix="configured-"))
        self.addCleanup(shutil.rmtree, folder, ignore_errors=True)
        done = subprocess.run(["cmake", "-G", "Ninja", "-S", SOURCE, "-B", folder, *options], capture_output=True,
                              text=True)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return folder

    def test_benchmark_that_cannot_be_built_is_listed_with_its_package(self):
        folder = self.configure("-DXLSXWRITER_LIBRARY=OFF")
        self.assertIn("bench_workbook, bench_export: libxlsxwriter-dev is missing\n",
                      (folder / "bench/not-built").read_text(encoding="utf-8"))
        # With CONFIGURE_DEPENDS every build checks for new files, so no build has nothing to do.
        self.assertFalse((folder / "CMakeFiles/cmake.verify_globs").exists())


if __name__ == "__main__":
    unittest.main()
