#pragma once

#include <memory>

#include "Core/private/Access/IteratorPixelOutput.h"
#include "Core/private/Access/simd/SimdVec.h"

namespace pxl {

/**
 * Walks a block with a neighbourhood iterator. For each row, computeRow(out, nbVoxels) computes the result from the
 * iterator's pointers, and the row is written. The next source row is read before the finished one is written. In
 * place, voxels that neighbouring blocks read within `influence` are held back.
 */
template <class View, class AnyBlock, class Iterator, class ComputeRow>
void walkRows(AnyBlock const& block, Iterator& input, std::shared_ptr<View> const& outputView, bool isInPlace,
              AlgoBorderInfluence const& influence, ComputeRow const& computeRow) {
  constexpr long L = SimdVec::Simd<typename View::VoxelType>::cNbLanes;
  input.init(block);
  auto const overlap = isInPlace ? access::OverlapBorder(influence) : access::OverlapBorder();
  access::IteratorPixelOutput<View, L> output(outputView, false, overlap);
  output.init(block);
  for (; !output.atEnd(); output.advanceRow()) {
    computeRow(output.current, output.countVectorsInRow(L) * L);
    input.advanceRow();
  }
}

}  // namespace pxl
