"""Views of every kind are read and written where they lie."""

from __future__ import annotations

from typing import Any

import numpy as np
import pytest
import support
from support import DTYPES, READ_VIEWS, VIEWS

import qorn

SHAPE = (6, 8, 21)
CROSS = np.array(list(support.neighbours(2)))


@pytest.fixture(autouse=True)
def addresses(monkeypatch: pytest.MonkeyPatch) -> list[int]:
    """Where the arrays lay that the core was given."""
    seen: list[int] = []
    run = qorn._core.run

    def watched(name: str, images: Any, *others: Any) -> Any:
        seen.extend(image.__array_interface__["data"][0] for image, _ in images)
        return run(name, images, *others)

    monkeypatch.setattr(qorn._core, "run", watched)
    return seen


def address(array: np.ndarray) -> int:
    return int(array.__array_interface__["data"][0])


def make_view(name: str, dtype: Any, seed: int) -> tuple[support.Guarded, np.ndarray]:
    """A view of random voxels and the memory around it."""
    rng = np.random.default_rng(seed)
    guarded = support.Guarded(rng, 20000)
    base = guarded.take(SHAPE, dtype, 65 if name == "unaligned" else 64)
    base[...] = support.random_image(rng, SHAPE, dtype)
    return guarded, {**VIEWS, **READ_VIEWS}[name](base)


def check_around(guarded: support.Guarded, before: np.ndarray, view: np.ndarray, expected: np.ndarray) -> None:
    """The view has what is expected, and the memory around it is what it was."""
    assert view.tobytes() == expected.tobytes()
    written = guarded.memory.copy()
    view[...] = 0
    zeroed = guarded.memory.copy()
    guarded.memory[...] = before
    view[...] = 0
    assert (zeroed == guarded.memory).all()
    guarded.memory[...] = written


@pytest.mark.parametrize("dtype", DTYPES, ids=str)
@pytest.mark.parametrize("name", [*VIEWS, *READ_VIEWS])
def test_apart(name: str, dtype: Any, addresses: list[int]) -> None:
    guarded, image = make_view(name, dtype, 1)
    before = guarded.memory.copy()
    expected = support.dilate(support.plain(image), CROSS)
    result = qorn.dilation(image, qorn.connectivity(4), copy=False)
    assert result.tobytes() == expected.tobytes() and result.dtype == image.dtype
    assert (guarded.memory == before).all()
    assert addresses == [address(image), address(result)]


@pytest.mark.parametrize("dtype", DTYPES, ids=str)
@pytest.mark.parametrize("name", VIEWS)
def test_into_a_view(name: str, dtype: Any, addresses: list[int]) -> None:
    guarded, out = make_view(name, dtype, 2)
    before = guarded.memory.copy()
    image = support.random_image(np.random.default_rng(3), out.shape, dtype)
    image.flags.writeable = False
    assert qorn.erosion(image, qorn.connectivity(4), out, copy=False) is out
    assert addresses == [address(image), address(out)]
    check_around(guarded, before, out, support.erode(image, CROSS))


@pytest.mark.parametrize("dtype", DTYPES, ids=str)
@pytest.mark.parametrize("name", VIEWS)
def test_in_place(name: str, dtype: Any, addresses: list[int]) -> None:
    guarded, image = make_view(name, dtype, 4)
    before = guarded.memory.copy()
    expected = support.dilate(support.plain(image), CROSS)
    qorn.dilation(image, qorn.connectivity(4), out=image, copy=False)
    assert addresses == [address(image)] * 2
    check_around(guarded, before, image, expected)


def test_copies_where_columns_are_apart() -> None:
    image = support.random_image(np.random.default_rng(5), (7, 9, 3), np.uint8)
    result = qorn.dilation(image, qorn.connectivity(4), axes="YXC")
    expected = support.dilate(support.plain(np.moveaxis(image, 2, 0)), CROSS)
    assert (np.moveaxis(result, 2, 0) == expected).all()
    columns = qorn.dilation(image[:, ::2, 0], qorn.connectivity(4))
    assert (columns == support.dilate(support.plain(image[:, ::2, 0]), CROSS)).all()


@pytest.mark.parametrize("letter", "HIhifd")
def test_swapped_bytes(letter: str) -> None:
    image = support.random_image(np.random.default_rng(6), (7, 9), letter)
    result = qorn.dilation(image.astype(">" + letter), qorn.connectivity(4))
    assert result.dtype == image.dtype and result.dtype.isnative
    assert (result == support.dilate(image, CROSS)).all()


@pytest.mark.parametrize("axes", ["TCZYX", "TZCYX", "ZYXT", "CYX", "TZYX"])
def test_named_axes(axes: str) -> None:
    sizes = {"C": 2, "T": 3, "Z": 4, "Y": 5, "X": 6}
    image = support.random_image(np.random.default_rng(7), tuple(sizes[one] for one in axes), np.int16)
    footprint = qorn.connectivity(6) if "Z" in axes else qorn.connectivity(4)
    order = [axes.index(one) for one in "CTZYX" if one in axes]
    expected = support.dilate(support.plain(image.transpose(order)), footprint.offsets())
    result = qorn.dilation(image, footprint, axes=axes)
    assert result.shape == image.shape and (result.transpose(order) == expected).all()


def test_no_voxels() -> None:
    for shape in [(0, 5), (5, 0), (3, 0, 4)]:
        assert qorn.opening(np.zeros(shape, np.uint8), qorn.disk(2)).shape == shape
