#pragma once

#include "pxl/Image.h"
#include "pxl/access/Region.h"
#include "pxl/kernel/Margins.h"

namespace qorn::io {

/** What is to be worked through, and how much memory there is. */
struct WindowDemand {
  pxl::ImageSizes sizes;       ///< of the images
  pxl::access::Region region;  ///< what is computed
  pxl::kernel::Margins margins;
  unsigned long voxelBytes;  ///< memory for each voxel of a window with its margins
  unsigned long memory;
};

/**
 * Cuts a region into windows that fit into memory with their margins, which are clamped to the image: whole plans or
 * slabs of rows, of one or several plans. Of the sizes that fit it takes the one with the fewest voxels in all
 * margins, and of such the one with the fewest windows. A window lies in one stack. Windows are disjoint, and
 * together they are the region.
 */
class WindowPlan {
 public:
  explicit WindowPlan(WindowDemand const& demand);

  /** The number of windows; 0 when not even one row fits. */
  unsigned long getCount() const;
  /** A window by its number, rows before plans before stacks. */
  pxl::access::Region getWindow(unsigned long index) const;
  /** The window with its margins. */
  pxl::access::Region getEnlarged(pxl::access::Region const& window) const;

  /** The voxels of the largest window with its margins, or more. */
  unsigned long getLargest() const { return countVoxels(m_plans, m_rows); }
  /** The least memory that a plan needs. */
  unsigned long getLeastBytes() const;

 private:
  unsigned long countVoxels(unsigned long plans, unsigned long rows) const;
  unsigned long findRows(unsigned long plans) const;
  double estimateCost(unsigned long plans, unsigned long rows) const;
  void choose();

  WindowDemand m_demand;
  unsigned long m_nbPlans;  ///< of the region
  unsigned long m_nbRows;
  unsigned long m_plans = 0;  ///< of a window
  unsigned long m_rows = 0;
};

}  // namespace qorn::io
