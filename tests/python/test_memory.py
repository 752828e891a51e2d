"""How much memory calls take beside their arrays."""

from __future__ import annotations

import subprocess
import sys
import textwrap

import pytest

PEAK = """
    import resource, sys
    import numpy as np
    import qorn
    def peak():
        with open("/proc/self/status") as file:
            return int(next(line for line in file if line.startswith("VmHWM")).split()[1]) / 1024
    def grow(call):
        with open("/proc/self/clear_refs", "w") as file:
            file.write("5")  # the peak begins anew
        before = peak()
        call()
        return peak() - before
    image = np.ones((8192, 8192), np.uint8)  # 64 MiB
    out = np.ones_like(image)
    tiny = image[:64]
    for threads in (1, 2):
        qorn.dilation(tiny.copy(), qorn.connectivity(8, 4), threads=threads)
        qorn.dilation(image[:256].copy(), qorn.connectivity(8, 4), threads=threads)
    qorn.release_memory()
"""


def grow(call: str) -> float:
    """MiB by which the peak of a process grows in a call."""
    script = textwrap.dedent(PEAK) + f"print(grow(lambda: {call}))\n"
    result = subprocess.run([sys.executable, "-B", "-c", script], capture_output=True, text=True, check=False)
    assert result.returncode == 0, result.stderr
    return float(result.stdout)


@pytest.mark.parametrize(
    "call",
    [
        ("qorn.dilation(image, qorn.connectivity(8), out=image)", 0, 4),
        ("qorn.dilation(image, qorn.connectivity(8), out)", 0, 4),
        ("qorn.opening(image, qorn.connectivity(8), out)", 0, 4),
        ("qorn.white_tophat(image, qorn.connectivity(8), out)", 0, 4),
        ("qorn.run('Dilation2d', image, out, numberOfIterations=4, runner='sse41')", 60, 68),
        ("qorn.gradient(image, qorn.connectivity(8), out)", 60, 68),
        ("qorn.dilation(image, qorn.connectivity(8))", 60, 68),
        ("qorn.dilation(image, qorn.connectivity(8, 4), out, max_memory=0)", 0, 4),
    ],
    ids=lambda call: call[0],
)
def test_peak(call: tuple[str, float, float]) -> None:
    text, least, most = call
    assert least <= grow(text) <= most


def test_releases() -> None:
    script = """
        import numpy as np, qorn
        image = np.zeros((1024, 1024), np.uint8)
        qorn.run("Dilation2d", image, image.copy(), numberOfIterations=4, runner="sse41")
        assert qorn.release_memory() >= 1 << 20
        assert qorn.release_memory() == 0
    """
    subprocess.run([sys.executable, "-B", "-c", textwrap.dedent(script)], check=True)


def test_maps_larger_than_memory(tmp_path: object) -> None:
    """From one mapped file to another, each 4 times as large as the memory that the process may have."""
    script = f"""
        import os, resource
        os.environ["OPENBLAS_NUM_THREADS"] = "1"
        import numpy as np, qorn
        limit = 96 << 20
        resource.setrlimit(resource.RLIMIT_DATA, (limit, limit))
        shape = (24, 4096, 4096)
        assert np.prod(shape) >= 4 * limit
        image = np.lib.format.open_memmap("{tmp_path}/in.npy", "w+", np.uint8, shape)
        image[7, 11, 13] = 9
        out = np.lib.format.open_memmap("{tmp_path}/out.npy", "w+", np.uint8, shape)
        qorn.dilation(image, qorn.connectivity(6), out)
        assert out[6, 11, 13] == out[7, 12, 13] == 9 and qorn.extrema(out, per="Z").maximum.sum() == 27
        try:
            np.ones(limit, np.uint8)
        except MemoryError:
            print("limited")
    """
    result = subprocess.run(
        [sys.executable, "-B", "-c", textwrap.dedent(script)], capture_output=True, text=True, check=False
    )
    assert result.stdout == "limited\n", result.stderr
