"""Functions of the package on dask arrays, lazy, with the bits of the whole array."""

from __future__ import annotations

from typing import Any, Callable, Optional, Sequence

import dask.array as da
import numpy as np

from . import _core, filters, measure, morphology, points
from ._arrays import get_axes
from .footprints import FootprintLike
from .margins import margins
from .measure import Extrema, check_per, get_dimensions
from .operators import run as _run

__all__ = [
    "black_tophat",
    "closing",
    "correlate",
    "dilation",
    "erosion",
    "extrema",
    "gradient",
    "logical",
    "opening",
    "run",
    "white_tophat",
]

# Extrema that are put together at a time, along each axis.
_SPLIT = 3


def _check(array: Any) -> None:
    if not isinstance(array, da.Array):
        raise TypeError(f"an image is a dask array here, not {type(array).__name__}; qorn has functions for others")
    if any(np.isnan(size) for size in array.shape):
        raise ValueError("the sizes of the array aren't known; compute_chunk_sizes() finds them")
    if 0 in array.shape:
        raise ValueError(f"an array of shape {array.shape} has no voxels")


def _map(arrays: Sequence[Any], pairs: Sequence[tuple[int, int]], call: Callable[..., Any]) -> Any:
    """The call on all blocks with their margins. Blocks are those of the first array again."""
    first = arrays[0]
    for one in arrays:
        _check(one)
        if one.shape != first.shape:
            raise ValueError(f"the images have different shapes, {first.shape} and {one.shape}")
    # The function itself tells the type, and refuses what it can't do.
    tiny = [np.ones((1,) * one.ndim, one.dtype) for one in arrays]
    dtype = call(*tiny).dtype
    meta = np.empty((0,) * first.ndim, dtype)
    same = [one.rechunk(first.chunks) for one in arrays]
    depth = {
        axis: (min(before, size), min(after, size))
        for axis, ((before, after), size) in enumerate(zip(pairs, first.shape))
    }
    if not any(before or after for before, after in depth.values()):
        return da.map_blocks(call, *same, dtype=dtype, meta=meta)
    depths: Any = depth if len(arrays) == 1 else [depth] * len(arrays)
    # Edges stay edges: nothing is put around the array. Blocks shorter than the depth are joined, and cut again.
    result = da.map_overlap(
        call, *same, depth=depths, boundary="none", trim=True, align_arrays=False, dtype=dtype, meta=meta
    )
    return result.rechunk(first.chunks)


class _Call:
    """A function of the package with all but its images."""

    def __init__(self, function: Callable[..., Any], *args: Any, **keywords: Any) -> None:
        self._function, self._args, self._keywords = function, args, keywords

    def __call__(self, *images: Any) -> Any:
        return self._function(*images, *self._args, **self._keywords)


def _morph(
    function: Any, array: Any, footprint: FootprintLike, axes: Optional[str], threads: int, **more: Any
) -> Any:
    _check(array)
    pairs = margins(function, footprint, ndim=array.ndim, axes=axes, **more)
    return _map([array], pairs, _Call(function, footprint, axes=axes, threads=threads, **more))


def dilation(array: Any, footprint: FootprintLike, *, axes: Optional[str] = None, threads: int = 1) -> Any:
    """`qorn.dilation()` of a dask array: a lazy array with the same chunks. `threads` work on each chunk.

    >>> import dask.array
    >>> import qorn.dask
    >>> array = dask.array.from_array(np.uint8([[0, 0, 5, 0, 0]]), (1, 2))
    >>> qorn.dask.dilation(array, line(3, 0)).compute()
    array([[0, 5, 5, 5, 0]], dtype=uint8)
    """
    return _morph(morphology.dilation, array, footprint, axes, threads)


def erosion(array: Any, footprint: FootprintLike, *, axes: Optional[str] = None, threads: int = 1) -> Any:
    """`qorn.erosion()` of a dask array; see `dilation()`."""
    return _morph(morphology.erosion, array, footprint, axes, threads)


def opening(array: Any, footprint: FootprintLike, *, axes: Optional[str] = None, threads: int = 1) -> Any:
    """`qorn.opening()` of a dask array; see `dilation()`."""
    return _morph(morphology.opening, array, footprint, axes, threads)


def closing(array: Any, footprint: FootprintLike, *, axes: Optional[str] = None, threads: int = 1) -> Any:
    """`qorn.closing()` of a dask array; see `dilation()`."""
    return _morph(morphology.closing, array, footprint, axes, threads)


def white_tophat(array: Any, footprint: FootprintLike, *, axes: Optional[str] = None, threads: int = 1) -> Any:
    """`qorn.white_tophat()` of a dask array; see `dilation()`."""
    return _morph(morphology.white_tophat, array, footprint, axes, threads)


def black_tophat(array: Any, footprint: FootprintLike, *, axes: Optional[str] = None, threads: int = 1) -> Any:
    """`qorn.black_tophat()` of a dask array; see `dilation()`."""
    return _morph(morphology.black_tophat, array, footprint, axes, threads)


def gradient(
    array: Any, footprint: FootprintLike, *, kind: str = "full", axes: Optional[str] = None, threads: int = 1
) -> Any:
    """`qorn.gradient()` of a dask array; see `dilation()`."""
    return _morph(morphology.gradient, array, footprint, axes, threads, kind=kind)


