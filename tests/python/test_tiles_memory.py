"""What workers take: no more than planned, on images that are much larger."""

from __future__ import annotations

import json
import pathlib
import subprocess
import sys
import textwrap
from typing import Any

import numpy as np
import pytest
import support
import tiling

import qorn
from qorn import tiles

LIMIT = 48 << 20
SHAPE = (384, 1024, 1024)  # 8 times as much
CALLS: dict[str, tuple[Any, tuple[Any, ...], dict[str, Any]]] = {
    "opening": (qorn.opening, (qorn.ball(3),), {}),
    "top-hat": (qorn.white_tophat, (qorn.connectivity(26, 3),), {}),
    "large disk": (qorn.closing, (qorn.disk(20),), {}),
    "gradient": (qorn.gradient, (qorn.connectivity(26),), {}),
    "iterations": (qorn.run, ("Dilation3d",), {"numberOfIterations": 4, "neighborhood": "cube"}),
    "correlation": (qorn.correlate, (np.ones((3, 3, 3)),), {"dtype": np.float32}),
}


@pytest.fixture(scope="module")
def source(tmp_path_factory: pytest.TempPathFactory) -> str:
    """Smooth, so that its chunks are small on the disk."""
    import zarr

    path = str(tmp_path_factory.mktemp("memory") / "in.zarr")
    array = zarr.open_array(path, mode="w", shape=SHAPE, chunks=(64, 64, 128), dtype=np.uint8)
    assert array.nbytes >= 8 * LIMIT
    rows = np.arange(SHAPE[1] * SHAPE[2], dtype=np.uint32).reshape(SHAPE[1:]) // 1000
    for start in range(0, SHAPE[0], 64):
        array[start : start + 64] = (rows + np.arange(start, start + 64)[:, None, None]).astype(np.uint8)
    return path


@pytest.mark.parametrize("name", CALLS if support.LONG else ["opening", "top-hat", "correlation"])
def test_workers_take_what_was_planned(name: str, source: str, tmp_path: pathlib.Path) -> None:
    function, args, keywords = CALLS[name]
    chunks = (32, 64, 64)
    if name != "opening" and not support.LONG:  # a quarter of the image, whose tiles are as large
        source = tiling.crop(source, tmp_path / "part.zarr", (slice(0, 96), slice(None), slice(None)))
    for client in tiling.make_client(2):
        warm = tiling.save(tmp_path / "warm.zarr", np.zeros((32, 32, 32), np.uint8), (16, 16, 16))
        tiles.run(function, warm, tmp_path / "warmed.zarr", *args, client=client, chunks=(16, 16, 16),
                  tile=(16, 16, 16), **keywords)  # fmt: skip
        before = client.run(tiling.reset_peak)
        report = tiles.run(
            function, source, tmp_path / "out.zarr", *args, client=client, memory=LIMIT, chunks=chunks, **keywords
        )
        peaks = client.run(tiling.read_peak)
        assert 0.5 * LIMIT < report.working_set <= LIMIT and report.tiles >= 8
        for address, peak in peaks.items():
            grown = peak - before[address]
            print(f"{name}: planned {report.working_set >> 20} MiB, grown {grown >> 20} MiB")
            assert 0.3 * report.working_set < grown <= 1.25 * report.working_set
    import zarr

    part, whole = zarr.open_array(source), zarr.open_array(str(tmp_path / "out.zarr"))
    last = part[part.shape[0] - 48 :]
    expected = qorn.run(args[0], last, **keywords) if function is qorn.run else function(last, *args, **keywords)
    tiling.check_same(whole[part.shape[0] - 32 :], expected[16:])


LIMITED = """
    import json, os, resource, sys
    os.environ["OPENBLAS_NUM_THREADS"] = "1"
    import numpy as np, qorn, zarr, numcodecs.blosc
    from qorn import tiles
    numcodecs.blosc.set_nthreads(1)
    sys.path.insert(0, {here!r})
    import tiling
    where = dict(index=0, count=1, threads=1, memory={limit}, chunks=(32, 64, 64))
    tiles.run_shard(qorn.opening, {warm!r}, {warmed!r}, qorn.ball(3), **{{**where, "tile": (32, 64, 64)}})
    plan = tiles.plan({shape!r}, (32, 64, 64), ((6, 6),) * 3, 1, {limit}, images=3)
    limit = tiling.read_status("VmData") + int(1.25 * plan.working_set)
    resource.setrlimit(resource.RLIMIT_DATA, (limit, limit))
    report = tiles.run_shard(qorn.opening, {source!r}, {target!r}, qorn.ball(3), **where)
    assert report.complete and report.tiles > 8
    try:
        np.ones(2 * limit, np.uint8)
    except MemoryError:
        print(json.dumps([report.working_set, plan.working_set]))
"""


def test_under_a_limit(source: str, tmp_path: pathlib.Path) -> None:
    """A process that isn't given more than 1.25 times the plan, by the system, finishes."""
    import zarr

    warm = tiling.save(tmp_path / "warm.zarr", np.zeros((64, 64, 64), np.uint8), (32, 64, 64))
    script = LIMITED.format(
        here=str(pathlib.Path(__file__).parent), limit=LIMIT, warm=warm, warmed=str(tmp_path / "warmed.zarr"),
        source=source, target=str(tmp_path / "out.zarr"), shape=zarr.open_array(source).shape,
    )  # fmt: skip
    result = subprocess.run(
        [sys.executable, "-B", "-c", textwrap.dedent(script)], capture_output=True, text=True, check=False
    )
    assert result.returncode == 0, result.stderr[-2000:]
    planned, expected = json.loads(result.stdout)
    assert planned == expected <= LIMIT


def test_plans_fit() -> None:
    """For any shape, margins and memory: the plan is of whole chunks, and as large as memory allows."""
    rng = np.random.default_rng(1)
    for _ in range(300):
        ndim = int(rng.integers(2, 6))
        shape = tuple(int(one) for one in rng.integers(1, 200, ndim))
        chunks = tuple(int(one) for one in rng.integers(1, 40, ndim))
        margins = tuple((int(a), int(b)) for a, b in rng.integers(0, 9, (ndim, 2)))
        memory = int(rng.integers(1000, 10_000_000))
        try:
            plan = tiles.plan(shape, chunks, margins, 2, memory)
        except MemoryError:
            continue
        assert plan.working_set <= memory and plan.overhead >= 1
        for one, chunk, size in zip(plan.tile, chunks, shape):
            assert one == size or one % chunk == 0
        windows = []
        voxels = 0
        for index in range(plan.count):
            core = tiling.core_of(shape, plan.tile, index)
            voxels += int(np.prod([one.stop - one.start for one in core]))
            windows.append(
                np.prod([min(one.stop + after, size) - max(one.start - before, 0)
                         for one, (before, after), size in zip(core, margins, shape)])
            )  # fmt: skip
            if index > 200:
                break
        else:
            assert voxels == np.prod(shape)
            assert sum(windows) / voxels == pytest.approx(plan.overhead)
        assert 2 * 3 * max(windows) <= plan.working_set
