#pragma once

#include <vector>

#include "Core/private/Access/IteratorNeighborhood3D.h"
#include "Core/private/Morphology/FoldNeighbours.h"
#include "Core/private/Morphology/MinMaxFunctors.h"

namespace pxl::morphology {

/** One elementary dilation or erosion of a block of a volume: folds the functor over all neighbours of each voxel. */
template <class Functor, class NeighTag, class Data>
class Neighborhood3dToValueSimd;

/** The six faces: ((((((before, up), left), centre), right), down), after). */
template <class Functor>
class Neighborhood3dToValueSimd<Functor, access::Neighborhood3D_6Tag, access::NoDataType> {
 public:
  template <class In, class Out, class Arch>
  void run(access::Block3d const& block, PassContext<In, Out, Arch>& context) const {
    access::IteratorNeighborhood3D_6<access::ArchView<In, Arch>, SimdVec::cNbLanes<In, Arch>> input(
        context.input, access::NoDataType());
    walkNeighbours(block, context, input, AlgoBorderInfluence(1, 1, 1, 0, 0), [&input](Out* out, long nbVoxels) {
      auto const& n = input.neighbours;
      computeRow<SimdVec::Simd<In, Arch>>(n[0], n[1], n[2], n[5], n[6], out, nbVoxels);
    });
  }

 private:
  template <class Vec, class T>
  [[gnu::noinline]] static void computeRow(T const* __restrict before, T const* __restrict up,
                                           T const* __restrict row, T const* __restrict down,
                                           T const* __restrict after, T* __restrict out, long nbVoxels) {
#pragma GCC unroll 4
    for (long col = 0; col < nbVoxels; col += Vec::cNbLanes) {
      auto v = Functor::template apply<Vec>(Vec::load(before + col), Vec::load(up + col));
      v = Functor::template apply<Vec>(v, Vec::load(row + col));
      v = Functor::template apply<Vec>(v, Vec::load(row + col + 1));
      v = Functor::template apply<Vec>(v, Vec::load(row + col + 2));
      v = Functor::template apply<Vec>(v, Vec::load(down + col));
      Vec::store(out + col, Functor::template apply<Vec>(v, Vec::load(after + col)));
    }
  }
};

/** Faces and edges, from the first plan to the last, each plan row by row. */
template <class Functor>
class Neighborhood3dToValueSimd<Functor, access::Neighborhood3D_18Tag, access::NoDataType> {
 public:
  template <class In, class Out, class Arch>
  void run(access::Block3d const& block, PassContext<In, Out, Arch>& context) const {
    access::IteratorNeighborhood3D_18<access::ArchView<In, Arch>, SimdVec::cNbLanes<In, Arch>> input(
        context.input, access::NoDataType());
    walkNeighbours(block, context, input, AlgoBorderInfluence(1, 1, 1, 0, 0), [&input](Out* out, long nbVoxels) {
      computeRow<SimdVec::Simd<In, Arch>>(input.neighbours, out, nbVoxels);
    });
  }

 private:
  // The 19 pointers lead into nine rows, whose addresses fit into the registers.
  template <class Vec, class T>
  [[gnu::noinline]] static void computeRow(std::array<T const*, 19> const& n, T* __restrict out, long nbVoxels) {
    T const* const __restrict before0 = n[0], * const __restrict before1 = n[1], * const __restrict before2 = n[4];
    T const* const __restrict row0 = n[5], * const __restrict row1 = n[8], * const __restrict row2 = n[11];
    T const* const __restrict after0 = n[14], * const __restrict after1 = n[15], * const __restrict after2 = n[18];
    auto const fold = [](typename Vec::Vector v, T const* voxels) {
      return Functor::template apply<Vec>(v, Vec::load(voxels));
    };
    auto const foldThree = [&fold](typename Vec::Vector v, T const* voxels) {
      return fold(fold(fold(v, voxels), voxels + 1), voxels + 2);
    };
    for (long col = 0; col < nbVoxels; col += Vec::cNbLanes) {
      auto v = fold(foldThree(Vec::load(before0 + col), before1 + col), before2 + col);
      v = foldThree(foldThree(foldThree(v, row0 + col), row1 + col), row2 + col);
      v = fold(foldThree(fold(v, after0 + col), after1 + col), after2 + col);
      Vec::store(out + col, v);
    }
  }
};

/**
 * Any list of offsets, in the order of the list, which must not be empty. In place, it needs an offset in the voxel's
 * plan or in a later one, see IteratorNeighborhood3D_Gen.
 */
template <class Functor>
class Neighborhood3dToValueSimd<Functor, access::Neighborhood3D_GenTag, std::vector<kernel::Offset3D>> {
 public:
  explicit Neighborhood3dToValueSimd(std::vector<kernel::Offset3D> offsetList) : offsets(std::move(offsetList)) {}

  template <class In, class Out, class Arch>
  void run(access::Block3d const& block, PassContext<In, Out, Arch>& context) const {
    foldList<Functor, access::IteratorNeighborhood3D_Gen>(block, context, offsets, offsets.size());
  }

  std::vector<kernel::Offset3D> offsets;
};

template <class Functor>
using FacesKernel = Neighborhood3dToValueSimd<Functor, access::Neighborhood3D_6Tag, access::NoDataType>;
template <class Functor>
using EdgesKernel = Neighborhood3dToValueSimd<Functor, access::Neighborhood3D_18Tag, access::NoDataType>;
template <class Functor>
using ListKernel3d = Neighborhood3dToValueSimd<Functor, access::Neighborhood3D_GenTag, std::vector<kernel::Offset3D>>;

}  // namespace pxl::morphology
