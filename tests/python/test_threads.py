"""Calls side by side, forked processes, and the end of the interpreter."""

from __future__ import annotations

import os
import signal
import subprocess
import sys
import textwrap
import threading
import time

import numpy as np
import pytest
import support

import qorn


def run_script(text: str, timeout: float = 120) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        [sys.executable, "-B", "-c", textwrap.dedent(text)],
        capture_output=True,
        text=True,
        timeout=timeout,
        check=False,
    )


def test_four_threads() -> None:
    rng = np.random.default_rng(1)
    images = [support.random_image(rng, (300, 400), dtype) for dtype in (np.uint8, np.int16, np.float32, bool)]
    expected = [qorn.opening(image, qorn.disk(4)) for image in images]
    wrong: list[int] = []

    def work(index: int) -> None:
        for count in range(60):
            threads = 1 + count % 2
            if not (qorn.opening(images[index], qorn.disk(4), threads=threads) == expected[index]).all():
                wrong.append(index)

    workers = [threading.Thread(target=work, args=(index,)) for index in range(4)]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    assert not wrong


def test_other_threads_go_on() -> None:
    counts = [0]
    is_over = threading.Event()

    def count() -> None:
        while not is_over.wait(0.001):
            counts[0] += 1

    worker = threading.Thread(target=count)
    worker.start()
    start = time.monotonic()
    while time.monotonic() - start < 0.3:
        qorn.dilation(np.zeros((2048, 2048), np.float32), qorn.disk(15))
    during = counts[0]
    is_over.set()
    worker.join()
    assert during > 3


def test_numbers_of_threads() -> None:
    try:
        cores = qorn.get_num_threads()
        qorn.set_num_threads(1)
        assert qorn.get_num_threads() == 1
        qorn.set_num_threads(10**6)
        assert qorn.get_num_threads() == cores
    finally:
        qorn.set_num_threads(None)
    with pytest.raises(ValueError):
        qorn.set_num_threads(0)
    script = "import qorn; print(qorn.get_num_threads())"
    for text, expected in [("1", "1\n"), ("many", f"{cores}\n")]:
        result = subprocess.run(
            [sys.executable, "-B", "-c", script], env={**os.environ, "QORN_NUM_THREADS": text}, capture_output=True,
            text=True, check=True,
        )  # fmt: skip
        assert result.stdout == expected and ("QORN_NUM_THREADS" in result.stderr) == (text == "many")


def test_one_thread_uses_one() -> None:
    """Processor time of a call for one thread isn't more than its time."""
    image = np.zeros((2048, 2048), np.float32)
    qorn.dilation(image, qorn.disk(5), threads=1)
    wall, cpu = time.perf_counter(), time.process_time()
    qorn.dilation(image, qorn.disk(12), threads=1)
    wall, cpu = time.perf_counter() - wall, time.process_time() - cpu
    assert cpu < 1.2 * wall + 0.02


def read_cpu_times() -> dict[str, int]:
    """Nanoseconds that each thread of the process has run."""
    times = {}
    for thread in os.listdir("/proc/self/task"):
        with open(f"/proc/self/task/{thread}/schedstat", encoding="ascii") as file:
            times[thread] = int(file.read().split()[0])
    return times


@pytest.mark.skipif(qorn.get_num_threads() < 2, reason="one core")
def test_others_still_help_after_calls_with_one_thread() -> None:
    """However busy the machine is, each thread that has work runs about as long as the others."""
    image = np.zeros((2048, 2048), np.float32)
    qorn.dilation(image, qorn.disk(8))
    for _ in range(100):
        qorn.dilation(image[:600], qorn.connectivity(8), threads=1)
    before = read_cpu_times()
    for _ in range(4):
        qorn.dilation(image, qorn.disk(25), threads=2)
        after = read_cpu_times()  # the thread of each call has gone afterwards, and the other one stays
    spent = sum(after.get(thread, 0) - before.get(thread, 0) for thread in after)
    total = time.process_time_ns()
    qorn.dilation(image, qorn.disk(25), threads=2)
    total = time.process_time_ns() - total
    assert spent > 4 * total * 0.25


