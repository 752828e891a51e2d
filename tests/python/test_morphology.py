"""What openings, closings and differences promise."""

from __future__ import annotations

from typing import Any

import numpy as np
import pytest
import support

import qorn

FOOTPRINTS = [
    qorn.connectivity(4), qorn.connectivity(8, 2), qorn.disk(3), qorn.disk(2, fast=True), qorn.line(4, 0),
    qorn.line(4, 30), qorn.line(7, -50), qorn.box((2, 5)), qorn.box((4, 4)), qorn.ellipse(3, (1.5, 1)),
    qorn.mask([[1, 1, 0], [0, 0, 1]]), qorn.mask([[1, 0], [1, 1]], (2, 0)), qorn.ball(2), qorn.line3d(4, 20, 50),
    qorn.mask([[[1, 0], [0, 1]], [[0, 1], [1, 1]]]),
]  # fmt: skip
TYPES = [dtype for dtype in support.DTYPES if dtype != bool]


@pytest.mark.parametrize("dtype", TYPES, ids=str)
@pytest.mark.parametrize("footprint", FOOTPRINTS, ids=lambda one: one.text)
def test_openings_and_closings(footprint: qorn.Footprint, dtype: Any) -> None:
    image = support.random_image(np.random.default_rng(1), (5, 12, 17), dtype)
    opened, closed = qorn.opening(image, footprint), qorn.closing(image, footprint)
    assert (opened <= image).all() and (closed >= image).all()
    assert (qorn.opening(opened, footprint) == opened).all()
    assert (qorn.closing(closed, footprint) == closed).all()
    assert (opened == support.open_(image, footprint.offsets())).all()
    negative = ~image if dtype.kind != "f" else -image
    dual = qorn.closing(negative, footprint)
    assert ((~dual if dtype.kind != "f" else -dual) == opened).all()


def test_the_mirror_is_needed() -> None:
    """What the laws above say of the second step: without the mirrored footprint they fail."""
    image = support.random_image(np.random.default_rng(1), (12, 17), np.uint8)
    line = qorn.line(4, 0)
    opened = qorn.dilation(qorn.erosion(image, line), line)
    assert (opened > image).any()
    assert (qorn.dilation(qorn.erosion(opened, line), line) != opened).any()


@pytest.mark.parametrize("dtype", [np.int8, np.int16, np.int32])
def test_differences_of_signed_integers(dtype: Any) -> None:
    low, high = np.iinfo(dtype).min, np.iinfo(dtype).max
    image = np.random.default_rng(2).choice(np.array([low, -1, 0, 1, high], dtype), (20, 30))
    footprint = qorn.disk(1)
    wide = image.astype(np.int64)
    dilated, eroded = (one(image, footprint).astype(np.int64) for one in (qorn.dilation, qorn.erosion))
    opened, closed = (one(image, footprint).astype(np.int64) for one in (qorn.opening, qorn.closing))
    unsigned = np.dtype(dtype).str.replace("i", "u")
    for result, expected in [
        (qorn.gradient(image, footprint), dilated - eroded),
        (qorn.gradient(image, footprint, kind="outer"), dilated - wide),
        (qorn.gradient(image, footprint, kind="inner"), wide - eroded),
        (qorn.white_tophat(image, footprint), wide - opened),
        (qorn.black_tophat(image, footprint), closed - wide),
    ]:
        assert result.dtype == unsigned and (result == expected).all()
    assert qorn.gradient(image, footprint).max() == high - low


def test_bool_images() -> None:
    ndimage = pytest.importorskip("scipy.ndimage")
    image = np.random.default_rng(3).random((60, 70)) < 0.01
    expected = ndimage.binary_dilation(image, ndimage.generate_binary_structure(2, 1), iterations=60)
    assert (qorn.dilation(image, qorn.connectivity(4, 60)) == expected).all()
    assert qorn.gradient(image, qorn.disk(1)).dtype == bool


def test_no_step_copies() -> None:
    image = support.random_image(np.random.default_rng(4), (9, 9), np.uint8)
    for footprint in (qorn.connectivity(8, 0), qorn.disk(0, fast=True), qorn.disk(0)):
        assert (qorn.dilation(image, footprint) == image).all()
        assert (qorn.gradient(image, footprint) == 0).all()


CALLS = [
    (qorn.dilation, (qorn.line(4, 30),), {}), (qorn.erosion, (qorn.ball(2),), {}),
    (qorn.opening, (qorn.line(4, 0),), {}),
    (qorn.black_tophat, (qorn.mask([[1, 0], [1, 1]], (2, 0)),), {}),
    (qorn.gradient, (qorn.disk(2),), {"kind": "outer"}),
    (qorn.correlate, (np.arange(6).reshape(1, 6),), {"origin": (0, 0)}),
    (qorn.run, ("DilationBall3d",), {"radius": 3}), (qorn.logical, (5,), {}),
]  # fmt: skip


@pytest.mark.parametrize("call", CALLS, ids=lambda call: call[0].__name__)
def test_margins(call: Any) -> None:
    """A part with its margins has the bits of the whole."""
    function, args, keywords = call
    rng = np.random.default_rng(5)
    image = support.random_image(rng, (12, 20, 25), np.uint8)

    def compute(part: np.ndarray) -> np.ndarray:
        if function is qorn.run:
            return np.asarray(qorn.run(args[0], part, **keywords))
        return np.asarray(function(part, *args, **keywords))

    whole = compute(image)
    pairs = qorn.margins(function, *args, ndim=3, **keywords)
    for _ in range(20):
        start = [int(rng.integers(0, size)) for size in image.shape]
        stop = [int(rng.integers(one + 1, size + 1)) for one, size in zip(start, image.shape)]
        first = [max(0, one - before) for one, (before, _) in zip(start, pairs)]
        last = [min(size, one + after) for one, (_, after), size in zip(stop, pairs, image.shape)]
        part = compute(image[tuple(slice(one, two) for one, two in zip(first, last))])
        inside = tuple(slice(one - from_, two - from_) for one, two, from_ in zip(start, stop, first))
        assert (part[inside] == whole[tuple(slice(one, two) for one, two in zip(start, stop))]).all()


def test_margins_of_axes() -> None:
    assert qorn.margins(qorn.opening, qorn.line(4, 0), ndim=4, axes="XTYZ") == ((3, 3), (0, 0), (0, 0), (0, 0))
    assert qorn.margins(qorn.extrema, ndim=2) == ((0, 0), (0, 0))
    with pytest.raises(TypeError):
        qorn.margins(np.max, ndim=2)
