"""What tiles refuse, and what they say."""

from __future__ import annotations

import os
import pathlib
import subprocess
import sys
import textwrap
from typing import Any, Callable

import numpy as np
import pytest
import tiling
import zarr

import qorn
from qorn import tiles

IMAGE = tiling.make_image(np.uint8)
DISK = qorn.disk(2)


@pytest.fixture()
def source(tmp_path: pathlib.Path) -> str:
    return tiling.save(tmp_path / "in.zarr", IMAGE, (13, 16, 31))


def begin(source: str, target: Any, *args: Any, **keywords: Any) -> None:
    """A run that ends after its first tile."""
    token = qorn.CancelToken()
    with pytest.raises(qorn.Cancelled):
        tiles.run(*args, workers=0, cancel=token, progress=lambda _: token.cancel(), **keywords)


def test_other_parameters(source: str, tmp_path: pathlib.Path) -> None:
    target = tmp_path / "out.zarr"
    tile: Any = {"tile": (13, 16, 31)}
    begin(source, target, qorn.opening, source, target, DISK, **tile)
    other = tiling.save(tmp_path / "other.zarr", IMAGE, (13, 16, 31))
    for what, call in {
        "arguments": lambda **o: tiles.run(qorn.opening, source, target, qorn.disk(3), **tile, **o),
        "function": lambda **o: tiles.run(qorn.closing, source, target, DISK, **tile, **o),
        "sources": lambda **o: tiles.run(qorn.opening, other, target, DISK, **tile, **o),
        "memory": lambda **o: tiles.run(qorn.opening, source, target, DISK, memory="1MiB", **tile, **o),
        "tile": lambda **o: tiles.run(qorn.opening, source, target, DISK, tile=(26, 16, 31), **o),
        "chunks": lambda **o: tiles.run(qorn.opening, source, target, DISK, chunks=(13, 16, 31), **tile, **o),
        "arguments, ": lambda **o: tiles.run(qorn.opening, source, target, DISK, axes="TYX", **o),
    }.items():
        with pytest.raises(ValueError, match=f"other parameters.*of .*{what}"):
            call(workers=0)
    with pytest.raises(ValueError, match="other parameters"):
        tiles.run_shard(qorn.opening, source, target, qorn.disk(3), index=0, count=2, **tile)
    report = tiles.run(qorn.closing, source, target, DISK, workers=0, resume=False, **tile)
    assert report.done == report.tiles
    tiling.check_same(tiling.load(target), qorn.closing(IMAGE, DISK))


def test_the_same_parameters_in_other_words(source: str, tmp_path: pathlib.Path) -> None:
    tile: Any = {"tile": (13, 16, 31)}
    target = tmp_path / "out.zarr"
    begin(source, target, qorn.opening, source, target, DISK.mask(), memory="512MiB", **tile)
    report = tiles.run("opening", zarr.open_array(source), target, DISK.mask(), workers=0, memory=512 << 20, **tile)
    assert report.done == report.tiles - 1


def test_a_target_that_exists(source: str, tmp_path: pathlib.Path) -> None:
    for name in ("out.zarr", "out.npy", "out.nii"):
        target = tmp_path / name
        tiles.run(qorn.opening, source, target, DISK, workers=0)
        with pytest.raises(FileExistsError, match="resume=False"):
            tiles.run(qorn.dilation, source, target, DISK, workers=0)
        with pytest.raises(FileExistsError):
            tiles.run_shard(qorn.dilation, source, target, DISK, index=0, count=1)
        tiles.run(qorn.dilation, source, target, DISK, workers=0, resume=False)
        result = tiling.load(target) if name == "out.zarr" else qorn.read(target).image
        tiling.check_same(result, qorn.dilation(IMAGE, DISK))
    assert sorted(os.listdir(tmp_path)) == ["in.zarr", "out.nii", "out.npy", "out.zarr"]


def test_what_was_there_stays_until_the_end(source: str, tmp_path: pathlib.Path) -> None:
    target = tmp_path / "out.zarr"
    tiles.run(qorn.opening, source, target, DISK, workers=0)
    tile: Any = {"tile": (13, 16, 31)}
    begin(source, target, qorn.dilation, source, target, DISK, resume=False, **tile)
    tiling.check_same(tiling.load(target), qorn.opening(IMAGE, DISK))
    tiles.run(qorn.dilation, source, target, DISK, workers=0, **tile)
    tiling.check_same(tiling.load(target), qorn.dilation(IMAGE, DISK))


