"""Footprints: their voxels, their own form, and what is made of arrays."""

from __future__ import annotations

import pickle
from typing import Any

import numpy as np
import pytest
import support

import qorn

FOOTPRINTS = [
    qorn.connectivity(4), qorn.connectivity(8, 3), qorn.connectivity(18, 2), qorn.disk(4), qorn.disk(3, fast=True),
    qorn.ball(2), qorn.ball(3, fast=True), qorn.line(4, 30), qorn.line3d(4, 20, 50), qorn.disk3d(3, 20, 35),
    qorn.box((2, 3)), qorn.box((2, 3, 4), (0, 5, -1)), qorn.ellipse(4, (2, 0.75)), qorn.ellipsoid(4, (2.5, 1, 1)),
    qorn.mask([[1, 1, 0], [0, 0, 1]]), qorn.mask(np.eye(3), (4, -2)),
]  # fmt: skip


@pytest.mark.parametrize("footprint", FOOTPRINTS, ids=lambda one: one.text)
def test_is_a_value(footprint: qorn.Footprint) -> None:
    twin = pickle.loads(pickle.dumps(footprint))
    assert twin == footprint and hash(twin) == hash(footprint) and twin is not footprint
    assert qorn.Footprint(footprint.text) == footprint
    assert footprint != qorn.disk(9) and footprint != footprint.text
    assert (np.asarray(footprint) == footprint.mask()).all()
    offsets = footprint.offsets()
    assert {tuple(one) for one in footprint.mirrored.offsets()} == {tuple(-one) for one in offsets}
    reach = [(max(0, -one.min()), max(0, one.max())) for one in offsets.T]
    assert list(footprint.margins) == reach
    lines = repr(footprint).split("\n")
    assert lines[0].startswith(f'Footprint("{footprint.text}"), {len(offsets)} voxel')
    assert len(lines) == 1 or "".join(lines[1:]).count("#") == len(offsets)


@pytest.mark.parametrize("footprint", FOOTPRINTS, ids=lambda one: one.text)
def test_its_array_is_the_same(footprint: qorn.Footprint) -> None:
    image = support.random_image(np.random.default_rng(1), (7, 11, 13), np.uint8)
    result = qorn.dilation(image, footprint)
    assert (result == qorn.dilation(image, footprint.mask())).all()
    assert (result == support.dilate(image, footprint.offsets())).all()
    assert (qorn.element(footprint) == footprint.mask()).all()


def test_arrays_of_neighbours() -> None:
    """500 masks, with origins outside among them, against plain loops and scipy."""
    ndimage = pytest.importorskip("scipy.ndimage")
    rng = np.random.default_rng(2)
    for _ in range(500):
        ndim = int(rng.integers(2, 4))
        array = rng.random(tuple(rng.integers(1, 6, ndim))) < 0.4
        array.flat[rng.integers(array.size)] = True
        dtype = support.DTYPES[int(rng.integers(1, 9))]
        image = support.random_image(rng, tuple(rng.integers(1, 12, ndim)), dtype)
        beyond = support.lowest(dtype)
        expected = ndimage.maximum_filter(image, footprint=array, mode="constant", cval=beyond)
        assert (qorn.dilation(image, array) == expected).all()
        origin = rng.integers(-4, 9, ndim)
        offsets = np.argwhere(array) - origin
        footprint = qorn.mask(array, origin.tolist())
        assert (qorn.dilation(image, footprint) == support.dilate(image, offsets)).all()


def test_ellipsoids() -> None:
    rng = np.random.default_rng(3)
    for _ in range(50):
        radius, spacing = rng.uniform(0, 6), rng.uniform(0.7, 3, 3)
        reach = np.floor(radius / spacing).astype(int)
        grid = np.stack(np.meshgrid(*(np.arange(-one, one + 1) for one in reach), indexing="ij"), -1).reshape(-1, 3)
        inside = grid[((grid * spacing) ** 2).sum(axis=1) <= radius**2]
        assert (qorn.ellipsoid(radius, tuple(spacing)).offsets() == inside).all()
        inside = inside[inside[:, 0] == 0][:, 1:]
        assert (qorn.ellipse(radius, tuple(spacing[1:])).offsets() == inside).all()


def test_disks_are_those_of_scikit_image() -> None:
    morphology = pytest.importorskip("skimage.morphology")
    for radius in range(9):
        assert (qorn.disk(radius).mask() == morphology.disk(radius)).all()
        assert (qorn.ball(radius).mask() == morphology.ball(radius)).all()


@pytest.mark.parametrize(
    "call",
    [
        ("DilationDisk2d", {"radius": 3, "shapeMode": "fast"}, qorn.disk(3, fast=True)),
        ("ErosionBall3d", {"radius": 2, "shapeMode": "exact"}, qorn.ball(2)),
        ("DilationLine2d", {"lineSize": 5, "lineAngle": 30}, qorn.line(5, 30)),
        ("Dilation3d", {"numberOfIterations": 2, "neighborhood": "edges"}, qorn.connectivity(18, 2)),
        ("Erode", {"element": "box(2, 3)"}, qorn.box((2, 3))),
    ],
)
def test_operators_by_name(call: Any) -> None:
    name, properties, footprint = call
    image = support.random_image(np.random.default_rng(4), (6, 9, 11), np.int16)
    friendly = qorn.erosion if name.startswith("Ero") else qorn.dilation
    expected = friendly(image, footprint)
    out = np.zeros_like(image)
    assert qorn.run(name, image, out, **properties) is out
    assert (out == expected).all()
    assert np.array_equal(qorn.run(name, image, runner="", **properties), expected)
    mask = footprint.mask()
    assert (qorn.element(name, **properties) == (mask if mask.ndim == 3 else mask[np.newaxis])).all()


def test_every_operator_is_described() -> None:
    names = [one.name for one in qorn.operators()]
    assert len(names) == len(set(names)) >= 28
    for one in qorn.operators():
        assert one.help and one.category and all(each.help for each in one.properties)
        assert qorn.runners(one.name)
