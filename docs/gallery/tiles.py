"""Makes the picture of docs/distributed.md: tiles.py, with the package on PYTHONPATH and the packages that tiles
need. A volume of Debian's mricron-data goes through two workers."""

from __future__ import annotations

import gzip
import os
import shutil
import tempfile

import matplotlib
import numpy as np
import zarr

import qorn
from qorn import tiles

matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))
VOLUME = "/usr/share/mricron/templates/ch2better.nii.gz"


def main() -> None:
    with tempfile.TemporaryDirectory() as folder:
        source, target = os.path.join(folder, "head.nii"), os.path.join(folder, "edges.zarr")
        with gzip.open(VOLUME) as packed, open(source, "wb") as file:
            shutil.copyfileobj(packed, file)
        report = tiles.run(qorn.gradient, source, target, qorn.ball(2), workers=2, memory="32MiB")
        print(report)
        head, edges = qorn.read(source).image, zarr.open(target, mode="r")[...]
    assert np.array_equal(edges, qorn.gradient(head, qorn.ball(2)))
    figure, axes = pyplot.subplots(1, 2, figsize=(7, 4), dpi=80)
    pictures = [("plane 160 of head.nii", head[160, ::-1]), ('gradient, "ball(2)", in tiles', edges[160, ::-1])]
    for place, (title, picture) in zip(axes, pictures):
        place.imshow(picture, cmap="gray")
        place.set_title(title, fontsize=10)
        place.set_axis_off()
    figure.tight_layout()
    figure.savefig(os.path.join(HERE, "distributed-head.png"), metadata={"Software": None})


if __name__ == "__main__":
    main()
