"""python3 -m ostravel.fleet on the cores of this machine."""

import csv
import io
import os
import signal
import subprocess
import sys
import time
import unittest
from contextlib import redirect_stderr, redirect_stdout
from pathlib import Path

import numpy as np

import ostravel
from ostravel.fleet import statistics
from ostravel.fleet.__main__ import main
from support import FolderTest, write_frames

HERE = Path(__file__).resolve().parent


def attitude(roll=0.0, yaw=0.0, height=0.0):
    """Payload of an attitude frame; the other fields are 0."""
    return (int(roll * 100).to_bytes(2, "big", signed=True) + bytes(2) + int(yaw * 100).to_bytes(2, "big") + bytes(20)
            + int(height * 100).to_bytes(4, "big", signed=True) + bytes(14)).hex().upper()


def target(roll=0.0, yaw=0.0, height=0.0):
    """Payload of a frame of commanded values."""
    return (bytes(10) + int(height * 100).to_bytes(4, "big", signed=True) + bytes(2)
            + int(roll * 100).to_bytes(2, "big", signed=True) + bytes(2) + int(yaw * 100).to_bytes(2, "big")
            + bytes(6)).hex().upper()


def control(mode, sub, voltage, level):
    """Payload of a frame of the control status, its clock at 2023-07-18 09:00:00."""
    payload = bytearray(61)
    payload[3:5] = voltage.to_bytes(2, "big")
    payload[22], payload[23] = mode, sub
    payload[37:43] = bytes([23, 7, 18, 9, 0, 0])
    payload[55:57] = level.to_bytes(2, "big")
    return payload.hex().upper()


def read_rows(path):
    with path.open(encoding="utf-8-sig", newline="") as file:
        return list(csv.DictReader(file))


class Statistics(FolderTest):
    def test_cells_are_those_worked_out_by_hand(self):
        frames = []
        # Five samples; the yaw crosses north: 359 against 1 is -2 degrees and not 358.
        for roll, yaw, to_yaw, height, mode, sub, voltage, level in (
                (1, 10, 10, 5, 5, 0, 22000, 90), (2, 359, 1, 50, 2, 27, 21900, 80), (3, 1, 359, 40, 2, 27, 21500, 70),
                (4, 90, 90, 30, 2, 26, 21800, 71), (10, 90, 90, 20, 9, 26, 21700, 60)):
            frames += [(0x03, attitude(roll, yaw, height)), (0x02, control(mode, sub, voltage, level)),
                       (0x04, "00" * 72), (0x05, target(0, to_yaw, 0))]
        log = write_frames(self.folder / "log.txt", *frames)
        with log.open("a", encoding="ascii") as file:
            file.write("no frame\n\n")
        cells = statistics(ostravel.read(log))
        self.assertEqual(cells["start"], "2023-07-18T09:00:00")
        self.assertEqual(cells["length_s"], 0.8)
        self.assertEqual((cells["highest_m"], cells["distance_m"]), (50.0, 0.0))
        self.assertEqual([cells[name] for name in ("remote_s", "autonomous_s", "protection_s", "debugging_s",
                                                   "ready_s", "other_mode_s", "attack_s")],
                         [0, 0.6, 0, 0, 0.2, 0.2, 0.4])
        # Roots of (1 + 4 + 9 + 16 + 100) / 5 and (4 + 4) / 5; between the 4th and 5th of sorted values at 0.8.
        self.assertAlmostEqual(cells["roll_rms"], 26 ** 0.5, 12)
        self.assertAlmostEqual(cells["roll_p95"], 4 + 0.8 * 6, 12)
        self.assertAlmostEqual(cells["yaw_rms"], 1.6 ** 0.5, 12)
        self.assertAlmostEqual(cells["yaw_p95"], 2.0, 12)
        self.assertAlmostEqual(cells["height_rms"], ((25 + 2500 + 1600 + 900 + 400) / 5) ** 0.5, 12)
        self.assertEqual((cells["battery_level_min"], cells["battery_voltage_min"]), (60, 21500))
        self.assertEqual((cells["frames"], cells["damaged_frames"], cells["gaps"]), (20, 2, 0))

    def test_distance_is_the_length_over_ground(self):
        flight = ostravel.read(self.make("log", "flight.txt", "--minutes", 3))
        steps = zip(*(np.diff(axis).tolist() for axis in flight.track[:2]))
        self.assertAlmostEqual(statistics(flight)["distance_m"], sum((x * x + y * y) ** 0.5 for x, y in steps), 6)

    def test_flight_without_positions_and_commands_has_empty_cells(self):
        cells = statistics(ostravel.read(write_frames(self.folder / "log.txt", (0x01, "00" * 12))))
        self.assertIsNone(cells["highest_m"])
        self.assertIsNone(cells["roll_rms"])
        self.assertIsNone(cells["start"])
        self.assertEqual(cells["distance_m"], 0)