def correlate(
    array: Any, weights: Any, *, origin: Optional[Sequence[int]] = None, dtype: Any = None,
    axes: Optional[str] = None, threads: int = 1,
) -> Any:  # fmt: skip
    """`qorn.correlate()` of a dask array; see `dilation()`."""
    _check(array)
    pairs = margins(filters.correlate, weights, ndim=array.ndim, axes=axes, origin=origin)
    call = _Call(filters.correlate, np.asarray(weights), origin=origin, dtype=dtype, axes=axes, threads=threads)
    return _map([array], pairs, call)


def logical(a: Any, b: Any, op: str = "and", *, axes: Optional[str] = None, threads: int = 1) -> Any:
    """`qorn.logical()` of two dask arrays, or of one and a number; see `dilation()`."""
    _check(a)
    pairs = ((0, 0),) * a.ndim
    if isinstance(b, (int, np.integer, np.bool_)):
        return _map([a], pairs, _Call(points.logical, b, op, axes=axes, threads=threads))
    return _map([a, b], pairs, _Call(points.logical, op, axes=axes, threads=threads))


class _Operator(_Call):
    """An operator by its name, which is the first argument."""

    def __call__(self, *images: Any) -> Any:
        return _run(self._args[0], *images, **self._keywords)


def run(name: str, *arrays: Any, axes: Optional[str] = None, threads: int = 1, **properties: Any) -> Any:
    """`qorn.run()` of dask arrays: an operator that has an image as its result, with its properties."""
    if not arrays:
        raise TypeError(f"{name} needs dask arrays")
    if name == "IntensityExtrema":
        raise TypeError("extrema are found by qorn.dask.extrema")
    first = arrays[0]
    _check(first)
    known = {key: value for key, value in properties.items() if key != "runner"}
    pairs = margins(_run, name, ndim=first.ndim, axes=axes, **known)
    call = _Operator(_run, name, axes=axes, threads=threads, **properties)
    names = get_axes(axes, first.ndim)
    nb_written = _core.written_plans(name)
    if "Z" not in names or first.shape[names.index("Z")] <= nb_written:
        return _map(arrays, pairs, call)
    # What the operator doesn't write is 0.
    axis = names.index("Z")
    inside = tuple(slice(0, nb_written) if one == axis else slice(None) for one in range(first.ndim))
    written = _map([one[inside] for one in arrays], pairs, call)
    shape = tuple(size - nb_written if one == axis else size for one, size in enumerate(first.shape))
    zeros = da.zeros(shape, dtype=written.dtype, chunks=shape)
    return da.concatenate([written, zeros], axis=axis).rechunk(first.chunks)


class _Measure:
    """The extrema of a block: one position along the axes that are measured, and a last axis of the two."""

    def __init__(self, axes: str, per: str, threads: int) -> None:
        self._axes, self._per, self._threads = axes, per, threads

    def __call__(self, block: Any) -> Any:
        asked = get_dimensions(self._per)
        found = _run("IntensityExtrema", block, axes=self._axes, analysisDimensions=asked, threads=self._threads)
        assert isinstance(found, dict)
        places = ["ZTC".index(letter) for letter in self._axes if letter in self._per]
        others = [one for one in range(3) if one not in places]
        shape = [size if letter in self._per else 1 for size, letter in zip(block.shape, self._axes)]
        pair = [found[name].transpose(places + others).reshape(shape) for name in ("minimum", "maximum")]
        return np.stack(pair, axis=-1)


class _Join:
    """The extrema of several blocks."""

    def __init__(self, reduced: tuple[int, ...]) -> None:
        self._reduced = reduced

    def __call__(self, pairs: Any) -> Any:
        low = pairs[..., 0].min(axis=self._reduced, keepdims=True)
        return np.stack([low, pairs[..., 1].max(axis=self._reduced, keepdims=True)], axis=-1)


def _check_numbers(pairs: Any) -> Any:
    if np.any(pairs[..., 0] > pairs[..., 1]):
        raise ValueError("there is no number among the voxels")
    return pairs


def extrema(array: Any, per: str = "", *, axes: Optional[str] = None, threads: int = 1) -> Extrema:
    """`qorn.extrema()` of a dask array: two lazy arrays, of which a tree of chunks is computed once.

    >>> import dask.array
    >>> import qorn.dask
    >>> found = qorn.dask.extrema(dask.array.from_array(np.uint8([[3, 7, 5]]), (1, 2)))
    >>> int(found.minimum), int(found.maximum)
    (3, 7)
    """
    _check(array)
    names = get_axes(axes, array.ndim)
    check_per(per, names)
    measure.extrema(np.ones((1,) * array.ndim, array.dtype), axes=axes)  # refuses other types
    reduced = tuple(at for at, letter in enumerate(names) if letter not in per)

    def one_for_each_block(blocks: Any) -> tuple[Any, ...]:
        return tuple((1,) * len(one) if at in reduced else one for at, one in enumerate(blocks.chunks[: array.ndim]))

    meta = np.empty((0,) * (array.ndim + 1), np.float64)
    pairs = da.map_blocks(
        _Measure(names, per, threads), array, dtype=np.float64, meta=meta, new_axis=array.ndim,
        chunks=(*one_for_each_block(array), (2,)),
    )  # fmt: skip
    while any(pairs.numblocks[axis] > 1 for axis in reduced):
        pairs = pairs.rechunk({axis: _SPLIT for axis in reduced})
        chunks = (*one_for_each_block(pairs), (2,))
        pairs = da.map_blocks(_Join(reduced), pairs, dtype=np.float64, meta=meta, chunks=chunks)
    pairs = da.map_blocks(_check_numbers, pairs, dtype=np.float64, meta=meta).squeeze(axis=reduced)
    native = array.dtype.newbyteorder("=")
    return Extrema(pairs[..., 0].astype(native), pairs[..., 1].astype(native))
