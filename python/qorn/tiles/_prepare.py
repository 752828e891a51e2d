"""From a call to a manifest: checks everything that can be checked before the first tile."""

from __future__ import annotations

import math
import os
from typing import Any, Iterator, NamedTuple, Optional, Sequence, Tuple

from .._arrays import get_axes
from ..measure import check_per
from . import _manifest, _stores
from ._jobs import Function, Job, encode, make_job
from ._manifest import Manifest, Stage
from ._plan import Plan, Shape, Size, check_shape, make_plan, parse_size, plan
from ._stores import Source, Store

# A plan that computes each voxel more often than this is divided into stages if it can be.
_MAX_OVERHEAD = 4.0


class Request(NamedTuple):
    """What a call asks for."""

    function: Function
    source: Store
    target: Store
    args: Tuple[Any, ...]
    keywords: dict[str, Any]
    memory: Size
    chunks: Optional[Sequence[int]]
    tile: Optional[Sequence[int]]
    least: int  # tiles, if there are as many chunks


def _open_sources(paths: list[str], target: str) -> list[Source]:
    sources = [_stores.open_source(path) for path in paths]
    for source in sources:
        if os.path.realpath(source.path) == os.path.realpath(target):
            raise ValueError(f"{target}: is a source as well; tiles need a target of its own")
        if source.shape != sources[0].shape:
            raise ValueError(f"the images have different shapes, {sources[0].shape} and {source.shape}")
        if source.dtype != sources[0].dtype:
            raise TypeError(f"the images have different types, {sources[0].dtype.name} and {source.dtype.name}")
    return sources


def _plan_stage(job: Job, request: Request, sources: list[Source], chunks: Shape, nb_inputs: int) -> Tuple[Plan, Any]:
    """The plan of a job and the type of its result."""
    source = sources[0]
    shape, ndim = source.shape, len(source.shape)
    margins = job.get_margins(ndim)
    if job.function == "extrema":
        dtype, images = source.dtype, 1.0
    else:
        dtype = job.get_dtype(source.dtype, ndim, nb_inputs)
        images = nb_inputs + dtype.itemsize / source.dtype.itemsize + job.nb_temporaries
    itemsize = source.dtype.itemsize
    if request.tile is not None:
        tile = tuple(min(one, size) for one, size in zip(check_shape(request.tile, "tile"), shape))
        if len(tile) != ndim or any(one % chunk and one != size for one, chunk, size in zip(tile, chunks, shape)):
            raise ValueError(f"tile={tuple(request.tile)}: not of whole chunks of {chunks}")
        return make_plan(shape, chunks, margins, itemsize, tile, images), dtype
    return plan(shape, chunks, margins, itemsize, request.memory, images=images, least=request.least), dtype


def _divide(job: Job) -> Iterator[list[Job]]:
    """The job as a whole, and in more and more steps with smaller margins."""
    yield [job]
    nb_steps = 1
    for power in range(32):
        steps = job.divide(1 << power)
        if len(steps) > nb_steps:
            yield steps
        elif power > 0:
            return
        nb_steps = len(steps)


def _make_stages(job: Job, request: Request, sources: list[Source], chunks: Shape, store: str) -> list[Stage]:
    """One stage or, where its margins take too much, several with smaller ones."""
    best: Optional[tuple[list[Job], list[tuple[Plan, Any]]]] = None
    failure: Optional[MemoryError] = None
    least = math.inf
    for steps in _divide(job):
        nb_inputs = [len(sources), *[1] * (len(steps) - 1)]
        try:
            plans = [_plan_stage(one, request, sources, chunks, count) for one, count in zip(steps, nb_inputs)]
        except MemoryError as error:
            failure = error
            continue
        overhead = max(one.overhead for one, _ in plans)
        if overhead < least:
            best, least = (steps, plans), overhead
        if overhead <= _MAX_OVERHEAD:
            break
    if best is None:
        assert failure is not None
        raise failure
    suffix = ".zarr" if _stores.is_zarr(store) else ".npy"
    stages = []
    for index, (one, (planned, dtype)) in enumerate(zip(*best)):
        name = "result" if index == len(best[0]) - 1 else f"stage-{index}"
        stages.append(
            Stage(
                one, one.get_margins(len(chunks)), planned.tile, planned.count, dtype.str,
                "" if job.function == "extrema" else name + suffix, planned.working_set, planned.overhead,
            )
        )  # fmt: skip
    return stages


def _check_target(path: str, is_measure: bool) -> None:
    if not is_measure:
        return _stores.check_target(path)
    if not path.lower().endswith(".json"):
        raise OSError(f"{path}: extrema are written to a .json file")


def prepare(request: Request, resume: bool) -> Manifest:
    """The manifest that there is for the target, or a new one.

    Raises FileExistsError if the target exists and no run of it was begun, and ValueError if another run was.
    """
    job, others = make_job(request.function, request.args, request.keywords)
    target = _stores.get_path(request.target)
    is_measure = job.function == "extrema"
    _check_target(target, is_measure)
    sources = _open_sources([_stores.get_path(one) for one in (request.source, *others)], target)
    source = sources[0]
    ndim = len(source.shape)
    names = get_axes(job.axes, ndim)
    if is_measure:
        check_per(str(job.arguments.get("per", "")), names)
    chunks = check_shape(request.chunks or source.chunks or _stores.guess_chunks(source.shape, target), "chunks")
    if len(chunks) != ndim:
        raise ValueError(f"chunks={chunks}: the image has {ndim} axes")
    chunks = tuple(min(one, size) for one, size in zip(chunks, source.shape))
    identity = {
        "function": job.function,
        "arguments": encode(job.arguments),
        "sources": [one.path for one in sources],
        "shape": list(source.shape),
        "dtype": source.dtype.name,
        "memory": parse_size(request.memory),
        "chunks": None if request.chunks is None else list(chunks),
        "tile": None if request.tile is None else list(request.tile),
    }
    manifest = _manifest.find(target)
    if manifest is not None and not resume:
        manifest.remove()
        manifest = None
    if manifest is None:
        if resume and os.path.lexists(target):
            manifest = _manifest.find(target)  # of a process that was faster
            if manifest is None:
                raise FileExistsError(f"{target}: exists; resume=False replaces it")
        else:
            stages = _make_stages(job, request, sources, chunks, target)
            manifest = _manifest.create(target, identity, stages, chunks, source, not resume)
    _manifest.check_identity(manifest, identity)
    return manifest
