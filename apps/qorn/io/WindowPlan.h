#pragma once

#include "pxl/Image.h"
#include "pxl/access/Region.h"
#include "pxl/kernel/Margins.h"

namespace qorn::io {

/** The image to process, and the available memory. */
struct WindowDemand {
  pxl::ImageSizes sizes;       ///< of the images
  pxl::access::Region region;  ///< what is computed
  pxl::kernel::Margins margins;
  unsigned long voxelBytes;  ///< memory for each voxel of a window with its margins
  unsigned long memory;
};

/**
 * Splits a region into windows that fit into memory with their margins, which are clamped to the image. A window is
 * whole plans or slabs of rows, of one or several plans, within one stack. Of the sizes that fit, the one with the
 * fewest voxels in all margins is used, and of those the one with the fewest windows. Windows are disjoint and cover
 * the region.
 */
class WindowPlan {
 public:
  explicit WindowPlan(WindowDemand const& demand);

  /** The number of windows; 0 if not even one row fits. */
  unsigned long getCount() const;
  /** The window with this number; rows vary fastest, then plans, then stacks. */
  pxl::access::Region getWindow(unsigned long index) const;
  /** The window with its margins. */
  pxl::access::Region getEnlarged(pxl::access::Region const& window) const;

  /** An upper bound on the voxels of a window with its margins. */
  unsigned long getLargest() const { return countVoxels(m_plans, m_rows); }
  /** The least memory with which the region can be processed. */
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
