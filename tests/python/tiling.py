"""Calls of every operator and composition, and stores for them."""

from __future__ import annotations

import os
from typing import Any, Callable, Iterator, NamedTuple, Optional

import numpy as np
import support
import zarr

import qorn

SHAPE = (37, 41, 53)
TILINGS = [(37, 41, 14), (19, 21, 53), (13, 29, 31)]
DTYPES = [np.dtype(letter) for letter in "BHIbhifd"]

KERNEL = np.array([[0.25, -1.5, 0.5], [2.0, 0.125, 0.75]])
TAPS = np.array([[[0.5, -1.0]], [[2.0, 0.25]], [[1.0, -0.5]]])
MASK = np.array([[[1, 0, 1], [0, 1, 1]], [[0, 1, 0], [1, 0, 0]]])


class Case(NamedTuple):
    """A function with its arguments. `second`: whether it has two images."""

    function: Callable[..., Any]
    args: tuple[Any, ...] = ()
    keywords: dict[str, Any] = {}
    second: bool = False

    def takes(self, dtype: np.dtype[Any]) -> bool:
        name = self.args[0] if self.function is qorn.run else self.function.__name__
        return dtype.kind != "f" or not name.lower().startswith("logical")

    def whole(self, image: Any, second: Any) -> Any:
        """The function on whole arrays."""
        args = list(self.args)
        if self.function is qorn.run:
            return qorn.run(args[0], image, *([second] if self.second else []), **self.keywords)
        return self.function(image, *([second] if self.second else []), *args, **self.keywords)

    def stored_args(self, second: str) -> tuple[Any, ...]:
        """The arguments for stores."""
        if not self.second:
            return self.args
        if self.function is qorn.run:
            return (*self.args, second)
        return (second, *self.args)


def operator(name: str, second: bool = False, **properties: Any) -> Case:
    return Case(qorn.run, (name,), properties, second)


CASES = {
    "FiniteImpulseResponseFilter2D": operator("FiniteImpulseResponseFilter2D", kernel=KERNEL),
    "FiniteImpulseResponseFilter3D": operator("FiniteImpulseResponseFilter3D", kernel=TAPS),
    "Dilation2d": operator("Dilation2d", neighborhood="cross", numberOfIterations=3),
    "Erosion2d": operator("Erosion2d", neighborhood="square", numberOfIterations=2),
    "Dilation3d": operator("Dilation3d", neighborhood="edges", numberOfIterations=2),
    "Erosion3d": operator("Erosion3d", neighborhood="faces", numberOfIterations=3),
    "DilationBall3d": operator("DilationBall3d", radius=3, shapeMode="exact"),
    "ErosionBall3d": operator("ErosionBall3d", radius=4, shapeMode="fast"),
    "DilationDisk2d": operator("DilationDisk2d", radius=4, shapeMode="fast"),
    "ErosionDisk2d": operator("ErosionDisk2d", radius=5, shapeMode="exact"),
    "DilationDisk3d": operator("DilationDisk3d", radius=3, firstAngle=20, secondAngle=30),
    "ErosionDisk3d": operator("ErosionDisk3d", radius=3, firstAngle=70, secondAngle=10),
    "DilationLine2d": operator("DilationLine2d", lineSize=6, lineAngle=30),
    "ErosionLine2d": operator("ErosionLine2d", lineSize=4, lineAngle=100),
    "DilationLine3d": operator("DilationLine3d", lineSize=6, firstAngle=30, secondAngle=45),
    "ErosionLine3d": operator("ErosionLine3d", lineSize=4, firstAngle=80, secondAngle=20),
    "LogicalOperationWithImage": operator("LogicalOperationWithImage", True, logicalOperator="xor"),
    "LogicalOperationWithValue": operator("LogicalOperationWithValue", value=85, logicalOperator="andnot"),
    "extrema": Case(qorn.extrema, (), {"per": "Z"}),
    "dilation": Case(qorn.dilation, (qorn.mask(MASK),)),
    "erosion": Case(qorn.erosion, (qorn.ellipsoid(3, (2, 1, 1)),)),
    "opening": Case(qorn.opening, (qorn.line(4, 0),)),
    "closing": Case(qorn.closing, (qorn.ball(2),)),
    "white_tophat": Case(qorn.white_tophat, (qorn.disk(3),)),
    "black_tophat": Case(qorn.black_tophat, (qorn.mask(MASK),)),
    "gradient": Case(qorn.gradient, (qorn.connectivity(26),)),
    "outer gradient": Case(qorn.gradient, (qorn.line3d(4, 0, 90),), {"kind": "outer"}),
    "correlate": Case(qorn.correlate, (KERNEL,), {"dtype": np.float32}),
    "logical": Case(qorn.logical, (), {"op": "nor"}, True),
}


