#pragma once

#include "Core/private/Access/IteratorPixelInput.h"
#include "Core/private/Access/IteratorPixelOutput.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Core/private/Filters/RowWalk.h"

namespace pxl::point_operations {

/** Combines the input of a filter bitwise with the low bits of one value, as many as a voxel has. */
template <class OperatorTag>
struct LogicalOperationWithValueSimdGeneric {
  unsigned long value = 0;

  template <class Filter>
  void run(access::Block3d const& block, Filter& filter) const {
    using T = typename Filter::OutputView::VoxelType;
    using Vec = SimdVec::Simd<T, typename Filter::ArchType>;
    constexpr long L = Vec::cNbLanes;
    access::IteratorPixelInput<typename Filter::InputView, L> input(filter.input, access::OverlapBorder());
    // Nothing is held back, even in place: each voxel is read for its own position only.
    access::IteratorPixelOutput<typename Filter::OutputView, L> output(filter.output, false, access::OverlapBorder());
    input.init(block, false);
    output.init(block);
    walkRows(input, output, [this, &input](T* out, long nbVoxels) {
      computeRow<Vec>(input.current, static_cast<T>(value), out, nbVoxels);
    });
  }

 private:
  template <class Vec, class T>
  [[gnu::noinline]] static void computeRow(T const* __restrict voxels, T operand, T* __restrict out, long nbVoxels) {
    auto const b = Vec::broadcast(operand);
#pragma GCC unroll 4
    for (long col = 0; col < nbVoxels; col += Vec::cNbLanes)
      Vec::store(out + col, OperatorTag::template apply<Vec>(Vec::load(voxels + col), b));
  }
};

}  // namespace pxl::point_operations
