#pragma once

#include "wide/FoldProgram.h"

/**
 * Images as the engine sees them: a stream of slabs. In a plan a slab is a row, in a volume it is a plan of rows. The
 * engine computes a tile slab after slab, and keeps of each node of a program the slabs that are still read.
 */
namespace pxl::wide {

/** value / by, upwards. */
constexpr long divideUp(long value, long by) { return (value + by - 1) / by; }
/** The next multiple of `to`. */
constexpr long roundUp(long value, long to) { return divideUp(value, to) * to; }

/** Voxels in memory. Strides are bytes; those of columns are the voxel's size. */
struct SlabImage {
  char* voxels;
  long rowStride;
  long slabStride;

  char* getRow(long slab, long row) const { return voxels + slab * slabStride + row * rowStride; }
};

/** Columns, rows and slabs, half-open. In a plan there is the one row 0. */
struct SlabBox {
  long firstCol;
  long endCol;
  long firstRow;
  long endRow;
  long firstSlab;
  long endSlab;

  long getNbCols() const { return endCol - firstCol; }
  long getNbRows() const { return endRow - firstRow; }
  long getNbSlabs() const { return endSlab - firstSlab; }
};

/** A reach in terms of slabs. */
struct SlabReach {
  SlabReach(Reach const& reach, bool isVolume)
      : left(reach.left),
        right(reach.right),
        rowsBefore(isVolume ? reach.up : 0),
        rowsAfter(isVolume ? reach.down : 0),
        slabsBefore(isVolume ? reach.before : reach.up),
        slabsAfter(isVolume ? reach.after : reach.down) {}

  long left;
  long right;
  long rowsBefore;
  long rowsAfter;
  long slabsBefore;
  long slabsAfter;
};

inline long getRowShift(Tap const& tap, bool isVolume) { return isVolume ? tap.dy : 0; }
inline long getSlabShift(Tap const& tap, bool isVolume) { return isVolume ? tap.dz : tap.dy; }

}  // namespace pxl::wide
