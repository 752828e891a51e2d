"""Random calls against plain loops."""

from __future__ import annotations

from typing import Any, Callable

import numpy as np
import pytest
import support
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st
from support import DTYPES

import qorn

SETTINGS = settings(
    max_examples=2000, deadline=None, database=None, print_blob=True, suppress_health_check=list(HealthCheck)
)
AXES = ["YX", "ZYX", "TYX", "TZYX", "CTZYX", "TCZYX", "CYX"]
Oracle = Callable[[np.ndarray, np.ndarray], np.ndarray]
MORPHOLOGY: dict[str, tuple[Callable[..., Any], Oracle]] = {
    "dilation": (qorn.dilation, support.dilate),
    "erosion": (qorn.erosion, support.erode),
    "opening": (qorn.opening, support.open_),
    "closing": (qorn.closing, support.close),
    "white_tophat": (qorn.white_tophat, lambda f, b: support.subtract(f, support.open_(f, b))),
    "black_tophat": (qorn.black_tophat, lambda f, b: support.subtract(support.close(f, b), f)),
    "gradient": (qorn.gradient, lambda f, b: support.subtract(support.dilate(f, b), support.erode(f, b))),
}


def draw_image(rng: np.random.Generator, axes: str, dtype: np.dtype[Any]) -> np.ndarray:
    """An image as a view with random sizes and strides."""
    shape = tuple(int(rng.integers(1, 9 if letter in "YX" else 4)) for letter in axes)
    steps = [int(rng.choice([1, 2, -1, -2])) for _ in axes]
    if axes[-1] == "X" and rng.random() < 0.8:
        steps[-1] = 1
    order = rng.permutation(len(axes) - 1) if rng.random() < 0.5 else np.arange(len(axes) - 1)
    base = np.empty([shape[i] * abs(steps[i]) for i in [*order, len(axes) - 1]], dtype)
    view = base.transpose([*np.argsort(order), len(axes) - 1])[tuple(slice(None, None, step) for step in steps)]
    view = view[tuple(slice(size) for size in shape)]
    view[...] = support.random_image(rng, view.shape, dtype)
    return view


def in_order(array: np.ndarray, axes: str) -> np.ndarray:
    """The axes as C, T, Z, Y, X; a plane of an image without Z is one of one plane."""
    moved = array.transpose([axes.index(letter) for letter in "CTZYX" if letter in axes])
    return moved if "Z" in axes else np.expand_dims(moved, moved.ndim - 2)


def draw_footprint(rng: np.random.Generator, is_volume: bool) -> qorn.Footprint:
    makers: list[Callable[[], qorn.Footprint]] = [
        lambda: qorn.connectivity(int(rng.choice([4, 8])), int(rng.integers(0, 4))),
        lambda: qorn.disk(int(rng.integers(0, 4)), fast=bool(rng.integers(2))),
        lambda: qorn.line(int(rng.integers(1, 7)), float(rng.uniform(-400, 400))),
        lambda: qorn.box(rng.integers(1, 5, 2).tolist(), rng.integers(-3, 4, 2).tolist()),
        lambda: qorn.ellipse(rng.uniform(0, 4), tuple(rng.uniform(0.5, 3, 2))),
        lambda: qorn.mask(np.pad(rng.random((3, 4)) < 0.4, 1, constant_values=True), rng.integers(-3, 9, 2).tolist()),
    ]
    if is_volume:
        makers += [
            lambda: qorn.connectivity(int(rng.choice([6, 18, 26])), int(rng.integers(0, 3))),
            lambda: qorn.ball(int(rng.integers(0, 3)), fast=bool(rng.integers(2))),
            lambda: qorn.line3d(int(rng.integers(1, 6)), *rng.uniform(-200, 200, 2)),
            lambda: qorn.disk3d(int(rng.integers(0, 4)), *rng.uniform(-200, 200, 2)),
            lambda: qorn.box(rng.integers(1, 4, 3).tolist()),
            lambda: qorn.ellipsoid(rng.uniform(0, 3), tuple(rng.uniform(0.5, 3, 3))),
            lambda: qorn.mask(np.pad(rng.random((2, 1, 2)) < 0.5, [(0, 1)] * 3, constant_values=True)),
        ]
    return makers[int(rng.integers(len(makers)))]()


def check(result: np.ndarray, expected: np.ndarray, axes: str) -> None:
    assert result.dtype == expected.dtype
    assert np.array_equal(in_order(result, axes), expected)


def draw_out(rng: np.random.Generator, shape: tuple[int, ...], dtype: np.dtype[Any]) -> np.ndarray | None:
    """None, or an array of values that no result should keep. New arrays often hold earlier results of a size."""
    return None if rng.random() < 0.5 else np.full(shape, rng.integers(1, 100), dtype)


