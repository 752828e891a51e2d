#!/usr/bin/env python3
"""Compares what qorn computes with scipy.ndimage: compare_with_scipy.py QORN

The structuring elements come from `qorn element`, which is tested in this way, too. Exits with 77, which ctest counts
as skipped, if scipy (Debian's python3-scipy) is missing.
"""
import os
import subprocess
import sys
import tempfile

try:
    import numpy
    from scipy import ndimage
except ImportError:
    print("scipy is not installed")
    sys.exit(77)

SEED = 5
PLANE, VOLUME = (61, 83), (23, 31, 37)
SHAPES = [
    ("Line2d", PLANE, "lineAngle=33 lineSize=12"),
    ("Disk2d", PLANE, "radius=5 shapeMode=1"),
    ("Disk2d", PLANE, "radius=5 shapeMode=0"),
    ("Line3d", VOLUME, "firstAngle=20 secondAngle=35 lineSize=8"),
    ("Disk3d", VOLUME, "firstAngle=20 secondAngle=35 radius=4"),
    ("Ball3d", VOLUME, "radius=3 shapeMode=1"),
    ("Ball3d", VOLUME, "radius=4 shapeMode=0"),
    ("2d", PLANE, "neighborhood=0 numberOfIterations=3"),
    ("3d", VOLUME, "neighborhood=1 numberOfIterations=2"),
]


ELEMENTS = [
    (PLANE, "connectivity(8, 2)"), (PLANE, "disk(4)"), (PLANE, "line(4, 30)"), (PLANE, "box(2, 7)"), (PLANE, "box(9, 8)"),
    (PLANE, "mask(1 1 0; 0 0 1)"), (PLANE, "mask(1 1 0; 0 0 1, 3, -2)"), (PLANE, "ellipse(5, 2, 0.75)"),
    (VOLUME, "ball(2)"), (VOLUME, "disk(3)"), (VOLUME, "ellipsoid(4, 2.5, 1, 1)"), (VOLUME, "line3d(4, 20, 50)"),
    (VOLUME, "mask(1 0; 0 1 | 0 1; 1 1)"), (VOLUME, "connectivity(18, 2)"),
]


class Qorn:
    def __init__(self, program, folder):
        self.program, self.folder = program, folder

    def path(self, name):
        return os.path.join(self.folder, name)

    def call(self, *arguments):
        subprocess.run([self.program, *arguments], check=True, stdout=subprocess.DEVNULL)

    def run(self, operator, image, *properties):
        numpy.save(self.path("in.npy"), image)
        self.call("run", operator, self.path("in.npy"), self.path("out.npy"), "--quiet", *properties)
        return numpy.load(self.path("out.npy"))

    def element(self, operator, *properties):
        self.call("element", operator, "--output", self.path("element.npy"), *properties)
        return numpy.load(self.path("element.npy")).astype(bool)


def limits(dtype):
    return numpy.finfo(dtype) if numpy.issubdtype(dtype, numpy.floating) else numpy.iinfo(dtype)


def compare_shapes(qorn, random):
    for dtype in (numpy.uint8, numpy.int16, numpy.float32):
        for shape, sizes, text in SHAPES:
            image = random.integers(0, 120, sizes).astype(dtype)
            for name, peer, beyond in (("Dilation", ndimage.maximum_filter, limits(dtype).min),
                                       ("Erosion", ndimage.minimum_filter, limits(dtype).max)):
                operator, properties = name + shape, text.split()
                footprint = qorn.element(operator, *properties)
                expected = peer(image, footprint=footprint, mode="constant", cval=beyond)
                result = qorn.run(operator, image, *properties)
                if not numpy.array_equal(result, expected):
                    sys.exit(f"{operator} {text} on {image.dtype}: {numpy.sum(result != expected)} voxels differ")
                print(f"{operator} {text} on {image.dtype}: equal")


def compose(image, footprint):
    """Every composition by its definition; the element is mirrored in the second step."""
    bounds = limits(image.dtype)

    def dilate(voxels, element):
        return ndimage.maximum_filter(voxels, footprint=element, mode="constant", cval=bounds.min)

    def erode(voxels, element):
        return ndimage.minimum_filter(voxels, footprint=element, mode="constant", cval=bounds.max)

    mirrored = numpy.flip(footprint)
    dilated, eroded = dilate(image, footprint), erode(image, footprint)
    opened, closed = dilate(eroded, mirrored), erode(dilated, mirrored)
    yield "Dilate", dilated
    yield "Erode", eroded
    yield "Open", opened
    yield "Close", closed
    wide = numpy.float64 if numpy.issubdtype(image.dtype, numpy.floating) else numpy.int64
    yield "WhiteTopHat", image.astype(wide) - opened.astype(wide)
    yield "BlackTopHat", closed.astype(wide) - image.astype(wide)
    # Below 0 where no voxel of the element is inside the image.
    yield "Gradient", numpy.maximum(dilated.astype(wide) - eroded.astype(wide), 0)


def compare_compositions(qorn, random):
    for dtype in (numpy.uint8, numpy.int8, numpy.int16, numpy.float32):
        for sizes, text in ELEMENTS:
            bounds = limits(dtype)
            low, high = (-1000, 1000) if numpy.issubdtype(dtype, numpy.floating) else (bounds.min, bounds.max + 1)
            image = random.integers(low, high, sizes).astype(dtype)
            footprint = qorn.element(text)
            if image.ndim == 3 and footprint.ndim == 2:
                footprint = footprint[numpy.newaxis]
            for operator, expected in compose(image, footprint):
                result = qorn.run(operator, image, "element=" + text)
                if not numpy.array_equal(result, expected):
                    sys.exit(f"{operator} {text} on {image.dtype}: {numpy.sum(result != expected)} voxels differ")
            print(f"compositions with {text} on {image.dtype}: equal")


def compare_correlations(qorn, random):
    for operator, sizes, shape in (("FiniteImpulseResponseFilter2D", PLANE, (3, 4)),
                                   ("FiniteImpulseResponseFilter2D", PLANE, (11, 11)),
                                   ("FiniteImpulseResponseFilter3D", VOLUME, (3, 2, 5))):
        for dtype, tolerance in ((numpy.float32, 1e-4), (numpy.float64, 1e-12), (numpy.uint8, 1)):
            image = random.integers(0, 120, sizes).astype(dtype)
            kernel = random.random(shape) / numpy.prod(shape)
            numpy.save(qorn.path("kernel.npy"), kernel)
            result = qorn.run(operator, image, "kernel=" + qorn.path("kernel.npy"))
            expected = ndimage.correlate(image.astype(numpy.float64), kernel, mode="mirror")
            difference = numpy.max(numpy.abs(result - expected))
            if not difference < tolerance:
                sys.exit(f"{operator} {shape} on {image.dtype}: differs by {difference}")
            print(f"{operator} {shape} on {image.dtype}: within {difference:.2g}")


def main():
    print(f"seed {SEED}")
    with tempfile.TemporaryDirectory() as folder:
        random = numpy.random.default_rng(SEED)
        compare_shapes(Qorn(sys.argv[1], folder), random)
        compare_compositions(Qorn(sys.argv[1], folder), random)
        compare_correlations(Qorn(sys.argv[1], folder), random)


if __name__ == "__main__":
    main()
