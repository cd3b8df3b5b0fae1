"""ostravel.read and what a flight gives."""

import datetime
import gc
import os
import re
import shutil
import subprocess
import sys
import threading
import time
import unittest
from pathlib import Path
from unittest import mock

import numpy as np
import pandas

import ostravel
from support import PACKAGE, FolderTest, make, python, write_frames

# Roll 0xFFFF is -0.01, pitch 0x04D2 is 12.34, yaw 0xFFFF is 655.35.
ATTITUDE = "FFFF04D2FFFF" + "00" * 38
HEARTBEAT = "01" + "01" + "FFFFFFFF" + "FFFFFFFF" + "03E8"  # longitude and latitude -0.0000001, version 1.0


class Channels(unittest.TestCase):
    def test_there_are_143_in_nine_groups(self):
        self.assertEqual(len(ostravel.channels()), 143)
        self.assertEqual({group: len(ostravel.channels(group)) for group in ostravel.groups()},
                         {"heartbeat": 5, "control": 37, "attitude": 18, "sensor": 34, "target": 13, "payload": 14,
                          "difference": 5, "backup": 1, "equipment": 16})
        self.assertEqual(ostravel.channels(0x03), ostravel.channels("attitude"))

    def test_a_channel_says_what_it_is(self):
        roll = next(channel for channel in ostravel.channels() if channel.name == "PGS_Roll")
        self.assertEqual((roll.label, roll.unit, roll.group, roll.function_code, roll.row),
                         ("横滚", "deg", "attitude", 3, 0))


class Samples(FolderTest):
    def setUp(self):
        super().setUp()
        log = write_frames(self.folder / "log.txt", (0x01, HEARTBEAT), *[(0x03, ATTITUDE)] * 3)
        with log.open("a", encoding="ascii") as file:
            file.write("no frame\n")
        self.flight = ostravel.read(log)

    def test_values_are_those_of_the_bytes(self):
        self.assertEqual(self.flight["PGS_Roll"].tolist(), [-0.01] * 3)
        self.assertEqual(self.flight["PGS_Pitch"].tolist(), [12.34] * 3)
        self.assertEqual(self.flight["PGS_Yaw"].tolist(), [655.35] * 3)
        self.assertEqual(self.flight["HBS_Lat"].tolist(), [-0.0000001])
        self.assertEqual(self.flight["HBS_Version"].tolist(), [1.0])

    def test_groups_have_the_lengths_of_the_repair(self):
        lengths = {name: len(self.flight[name]) for name in
                   ("PGS_Roll", "FSS_FlightMode", "DS_Top", "SS_ACC_X", "FTP_TargetRoll", "PI_YawAngle", "HBS_Lng")}
        self.assertEqual(lengths, {"PGS_Roll": 3, "FSS_FlightMode": 3, "DS_Top": 1, "SS_ACC_X": 1, "FTP_TargetRoll": 1,
                                   "PI_YawAngle": 0, "HBS_Lng": 1})

    def test_label_and_name_are_the_same_memory(self):
        self.assertTrue(np.shares_memory(self.flight["横滚"], self.flight["PGS_Roll"]))

    def test_arrays_are_read_only_doubles(self):
        for name in ("PGS_Roll", "PI_YawAngle"):
            samples = self.flight[name]
            self.assertEqual(samples.dtype, np.float64)
            self.assertFalse(samples.flags.writeable)
            with self.assertRaises(ValueError):
                samples.flags.writeable = True

    def test_report_counts_the_lines(self):
        report = self.flight.report
        self.assertEqual((report.lines, report.bad_headers, report.accepted, report.broken_off), (5, 1, 4, ""))
        # The control status after the second and third frame; at the end it, with the equipment, sensor and target.
        self.assertEqual(report.gaps_filled, 5)

    def test_it_is_a_mapping(self):
        self.assertEqual(len(self.flight), 143)
        self.assertEqual(len(dict(self.flight)), 143)
        self.assertIn("PGS_Roll", self.flight)
        self.assertNotIn("nonsense", self.flight)
        self.assertTrue(self.flight)

    def test_repr_tells_what_it_is(self):
        self.assertEqual(repr(self.flight), "<Flight log.txt: 0 min 0 s, 4 frames, 1 bad lines>")

    def test_unknown_channel_offers_near_names(self):
        for asked, near in (("PGS_Rol", "PGS_Roll"), ("pgs_roll", "PGS_Roll"), ("Roll", "PGS_Roll"), ("横", "横滚")):
            with self.assertRaises(ostravel.UnknownChannel) as caught:
                self.flight[asked]
            self.assertIsInstance(caught.exception, KeyError)
            self.assertRegex(str(caught.exception), f"^There is no channel '{asked}'.*{near}")
        with self.assertRaisesRegex(ostravel.UnknownChannel, "group 'atitude'.*attitude"):
            self.flight.frame("atitude")

    def test_it_cannot_be_pickled_and_says_what_to_do(self):
        import pickle
        with self.assertRaisesRegex(TypeError, "send its path"):
            pickle.dumps(self.flight)


