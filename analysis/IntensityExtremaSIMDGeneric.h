#pragma once

#include <limits>
#include <type_traits>

#include "Core/private/Access/IteratorPixelInput.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Core/private/Filters/RowWalk.h"

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
    access::IteratorPixelInput<typename Filter::ViewType, L> input(filter.getInput(), access::OverlapBorder());
    input.init(block, true);
    auto low = Vec::load(input.current);
    auto high = low;
    input.advance();
    walkRows(input, [&low, &high](T const* voxels, long nbVoxels) { scan(voxels, voxels + nbVoxels, low, high); });
    SimdVec::forEachLane<T>(low, high, [this](T lowLane, T highLane) { take(lowLane, highLane); });
  }

 private:
  using Vec = SimdVec::Simd<T>;
  using Vector = typename Vec::Vector;
  static constexpr long L = SimdVec::Simd<T>::cNbLanes;

  // Not inlined: between the calls that fetch rows the compiler would keep the accumulators in memory, at several
  // times the cost.
  [[gnu::noinline]] static void scan(T const* voxels, T const* end, Vector& low, Vector& high) {
    T const* const endOfFours = voxels + (end - voxels) / (4 * L) * (4 * L);
    Vector lowInRow = low;
    Vector highInRow = high;
    if (!scanFours(voxels, endOfFours, lowInRow, highInRow)) {
      lowInRow = low;
      highInRow = high;
      scanInOrder(voxels, endOfFours, lowInRow, highInRow);
    }
    scanInOrder(endOfFours, end, lowInRow, highInRow);
    low = lowInRow;
    high = highInRow;
  }

  // The accumulators come first in each operation: that is what makes a NaN forget.
  static void scanInOrder(T const* voxels, T const* end, Vector& low, Vector& high) {
    for (; voxels != end; voxels += L) {
      Vector const v = Vec::load(voxels);
      low = Vec::min(low, v);
      high = Vec::max(high, v);
    }
  }

  // Four vectors that don't wait for each other. Without NaN that gives the same bits: of equal values the later one
  // stays in either order. Says false where there may have been a NaN, which a sum doesn't forget.
  static bool scanFours(T const* voxels, T const* end, Vector& low, Vector& high) {
    [[maybe_unused]] Vector sum = Vec::broadcast(0);
    for (; voxels != end; voxels += 4 * L) {
      Vector const v0 = Vec::load(voxels), v1 = Vec::load(voxels + L);
      Vector const v2 = Vec::load(voxels + 2 * L), v3 = Vec::load(voxels + 3 * L);
      low = Vec::min(low, Vec::min(Vec::min(v0, v1), Vec::min(v2, v3)));
      high = Vec::max(high, Vec::max(Vec::max(v0, v1), Vec::max(v2, v3)));
      if constexpr (!std::is_integral_v<T>) sum = Vec::add(sum, Vec::add(Vec::add(v0, v1), Vec::add(v2, v3)));
    }
    bool isNumber = true;
    if constexpr (!std::is_integral_v<T>)
      SimdVec::forEachLane<T>(sum, sum, [&isNumber](T lane, T) { isNumber = isNumber && lane == lane; });
    return isNumber;
  }
};

}  // namespace pxl::analysis