REFUSED: dict[str, tuple[Any, str, Callable[[str, pathlib.Path], object]]] = {
    "no source": (FileNotFoundError, "nowhere", lambda s, f: tiles.run("opening", f / "nowhere.zarr", f / "o", DISK)),
    "no file": (FileNotFoundError, "nowhere", lambda s, f: tiles.run("opening", f / "nowhere.tif", f / "o", DISK)),
    "no folder": (FileNotFoundError, "gone", lambda s, f: tiles.run("opening", s, f / "gone" / "out.zarr", DISK)),
    "a group": (OSError, "group", lambda s, f: tiles.run("opening", f / "group.zarr", f / "o", DISK)),
    "broken": (OSError, "no zarr array", lambda s, f: tiles.run("opening", f / "broken.zarr", f / "o", DISK)),
    "no npy": (OSError, "text.npy", lambda s, f: tiles.run("opening", f / "text.npy", f / "o", DISK)),
    "compressed": (OSError, "compressed", lambda s, f: tiles.run("opening", f / "packed.tif", f / "o", DISK)),
    "gzip": (OSError, "in parts", lambda s, f: tiles.run("opening", f / "in.nii.gz", f / "o", DISK)),
    "int64": (TypeError, "int64", lambda s, f: tiles.run("opening", f / "long.zarr", f / "o", DISK)),
    "no voxels": (ValueError, "no voxels", lambda s, f: tiles.run("opening", f / "empty.zarr", f / "o", DISK)),
    "one axis": (ValueError, "2 to 5 axes", lambda s, f: tiles.run("opening", f / "line.zarr", f / "o", DISK)),
    "chunk of 0": (ValueError, "at least 1", lambda s, f: tiles.run("opening", s, f / "o", DISK, chunks=(0, 1, 1))),
    "chunks": (ValueError, "3 axes", lambda s, f: tiles.run("opening", s, f / "o", DISK, chunks=(8, 8))),
    "tile": (ValueError, "whole chunks", lambda s, f: tiles.run("opening", s, f / "o", DISK, tile=(5, 16, 31))),
    "itself": (ValueError, "source as well", lambda s, f: tiles.run("opening", s, s, DISK)),
    "shapes": (ValueError, "shapes", lambda s, f: tiles.run("logical", s, f / "o", f / "small.zarr")),
    "types": (TypeError, "types", lambda s, f: tiles.run("logical", s, f / "o", f / "wide.zarr")),
    "array": (TypeError, "a store", lambda s, f: tiles.run("opening", IMAGE, f / "o", DISK)),
    "second array": (TypeError, "store", lambda s, f: tiles.run("logical", s, f / "o", IMAGE)),
    "address": (ValueError, "addresses", lambda s, f: tiles.run("opening", "s3://bucket/in.zarr", f / "o", DISK)),
    "memory": (MemoryError, "needs", lambda s, f: tiles.run("opening", s, f / "o", DISK, memory="20kB")),
    "size": (ValueError, "no size", lambda s, f: tiles.run("opening", s, f / "o", DISK, memory="much")),
    "function": (TypeError, "no function", lambda s, f: tiles.run(max, s, f / "o")),
    "name": (TypeError, "no function", lambda s, f: tiles.run("openning", s, f / "o")),
    "out": (TypeError, "out=", lambda s, f: tiles.run("opening", s, f / "o", DISK, out=IMAGE)),
    "footprint": (TypeError, "footprint", lambda s, f: tiles.run("opening", s, f / "o")),
    "operator": (ValueError, "no operator", lambda s, f: tiles.run("run", s, f / "o", "Opening")),
    "property": (ValueError, "size", lambda s, f: tiles.run("run", s, f / "o", "DilationBall3d", size=3)),
    "measure": (TypeError, "extrema", lambda s, f: tiles.run("run", s, f / "o", "IntensityExtrema")),
    "json": (OSError, ".json", lambda s, f: tiles.run("extrema", s, f / "out.zarr")),
    "suffix": (OSError, "a target is", lambda s, f: tiles.run("opening", s, f / "out.jpg", DISK)),
    "axes": (ValueError, "axes", lambda s, f: tiles.run("opening", s, f / "o", DISK, axes="YX")),
    "per": (ValueError, "per", lambda s, f: tiles.run("extrema", s, f / "out.json", "T")),
    "workers": (ValueError, "workers", lambda s, f: tiles.run("opening", s, f / "o", DISK, workers=-1)),
}


