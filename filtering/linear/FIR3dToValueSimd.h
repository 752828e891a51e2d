#pragma once

#include <vector>

#include "Core/private/Access/IteratorNeighborhood3D.h"
#include "filtering/linear/WeightedSum.h"

namespace pxl::filtering::linear {

/**
 * Correlates the volume of a filter with taps: each voxel is the sum of its neighbours at `offsets` times
 * `coefficients`. There are at least as many coefficients as offsets; excess ones are ignored. The list of offsets
 * must not be empty.
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