def test_fork_after_calls() -> None:
    """In children of a process that has run operators a call is refused, and none of them hangs."""
    children = 1000 if support.LONG else 200
    image = np.zeros((64, 64), np.uint8)
    large = np.zeros((1500, 1500), np.uint8)
    qorn.dilation(large, qorn.disk(3))
    is_over = threading.Event()

    def work() -> None:
        while not is_over.is_set():
            qorn.dilation(large, qorn.disk(3))

    worker = threading.Thread(target=work)
    worker.start()
    try:
        for index in range(children):
            child = os.fork()
            if child == 0:
                signal.alarm(60)  # ends a child that hangs
                status = 1
                try:
                    qorn.dilation(large if index % 2 else image, qorn.disk(1))
                except qorn.Error as error:
                    status = 0 if "spawn or forkserver" in str(error) else 2
                finally:
                    os._exit(status)
            assert os.waitpid(child, 0)[1] == 0
            if index == 100:
                is_over.set()  # the others are forked at rest
                worker.join()
    finally:
        is_over.set()
        worker.join()


@pytest.mark.parametrize("method", ["spawn", "forkserver", "fork"])
def test_pools(method: str, tmp_path: object) -> None:
    """Workers that are started before a fork could harm compute the same."""
    script = os.path.join(str(tmp_path), "pool.py")
    with open(script, "w", encoding="utf-8") as file:
        file.write(
            textwrap.dedent(
                f"""
                import multiprocessing, numpy as np, qorn
                def work(seed):
                    image = np.random.default_rng(seed).integers(0, 255, (300, 300), np.uint8)
                    return qorn.opening(image, qorn.disk(3))
                if __name__ == "__main__":
                    if "{method}" != "fork":
                        work(0)
                    with multiprocessing.get_context("{method}").Pool(2) as pool:
                        results = pool.map(work, range(4))
                    assert all((one == work(seed)).all() for seed, one in enumerate(results))
                """
            )
        )
    result = subprocess.run([sys.executable, "-B", script], capture_output=True, text=True, timeout=120, check=False)
    assert result.returncode == 0, result.stderr


ENDING = """
    import sys, threading, time
    import numpy as np
    import qorn
    image = np.zeros((64, 256, 256), np.uint8)
    small = np.zeros((64, 64), np.uint8)
    def work():
        while True:
            qorn.dilation(image, qorn.ball(20))
    def short():
        while True:
            qorn.dilation(small, qorn.disk(1))
    def files():
        while True:
            qorn.write("/dev/null/nothing.npy", small) if False else qorn.extrema(image)
    for one in (work, short, files):
        threading.Thread(target=one, daemon=True).start()
    time.sleep(0.1 + DELAY)
    start = time.monotonic()
    import atexit
    atexit.register(lambda: None)
    sys.stdout.write("end\\n")
    sys.stdout.flush()
"""


def test_end_while_daemon_threads_run() -> None:
    """At any moment: the interpreter ends by itself within a second, and not by a signal."""
    for index in range(0, 25, 1 if support.LONG else 4):
        processes = []
        for delay in (index / 500, index / 500 + 0.001):
            script = textwrap.dedent(ENDING).replace("DELAY", str(delay))
            processes.append(
                subprocess.Popen(
                    [sys.executable, "-B", "-c", script], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL
                )
            )
        for process in processes:
            assert process.stdout is not None
            assert process.stdout.readline() == b"end\n"
            start = time.monotonic()
            assert process.wait(60) == 0
            assert time.monotonic() - start < support.wait_factor()
            process.stdout.close()


def test_calls_at_the_end_are_refused() -> None:
    result = run_script(
        """
        import atexit, numpy as np
        def late():
            try:
                qorn.dilation(np.zeros((9, 9), np.uint8), qorn.disk(1))
            except qorn.Error as error:
                print(error)
        atexit.register(late)
        import qorn
        atexit.unregister(late)
        qorn._core.end_calls()
        late()
        """
    )
    assert "ending" in result.stdout, result
