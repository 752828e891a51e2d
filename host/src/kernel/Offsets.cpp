#include "pxl/kernel/Offsets.h"

#include <algorithm>

namespace pxl::kernel {
namespace {

template <class Offset>
void computeRange(std::vector<Offset> const& offsets, long Offset::*component, long& lowest, long& highest) {
  lowest = highest = offsets.empty() ? 0 : offsets.front().*component;
  for (Offset const& offset : offsets) {
    lowest = std::min(lowest, offset.*component);
    highest = std::max(highest, offset.*component);
  }
}

}  // namespace

void computeExtrema(std::vector<Offset2D> const& offsets, long& minCol, long& maxCol, long& minRow, long& maxRow) {
  computeRange(offsets, &Offset2D::col, minCol, maxCol);
  computeRange(offsets, &Offset2D::row, minRow, maxRow);
}

void computeExtrema(std::vector<Offset3D> const& offsets, long& minCol, long& maxCol, long& minRow, long& maxRow,
                    long& minPlan, long& maxPlan) {
  computeRange(offsets, &Offset3D::col, minCol, maxCol);
  computeRange(offsets, &Offset3D::row, minRow, maxRow);
  computeRange(offsets, &Offset3D::plan, minPlan, maxPlan);
}

}  // namespace pxl::kernel
