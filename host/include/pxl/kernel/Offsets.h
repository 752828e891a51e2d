#pragma once

#include <vector>

#include "pxl/Export.h"

namespace pxl::kernel {

/** A position relative to the voxel being computed. */
struct Offset2D {
  long col;
  long row;
};

/** A position relative to the voxel being computed. */
struct Offset3D {
  long col;
  long row;
  long plan;
};

inline bool operator==(Offset2D const& a, Offset2D const& b) { return a.col == b.col && a.row == b.row; }
inline bool operator==(Offset3D const& a, Offset3D const& b) {
  return a.col == b.col && a.row == b.row && a.plan == b.plan;
}

/** The smallest and largest offset of a list in each dimension; all 0 for an empty list. */
PXL_API void computeExtrema(std::vector<Offset2D> const& offsets, long& minCol, long& maxCol, long& minRow,
                            long& maxRow);
PXL_API void computeExtrema(std::vector<Offset3D> const& offsets, long& minCol, long& maxCol, long& minRow,
                            long& maxRow, long& minPlan, long& maxPlan);

}  // namespace pxl::kernel
