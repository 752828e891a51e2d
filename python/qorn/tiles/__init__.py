"""Images larger than memory, or than a machine: from store to store in tiles, with the bits of the whole.

A store is a zarr array in a folder, a .npy file, an uncompressed TIFF, or a NIfTI file. docs/distributed.md has more.
"""

from __future__ import annotations

import contextlib
import json
import os
import time
from typing import Any, Callable, NamedTuple, Optional, Sequence, Union

import numpy as np

from .. import _core
from .._arrays import get_axes
from .._call import Progress, ProgressLine
from ..measure import Extrema, make_extrema
from . import _engine, _prepare
from ._jobs import FUNCTIONS, Function
from ._manifest import Manifest
from ._plan import Plan, Size, get_core, plan
from ._publish import publish
from ._stores import Store
from ._tile import Done

__all__ = ["Plan", "Report", "plan", "run", "run_shard"]


class Report(NamedTuple):
    """What a run did. Seconds are those of all workers together, but for `seconds`."""

    complete: bool  # whether the target is
    tiles: int  # of all stages
    done: int  # by this call
    retried: int
    stages: int
    overhead: float  # voxels that were planned to be computed for each of the result, on average over the stages
    working_set: int  # bytes that a tile was planned to need
    seconds: float
    seconds_reading: float
    seconds_computing: float
    seconds_writing: float
    bytes_read: int
    bytes_written: int
    result: Optional[Extrema]  # of extrema


class _Count:
    """Adds up what tiles cost."""

    def __init__(self, manifest: Manifest, progress: Progress, name: str) -> None:
        self._total = sum(stage.count for stage in manifest.stages)
        self._finished = 0
        self._progress: Optional[Callable[[float], object]]
        self._progress = ProgressLine(name) if progress is True else progress or None
        self._start = time.monotonic()
        self._done: list[Done] = []
        self._skipped = 0
        self.nb_retried = 0

    def skip(self, count: int) -> None:
        """Notes tiles that were done before."""
        self._finished += count
        self._skipped += count

    def note(self, done: Done) -> None:
        self._finished += 1
        self._done.append(done)
        if self._progress is not None:
            self._progress(self._finished / self._total)

    def report(self, manifest: Manifest, complete: bool, result: Optional[Extrema]) -> Report:
        def add(name: str) -> Any:
            return sum(getattr(one, name) for one in self._done)

        return Report(
            complete, self._total, self._finished - self._skipped, self.nb_retried, len(manifest.stages),
            float(np.mean([stage.overhead for stage in manifest.stages])),
            max(stage.working_set for stage in manifest.stages), time.monotonic() - self._start,
            add("seconds_reading"), add("seconds_computing"), add("seconds_writing"), add("bytes_read"),
            add("bytes_written"), result,
        )  # fmt: skip


def _merge(manifest: Manifest) -> Extrema:
    """The extrema of the image, of those of its tiles."""
    stage = manifest.stages[0]
    job, shape = stage.job, manifest.shape
    per = str(job.arguments.get("per", ""))
    names = get_axes(job.axes, len(shape))
    sizes = [shape[names.index(letter)] if letter in per else 1 for letter in "ZTC"]
    low, high = np.full(sizes, np.inf), np.full(sizes, -np.inf)
    for tile in range(stage.count):
        core = get_core(shape, stage.tile, tile)
        found = json.loads(manifest.read_mark(0, tile))
        place = tuple(core[names.index(letter)] if letter in per else slice(0, 1) for letter in "ZTC")
        np.minimum(low[place], np.array(found["minimum"]), out=low[place])
        np.maximum(high[place], np.array(found["maximum"]), out=high[place])
    dtype = np.dtype(manifest.plan["identity"]["dtype"])
    return make_extrema({"minimum": low, "maximum": high}, per, names, shape, dtype)


def _finish(manifest: Manifest) -> Optional[Extrema]:
    """Publishes the result, once all tiles are marked."""
    if manifest.stages[0].store:
        publish(manifest, None)
        return None
    extrema = _merge(manifest)
    publish(manifest, {"minimum": extrema.minimum.tolist(), "maximum": extrema.maximum.tolist()})
    return extrema


