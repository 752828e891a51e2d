#pragma once

#include <memory>

#include "Core/private/Access/BlockWalk.h"
#include "Core/private/Access/RowCache.h"

namespace pxl::access {

/**
 * Writes the voxels of a block vector by vector, in the order of IteratorPixelInput. Each row is computed in a
 * private buffer and written when it is finished, the last one by the last step: the loop goes on until atEnd().
 */
template <class V, long L>
class IteratorPixelOutput : public BlockWalk<typename V::VoxelType>, private Noncopyable {
 public:
  /** With `readOldValues` each row starts with the image's voxels, else with whatever the buffer holds. */
  IteratorPixelOutput(std::shared_ptr<V> outputView, bool readOldValues, OverlapBorder overlap)
      : m_view(std::move(outputView)),
        m_cache(m_view->createRowCacheReadWrite(1)),
        m_readOldValues(readOldValues),
        m_overlap(overlap) {}

  void init(Block2d const& block) { initAny(block); }
  void init(Block3d const& block) { initAny(block); }

  void advance() {
    if (this->col < this->lastCol) {
      this->col += L;
      this->current += L;
    } else {
      advanceRow();
    }
  }

  /** Writes the finished row and goes on to the next, from any vector of it. */
  void advanceRow() {
    m_block.visit([this](auto const& block) { m_row->writeRow(block, m_overlap); });
    if (this->row < this->lastRow) {
      ++this->row;
    } else {
      if (this->plan++ >= this->lastPlan) return;
      this->row = 0;
    }
    this->col = 0;
    this->current = getRow();
  }

 private:
  using T = typename V::VoxelType;

  template <class AnyBlock>
  void initAny(AnyBlock const& block) {
    m_block.init(block);
    m_nbVoxelsPerRow = static_cast<unsigned long>(block.getNbCols());
    this->row = 0;
    this->plan = 0;
    this->start(block, L, getRow());
  }

  T* getRow() {
    m_row = m_block.visit([this](auto const& block) {
      return m_readOldValues ? m_cache->fetchRowInBlock(0, m_nbVoxelsPerRow, block, 0, this->row, this->plan, 0, 0)
                             : m_cache->getRowInBlock(0, m_nbVoxelsPerRow, block, 0, this->row, this->plan, 0, 0);
    });
    return m_row->voxels.data();
  }

  std::shared_ptr<V> m_view;
  std::shared_ptr<RowCacheReadWrite<V, typename V::Allocator>> m_cache;
  BlockCopy m_block;
  OuputRow<V, typename V::Allocator>* m_row = nullptr;
  bool m_readOldValues;
  OverlapBorder m_overlap;
  unsigned long m_nbVoxelsPerRow = 0;
};

}  // namespace pxl::access
