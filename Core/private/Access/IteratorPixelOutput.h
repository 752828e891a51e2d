#pragma once

#include <memory>

#include "Core/private/Access/BlockWalk.h"
#include "Core/private/Access/RowCache.h"

namespace pxl::access {

/**
 * Writes the voxels of a block vector by vector, in the order of IteratorPixelInput. Each row is computed in a
 * private buffer and written when it is finished. The last step writes the last row, so loops must run until atEnd().
 */
template <class V, long L>
class IteratorPixelOutput : public BlockWalk<typename V::VoxelType>, private Noncopyable {
 public:
  static_assert(cHasSlack<V, L>, "the rows have too little slack for the last vector");
  static constexpr long cNbLanes = L;

  /** With `readOldValues` each row starts with the image's voxels, else with whatever the buffer holds. */
  IteratorPixelOutput(std::shared_ptr<V> outputView, bool readOldValues, OverlapBorder overlap);
  ~IteratorPixelOutput();

  void init(Block2d const& block);
  void init(Block3d const& block);

  void advance() {
    if (this->col < this->lastCol) {
      this->col += L;
      this->current += L;
    } else {
      advanceRow();
    }
  }

  /** Writes the finished row and goes to the next one, from any vector of it. */
  void advanceRow();

 private:
  using T = typename V::VoxelType;

  template <class AnyBlock>
  void initAny(AnyBlock const& block);
  T* getRow();

  std::shared_ptr<V> m_view;
  std::shared_ptr<RowCacheReadWrite<V, typename V::Allocator>> m_cache;
  BlockCopy m_block;
  OuputRow<V, typename V::Allocator>* m_row = nullptr;
  bool m_readOldValues;
  OverlapBorder m_overlap;
  unsigned long m_nbVoxelsPerRow = 0;
};

}  // namespace pxl::access

#include "Core/private/Access/IteratorPixelOutput.impl"