@pytest.fixture()
def folder(tmp_path: pathlib.Path) -> pathlib.Path:
    zarr.open_group(str(tmp_path / "group.zarr"), mode="w")
    (tmp_path / "broken.zarr").mkdir()
    (tmp_path / "broken.zarr" / ".zarray").write_text("{")
    (tmp_path / "text.npy").write_text("text")
    (tmp_path / "in.nii.gz").write_bytes(b"")
    tiling.save(tmp_path / "long.zarr", IMAGE.astype(np.int64), (8, 8, 8))
    tiling.save(tmp_path / "empty.zarr", IMAGE[:0], (8, 8, 8))
    tiling.save(tmp_path / "line.zarr", IMAGE[0, 0], (8,))
    tiling.save(tmp_path / "small.zarr", IMAGE[1:], (8, 8, 8))
    tiling.save(tmp_path / "wide.zarr", IMAGE.astype(np.uint16), (8, 8, 8))
    write_packed_tiff(tmp_path / "packed.tif")
    return tmp_path


def write_packed_tiff(path: pathlib.Path) -> None:
    """A file that says that it is compressed; nobody gets as far as its voxels."""
    qorn.write(path, IMAGE[0])
    raw, plain = path.read_bytes(), np.array([259, 3, 1, 0, 1], "<u2").tobytes()
    assert raw.count(plain) == 1
    path.write_bytes(raw.replace(plain, np.array([259, 3, 1, 0, 8], "<u2").tobytes()))


@pytest.mark.parametrize("name", REFUSED)
def test_refused(name: str, source: str, folder: pathlib.Path) -> None:
    error, match, call = REFUSED[name]
    before = sorted(os.listdir(folder))
    with pytest.raises(error, match=match):
        call(source, folder)
    assert sorted(os.listdir(folder)) == before


def test_a_source_that_changes(source: str, tmp_path: pathlib.Path) -> None:
    tile: Any = {"tile": (13, 16, 31)}
    begin(source, tmp_path / "out.zarr", qorn.opening, source, tmp_path / "out.zarr", DISK, **tile)
    tiling.save(source, IMAGE[:20], (13, 16, 31))
    with pytest.raises(ValueError, match="shape"):
        tiles.run(qorn.opening, source, tmp_path / "out.zarr", DISK, workers=0, **tile)


