"""Flights on an existing Dask cluster."""

from __future__ import annotations

import asyncio
import queue
import sys
import time
import uuid
from collections import deque
from typing import Any, Callable, Deque, Dict, List

from ..errors import OstravelError
from ._work import DIED, Job, Result, run

Done = Callable[[Job, Result], None]

CONNECT_SECONDS = 30
_POLL_SECONDS = 1
_MISSING = "--scheduler needs Dask: install python3-distributed."


class ClusterError(OstravelError):
    """The cluster cannot be reached, has no workers, or cannot do this kind of work."""


def pickled(function: Callable[..., Any]) -> bytes:
    """A function with the text of its module, which need not be installed on the workers."""
    try:
        import cloudpickle
    except ImportError:
        raise ClusterError(_MISSING) from None
    module = sys.modules[function.__module__]
    ours = function.__module__.split(".")[0] == __name__.split(".", maxsplit=1)[0]
    if ours:
        return cloudpickle.dumps(function)
    cloudpickle.register_pickle_by_value(module)
    try:
        return cloudpickle.dumps(function)
    finally:
        cloudpickle.unregister_pickle_by_value(module)


class _Run:
    def __init__(self, client: Any, function: bytes, done: Done, patience: float) -> None:
        self._client = client
        self._function = function
        self._done = done
        self._patience = patience
        self._running: Dict[Any, Job] = {}
        self._ended: queue.Queue[Any] = queue.Queue()

    def run(self, pending: Deque[Job], alone: bool) -> List[Job]:
        """Works on all of pending. Returns the flights at which workers died, unless they ran alone."""
        suspects: List[Job] = []
        while pending or self._running:
            # No more than the workers have in hand: what waits in a worker's queue is suspected when it dies.
            room = 1 if alone else max(1, sum(self._threads().values()))
            while pending and len(self._running) < room:
                self._submit(pending.popleft())
            future = self._next_ended()
            job = self._running.pop(future)
            if self._died(future):
                if alone:
                    self._done(job, ({}, DIED))
                else:
                    suspects.append(job)
            elif future.status == "finished":
                self._done(job, future.result())
            else:
                self._submit(job)  # its result got lost
        return suspects

    def _submit(self, job: Job) -> None:
        future = self._client.submit(run, job.path, job.task, self._function, key=f"ostravel-{uuid.uuid4()}",
                                     pure=False)
        self._running[future] = job
        future.add_done_callback(self._ended.put)  # on a thread of the client's

    def _threads(self) -> Dict[str, int]:
        return self._client.nthreads()

    def _next_ended(self) -> Any:
        """A future that ended; fails when there is nobody to wait for."""
        since = time.monotonic()
        while True:
            try:
                return self._ended.get(timeout=_POLL_SECONDS)
            except queue.Empty:
                pass
            if self._threads():
                since = time.monotonic()
            elif time.monotonic() - since > self._patience:
                raise ClusterError(f"The scheduler has had no worker for {self._patience:g} seconds.")

    @staticmethod
    def _died(future: Any) -> bool:
        import distributed
        if future.status != "error":
            return False
        error = future.exception()
        if isinstance(error, distributed.KilledWorker):
            return True
        # The work itself raises nothing, so this comes from before it.
        raise ClusterError(f"The workers cannot do this work: {type(error).__name__}: {error}. Do they have the "
                           "packages ostravel and numpy, in this version?")


def run_on_cluster(jobs: List[Job], function: bytes, scheduler: str, done: Done, patience: float = 60.0) -> None:
    """Calls done for each flight, in any order, on this thread. Dask gives the flights of a worker that dies to others.

    A flight at which workers died again and again is done once more alone, so that only the one that is to blame ends
    as an error. patience: seconds after which a cluster without a worker is given up.
    """
    try:
        import distributed
    except ImportError:
        raise ClusterError(_MISSING) from None
    try:
        client = distributed.Client(scheduler, timeout=CONNECT_SECONDS, set_as_default=False)
    except (OSError, ValueError, TimeoutError, asyncio.TimeoutError) as error:
        raise ClusterError(f"The scheduler {scheduler} cannot be reached: {error}") from None
    with client:
        work = _Run(client, function, done, patience)
        suspects = work.run(deque(jobs), alone=False)
        work.run(deque(suspects), alone=True)
