"""Tiles have the bits of the whole image: by processes, by shards, in stages; with smaller margins they haven't."""

from __future__ import annotations

import multiprocessing
import os
import pathlib
from typing import Any, Iterator

import numpy as np
import pytest
import support
import tiling

import qorn
from qorn import tiles
from qorn.tiles import _jobs

BALL = qorn.ball(3)
IMAGE = tiling.make_image(np.uint8)


@pytest.fixture(scope="module")
def client() -> Iterator[Any]:
    yield from tiling.make_client(3)


@pytest.fixture(scope="module")
def stores(tmp_path_factory: pytest.TempPathFactory) -> dict[tuple[str, int], str]:
    """An image of each type, and a second one."""
    folder = tmp_path_factory.mktemp("stores")
    return {
        (dtype.name, seed): tiling.save(
            folder / f"{dtype.name}-{seed}.zarr", tiling.make_image(dtype, seed=seed), (13, 16, 31)
        )
        for dtype in tiling.DTYPES
        for seed in (1, 2)
    }


def check_case(
    name: str,
    dtype: np.dtype[Any],
    tile: tuple[int, ...],
    source: str,
    second: str,
    folder: pathlib.Path,
    **where: Any,
) -> None:
    case = tiling.CASES[name]
    image, other = tiling.load(source), tiling.load(second)
    what = f"{name}, {dtype.name}, {tile}"
    if name == "extrema":
        image = tiling.without_nan(image)
        source = tiling.save(folder / "numbers.zarr", image, (13, 16, 31))
        report = tiles.run(
            qorn.extrema, source, folder / "out.json", resume=False, tile=tile, chunks=tile, per="Z", **where
        )
        expected = qorn.extrema(image, per="Z")
        assert report.result is not None
        tiling.check_same(report.result.minimum, expected.minimum, what)
        tiling.check_same(report.result.maximum, expected.maximum, what)
        return
    args = case.stored_args(second)
    report = tiles.run(
        case.function,
        source,
        folder / "out.zarr",
        *args,
        resume=False,
        tile=tile,
        chunks=tile,
        **where,
        **case.keywords,
    )
    assert report.complete and report.tiles == report.done > 1
    tiling.check_same(tiling.load(folder / "out.zarr"), case.whole(image, other), what)
    assert not os.path.exists(folder / "out.zarr.tiles")


@pytest.mark.parametrize("name", tiling.CASES)
def test_every_operator_is_exact(name: str, client: Any, stores: Any, tmp_path: pathlib.Path) -> None:
    """All types and tilings, by three processes; in the short variant each type has one of the tilings."""
    first = list(tiling.CASES).index(name)
    for number, dtype in enumerate(tiling.DTYPES):
        for tile in tiling.TILINGS if support.LONG else tiling.TILINGS[(first + number) % 3 :][:1]:
            if tiling.CASES[name].takes(dtype):
                sources = stores[dtype.name, 1], stores[dtype.name, 2]
                check_case(name, dtype, tile, *sources, tmp_path, client=client)


def test_bool_and_five_axes(tmp_path: pathlib.Path) -> None:
    image = support.random_image(np.random.default_rng(3), (2, 3, 7, 20, 30), bool)
    source = tiling.save(tmp_path / "in.zarr", image, (1, 2, 4, 9, 13), order="F")
    for axes in ("CTZYX", "TZCYX"):
        tiles.run(
            qorn.closing, source, tmp_path / "out.zarr", qorn.ball(2), axes=axes, workers=0, resume=False,
            tile=(1, 2, 4, 18, 13),
        )  # fmt: skip
        tiling.check_same(tiling.load(tmp_path / "out.zarr"), qorn.closing(image, qorn.ball(2), axes=axes))
    report = tiles.run(qorn.extrema, source, tmp_path / "out.json", "CT", workers=0, tile=(1, 2, 4, 18, 13))
    expected = qorn.extrema(image, "CT")
    assert report.result is not None and (report.result.maximum == expected.maximum).all()


