#pragma once

#include <array>
#include <string>
#include <vector>

#include "pxl/BaseAlgorithm.h"

namespace qorn {

/** A structuring element as a mask of odd sizes in C order (plans, rows, columns), with the voxel itself amid it. */
struct Element {
  std::array<unsigned long, 3> reach;  ///< voxels before and after the middle: columns, rows, plans
  std::vector<unsigned char> mask;     ///< 1 in the element, else 0

  unsigned long getSize(std::size_t axis) const { return 2 * reach[axis] + 1; }
};

/**
 * The element that a morphological algorithm with its present properties uses, found by running it on images of a
 * single voxel that differs. Empty if the algorithm leaves its output as it is.
 * @throws ProgramError the run fails, or the element is too large to be shown
 */
Element findElement(pxl::BaseAlgorithm& algorithm);

/**
 * The element drawn plan by plan: `#` in the element, `.` not; the voxel itself is `O` or `o`. A large
 * element isn't drawn.
 */
std::string drawElement(Element const& element);

}  // namespace qorn
