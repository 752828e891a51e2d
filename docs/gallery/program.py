"""Makes the picture of docs/wide.md: the nodes of the program for the exact disk of radius 3."""

from __future__ import annotations

import os

import matplotlib

matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402

HERE = os.path.dirname(os.path.abspath(__file__))
# For each node its taps: (earlier node, columns, rows). Node 0 is the image.
NODES = {
    1: [(0, 0, 0)],
    2: [(1, 0, -3), (1, 0, -2), (1, -1, -1), (1, 0, -1), (1, 1, -1), (1, 0, 0), (1, 0, 1)],
    3: [(2, 0, 0), (2, 2, 1), (1, 1, -2), (1, 1, 1)],
    4: [(3, 0, 0), (3, -2, 1), (1, -1, -2), (1, 1, 2)],
}
COLOURS = ["#4c78a8", "#f58518", "#54a24b", "#b279a2", "#e45756", "#72b7b2", "#eeca3b"]


def cover(node: int) -> set[tuple[int, int]]:
    """The voxels whose values a node folds."""
    if node == 0:
        return {(0, 0)}
    return {(x + dx, y + dy) for tap, dx, dy in NODES[node] for x, y in cover(tap)}


def main() -> None:
    disk = {(x, y) for x in range(-3, 4) for y in range(-3, 4) if x * x + y * y <= 9}
    assert cover(4) == disk
    figure, axes = pyplot.subplots(1, len(NODES) - 1, figsize=(9.6, 3.5), dpi=80)
    for place, (node, taps) in zip(axes, list(NODES.items())[1:]):
        for tap, (source, dx, dy) in enumerate(taps):
            for x, y in cover(source):
                size = 0.9 - 0.13 * sum((x + dx, y + dy) in {(a + u, b + v) for a, b in cover(s)}
                                        for s, u, v in taps[:tap])  # fmt: skip
                place.add_patch(
                    pyplot.Rectangle(
                        (x + dx - size / 2, y + dy - size / 2), size, size, color=COLOURS[tap], alpha=0.85, lw=0
                    )
                )
        place.plot(0, 0, "k+")
        place.set_xlim(-4, 4)
        place.set_ylim(4, -4)
        place.set_aspect("equal")
        place.set_xticks(range(-3, 4))
        place.set_yticks(range(-3, 4))
        place.grid(alpha=0.3)
        place.set_title(
            f"node {node}: {len(taps)} taps, {len(cover(node))} voxels", fontsize=10
        )
    figure.tight_layout()
    figure.savefig(os.path.join(HERE, "wide-disk-3.png"), metadata={"Software": None})


if __name__ == "__main__":
    main()
