#pragma once

#include <type_traits>
#include <vector>

#include "Core/private/Access/IteratorPixelOutput.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Core/private/Filters/InPlace.h"

/** How kernels walk a block: from row to row, with one call for each. The call gets whole vectors. */
namespace pxl {

/** Calls computeRow(voxels, nbVoxels) for each row of an iterator, from its current vector on. */
template <class Iterator, class ComputeRow>
void walkRows(Iterator& iterator, ComputeRow const& computeRow) {
  constexpr long L = Iterator::cNbLanes;
  for (; !iterator.atEnd(); iterator.advanceRow()) computeRow(iterator.current, iterator.countVectorsInRow(L) * L);
}

/** The same for an input and an output of one block. Each row is read before the one that is finished is written. */
template <class Input, class Output, class ComputeRow>
void walkRows(Input& input, Output& output, ComputeRow const& computeRow) {
  walkRows(output, [&](auto* out, long nbVoxels) {
    computeRow(out, nbVoxels);
    input.advanceRow();
  });
}

/**
 * Walks a block with a neighbourhood iterator and writes what computeRow(out, nbVoxels) makes of its pointers.
 * `images` is a filter or a pass, with the views `input` and `output`. In place, what neighbouring blocks read within
 * `influence` is held back.
 */
template <class AnyBlock, class Images, class Iterator, class ComputeRow>
void walkNeighbours(AnyBlock const& block, Images const& images, Iterator& input,
                    AlgoBorderInfluence const& influence, ComputeRow const& computeRow) {
  using View = typename std::decay_t<decltype(images.output)>::element_type;
  input.init(block);
  bool const inPlace = isInPlace(*images.input, *images.output);
  access::OverlapBorder const overlap = inPlace ? access::OverlapBorder(influence) : access::OverlapBorder();
  access::IteratorPixelOutput<View, Iterator::cNbLanes> output(images.output, false, overlap);
  output.init(block);
  walkRows(input, output, computeRow);
}

/**
 * The same with a list of offsets, which must not be empty: computeRow(neighbours, out, nbVoxels) gets a pointer for
 * each. `Iterator` is IteratorNeighborhood2D_Gen or IteratorNeighborhood3D_Gen. The architecture is that of `images`.
 */
template <template <class, long> class Iterator, class AnyBlock, class Images, class Offset, class ComputeRow>
void walkList(AnyBlock const& block, Images const& images, std::vector<Offset> const& offsets,
              ComputeRow const& computeRow) {
  using View = std::remove_const_t<typename std::decay_t<decltype(images.input)>::element_type>;
  Iterator<View, SimdVec::cNbLanes<typename View::VoxelType, typename Images::ArchType>> input(images.input, offsets);
  walkNeighbours(block, images, input, input.getBorderInfluence(),
                 [&](auto* out, long nbVoxels) { computeRow(input.neighbours.data(), out, nbVoxels); });
}

}  // namespace pxl
