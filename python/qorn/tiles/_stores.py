"""Where images lie: zarr arrays in folders, and files that are read and written in parts."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, Any, Optional, Tuple, Union

import numpy as np

from .. import files
from .._arrays import DTYPES, NAMES
from ._plan import Box, Shape, check_shape, get_shape

if TYPE_CHECKING:
    from numpy.typing import NDArray

Store = Union[str, "os.PathLike[str]", Any]

# Edges of chunks in two and in three axes; a file has none, but tiles are made of something.
_ZARR_EDGES = {2: 1024, 3: 128}
_FILE_EDGES = {2: 128, 3: 32}
_FILE_SUFFIXES = (".npy", ".tif", ".tiff", ".nii")
_WRITTEN_SUFFIXES = (*_FILE_SUFFIXES, ".png", ".nii.gz")


def _import_zarr() -> Any:
    import zarr

    if not zarr.__version__.startswith("2."):
        raise ImportError(f"qorn.tiles needs zarr 2, and this is {zarr.__version__}")
    return zarr


def get_path(store: Store) -> str:
    """The absolute path of a source or target, which may be a zarr array in a folder."""
    if isinstance(store, (str, os.PathLike)):
        path = os.fspath(store)
        if "://" in path:
            raise ValueError(f"{path}: stores are folders and files that all workers see, not addresses")
        return os.path.abspath(path)
    folder = getattr(getattr(store, "store", None), "path", None)
    if not isinstance(folder, str):
        raise TypeError(f"a store is a path or a zarr array in a folder, not {type(store).__name__}")
    return os.path.abspath(os.path.join(folder, store.path))


def is_zarr(path: str) -> bool:
    """Whether a path that need not exist is that of a zarr array, and not of an image file."""
    return os.path.isdir(path) or path.endswith(".zarr") or not os.path.splitext(path)[1]


def guess_chunks(shape: Shape, target: str) -> Shape:
    """Chunks of a target whose source has none: parts of planes, or of volumes."""
    inner = min(len(shape), 3)
    edge = (_ZARR_EDGES if is_zarr(target) else _FILE_EDGES)[inner]
    return tuple(1 if axis < len(shape) - inner else min(size, edge) for axis, size in enumerate(shape))


class Source:
    """An image that is read in parts. Made anew by each process."""

    header: Optional[Any] = None
    shape: Shape
    dtype: np.dtype[Any]
    chunks: Optional[Shape] = None
    attributes: dict[str, Any]

    def __init__(self, path: str, shape: Tuple[int, ...], dtype: Any) -> None:
        self.path, self.attributes = path, {}
        if not shape or 0 in shape:
            raise ValueError(f"{path}: an image of shape {tuple(shape)} has no voxels")
        if len(shape) not in (2, 3, 4, 5):
            raise ValueError(f"{path}: an image has 2 to 5 axes, not {len(shape)}")
        self.shape, self.dtype = tuple(shape), np.dtype(dtype).newbyteorder("=")
        if self.dtype not in DTYPES:
            raise TypeError(f"{path}: an image has the type {NAMES}, not {dtype}")

    def read(self, box: Box, out: NDArray[Any]) -> None:
        """Fills `out`, which has the shape of the box."""
        raise NotImplementedError


class _ZarrSource(Source):
    def __init__(self, path: str) -> None:
        zarr = _import_zarr()
        if not os.path.isdir(path):
            raise FileNotFoundError(f"{path}: no such folder")
        try:
            self._array = zarr.open(path, mode="r")
        except Exception as error:  # zarr's own types, and those of broken metadata
            raise OSError(f"{path}: no zarr array can be read there: {error!r}") from error
        if not isinstance(self._array, zarr.core.Array):
            raise OSError(f"{path}: is a zarr group; name one of its arrays")
        super().__init__(path, self._array.shape, self._array.dtype)
        self.chunks = check_shape(self._array.chunks, f"chunks of {path}")
        self.attributes = dict(self._array.attrs)
        self.compressor = self._array.compressor

    def read(self, box: Box, out: NDArray[Any]) -> None:
        try:
            out[...] = self._array[box]
        except OSError:
            raise
        except Exception as error:  # what a codec raises for a broken chunk
            raise OSError(f"{self.path}: a chunk in {_show(box)} can't be read: {error}") from error


class _FileSource(Source):
    def __init__(self, path: str) -> None:
        from .. import _files

        self._windows = _files.Windows(path)
        self.header = files.read_header(path)
        super().__init__(path, self.header.shape, self.header.dtype)

    def read(self, box: Box, out: NDArray[Any]) -> None:
        packed = out if out.flags.c_contiguous else np.empty(out.shape, out.dtype)
        self._windows.read([(one.start, one.stop) for one in box], packed)
        if packed is not out:
            out[...] = packed


class _MappedSource(Source):
    """A .npy file of bool or in Fortran order, which the readers don't know."""

    def __init__(self, path: str) -> None:
        self._map = np.load(path, mmap_mode="r")
        super().__init__(path, self._map.shape, self._map.dtype)

    def read(self, box: Box, out: NDArray[Any]) -> None:
        out[...] = self._map[box]


