"""The package: the unpacked tarball runs in any folder and without the folders of source and build."""

import hashlib
import os
import re
import shutil
import subprocess
import tarfile
import tempfile
import unittest
from pathlib import Path

import analyst
from analyst import AnalystTest, main
from flight import Flight
from harness import hide, wait_for

SOURCE = Path(__file__).resolve().parents[2]

# Files that must be beside the executable.
EXPECTED = {
    "CONTENTS.txt", "LICENSE", "include/ostravel.h", "libostravel.so", "libostravel.so.1", "python/README.md",
    "python/examples/first_look.py", "python/ostravel/__init__.py", "python/ostravel/fleet/__main__.py",
    "python/ostravel/py.typed", "Leaflet/demo.html", "Leaflet/leaflet.css", "Leaflet/leaflet.js", "Ostravel", "myPlot/myMatlabPlot.m",
    "myPlot/pythonPlot.py", "myPlot/shell/plot_runner.py", "myPlot/shell/python", "ostravel-convert", "ostravel-demo",
    "ostravel.desktop", "share/bash-completion/completions/ostravel-convert", "share/man/man1/ostravel-convert.1",
    "ostravel.sh", "ostravel.svg", "tiles/README.txt", "wmts.exe",
}
PROGRAMS = {"Ostravel", "myPlot/shell/python", "ostravel-convert", "ostravel-demo", "ostravel.sh", "wmts.exe"}

NOBODY = 65534  # an unprivileged user, because root can write everywhere

package = None  # the unpacked folder, created once


def build_folder():
    return analyst.options.program.resolve().parents[1]


def setUpModule():
    global package
    folder = Path(tempfile.mkdtemp(prefix="package-"))
    unittest.addModuleCleanup(shutil.rmtree, folder, ignore_errors=True)
    subprocess.run(["cpack", "--config", build_folder() / "CPackConfig.cmake", "-B", folder / "made"], check=True,
                   stdout=subprocess.DEVNULL)
    version = re.search(r'kVersion\[\] = "(.+)"', (SOURCE / "Src/App/Release.h").read_text(encoding="utf-8"))[1]
    name = f"Ostravel-{version}-linux-{os.uname().machine}"
    place = folder / "飞行 数据"
    place.mkdir()
    subprocess.run(["tar", "-xf", folder / "made" / f"{name}.tar.gz", "-C", place], check=True)
    package = place / name


def is_elf(path):
    with path.open("rb") as stream:
        return stream.read(4) == b"\x7fELF"


def elf_files():
    return [path for path in sorted(package.rglob("*")) if path.is_file() and is_elf(path)]


def dynamic_section(path):
    done = subprocess.run(["readelf", "-dW", path], check=True, capture_output=True, text=True)
    return re.findall(r"\((\w+)\) .*\[(.*)\]", done.stdout)


