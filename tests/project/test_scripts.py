"""Runs the scripts of the top folder in a copy with fake tools: packages, CMake, benchmarks, ctest."""

import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]

# Records each configuration and creates its files.
CMAKE = """
case $1 in
--preset)
    echo "configure $2" >>"$NOTES"
    mkdir -p "build/$2"
    touch "build/$2/CMakeCache.txt" "build/$2/build.ninja"
    ;;
--build)
    echo "ninja: no work to do."
    ;;
esac
"""

DPKG_QUERY = """
while read -r name; do echo "installed $name"; done <"$INSTALLED"
"""

CTEST = """
echo "ctest $*" >>"$NOTES"
case " $* " in
*" -LE e2e "*) exit "${UNIT_RESULT:-0}" ;;
*" -L e2e "*) exit "${E2E_RESULT:-0}" ;;
esac
"""


class Scripts(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="scripts-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.tree = self.folder / "tree"
        self.tools = self.folder / "tools"
        self.notes = self.folder / "notes"
        self.installed = self.folder / "installed"
        self.tree.mkdir()
        self.tools.mkdir()
        self.notes.touch()
        for name in ("run.sh", "test.sh", "bench.sh", "CMakePresets.json", ".gitignore", "scripts", ".ci"):
            copy = shutil.copytree if (SOURCE / name).is_dir() else shutil.copy
            copy(SOURCE / name, self.tree / name)
        for name, text in (("cmake", CMAKE), ("dpkg-query", DPKG_QUERY), ("ctest", CTEST)):
            self.program(self.tools / name, text)
        self.packages = self.listed("packages_build", "packages_test", "packages_bench")
        self.install(*self.packages)

    def listed(self, *names):
        """The packages of the given lists, without the list that only another script uses."""
        words = " ".join('"${%s[@]}"' % name for name in names)
        return subprocess.run(["bash", "-c", f'. scripts/packages.sh; printf "%s\\n" {words} | sort -u'], cwd=self.tree,
                              check=True, capture_output=True, text=True).stdout.split()

    def program(self, path, text):
        path.write_text(f"#!/bin/bash\n{text}", encoding="utf-8")
        path.chmod(0o755)

    def install(self, *names):
        self.installed.write_text("\n".join(names) + "\n", encoding="utf-8")

    def run_script(self, *arguments, **environment):
        return subprocess.run(arguments, cwd=self.tree, capture_output=True, text=True, timeout=60, env={
            **os.environ, "PATH": f"{self.tools}:{os.environ['PATH']}", "NOTES": str(self.notes),
            "INSTALLED": str(self.installed), **environment})

    def configured(self, preset="release"):
        """How often the scripts have configured so far."""
        done = self.run_script("bash", "-euc", f". scripts/common.sh; configure {preset}")
        self.assertEqual(done.returncode, 0, done)
        return self.notes.read_text(encoding="utf-8").count(f"configure {preset}\n")

    # ---- configuring ----

    def test_second_start_does_not_configure(self):
        self.assertEqual(self.configured(), 1)
        self.assertEqual(self.configured(), 1)

    def test_newly_installed_package_causes_a_configuration(self):
        self.install(*(set(self.packages) - {"libxlsxwriter-dev"}))
        self.assertEqual(self.configured(), 1)
        self.assertEqual(self.configured(), 1)
        self.install(*self.packages)
        self.assertEqual(self.configured(), 2)
        self.assertEqual(self.configured(), 2)

    def test_unrelated_package_causes_no_configuration(self):
        self.assertEqual(self.configured(), 1)
        self.install("cowsay", *self.packages)
        self.assertEqual(self.configured(), 1)

    def test_each_preset_is_configured_separately(self):
        self.assertEqual(self.configured("release"), 1)
        self.assertEqual(self.configured("debug"), 1)

    # ---- benchmarks ----

    def benchmark(self, name, text):
        folder = self.tree / "build/release/bench"
        folder.mkdir(parents=True, exist_ok=True)
        self.program(folder / f"bench_{name}", text)
        return folder

    def test_unbuildable_benchmark_is_reported_by_name(self):
        folder = self.benchmark("read", "echo 'read | 1 | 2 | 3 | 4'\n")
        (folder / "not-built").write_text("bench_export: libxlsxwriter-dev is missing\n", encoding="utf-8")
        done = self.run_script("./bench.sh")
        self.assertEqual(done.returncode, 0, done)
        self.assertRegex(done.stdout, r"(?m)^read +\| 1 ")
        self.assertIn("Not built: bench_export: libxlsxwriter-dev is missing\n", done.stdout)
        (folder / "not-built").write_text("", encoding="utf-8")
        self.assertNotIn("Not built", self.run_script("./bench.sh").stdout)

    def test_benchmarks_leave_no_file_in_the_tree(self):
        subprocess.run(["git", "init", "-q", "."], cwd=self.tree, check=True)
        subprocess.run(["git", "add", "-A"], cwd=self.tree, check=True)
        self.benchmark("read", "mkdir -p logs && echo line >logs/log.txt && echo 'read | 1 | 2 | 3 | 4'\n")
        for arguments in ([], ["read"]):
            done = self.run_script("./bench.sh", *arguments)
            self.assertEqual(done.returncode, 0, done)
            status = subprocess.run(["git", "status", "--porcelain", "--untracked-files"], cwd=self.tree, check=True,
                                    capture_output=True, text=True).stdout
            self.assertEqual([line for line in status.splitlines() if line.startswith("??")], [])

    def test_unknown_benchmark_is_rejected_with_the_valid_names(self):
        self.benchmark("read", "echo 'read | 1 | 2 | 3 | 4'\n")
        done = self.run_script("./bench.sh", "raed")
        self.assertEqual(done.returncode, 1, done)
        self.assertIn("bench_raed", done.stderr)
        self.assertIn("bench_read", done.stderr)

    # ---- tests of faults ----

    def ctest_of(self, *arguments):
        """What a run of test.sh passes to ctest."""
        self.notes.write_text("", encoding="utf-8")
        done = self.run_script("./test.sh", *arguments)
        self.assertEqual(done.returncode, 0, done)
        runs = [line for line in self.notes.read_text(encoding="utf-8").splitlines() if line.startswith("ctest")]
        self.assertEqual(len(runs), 1, runs)
        return runs[0]

    def test_faults_are_tested_only_on_request(self):
        # ctest leaves out tests of a configuration that is not chosen.
        self.assertNotIn("--build-config", self.ctest_of())
        self.assertNotIn("--build-config", self.ctest_of("--release"))
        self.install(*self.packages, *self.listed("packages_faults"))
        self.assertIn(" --build-config faults --label-regex ^faults$", self.ctest_of("--faults"))
        self.assertIn(" --label-regex ^faults$ -R kill", self.ctest_of("--faults", "--", "-R", "kill"))

    # ---- the check of every change ----

    def test_only_end_to_end_tests_are_repeated(self):
        done = self.run_script(".ci/run")
        self.assertEqual(done.returncode, 0, done)
        runs = [line for line in self.notes.read_text(encoding="utf-8").splitlines() if line.startswith("ctest")]
        self.assertEqual(len(runs), 2, runs)
        self.assertIn(" -LE e2e", runs[0])
        self.assertNotIn("--repeat", runs[0])
        self.assertIn(" -L e2e --repeat until-pass:2", runs[1])

    def test_both_parts_run_and_a_failure_in_either_fails_the_check(self):
        for results in ({"UNIT_RESULT": "8"}, {"E2E_RESULT": "8"}):
            self.notes.write_text("", encoding="utf-8")
            done = self.run_script(".ci/run", **results)
            self.assertNotEqual(done.returncode, 0, results)
            self.assertEqual(self.notes.read_text(encoding="utf-8").count("ctest"), 2, results)


if __name__ == "__main__":
    unittest.main()
