#!/usr/bin/env python3
"""Measures real images with qorn and compares with plain loops over the bytes of the files.

Usage: real_images.py QORN. The images are those of the Debian packages python-matplotlib-data (an elevation model and
a slice of a head) and mricron-data (a brain volume). Exits with 77, which ctest counts as skipped, if one is missing.
"""
import ast
import gzip
import json
import os
import struct
import subprocess
import sys
import tempfile
import zipfile

SAMPLES = "/usr/share/matplotlib/mpl-data/sample_data/"
VOLUME = "/usr/share/mricron/templates/ch2.nii.gz"


def write_npy(path, dtype, shape, data):
    header = f"{{'descr': '{dtype}', 'fortran_order': False, 'shape': {shape}, }}"
    header += " " * (-(len(header) + 11) % 64) + "\n"
    with open(path, "wb") as file:
        file.write(b"\x93NUMPY\x01\x00" + struct.pack("<H", len(header)) + header.encode() + data)


def measure(qorn, path, *arguments):
    command = [qorn, "run", "IntensityExtrema", path, "--json", *arguments]
    return json.loads(subprocess.run(command, check=True, capture_output=True).stdout)


def check(name, result, expected):
    if result != expected:
        sys.exit(f"{name}: qorn says {result}, plain loops say {expected}")
    print(f"{name}: ok, {len(expected['minimum'])} cell(s)")


def cells(values):
    return {"minimum": [[[low]] for low, _ in values], "maximum": [[[high]] for _, high in values]}


def check_elevation(qorn, folder):
    with zipfile.ZipFile(SAMPLES + "jacksboro_fault_dem.npz") as archive:
        path = archive.extract("elevation.npy", folder)
    with open(path, "rb") as file:
        content = file.read()
    length = struct.unpack("<H", content[8:10])[0]
    header = ast.literal_eval(content[10:10 + length].decode())
    assert header["descr"] == "<i2"
    heights = [value for (value,) in struct.iter_unpack("<h", content[10 + length:])]
    expected = cells([(min(heights), max(heights))])
    check("elevation model", measure(qorn, path), expected)
    check("elevation model on disk", measure(qorn, path, "--on-disk", "--threads", "1"), expected)


def check_slice(qorn, folder):
    with gzip.open(SAMPLES + "s1045.ima.gz") as file:
        data = file.read()
    path = os.path.join(folder, "slice.npy")
    write_npy(path, ">u2", (256, 256), data)
    voxels = [value for (value,) in struct.iter_unpack(">H", data)]
    check("slice of a head, big-endian", measure(qorn, path), cells([(min(voxels), max(voxels))]))


def check_volume(qorn, folder):
    with gzip.open(VOLUME) as file:
        content = file.read()
    cols, rows, plans = struct.unpack("<3h", content[42:48])
    offset = int(struct.unpack("<f", content[108:112])[0])
    data = content[offset:offset + cols * rows * plans]
    path = os.path.join(folder, "brain.npy")
    write_npy(path, "|u1", (plans, rows, cols), data)
    size = cols * rows
    slices = [data[i * size:(i + 1) * size] for i in range(plans)]
    check("brain volume", measure(qorn, path), cells([(min(data), max(data))]))
    check("brain volume, each plan", measure(qorn, path, "analysisDimensions=1"),
          cells([(min(part), max(part)) for part in slices]))


def main():
    qorn = sys.argv[1]
    if not (os.path.exists(SAMPLES + "jacksboro_fault_dem.npz") and os.path.exists(VOLUME)):
        print("the packages python-matplotlib-data and mricron-data are not installed")
        sys.exit(77)
    with tempfile.TemporaryDirectory() as folder:
        check_elevation(qorn, folder)
        check_slice(qorn, folder)
        check_volume(qorn, folder)


if __name__ == "__main__":
    main()
