"""What footprints and operators read, as arrays."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Union

import numpy as np

from . import _core
from .footprints import Footprint, make_mask
from .operators import set_values

if TYPE_CHECKING:
    from numpy.typing import NDArray


def element(what: Union[str, Footprint], **properties: Any) -> NDArray[np.bool_]:
    """The voxels that a footprint, or an operator of this name with these properties, reads around each voxel.

    The voxel itself is in the middle, at `shape // 2`. An array of an operator has three axes.

    >>> element(disk(1)).astype(int)
    array([[0, 1, 0],
           [1, 1, 1],
           [0, 1, 0]])
    >>> element("DilationLine2d", lineSize=3).astype(int)
    array([[[1, 1, 1]]])
    """
    if isinstance(what, Footprint):
        return what.mask()
    offsets = np.frombuffer(_core.offsets(what, set_values(properties)), np.int64).reshape(-1, 3)
    return make_mask(offsets)
