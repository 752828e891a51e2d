#pragma once

#include <memory>

#include "Core/private/Access/BlockWalk.h"
#include "Core/private/Access/RowCache.h"

namespace pxl::access {

/**
 * Walks two inputs and one output in one step, for operators that look at each position by itself: a finished row is
 * written before the next one is read. `current` is the output's vector.
 */
template <class V1, class V2, class V3, long L>
class IteratorPixel2Inputs1Output : public BlockWalk<typename V3::VoxelType>, private Noncopyable {
 public:
  IteratorPixel2Inputs1Output(std::shared_ptr<V1 const> input1, std::shared_ptr<V2 const> input2,
                              std::shared_ptr<V3> output, bool readOldValues, OverlapBorder overlap)
      : m_view1(std::move(input1)),
        m_view2(std::move(input2)),
        m_viewOut(std::move(output)),
        m_cacheOut(m_viewOut->createRowCacheReadWrite(1)),
        m_cache1(m_view1->createRowCacheRead(1)),
        m_cache2(m_view2->createRowCacheRead(1)),
        m_readOldValues(readOldValues),
        m_overlap(overlap) {}

  void init(Block3d const& block) {
    m_block = block;
    this->row = 0;
    this->plan = 0;
    fetchRows();
    this->start(block, L, this->current);
  }

  void advance() {
    if (this->col < this->lastCol) {
      this->col += L;
      this->current += L;
      current1 += L;
      current2 += L;
    } else {
      advanceRow();
    }
  }

  void advanceRow() {
    m_row->writeRow(m_block, m_overlap);
    if (this->row < this->lastRow) {
      ++this->row;
    } else {
      if (this->plan++ >= this->lastPlan) return;
      this->row = 0;
    }
    this->col = 0;
    fetchRows();
  }

  typename V1::VoxelType const* current1 = nullptr;
  typename V2::VoxelType const* current2 = nullptr;

 private:
  void fetchRows() {
    unsigned long const nbCols = static_cast<unsigned long>(m_block.getNbCols());
    m_row = m_readOldValues ? m_cacheOut->fetchRowInBlock(0, nbCols, m_block, 0, this->row, this->plan, 0, 0)
                            : m_cacheOut->getRowInBlock(0, nbCols, m_block, 0, this->row, this->plan, 0, 0);
    this->current = m_row->voxels.data();
    current1 = m_cache1->fetchRowInBlock(0, nbCols, m_block, 0, this->row, this->plan, 0, 0)->voxels.data();
    current2 = m_cache2->fetchRowInBlock(0, nbCols, m_block, 0, this->row, this->plan, 0, 0)->voxels.data();
  }

  std::shared_ptr<V1 const> m_view1;
  std::shared_ptr<V2 const> m_view2;
  std::shared_ptr<V3> m_viewOut;
  std::shared_ptr<RowCacheReadWrite<V3, typename V3::Allocator>> m_cacheOut;
  std::shared_ptr<RowCacheRead<V1, typename V1::Allocator>> m_cache1;
  std::shared_ptr<RowCacheRead<V2, typename V2::Allocator>> m_cache2;
  Block3d m_block;
  OuputRow<V3, typename V3::Allocator>* m_row = nullptr;
  bool m_readOldValues;
  OverlapBorder m_overlap;
};

}  // namespace pxl::access
