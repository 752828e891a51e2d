"""Workers and clients that are killed, runs that are cancelled, and what is left of them."""

from __future__ import annotations

import multiprocessing
import os
import pathlib
import random
import signal
import subprocess
import sys
import textwrap
import threading
import time
from typing import Any, Callable, Iterator

import numpy as np
import pytest
import support
import tiling

import qorn
from qorn import tiles

# Tiles of about 60 ms, most of which is computing; reading and writing are long enough to be hit.
SHAPE = (120, 128, 160)
CHUNKS = (10, 32, 40)
TILE = (20, 64, 80)
NB_TILES = 6 * 2 * 2
FOOTPRINT = qorn.ball(7)
IMAGE = tiling.make_image(np.uint16, SHAPE)


@pytest.fixture(scope="module")
def expected() -> np.ndarray:
    return qorn.opening(IMAGE, FOOTPRINT)


@pytest.fixture()
def client() -> Iterator[Any]:
    yield from tiling.make_client(3)


@pytest.fixture()
def source(tmp_path: pathlib.Path) -> str:
    return tiling.save(tmp_path / "in.zarr", IMAGE, CHUNKS)


def start(source: Any, target: Any, **keywords: Any) -> tiles.Report:
    return tiles.run(qorn.opening, source, target, FOOTPRINT, tile=TILE, **keywords)


def check_marks(target: Any) -> int:
    """That every marked tile has all its chunks, which can be read; returns how many tiles are marked."""
    work = tiling.find_work(target)
    assert work is not None
    marked = [int(name) for name in os.listdir(os.path.join(work, "done-0")) if name.isdecimal()]
    result, there = tiling.load_readable(os.path.join(work, "result.zarr"))
    whole = qorn.opening(IMAGE, FOOTPRINT)
    for tile in marked:
        place = np.unravel_index(tile, (6, 2, 2))
        core = tuple(slice(at * size, (at + 1) * size) for at, size in zip(place, TILE))
        assert there[core].all()
        tiling.check_same(result[core], whole[core])
    return len(marked)


def test_workers_are_killed_at_random(client: Any, source: str, tmp_path: pathlib.Path, expected: np.ndarray) -> None:
    """In several runs: while a worker reads, computes or writes, or just starts."""
    kills = 20 if support.LONG else 6
    rng = random.Random(1)
    nb_killed = nb_done = nb_runs = 0
    while nb_killed < kills:
        is_over = threading.Event()
        killed: list[int] = []

        def kill() -> None:
            while not is_over.wait(rng.uniform(0.02, 0.5)):
                # One that is killed while it starts may not be started again, and a run waits for its client's workers.
                if not client.nthreads():
                    client.cluster.scale(3)
                pids = [pid for pid in tiling.worker_pids(client) if pid is not None]
                if pids:
                    killed.append(rng.choice(pids))
                    try:
                        os.kill(killed[-1], signal.SIGKILL)
                    except ProcessLookupError:
                        killed.pop()
                    is_over.wait(rng.uniform(0.5, 1.5))

        killer = threading.Thread(target=kill)
        killer.start()
        try:
            report = start(source, tmp_path / "out.zarr", client=client, resume=False)
        finally:
            is_over.set()
            killer.join()
        nb_killed += len(killed)
        nb_done += report.done
        nb_runs += 1
        assert report.complete
        tiling.check_same(tiling.load(tmp_path / "out.zarr"), expected)
        assert not [name for name in os.listdir(tmp_path / "out.zarr") if name.endswith(".partial")]
    print(f"{nb_killed} workers killed in {nb_runs} runs")


def test_a_generation_is_killed(client: Any, source: str, tmp_path: pathlib.Path, expected: np.ndarray) -> None:
    killed: list[int] = []

    def kill(fraction: float) -> None:
        if fraction > 0.3 and not killed:
            killed.extend(tiling.worker_pids(client))
            for pid in killed:
                os.kill(pid, signal.SIGKILL)

    report = start(source, tmp_path / "out.zarr", client=client, progress=kill)
    assert len(killed) == 3 and report.complete
    tiling.check_same(tiling.load(tmp_path / "out.zarr"), expected)


