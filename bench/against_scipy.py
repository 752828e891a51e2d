#!/usr/bin/env python3
"""Compares the times of `qorn run` and of calls of scipy.ndimage, alternately: against_scipy.py QORN [NAME...]

Prints the median of the ratios of the pairs, time of qorn / time of scipy; below 1 is faster. The time of qorn is that
of the whole process with its files. The time of scipy is that of the call only, in memory. scipy uses one thread, qorn
two.
"""
import os
import statistics
import subprocess
import sys
import tempfile
import time

import numpy
from scipy import ndimage

NB_PAIRS = 5
SIZES = (256, 256, 256)


def correlation(side):
    kernel = numpy.full((side,) * 3, 1 / side**3)

    def prepare(image, folder):
        path = os.path.join(folder, "kernel.npy")
        numpy.save(path, kernel)
        command = ["FiniteImpulseResponseFilter3D", f"kernel={path}"]
        return command, lambda: ndimage.correlate(image, kernel, mode="mirror")

    return prepare


def dilation(operator, *properties):
    def prepare(image, folder):
        path = os.path.join(folder, "element.npy")
        subprocess.run([sys.argv[1], "element", operator, *properties, "--output", path], check=True,
                       stdout=subprocess.DEVNULL)
        element = numpy.load(path).astype(bool)
        return [operator, *properties], lambda: ndimage.maximum_filter(image, footprint=element, mode="nearest")

    return prepare


def composition(operator, peer, element):
    def prepare(image, folder):
        path = os.path.join(folder, "element.npy")
        subprocess.run([sys.argv[1], "element", element, "--output", path], check=True, stdout=subprocess.DEVNULL)
        footprint = numpy.load(path).astype(bool)
        return [operator, "element=" + element], lambda: peer(image, footprint=footprint, mode="nearest")

    return prepare


CASES = {
    "correlation 3x3x3": correlation(3),
    "correlation 5x5x5": correlation(5),
    "cube": dilation("Dilation3d"),
    "ball 3": dilation("DilationBall3d", "radius=3", "shapeMode=1"),
    "disk 5 at 30, 45": dilation("DilationDisk3d", "radius=5", "firstAngle=30", "secondAngle=45"),
    "opening by ball 3": composition("Open", ndimage.grey_opening, "ball(3)"),
    "white top-hat by cube": composition("WhiteTopHat", ndimage.white_tophat, "connectivity(26)"),
    "gradient by ball 1": composition("Gradient", ndimage.morphological_gradient, "ball(1)"),
    "line 21 at 30, 45": dilation("DilationLine3d", "lineSize=21", "firstAngle=30", "secondAngle=45"),
}


def timed(call):
    start = time.perf_counter()
    call()
    return time.perf_counter() - start


def main():
    random = numpy.random.default_rng(7)
    for name in sys.argv[2:] or CASES:
        for dtype in (numpy.uint8, numpy.float32):
            with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
                image = random.integers(1, 250, SIZES).astype(dtype)
                source, target = os.path.join(folder, "in.npy"), os.path.join(folder, "out.npy")
                numpy.save(source, image)
                (operator, *properties), peer = CASES[name](image, folder)
                command = [sys.argv[1], "run", operator, source, target, *properties, "--quiet", "--threads", "2"]
                pairs = []
                for i in range(NB_PAIRS):
                    calls = [lambda: subprocess.run(command, check=True), peer]
                    times = [timed(call) for call in (calls if i % 2 == 0 else reversed(calls))]
                    pairs.append(times if i % 2 == 0 else times[::-1])
            ratio = statistics.median(ours / theirs for ours, theirs in pairs)
            ours, theirs = (statistics.median(side) for side in zip(*pairs))
            print(f"{name}, {image.dtype}: ratio {ratio:.4f}, ours {ours * 1e3:.0f} ms, "
                  f"scipy's {theirs * 1e3:.0f} ms", flush=True)


if __name__ == "__main__":
    main()