def test_a_broken_chunk_of_the_source(source: str, tmp_path: pathlib.Path) -> None:
    """Is told by its name, and what was done stays."""
    chunk = pathlib.Path(source) / "2.1.1"
    content = chunk.read_bytes()
    chunk.write_bytes(content[: len(content) // 2])
    call: Any = (qorn.opening, source, tmp_path / "out.zarr", DISK)
    with pytest.raises(OSError, match="in.zarr: a chunk in .* can't be read"):
        tiles.run(*call, workers=0, tile=(13, 16, 31))
    chunk.write_bytes(content)
    report = tiles.run(*call, workers=0, tile=(13, 16, 31))
    assert 0 < report.done < report.tiles
    tiling.check_same(tiling.load(tmp_path / "out.zarr"), qorn.opening(IMAGE, DISK))


FULL = """
    import resource, signal, sys
    import numpy as np, qorn
    from qorn import tiles
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    if sys.argv[3] != "0":
        resource.setrlimit(resource.RLIMIT_FSIZE, (int(sys.argv[3]),) * 2)
    try:
        print(tiles.run(qorn.opening, sys.argv[1], sys.argv[2], qorn.disk(2), workers=0, tile=(13, 16, 53)).done)
    except OSError as error:
        print("OSError:", error)
"""


def test_a_full_disk(tmp_path: pathlib.Path) -> None:
    """Some chunks are written, another one isn't; the next start goes on from there."""
    image = IMAGE.copy()
    image[:20] = 7  # its chunks are small
    source = tiling.save(tmp_path / "in.zarr", image, (13, 16, 53))
    outputs = [
        subprocess.run(
            [sys.executable, "-B", "-c", textwrap.dedent(FULL), source, str(tmp_path / "out.zarr"), limit],
            capture_output=True, text=True, check=True,
        ).stdout
        for limit in ("2000", "0")
    ]  # fmt: skip
    assert outputs[0].startswith("OSError: [Errno 27] File too large"), outputs
    assert 0 < int(outputs[1]) < 9
    tiling.check_same(tiling.load(tmp_path / "out.zarr"), qorn.opening(image, DISK))


def test_a_failure_is_tried_again(source: str, tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch) -> None:
    from qorn.tiles import _stores

    write = _stores._ZarrTarget.write
    failures = []

    def fail(self: Any, box: Any, voxels: Any) -> None:
        if len(failures) < 5:
            failures.append(box)
            raise OSError("the disk sleeps")
        write(self, box, voxels)

    monkeypatch.setattr(_stores._ZarrTarget, "write", fail)
    target = tmp_path / "out.zarr"
    with pytest.raises(OSError, match="sleeps"):
        tiles.run(qorn.opening, source, target, DISK, workers=0, retries=2)
    assert len(failures) == 3
    report = tiles.run(qorn.opening, source, target, DISK, workers=0, retries=2)
    assert report.retried == 2 and len(failures) == 5
    tiling.check_same(tiling.load(target), qorn.opening(IMAGE, DISK))


def test_a_worker_without_the_package(source: str, tmp_path: pathlib.Path) -> None:
    """It has another path, and is told by its address."""
    from distributed import Client, LocalCluster

    with LocalCluster(n_workers=0, dashboard_address=None, silence_logs=50) as cluster:
        command = [sys.executable, "-m", "distributed.cli.dask_worker", cluster.scheduler_address, "--no-nanny",
                   "--nthreads", "1", "--no-dashboard", "--death-timeout", "20"]  # fmt: skip
        environment = {key: value for key, value in os.environ.items() if key != "PYTHONPATH"}
        with subprocess.Popen(command, env=environment, cwd=tmp_path, stderr=subprocess.DEVNULL) as worker:
            try:
                with Client(cluster) as client:
                    client.wait_for_workers(1)
                    with pytest.raises(qorn.Error, match="tcp://.*can't do tiles: ModuleNotFoundError.*qorn"):
                        tiles.run(qorn.opening, source, tmp_path / "out.zarr", DISK, client=client)
            finally:
                worker.terminate()


WITHOUT = """
    import sys
    for module in ("zarr", "dask", "distributed"):
        sys.modules[module] = None
    import qorn
    from qorn import tiles
    print(tiles.run("opening", sys.argv[1], sys.argv[2], qorn.disk(2), workers=0).complete)
    try:
        tiles.run("opening", sys.argv[1], sys.argv[3], qorn.disk(2), workers=1)
    except ImportError as error:
        print(error)
"""


def test_files_need_no_other_package(tmp_path: pathlib.Path) -> None:
    np.save(tmp_path / "in.npy", IMAGE)
    places = [str(tmp_path / name) for name in ("in.npy", "out.npy", "other.npy")]
    command = [sys.executable, "-B", "-c", textwrap.dedent(WITHOUT), *places]
    said = subprocess.run(command, capture_output=True, text=True, check=True).stdout
    assert said.startswith("True\nworkers need dask and distributed"), said
    tiling.check_same(np.load(places[1]), qorn.opening(IMAGE, DISK))


class Answers:
    """A client whose workers give these answers."""

    def __init__(self, *answers: Any) -> None:
        self._answers = answers

    def run(self, *args: Any, **keywords: Any) -> dict[str, Any]:
        return {f"tcp://{number}": answer for number, answer in enumerate(self._answers)}


def test_workers_that_die_while_they_are_asked() -> None:
    from distributed.comm.core import CommClosedError
    from qorn.tiles import _engine, _manifest

    _engine.check_workers(Answers(_manifest.VERSION, CommClosedError("closed")))
    for answer in (ModuleNotFoundError("qorn"), _manifest.VERSION + 1):
        with pytest.raises(qorn.Error, match="tcp://1 can't do tiles"):
            _engine.check_workers(Answers(_manifest.VERSION, answer))


def test_scripts_without_a_guard(source: str, tmp_path: pathlib.Path) -> None:
    """Workers import the main script; one that starts workers again is told what is wrong, and ends."""
    script = tmp_path / "script.py"
    call = f"tiles.run('opening', {source!r}, {str(tmp_path / 'out.zarr')!r}, qorn.disk(2), workers=1)"
    script.write_text(f"import qorn\nfrom qorn import tiles\n{call}\n")
    result = subprocess.run([sys.executable, "-B", str(script)], capture_output=True, text=True, timeout=120)
    assert result.returncode == 1 and "__main__" in result.stderr.strip().splitlines()[-1]
    # Its own error and that of a worker, which isn't started again and again.
    assert result.stderr.count("Traceback") < 4, result.stderr


COMMANDS = {
    "element": (["opening"], 1, "needs an element"),
    "text": (["opening", "--element", "bowl(5)"], 1, "bowl"),
    "shard": (["opening", "--element", "disk(2)", "--shard", "3/3"], 2, "0 to 2"),
    "restart": (["opening", "--element", "disk(2)", "--shard", "0/3", "--restart"], 1, "shards can't"),
    "function": (["openning"], 1, "no function"),
    "operator": (["Opening"], 1, "no operator"),
    "property": (["DilationBall3d", "radius"], 1, "NAME=VALUE"),
    "two places": (["opening", "--workers", "1", "--shard", "0/3"], 2, "not allowed"),
}


def run_program(*arguments: Any) -> "subprocess.CompletedProcess[str]":
    command = [sys.executable, "-B", "-m", "qorn", *map(str, arguments)]
    return subprocess.run(command, capture_output=True, text=True, check=False)


@pytest.mark.parametrize("name", COMMANDS)
def test_commands_that_are_refused(name: str, source: str, tmp_path: pathlib.Path) -> None:
    (function, *options), code, said = COMMANDS[name]
    places = [options.pop(0)] if options and "=" not in options[0] and not options[0].startswith("-") else []
    result = run_program("tiles", function, source, tmp_path / "out.zarr", *places, *options)
    assert result.returncode == code and said in result.stderr, result.stderr
    assert "Traceback" not in result.stderr


def test_commands(source: str, tmp_path: pathlib.Path) -> None:
    out = tmp_path / "out.zarr"
    np.save(tmp_path / "weights.npy", np.ones((3, 3)))
    other = tiling.save(tmp_path / "other.zarr", IMAGE[::-1], (13, 16, 31))
    here = ("--workers", 0, "--restart", "--quiet")
    for arguments, expected in [
        ((["opening", "--element", "ball(3)"]), qorn.opening(IMAGE, qorn.ball(3))),
        ((["gradient", "--element", "ball(1)", "--kind", "outer"]), qorn.gradient(IMAGE, qorn.ball(1), kind="outer")),
        ((["logical", "--second", other, "--op", "xor"]), qorn.logical(IMAGE, IMAGE[::-1], "xor")),
        ((["logical", "--value", "15"]), qorn.logical(IMAGE, 15)),
        (
            (["correlate", "--weights", tmp_path / "weights.npy", "--dtype", "float32"]),
            qorn.correlate(IMAGE, np.ones((3, 3)), dtype=np.float32),
        ),
    ]:
        result = run_program("tiles", arguments[0], source, out, *arguments[1:], *here)
        assert result.returncode == 0, result.stderr
        tiling.check_same(tiling.load(out), expected)
    result = run_program("tiles", "DilationBall3d", source, out, "radius=2", "shapeMode=exact", *here)
    assert result.returncode == 0, result.stderr
    tiling.check_same(tiling.load(out), qorn.dilation(IMAGE, qorn.ball(2)))
    result = run_program("tiles", "extrema", source, tmp_path / "out.json", "--workers", 0)
    assert "minimum 0\nmaximum 255\n" in result.stdout and "complete" in result.stdout
    for index in (1, 0):
        result = run_program(
            "tiles", "opening", source, tmp_path / "s.npy", "--element", "disk(2)", "--shard", f"{index}/2"
        )
        assert ("not complete yet" in result.stdout) == (index == 1), result.stderr
    tiling.check_same(np.load(tmp_path / "s.npy"), qorn.opening(IMAGE, DISK))
