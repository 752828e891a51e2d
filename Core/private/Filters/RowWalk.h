#pragma once

#include <memory>

#include "Core/private/Access/IteratorPixelOutput.h"
#include "Core/private/Access/simd/SimdVec.h"

namespace pxl {

/**
 * Walks a block with a neighbourhood iterator and writes what computeRow(out, nbVoxels) makes of its pointers, row by
 * row. In place, what neighbouring blocks read within `influence` is held back. Each row is read before the one that
 * is finished is written.
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
