#pragma once

#include "Core/private/Access/IteratorPixelOutput.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Core/private/Filters/RecursiveImageContext.h"

namespace pxl::morphology {

/**
 * Walks a block with a neighbourhood iterator and writes what foldRow(out, nbVoxels) computes from its pointers, row
 * by row. In place, what neighbouring blocks read within `influence` is held back. Each row is read before the one
 * that is finished is written.
 */
template <class In, class Out, class Arch, class Direction, class AnyBlock, class Iterator, class FoldRow>
void foldBlock(AnyBlock const& block, RecursiveImageContext<In, Out, Arch, Direction>& context, Iterator& input,
               AlgoBorderInfluence const& influence, FoldRow const& foldRow) {
  constexpr long L = SimdVec::Simd<In>::cNbLanes;
  input.init(block);
  auto const overlap = context.isInPlace() ? access::OverlapBorder(influence) : access::OverlapBorder();
  access::IteratorPixelOutput<access::View<Out>, L> output(context.output, false, overlap);
  output.init(block);
  for (; !output.atEnd(); output.advanceRow()) {
    foldRow(output.current, output.countVectorsInRow(L) * L);
    input.advanceRow();
  }
}

/** Folds a functor over the vectors at a list of pointers, for each vector of a row, in the order of the list. */
template <class Functor>
struct ListFold {
  template <class T>
  [[gnu::noinline]] static void computeRow(T const* const* neighbours, unsigned long nbNeighbours, T* out,
                                           long nbVoxels) {
    using Vec = SimdVec::Simd<T>;
    T const* const* const end = neighbours + nbNeighbours;
    for (long col = 0; col < nbVoxels; col += Vec::cNbLanes) {
      auto v = Vec::load(*neighbours + col);
      for (T const* const* neighbour = neighbours + 1; neighbour != end; ++neighbour)
        v = Functor::template apply<T>(v, Vec::load(*neighbour + col));
      Vec::store(out + col, v);
    }
  }
};

}  // namespace pxl::morphology
