#pragma once

#include <vector>

#include "Core/private/Access/IteratorNeighborhood2D.h"
#include "filtering/linear/WeightedSum.h"

namespace pxl::filtering::linear {

/**
 * Correlates the plan of a filter with taps: each voxel is the sum of its neighbours at `offsets` times
 * `coefficients`. There are at least as many coefficients as offsets; excess ones are ignored. The list of offsets
 * must not be empty.
 */
template <class T>
struct FIR2dToValueSimd {
  template <class Filter>
  void run(access::Block2d const& block, Filter& filter) const {
    correlate<access::IteratorNeighborhood2D_Gen>(block, filter, offsets, coefficients);
  }

  std::vector<kernel::Offset2D> offsets;
  std::vector<T> coefficients;
};

}  // namespace pxl::filtering::linear