class FleetTest(FolderTest):
    def setUp(self):
        super().setUp()
        self.flights = self.folder / "flights"
        self.table = self.folder / "fleet.csv"
        os.environ["FLEET_TRACE"] = str(self.folder)
        sys.path.insert(0, str(HERE))
        self.addCleanup(sys.path.remove, str(HERE))

    def fleet(self, *words, status=0):
        said = io.StringIO()
        with redirect_stdout(said), redirect_stderr(said):
            result = main([str(self.flights), "-o", str(self.table), "-j", "2", *words])
        self.assertEqual(result, status, said.getvalue())
        return said.getvalue()

    def rows(self):
        return read_rows(self.table)

    def make_flights(self, count, minutes=1, name="flight"):
        for i in range(count):
            self.make("log", f"flights/{name}{i}.txt", "--minutes", minutes, "--seed", i)


class Local(FleetTest):
    def test_a_row_for_each_log_and_task(self):
        self.make_flights(2)
        self.make("db", "flights/夏/任务.db", "--minutes", 1)
        self.make("damaged", "flights/damaged.txt", "--minutes", 1)
        self.fleet(status=1)
        rows = self.rows()
        self.assertEqual([(row["file"], row["task"]) for row in rows],
                         [("damaged.txt", ""), ("flight0.txt", ""), ("flight1.txt", ""), ("夏/任务.db", "1"),
                          ("夏/任务.db", "3"), ("夏/任务.db", "12"), ("夏/任务.db", "44")])
        self.assertEqual(rows[-1]["error"], "There is no frame in it.")  # recorded for 300, which is no task id
        for row in rows[:-1]:
            flight = ostravel.read(self.flights / row["file"], tasks=int(row["task"]) if row["task"] else None)
            cells = {name: "" if value is None else str(value) for name, value in statistics(flight).items()}
            self.assertEqual({name: row[name] for name in cells}, cells)
            self.assertEqual(row["error"], "")

    def test_flight_that_cannot_be_read_is_a_row_with_its_error(self):
        self.make_flights(1)
        (self.flights / "notes.txt").write_text("no flight\n", encoding="ascii")
        (self.flights / "broken.db").write_text("no database" * 100, encoding="ascii")
        (self.flights / "gone.txt").symlink_to(self.folder / "nowhere")
        self.fleet(status=1)
        errors = {row["file"]: row["error"] for row in self.rows()}
        self.assertRegex(errors["broken.db"], "not a database")
        self.assertRegex(errors["gone.txt"], "No such file")
        self.assertEqual(errors["notes.txt"], "There is no frame in it.")
        self.assertEqual(errors["flight0.txt"], "")

    def test_second_run_does_only_what_is_new_or_changed(self):
        self.make_flights(3)
        (self.flights / "notes.txt").write_text("no flight\n", encoding="ascii")
        calls = self.folder / "calls"
        function = ("--function", "fleet_functions:counted")
        self.fleet(*function, status=1)
        self.assertEqual(sorted(calls.read_text().split()), ["flight0.txt", "flight1.txt", "flight2.txt"])
        first = self.table.read_bytes()
        calls.unlink()
        self.fleet(*function, status=1)
        self.assertFalse(calls.exists())
        self.assertEqual(self.table.read_bytes(), first)

        self.make("log", "flights/flight1.txt", "--minutes", 2)
        self.make_flights(1, name="new")
        (self.flights / "flight2.txt").unlink()
        said = self.fleet(*function, status=1)
        self.assertEqual(sorted(calls.read_text().split()), ["flight1.txt", "new0.txt"])
        self.assertEqual([row["file"] for row in self.rows()], ["flight0.txt", "flight1.txt", "new0.txt", "notes.txt"])
        self.assertIn("1 rows of flights that are gone", said)

        # Another function is another table.
        self.fleet("--function", "fleet_functions:samples", status=1)
        self.assertEqual({row["function"] for row in self.rows()}, {"fleet_functions:samples"})

    def test_rows_with_errors_are_done_again_when_asked(self):
        self.make_flights(1)
        self.make("log", "flights/mean.txt", "--minutes", 1)
        function = ("--function", "fleet_functions:leave_at_mean")
        self.fleet(*function, status=1)
        self.assertEqual([row["error"] for row in self.rows()], ["", "SystemExit: I leave"])
        self.assertIn("0 done now", self.fleet(*function, status=1))
        self.assertIn("1 done now", self.fleet(*function, "--retry", status=1))

    def test_flight_that_crashes_its_worker_is_an_error_row_and_costs_no_other(self):
        self.make_flights(6, name="z")  # behind the mean one, so that some are in hand when it strikes
        self.make("log", "flights/mean.txt", "--minutes", 1)
        self.fleet("--function", "fleet_functions:crash_at_mean", status=1)
        rows = {row["file"]: row for row in self.rows()}
        self.assertEqual(len(rows), 7)
        self.assertRegex(rows.pop("mean.txt")["error"], "died")
        self.assertEqual({row["error"] for row in rows.values()}, {""})
        self.assertEqual({row["samples"] for row in rows.values()}, {"300"})

    def test_flights_of_a_killed_worker_are_done_again(self):
        self.make_flights(6)
        command = subprocess.Popen(
            [sys.executable, "-B", "-m", "ostravel.fleet", self.flights, "-o", self.table, "-j", "2", "--function",
             "fleet_functions:slow"], cwd=HERE, stdout=subprocess.DEVNULL)
        trace = self.flights / "at-work"
        deadline = time.monotonic() + 60
        while not (trace.is_dir() and len(list(trace.iterdir())) >= 2) and time.monotonic() < deadline:
            time.sleep(0.02)
        os.kill(int(sorted(trace.iterdir())[0].suffix[1:]), signal.SIGKILL)
        self.assertEqual(command.wait(120), 0)
        rows = self.rows()
        self.assertEqual([(row["error"], row["samples"]) for row in rows], [("", "300")] * 6)
        self.assertGreater(len(list(trace.iterdir())), 6, "nothing was done again")

    def test_function_that_gives_no_cells_is_an_error_row(self):
        self.make_flights(1)
        self.fleet("--function", "fleet_functions:nothing", status=1)
        self.assertRegex(self.rows()[0]["error"], "TypeError")

    def test_wrong_use_is_status_2_and_touches_nothing(self):
        self.make_flights(1)
        for words in (("--function", "nonsense"), ("--function", "no_such_module:x"),
                      ("--function", "fleet_functions:no_such")):
            self.assertIn("--function", self.fleet(*words, status=2))
        self.assertFalse(self.table.exists())
        self.table.write_text("my own,notes\n1,2\n", encoding="ascii")
        self.assertIn("no table of flights", self.fleet(status=3))
        self.assertEqual(self.table.read_text(encoding="ascii"), "my own,notes\n1,2\n")
        self.flights = self.folder / "missing"
        self.fleet(status=2)

    def test_files_of_a_text_export_are_no_flights(self):
        self.make_flights(1)
        export = self.flights / "flight0-export"
        export.mkdir()
        (export / "0x03-AttitudeAndPositionInfo.txt").write_text("横滚\t\n1\t\n", encoding="utf-8")
        self.fleet()
        self.assertEqual([row["file"] for row in self.rows()], ["flight0.txt"])

    def test_excel_is_told_that_chinese_names_are_utf_8(self):
        self.make_flights(1)
        self.fleet()
        self.assertTrue(self.table.read_bytes().startswith(b"file,"))
        self.make_flights(1, name="飞行")
        self.fleet()
        self.assertTrue(self.table.read_bytes().startswith(b"\xef\xbb\xbffile,"))
        self.assertIn("0 done now", self.fleet())


if __name__ == "__main__":
    unittest.main()
