#!/usr/bin/env -S python3 -B
"""Puts three orthogonal cuts through the middle of a volume of 16-bit voxels from 0 to 255 side by side, as uint8:
cuts.py VOLUME.npy CUTS.npy"""

import ast
import sys


def main():
    with open(sys.argv[1], "rb") as file:
        content = file.read()
    start = 10 + int.from_bytes(content[8:10], "little")
    header = ast.literal_eval(content[10:start].decode())
    assert header["descr"] in ("<i2", "<u2")
    plans, rows, cols = header["shape"]
    voxels = content[start::2]

    def at(plan, row, col):
        return voxels[(plan * rows + row) * cols + col]

    # Seen from above, from the front and from the side, the last plan on top; empty rows fill up the smaller cuts.
    cuts = [
        [[at(plans // 2, row, col) for col in range(cols)] for row in range(rows)],
        [[at(plan, rows // 2, col) for col in range(cols)] for plan in reversed(range(plans))],
        [[at(plan, row, cols // 2) for row in range(rows)] for plan in reversed(range(plans))],
    ]
    height = max(len(cut) for cut in cuts)
    lines = []
    for i in range(height):
        line = []
        for cut in cuts:
            line += cut[i] if i < len(cut) else [0] * len(cut[0])
        lines.append(bytes(line))
    header = f"{{'descr': '|u1', 'fortran_order': False, 'shape': ({height}, {len(lines[0])}), }}"
    header += " " * (63 - (10 + len(header)) % 64) + "\n"
    with open(sys.argv[2], "wb") as file:
        file.write(b"\x93NUMPY\x01\x00" + len(header).to_bytes(2, "little") + header.encode() + b"".join(lines))


main()
