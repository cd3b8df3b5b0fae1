"""Checks that the program contains the date of its own build, independent of earlier builds and caches."""

import argparse
import datetime
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
FIRST, SECOND = 1000000000, 1100000000  # 2001 and 2004
DATE = re.compile(rb"[A-Z][a-z]{2} [ \d]\d \d{4}\d\d:\d\d:\d\d\0")

options = None

PROJECT = """
cmake_minimum_required(VERSION 3.25)
project(Dated LANGUAGES CXX)
include("{source}/cmake/BuildOptions.cmake")
include("{source}/cmake/BuildDate.cmake")
set(CMAKE_AUTOMOC OFF)
set(CMAKE_AUTOUIC OFF)
add_library(ground STATIC "{source}/Src/App/BuildDate.cpp" ground.cpp)
target_include_directories(ground PUBLIC "{source}/Src/App")
add_executable(dated main.cpp)
target_link_libraries(ground PRIVATE build_options)
target_link_libraries(dated PRIVATE ground build_options link_time_optimisation)
date_at_link(dated "{source}/Src/App/BuildDate.cpp")
"""


class SmallProgram(unittest.TestCase):
    """Uses the program's CMake rule and source in a small project. The test sets the compiler's clock."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="build-date-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.write("CMakeLists.txt", PROJECT.format(source=SOURCE))
        self.write("ground.h", "int answer();\n")
        self.write("ground.cpp", '#include "ground.h"\nint answer() { return 1; }\n')
        self.write("main.cpp", '#include "BuildDate.h"\n#include "ground.h"\n#include <cstdio>\n'
                               'int main() { std::printf("%s %d", kBuildDate, answer()); }\n')

    def write(self, name, text):
        (self.folder / name).write_text(text, encoding="utf-8")

    def run_tool(self, *arguments, now):
        environment = {**os.environ, "SOURCE_DATE_EPOCH": str(now), "CCACHE_DIR": str(self.folder / "cache")}
        environment.pop("CCACHE_DISABLE", None)
        done = subprocess.run(arguments, env=environment, capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done.stdout

    def configure(self, folder="made", *options):
        self.run_tool("cmake", "-G", "Ninja", "-S", self.folder, "-B", self.folder / folder, *options, now=FIRST)

    def build(self, now, folder="made"):
        return self.run_tool("cmake", "--build", self.folder / folder, now=now)

    def printed(self, folder="made"):
        return subprocess.run([self.folder / folder / "dated"], check=True, capture_output=True, text=True).stdout

    def test_date_moves_with_each_link(self):
        for options in (["-DCMAKE_BUILD_TYPE=Debug"], ["-DCMAKE_BUILD_TYPE=Release", "-DOSTRAVEL_LTO=ON"]):
            with self.subTest(options):
                self.setUp()
                self.configure("made", *options)
                self.build(FIRST)
                self.assertEqual(self.printed(), "Sep  9 200101:46:40 1")
                self.write("ground.cpp", '#include "ground.h"\nint answer() { return 2; }\n')
                self.build(SECOND)
                self.assertEqual(self.printed(), "Nov  9 200411:33:20 2")

    def test_date_is_not_taken_from_the_compiler_cache(self):
        for folder, now in (("made", FIRST), ("again", SECOND)):
            self.configure(folder)
            self.build(now, folder)
        self.assertEqual(self.printed("again"), "Nov  9 200411:33:20 1")

    def test_build_without_a_change_does_nothing_and_keeps_the_date(self):
        self.configure()
        self.build(FIRST)
        self.assertIn("no work to do", self.build(SECOND))
        self.assertEqual(self.printed(), "Sep  9 200101:46:40 1")

    def test_builds_at_the_same_time_are_equal(self):
        self.configure()
        self.build(FIRST)
        first = (self.folder / "made" / "dated").read_bytes()
        self.run_tool("cmake", "--build", self.folder / "made", "--target", "clean", now=FIRST)
        self.build(FIRST)
        self.assertEqual((self.folder / "made" / "dated").read_bytes(), first)


class BuiltProgram(unittest.TestCase):
    @unittest.skipIf("SOURCE_DATE_EPOCH" in os.environ, "the compiler's clock is set")
    def test_program_has_one_date_which_is_that_of_its_link(self):
        found = DATE.findall(options.program.read_bytes())
        self.assertEqual(len(found), 1, found)
        built = datetime.datetime.strptime(found[0][:-1].decode(), "%b %d %Y%H:%M:%S").timestamp()
        linked = options.program.stat().st_mtime
        self.assertLessEqual(built, linked + 1)
        # The rest of the time is the link, which takes a minute with link-time optimisation.
        self.assertGreater(built, linked - 3600)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", type=Path, required=True)
    options, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], *rest])
