#!/usr/bin/env -S python3 -B
"""Draws masks of uint8 side by side, each voxel as a square of five: elements.py OUT.npy MASK.npy...
Of a volume three orthogonal cuts through the middle are drawn. Elements are white, what is around them grey."""

import ast
import sys

ZOOM, GAP, INSIDE, OUTSIDE, PAPER = 5, 10, 255, 90, 0


def read(path):
    with open(path, "rb") as file:
        content = file.read()
    start = 10 + int.from_bytes(content[8:10], "little")
    header = ast.literal_eval(content[10:start].decode())
    assert header["descr"] in ("|u1", "<u1")
    return header["shape"], content[start:]


def cuts(shape, voxels):
    if len(shape) == 2:
        rows, cols = shape
        return [[[voxels[row * cols + col] for col in range(cols)] for row in range(rows)]]
    plans, rows, cols = shape

    def at(plan, row, col):
        return voxels[(plan * rows + row) * cols + col]

    return [
        [[at(plans // 2, row, col) for col in range(cols)] for row in range(rows)],
        [[at(plan, rows // 2, col) for col in range(cols)] for plan in reversed(range(plans))],
        [[at(plan, row, cols // 2) for row in range(rows)] for plan in reversed(range(plans))],
    ]


def main():
    pictures = [cut for path in sys.argv[2:] for cut in cuts(*read(path))]
    height = max(len(picture) for picture in pictures) * ZOOM
    lines = []
    for y in range(height):
        line = bytearray()
        for picture in pictures:
            top = (height - len(picture) * ZOOM) // 2
            row = (y - top) // ZOOM
            for voxel in picture[row] if 0 <= row < len(picture) else [None] * len(picture[0]):
                line += bytes([PAPER if voxel is None else INSIDE if voxel else OUTSIDE]) * ZOOM
            line += bytes([PAPER]) * GAP
        lines.append(bytes(line[:-GAP]))
    header = f"{{'descr': '|u1', 'fortran_order': False, 'shape': ({height}, {len(lines[0])}), }}"
    header += " " * (63 - (10 + len(header)) % 64) + "\n"
    with open(sys.argv[1], "wb") as file:
        file.write(b"\x93NUMPY\x01\x00" + len(header).to_bytes(2, "little") + header.encode() + b"".join(lines))


main()
