"""Flights on the cores of this machine."""

from __future__ import annotations

import multiprocessing
from collections import deque
from concurrent.futures import FIRST_COMPLETED, Future, ProcessPoolExecutor, wait
from concurrent.futures.process import BrokenProcessPool
from typing import Callable, Deque, Dict, List

from ._work import DIED, Job, Result, run

Done = Callable[[Job, Result], None]

_ATTEMPTS_ALONE = 2


def _pool(workers: int) -> ProcessPoolExecutor:
    # Started anew rather than forked: alike on every platform, and no lock of another thread is copied.
    return ProcessPoolExecutor(workers, mp_context=multiprocessing.get_context("spawn"))


def _run_until_a_worker_dies(pending: Deque[Job], function: bytes, workers: int, done: Done) -> List[Job]:
    """Works on pending until it is empty or a worker dies. Returns the flights that a worker was at then."""
    running: Dict[Future, Job] = {}
    with _pool(workers) as pool:
        try:
            while pending or running:
                while pending and len(running) < 2 * workers:
                    job = pending[0]
                    running[pool.submit(run, job.path, job.task, function)] = job
                    pending.popleft()
                for future in wait(running, return_when=FIRST_COMPLETED).done:
                    result = future.result()
                    done(running.pop(future), result)
        except BrokenProcessPool:
            pass
    suspects = []
    for future, job in running.items():
        if future.done() and future.exception() is None:
            done(job, future.result())
        else:
            suspects.append(job)
    return suspects


def _run_alone(job: Job, function: bytes) -> Result:
    for _ in range(_ATTEMPTS_ALONE):
        with _pool(1) as pool:
            try:
                return pool.submit(run, job.path, job.task, function).result()
            except BrokenProcessPool:
                continue
    return {}, DIED


def run_locally(jobs: List[Job], function: bytes, workers: int, done: Done) -> None:
    """Calls done for each flight, in any order, on this thread.

    When a worker dies, the flights in hand are done again one by one, each in a process of its own, so that only the
    one that is to blame ends as an error.
    """
    pending = deque(jobs)
    while pending:
        for job in _run_until_a_worker_dies(pending, function, max(1, min(workers, len(pending))), done):
            done(job, _run_alone(job, function))
