"""Another project uses this one with add_subdirectory: it gets the libraries and programs but not the tests."""

import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]

PROJECT = f"""
cmake_minimum_required(VERSION 3.25)
project(Outer LANGUAGES CXX)
enable_testing()
add_subdirectory("{SOURCE}" inner)
add_executable(outer main.cpp)
target_link_libraries(outer PRIVATE wmts_service)
"""


class OuterProject(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="outer-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.made = self.folder / "made"
        (self.folder / "CMakeLists.txt").write_text(PROJECT, encoding="utf-8")
        (self.folder / "main.cpp").write_text(
            '#include "TileAddress.h"\nint main() { return 0; }\n', encoding="utf-8")
        self.run_tool("cmake", "-G", "Ninja", "-S", self.folder, "-B", self.made)

    def run_tool(self, *arguments):
        done = subprocess.run(arguments, capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done.stdout

    def test_library_is_built_and_linked(self):
        self.run_tool("cmake", "--build", self.made, "--target", "outer")
        self.assertTrue(os.access(self.made / "outer", os.X_OK))

    def test_only_public_targets_are_available(self):
        targets = {line.split(":")[0] for line in
                   self.run_tool("cmake", "--build", self.made, "--target", "help").splitlines()}
        self.assertLessEqual({"Ostravel", "wmts", "ostravel-demo", "ostravel_ground"}, targets)
        self.assertEqual({"TestAppConfig", "bench_read", "api-docs", "format", "package"} & targets, set())
        self.assertIn("Total Tests: 0\n", self.run_tool("ctest", "--test-dir", self.made, "-N"))

    def test_all_generated_files_are_in_the_folder_of_this_project(self):
        names = {path.name for path in self.made.iterdir()}
        self.assertEqual(names & {"bin", "bench", "tests", "e2e"}, set())
        commands = self.run_tool("ninja", "-C", self.made, "-t", "targets", "all")
        self.assertIn("inner/bin/Ostravel: ", commands)
        self.assertIn("inner/bin/wmts.exe: ", commands)


if __name__ == "__main__":
    unittest.main()
