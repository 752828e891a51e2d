"""What a call costs beside its work: overhead.py. Prints the time and memory of the import after numpy, the time of a
call on a 64 x 64 image, and what all threads gain after 100 calls that asked for one. PYTHONPATH tells where the
package is."""

from __future__ import annotations

import os
import statistics
import subprocess
import sys
import time
from typing import Callable

import numpy as np

IMPORT = """
import time, numpy
def resident():
    with open("/proc/self/status") as file:
        return int(next(line for line in file if line.startswith("VmRSS")).split()[1])
before, start = resident(), time.perf_counter()
import qorn
print(1e3 * (time.perf_counter() - start), (resident() - before) / 1024)
"""


def measure(call: Callable[[], object], count: int) -> float:
    """The shortest time of a call in seconds."""
    best = float("inf")
    for _ in range(count):
        start = time.perf_counter()
        call()
        best = min(best, time.perf_counter() - start)
    return best


def main() -> None:
    imports = []
    # As it is once installed: with its bytecode, which the first of these writes.
    environment = {name: value for name, value in os.environ.items() if name != "PYTHONDONTWRITEBYTECODE"}
    for _ in range(10):
        result = subprocess.run([sys.executable, "-c", IMPORT], capture_output=True, check=True, env=environment)
        imports.append([float(text) for text in result.stdout.split()])
    time_of_import, memory = min(one[0] for one in imports), statistics.median(one[1] for one in imports)
    print(f"import after numpy: {time_of_import:.1f} ms, {memory:.1f} MiB")

    import qorn

    small, footprint = np.zeros((64, 64), np.uint8), qorn.connectivity(8)
    out = np.empty_like(small)
    print(f"dilation of 64 x 64 uint8: {1e6 * measure(lambda: qorn.dilation(small, footprint, out), 5000):.1f} us")
    image = np.random.default_rng(1).random((4096, 4096), np.float32)
    target = np.empty_like(image)

    def run(threads: int) -> Callable[[], object]:
        return lambda: qorn.dilation(image, footprint, target, threads=threads)

    cores = qorn.get_num_threads()
    fresh = measure(run(cores), 10)
    for _ in range(100):
        qorn.dilation(image[:512], footprint, target[:512], threads=1)
    after, one = measure(run(cores), 10), measure(run(1), 10)
    print(f"dilation of 4096 x 4096 float32 with {cores} threads: {1e3 * fresh:.1f} ms")
    print(f"after 100 calls with one thread: {1e3 * after:.1f} ms; with one thread: {1e3 * one:.1f} ms")
    print(f"one thread / all: {one / after:.2f}")


if __name__ == "__main__":
    main()
