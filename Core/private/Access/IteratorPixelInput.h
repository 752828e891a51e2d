#pragma once

#include <memory>

#include "Core/private/Access/BlockWalk.h"
#include "Core/private/Access/RowCache.h"

namespace pxl::access {

/**
 * Reads the voxels of a block vector by vector: along a row, from row to row, from plan to plan. It is made on a
 * kernel's stack for one block, and keeps the view alive. `L` is the number of lanes of a vector.
 */
template <class V, long L>
class IteratorPixelInput : public BlockWalk<typename V::VoxelType>, private Noncopyable {
 public:
  static_assert(cHasSlack<V, L>, "the rows have too little slack for the last vector");
  static constexpr long cNbLanes = L;

  IteratorPixelInput(std::shared_ptr<V const> inputView, OverlapBorder overlap);
  ~IteratorPixelInput();

  /**
   * Starts at the first vector of the block. With `roundRowToVector` each row is rounded up to whole vectors, so that
   * the excess lanes of its last vector hold voxels, too: those next to the block, or those of the border condition.
   */
  void init(Block2d const& block, bool roundRowToVector);
  void init(Block3d const& block, bool roundRowToVector);

  /** Advances by one vector. At the end of the block it does nothing. */
  void advance() {
    if (this->col < this->lastCol) {
      this->col += L;
      this->current += L;
    } else {
      advanceRow();
    }
  }

  /** Goes to the first vector of the next row, from any vector of a row. */
  void advanceRow();

 private:
  using T = typename V::VoxelType;

  template <class AnyBlock>
  void initAny(AnyBlock const& block, bool roundRowToVector);
  T* fetch();

  std::shared_ptr<V const> m_view;
  std::shared_ptr<RowCacheRead<V, typename V::Allocator>> m_cache;
  BlockCopy m_block;
  InputRow<V, typename V::Allocator>* m_row = nullptr;
  OverlapBorder m_overlap;  // not used by reading
  unsigned long m_nbVoxelsPerRow = 0;
};

}  // namespace pxl::access

#include "Core/private/Access/IteratorPixelInput.impl"