class Memory(FolderTest):
    def resident_kib(self):
        return int(re.search(r"VmRSS:\s+(\d+)", Path("/proc/self/status").read_text())[1])

    def test_array_keeps_the_flight_alive(self):
        log = self.make("log", "flight.txt", "--minutes", 20)
        samples = ostravel.read(log)["PGS_Roll"]
        part = samples[100:200]
        before = part.copy()
        del samples
        gc.collect()
        others = [ostravel.read(log) for _ in range(3)]  # would take the place of freed memory
        self.assertTrue(np.array_equal(part, before))
        del others

    def test_flights_are_freed(self):
        log = self.make("log", "flight.txt", "--minutes", 30)  # about 10 MB of samples
        ostravel.read(log)
        before = self.resident_kib()
        for _ in range(20):
            ostravel.read(log)
        self.assertLess(self.resident_kib() - before, 5 * 10 * 1024)


class Time(FolderTest):
    def test_start_comes_from_the_aircraft_in_any_time_zone(self):
        log = self.make("log", "flight.txt", "--minutes", 2)
        code = f"import ostravel; f = ostravel.read({str(log)!r}); print(f.start, f.time('PGS_Roll')[5])"
        starts = {python(code, TZ=zone) for zone in ("UTC", "Asia/Shanghai", "America/New_York")}
        self.assertEqual(len(starts), 1)
        self.assertRegex(starts.pop(), r"^2023-07-18T\d\d:\d\d:\d\d 2023-07-18T\d\d:\d\d:\d\d\.000000000\n$")

    def test_samples_lie_a_period_apart(self):
        log = self.make("log", "flight.txt", "--minutes", 2)
        flight = ostravel.read(log, start="2023-07-18 09:00:00")
        self.assertEqual(flight.time("PGS_Roll").dtype, np.dtype("datetime64[ns]"))
        self.assertEqual(str(flight.time("横滚")[6]), "2023-07-18T09:00:01.200000000")
        self.assertEqual(flight.seconds("attitude")[6], 1.2)
        self.assertEqual(flight.period("PGS_Roll"), 0.2)
        self.assertEqual(flight.duration, 119.8)  # 599 periods

    def test_start_takes_every_kind_of_time_without_a_zone(self):
        log = write_frames(self.folder / "log.txt", (0x03, ATTITUDE))
        self.assertIsNone(ostravel.read(log).start)
        for start in ("2023-07-18 09:00:00", "2023-07-18T09:00", datetime.datetime(2023, 7, 18, 9),
                      np.datetime64("2023-07-18T09:00:00.9")):
            self.assertEqual(ostravel.read(log, start=start).start, np.datetime64("2023-07-18T09:00:00"), start)
        for wrong in ("yesterday", datetime.datetime(2023, 7, 18, tzinfo=datetime.timezone.utc), "NaT"):
            with self.assertRaisesRegex(ValueError, "start="):
                ostravel.read(log, start=wrong)

    def test_without_a_start_there_are_seconds_but_no_times(self):
        flight = ostravel.read(write_frames(self.folder / "log.txt", *[(0x03, ATTITUDE)] * 2))
        self.assertEqual(flight.seconds("PGS_Roll").tolist(), [0.0, 0.2])
        with self.assertRaisesRegex(ostravel.NoStartTime, "start"):
            flight.time("PGS_Roll")
        self.assertEqual(flight.frame("attitude").index[1], pandas.Timedelta("200ms"))

    def test_period_belongs_to_one_group(self):
        log = self.make("log", "flight.txt", "--minutes", 1)
        for periods in ({0x01: 1000}, {"heartbeat": 1000}, {"HBS_Lng": 1000}):
            flight = ostravel.read(log, periods=periods)
            self.assertEqual(flight.seconds("HBS_Lng")[2], 2.0)
            self.assertEqual(flight.seconds("PGS_Roll")[2], 0.4)
        for wrong in ({0x01: 0}, {0x01: 0.5}, {0x01: -5}):
            with self.assertRaisesRegex(ValueError, "periods"):
                ostravel.read(log, periods=wrong)
        with self.assertRaises(ostravel.UnknownChannel):
            ostravel.read(log, periods={0x77: 1000})

    def test_differences_and_equipment_follow_the_control_status(self):
        log = self.make("log", "flight.txt", "--minutes", 1)
        flight = ostravel.read(log, periods={0x02: 1000})
        self.assertEqual({group: flight.period(group) for group in ostravel.groups()},
                         {"heartbeat": 0.2, "control": 1, "attitude": 0.2, "sensor": 0.2, "target": 0.2,
                          "payload": 0.2, "difference": 1, "backup": 0.2, "equipment": 1})
        for code in (0x51, 0x52, 0x53):
            with self.assertRaisesRegex(ValueError, "follow 0x02"):
                ostravel.read(log, periods={code: 1000})


