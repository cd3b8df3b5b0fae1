"""Reads a flight from a database with several tasks; the file must not change."""

import hashlib
import sqlite3
from contextlib import closing

from analyst import READ_LIMIT, AnalystTest, main
from flight import Flight
from harness import wait_for

TASK = 12

BOXES = [("俯仰", 0, (0, 255, 0)), ("目标俯仰", 0, (255, 0, 255)), ("俯仰差值", 1, (255, 0, 0))]


class FlightDatabase(AnalystTest):
    def test_ticked_task_is_read_and_the_file_is_unchanged(self):
        path = self.make_demo("db", "flights.db", "--minutes", "2", "--seed", "5")
        before = hashlib.sha256(path.read_bytes()).hexdigest()
        with closing(sqlite3.connect(f"file:{path}?mode=ro", uri=True)) as database:
            tasks = database.execute("SELECT id, name FROM t_fly_task ORDER BY id").fetchall()
            frames = database.execute("SELECT frame FROM t_fly_record WHERE task_id = ? ORDER BY id",
                                      (TASK,)).fetchall()
        self.assertGreater(len(tasks), 2)
        flight = Flight(frame for frame, in frames)

        with self.running() as app:
            self.select(app, path)
            self.desktop.key("ctrl+r")
            self.tick_task(app, tasks)
            self.check_report(app, flight)
            self.show(app, BOXES)
            self.leave(app)

        self.assertEqual(hashlib.sha256(path.read_bytes()).hexdigest(), before)
        self.assertEqual(sorted(entry.name for entry in self.work.iterdir()), ["flights.db", "logs"])
        self.check_log_order(app.log_lines(), [
            f"file selected is:{path}", "start decode data file", "start decode data", "decode data finished",
            "add graph:俯仰, graph index is 0", "add graph:目标俯仰, graph index is 1",
            "add graph:俯仰差值, graph index is 0", "mainwindow destructor", "close logger"])

    def tick_task(self, app, tasks):
        app.find("fly data lists", role="dialog", timeout=READ_LIMIT)
        cells = {cell.name.strip(): cell for cell in app.find_all(role="table cell") if cell.name.strip()}
        for number, name in tasks:
            # The list shows ids truncated to eight bits.
            self.assertEqual(cells[str(number % 256)].rect.y, cells[name].rect.y)
        row = cells[str(TASK)].rect
        tick = next(cell for cell in app.find_all("", role="table cell") if cell.rect.y == row.y)
        self.assertFalse(tick.checked)
        box = tick.rect
        # The check box is at the left of its cell.
        self.desktop.click(box.x + 10, box.y + box.height // 2)
        wait_for(lambda: tick.checked, f"task {TASK} to be ticked")
        self.step("tasks")
        app.find("Confirm", role="push button").click()
        app.wait_until_gone("fly data lists", role="dialog")


if __name__ == "__main__":
    main()
