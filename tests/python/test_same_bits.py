"""Python and the window have the same bits in all 143 series and both tracks."""

import os
import subprocess
import unittest

import ostravel
from support import FolderTest

DUMP = os.environ["OSTRAVEL_DUMP"]


class SameBits(FolderTest):
    def compare(self, path, tasks=None):
        dump = self.folder / "window.bin"
        subprocess.run([DUMP, str(path), str(dump), *map(str, tasks or [])], check=True, capture_output=True)
        flight = ostravel.read(path, tasks=tasks)
        expected = {channel.label: flight[channel.name] for channel in ostravel.channels()}
        axes = iter([*flight.track, *flight.attack_track])
        compared = samples = 0
        with dump.open("rb") as file:
            while line := file.readline():
                label, count = line.decode("utf-8").rsplit(" ", 1)
                there = next(axes) if label == "track" else expected.pop(label)
                self.assertEqual(there.tobytes(), file.read(8 * int(count)), label)
                compared += 1
                samples += int(count)
        self.assertEqual((compared, expected), (143 + 6, {}))
        self.assertGreater(samples, 143)
        return flight

    def test_text_log(self):
        self.compare(self.make("log", "飞行.txt", "--minutes", 20, "--backup"))

    def test_damaged_logs(self):
        for seed in (1, 2, 3):
            flight = self.compare(self.make("damaged", "damaged.txt", "--minutes", 5, "--seed", seed))
            self.assertGreater(flight.report.bad_headers, 0)

    def test_tasks_of_a_database(self):
        path = self.make("db", "任务.db", "--minutes", 2)
        for tasks in ([1], [12, 3], [1, 3, 12, 44]):
            self.compare(path, tasks)

    def test_damaged_database(self):
        path = self.make("db", "damaged.db", "--minutes", 5)
        with path.open("r+b") as file:
            file.seek(path.stat().st_size // 4096 // 2 * 4096)
            file.write(bytes(4096))
        self.assertTrue(self.compare(path, [1]).report.broken_off)


if __name__ == "__main__":
    unittest.main()