class Tables(FolderTest):
    def test_a_group_is_a_table(self):
        flight = ostravel.read(self.make("log", "flight.txt", "--minutes", 2))
        table = flight.frame("attitude")
        self.assertEqual(list(table.columns), [channel.name for channel in ostravel.channels("attitude")])
        self.assertEqual(table.index.name, "time")
        self.assertTrue((table.index.values == flight.time("attitude")).all())
        self.assertTrue(np.array_equal(table["PGS_Roll"].values, flight["PGS_Roll"]))
        self.assertIn("横滚", flight.frame(0x03, labels=True).columns)
        self.assertEqual({name: len(each) for name, each in flight.frames().items()},
                         {name: len(flight[ostravel.channels(name)[0].name]) for name in ostravel.groups()})

    def test_missing_pandas_is_named(self):
        flight = ostravel.read(self.make("log", "flight.txt", "--minutes", 1))
        with mock.patch.dict(sys.modules, {"pandas": None}):
            with self.assertRaisesRegex(ostravel.OstravelError, "pandas"):
                flight.frame("attitude")


class Errors(FolderTest):
    def test_every_kind_of_wrong_file_has_its_exception(self):
        (self.folder / "text.db").write_text("no database" * 500, encoding="ascii")
        (self.folder / "folder.txt").mkdir()
        os.mkfifo(self.folder / "pipe.txt")
        for name, kind, words in (("none.txt", ostravel.FlightNotFound, "none.txt"),
                                  ("folder.txt", ostravel.FlightNotFound, "no regular file"),
                                  ("pipe.txt", ostravel.FlightNotFound, "no regular file"),
                                  ("log.csv", ostravel.NotAFlight, "neither"),
                                  ("text.db", ostravel.NotAFlight, "not a database"),
                                  ("a\0b.txt", ostravel.FlightNotFound, "NUL"),
                                  ("\udc80.txt", ostravel.FlightNotFound, "Unicode")):
            with self.assertRaisesRegex(kind, words):
                ostravel.read(f"{self.folder}/{name}")
        with self.assertRaises(OSError):
            ostravel.read(self.folder / "none.txt")
        with self.assertRaises(ostravel.NotAFlight):
            ostravel.tasks(self.folder / "text.db")
        with self.assertRaises(ValueError):
            ostravel.read(self.folder / "none.txt", plane=256)

    def test_damaged_file_gives_what_could_be_read(self):
        path = self.make("db", "flight.db", "--minutes", 5)
        with path.open("r+b") as file:
            file.seek(path.stat().st_size // 4096 // 2 * 4096)
            file.write(bytes(4096))
        flight = ostravel.read(path)
        self.assertIn("broke off", flight.report.broken_off)
        self.assertIn("broken off", repr(flight))
        self.assertGreater(len(flight["PGS_Roll"]), 10)


class Databases(FolderTest):
    def test_tasks_are_listed_and_chosen(self):
        path = self.make("db", "任务.db", "--minutes", 2)
        tasks = ostravel.tasks(path)
        self.assertEqual([task.id for task in tasks], [1, 3, 12, 44])  # 300 is cut to its low 8 bits
        self.assertTrue(all(task.name and task.created.year == 2023 for task in tasks))
        lengths = {ids: len(ostravel.read(path, tasks=ids)["PGS_Roll"]) for ids in ((1,), (3,), (1, 3))}
        self.assertEqual(lengths[1, 3], lengths[1,] + lengths[3,])
        self.assertEqual(len(ostravel.read(path, tasks=3)["PGS_Roll"]), lengths[3,])
        with self.assertRaisesRegex(ostravel.NoSuchTask, "no task 7"):
            ostravel.read(path, tasks=[7])


class Threads(FolderTest):
    def test_other_threads_run_during_a_read(self):
        log = self.make("log", "flight.txt", "--minutes", 60)
        inside = threading.Event()
        counted = threading.Event()
        count = 0

        def work():
            nonlocal count
            inside.wait(60)
            while not done and count < 1000:
                count += 1
                time.sleep(0)
            counted.set()

        done = False
        other = threading.Thread(target=work)
        other.start()
        interval = sys.getswitchinterval()
        # A read that kept the lock would end before another thread has a turn.
        sys.setswitchinterval(600)
        try:
            inside.set()
            for _ in range(20):
                ostravel.read(log)
                if counted.is_set():
                    break
        finally:
            done = True
            sys.setswitchinterval(interval)
            other.join()
        self.assertTrue(counted.is_set() and count == 1000, count)

    def test_many_threads_read_at_once(self):
        log = self.make("log", "flight.txt", "--minutes", 5)
        database = self.make("db", "flight.db", "--minutes", 5)
        expected = {path: ostravel.read(path)["PGS_Roll"] for path in (log, database)}
        same = []

        def work(path):
            same.append(np.array_equal(ostravel.read(path)["PGS_Roll"], expected[path]))

        threads = [threading.Thread(target=work, args=(path,)) for path in (log, database) * 4]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(same, [True] * 8)

    def test_progress_counts_cancels_and_fails(self):
        log = self.make("log", "flight.txt", "--minutes", 5)
        calls = []
        ostravel.read(log, progress=lambda done, total: calls.append((done, total)))
        self.assertEqual(calls[-1], (log.stat().st_size,) * 2)
        with self.assertRaises(ostravel.ReadCancelled):
            ostravel.read(log, progress=lambda done, total: done < total / 2)

        def fail(_done, _total):
            raise RuntimeError("mine")
        with self.assertRaisesRegex(RuntimeError, "mine"):
            ostravel.read(log, progress=fail)


class Exports(FolderTest):
    def setUp(self):
        super().setUp()
        self.flight = ostravel.read(self.make("log", "飞行.txt", "--minutes", 2))

    def test_workbook_holds_the_samples(self):
        import openpyxl
        path = self.flight.to_xlsx(self.folder / "结果.xlsx")
        sheet = openpyxl.load_workbook(path)["0x03-AttitudeAndPositionInfo"]
        self.assertEqual(sheet["A1"].value, "横滚")
        self.assertEqual([sheet.cell(row + 2, 1).value for row in range(50)], self.flight["PGS_Roll"][:50].tolist())

    def test_csv_reads_back_bit_for_bit(self):
        path = self.flight.to_csv(self.folder / "结果.csv")
        table = pandas.read_csv(path, float_precision="round_trip")
        self.assertEqual(list(table.columns[:3]), ["time", "seconds", "HBS_AircraftType"])
        for channel in ostravel.channels():
            samples = self.flight[channel.name]
            read = table[channel.name].to_numpy(float)
            self.assertEqual(read[:len(samples)].tobytes(), samples.tobytes(), channel.name)
            self.assertTrue(np.isnan(read[len(samples):]).all(), channel.name)
        self.flight.to_csv(path, labels=True)
        self.assertIn("横滚", pandas.read_csv(path, nrows=1).columns)

    def test_mat_file_has_a_struct_a_group(self):
        from scipy.io import loadmat
        loaded = loadmat(self.flight.to_mat(self.folder / "结果.mat"), simplify_cells=True)
        for channel in ostravel.channels():
            self.assertTrue(np.array_equal(loaded[channel.group][channel.name], self.flight[channel.name]), channel)
        self.assertTrue(np.array_equal(loaded["track"]["x"], self.flight.track.x))

    def test_tracks_are_written(self):
        for write, words in ((self.flight.to_kml, "<kml"), (self.flight.to_gpx, "<gpx"),
                             (self.flight.to_geojson, '"FeatureCollection"')):
            path = write(self.folder / "track")
            self.assertIn(words, path.read_text(encoding="utf-8"))

    def test_failed_export_is_an_exception(self):
        with self.assertRaisesRegex(ostravel.ExportError, "no/such"):
            self.flight.to_xlsx(self.folder / "no/such/place.xlsx")

    def test_missing_pyarrow_is_named(self):
        with mock.patch.dict(sys.modules, {"pyarrow": None}):
            with self.assertRaisesRegex(ostravel.ExportError, "pyarrow"):
                self.flight.to_parquet(self.folder / "flight.parquet")

    def test_parquet_has_the_columns_and_nulls_behind_short_groups(self):
        # Debian has no pyarrow; this records what it would be given.
        written = {}
        arrow = mock.MagicMock()
        arrow.array = lambda values, mask=None: (values, mask)
        arrow.table = lambda columns: columns
        arrow.parquet.write_table = lambda table, name: written.update({name: table})
        log = write_frames(self.folder / "log.txt", (0x01, HEARTBEAT), *[(0x03, ATTITUDE)] * 3)
        flight = ostravel.read(log, start="2023-07-18 09:00:00", periods={"heartbeat": 1000})
        with mock.patch.dict(sys.modules, {"pyarrow": arrow, "pyarrow.parquet": arrow.parquet}):
            flight.to_parquet(self.folder / "f.parquet")
        table = written[str(self.folder / "f.parquet")]
        heartbeat = written[str(self.folder / "f.0x01.parquet")]
        self.assertEqual(len(table), 2 + 143 - 5)
        self.assertEqual(list(heartbeat), ["time", "seconds"] + [each.name for each in ostravel.channels(0x01)])
        values, mask = table["SS_ACC_X"]
        self.assertEqual((len(values), mask.tolist()), (3, [False, True, True]))
        self.assertEqual(table["seconds"][0].tolist(), [0.0, 0.2, 0.4])


class Package(FolderTest):
    def test_only_functions_of_the_header_leave_the_library(self):
        listed = subprocess.run(["nm", "-D", "--defined-only", os.environ["OSTRAVEL_LIBRARY"]], check=True,
                                capture_output=True, text=True).stdout.split("\n")
        names = {line.split()[-1].split("@")[0] for line in listed if line and " A " not in line}
        header = (PACKAGE.parent / "capi/ostravel.h").read_text(encoding="utf-8")
        declared = set(re.findall(r"^OSTRAVEL_API [^;(]*?(ostravel_\w+)\(", header, re.M))
        self.assertEqual(names, declared)
        self.assertIn("ostravel_read", declared)

    def test_structures_are_those_of_the_header(self):
        from ostravel import _library
        header = (PACKAGE.parent / "capi/ostravel.h").read_text(encoding="utf-8")
        header = re.sub(r"/\*.*?\*/", "", header, flags=re.S)
        for name, structure in (("error", _library.Error), ("channel_info", _library.ChannelInfo),
                                ("task_info", _library.TaskInfo), ("period", _library.Period),
                                ("read_options", _library.ReadOptions), ("report", _library.Report),
                                ("origin", _library.Origin), ("track", _library.Track)):
            body = re.search(rf"typedef struct ostravel_{name} \{{(.*?)\}}", header, re.S)[1]
            fields = re.findall(r"(\w+)(?:\[\d+\])?;", body)
            self.assertEqual([field[0] for field in structure._fields_], fields, name)
        functions = set(re.findall(r"^OSTRAVEL_API [^;(]*?(ostravel_\w+)\(", header, re.M))
        self.assertEqual(set(_library._FUNCTIONS), functions)
        self.assertIn(f"#define OSTRAVEL_INTERFACE {_library.INTERFACE}\n", header)

    def test_library_two_folders_up_is_found(self):
        place = self.folder / "程序"
        shutil.copytree(PACKAGE / "ostravel", place / "python/ostravel")
        code = "import ostravel; print(ostravel.__version__)"
        environment = {"OSTRAVEL_LIBRARY": "", "PYTHONPATH": str(place / "python")}
        with self.assertRaises(subprocess.CalledProcessError) as caught:
            python(code, **environment)
        self.assertIn("LibraryNotFound", caught.exception.stderr)
        shutil.copy(os.environ["OSTRAVEL_LIBRARY"], place / "libostravel.so.1")
        self.assertEqual(python(code, **environment), f"{ostravel.__version__}\n")

    def test_everything_public_has_a_docstring(self):
        for name in ostravel.__all__:
            self.assertTrue(getattr(ostravel, name).__doc__, name)
        for name, member in vars(ostravel.Flight).items():
            if not name.startswith("_"):
                self.assertTrue(member.__doc__, name)


if __name__ == "__main__":
    unittest.main()
