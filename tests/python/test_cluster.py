"""python3 -m ostravel.fleet on a Dask cluster: a scheduler and two worker processes on the loopback address."""

import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path
from unittest import mock

import distributed

from ostravel.fleet import _cluster
from ostravel.fleet._work import find_jobs
from test_fleet import HERE, FleetTest

PATIENCE = 120  # seconds


def wait_for(condition, what):
    deadline = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.05)


def end(process):
    process.terminate()
    try:
        process.wait(20)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


class ClusterTest(FleetTest):
    @classmethod
    def setUpClass(cls):
        cls.space = Path(tempfile.mkdtemp(prefix="cluster-"))
        cls.addClassCleanup(shutil.rmtree, cls.space, ignore_errors=True)
        # Two deaths are enough to suspect a flight; the nannies need seconds to start a worker anew.
        cls.environment = {**os.environ, "DASK_DISTRIBUTED__SCHEDULER__ALLOWED_FAILURES": "1"}
        cls.start("scheduler", "dask-scheduler", "--host", "127.0.0.1", "--port", "0", "--no-dashboard")
        said = cls.space / "scheduler.log"
        wait_for(lambda: re.search(r"tcp://127\.0\.0\.1:\d+", said.read_text()), "the scheduler")
        cls.address = re.search(r"tcp://127\.0\.0\.1:\d+", said.read_text())[0]
        for name in ("one", "two"):
            cls.start(name, "dask-worker", cls.address, "--host", "127.0.0.1", "--nthreads", "1", "--name", name,
                      "--no-dashboard", "--local-directory", cls.space / f"space-{name}")
        cls.client = distributed.Client(cls.address, timeout=PATIENCE, set_as_default=False)
        cls.addClassCleanup(cls.client.close)

    def setUp(self):
        super().setUp()
        # Also after a test that killed one: its nanny starts another.
        self.client.wait_for_workers(2, timeout=PATIENCE)

    @classmethod
    def start(cls, name, program, *arguments):
        log = (cls.space / f"{name}.log").open("w")
        cls.addClassCleanup(log.close)
        # From a folder in which the functions of the user do not lie.
        process = subprocess.Popen([sys.executable, "-B", f"/usr/bin/{program}", *map(str, arguments)], stdout=log,
                                   stderr=subprocess.STDOUT, cwd=cls.space, env=cls.environment)
        cls.addClassCleanup(end, process)

    def fleet_both_ways(self, *words, status=0):
        """The table of the cluster, after comparing it with that of this machine."""
        self.fleet(*words, status=status)
        local = self.table.read_bytes()
        self.table.unlink()
        self.fleet(*words, "--scheduler", self.address, status=status)
        self.assertEqual(self.table.read_bytes(), local)
        return self.rows()

    def test_table_is_that_of_the_local_run(self):
        self.make_flights(4)
        self.make("db", "flights/任务.db", "--minutes", 1)
        (self.flights / "notes.txt").write_text("no flight\n", encoding="ascii")
        rows = self.fleet_both_ways(status=1)
        self.assertEqual(len(rows), 4 + 4 + 1)
        before = self.table.read_bytes()
        self.assertIn("0 done now", self.fleet("--scheduler", self.address, status=1))
        self.assertEqual(self.table.read_bytes(), before)

    def test_function_need_not_be_installed_on_the_workers(self):
        self.make_flights(2)
        rows = self.fleet_both_ways("--function", "fleet_functions:samples")
        self.assertEqual([row["samples"] for row in rows], ["300", "300"])

    def test_flights_of_a_killed_worker_are_done_again(self):
        self.make_flights(8)
        command = subprocess.Popen(
            [sys.executable, "-B", "-m", "ostravel.fleet", self.flights, "-o", self.table, "--scheduler", self.address,
             "--function", "fleet_functions:slow"], cwd=HERE, stdout=subprocess.DEVNULL)
        self.addCleanup(end, command)
        trace = self.flights / "at-work"
        wait_for(lambda: trace.is_dir() and len(list(trace.iterdir())) >= 2, "the first flights")
        os.kill(int(sorted(trace.iterdir(), key=lambda each: each.stat().st_mtime)[-1].suffix[1:]), signal.SIGKILL)
        self.assertEqual(command.wait(PATIENCE), 0)
        self.assertEqual([(row["error"], row["samples"]) for row in self.rows()], [("", "300")] * 8)
        self.assertGreater(len(list(trace.iterdir())), 8, "nothing was done again")

    def test_flight_that_crashes_its_workers_is_an_error_row_and_costs_no_other(self):
        self.make_flights(5, name="z")  # behind the mean one, so that some are in hand when it strikes
        self.make("log", "flights/mean.txt", "--minutes", 1)
        rows = self.fleet_both_ways("--function", "fleet_functions:crash_at_mean", status=1)
        self.assertRegex(rows[0]["error"], "died")
        self.assertEqual([row["samples"] for row in rows], [""] + ["300"] * 5)


class WithoutCluster(FleetTest):
    def test_scheduler_that_is_not_there_is_named(self):
        self.make_flights(1)
        with mock.patch.object(_cluster, "CONNECT_SECONDS", 1):
            said = self.fleet("--scheduler", "tcp://127.0.0.1:9", status=3)
        self.assertIn("tcp://127.0.0.1:9", said)

    def test_cluster_without_a_worker_is_given_up(self):
        self.make_flights(1)
        with distributed.LocalCluster(n_workers=0, dashboard_address=None, host="127.0.0.1") as cluster:
            function = _cluster.pickled(print)
            with self.assertRaisesRegex(_cluster.ClusterError, "no worker"):
                _cluster.run_on_cluster(find_jobs(self.flights), function, cluster.scheduler_address,
                                        lambda job, result: None, patience=2)


if __name__ == "__main__":
    unittest.main()