RUN = """
    import qorn, sys
    from qorn import tiles
    if __name__ == "__main__":
        tiles.run(qorn.opening, sys.argv[1], sys.argv[2], qorn.Footprint(sys.argv[3]), tile={tile}, {more})
"""


def start_process(folder: pathlib.Path, source: str, target: Any, more: str) -> subprocess.Popen[str]:
    script = folder / "run.py"
    script.write_text(textwrap.dedent(RUN.format(tile=TILE, more=more)))
    return subprocess.Popen(
        [sys.executable, "-B", str(script), source, str(target), FOOTPRINT.text], stderr=subprocess.PIPE, text=True
    )


def wait_for(condition: Callable[[], Any], seconds: float = 60) -> Any:
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        found = condition()
        if found:
            return found
        time.sleep(0.01)
    raise AssertionError("it took too long")


def count_marks(target: Any) -> int:
    try:
        work = tiling.find_work(target)
        return len(os.listdir(os.path.join(work, "done-0"))) if work else 0
    except FileNotFoundError:
        return 0


@pytest.mark.parametrize("more", ["workers=2", "workers=0"])
def test_the_client_is_killed(more: str, source: str, tmp_path: pathlib.Path, expected: np.ndarray) -> None:
    """The next start does the rest, and at most the tiles that were at work again."""
    target = tmp_path / "out.zarr"
    process = start_process(tmp_path, source, target, more)
    wait_for(lambda: count_marks(target) >= 4)
    process.kill()
    process.communicate()
    time.sleep(0.5)  # for workers that end when they see it
    marked = check_marks(target)
    assert 4 <= marked < NB_TILES and not os.path.exists(target)
    report = start(source, target, workers=0)
    assert report.done == NB_TILES - marked
    tiling.check_same(tiling.load(target), expected)


DIE = """
    import os, signal, sys
    import qorn
    from qorn import tiles
    from qorn.tiles import _manifest, _stores, _tile
    place, name, count = {place}, {name!r}, {count}
    original = getattr(place, name)
    def die(*args, **keywords):
        global count
        count -= 1
        if count == 0:
            os.kill(os.getpid(), signal.SIGKILL)
        return original(*args, **keywords)
    setattr(place, name, die)
    tiles.run(qorn.opening, sys.argv[1], sys.argv[2], qorn.ball(7), tile={tile}, workers=0)
"""
# Where a process dies, in one of the first tiles: at a call of a function, of so many.
MOMENTS = {
    "reading": ("_stores._ZarrSource", "read", 5),
    "computing": ("_tile", "_compute", 5),
    "deleting": ("_stores._ZarrTarget", "delete", 5),
    "before it writes": ("_stores._ZarrTarget", "write", 3),
    "before the mark": ("_manifest.Manifest", "mark", 5),
    "before a first chunk has its name": ("os", "replace", 21),
    "before a last chunk has its name": ("os", "replace", 43),
}


@pytest.mark.parametrize("moment", MOMENTS)
def test_a_process_dies(moment: str, source: str, tmp_path: pathlib.Path, expected: np.ndarray) -> None:
    """At a certain moment of a tile, which isn't marked then; the next start does all but what is marked."""
    place, name, count = MOMENTS[moment]
    script = textwrap.dedent(DIE.format(place=place, name=name, count=count, tile=TILE))
    target = tmp_path / "out.zarr"
    result = subprocess.run([sys.executable, "-B", "-c", script, source, str(target)], check=False)
    assert result.returncode == -signal.SIGKILL
    marked = check_marks(target)
    assert marked < NB_TILES
    report = start(source, target, workers=0)
    assert report.done == NB_TILES - marked
    tiling.check_same(tiling.load(target), expected)


