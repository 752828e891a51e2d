"""Makes the pictures of docs/python.md: python.py, with the package on PYTHONPATH and matplotlib of Debian."""

from __future__ import annotations

import os
from typing import Any

import matplotlib
import numpy as np

import qorn

matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))
SAMPLES = os.path.join(matplotlib.get_data_path(), "sample_data")


def draw(name: str, pictures: list[tuple[str, Any, str]]) -> None:
    """Pictures side by side, each with its title and colours."""
    figure, axes = pyplot.subplots(1, len(pictures), figsize=(3.2 * len(pictures), 3), dpi=80)
    for place, (title, picture, colours) in zip(axes, pictures):
        place.imshow(picture, cmap=colours)
        place.set_title(title, fontsize=10)
        place.set_axis_off()
    figure.tight_layout()
    figure.savefig(os.path.join(HERE, name), metadata={"Software": None})


def main() -> None:
    with np.load(os.path.join(SAMPLES, "jacksboro_fault_dem.npz")) as data:
        heights = data["elevation"]
    disk = qorn.disk(12)
    draw(
        "python-landscape.png",
        [
            ("heights", heights, "gist_earth"),
            ("opening(heights, disk(12))", qorn.opening(heights, disk), "gist_earth"),
            ("white_tophat(heights, disk(12))", qorn.white_tophat(heights, disk), "magma"),
        ],
    )
    coins = qorn.read(os.path.join(HERE, "coins.png")).image
    even = qorn.white_tophat(coins, qorn.disk(30))
    found = qorn.opening(qorn.closing(even > 60, qorn.disk(3)), qorn.disk(8))
    outline = qorn.gradient(found, qorn.connectivity(8), kind="outer")
    draw(
        "python-coins.png",
        [
            ("coins", coins, "gray"),
            ("white_tophat(coins, disk(30))", even, "gray"),
            ("found", found, "gray"),
            ("with outlines", np.where(outline, 255, coins), "gray"),
        ],
    )


if __name__ == "__main__":
    main()