def make_image(dtype: Any, shape: tuple[int, ...] = SHAPE, seed: int = 1) -> np.ndarray:
    """Voxels of the whole range, and among reals those that aren't ordinary."""
    rng = np.random.default_rng(seed)
    image = support.random_image(rng, shape, dtype)
    if image.dtype.kind == "f":
        for value in (np.nan, np.inf, -np.inf, -0.0, 0.0):
            image[tuple(rng.integers(0, size, 25) for size in shape)] = value
    return image


def without_nan(image: np.ndarray) -> np.ndarray:
    return np.nan_to_num(image, nan=7, posinf=1e30, neginf=-1e30) if image.dtype.kind == "f" else image


def save(path: Any, image: np.ndarray, chunks: tuple[int, ...], **options: Any) -> str:
    array = zarr.open_array(
        str(path), mode="w", shape=image.shape, chunks=chunks, dtype=image.dtype, fill_value=0, **options
    )
    array[...] = image
    return str(path)


def load(path: Any) -> np.ndarray:
    return np.asarray(zarr.open_array(str(path), mode="r")[...])


def check_same(result: np.ndarray, expected: np.ndarray, what: object = "") -> None:
    """Byte for byte."""
    assert result.dtype == expected.dtype and result.shape == expected.shape
    nb_wrong = int(
        (np.ascontiguousarray(result).view(np.uint8) != np.ascontiguousarray(expected).view(np.uint8)).sum()
    )
    assert nb_wrong == 0, f"{what}: {nb_wrong} bytes differ"


def read_peak(process: str = "self") -> int:
    """The most bytes that a process has had in memory."""
    return read_status("VmHWM", process)


def read_status(name: str, process: str = "self") -> int:
    with open(f"/proc/{process}/status", encoding="ascii") as file:
        return 1024 * int(next(line for line in file if line.startswith(f"{name}:")).split()[1])


def reset_peak() -> int:
    """Begins anew with the peak of this process; returns what it has now."""
    with open("/proc/self/clear_refs", "w", encoding="ascii") as file:
        file.write("5")
    return read_status("VmRSS")


def make_client(workers: int) -> Iterator[Any]:
    """A client of processes on this machine."""
    from qorn.tiles import _engine

    with _engine.start_cluster(workers) as client:
        yield client


def chunk_files(store: str) -> set[str]:
    return {name for name in os.listdir(store) if not name.startswith(".")}


def find_work(target: Any) -> Optional[str]:
    """The folder of stores and marks of the run that is under way."""
    folder = f"{target}.tiles"
    names = [name for name in os.listdir(folder) if os.path.isdir(os.path.join(folder, name)) and len(name) == 32]
    return os.path.join(folder, names[0]) if names else None


def load_readable(store: str) -> tuple[np.ndarray, np.ndarray]:
    """An array and which of its voxels are in chunks that there are."""
    array = zarr.open_array(store, mode="r")
    there = np.zeros(array.shape, bool)
    result = np.zeros(array.shape, array.dtype)
    for place in np.ndindex(*array.cdata_shape):
        box = tuple(slice(at * size, (at + 1) * size) for at, size in zip(place, array.chunks))
        if ".".join(map(str, place)) in array.chunk_store:
            there[box] = True
            try:
                result[box] = array[box]
            except RuntimeError:  # of a tile that isn't marked
                there[box] = False
    return result, there


def worker_pids(client: Any) -> list[int]:
    """The processes of the workers of a client on this machine."""
    nannies = getattr(client.cluster, "workers", {}).values()
    return [one.pid for one in nannies if one.pid is not None]


def count_running(dask_worker: Any) -> int:
    """How many tasks a worker is at, as it says itself."""
    return len(dask_worker.active_keys)


def group_exists(group: int) -> bool:
    try:
        os.killpg(group, 0)
    except ProcessLookupError:
        return False
    return True


def crop(source: str, path: Any, box: tuple[slice, ...]) -> str:
    array = zarr.open_array(source, mode="r")
    return save(path, array[box], array.chunks)


def core_of(shape: tuple[int, ...], tile: tuple[int, ...], index: int) -> tuple[slice, ...]:
    counts = [-(-size // one) for size, one in zip(shape, tile)]
    place = np.unravel_index(index, counts)
    return tuple(slice(int(at) * one, min((int(at) + 1) * one, size)) for at, one, size in zip(place, tile, shape))
