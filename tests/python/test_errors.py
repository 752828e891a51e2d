"""What is refused, and by which error. After each one `out` is what it was."""

from __future__ import annotations

from typing import Any, Callable

import numpy as np
import pytest

import qorn

FOOTPRINT = qorn.disk(1)
IMAGE = np.arange(12, dtype=np.uint8).reshape(3, 4)


def swapped() -> Any:
    return np.full((3, 4), 7, ">u2")


def read_only() -> Any:
    out = np.full((3, 4), 7, np.uint8)
    out.flags.writeable = False
    return out


OUTPUTS: dict[str, tuple[Any, Any, type[Exception]]] = {
    "read-only": (IMAGE, read_only(), ValueError),
    "another type": (IMAGE, np.full((3, 4), 7, np.int8), ValueError),
    "swapped bytes": (IMAGE.astype(np.uint16), swapped(), ValueError),
    "another shape": (IMAGE, np.full((4, 3), 7, np.uint8), ValueError),
    "columns apart": (IMAGE, np.full((3, 8), 7, np.uint8)[:, ::2], ValueError),
    "a row repeated": (IMAGE, np.lib.stride_tricks.as_strided(np.full(4, 7, np.uint8), (3, 4), (0, 1)), ValueError),
    "rows overlap": (IMAGE, np.lib.stride_tricks.as_strided(np.full(9, 7, np.uint8), (3, 4), (2, 1)), ValueError),
    "no array": (IMAGE, [[7] * 4] * 3, TypeError),
    "masked": (IMAGE, np.ma.masked_array(np.full((3, 4), 7, np.uint8)), TypeError),
}


@pytest.mark.parametrize("name", OUTPUTS)
def test_outputs(name: str) -> None:
    image, out, error = OUTPUTS[name]
    before = np.array(out)
    with pytest.raises(error):
        qorn.dilation(image, FOOTPRINT, out)
    assert (np.array(out) == before).all()


def test_output_that_overlaps_in_part() -> None:
    memory = np.arange(40, dtype=np.uint8).reshape(5, 8)
    before = memory.copy()
    with pytest.raises(ValueError):
        qorn.dilation(memory[:4], FOOTPRINT, memory[1:])
    assert (memory == before).all()


class Dask:
    """As if of another library."""


Dask.__module__ = "dask.array.core"

