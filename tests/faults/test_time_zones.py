"""Time zones whose clocks change during the flight: the times of the samples run on."""

import csv
import json
import re
from datetime import datetime, timedelta, timezone
from zoneinfo import ZoneInfo

from faults import ProgramsTest, main

MINUTES = 60
STEP = 0.2  # seconds between two samples
TEXT = "%Y-%m-%d %H:%M:%S"

# Zone, local time of sample 0. Within the hour the clocks change; some flights begin in the hour that does not exist,
# or in the one that comes twice.
CHANGES = [
    ("Europe/Berlin", "2023-03-26 01:30:00"),  # forward at 02:00
    ("Europe/Berlin", "2023-03-26 02:30:00"),  # does not exist
    ("Europe/Berlin", "2023-10-29 02:30:00"),  # comes twice
    ("Europe/Berlin", "2023-10-29 01:30:00"),  # back at 03:00
    ("America/New_York", "2023-11-05 00:30:00"),  # back at 02:00
    ("America/New_York", "2023-03-12 01:45:00"),  # forward at 02:00
    ("Africa/Cairo", "2023-04-27 23:30:00"),  # forward at midnight, which does not exist on the day
    ("Africa/Cairo", "2023-10-26 23:30:00"),  # back at midnight
    ("UTC", "2023-03-26 01:30:00"),
]
# Changes of other years, for a start that the user gives.
GIVEN = [
    ("America/Sao_Paulo", "2018-11-03 23:30:00"),  # forward at midnight, under the old rules
    ("America/Sao_Paulo", "2018-02-17 23:30:00"),  # back at midnight
    ("Asia/Shanghai", "1991-04-14 01:30:00"),  # forward at 02:00
    ("Asia/Shanghai", "1991-09-15 00:30:00"),  # back at 02:00
    ("UTC", "1991-04-14 01:30:00"),
]


def possible_starts(zone, text):
    """The moments that a local time may mean: one, or two when it comes twice or does not exist."""
    local = datetime.strptime(text, TEXT).replace(tzinfo=ZoneInfo(zone))
    return {local.replace(fold=fold).timestamp() for fold in (0, 1)}


def shown(moment, zone):
    return datetime.fromtimestamp(moment, ZoneInfo(zone)).strftime(TEXT)


class TimeZones(ProgramsTest):
    def set_clock(self, text):
        """Makes a log whose aircraft has this time at sample 0."""
        log = self.make_demo("log", "flight.txt", "--minutes", str(MINUTES), "--seed", "2")
        first, sample, lines = datetime.strptime(text, TEXT), 0, []
        for line in log.read_text(encoding="ascii").splitlines():
            frame = bytearray.fromhex(line)
            if frame[3] == 0x02:
                now = first + timedelta(seconds=sample // 5)
                frame[44:49] = bytes((now.month, now.day, now.hour, now.minute, now.second))
                sample += 1
            lines.append(frame.hex())
        log.write_text("\n".join(lines) + "\n", encoding="ascii")
        self.assertGreater(sample, MINUTES * 60 * 4)
        return log

    def check_files(self, zone, text, log, *arguments):
        done = self.convert("--overwrite", "-f", "csv,gpx,kml,geojson,mat", "--json", *arguments, log, TZ=zone)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        with log.with_suffix(".csv").open(encoding="utf-8", newline="") as stream:
            rows = list(csv.DictReader(stream))
        # The table has the aircraft's clock, which knows no change.
        first = datetime.strptime(text, TEXT)
        for number, row in enumerate(rows):
            self.assertEqual(float(row["seconds"]), number * 200 / 1000)
            expected = first + timedelta(milliseconds=number * 200)
            self.assertEqual(row["time"], expected.isoformat(timespec="milliseconds"))
        # The tracks are in UTC.
        starts = possible_starts(zone, text)
        for suffix, pattern in ((".gpx", r"<time>(.*?)Z</time>"), (".kml", r"<when>(.*?)Z</when>")):
            self.check_moments(re.findall(pattern, log.with_suffix(suffix).read_text(encoding="utf-8")), starts)
        features = json.loads(log.with_suffix(".geojson").read_text(encoding="utf-8"))["features"]
        for feature in features:
            self.check_moments([time.rstrip("Z") for time in feature["properties"]["coordTimes"]], starts)

    def check_moments(self, texts, starts):
        moments = [datetime.fromisoformat(text).replace(tzinfo=timezone.utc).timestamp() for text in texts]
        self.assertGreater(len(moments), 100)
        # Which sample is the first depends on the track; all samples of a flight are multiples of the step away.
        candidates = [start for start in starts if all(
            abs((moment - start) / STEP - round((moment - start) / STEP)) < 1e-3 for moment in moments[:5])]
        spans = [(moments[0] - start, moments[-1] - start) for start in candidates]
        self.assertTrue(any(-1e-6 <= first and last <= MINUTES * 60 for first, last in spans), (texts[0], starts))
        # A track and its last leg follow each other.
        backwards = [after - before for before, after in zip(moments, moments[1:]) if after <= before]
        self.assertLessEqual(len(backwards), 1)

    def check_program(self, zone, text, log):
        """The keys of the curves, and what the read-out shows for them."""
        printed = self.run_driver("times", log, TZ=zone)
        rows = re.findall(r"^(\d+\.\d{3}) (\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)$", printed, re.M)
        self.assertGreater(len(rows), 1000)
        keys = [float(key) for key, _ in rows]
        self.assertIn(keys[0], possible_starts(zone, text))
        for number, (key, (_, told)) in enumerate(zip(keys, rows)):
            self.assertAlmostEqual(key, keys[0] + number * STEP, delta=1e-3)
            self.assertEqual(told, shown(int(key), zone))


def add_tests():
    for zone, text in CHANGES:
        def test(self, zone=zone, text=text):
            log = self.set_clock(text)
            self.check_files(zone, text, log)
            self.check_program(zone, text, log)
        name = re.sub(r"\W+", "_", f"{zone}_{text}")
        setattr(TimeZones, f"test_times_run_on_over_the_change_{name}", test)
    for zone, text in GIVEN:
        def test_given(self, zone=zone, text=text):
            log = self.make_demo("log", "flight.txt", "--minutes", str(MINUTES), "--seed", "2")
            self.check_files(zone, text, log, "--start", text)
        name = re.sub(r"\W+", "_", f"{zone}_{text}")
        setattr(TimeZones, f"test_times_run_on_from_a_given_start_{name}", test_given)


add_tests()

if __name__ == "__main__":
    main()
