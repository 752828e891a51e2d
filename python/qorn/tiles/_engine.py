"""Who does the tiles: this process, or the workers of dask.distributed."""

from __future__ import annotations

import asyncio
import contextlib
import multiprocessing
import os
import queue
import signal
import tempfile
import time
import uuid
from collections import Counter, deque
from concurrent.futures import CancelledError
from typing import Any, Callable, Iterable, Iterator, Optional, Union

from .. import _core
from ..threads import get_num_threads
from ._manifest import VERSION, Manifest
from ._tile import Done, do_tile

# What every user of processes meets once.
_STARTER = "QORN_TILES_STARTER"
_GUARD = 'Processes that are started import the main script: its calls belong under: if __name__ == "__main__"'

Note = Callable[[Done], None]

_POLL_SECONDS = 0.05
_COUNT_SECONDS = 1.0  # between two counts of the workers
_PATIENCE_SECONDS = 5.0  # for tiles to end after a cancel
_CLOSE_SECONDS = 5.0
_START_SECONDS = 120.0
_SCALE_SECONDS = 5.0
# What another try doesn't change.
_FINAL = (TypeError, ValueError, ImportError, _core.Cancelled)


class Order:
    """Tiles of a stage that are to be done, and how."""

    def __init__(
        self, manifest: Manifest, stage: int, retries: int, threads: Optional[int], token: Optional[_core.CancelToken]
    ) -> None:
        self.manifest, self.stage, self.retries, self.threads, self.token = manifest, stage, retries, threads, token
        self.nb_retries = 0
        self._failures: Counter[int] = Counter()

    def fail(self, tile: int, error: BaseException) -> None:
        """Counts a failure; raises it if there have been too many."""
        if isinstance(error, _FINAL):
            raise error
        self._failures[tile] += 1
        if self._failures[tile] > self.retries:
            raise error
        self.nb_retries += 1

    def get_arguments(self, tile: int, attempt: str) -> dict[str, Any]:
        """Those of `do_tile()`."""
        memory = int(self.manifest.plan["identity"]["memory"])
        return {
            "folder": self.manifest.folder, "id": self.manifest.id, "stage": self.stage, "tile": tile,
            "attempt": attempt, "threads": self.threads, "memory": memory,
        }  # fmt: skip


def work_here(order: Order, tiles: Iterable[int], note: Note) -> None:
    """Does the tiles in this process, one after the other."""
    for tile in tiles:
        done: Optional[Done] = None
        while done is None:
            try:
                done = do_tile(**order.get_arguments(tile, ""), token=order.token)
            except Exception as error:
                order.fail(tile, error)
        note(done)


def _refuse_in_worker() -> None:
    """Raises Error in a process that is only importing the main script, and tells the one that has started it."""
    if getattr(multiprocessing.current_process(), "_inheriting", False):
        folder = os.environ.get(_STARTER)
        if folder and os.path.isdir(folder):
            with open(os.path.join(folder, "refused"), "w", encoding="ascii"):
                pass
        raise _core.Error(_GUARD)


def _close(cluster: Any) -> None:
    """Ends the workers. Those that can't start might otherwise be waited for without end."""
    with contextlib.suppress(TimeoutError, asyncio.TimeoutError):
        cluster.close(timeout=_CLOSE_SECONDS)


async def _give_up(cluster: Any) -> None:
    """Kills workers that can't start. They would be started one after the other, and closing would wait for each."""
    from distributed.core import Status

    for nanny in list(getattr(cluster, "_created", ())):
        nanny.status = Status.failed
        if nanny.pid:
            with contextlib.suppress(ProcessLookupError):
                os.kill(nanny.pid, signal.SIGKILL)


def _wait_for_workers(client: Any, cluster: Any, workers: int, folder: str) -> None:
    """Until all workers are there or, on a computer that is very busy, some."""
    start = next_scale = time.monotonic()
    while len(client.nthreads()) < workers:
        now = time.monotonic()
        if os.path.exists(os.path.join(folder, "refused")):
            cluster.sync(_give_up, cluster)
            raise _core.Error(_GUARD)
        if now - start > _START_SECONDS:
            if client.nthreads():
                return
            raise _core.Error(f"no worker has started within {_START_SECONDS:.0f} s")
        if now >= next_scale:  # starts those again that could not start
            cluster.scale(workers)
            next_scale = now + _SCALE_SECONDS
        time.sleep(_POLL_SECONDS)


@contextlib.contextmanager
def start_cluster(workers: int) -> Iterator[Any]:
    """A client of new workers on this machine, each a process with one thread for tiles."""
    try:
        import dask
        from distributed import Client, LocalCluster
    except ImportError as error:
        raise ImportError(
            "workers need dask and distributed; workers=0 works in this process, without them"
        ) from error
    _refuse_in_worker()
    with contextlib.ExitStack() as stack:
        folder = stack.enter_context(tempfile.TemporaryDirectory(prefix="qorn-", ignore_cleanup_errors=True))
        # Processes that are killed or cancelled say so in many lines; what matters is raised here.
        name = "distributed.nanny.pre-spawn-environ"
        environment = {**dask.config.get(name, {}), "DASK_LOGGING__DISTRIBUTED": "error", _STARTER: folder}
        stack.enter_context(dask.config.set({name: environment}))
        cluster = LocalCluster(
            n_workers=0, threads_per_worker=1, processes=True, memory_limit=0, dashboard_address=":0",
            local_directory=folder, silence_logs=50, preload=["qorn.tiles._worker"],
        )  # fmt: skip
        stack.callback(_close, cluster)
        client = stack.enter_context(Client(cluster))
        _wait_for_workers(client, cluster, workers, folder)
        yield client