def morphology(rng: np.random.Generator, name: str, axes: str, dtype: np.dtype[Any]) -> None:
    function, oracle = MORPHOLOGY[name]
    image = draw_image(rng, axes, dtype)
    footprint = draw_footprint(rng, "Z" in axes)
    offsets = footprint.offsets()
    volume = np.pad(offsets, [(0, 0), (3 - offsets.shape[1], 0)])
    with np.errstate(over="ignore"):
        expected = oracle(support.plain(in_order(image, axes)), volume)
    if name == "gradient":  # 0 where no voxel of the footprint lies in the image
        ones = support.dilate(np.ones(in_order(image, axes).shape, bool), volume)
        expected = np.where(ones, expected, expected.dtype.type(0))
    out = draw_out(rng, image.shape, expected.dtype)
    check(function(image, footprint, out, axes=axes), expected, axes)
    if expected.dtype == dtype and image.shape[axes.index("X")] * image.itemsize == image.itemsize * image.shape[-1]:
        columns = axes.index("X")
        if image.strides[columns] == image.itemsize or image.shape[columns] == 1:
            assert function(image, footprint, out=image, axes=axes) is image
            check(image, expected, axes)


def correlation(rng: np.random.Generator, axes: str, dtype: np.dtype[Any]) -> None:
    image = draw_image(rng, axes, dtype)
    image[...] = rng.integers(0, 2 if dtype == bool else 100, image.shape)
    weights = rng.integers(-4, 5, tuple(rng.integers(1, 4, 3 if "Z" in axes and rng.random() < 0.5 else 2)))
    origin = tuple(int(rng.integers(0, size)) for size in weights.shape) if rng.random() < 0.5 else None
    centre = origin or tuple(size // 2 for size in weights.shape)
    sums = support.correlate(in_order(image, axes), weights, centre)
    target = DTYPES[int(rng.integers(1, len(DTYPES)))]
    if target.kind != "f":
        sums = sums.clip(np.iinfo(target).min, np.iinfo(target).max)
    out = draw_out(rng, image.shape, target)
    check(qorn.correlate(image, weights, out, origin=origin, dtype=target, axes=axes), sums.astype(target), axes)


LOGIC: dict[str, Callable[[Any, Any], Any]] = {
    "and": lambda a, b: a & b, "or": lambda a, b: a | b, "xor": lambda a, b: a ^ b, "nand": lambda a, b: ~(a & b),
    "nor": lambda a, b: ~(a | b), "nxor": lambda a, b: ~(a ^ b), "andnot": lambda a, b: a & ~b,
}  # fmt: skip


def logic(rng: np.random.Generator, op: str, axes: str, dtype: np.dtype[Any]) -> None:
    a = draw_image(rng, axes, dtype)
    b: Any = support.random_image(rng, a.shape, dtype)
    out = draw_out(rng, a.shape, dtype)
    if rng.random() < 0.5:
        number = b.flat[0]
        check(
            qorn.logical(a, number, op, out, axes=axes), in_order(LOGIC[op](a, np.full(a.shape, number)), axes), axes
        )
    else:
        check(qorn.logical(a, b, op, out, axes=axes), in_order(LOGIC[op](a, b), axes), axes)


def measure(rng: np.random.Generator, axes: str, dtype: np.dtype[Any]) -> None:
    image = draw_image(rng, axes, dtype)
    per = "".join(letter for letter in axes if letter in "CTZ" and rng.random() < 0.5)
    others = tuple(axis for axis, letter in enumerate(axes) if letter not in per)
    found = qorn.extrema(image, per="".join(reversed(per)), axes=axes)
    for result, expected in [(found.minimum, image.min(axis=others)), (found.maximum, image.max(axis=others))]:
        assert np.shape(result) == np.shape(expected) and np.array_equal(result, expected)
        assert np.asarray(result).dtype == dtype


@SETTINGS
@given(
    st.integers(0, 2**32 - 1),
    st.sampled_from([*MORPHOLOGY, "correlate", "logical", "extrema"]),
    st.sampled_from(AXES),
    st.sampled_from(DTYPES),
)
def test_random_calls(seed: int, name: str, axes: str, dtype: np.dtype[Any]) -> None:
    rng = np.random.default_rng(seed)
    if name in MORPHOLOGY:
        morphology(rng, name, axes, dtype)
    elif name == "correlate":
        correlation(rng, axes, dtype)
    elif name == "extrema":
        measure(rng, axes, dtype)
    elif dtype.kind != "f":
        logic(rng, str(rng.choice(list(LOGIC))), axes, dtype)


@pytest.mark.parametrize("dtype", [np.float32, np.float64])
def test_sums_of_reals(dtype: Any) -> None:
    rng = np.random.default_rng(1)
    image = rng.random((9, 20, 30)).astype(dtype)
    weights = rng.random((5, 5))
    volume = qorn.correlate(image, weights)
    for plane, expected in zip(image, volume):
        assert np.array_equal(qorn.correlate(plane, weights), expected)  # with the same bits
    ndimage = pytest.importorskip("scipy.ndimage")
    expected = ndimage.correlate(image[0].astype(np.float64), weights, mode="mirror")
    np.testing.assert_allclose(volume[0], expected, rtol=1e-5 if dtype == np.float32 else 1e-13)