def cancel_by_token(client: Any, target: Any, source: str) -> float:
    token = qorn.CancelToken()
    times: list[float] = []

    def cancel(fraction: float) -> None:
        if fraction > 0.2 and not times:
            times.append(time.monotonic())
            token.cancel()

    with pytest.raises(qorn.Cancelled):
        start(source, target, client=client, cancel=token, progress=cancel)
    return times[0]


def cancel_by_interrupt(client: Any, target: Any, source: str) -> float:
    times: list[float] = []

    def interrupt(fraction: float) -> None:
        if fraction > 0.2 and not times:
            times.append(time.monotonic())
            os.kill(os.getpid(), signal.SIGINT)

    with pytest.raises(KeyboardInterrupt):
        start(source, target, client=client, progress=interrupt)
    return times[0]


def cancel_by_exception(client: Any, target: Any, source: str) -> float:
    times: list[float] = []

    def fail(fraction: float) -> None:
        times.append(time.monotonic())
        raise ZeroDivisionError

    with pytest.raises(ZeroDivisionError):
        start(source, target, client=client, progress=fail)
    return times[0]


@pytest.mark.parametrize("cancel", [cancel_by_token, cancel_by_interrupt, cancel_by_exception])
def test_cancel(
    cancel: Callable[..., float], client: Any, source: str, tmp_path: pathlib.Path, expected: np.ndarray
) -> None:
    target = tmp_path / "out.zarr"
    asked = cancel(client, target, source)
    wait_for(lambda: not any(client.run(tiling.count_running).values()))
    idle = time.monotonic() - asked
    print(f"idle after {idle:.2f} s")
    assert idle < support.wait_factor()
    marked = check_marks(target)
    assert 1 <= marked < NB_TILES
    report = start(source, target, client=client)
    assert report.done == NB_TILES - marked
    tiling.check_same(tiling.load(target), expected)


def test_cancel_within_a_tile(client: Any, tmp_path: pathlib.Path) -> None:
    """A tile takes many seconds; its operator itself ends."""
    source = tiling.save(tmp_path / "in.zarr", np.zeros((64, 256, 256), np.uint8), (32, 128, 128))
    token = qorn.CancelToken()
    times: list[float] = []

    def cancel() -> None:
        wait_for(lambda: any(client.run(tiling.count_running).values()))
        time.sleep(0.2)
        times.append(time.monotonic())
        token.cancel()

    thread = threading.Thread(target=cancel)
    thread.start()
    with pytest.raises(qorn.Cancelled):
        tiles.run(
            qorn.dilation, source, tmp_path / "out.zarr", qorn.disk3d(60, 20, 30), client=client, cancel=token,
            tile=(32, 128, 128),
        )  # fmt: skip
    thread.join()
    wait_for(lambda: not any(client.run(tiling.count_running).values()))
    idle = time.monotonic() - times[0]
    print(f"idle after {idle:.2f} s")
    assert idle < support.wait_factor()


def test_interrupt_of_the_program(source: str, tmp_path: pathlib.Path, expected: np.ndarray) -> None:
    """Ctrl-C in a terminal reaches the workers as well: all processes of the group."""
    target = tmp_path / "out.zarr"
    command = [sys.executable, "-B", "-m", "qorn", "tiles", "opening", source, str(target), "--element",
               FOOTPRINT.text, "--workers", "2", "--tile", ",".join(map(str, TILE)), "--quiet"]  # fmt: skip
    process = subprocess.Popen(command, stderr=subprocess.PIPE, text=True, start_new_session=True)
    wait_for(lambda: count_marks(target) >= 4)
    os.killpg(process.pid, signal.SIGINT)
    _, said = process.communicate(timeout=60)
    assert process.returncode == 130 and said == "interrupted; the same command goes on\n"
    wait_for(lambda: not tiling.group_exists(process.pid))
    assert check_marks(target) < NB_TILES
    subprocess.run(command, check=True)
    tiling.check_same(tiling.load(target), expected)


