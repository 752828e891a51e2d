"""Functions on dask arrays are lazy, exact, and keep the chunks."""

from __future__ import annotations

import inspect
from typing import Any

import dask
import dask.array as da
import numpy as np
import pytest
import tiling

import qorn
import qorn.dask

CHUNKS = [(37, 41, 14), (19, 11, 53), (2, 29, 31)]


def check_chunks(result: Any, array: Any) -> None:
    assert isinstance(result, da.Array) and result.chunks == array.chunks


@pytest.mark.parametrize("name", tiling.CASES)
def test_every_function_is_exact(name: str) -> None:
    case = tiling.CASES[name]
    function = getattr(qorn.dask, case.function.__name__)
    for number, dtype in enumerate(tiling.DTYPES):
        if not case.takes(dtype):
            continue
        image, second = (tiling.make_image(dtype, seed=seed) for seed in (1, 2))
        chunks = CHUNKS[number % 3]
        if name == "extrema":
            image = tiling.without_nan(image)
            found, expected = function(da.from_array(image, chunks), per="Z"), qorn.extrema(image, per="Z")
            for lazy, number_of in zip(found, expected):
                assert isinstance(lazy, da.Array) and lazy.dtype == image.dtype
                tiling.check_same(lazy.compute(scheduler="sync"), number_of, dtype)
            continue
        array = da.from_array(image, chunks)
        others = [da.from_array(second, CHUNKS[(number + 1) % 3])] if case.second else []
        if case.function is qorn.run:
            lazy = function(case.args[0], array, *others, **case.keywords)
        else:
            lazy = function(array, *others, *case.args, **case.keywords)
        check_chunks(lazy, array)
        expected = case.whole(image, second)
        assert lazy.dtype == expected.dtype
        tiling.check_same(lazy.compute(scheduler="sync"), expected, (name, dtype))


def test_every_function_is_there() -> None:
    from qorn.tiles import _jobs

    assert set(qorn.dask.__all__) == set(_jobs.FUNCTIONS)
    for name in qorn.dask.__all__:
        assert inspect.getdoc(getattr(qorn.dask, name))


def test_margins_beyond_the_array() -> None:
    """A margin as long as the array is clamped, also one on one side only."""
    image = tiling.make_image(np.uint8, (5, 6, 7))
    for footprint in (qorn.ball(9), qorn.line(40, 0), qorn.box((1, 12, 1), (0, 0, 0))):
        lazy = qorn.dask.dilation(da.from_array(image, (2, 4, 3)), footprint)
        tiling.check_same(lazy.compute(scheduler="sync"), qorn.dilation(image, footprint))
    weights = np.arange(6.0).reshape(1, 6)
    wide = tiling.make_image(np.int16, (20, 30))
    for chunks in ((20, 3), (20, 7), (7, 29)):
        lazy = qorn.dask.correlate(da.from_array(wide, chunks), weights, origin=(0, 0), dtype=np.float64)
        expected = qorn.correlate(wide, weights, origin=(0, 0), dtype=np.float64)
        tiling.check_same(lazy.compute(scheduler="sync"), expected, chunks)


def test_nothing_is_computed_early() -> None:
    calls = []

    def make(block_info: Any = None) -> np.ndarray:
        calls.append(block_info)
        return np.zeros((10, 10), np.uint8)

    array = da.map_blocks(make, chunks=((10, 10), (10, 10)), dtype=np.uint8, meta=np.empty((0, 0), np.uint8))
    lazy = qorn.dask.opening(array, qorn.disk(2))
    found = qorn.dask.extrema(array)
    assert calls == []
    dask.compute(lazy, found.minimum, scheduler="sync")
    assert len(calls) == 4


def test_axes_and_threads() -> None:
    image = tiling.make_image(np.uint8, (3, 4, 6, 20, 30))
    array = da.from_array(image, (1, 2, 3, 20, 11))
    for axes in (None, "TZCYX"):
        lazy = qorn.dask.closing(array, qorn.ball(2), axes=axes)
        tiling.check_same(lazy.compute(scheduler="threads"), qorn.closing(image, qorn.ball(2), axes=axes))
    found = qorn.dask.extrema(array, "CT")
    tiling.check_same(found.maximum.compute(), qorn.extrema(image, "CT").maximum)


def test_extrema_are_a_tree() -> None:
    array = da.zeros((40, 40), chunks=(1, 1), dtype=np.uint8)
    graph = qorn.dask.extrema(array).minimum.__dask_graph__()
    most = max(len(keys) for keys in graph.get_all_dependencies().values())
    assert most <= 9
    image = tiling.without_nan(tiling.make_image(np.float32, (70, 80)))
    found = qorn.dask.extrema(da.from_array(image, (3, 5)))
    assert (float(found.minimum), float(found.maximum)) == qorn.extrema(image)


def test_extrema_without_numbers() -> None:
    image = np.full((4, 6), np.nan, np.float32)
    with pytest.raises(ValueError, match="no number"):
        qorn.dask.extrema(da.from_array(image, (2, 2))).minimum.compute(scheduler="sync")
    image[3, 5] = 4  # in one block only
    assert float(qorn.dask.extrema(da.from_array(image, (2, 2))).minimum.compute(scheduler="sync")) == 4


def test_processes() -> None:
    image = tiling.make_image(np.uint8)
    for client in tiling.make_client(2):
        lazy = qorn.dask.opening(da.from_array(image, (13, 16, 31)), qorn.ball(3))
        tiling.check_same(client.compute(lazy).result(), qorn.opening(image, qorn.ball(3)))


def test_refusals() -> None:
    array = da.zeros((4, 5), chunks=2, dtype=np.uint8)
    with pytest.raises(TypeError, match="dask array"):
        qorn.dask.dilation(np.zeros((4, 5), np.uint8), qorn.disk(1))
    with pytest.raises(TypeError, match="qorn.dask"):
        qorn.dilation(array, qorn.disk(1))  # type: ignore[type-var]
    with pytest.raises(TypeError, match="int64"):
        qorn.dask.dilation(da.zeros((4, 5), chunks=2, dtype=np.int64), qorn.disk(1))
    with pytest.raises(ValueError, match="3 axes"):
        qorn.dask.dilation(array, qorn.ball(1))
    with pytest.raises(ValueError, match="no voxels"):
        qorn.dask.extrema(da.zeros((0, 5), chunks=2, dtype=np.uint8))
    with pytest.raises(ValueError, match="shapes"):
        qorn.dask.logical(array, array[:3])
    with pytest.raises(ValueError, match="sizes"):
        qorn.dask.dilation(array[array[:, 0] > 0], qorn.disk(1))
    with pytest.raises(TypeError, match="extrema"):
        qorn.dask.run("IntensityExtrema", array)
