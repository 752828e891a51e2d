#pragma once

#include <vector>

#include "Core/private/Access/simd/SimdVec.h"
#include "Core/private/Filters/RowWalk.h"

namespace pxl::filtering::linear {

/** The sum of rows of voxels, each multiplied by its coefficient. */
template <class T, class Arch>
struct WeightedSum {
  /**
   * Computes `nbVoxels` voxels, rounded up to whole vectors, from `count` rows (at least one), in their order. Each
   * product and each sum is rounded. The accumulator starts with the first product.
   */
  [[gnu::noinline]] static void computeRow(T const* const* rows, T const* coefficients, unsigned long count, T* out,
                                           long nbVoxels) {
    long col = 0;
    for (; col + cNbAtOnce * L <= nbVoxels; col += cNbAtOnce * L)
      computeVectors<cNbAtOnce>(rows, coefficients, count, col, out);
    for (; col < nbVoxels; col += L) computeVectors<1>(rows, coefficients, count, col, out);
  }

 private:
  using Vec = SimdVec::Simd<T, Arch>;
  static constexpr long L = Vec::cNbLanes;
  // Independent accumulators, which share the look-up of a tap; more of them are not faster.
  static constexpr unsigned cNbAtOnce = 8;

  template <unsigned N>
  static void computeVectors(T const* const* rows, T const* coefficients, unsigned long count, long col, T* out) {
    typename Vec::Vector sums[N];
    T const* row = rows[0] + col;
    auto coefficient = Vec::broadcast(coefficients[0]);
    for (unsigned i = 0; i < N; ++i) sums[i] = Vec::multiply(Vec::load(row + i * L), coefficient);
    for (unsigned long k = 1; k < count; ++k) {
      row = rows[k] + col;
      coefficient = Vec::broadcast(coefficients[k]);
      for (unsigned i = 0; i < N; ++i)
        sums[i] = Vec::add(sums[i], Vec::multiply(Vec::load(row + i * L), coefficient));
    }
    for (unsigned i = 0; i < N; ++i) Vec::store(out + col + i * L, sums[i]);
  }
};

/** Correlates a block of a filter with taps in any dimension. `Iterator` is that of walkList(). */
template <template <class, long> class Iterator, class AnyBlock, class Filter, class Offset, class T>
void correlate(AnyBlock const& block, Filter& filter, std::vector<Offset> const& offsets,
               std::vector<T> const& coefficients) {
  std::vector<T> const taps(coefficients);
  walkList<Iterator>(block, filter, offsets, [&](T const* const* rows, T* out, long nbVoxels) {
    WeightedSum<T, typename Filter::ArchType>::computeRow(rows, taps.data(), offsets.size(), out, nbVoxels);
  });
}

}  // namespace pxl::filtering::linear