def test_cancel_file_of_shards(source: str, tmp_path: pathlib.Path, expected: np.ndarray) -> None:
    target = tmp_path / "out.zarr"
    process = start_shard(source, target)
    wait_for(lambda: count_marks(target) >= 2)
    cancel = tmp_path / "out.zarr.tiles" / "cancel"
    cancel.touch()
    process.join(20)
    assert process.exitcode == 1 and check_marks(target) < NB_TILES
    cancel.unlink()
    report = tiles.run_shard(qorn.opening, source, target, FOOTPRINT, index=0, count=1, tile=TILE)
    assert report.complete
    tiling.check_same(tiling.load(target), expected)


def do_shard(source: str, target: str) -> None:
    tiles.run_shard(qorn.opening, source, target, FOOTPRINT, index=0, count=1, tile=TILE)


def start_shard(source: str, target: Any) -> Any:
    process = multiprocessing.get_context("spawn").Process(target=do_shard, args=(source, str(target)))
    process.start()
    return process


def test_broken_chunks_are_deleted(source: str, tmp_path: pathlib.Path, expected: np.ndarray) -> None:
    """A killed process, or a disk that was full, has left parts of chunks, also of those at the edge."""
    target = tmp_path / "out.zarr"
    token = qorn.CancelToken()
    # Chunks of the last tiles are read by zarr before it writes them, since they reach beyond the image.
    odd = tiling.save(tmp_path / "odd.zarr", IMAGE[:115, :120, :150], CHUNKS)
    with pytest.raises(qorn.Cancelled):
        start(odd, target, workers=0, cancel=token, progress=lambda done: done > 0.5 and token.cancel())
    work = tiling.find_work(target)
    assert work is not None
    store = pathlib.Path(work) / "result.zarr"
    marks = {int(name) for name in os.listdir(pathlib.Path(work) / "done-0")}
    nb_broken = 0
    for tile in set(range(NB_TILES)) - marks:
        place = np.unravel_index(tile, (6, 2, 2))
        for chunk in np.ndindex(2, 2, 2):
            name = ".".join(str(2 * at + one) for at, one in zip(place, chunk))
            (store / name).write_bytes(b"\x02\x01\x21\x02half of a chunk")
            nb_broken += 1
    (store / "0.0.0.0123456789abcdef.partial").write_bytes(b"begun")
    assert nb_broken > 20
    start(odd, target, workers=0)
    tiling.check_same(tiling.load(target), qorn.opening(IMAGE[:115, :120, :150], FOOTPRINT))
    assert not [name for name in os.listdir(target) if name.endswith(".partial")]


def test_workers_that_could_not_start_are_started_again(monkeypatch: pytest.MonkeyPatch) -> None:
    """On a computer that is very busy a start may take too long; the next one doesn't."""
    from qorn.tiles import _engine

    class Cluster:
        nb_asked = 0

        def scale(self, workers: int) -> None:
            self.nb_asked += 1

    class Client:
        def nthreads(self) -> dict[str, int]:
            return {"tcp://0": 1, "tcp://1": 1} if cluster.nb_asked >= 3 else {}

    cluster = Cluster()
    monkeypatch.setattr(_engine, "_SCALE_SECONDS", 0.1)
    _engine._wait_for_workers(Client(), cluster, 2, "nowhere")
    assert cluster.nb_asked == 3
    monkeypatch.setattr(_engine, "_START_SECONDS", 0.3)
    _engine._wait_for_workers(Client(), cluster, 3, "nowhere")  # some are better than none
    cluster.nb_asked = -100
    with pytest.raises(qorn.Error, match="no worker"):
        _engine._wait_for_workers(Client(), cluster, 3, "nowhere")
