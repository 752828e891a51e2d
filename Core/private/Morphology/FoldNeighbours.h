#pragma once

#include <vector>

#include "Core/private/Access/simd/SimdVec.h"
#include "Core/private/Filters/RecursiveImageContext.h"
#include "Core/private/Filters/RowWalk.h"

namespace pxl::morphology {

/**
 * Folds a functor over the vectors at a list of pointers, for each vector of a row, in the order of the list. `Vec`
 * is the Simd of the voxels. Several vectors are computed in one pass over the list, so that each pointer is loaded
 * once for all of them.
 */
template <class Functor>
struct ListFold {
  template <class Vec, class T>
  [[gnu::noinline]] static void computeRow(T const* const* neighbours, unsigned long nbNeighbours, T* out,
                                           long nbVoxels) {
    constexpr long L = Vec::cNbLanes;
    T const* const* const end = neighbours + nbNeighbours;
    long col = 0;
    for (; col + 8 * L <= nbVoxels; col += 8 * L) foldVectors<8, Vec>(neighbours, end, col, out);
    if (col + 4 * L <= nbVoxels) {
      foldVectors<4, Vec>(neighbours, end, col, out);
      col += 4 * L;
    }
    for (; col < nbVoxels; col += L) foldVectors<1, Vec>(neighbours, end, col, out);
  }

 private:
  template <int Count, class Vec, class T>
  [[gnu::always_inline]] static void foldVectors(T const* const* neighbour, T const* const* end, long col, T* out) {
    constexpr long L = Vec::cNbLanes;
    typename Vec::Vector vectors[static_cast<unsigned long>(Count)];
    T const* voxels = *neighbour + col;
#pragma GCC unroll 8
    for (int i = 0; i < Count; ++i) vectors[i] = Vec::load(voxels + i * L);
    while (++neighbour != end) {
      voxels = *neighbour + col;
#pragma GCC unroll 8
      for (int i = 0; i < Count; ++i)
        vectors[i] = Functor::template apply<Vec>(vectors[i], Vec::load(voxels + i * L));
    }
#pragma GCC unroll 8
    for (int i = 0; i < Count; ++i) Vec::store(out + col + i * L, vectors[i]);
  }
};

/** Folds a functor over the first `count` offsets of a list, for each voxel of a block. */
template <class Functor, template <class, long> class Iterator, class AnyBlock, class Context, class Offset>
void foldList(AnyBlock const& block, Context const& context, std::vector<Offset> const& offsets,
              unsigned long count) {
  using Vec = SimdVec::Simd<typename Context::InputView::VoxelType, typename Context::ArchType>;
  walkList<Iterator>(block, context, offsets, [count](auto const* neighbours, auto* out, long nbVoxels) {
    ListFold<Functor>::template computeRow<Vec>(neighbours, count, out, nbVoxels);
  });
}

}  // namespace pxl::morphology
