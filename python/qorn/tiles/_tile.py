"""One tile: reads its window, computes, writes its core, marks it. Nothing else is kept from tile to tile."""

from __future__ import annotations

import json
import math
import time
from typing import TYPE_CHECKING, Any, NamedTuple, Optional

import numpy as np

from .. import _core
from .._arrays import get_axes
from ..measure import get_dimensions
from ..operators import run
from ..threads import release_memory
from . import _manifest, _plan, _stores
from ._jobs import Job
from ._manifest import Manifest

if TYPE_CHECKING:
    from numpy.typing import NDArray

_LOOK_PERIOD = 0.1
_NO_LIMIT = 1 << 62  # the plan has counted temporary images
# Pieces that are read or written between two looks at the cancel file.
_MAX_PIECE_BYTES = 8 << 20
_MIN_PIECE_BYTES = 1 << 18
_FILE_EDGE = 32  # where pieces of files are cut


class Done(NamedTuple):
    """What a tile cost."""

    tile: int
    is_new: bool
    seconds_reading: float = 0.0
    seconds_computing: float = 0.0
    seconds_writing: float = 0.0
    bytes_read: int = 0
    bytes_written: int = 0


class _Watch:
    """Raises Cancelled, at most ten times a second, once the run is cancelled."""

    def __init__(self, manifest: Manifest, attempt: str, token: Optional[_core.CancelToken]) -> None:
        self._manifest, self._attempt, self._token = manifest, attempt, token
        self._next = 0.0

    def __call__(self, fraction: float = 0.0) -> None:
        now = time.monotonic()
        if self._token is not None and self._token.cancelled:
            raise _core.Cancelled("cancelled")
        if now < self._next:
            return
        self._next = now + _LOOK_PERIOD
        if self._manifest.is_cancelled(self._attempt):
            raise _core.Cancelled("cancelled")


def do_tile(
    folder: str, id: str, stage: int, tile: int, attempt: str = "", threads: Optional[int] = 1, memory: int = 1 << 29,
    token: Optional[_core.CancelToken] = None,
) -> Done:  # fmt: skip
    """Does a tile of a run unless it is marked. Any process may do it, also two at the same time."""
    manifest = _manifest.load(folder, id)
    watch = _Watch(manifest, attempt, token)
    watch()
    if manifest.is_marked(stage, tile):
        return Done(tile, False)
    what = manifest.stages[stage]
    piece = max(min(_MAX_PIECE_BYTES, memory // 32), _MIN_PIECE_BYTES)
    core = _plan.get_core(manifest.shape, what.tile, tile)
    window = _plan.get_window(manifest.shape, what.margins, core)
    paths = manifest.sources if stage == 0 else [manifest.get_store(stage - 1)]
    sources = [_stores.open_source(path) for path in paths]
    for source in sources:
        if source.shape != manifest.shape:
            raise ValueError(f"{source.path}: has the shape {source.shape} now, and had {manifest.shape}")
    start = time.monotonic()
    images = [_read(source, window, piece, watch) for source in sources]
    read = time.monotonic()
    nb_read = sum(image.nbytes for image in images)
    try:
        if what.store:
            result = _compute(what.job, images, np.dtype(what.dtype), window, threads, watch)
            images.clear()
            computed = time.monotonic()
            _write(
                _stores.open_target(manifest.get_store(stage)), core, window, result, manifest.chunks, piece, watch
            )
            nb_written, mark = math.prod(_plan.get_shape(core)) * result.itemsize, ""
        else:
            mark = _measure(what.job, images[0], threads, watch)
            computed, nb_written = time.monotonic(), 0
    finally:
        release_memory()  # the next tile may be of another size
    watch()
    manifest.mark(stage, tile, mark)
    return Done(tile, True, read - start, computed - read, time.monotonic() - computed, nb_read, nb_written)


def _read(source: _stores.Source, window: _plan.Box, nb_bytes: int, watch: _Watch) -> NDArray[Any]:
    image = np.empty(_plan.get_shape(window), source.dtype)
    chunks = source.chunks or (_FILE_EDGE,) * len(window)
    for part in _plan.split(window, chunks, nb_bytes // source.dtype.itemsize):
        watch()
        source.read(part, image[_plan.move(part, window)])
    return image


def _compute(
    job: Job,
    images: list[NDArray[Any]],
    dtype: np.dtype[Any],
    window: _plan.Box,
    threads: Optional[int],
    watch: _Watch,
) -> NDArray[Any]:
    names = get_axes(job.axes, len(window))
    if "Z" in names and window[names.index("Z")].start >= job.nb_written_plans:
        return np.zeros(images[0].shape, dtype)
    result: NDArray[Any] = job.compute(tuple(images), threads=threads, max_memory=_NO_LIMIT, progress=watch)
    return result


def _write(
    target: _stores.Target, core: _plan.Box, window: _plan.Box, result: NDArray[Any], chunks: _plan.Shape,
    nb_bytes: int, watch: _Watch,
) -> None:  # fmt: skip
    target.delete(core)
    for part in _plan.split(core, chunks, nb_bytes // result.itemsize):
        watch()
        target.write(part, result[_plan.move(part, window)])


def _measure(job: Job, image: NDArray[Any], threads: Optional[int], watch: _Watch) -> str:
    """The extrema of a part, by the operator itself: one without numbers is neutral when they are put together."""
    dimensions = get_dimensions(str(job.arguments.get("per", "")))
    found = run(
        "IntensityExtrema", image, axes=job.axes, analysisDimensions=dimensions, threads=threads, progress=watch
    )
    assert isinstance(found, dict)
    return json.dumps({name: values.tolist() for name, values in found.items()})
