#pragma once

#include <limits>

#include "Core/private/Access/IteratorPixelInput.h"
#include "Core/private/Access/simd/SimdVec.h"

namespace pxl::analysis {

/**
 * The smallest and the largest voxel of what was seen so far. Infinities lie beyond the starting range and count as
 * the comparisons give. A NaN makes its lane forget what it saw before in the block, and is never a result itself.
 */
template <class T>
struct IntensityExtremaSIMDGeneric {
  T minimum = std::numeric_limits<T>::max();
  T maximum = std::numeric_limits<T>::lowest();
  T lowest = std::numeric_limits<T>::lowest();
  T highest = std::numeric_limits<T>::max();

  void take(T low, T high) {
    if (low < minimum) minimum = low;
    if (high > maximum) maximum = high;
  }

  void merge(IntensityExtremaSIMDGeneric const& other) { take(other.minimum, other.maximum); }

  template <class Filter>
  void run(access::Block3d const& block, Filter& filter) {
    // No voxel can widen a full range, so that the block needn't even be read.
    if (minimum == lowest && maximum == highest) return;
    using Vec = SimdVec::Simd<T>;
    constexpr long L = Vec::cNbLanes;
    access::IteratorPixelInput<typename Filter::ViewType, L> input(filter.getInput(), access::OverlapBorder());
    input.init(block, true);
    auto low = Vec::load(input.current);
    auto high = low;
    input.advance();
    while (!input.atEnd()) {
      T const* voxels = input.current;
      for (T const* const end = voxels + input.countVectorsInRow(L) * L; voxels != end; voxels += L) {
        auto const v = Vec::load(voxels);
        low = Vec::min(low, v);
        high = Vec::max(high, v);
      }
      input.advanceRow();
    }
    SimdVec::forEachLane<T>(low, high, [this](T lowLane, T highLane) { take(lowLane, highLane); });
  }
};

}  // namespace pxl::analysis