NEEDED = {
    "Dilation3d": tiling.CASES["Dilation3d"],
    "DilationBall3d": tiling.CASES["DilationBall3d"],
    "ErosionDisk2d": tiling.CASES["ErosionDisk2d"],
    "DilationLine3d": tiling.CASES["DilationLine3d"],
    "FiniteImpulseResponseFilter3D": tiling.CASES["FiniteImpulseResponseFilter3D"],
    "opening": tiling.CASES["opening"],
}


@pytest.mark.parametrize("name", NEEDED)
def test_smaller_margins_are_found(
    name: str, stores: Any, tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    """One voxel less on each side that has a margin, and the comparison of the tests above fails."""
    get_margins = _jobs.Job.get_margins

    def get_less(job: Any, ndim: int) -> Any:
        return tuple((max(0, before - 1), max(0, after - 1)) for before, after in get_margins(job, ndim))

    dtype = np.dtype(np.uint8)
    arguments = (name, dtype, (13, 16, 31), stores["uint8", 1], stores["uint8", 2], tmp_path)
    check_case(*arguments, workers=0)
    monkeypatch.setattr(_jobs.Job, "get_margins", get_less)
    with pytest.raises(AssertionError, match="bytes differ"):
        check_case(*arguments, workers=0)


def do_shard(source: str, target: str, index: int, count: int) -> None:
    tiles.run_shard(qorn.opening, source, target, BALL, index=index, count=count, tile=(13, 16, 31), threads=1)


def test_eight_shards(tmp_path: pathlib.Path) -> None:
    """Plain processes, all at once; which of them makes the folder and publishes is left to chance."""
    source = tiling.save(tmp_path / "in.zarr", IMAGE, (13, 16, 31))
    target = str(tmp_path / "out.zarr")
    context = multiprocessing.get_context("spawn")
    processes = [context.Process(target=do_shard, args=(source, target, index, 8)) for index in range(8)]
    for process in processes:
        process.start()
    for process in processes:
        process.join(120)
        assert process.exitcode == 0
    tiling.check_same(tiling.load(target), qorn.opening(IMAGE, BALL))
    do_shard(source, target, 3, 8)  # a job that is started again has nothing to do


def test_shards_one_after_the_other(tmp_path: pathlib.Path) -> None:
    source = tiling.save(tmp_path / "in.zarr", IMAGE, (13, 16, 31))
    where: Any = {"count": 3, "tile": (13, 16, 31)}
    for index in (2, 0, 2, 1):
        assert not os.path.exists(tmp_path / "out.zarr")
        report = tiles.run_shard(qorn.opening, source, tmp_path / "out.zarr", BALL, index=index, **where)
        assert report.complete == (index == 1)
    tiling.check_same(tiling.load(tmp_path / "out.zarr"), qorn.opening(IMAGE, BALL))
    with pytest.raises(ValueError, match="0 to 2"):
        tiles.run_shard(qorn.opening, source, tmp_path / "new.zarr", BALL, index=3, **where)


def test_two_shards_publish_at_once(tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch) -> None:
    """The other one is faster by a moment, when this one has looked at everything."""
    from qorn.tiles import _manifest, _publish

    source = tiling.save(tmp_path / "in.zarr", IMAGE, (13, 16, 31))
    target = tmp_path / "out.zarr"
    where: Any = {"count": 2, "tile": (13, 16, 31)}
    tiles.run_shard(qorn.opening, source, target, BALL, index=0, **where)
    manifest = _manifest.find(str(target))
    assert manifest is not None
    listdir, store = os.listdir, manifest.get_store(0)

    def publish_meanwhile(path: Any) -> Any:
        names = listdir(path)
        if path == store:
            monkeypatch.setattr(os, "listdir", listdir)
            _publish.publish(manifest, None)
        return names

    monkeypatch.setattr(os, "listdir", publish_meanwhile)
    report = tiles.run_shard(qorn.opening, source, target, BALL, index=1, **where)
    assert report.complete and not os.path.exists(store)
    tiling.check_same(tiling.load(target), qorn.opening(IMAGE, BALL))


STAGED = {
    "dilation": (qorn.dilation, (qorn.connectivity(26, 12),), {}),
    "opening": (qorn.opening, (qorn.connectivity(6, 10),), {}),
    "closing": (qorn.closing, (qorn.connectivity(18, 9),), {}),
    "operator": (qorn.run, ("Erosion3d",), {"numberOfIterations": 11, "neighborhood": "cube"}),
}


@pytest.mark.parametrize("name", STAGED)
@pytest.mark.parametrize("dtype", [np.uint8, np.float64])
def test_stages(name: str, dtype: Any, tmp_path: pathlib.Path) -> None:
    """Margins of all iterations don't fit the memory, those of some do."""
    function, args, keywords = STAGED[name]
    image = tiling.make_image(dtype)
    source = tiling.save(tmp_path / "in.zarr", image, (8, 8, 8))
    memory = 65000 * image.itemsize
    report = tiles.run(function, source, tmp_path / "out.zarr", *args, workers=0, memory=memory, **keywords)
    assert report.stages >= 2 and report.working_set <= memory
    tiling.check_same(tiling.load(tmp_path / "out.zarr"), function(*(args[:0]), image, *args, **keywords)
                      if function is not qorn.run else qorn.run(args[0], image, **keywords))  # fmt: skip


def test_stages_by_shards(tmp_path: pathlib.Path) -> None:
    source = tiling.save(tmp_path / "in.zarr", IMAGE, (8, 8, 8))
    target = tmp_path / "out.zarr"
    complete = []
    for _ in range(2):
        for index in range(2):
            report = tiles.run_shard(
                qorn.dilation, source, target, qorn.connectivity(26, 8), index=index, count=2, memory=65000
            )
            complete.append(report.complete)
    assert report.stages == 2 and complete == [False, False, True, True]
    tiling.check_same(tiling.load(target), qorn.dilation(IMAGE, qorn.connectivity(26, 8)))


def test_no_stages_for_what_has_none(tmp_path: pathlib.Path) -> None:
    source = tiling.save(tmp_path / "in.zarr", IMAGE, (8, 8, 8))
    for function, footprint in ((qorn.gradient, qorn.connectivity(26, 12)), (qorn.dilation, qorn.ball(12))):
        with pytest.raises(MemoryError, match="needs [0-9]+ bytes"):
            tiles.run(function, source, tmp_path / "out.zarr", footprint, workers=0, memory=65000)
    assert os.listdir(tmp_path) == ["in.zarr"]


@pytest.mark.parametrize("suffix", [".npy", ".tif", ".nii", ".zarr"])
@pytest.mark.parametrize("dtype", [np.uint8, np.int16, np.float32])
def test_files(suffix: str, dtype: Any, tmp_path: pathlib.Path) -> None:
    """From each kind of file to each other one."""
    image = tiling.without_nan(tiling.make_image(dtype))
    source = tmp_path / f"in{suffix}"
    if suffix == ".zarr":
        tiling.save(source, image, (9, 16, 20))
    else:
        qorn.write(source, image)
    expected = qorn.opening(image, BALL)
    for other in (".npy", ".tif", ".nii", ".nii.gz", ".zarr"):
        target = tmp_path / f"out{other}"
        report = tiles.run(qorn.opening, source, target, BALL, workers=0, chunks=(9, 16, 20), tile=(18, 16, 53))
        assert report.tiles == 9
        tiling.check_same(tiling.load(target) if other == ".zarr" else qorn.read(target).image, expected, other)
    assert len(os.listdir(tmp_path)) == 6


def test_byte_orders_and_bool_files(tmp_path: pathlib.Path) -> None:
    image = tiling.make_image(np.int32)
    np.save(tmp_path / "swapped.npy", image.astype(">i4"))
    tiles.run(qorn.dilation, tmp_path / "swapped.npy", tmp_path / "out.npy", BALL, workers=0, memory="1MB")
    tiling.check_same(np.load(tmp_path / "out.npy"), qorn.dilation(image, BALL))
    tiling.save(tmp_path / "swapped.zarr", image.astype(">i4"), (8, 8, 8))
    tiles.run(qorn.dilation, tmp_path / "swapped.zarr", tmp_path / "out.zarr", BALL, workers=0, memory="1MB")
    tiling.check_same(tiling.load(tmp_path / "out.zarr"), qorn.dilation(image, BALL))
    bits = image > 0
    np.save(tmp_path / "bits.npy", bits)
    tiles.run(qorn.erosion, tmp_path / "bits.npy", tmp_path / "less.npy", BALL, workers=0, memory="1MB")
    tiling.check_same(np.load(tmp_path / "less.npy"), qorn.erosion(bits, BALL))
    np.save(tmp_path / "columns.npy", np.asfortranarray(image))
    tiles.run(qorn.dilation, tmp_path / "columns.npy", tmp_path / "rows.npy", BALL, workers=0, memory="1MB")
    tiling.check_same(np.load(tmp_path / "rows.npy"), qorn.dilation(image, BALL))


def test_header_goes_along(tmp_path: pathlib.Path) -> None:
    qorn.write(tmp_path / "in.nii", tiling.make_image(np.uint16))
    raw = bytearray((tmp_path / "in.nii").read_bytes())
    raw[80:92] = np.array([1.5, 2, 2.5], "<f4").tobytes()  # the spacing
    raw[112:120] = np.array([2, 5], "<f4").tobytes()  # slope and intercept
    (tmp_path / "in.nii").write_bytes(raw)
    tiles.run(qorn.white_tophat, tmp_path / "in.nii", tmp_path / "out.nii", BALL, workers=0, memory="1MB")
    header = qorn.read_header(tmp_path / "out.nii")
    assert header.spacing == (2.5, 2.0, 1.5) and header.scale == (2, 0) and header.dtype == "uint16"
    source = tiling.save(tmp_path / "in.zarr", IMAGE, (8, 8, 8))
    import zarr

    zarr.open_array(source).attrs["unit"] = "um"
    tiles.run(qorn.opening, source, tmp_path / "out.zarr", BALL, workers=0)
    assert zarr.open_array(str(tmp_path / "out.zarr")).attrs["unit"] == "um"


def test_a_marked_tile_isnt_done_again(tmp_path: pathlib.Path) -> None:
    from qorn.tiles import _manifest, _tile

    source = tiling.save(tmp_path / "in.zarr", IMAGE, (13, 16, 31))
    tiles.run_shard(qorn.opening, source, tmp_path / "out.zarr", BALL, index=1, count=18, tile=(13, 16, 31))
    manifest = _manifest.find(str(tmp_path / "out.zarr"))
    assert manifest is not None and manifest.get_marked(0) == {1}
    assert not _tile.do_tile(manifest.folder, manifest.id, 0, 1).is_new
    assert _tile.do_tile(manifest.folder, manifest.id, 0, 2).is_new


def test_progress_and_report(client: Any, tmp_path: pathlib.Path) -> None:
    source = tiling.save(tmp_path / "in.zarr", IMAGE, (13, 16, 31))
    seen: list[float] = []
    report = tiles.run(
        "opening", source, tmp_path / "out.zarr", BALL, client=client, tile=(13, 16, 31), progress=seen.append
    )
    assert seen == [pytest.approx((one + 1) / 18) for one in range(18)] and report.tiles == 18
    assert report.bytes_written == IMAGE.nbytes < report.bytes_read
    assert report.bytes_read / IMAGE.nbytes == pytest.approx(report.overhead)
    assert min(report.seconds_reading, report.seconds_computing, report.seconds_writing) > 0
