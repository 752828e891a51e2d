"""Finds what stands out of its surroundings in an elevation model: first_look.py ELEVATION"""
import sys
import numpy as np
import qorn

heights, header = qorn.read(sys.argv[1])
disk = qorn.disk(12)
ground = qorn.opening(heights, disk)  # what is too small for the disk is gone
hills = qorn.white_tophat(heights, disk)  # and this is what was taken away
row, column = np.unravel_index(hills.argmax(), hills.shape)
print(f"{header.shape[0]} x {header.shape[1]} heights; the opening with a disk of {len(disk.offsets())} pixels "
      f"lowers {np.mean(hills > 0):.0%} of them.\nHighest above its ground: row {row}, column {column}, "
      f"{heights[row, column]} m over the sea and {hills[row, column]} m over {ground[row, column]} m.")  # fmt: skip
