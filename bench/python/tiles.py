"""What tiles cost: tiles.py [PART...] [--plot FILE]. Prints the time of the whole image and by tiles, with reading
and writing apart; how the time of the processor and the memory grow with the image, at a fixed memory for each
tile; and what a tile costs the scheduler, with what follows for 10 TB. PYTHONPATH tells where the package is;
dask, distributed and zarr are needed, and matplotlib for the plot."""

from __future__ import annotations

import argparse
import os
import tempfile
import time
from typing import Any, Callable

import numpy as np
import zarr

import qorn
from qorn import tiles
from qorn.tiles import _engine

MIB = 1 << 20
MEMORY = 64 * MIB
CHUNKS = (32, 64, 128)
PLANE = (512, 1024)
CALLS: dict[str, tuple[Callable[..., Any], Any]] = {
    "opening, ball(5), uint16": (qorn.opening, qorn.ball(5)),
    "dilation, connectivity(26), uint16": (qorn.dilation, qorn.connectivity(26)),
    "correlate, 5 x 5 x 5, uint16": (qorn.correlate, np.full((5, 5, 5), 1 / 125)),
}


def make_source(path: str, nb_plans: int) -> str:
    """Waves with noise: neither empty nor incompressible."""
    array = zarr.open_array(path, mode="w", shape=(nb_plans, *PLANE), chunks=CHUNKS, dtype=np.uint16)
    rng = np.random.default_rng(1)
    rows, columns = np.ogrid[: PLANE[0], : PLANE[1]]
    for start in range(0, nb_plans, CHUNKS[0]):
        plans = np.arange(start, min(start + CHUNKS[0], nb_plans))[:, None, None]
        waves = 1000 * (np.sin(plans / 9) + np.sin(rows / 17) + np.cos(columns / 23))
        array[start : start + CHUNKS[0]] = (3000 + waves + rng.integers(0, 64, waves.shape)).astype(np.uint16)
    return path


def measure(call: Callable[[], Any], count: int = 2) -> float:
    best = float("inf")
    for _ in range(count):
        start = time.perf_counter()
        call()
        best = min(best, time.perf_counter() - start)
    return best


def run_tiles(client: Any, function: Any, argument: Any, source: str, folder: str) -> tiles.Report:
    return tiles.run(
        function, source, os.path.join(folder, "out.zarr"), argument, client=client, memory=MEMORY, resume=False
    )


def compare(client: Any, workers: int, folder: str) -> None:
    """The whole image with all threads, and by tiles with one thread each."""
    source = make_source(os.path.join(folder, "in.zarr"), 256)
    image = zarr.open_array(source, mode="r")[...]
    threads = qorn.get_num_threads()
    print(
        f"{image.nbytes / MIB:.0f} MiB of uint16, {threads} threads or {workers} workers, "
        f"{MEMORY / MIB:.0f} MiB a tile"
    )
    for name, (function, argument) in CALLS.items():
        whole, reports = float("inf"), []
        for _ in range(3):  # in turn, since other programs take their share of the computer
            whole = min(whole, measure(lambda: function(image, argument)))
            reports.append(run_tiles(client, function, argument, source, folder))
        best = min(reports, key=lambda report: report.seconds_computing)
        computing = best.seconds_computing / workers
        print(
            f"{name}: whole {whole:.3f} s, {image.size / whole / 1e6:.0f} Mvoxel/s; {best.tiles} tiles, overhead "
            f"{best.overhead:.3f}: computing {computing:.3f} s, reading {best.seconds_reading / workers:.3f} s, "
            f"writing {best.seconds_writing / workers:.3f} s, elapsed {best.seconds:.3f} s; "
            "computing / (whole x overhead) = "
            f"{computing / whole / best.overhead:.2f}; read {best.bytes_read / MIB:.0f} MiB, written "
            f"{best.bytes_written / MIB:.0f} MiB"
        )


def grow(client: Any, folder: str) -> list[tuple[int, float, float]]:
    """Images of 1, 2, 4 and 8 times the size: MiB, seconds of the processor in workers, and the peak of a worker
    above its start in MiB. Other programs disturb the time of the processor less than the time that passes."""
    rows = []
    for factor in (1, 2, 4, 8):
        source = make_source(os.path.join(folder, "in.zarr"), 128 * factor)
        before, used = client.run(reset_peak), sum(client.run(time.process_time).values())
        report = run_tiles(client, qorn.opening, qorn.ball(5), source, folder)
        peaks, used = client.run(read_status, "VmHWM"), sum(client.run(time.process_time).values()) - used
        peak = max(peaks[one] - before[one] for one in peaks) / MIB
        size = int(np.prod((128 * factor, *PLANE))) * 2 // MIB
        rows.append((size, used, peak))
        print(f"{size} MiB: {report.tiles} tiles, overhead {report.overhead:.2f}, {used:.2f} s of the processor, "
              f"{1e3 * used / size:.2f} ms/MiB, elapsed {report.seconds:.2f} s, peak of a worker {peak:.0f} MiB "
              f"above its start, planned {report.working_set / MIB:.0f}")  # fmt: skip
    return rows


