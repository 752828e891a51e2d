#pragma once

#include <limits>
#include <type_traits>

#include "Core/private/Access/IteratorPixelInput.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Core/private/Filters/RowWalk.h"

namespace pxl::analysis {

/**
 * The smallest and the largest voxel of the blocks processed so far. The accumulators start with finite values, so an
 * infinity is a result only where a comparison selects it. A NaN resets its lane to the values that follow it in the
 * block, and is never a result itself.
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
    // No voxel can extend a full range, so the block needn't be read.
    if (minimum == lowest && maximum == highest) return;
    using Vec = SimdVec::Simd<T, typename Filter::ArchType>;
    constexpr long L = Vec::cNbLanes;
    access::IteratorPixelInput<typename Filter::ViewType, L> input(filter.getInput(), access::OverlapBorder());
    input.init(block, true);
    auto low = Vec::load(input.current);
    auto high = low;
    input.advance();
    walkRows(input,
             [&low, &high](T const* voxels, long nbVoxels) { scan<Vec>(voxels, voxels + nbVoxels, low, high); });
    SimdVec::forEachLane<Vec>(low, high, [this](T lowLane, T highLane) { take(lowLane, highLane); });
  }

 private:
  template <class Vec>
  using VectorOf = typename Vec::Vector;

  // Not inlined: the compiler would spill the accumulators around the calls that fetch rows, at several times the
  // cost.
  template <class Vec>
  [[gnu::noinline]] static void scan(T const* voxels, T const* end, VectorOf<Vec>& low, VectorOf<Vec>& high) {
    constexpr long L = Vec::cNbLanes;
    T const* const endOfFours = voxels + (end - voxels) / (4 * L) * (4 * L);
    auto lowInRow = low;
    auto highInRow = high;
    if (!scanFours<Vec>(voxels, endOfFours, lowInRow, highInRow)) {
      lowInRow = low;
      highInRow = high;
      scanInOrder<Vec>(voxels, endOfFours, lowInRow, highInRow);
    }
    scanInOrder<Vec>(endOfFours, end, lowInRow, highInRow);
    low = lowInRow;
    high = highInRow;
  }

  // The accumulators are the first operands, so that a NaN resets them: the second operand wins.
  template <class Vec>
  static void scanInOrder(T const* voxels, T const* end, VectorOf<Vec>& low, VectorOf<Vec>& high) {
    for (; voxels != end; voxels += Vec::cNbLanes) {
      auto const v = Vec::load(voxels);
      low = Vec::min(low, v);
      high = Vec::max(high, v);
    }
  }

  // Four independent accumulators. Without NaN the bits are the same: of equal values the later one wins in either
  // order. Returns false if there may have been a NaN, which shows in the sum of the voxels.
  template <class Vec>
  static bool scanFours(T const* voxels, T const* end, VectorOf<Vec>& low, VectorOf<Vec>& high) {
    constexpr long L = Vec::cNbLanes;
    [[maybe_unused]] auto sum = Vec::broadcast(0);
    for (; voxels != end; voxels += 4 * L) {
      auto const v0 = Vec::load(voxels), v1 = Vec::load(voxels + L);
      auto const v2 = Vec::load(voxels + 2 * L), v3 = Vec::load(voxels + 3 * L);
      low = Vec::min(low, Vec::min(Vec::min(v0, v1), Vec::min(v2, v3)));
      high = Vec::max(high, Vec::max(Vec::max(v0, v1), Vec::max(v2, v3)));
      if constexpr (!std::is_integral_v<T>) sum = Vec::add(sum, Vec::add(Vec::add(v0, v1), Vec::add(v2, v3)));
    }
    bool isNumber = true;
    if constexpr (!std::is_integral_v<T>)
      SimdVec::forEachLane<Vec>(sum, sum, [&isNumber](T lane, T) { isNumber = isNumber && lane == lane; });
    return isNumber;
  }
};

}  // namespace pxl::analysis