class Contents(unittest.TestCase):
    def test_all_files_are_beside_the_executable(self):
        files = {str(path.relative_to(package)) for path in package.rglob("*") if path.is_file()}
        self.assertEqual(EXPECTED - files, set())
        for name in PROGRAMS:
            self.assertTrue(os.access(package / name, os.X_OK), name)

    def test_no_other_files_are_beside_the_executable(self):
        allowed = {Path(name).parts[0] for name in EXPECTED} | {"README.html", "libostravel_web.so", "licences"}
        allowed |= {path.name for path in package.glob("libostravel.so.*")}
        self.assertEqual({path.name for path in package.iterdir()} - allowed, set())
        self.assertEqual({path.name for path in (package / "myPlot").iterdir()},
                         {"myMatlabPlot.m", "pythonPlot.py", "shell"})

    def test_python_reads_a_flight_from_the_unpacked_folder(self):
        log = package.parent / "飞行.txt"
        subprocess.run([package / "ostravel-demo", "log", log, "--minutes", "1"], check=True,
                       stdout=subprocess.DEVNULL)
        environment = {name: value for name, value in os.environ.items() if name != "OSTRAVEL_LIBRARY"}
        environment["PYTHONPATH"] = str(package / "python")
        code = f"import ostravel; print(ostravel.__file__, len(ostravel.read({str(log)!r})['PGS_Roll']))"
        done = subprocess.run(["/usr/bin/python3", "-B", "-c", code], check=True, capture_output=True, text=True,
                              env=environment, cwd=package.parent)
        self.assertEqual(done.stdout, f"{package}/python/ostravel/__init__.py 300\n")
        self.assertEqual(len(list((package / "python").glob("ostravel-*.whl"))), 1)

    def test_web_plug_in_and_manual_are_included_if_built(self):
        for name in ("libostravel_web.so", "README.html"):
            self.assertEqual((package / name).exists(), (build_folder() / "bin" / name).exists(), name)

    def test_licences_of_other_parts_are_included(self):
        for name, holder in (("libjs-leaflet", "Agafonkin"), ("python3-qdarkstyle", "Colin Duquesnoy")):
            self.assertIn(holder, (package / "licences" / f"{name}.txt").read_text(encoding="utf-8"))

    def test_list_of_contents_has_a_row_for_each_file_and_library(self):
        text = (package / "CONTENTS.txt").read_text(encoding="utf-8")
        rows = [[cell.strip() for cell in line.split(" | ")] for line in text.splitlines() if " | " in line]
        listed = {row[2]: row[:2] for row in rows if len(row[0]) == 64 and ":" not in row[2]}
        files = {str(path.relative_to(package)): path for path in package.rglob("*") if path.is_file()}
        del files["CONTENTS.txt"]
        self.assertEqual(set(listed), set(files))
        components = {row[0]: row[1:] for row in rows if len(row) == 4}
        for name, path in files.items():
            self.assertEqual(listed[name][0], hashlib.sha256(path.read_bytes()).hexdigest(), name)
            self.assertIn(listed[name][1], components)
        for name, (version, licence, licence_text) in components.items():
            if name != "component":
                self.assertRegex(version, r"\d", name)
                self.assertRegex(licence, r"[A-Z]", name)
                self.assertIn(licence_text, files, name)
        needed = {value for path in elf_files() for key, value in dynamic_section(path) if key == "NEEDED"}
        system = {row[0]: row[2] for row in rows if len(row) == 3 and len(row[0]) != 64}
        self.assertEqual(needed - set(system), set())
        for library in needed:
            self.assertRegex(system[library], r"\d", library)

    def test_second_package_has_the_same_bytes(self):
        tarballs = []
        for number, (zone, mask) in enumerate((("Europe/Prague", 0o022), ("Asia/Shanghai", 0o077))):
            made = package.parent.parent / f"again-{number}"
            subprocess.run(["cpack", "--config", build_folder() / "CPackConfig.cmake", "-B", made], check=True,
                           stdout=subprocess.DEVNULL, env={**os.environ, "TZ": zone}, umask=mask)
            tarballs.append((made / f"{package.name}.tar.gz").read_bytes())
            shutil.rmtree(made)
            # As a copy of the checkout would have it.
            os.utime(build_folder() / "bin" / "Leaflet" / "demo.js")
        self.assertEqual(*map(lambda data: hashlib.sha256(data).hexdigest(), tarballs))

    def test_tarball_has_sorted_names_one_time_and_no_owner(self):
        tarball = package.parent.parent / "made" / f"{package.name}.tar.gz"
        self.assertEqual(tarball.read_bytes()[4:8], bytes(4), "the time in the head of gzip")
        with tarfile.open(tarball) as archive:
            entries = archive.getmembers()
        names = [entry.name for entry in entries]
        self.assertEqual({name.split("/")[0] for name in names}, {package.name})
        self.assertEqual(names, sorted(names, key=lambda name: name.split("/")))
        self.assertEqual(len({entry.mtime for entry in entries}), 1)
        self.assertEqual({(entry.uid, entry.gid, entry.uname, entry.gname) for entry in entries}, {(0, 0, "", "")})
        self.assertLessEqual({entry.mode for entry in entries if not entry.issym()}, {0o644, 0o755})

    def test_files_contain_no_path_of_this_machine(self):
        cache = (build_folder() / "CMakeCache.txt").read_text(encoding="utf-8")
        if "CMAKE_BUILD_TYPE:STRING=Release" not in cache:
            self.skipTest("other builds keep the paths for the debugger")
        for path in sorted(package.rglob("*")):
            if path.is_file():
                self.assertNotIn(str(SOURCE).encode() + b"/", path.read_bytes(), path)

    def test_libraries_are_not_searched_in_the_build_folder(self):
        self.assertIn(package / "Ostravel", elf_files())
        for path in elf_files():
            self.assertEqual([entry for entry in dynamic_section(path) if entry[0] in ("RPATH", "RUNPATH")], [], path)


