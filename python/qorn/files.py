"""Image files, by the readers and writers of the program `qorn`."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, Any, NamedTuple, Optional, Union

import numpy as np

from . import _core
from ._arrays import BOOL, check_image, get_axes

if TYPE_CHECKING:
    from numpy.typing import NDArray

    from ._files import Header

Path = Union[str, "os.PathLike[str]"]


class File(NamedTuple):
    """What was read."""

    image: NDArray[Any]
    header: Header


def read(path: Path, *, max_voxels: Optional[int] = None) -> File:
    """Reads an image: .npy, .tif or .tiff, .png, .nii or .nii.gz.

    Voxels are those of the file, without its scale. The axes are rows and columns, before them planes, the sequence
    and the spectral series; samples of colours are spectral series. The header has the shape, the spacing and what
    else `write()` takes over. Compressed files of more than 2^30 voxels are refused unless `max_voxels` allows them.

    >>> write("picture.png", np.uint8([[1, 2], [3, 4]]))
    >>> image, header = read("picture.png")
    >>> image
    array([[1, 2],
           [3, 4]], dtype=uint8)
    >>> header.format
    'png'
    """
    from . import _files

    name = os.fspath(path)
    os.stat(name)  # tells by its type of error what is wrong
    with _core.Call():
        voxels = _files.read(name, _files.MAX_COMPRESSED_VOXELS if max_voxels is None else max_voxels)
    return File(np.asarray(voxels), voxels.header)


def read_header(path: Path) -> Header:
    """What the file says of its image, without reading voxels.

    >>> write("stack.tif", np.zeros((3, 4, 5), np.float32))
    >>> read_header("stack.tif").shape
    (3, 4, 5)
    """
    from . import _files

    name = os.fspath(path)
    os.stat(name)
    return _files.read_header(name)


def write(
    path: Path,
    image: NDArray[Any],
    header: Optional[Header] = None,
    *,
    axes: Optional[str] = None,
    replace: bool = True,
) -> None:
    """Writes an image in the format that the suffix tells; the file appears when it is complete.

    `header` is that of a file that was read, of an image of the same shape: spacing, orientation, colours and so on
    go along. Where the image is a difference, `header.of_difference()` leaves out the intercept of its scale. A bool
    image is written as uint8. `replace=False` refuses a path that is taken. `axes` as in `dilation()`.

    >>> write("mask.npy", np.array([[True, False]]))
    >>> read("mask.npy").image
    array([[1, 0]], dtype=uint8)
    """
    from . import _files

    check_image(image)
    names = get_axes(axes, image.ndim)
    # Axes before the rows that the image hasn't are of one position, but for the first ones.
    order = [letter for letter in "CTZYX" if letter in names]
    moved = image.transpose([names.index(letter) for letter in order])
    first = "CTZYX".index(order[0])
    shape = iter(moved.shape)
    whole = moved.reshape([next(shape) if letter in names else 1 for letter in "CTZYX"[first:]])
    voxels = np.ascontiguousarray(whole, whole.dtype.newbyteorder("="))
    if voxels.dtype == BOOL:
        voxels = voxels.view(np.uint8)
    with _core.Call():
        _files.write(os.fspath(path), voxels, header, replace)
