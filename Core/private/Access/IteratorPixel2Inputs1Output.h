#pragma once

#include <memory>

#include "Core/private/Access/BlockWalk.h"
#include "Core/private/Access/RowCache.h"

namespace pxl::access {

/**
 * Walks two inputs and one output in step, for operators that process each voxel independently. A finished row is
 * written before the next one is read. `current` is the output's vector.
 */
template <class V1, class V2, class V3, long L>
class IteratorPixel2Inputs1Output : public BlockWalk<typename V3::VoxelType>, private Noncopyable {
 public:
  // `L` lanes of the output are one vector. An input of a wider type has fewer lanes, in a vector of the same width.
  static_assert(cHasSlack<V3, L> && V1::Allocator::cSlack >= V3::Allocator::cSlack &&
                    V2::Allocator::cSlack >= V3::Allocator::cSlack,
                "the rows have too little slack for the last vector");
  static constexpr long cNbLanes = L;

  IteratorPixel2Inputs1Output(std::shared_ptr<V1 const> input1, std::shared_ptr<V2 const> input2,
                              std::shared_ptr<V3> output, bool readOldValues, OverlapBorder overlap);
  ~IteratorPixel2Inputs1Output();

  void init(Block3d const& block);

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

  void advanceRow();

  typename V1::VoxelType const* current1 = nullptr;
  typename V2::VoxelType const* current2 = nullptr;

 private:
  void fetchRows();

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

#include "Core/private/Access/IteratorPixel2Inputs1Output.impl"
