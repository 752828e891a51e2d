#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include "Core/private/Access/IteratorNeighborhood3D.h"
#include "Core/private/Morphology/FoldNeighbours.h"

namespace pxl::morphology {

/**
 * Folds the functor over any list of offsets, in the order of the list, which must not be empty. Works in place: if
 * all offsets are in earlier plans, the voxel's own plan is read as well but not folded, so that each plan is read
 * before it is written.
 */
template <class Functor>
class ElementFoldSimd {
 public:
  explicit ElementFoldSimd(std::vector<kernel::Offset3D> offsets)
      : m_nbOffsets(offsets.size()), m_offsets(std::move(offsets)), m_offsetsInPlace(m_offsets) {
    bool const isEarlier =
        std::all_of(m_offsets.begin(), m_offsets.end(), [](auto const& offset) { return offset.plan < 0; });
    if (isEarlier) m_offsetsInPlace.push_back({0, 0, 0});
  }

  template <class In, class Out, class Arch>
  void run(access::Block3d const& block, PassContext<In, Out, Arch>& context) const {
    foldList<Functor, access::IteratorNeighborhood3D_Gen>(
        block, context, context.isInPlace() ? m_offsetsInPlace : m_offsets, m_nbOffsets);
  }

 private:
  unsigned long m_nbOffsets;  ///< that are folded
  std::vector<kernel::Offset3D> m_offsets;
  std::vector<kernel::Offset3D> m_offsetsInPlace;
};

}  // namespace pxl::morphology