def get_worker_count(workers: Optional[int]) -> int:
    if workers is None:
        return max(1, _core.core_count())
    if workers < 0:
        raise ValueError(f"workers={workers}: a number of processes, or 0 for this one")
    return workers


def count_threads(client: Any) -> int:
    """How many tiles the workers of a client do at a time."""
    return max(1, int(sum(client.nthreads().values())))


def get_worker_threads(workers: int) -> int:
    """Threads of an operator where so many workers share this machine."""
    return max(1, get_num_threads() // workers)


def work_there(client: Any, order: Order, tiles: Iterable[int], note: Note, started: int = 0) -> None:
    """Does the tiles on the workers of a client. Only a few are with the scheduler at a time. `started`: how many
    workers were started for this, and are started again if none is left."""
    check_workers(client)
    attempt = uuid.uuid4().hex
    waiting = deque(tiles)
    running: dict[str, tuple[int, Any]] = {}
    finished: queue.SimpleQueue[Any] = queue.SimpleQueue()
    most, next_count = 0, 0.0
    try:
        while waiting or running:
            if time.monotonic() >= next_count:
                most = 2 * count_threads(client)
                next_count = time.monotonic() + _COUNT_SECONDS
                if started and not client.nthreads():
                    client.cluster.scale(started)
            while waiting and len(running) < most:
                tile = waiting.popleft()
                future = _submit(client, order.get_arguments(tile, attempt))
                running[future.key] = tile, future
                future.add_done_callback(finished.put)
            if order.token is not None and order.token.cancelled:
                raise _core.Cancelled("cancelled")
            for future, answer in _get_answers(client, _take(finished)):
                tile, _ = running.pop(future.key)
                if isinstance(answer, Done):
                    note(answer)
                    continue
                if not isinstance(answer, _Lost):
                    order.fail(tile, answer)
                waiting.append(tile)  # if a lost tile is marked it is found to be done
    except BaseException:
        order.manifest.cancel(attempt)
        _wait(client, [future for _, future in running.values()])
        raise


class _Lost(Exception):
    """The worker that had the result of a task has died."""


def _submit(client: Any, arguments: dict[str, Any]) -> Any:
    """A function of its own: the client sends the source of what submits, each time."""
    return client.submit(do_tile, **arguments, key=f"qorn-tile-{uuid.uuid4().hex}", pure=False)


def _take(finished: queue.SimpleQueue[Any]) -> list[Any]:
    """The futures that there are, after a short wait for the first one."""
    futures = []
    with contextlib.suppress(queue.Empty):
        futures.append(finished.get(timeout=_POLL_SECONDS))
        while True:
            futures.append(finished.get_nowait())
    return futures


def _get_answers(client: Any, futures: list[Any]) -> list[tuple[Any, Union[Done, BaseException]]]:
    """What tiles have returned or raised."""
    _check_client(client)
    if all(future.status == "finished" for future in futures):
        with contextlib.suppress(Exception):  # then they are asked one by one
            return list(zip(futures, client.gather(futures)))
    return [(future, _get_answer(future)) for future in futures]


def _get_answer(future: Any) -> Union[Done, BaseException]:
    if future.status == "error":
        failure: BaseException = future.exception()
        return failure
    if future.status == "finished":
        with contextlib.suppress(TimeoutError, asyncio.TimeoutError, CancelledError):
            done: Done = future.result(timeout=_PATIENCE_SECONDS)
            return done
    return _Lost()


def _check_client(client: Any) -> None:
    if client.status not in ("running", "connecting"):
        raise _core.Error(f"the connection to the scheduler is {client.status}; another start resumes the run")


def _wait(client: Any, futures: list[Any]) -> None:
    """Until tiles that were cancelled have ended."""
    end = time.monotonic() + _PATIENCE_SECONDS
    while time.monotonic() < end and not all(future.done() for future in futures):
        time.sleep(_POLL_SECONDS)
    with contextlib.suppress(Exception):
        client.cancel(futures)


def check_workers(client: Any) -> None:
    """Raises Error if there is a worker without the package or with another version of it."""
    if getattr(client, "asynchronous", False):
        raise TypeError("the client is asynchronous; tiles need one that isn't")
    # A function of this package couldn't even be sent to a worker that hasn't got it.
    found = client.run(eval, "__import__('qorn.tiles').tiles._manifest.VERSION", on_error="return")
    for address, answer in found.items():
        # One that has just died doesn't answer, and its tiles are done by others.
        if answer != VERSION and not isinstance(answer, OSError):
            said = repr(answer) if isinstance(answer, BaseException) else f"its version is {answer}, here {VERSION}"
            raise _core.Error(f"the worker {address} can't do tiles: {said}")
