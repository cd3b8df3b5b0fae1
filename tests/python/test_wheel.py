"""The wheel of this build, as pip takes it into a fresh virtual environment without a network."""

import csv
import hashlib
import base64
import io
import os
import subprocess
import sys
import unittest
import zipfile
from pathlib import Path

from support import PACKAGE, FolderTest, python

BUILD = Path(os.environ["OSTRAVEL_BUILD"])


def wheel():
    found = sorted((BUILD / "python").glob("ostravel-*.whl"))
    if len(found) != 1:
        raise AssertionError(f"one wheel is expected: {found}")
    return found[0]


class Wheel(FolderTest):
    def test_it_holds_the_package_the_library_and_a_true_record(self):
        with zipfile.ZipFile(wheel()) as archive:
            names = archive.namelist()
            record = next(name for name in names if name.endswith("RECORD"))
            for name, digest, size in csv.reader(io.StringIO(archive.read(record).decode())):
                data = archive.read(name)
                if name == record:
                    continue
                self.assertEqual(int(size), len(data), name)
                expected = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
                self.assertEqual(digest, f"sha256={expected}", name)
                names.remove(name)
            self.assertEqual(names, [record])
            self.assertIn("ostravel/libostravel.so.1", archive.namelist())
            for path in (PACKAGE / "ostravel").rglob("*.py"):
                self.assertIn(path.relative_to(PACKAGE).as_posix(), archive.namelist())
            self.assertIn("ostravel/py.typed", archive.namelist())

    def test_it_is_the_same_bytes_each_time(self):
        library = self.folder / "library"
        library.write_bytes(b"library")
        made = []
        for name in ("one", "two"):
            subprocess.run([sys.executable, PACKAGE / "make_wheel.py", "--version", "1.2.3", "--platform", "win_amd64",
                            "--output", self.folder / name, "--add", f"{library}=ostravel.dll"], check=True,
                           stdout=subprocess.DEVNULL, env={**os.environ, "SOURCE_DATE_EPOCH": "1700000000"})
            made.append((self.folder / name / "ostravel-1.2.3-py3-none-win_amd64.whl").read_bytes())
        self.assertEqual(made[0], made[1])

    def test_pip_takes_it_and_it_reads_from_there(self):
        log = self.make("log", "飞行.txt", "--minutes", 1)
        database = self.make("db", "任务.db", "--minutes", 1)
        environment = {name: value for name, value in os.environ.items()
                       if name not in ("PYTHONPATH", "OSTRAVEL_LIBRARY")}
        # NumPy is Debian's own; nothing else comes from outside.
        place = self.folder / "环境"
        subprocess.run([sys.executable, "-m", "venv", "--system-site-packages", place], check=True, env=environment)
        pip = [place / "bin/python", "-m", "pip", "--disable-pip-version-check"]
        subprocess.run([*pip, "install", "--no-index", "--quiet", wheel()], check=True, env=environment, cwd=self.folder)
        code = ("import ostravel; print(ostravel.__file__); "
                f"print(len(ostravel.read({str(log)!r})['PGS_Roll'])); print(len(ostravel.tasks({str(database)!r})))")
        done = subprocess.run([place / "bin/python", "-c", code], check=True, env=environment, cwd=self.folder,
                              capture_output=True, text=True)
        file, samples, tasks = done.stdout.splitlines()
        self.assertTrue(file.startswith(str(place)), file)
        self.assertEqual((samples, tasks), ("300", "4"))
        maps = subprocess.run([place / "bin/python", "-c", "import ostravel; print(open('/proc/self/maps').read())"],
                              check=True, env=environment, cwd=self.folder, capture_output=True, text=True).stdout
        self.assertIn(f"{place}/lib", maps)
        self.assertNotIn(str(BUILD), maps)

        subprocess.run([*pip, "uninstall", "--yes", "--quiet", "ostravel"], check=True, env=environment, cwd=self.folder)
        self.assertEqual(list(place.rglob("*ostravel*")), [])


if __name__ == "__main__":
    unittest.main()