def run(
    function: Function, source: Store, target: Store, *args: Any, client: Any = None, workers: Optional[int] = None,
    memory: Size = "512MiB", chunks: Optional[Sequence[int]] = None, tile: Optional[Sequence[int]] = None,
    threads: Optional[int] = None, resume: bool = True, retries: int = 3, progress: Progress = None,
    cancel: Optional[_core.CancelToken] = None, **keywords: Any,
) -> Report:  # fmt: skip
    """Runs a function of the package from store to store, tile by tile. The result has the bits of the whole one.

    Parameters
    ----------
    function : function or str
        One that works on images, such as `opening`, or `run` with the name of an operator.
    source, target : path or zarr array in a folder
        Sources are zarr, .npy, .tif and .nii, uncompressed but for zarr; targets these, and .nii.gz. All workers must
        see them. `extrema` has a .json file as its target.
    *args, **keywords
        Those of the function without images. The second image of `logical` is a store as well.
    client : distributed.Client, optional
        Whose workers do the tiles. Without one, processes are started on this machine, and ended.
    workers : int, optional
        How many processes are started; 0 works in this one, without dask.
    memory : int or str
        Bytes that a tile may need, such as "2GiB": that much for each thread of a worker.
    chunks : sizes, optional
        Those of a zarr target; those of the source unless given. Tiles are whole chunks.
    tile : sizes, optional
        The tiles, instead of planned ones.
    threads : int, optional
        Threads of each operator: the cores for each process that is started, or 1 with a client.
    resume : bool
        Whether a run that was ended goes on. False begins anew, and replaces a target when it is done.
    retries : int
        How often a tile is tried again.
    progress, cancel
        As in `dilation()`, of all tiles.

    Returns
    -------
    Report

    Raises
    ------
    FileExistsError
        The target exists.
    ValueError
        Among others: a run with other parameters was begun on this target.
    MemoryError
        A chunk with its margins needs more than `memory`.
    Cancelled, KeyboardInterrupt, OSError, Error
        All but the tiles at work is kept; another start resumes.

    Examples
    --------
    >>> write("in.npy", np.uint8([[0, 9, 0, 9, 9, 9]]))
    >>> report = tiles.run(opening, "in.npy", "out.npy", line(3, 0), workers=0, tile=(1, 2), chunks=(1, 2))
    >>> report.complete, report.tiles
    (True, 3)
    >>> read("out.npy").image
    array([[0, 0, 0, 9, 9, 9]], dtype=uint8)
    """
    nb_workers = _engine.get_worker_count(workers)
    least = 2 * (_engine.count_threads(client) if client is not None else max(nb_workers, 1))
    request = _prepare.Request(function, source, target, args, keywords, memory, chunks, tile, least)
    manifest = _prepare.prepare(request, resume)
    if manifest.is_complete:
        raise FileExistsError(f"{manifest.target}: exists; resume=False replaces it")
    count = _Count(manifest, progress, os.path.basename(manifest.target))
    started = nb_workers if client is None else 0
    with contextlib.ExitStack() as stack:
        for index, stage in enumerate(manifest.stages):
            marked = manifest.get_marked(index)
            count.skip(len(marked))
            left = [one for one in range(stage.count) if one not in marked]
            if not left:
                continue
            if client is None and nb_workers > 0:
                client = stack.enter_context(_engine.start_cluster(nb_workers))
                threads = threads or _engine.get_worker_threads(nb_workers)
            order = _engine.Order(manifest, index, retries, threads or (None if client is None else 1), cancel)
            try:
                if client is None:
                    _engine.work_here(order, left, count.note)
                else:
                    _engine.work_there(client, order, left, count.note, started)
            finally:
                count.nb_retried += order.nb_retries
            if index > 0:
                manifest.forget(index - 1)
        result = _finish(manifest)
    manifest.remove()
    return count.report(manifest, True, result)


def run_shard(
    function: Function, source: Store, target: Store, *args: Any, index: int, count: int, memory: Size = "512MiB",
    chunks: Optional[Sequence[int]] = None, tile: Optional[Sequence[int]] = None, threads: Optional[int] = None,
    retries: int = 3, progress: Progress = None, cancel: Optional[_core.CancelToken] = None, **keywords: Any,
) -> Report:  # fmt: skip
    """Does one of `count` shards of `run()` in this process, without dask: a job of an array on any scheduler.

    Shard `index`, from 0, does every tile whose number is `index` modulo `count`. All have the same arguments but for
    `index`. They may run at the same time or one after the other, and again. The last one publishes the target; its
    report says `complete`. A shard of a run in stages ends with its tiles of the first stage that others haven't
    finished: then all shards are started again.

    A file "cancel" in the folder that is beside the target while shards work ends them all.

    >>> write("in.npy", np.uint8([[0, 9, 0, 9, 9, 9]]))
    >>> for index in range(2):
    ...     report = tiles.run_shard(
    ...         dilation, "in.npy", "wide.npy", line(3, 0), index=index, count=2, chunks=(1, 2)
    ...     )
    ...     print(report.complete)
    False
    True
    """
    if not 0 <= index < count:
        raise ValueError(f"index={index}: shards have the numbers 0 to {count - 1}")
    request = _prepare.Request(function, source, target, args, keywords, memory, chunks, tile, count)
    manifest = _prepare.prepare(request, True)
    counted = _Count(manifest, progress, f"{os.path.basename(manifest.target)}, shard {index} of {count}")
    if manifest.is_complete:
        return counted.report(manifest, True, None)
    result = None
    for number, stage in enumerate(manifest.stages):
        marked = manifest.get_marked(number)
        own = [one for one in range(index, stage.count, count) if one not in marked]
        counted.skip(len(marked))
        order = _engine.Order(manifest, number, retries, threads, cancel)
        _engine.work_here(order, own, counted.note)
        counted.nb_retried += order.nb_retries
        if len(manifest.get_marked(number)) < stage.count:
            return counted.report(manifest, False, None)
    result = _finish(manifest)
    return counted.report(manifest, True, result)
