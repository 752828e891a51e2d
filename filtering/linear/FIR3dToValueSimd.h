#pragma once

#include <vector>

#include "Core/private/Access/IteratorNeighborhood3D.h"
#include "filtering/linear/WeightedSum.h"

namespace pxl::filtering::linear {

/**
 * Correlates the volume of a filter with taps: for each voxel the sum of its neighbours at `offsets` times
 * `coefficients`, of which there are at least as many; what is beyond is ignored. The list must not be empty.
 */
template <class T>
struct FIR3dToValueSimd {
  template <class Filter>
  void run(access::Block3d const& block, Filter& filter) const {
    correlate<access::IteratorNeighborhood3D_Gen>(block, filter, offsets, coefficients);
  }

  std::vector<kernel::Offset3D> offsets;
  std::vector<T> coefficients;
};

}  // namespace pxl::filtering::linear