def _open_npy(path: str) -> Source:
    try:
        array = np.load(path, mmap_mode="r")
    except ValueError as error:  # objects, and what is no .npy file
        raise OSError(f"{path}: {error}") from error
    is_plain = array.dtype != bool and array.flags.c_contiguous
    return _FileSource(path) if is_plain else _MappedSource(path)


def open_source(path: str) -> Source:
    """An image by its path."""
    if is_zarr(path):
        return _ZarrSource(path)
    if path.lower().endswith(".npy"):
        return _open_npy(path)
    os.stat(path)  # tells by its type of error what is wrong
    if not path.lower().endswith(_FILE_SUFFIXES):
        raise OSError(f"{path}: can't be read in parts; zarr, .npy, .tif and .nii can, uncompressed")
    return _FileSource(path)


class Target:
    """An image that is written in parts: whole chunks by one process each."""

    def write(self, box: Box, voxels: NDArray[Any]) -> None:
        raise NotImplementedError

    def delete(self, box: Box) -> None:
        """Removes what a process that was killed left in chunks of the box."""


class _ZarrTarget(Target):
    def __init__(self, path: str) -> None:
        self._array = _import_zarr().open_array(path, mode="r+", write_empty_chunks=True)

    def write(self, box: Box, voxels: NDArray[Any]) -> None:
        self._array[box] = voxels

    def delete(self, box: Box) -> None:
        places = [range(one.start // size, -(-one.stop // size)) for one, size in zip(box, self._array.chunks)]
        for place in np.ndindex(*[len(one) for one in places]):
            key = ".".join(str(one[at]) for one, at in zip(places, place))
            try:
                del self._array.chunk_store[key]
            except KeyError:
                pass


class _NpyTarget(Target):
    """Rows are written where they belong. A mapped page would be written as a whole, with others' voxels."""

    def __init__(self, path: str) -> None:
        self._path = path
        array = np.load(path, mmap_mode="r")
        self._shape, self._strides, self._offset = array.shape, array.strides, array.offset

    def write(self, box: Box, voxels: NDArray[Any]) -> None:
        sizes = get_shape(box)
        axis = len(sizes) - 1
        while axis > 0 and sizes[axis] == self._shape[axis]:  # adjacent voxels of the file are written at once
            axis -= 1
        runs = np.ascontiguousarray(voxels).reshape(sizes[:axis] + (-1,)).view(np.uint8)
        starts = [one.start * stride for one, stride in zip(box, self._strides)]
        file = os.open(self._path, os.O_WRONLY)
        try:
            for place in np.ndindex(*sizes[:axis]):
                inside = sum(at * stride for at, stride in zip(place, self._strides))
                _write_all(file, memoryview(runs[place]), self._offset + sum(starts) + inside)
        finally:
            os.close(file)


def _write_all(file: int, data: memoryview, offset: int) -> None:
    while data.nbytes:
        count = os.pwrite(file, data, offset)
        data, offset = data[count:], offset + count


def open_target(path: str) -> Target:
    return _ZarrTarget(path) if is_zarr(path) else _NpyTarget(path)


def create(path: str, shape: Shape, chunks: Shape, dtype: np.dtype[Any], source: Source) -> None:
    """Makes an empty image. A zarr array is coded like the source, and has its attributes."""
    if not is_zarr(path):
        with open(path, "wb") as file:
            write_header: Any = np.lib.format.write_array_header_1_0
            write_header(file, {"descr": dtype.str, "fortran_order": False, "shape": shape})
            file.truncate(file.tell() + int(np.prod(shape, dtype=object)) * dtype.itemsize)
        return
    array = _import_zarr().open_array(
        path, mode="w-", shape=shape, chunks=chunks, dtype=dtype, fill_value=0, order="C", dimension_separator=".",
        compressor=getattr(source, "compressor", "default"),
    )  # fmt: skip
    if source.attributes:
        array.attrs.put(source.attributes)


def check_target(path: str) -> None:
    """Raises OSError for a path that no target can have."""
    if not os.path.isdir(os.path.dirname(path)):
        raise FileNotFoundError(f"{os.path.dirname(path)}: no such folder")
    if not is_zarr(path) and not path.lower().endswith(_WRITTEN_SUFFIXES):
        raise OSError(f"{path}: a target is zarr, .npy, .tif, .nii or .nii.gz")


def convert(scratch: str, path: str, header: Optional[Any], replace: bool) -> None:
    """Writes the image of a .npy file in the format of the path."""
    voxels = np.load(scratch, mmap_mode="r")
    files.write(path, voxels, header, replace=replace)


def _show(box: Box) -> str:
    return "[" + ", ".join(f"{one.start}:{one.stop}" for one in box) + "]"
