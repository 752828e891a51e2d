#pragma once

#include <vector>

#include "Core/private/Access/IteratorNeighborhood2D.h"
#include "Core/private/Filters/RowWalk.h"
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
    using View = typename Filter::InputView;
    std::vector<T> const taps(coefficients);
    access::IteratorNeighborhood2D_Gen<View, SimdVec::Simd<T>::cNbLanes> input(filter.input, offsets);
    bool const isInPlace = filter.output->getInterface() == filter.input->getInterface();
    walkRows(block, input, filter.output, isInPlace, input.getBorderInfluence(), [&](T* out, long nbVoxels) {
      WeightedSum<T>::computeRow(input.neighbours.data(), taps.data(), input.neighbours.size(), out, nbVoxels);
    });
  }

  std::vector<kernel::Offset2D> offsets;
  std::vector<T> coefficients;
};

}  // namespace pxl::filtering::linear
