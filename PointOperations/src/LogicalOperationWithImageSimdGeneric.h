#pragma once

#include "Core/private/Access/IteratorPixel2Inputs1Output.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Core/private/Filters/RowWalk.h"

namespace pxl::point_operations {

/** Combines the two inputs of a filter bitwise. Stateless. */
template <class OperatorTag>
struct LogicalOperationWithImageSimdGeneric {
  template <class Filter>
  void run(access::Block3d const& block, Filter& filter) const {
    using T = typename Filter::OutputView::VoxelType;
    using Vec = SimdVec::Simd<T, typename Filter::ArchType>;
    constexpr long L = Vec::cNbLanes;
    // Nothing is held back, even in place: each voxel is read for its own position only.
    access::IteratorPixel2Inputs1Output<typename Filter::InputView1, typename Filter::InputView2,
                                        typename Filter::OutputView, L>
        images(filter.input1, filter.input2, filter.output, false, access::OverlapBorder());
    images.init(block);
    walkRows(images,
             [&images](T* out, long nbVoxels) { computeRow<Vec>(images.current1, images.current2, out, nbVoxels); });
  }

 private:
  template <class Vec, class T>
  [[gnu::noinline]] static void computeRow(T const* __restrict a, T const* __restrict b, T* __restrict out,
                                           long nbVoxels) {
#pragma GCC unroll 4
    for (long col = 0; col < nbVoxels; col += Vec::cNbLanes)
      Vec::store(out + col, OperatorTag::template apply<Vec>(Vec::load(a + col), Vec::load(b + col)));
  }
};

}  // namespace pxl::point_operations
