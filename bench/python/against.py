"""Compares calls of the package with those of scipy.ndimage, scikit-image and OpenCV: against.py [--size N]
[--volume N] [--rounds N] [--threads 1,2]

All in one process, in turn, so that what else the machine does meets all alike. A row has the shortest time of each
and what the peak of memory grows in a call; `ratio` is our time / theirs, and below 1 is faster. PYTHONPATH tells
where the package is. What isn't installed is left out."""

from __future__ import annotations

import argparse
import ctypes
import importlib
import time
from typing import Any, Callable, Optional

import numpy as np

import qorn

Call = Callable[[], Any]


def find(name: str) -> Any:
    try:
        return importlib.import_module(name)
    except ImportError:
        return None


ndimage, morphology, cv2 = find("scipy.ndimage"), find("skimage.morphology"), find("cv2")


def measure_peak(call: Call) -> float:
    """MiB by which the peak of the process grows in a call; the result is part of it."""

    def read() -> int:
        with open("/proc/self/status", encoding="ascii") as file:
            return int(next(line for line in file if line.startswith("VmHWM")).split()[1])

    qorn.release_memory()
    ctypes.CDLL(None).malloc_trim(0)  # or the call would find its memory in the process
    with open("/proc/self/clear_refs", "w", encoding="ascii") as file:
        file.write("5")  # the peak begins anew
    before = read()
    call()
    return (read() - before) / 1024


def measure_time(call: Call) -> float:
    start = time.perf_counter()
    call()
    return time.perf_counter() - start


def make_rows(size: int, volume_size: int) -> list[tuple[str, Callable[[int], Call], dict[str, Optional[Call]]]]:
    """(name, our call for a number of threads, the calls of others)"""
    rng = np.random.default_rng(1)
    rows = []

    def add(name: str, ours: Callable[[int], Any], **others: Callable[[], Any]) -> None:
        known = {"scipy": ndimage, "skimage": morphology, "cv2": cv2}
        rows.append((name, lambda threads: lambda: ours(threads), {k: v for k, v in others.items() if known[k]}))

    for dtype in (np.uint8, np.float32):
        plane = rng.integers(0, 256, (size, size)).astype(dtype)
        volume = rng.integers(0, 256, (volume_size,) * 3).astype(dtype)
        kind = np.dtype(dtype).name
        square, disk, ball = np.ones((3, 3), np.uint8), qorn.disk(10), qorn.ball(5)
        disk_mask, ball_mask = disk.mask().astype(np.uint8), ball.mask().astype(np.uint8)
        weights, cube, large_cube = rng.random((5, 5)), rng.random((3, 3, 3)), rng.random((5, 5, 5))
        add(
            f"dilation, square 3x3, {kind}", lambda n, f=plane: qorn.dilation(f, qorn.connectivity(8), threads=n),
            scipy=lambda f=plane: ndimage.maximum_filter(f, size=3),
            skimage=lambda f=plane: morphology.dilation(f, square),
            cv2=lambda f=plane: cv2.dilate(f, square),
        )  # fmt: skip
        add(
            f"dilation, disk 10, {kind}", lambda n, f=plane: qorn.dilation(f, disk, threads=n),
            scipy=lambda f=plane: ndimage.maximum_filter(f, footprint=disk_mask),
            skimage=lambda f=plane: morphology.dilation(f, disk_mask), cv2=lambda f=plane: cv2.dilate(f, disk_mask),
        )  # fmt: skip
        add(
            f"dilation, ball 5, {kind}", lambda n, f=volume: qorn.dilation(f, ball, threads=n),
            scipy=lambda f=volume: ndimage.maximum_filter(f, footprint=ball_mask),
            skimage=lambda f=volume: morphology.dilation(f, ball_mask),
        )  # fmt: skip
        add(
            f"opening, disk 10, {kind}", lambda n, f=plane: qorn.opening(f, disk, threads=n),
            scipy=lambda f=plane: ndimage.grey_opening(f, footprint=disk_mask),
            skimage=lambda f=plane: morphology.opening(f, disk_mask),
            cv2=lambda f=plane: cv2.morphologyEx(f, cv2.MORPH_OPEN, disk_mask),
        )  # fmt: skip
        add(
            f"gradient, square 3x3, {kind}", lambda n, f=plane: qorn.gradient(f, qorn.connectivity(8), threads=n),
            scipy=lambda f=plane: ndimage.morphological_gradient(f, size=3),
            cv2=lambda f=plane: cv2.morphologyEx(f, cv2.MORPH_GRADIENT, square),
        )  # fmt: skip
        add(
            f"correlate 5x5, {kind}", lambda n, f=plane: qorn.correlate(f, weights, threads=n),
            scipy=lambda f=plane: ndimage.correlate(f, weights, mode="mirror"),
            cv2=lambda f=plane: cv2.filter2D(f, -1, weights),
        )  # fmt: skip
        add(
            f"correlate 3x3x3, {kind}", lambda n, f=volume: qorn.correlate(f, cube, threads=n),
            scipy=lambda f=volume: ndimage.correlate(f, cube, mode="mirror"),
        )  # fmt: skip
        add(
            f"correlate 5x5x5, {kind}", lambda n, f=volume: qorn.correlate(f, large_cube, threads=n),
            scipy=lambda f=volume: ndimage.correlate(f, large_cube, mode="mirror"),
        )  # fmt: skip
    return rows


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--size", type=int, default=4096, help="rows and columns of planes")
    parser.add_argument("--volume", type=int, default=256, help="planes, rows and columns of volumes")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--threads", default="2,1")
    arguments = parser.parse_args()
    print("| Call | Threads | ms | MiB | Other | ms | MiB | Ratio |\n|---|---|---|---|---|---|---|---|")
    for name, make, others in make_rows(arguments.size, arguments.volume):
        for threads in map(int, arguments.threads.split(",")):
            calls = {"qorn": make(threads), **others}
            if cv2:
                cv2.setNumThreads(threads)
            times: dict[str, list[float]] = {key: [] for key in calls}
            for _ in range(arguments.rounds):
                for key, call in calls.items():
                    times[key].append(measure_time(call))
            peaks = {key: measure_peak(call) for key, call in calls.items()}
            ours = min(times.pop("qorn"))
            for key, values in times.items():
                row = [name, threads, f"{1e3 * ours:.2f}", f"{peaks['qorn']:.0f}", key, f"{1e3 * min(values):.2f}"]
                print(
                    "|",
                    " | ".join(map(str, [*row, f"{peaks[key]:.0f}", f"{ours / min(values):.3g}"])),
                    "|",
                    flush=True,
                )


if __name__ == "__main__":
    main()
