"""Expected results by plain loops over offsets, and arrays that lie in memory in many ways."""

from __future__ import annotations

import os
from typing import Any, Callable, Iterator

import numpy as np

DTYPES = [np.dtype(letter) for letter in "?BHIbhifd"]


def lowest(dtype: np.dtype[Any]) -> Any:
    """What lies beyond the edge of a dilation."""
    if dtype == bool:
        return False
    return np.finfo(dtype).min if dtype.kind == "f" else np.iinfo(dtype).min


def highest(dtype: np.dtype[Any]) -> Any:
    if dtype == bool:
        return True
    return np.finfo(dtype).max if dtype.kind == "f" else np.iinfo(dtype).max


def fold(image: np.ndarray, offsets: np.ndarray, function: Any, beyond: Any) -> np.ndarray:
    """The function over all voxels that lie at an offset; offsets are of the last axes."""
    offsets = np.asarray(offsets)
    pad = np.zeros(image.ndim, int)
    pad[image.ndim - offsets.shape[1] :] = np.abs(offsets).max(axis=0, initial=0)
    padded = np.pad(image, [(one, one) for one in pad], constant_values=beyond)
    result = np.full(image.shape, beyond, image.dtype)
    for offset in offsets:
        start = pad.copy()
        start[image.ndim - len(offset) :] += offset
        part = tuple(slice(one, one + size) for one, size in zip(start, image.shape))
        result = function(result, padded[part])
    return result


def dilate(image: np.ndarray, offsets: np.ndarray) -> np.ndarray:
    return fold(image, offsets, np.maximum, lowest(image.dtype))


def erode(image: np.ndarray, offsets: np.ndarray) -> np.ndarray:
    return fold(image, offsets, np.minimum, highest(image.dtype))


def open_(image: np.ndarray, offsets: np.ndarray) -> np.ndarray:
    return dilate(erode(image, offsets), -np.asarray(offsets))


def close(image: np.ndarray, offsets: np.ndarray) -> np.ndarray:
    return erode(dilate(image, offsets), -np.asarray(offsets))


def subtract(a: np.ndarray, b: np.ndarray) -> np.ndarray:
    """a - b >= 0, in the type that holds it."""
    if a.dtype == bool:
        return a & ~b
    if a.dtype.kind == "f":
        return a - b
    return (a.astype(np.int64) - b).astype(a.dtype.str.replace("i", "u"))


def correlate(image: np.ndarray, weights: np.ndarray, origin: tuple[int, ...]) -> np.ndarray:
    """By integers, mirrored at the edges; weights are of the last axes. Axes may be short."""
    result = np.zeros(image.shape, np.int64)
    for place, weight in np.ndenumerate(weights):
        part = image.astype(np.int64)
        for axis, (position, centre) in enumerate(zip(place, origin), image.ndim - weights.ndim):
            index = np.arange(image.shape[axis]) + position - centre
            period = max(1, 2 * (image.shape[axis] - 1))
            index = np.abs((index + period // 2) % period - period // 2) if image.shape[axis] > 1 else index * 0
            part = part.take(index, axis)
        result += int(weight) * part
    return result


def random_image(rng: np.random.Generator, shape: tuple[int, ...], dtype: Any) -> np.ndarray:
    """Voxels of the whole range of a type."""
    dtype = np.dtype(dtype)
    if dtype == bool:
        return rng.random(shape) < 0.5
    if dtype.kind == "f":
        return rng.normal(0, 1e3, shape).astype(dtype)
    return rng.integers(np.iinfo(dtype).min, np.iinfo(dtype).max, shape, dtype, endpoint=True)


def plain(array: np.ndarray) -> np.ndarray:
    """A packed copy that may be written to."""
    return np.array(array, order="C")


class Guarded:
    """Memory around arrays that must not change."""

    def __init__(self, rng: np.random.Generator, nb_bytes: int) -> None:
        self.memory = rng.integers(0, 256, nb_bytes, np.uint8)

    def take(self, shape: tuple[int, ...], dtype: Any, offset: int) -> np.ndarray:
        count = int(np.prod(shape)) * np.dtype(dtype).itemsize
        return self.memory[offset : offset + count].view(dtype).reshape(shape)


VIEWS: dict[str, Callable[[np.ndarray], np.ndarray]] = {
    "packed": lambda a: a,
    "rows reversed": lambda a: a[:, ::-1],
    "planes reversed": lambda a: a[::-1],
    "both reversed": lambda a: a[::-1, ::-1],
    "every second row": lambda a: a[:, ::2],
    "every second plane": lambda a: a[1::2],
    "reversed and stepped": lambda a: a[::-2, ::-3],
    "window": lambda a: a[1:-1, 2:-1, 3:-2],
    "planes and rows exchanged": lambda a: a.transpose(1, 0, 2),
    "one plane": lambda a: a[2],
    "one row of each plane": lambda a: a[:, 3],
    "one column": lambda a: a[:, :, 4:5],
    "one plane reversed": lambda a: a[1, ::-1, 1:],
    "five axes": lambda a: a.reshape(3, 2, *a.shape[1:])[:, ::-1, np.newaxis],
    "unaligned": lambda a: a,
}
# These can only be read.
READ_VIEWS: dict[str, Callable[[np.ndarray], np.ndarray]] = {
    "planes repeated": lambda a: np.broadcast_to(a[1], a.shape),
    "rows repeated": lambda a: np.broadcast_to(a[:, 2:3], a.shape),
}


# Whether repeated tests are repeated as often as they ever are.
LONG = bool(os.environ.get("QORN_LONG_TESTS"))


def wait_factor() -> float:
    """How much longer things may take on a busy machine."""
    return max(1.0, 2 * os.getloadavg()[0] / (os.cpu_count() or 1))


def neighbours(ndim: int) -> Iterator[tuple[int, ...]]:
    """The offsets of a cross."""
    yield (0,) * ndim
    for axis in range(ndim):
        for step in (-1, 1):
            yield tuple(step if one == axis else 0 for one in range(ndim))