# Calls with an output that has to stay as it is.
CALLS: dict[str, tuple[type[Exception], str, Callable[[Any], Any]]] = {
    "float16": (TypeError, "float64", lambda out: qorn.dilation(IMAGE.astype(np.float16), FOOTPRINT, out)),
    "int64": (TypeError, "uint8, uint16", lambda out: qorn.dilation(IMAGE.astype(np.int64), FOOTPRINT, out)),
    "complex": (TypeError, "float64", lambda out: qorn.dilation(IMAGE.astype(complex), FOOTPRINT, out)),
    "object": (TypeError, "float64", lambda out: qorn.dilation(IMAGE.astype(object), FOOTPRINT, out)),
    "masked": (TypeError, "masked", lambda out: qorn.dilation(np.ma.masked_array(IMAGE), FOOTPRINT, out)),
    "a list": (TypeError, "list", lambda out: qorn.dilation(IMAGE.tolist(), FOOTPRINT, out)),
    "dask": (TypeError, "qorn.dask", lambda out: qorn.dilation(Dask(), FOOTPRINT, out)),
    "one axis": (ValueError, "2 to 5", lambda out: qorn.dilation(IMAGE[0], FOOTPRINT, out)),
    "six axes": (ValueError, "2 to 5", lambda out: qorn.dilation(np.zeros((1,) * 6, np.uint8), FOOTPRINT, out)),
    "axes twice": (ValueError, "once", lambda out: qorn.dilation(IMAGE, FOOTPRINT, out, axes="YY")),
    "axes too many": (ValueError, "ZYX", lambda out: qorn.dilation(IMAGE, FOOTPRINT, out, axes="ZYX")),
    "axes unknown": (ValueError, "YQ", lambda out: qorn.dilation(IMAGE, FOOTPRINT, out, axes="YQ")),
    "volume on plane": (ValueError, "named Z", lambda out: qorn.dilation(IMAGE, qorn.ball(1), out)),
    "empty footprint": (ValueError, "", lambda out: qorn.dilation(IMAGE, np.zeros((3, 3), bool), out)),
    "footprint of one axis": (ValueError, "2 or 3", lambda out: qorn.dilation(IMAGE, np.ones(3, bool), out)),
    "footprint too large": (ValueError, "1000000", lambda out: qorn.dilation(IMAGE, qorn.disk(2000), out)),
    "copy refused": (ValueError, "copy=False", lambda out: qorn.dilation(IMAGE.T, FOOTPRINT, out.T, copy=False)),
    "no threads": (ValueError, "at least 1", lambda out: qorn.dilation(IMAGE, FOOTPRINT, out, threads=0)),
    "threads of text": (TypeError, "int", lambda out: qorn.dilation(IMAGE, FOOTPRINT, out, threads="2")),
    "memory below 0": (TypeError, "", lambda out: qorn.dilation(IMAGE, FOOTPRINT, out, max_memory=-1)),
    "kind": (ValueError, "inner", lambda out: qorn.gradient(IMAGE, FOOTPRINT, out, kind="both")),
    "gradient's origin": (
        ValueError,
        "voxel itself",
        lambda out: qorn.gradient(IMAGE, qorn.box((1, 1), (0, 2)), out, kind="outer"),
    ),
    "value too large": (ValueError, "256 is no uint8", lambda out: qorn.logical(IMAGE, 256, "and", out)),
    "value below 0": (ValueError, "-1 is no uint8", lambda out: qorn.logical(IMAGE, -1, "and", out)),
    "value of 33 bits": (OverflowError, "32 bits", lambda out: qorn.logical(IMAGE, 2**32, "and", out)),
    "value of float": (TypeError, "", lambda out: qorn.logical(IMAGE, 1.5, "and", out)),
    "logic": (ValueError, "nxor", lambda out: qorn.logical(IMAGE, 1, "nant", out)),
    "logic of types": (TypeError, "int8", lambda out: qorn.logical(IMAGE, IMAGE.astype(np.int8), "and", out)),
    "logic of shapes": (ValueError, "shapes", lambda out: qorn.logical(IMAGE, IMAGE[:2], "and", out)),
    "logic of float": (TypeError, "bits", lambda out: qorn.logical(IMAGE.astype(np.float32), 1, "and", out)),
    "no weights": (ValueError, "empty", lambda out: qorn.correlate(IMAGE, np.zeros((0, 3)), out)),
    "weights of one axis": (ValueError, "2 or 3", lambda out: qorn.correlate(IMAGE, [1, 2], out)),
    "weights of text": (ValueError, "", lambda out: qorn.correlate(IMAGE, [["a"]], out)),
    "weights of a volume": (ValueError, "named Z", lambda out: qorn.correlate(IMAGE, [[[1]]], out)),
    "origin of weights": (ValueError, "origin", lambda out: qorn.correlate(IMAGE, [[1]], out, origin=[0])),
    "bool sums": (TypeError, "dtype=", lambda out: qorn.correlate(IMAGE > 3, [[1]])),
    "sums to bool": (TypeError, "bool", lambda out: qorn.correlate(IMAGE, [[1]], dtype=bool)),
    "sums to int64": (TypeError, "float64", lambda out: qorn.correlate(IMAGE, [[1]], dtype=np.int64)),
    "no voxels": (ValueError, "without voxels", lambda out: qorn.extrema(IMAGE[:0])),
    "no numbers": (ValueError, "no number", lambda out: qorn.extrema(np.full((2, 2), np.nan))),
    "per unknown": (ValueError, "per", lambda out: qorn.extrema(IMAGE, per="Z")),
    "per rows": (ValueError, "per", lambda out: qorn.extrema(IMAGE, per="Y")),
    "operator": (ValueError, "no operator", lambda out: qorn.run("Unknown", IMAGE, out)),
    "property": (ValueError, "no property", lambda out: qorn.run("Dilation2d", IMAGE, out, radius=1)),
    "value": (ValueError, "round", lambda out: qorn.run("Dilation2d", IMAGE, out, neighborhood="round")),
    "value's type": (TypeError, "integer", lambda out: qorn.run("Dilation2d", IMAGE, out, numberOfIterations="a")),
    "value's range": (ValueError, "-1", lambda out: qorn.run("Dilation2d", IMAGE, out, numberOfIterations=-1)),
    "missing": (ValueError, "element", lambda out: qorn.run("Dilate", IMAGE, out)),
    "images": (ValueError, "input", lambda out: qorn.run("Dilation2d", IMAGE, IMAGE, out)),
    "runner": (qorn.Error, "", lambda out: qorn.run("Dilation2d", IMAGE, out, runner="none")),
    "no runner": (qorn.Error, "", lambda out: qorn.run("LogicalOperationWithValue", IMAGE * 1.0, out * 1.0, value=1)),
}


@pytest.mark.parametrize("name", CALLS)
def test_calls(name: str) -> None:
    error, part, call = CALLS[name]
    out = np.full((3, 4), 77, np.uint8)
    with pytest.raises(error) as caught:
        call(out)
    assert part in str(caught.value) and type(caught.value) is error
    assert "\n" not in str(caught.value) or error is TypeError
    assert (out == 77).all()


@pytest.mark.parametrize(
    "make",
    [
        lambda: qorn.connectivity(5), lambda: qorn.disk(-1), lambda: qorn.line(3, float("nan")),
        lambda: qorn.box((0, 1)),
        lambda: qorn.box((3,)), lambda: qorn.box((3, 3), (1,)), lambda: qorn.ellipse(-1, (1, 1)),
        lambda: qorn.ellipsoid(3, (1, 1)), lambda: qorn.Footprint("disc(3)"), lambda: qorn.mask(np.ones((1,) * 4)),
        lambda: qorn.mask(np.ones((2, 2)), (1,)),
    ],
)  # fmt: skip
def test_footprints(make: Callable[[], Any]) -> None:
    with pytest.raises(ValueError):
        make()


def test_types_of_footprints() -> None:
    for make in (lambda: qorn.disk(1.5), lambda: qorn.connectivity("4"), lambda: qorn.mask([[1]], [0.5, 0])):
        with pytest.raises(TypeError):
            make()
    with pytest.raises(AttributeError):
        qorn.disk(1).text = "disk(2)"  # type: ignore[misc]


def test_memory() -> None:
    image = np.zeros((512, 512), np.uint8)
    with pytest.raises((MemoryError, OSError)):
        import resource

        limit = resource.getrlimit(resource.RLIMIT_FSIZE)
        resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 10, limit[1]))
        try:
            qorn.gradient(image, qorn.disk(1), image, max_memory=0)  # one temporary image, on disk
        finally:
            resource.setrlimit(resource.RLIMIT_FSIZE, limit)
    assert (image == 0).all()