def read_status(name: str) -> int:
    with open("/proc/self/status", encoding="ascii") as file:
        return 1024 * int(next(line for line in file if line.startswith(f"{name}:")).split()[1])


def reset_peak() -> int:
    with open("/proc/self/clear_refs", "w", encoding="ascii") as file:
        file.write("5")
    return read_status("VmRSS")


def read_loopback() -> int:
    """Bytes that were sent over the loopback interface."""
    with open("/proc/net/dev", encoding="ascii") as file:
        line = next(line for line in file if line.strip().startswith("lo:"))
    return int(line.split()[9])


def measure_scheduler(client: Any, folder: str) -> None:
    """Tiles of one small chunk: what is left is what a tile costs besides its voxels. The scheduler and the client
    are in this process."""
    shape, edge = (160, 160, 160), 16
    array = zarr.open_array(os.path.join(folder, "small.zarr"), mode="w", shape=shape, chunks=(edge,) * 3, dtype="u1")
    array[...] = 1
    where = dict(client=client, tile=(edge,) * 3, resume=False)
    arguments = ("logical", os.path.join(folder, "small.zarr"), os.path.join(folder, "small-out.zarr"), 1)
    tiles.run(*arguments, **where)
    cpu, sent = time.process_time(), read_loopback()
    report = tiles.run(*arguments, **where)
    cpu, sent = (time.process_time() - cpu) / report.tiles, (read_loopback() - sent) / report.tiles
    print(f"{report.tiles} small tiles: {1e3 * cpu:.2f} ms of scheduler and client and {sent:.0f} bytes sent for "
          f"each; {report.tiles / report.seconds:.0f} tiles/s")  # fmt: skip
    source = make_source(os.path.join(folder, "in.zarr"), 256)
    real = run_tiles(client, qorn.opening, qorn.ball(5), source, folder)
    busy = real.seconds_reading + real.seconds_computing + real.seconds_writing
    speed = real.bytes_written / busy
    tile, total = 512 * MIB, 10**13
    count = -(-total // tile)
    print(f"10 TB in tiles of 512 MiB: {count} tasks, {count * cpu:.0f} s of scheduler and client, "
          f"{count * sent / MIB:.0f} MiB of messages; an opening takes a worker {tile / speed:.0f} s a tile at "
          f"{speed / MIB:.0f} MiB/s, so that the scheduler is busy with "
          f"{tile / speed / cpu:.0f} workers")  # fmt: skip


def plot(path: str, rows: list[tuple[int, float, float]]) -> None:
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import pyplot

    sizes = [row[0] for row in rows]
    figure, (left, right) = pyplot.subplots(1, 2, figsize=(7, 2.8), dpi=80)
    left.plot(sizes, [row[1] for row in rows], "o-")
    left.plot(sizes, [rows[0][1] * size / sizes[0] for size in sizes], "--", color="gray", label="proportional")
    left.set_ylabel("seconds of the processor")
    left.legend()
    right.plot(sizes, [row[2] for row in rows], "o-")
    right.axhline(MEMORY / MIB, linestyle="--", color="gray", label="memory=")
    right.set_ylabel("peak of a worker, MiB")
    right.set_ylim(0, 1.25 * MEMORY / MIB)
    left.set_yscale("log", base=2)
    right.legend()
    for axes in (left, right):
        axes.set_xscale("log", base=2)
        axes.set_xticks(sizes, [str(size) for size in sizes])
        axes.set_xlabel("image, MiB")
    figure.tight_layout()
    figure.savefig(path, metadata={"Software": None})


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("parts", metavar="PART", nargs="*", help="compare, grow or scheduler; all unless given")
    parser.add_argument("--plot", help="a PNG file")
    options = parser.parse_args()
    parts = options.parts or ["compare", "grow", "scheduler"]
    workers = max(2, qorn.get_num_threads())
    print(f"load of the computer {os.getloadavg()[0]:.1f}")
    with tempfile.TemporaryDirectory() as folder, _engine.start_cluster(workers) as client:
        if "compare" in parts:
            compare(client, workers, folder)
        if "grow" in parts:
            rows = grow(client, folder)
            if options.plot:
                plot(options.plot, rows)
        if "scheduler" in parts:
            measure_scheduler(client, folder)


if __name__ == "__main__":
    main()
