"""Ctrl-C, tokens and callbacks that raise end a call soon, and the next one is right."""

from __future__ import annotations

import os
import random
import signal
import threading
import time
from typing import Any, Callable

import numpy as np
import pytest
import support

import qorn

VOLUME = np.zeros((200, 256, 256), np.uint8)
PLANE = np.zeros((4096, 4096), np.float32)
SIGNED = np.zeros((2048, 2048), np.int32)
SMALL = support.random_image(np.random.default_rng(1), (40, 50), np.uint8)
EXPECTED = support.open_(SMALL, qorn.disk(2).offsets())

SLOW: dict[str, Callable[..., Any]] = {
    "ball": lambda **o: qorn.dilation(VOLUME, qorn.ball(40), **o),
    "ball of float64": lambda **o: qorn.erosion(VOLUME[:64].astype(np.float64), qorn.ball(20), **o),
    "disk": lambda **o: qorn.dilation(PLANE[:1500, :1500], qorn.disk(400), **o),
    "oriented disk": lambda **o: qorn.dilation(VOLUME, qorn.disk3d(40, 20, 30), **o),
    "line": lambda **o: qorn.erosion(PLANE, qorn.line(2000, 33), **o),
    "mask": lambda **o: qorn.dilation(VOLUME, np.ones((9, 30, 31)), **o),
    "passes": lambda **o: qorn.dilation(PLANE, qorn.connectivity(8, 2000), **o),
    "fast ball": lambda **o: qorn.dilation(VOLUME, qorn.ball(600, fast=True), **o),
    "opening": lambda **o: qorn.opening(VOLUME, qorn.ball(40), **o),
    "gradient": lambda **o: qorn.gradient(SIGNED, qorn.disk(200), **o),
    "top-hat in place": lambda **o: qorn.white_tophat(PLANE.copy(), qorn.disk(150), **o),
    "correlation": lambda **o: qorn.correlate(VOLUME[:64], np.ones((31, 31, 31)), dtype=np.float64, **o),
}


def check_next_call() -> None:
    assert (qorn.opening(SMALL, qorn.disk(2)) == EXPECTED).all()


@pytest.mark.parametrize("name", SLOW)
def test_interrupt(name: str) -> None:
    sent: list[float] = []

    def interrupt() -> None:
        sent.append(time.monotonic())
        os.kill(os.getpid(), signal.SIGINT)

    timer = threading.Timer(0.25, interrupt)
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        while True:  # some are done before the interrupt
            SLOW[name]()
    latency = time.monotonic() - sent[0]
    timer.join()
    print(f"{name}: {1000 * latency:.0f} ms")
    assert latency < support.wait_factor()
    check_next_call()


@pytest.mark.parametrize("name", ["ball", "opening", "correlation"])
def test_token(name: str) -> None:
    token = qorn.CancelToken()
    threading.Timer(0.05, token.cancel).start()
    with pytest.raises(qorn.Cancelled):
        while True:
            SLOW[name](cancel=token)
    assert token.cancelled
    check_next_call()
    with pytest.raises(qorn.Cancelled):
        qorn.dilation(SMALL, qorn.disk(1), cancel=token)  # it counts for good


def test_token_before_the_call() -> None:
    token = qorn.CancelToken()
    token.cancel()
    for image in (SMALL, VOLUME):
        out = np.full_like(image, 7)
        with pytest.raises(qorn.Cancelled):
            qorn.dilation(image, qorn.disk(3), out, cancel=token)
        assert (out == 7).all()


def test_many_cancels() -> None:
    rng = random.Random(2)
    image = np.zeros((2048, 2048), np.uint8)
    nb_cancelled = 0
    tokens: list[tuple[float, qorn.CancelToken]] = []
    for index in range(1000 if support.LONG else 250):
        token = qorn.CancelToken()
        timer = threading.Timer(rng.uniform(0, 0.02), token.cancel)
        timer.start()
        try:
            qorn.opening(image, qorn.disk(20), cancel=token)
        except qorn.Cancelled:
            nb_cancelled += 1
        timer.cancel()
        if index % 50 == 0:
            check_next_call()
    assert 10 < nb_cancelled
    del tokens


def test_progress() -> None:
    seen: list[tuple[float, float]] = []
    main = threading.get_ident()

    def note(fraction: float) -> None:
        assert threading.get_ident() == main
        seen.append((time.monotonic(), fraction))

    qorn.run("Dilation2d", PLANE, np.empty_like(PLANE), numberOfIterations=60, runner="sse41", progress=note)
    fractions = [fraction for _, fraction in seen]
    assert fractions == sorted(fractions) and fractions[-1] == 1 and 0 <= fractions[0] < 1
    gaps = [after[0] - before[0] for before, after in zip(seen[:-1], seen[1:-1])]
    assert all(gap > 0.09 for gap in gaps)
    seen.clear()
    qorn.dilation(SMALL, qorn.disk(1), progress=note)
    assert seen[-1][1] == 1


class Surprise(Exception):
    """Raised by a callback."""


def test_progress_that_raises() -> None:
    def surprise(fraction: float) -> None:
        raise Surprise(fraction)

    start = time.monotonic()
    with pytest.raises(Surprise):
        SLOW["opening"](progress=surprise)
    assert time.monotonic() - start < 2 * support.wait_factor()
    check_next_call()


def test_progress_line(capfd: pytest.CaptureFixture[str]) -> None:
    qorn.dilation(SMALL, qorn.disk(1), progress=True)
    qorn.dilation(SMALL, qorn.disk(1), progress=False)
    error = capfd.readouterr().err
    assert error.count("Dilate: 100%") == 1 and error.endswith("\n")


def test_callback_may_call() -> None:
    results: list[np.ndarray] = []
    qorn.dilation(
        PLANE, qorn.connectivity(8, 30), progress=lambda _: results.append(qorn.opening(SMALL, qorn.disk(2)))
    )
    assert results and all((one == EXPECTED).all() for one in results)