class Converter(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="convert-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def test_flights_are_converted_from_the_package(self):
        logs = self.folder / "飞行 记录"
        logs.mkdir()
        subprocess.run([package / "ostravel-demo", "log", "--minutes", "1", logs / "一.txt"], check=True)
        subprocess.run([package / "ostravel-demo", "db", "--minutes", "1", logs / "二.db"], check=True)
        done = subprocess.run([package / "ostravel-convert", "-f", "csv,mat,gpx", logs], capture_output=True, text=True,
                              timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        for name in ("一", "二"):
            with (logs / f"{name}.csv").open(encoding="utf-8") as table:
                self.assertTrue(table.readline().startswith("time,seconds,HBS_AircraftType,"))
                self.assertRegex(table.readline(), r"^2023-\d\d-\d\dT\d\d:\d\d:\d\d\.000,0,")
            for suffix in ("mat", "gpx"):
                self.assertTrue((logs / f"{name}.{suffix}").exists())

    def test_manual_page_is_found_beside_the_program(self):
        done = subprocess.run(["man", "--path"], capture_output=True, text=True, check=False,
                              env={**os.environ, "PATH": f"{package}:{os.environ['PATH']}", "MANPATH": ""})
        if done.returncode != 0:
            self.skipTest("there is no man")
        self.assertIn(str(package / "share" / "man"), done.stdout.strip().split(":"))

    def test_completion_offers_options_and_formats(self):
        script = package / "share" / "bash-completion" / "completions" / "ostravel-convert"

        def offered(*words):
            line = " ".join(f"'{word}'" for word in words)
            done = subprocess.run(
                ["bash", "-c", f"compopt() {{ :; }}; . '{script}'; COMP_WORDS=({line}); _ostravel_convert '{package}/ostravel-convert' "
                 f"'{words[-1]}' '{words[-2]}'; printf '%s\\n' \"${{COMPREPLY[@]}}\""], capture_output=True, text=True, check=True)
            return done.stdout.split()
        self.assertEqual(offered("ostravel-convert", "--over"), ["--overwrite"])
        self.assertEqual(offered("ostravel-convert", "-f", "csv,g"), ["csv,gpx", "csv,geojson"])
        self.assertEqual(offered("ostravel-convert", "--channels", "PGS_Ro"), ["PGS_Roll"])
        self.assertEqual(offered("ostravel-convert", "--channels", "@att"), ["@attitude"])


class UnpackedProgram(AnalystTest):
    def setUp(self):
        super().setUp()
        # The program writes files, so it runs in a copy; other tests use the unpacked folder.
        self.program = shutil.copytree(package, self.folder / "飞行 数据" / package.name) / "ostravel.sh"
        self.work = self.folder / "我的 航班"
        self.work.mkdir()

    def away_from_the_build(self):
        hide(SOURCE, build_folder())

    def may_hide(self):
        try:
            listing = subprocess.run(["ls", "-A", SOURCE, build_folder()], preexec_fn=self.away_from_the_build,
                                     check=True, capture_output=True, text=True).stdout
        except subprocess.SubprocessError:
            return False
        self.assertEqual(listing.split(), [f"{SOURCE}:", f"{build_folder()}:"])
        return True

    def test_flight_is_read_without_source_and_build_folders(self):
        log = self.make_demo("log", "flight.txt", "--minutes", "3", "--seed", "7")
        flight = Flight(log.read_text(encoding="latin-1").splitlines())
        prepare = self.away_from_the_build if self.may_hide() else None
        app = self.desktop.start(self.program, self.work, prepare)
        try:
            self.check_files_in_use(app)
            # The dialog opens in the folder where the program was started.
            self.select(app, log.name)
            self.desktop.key("ctrl+r")
            self.check_report(app, flight)
            self.show(app, [("横滚", 0, (255, 255, 0))])
            self.leave(app)
        except BaseException:
            self.step("failed")
            raise
        self.assertIn(f"file selected is:{log}", [line.message for line in app.log_lines()])
        folder = self.program.parent
        self.assertIn("[Global]", (folder / "config.ini").read_text(encoding="utf-8"))
        for name in ("data.txt", "data_attack.txt"):
            self.assertTrue((folder / "myPlot" / name).exists(), name)

    def check_files_in_use(self, app):
        executable = os.readlink(f"/proc/{app.process.pid}/exe")
        self.assertEqual(executable, str(self.program.parent / "Ostravel"))
        maps = Path(f"/proc/{app.process.pid}/maps").read_text(encoding="utf-8")
        self.assertIn(executable, maps)
        self.assertEqual([line for line in maps.splitlines() if f"{SOURCE}/" in line or f"{build_folder()}/" in line], [])


class Launcher(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="launcher-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.copy = shutil.copytree(package, self.folder / "飞行 数据")

    def run_launcher(self, *arguments, user=None, cwd=None, **environment):
        kept = {name: value for name, value in os.environ.items() if name not in ("DISPLAY", "WAYLAND_DISPLAY")}
        rights = {"user": user, "group": user, "extra_groups": []} if user else {}
        return subprocess.run([self.copy / "ostravel.sh", *arguments], env={**kept, **environment},
                              cwd=cwd or self.folder, capture_output=True, text=True, timeout=60, **rights)

    def replace(self, name, before, after):
        """Replaces bytes in a file of the copy with other bytes of the same length, so that binaries stay valid."""
        self.assertEqual(len(before), len(after))
        data = (self.copy / name).read_bytes()
        self.assertIn(before, data)
        (self.copy / name).write_bytes(data.replace(before, after))

    def check_refusal(self, *words):
        done = self.run_launcher()
        self.assertEqual(done.returncode, 1, done)
        self.assertEqual(done.stdout, "")
        self.assertNotIn("error while loading", done.stderr)
        for word in words:
            self.assertIn(word, done.stderr)
        self.assertFalse((self.folder / "logs").exists(), "the program was started")
        return done.stderr

    def test_table_names_the_package_of_every_library(self):
        script = (package / "ostravel.sh").read_text(encoding="utf-8")
        table = dict(line.split() for line in re.search(r"library_packages='\n(.*?)'", script, re.S)[1].splitlines())
        needed = {value for path in elf_files() for key, value in dynamic_section(path) if key == "NEEDED"}
        self.assertIn("libQt5Core.so.5", needed)
        self.assertEqual(needed - set(table), set(), "libraries that the launcher's table lacks")
        if shutil.which("dpkg-query") is None:
            self.skipTest("only Debian knows its packages")
        for library in needed:
            found = subprocess.run(["dpkg-query", "-S", f"*/{library}"], check=True, capture_output=True, text=True)
            self.assertIn(table[library], {line.split(":")[0] for line in found.stdout.splitlines()}, library)

    def test_missing_libraries_are_reported_with_their_packages(self):
        # Changes the library names in the program and in the table to names that do not exist.
        for before, after in ((b"libQCustomPlot.so.2.1", b"libQCustomPlot.so.0.0"),
                              (b"libspdlog.so.1.10", b"libspdlog.so.0.00")):
            self.replace("Ostravel", before, after)
            self.replace("ostravel.sh", before, after)
        output = self.check_refusal("libqcustomplot2.1 libspdlog1.10",
                                  "sudo apt-get install --no-install-recommends libqcustomplot2.1 libspdlog1.10")
        self.assertNotIn("libfmt9", output)

    def test_library_without_a_known_package_is_reported_by_name(self):
        self.replace("Ostravel", b"libfmt.so.9", b"libfmt.so.0")
        self.check_refusal("libfmt.so.0")

    def test_too_old_system_is_reported(self):
        self.replace("Ostravel", b"\0Qt_5.15\0", b"\0Qt_5.99\0")
        self.check_refusal("Debian 12", "Qt_5.99")

    def readonly_folder(self):
        """A read-only folder, and the user to start the program as, or None for the current user."""
        folder = self.folder / "只读"
        folder.mkdir()
        folder.chmod(0o555)
        self.folder.chmod(0o755)
        return folder, NOBODY if os.geteuid() == 0 else None

    def stand_in(self, path, text):
        path.write_text(f"#!/bin/sh\n{text}\n", encoding="utf-8")
        path.chmod(0o755)

    def test_folder_without_write_access_is_reported(self):
        folder, user = self.readonly_folder()
        self.stand_in(self.copy / "Ostravel", "echo started")
        done = self.run_launcher(user=user, cwd=folder)
        self.assertEqual((done.returncode, done.stdout), (1, ""), done)
        self.assertIn(f"{folder}/logs/log.txt", done.stderr)
        self.assertIn("没有写入日志的权限", done.stderr)
        self.assertNotIn("apt-get", done.stderr)
        self.assertEqual(list(folder.iterdir()), [])

    def test_log_of_another_user_is_reported(self):
        folder, user = self.readonly_folder()
        folder.chmod(0o755)
        (folder / "logs").mkdir()
        (folder / "logs/log.txt").write_text("before\n", encoding="utf-8")
        (folder / "logs/log.txt").chmod(0o444)
        self.stand_in(self.copy / "Ostravel", "echo started")
        done = self.run_launcher(user=user, cwd=folder)
        self.assertEqual((done.returncode, done.stdout), (1, ""), done)
        self.assertIn(f"{folder}/logs/log.txt", done.stderr)

    def test_folder_without_write_access_is_reported_in_a_window_without_a_terminal(self):
        folder, user = self.readonly_folder()
        answers = self.folder / "answers"
        answers.mkdir()
        answers.chmod(0o777)
        tools = self.folder / "tools"
        tools.mkdir()
        self.stand_in(tools / "zenity", f"for word; do last=$word; done; printf '%s' \"$last\" >'{answers}/zenity'")
        done = self.run_launcher(user=user, cwd=folder, DISPLAY=":99", PATH=f"{tools}:{os.environ['PATH']}")
        self.assertEqual(done.returncode, 1, done)
        self.assertIn(f"{folder}/logs/log.txt", (answers / "zenity").read_text(encoding="utf-8"))

    def test_program_starts_with_a_writable_log(self):
        self.stand_in(self.copy / "Ostravel", "echo started in $PWD")
        for _ in ("the first start", "the next one"):
            done = self.run_launcher()
            self.assertEqual((done.returncode, done.stdout), (0, f"started in {self.folder}\n"), done)

    def test_check_reports_missing_plug_ins(self):
        core = re.search(r"libQt5Core\.so\.5 => (\S+)", subprocess.run(
            ["ldd", package / "Ostravel"], check=True, capture_output=True, text=True).stdout)[1]
        libraries = self.folder / "libraries"
        (libraries / "qt5/plugins").mkdir(parents=True)
        (libraries / "libQt5Core.so.5").symlink_to(core)
        done = self.run_launcher("--check", LD_LIBRARY_PATH=str(libraries))
        self.assertEqual(done.returncode, 1, done)
        self.assertRegex(done.stdout, r"(?m)^program +has what it needs$")
        self.assertRegex(done.stdout, r"(?m)^flight-databases +lacks libqt5sql5-sqlite$")
        self.assertRegex(done.stdout, r"(?m)^icons +lacks libqt5svg5$")
        self.assertRegex(done.stdout, r"(?m)^sudo apt-get install .*\blibqt5sql5-sqlite libqt5svg5\b")

    def test_check_names_the_libraries_of_the_parts(self):
        self.replace("wmts.exe", b"libsqlite3.so.0", b"libsqlite3.so.9")
        self.replace("ostravel.sh", b"libsqlite3.so.0", b"libsqlite3.so.9")
        done = self.run_launcher("--check")
        self.assertEqual(done.returncode, 1, done)
        self.assertRegex(done.stdout, r"(?m)^tile-service +lacks libsqlite3-0$")
        self.assertRegex(done.stdout, r"(?m)^program +has what it needs$")

    def test_unknown_argument_is_rejected(self):
        self.assertEqual(self.run_launcher("--chekc").returncode, 2)

    def test_desktop_entry_starts_the_program_from_any_folder(self):
        import gi
        gi.require_version("Gio", "2.0")
        from gi.repository import Gio
        self.copy = self.copy.rename(self.folder / '飞行 "数据" 100% $HOME `x` \\n')
        started = self.folder / "started"
        (self.copy / "Ostravel").write_text(f"#!/bin/sh\npwd > '{started}.part'\nmv '{started}.part' '{started}'\n",
                                            encoding="utf-8")
        data = self.folder / "data"
        done = self.run_launcher("--install", XDG_DATA_HOME=str(data))
        entry = data / "applications" / "ostravel.desktop"
        self.assertEqual((done.returncode, done.stdout), (0, f"{entry}\n"), done)

        info = Gio.DesktopAppInfo.new_from_filename(str(entry))
        self.assertEqual(info.get_string("Icon"), str(self.copy / "ostravel.svg"))
        self.assertEqual(info.get_name(), "Ostravel")
        self.assertTrue(info.launch([], None))
        wait_for(started.exists, "the program")
        self.assertEqual(started.read_text(encoding="utf-8"), f"{self.copy}\n")

        self.assertEqual(self.run_launcher("--uninstall", XDG_DATA_HOME=str(data)).returncode, 0)
        self.assertFalse(entry.exists())


if __name__ == "__main__":
    main()
