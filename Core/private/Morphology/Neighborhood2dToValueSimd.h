#pragma once

#include <vector>

#include "Core/private/Access/IteratorNeighborhood2D.h"
#include "Core/private/Morphology/FoldNeighbours.h"
#include "Core/private/Morphology/MinMaxFunctors.h"

namespace pxl::morphology {

/** One elementary dilation or erosion of a block: folds the functor over all neighbours of each voxel. */
template <class Functor, class NeighTag, class Data>
class Neighborhood2dToValueSimd;

/** The cross: ((((above, left), centre), right), below). */
template <class Functor>
class Neighborhood2dToValueSimd<Functor, access::Neighborhood2D_4Tag, access::NoDataType> {
 public:
  template <class In, class Out, class Arch>
  void run(access::Block2d const& block, PassContext<In, Out, Arch>& context) const {
    access::IteratorNeighborhood2D_4<access::ArchView<In, Arch>, SimdVec::cNbLanes<In, Arch>> input(
        context.input, access::NoDataType());
    walkNeighbours(block, context, input, AlgoBorderInfluence(1, 1, 0, 0, 0), [&input](Out* out, long nbVoxels) {
      computeRow<SimdVec::Simd<In, Arch>>(input.above, input.left, input.below, out, nbVoxels);
    });
  }

 private:
  // Whole rows, with the pointers in registers: stores of vectors may alias anything, so the fields of the iterators
  // would be reloaded for each vector.
  template <class Vec, class T>
  [[gnu::noinline]] static void computeRow(T const* __restrict above, T const* __restrict row,
                                           T const* __restrict below, T* __restrict out, long nbVoxels) {
#pragma GCC unroll 4
    for (long col = 0; col < nbVoxels; col += Vec::cNbLanes) {
      auto v = Functor::template apply<Vec>(Vec::load(above + col), Vec::load(row + col));
      v = Functor::template apply<Vec>(v, Vec::load(row + col + 1));
      v = Functor::template apply<Vec>(v, Vec::load(row + col + 2));
      Vec::store(out + col, Functor::template apply<Vec>(v, Vec::load(below + col)));
    }
  }
};

/**
 * Any list of offsets, in the order of the list, which must not be empty. In place, it needs an offset in the row
 * above the voxel or in a later one, see IteratorNeighborhood2D_Gen.
 */
template <class Functor>
class Neighborhood2dToValueSimd<Functor, access::Neighborhood2D_GenTag, std::vector<kernel::Offset2D>> {
 public:
  explicit Neighborhood2dToValueSimd(std::vector<kernel::Offset2D> offsetList) : offsets(std::move(offsetList)) {}

  template <class In, class Out, class Arch>
  void run(access::Block2d const& block, PassContext<In, Out, Arch>& context) const {
    foldList<Functor, access::IteratorNeighborhood2D_Gen>(block, context, offsets, offsets.size());
  }

  std::vector<kernel::Offset2D> offsets;
};

template <class Functor>
using CrossKernel = Neighborhood2dToValueSimd<Functor, access::Neighborhood2D_4Tag, access::NoDataType>;
template <class Functor>
using ListKernel2d = Neighborhood2dToValueSimd<Functor, access::Neighborhood2D_GenTag, std::vector<kernel::Offset2D>>;

}  // namespace pxl::morphology
