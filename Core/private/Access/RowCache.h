#pragma once

#include <memory>
#include <vector>

#include "Core/private/Access/Block.h"
#include "Core/private/Access/Rows.h"
#include "pxl/access/View.h"

namespace pxl::access {

/**
 * A set of row buffers that are filled through the border condition of a view. Keeps in each slot what it was told to
 * put there and decides nothing: a fetch always reads. For one thread at a time; must not outlive the view.
 */
template <class V, class A>
class RowCacheRead : private Noncopyable {
 public:
  using Row = InputRow<V, A>;

  /** `count` slots with empty buffers; `planSlot` is the slot of this cache in a plan cache. */
  RowCacheRead(V const* sourceView, unsigned long count, unsigned long planSlot);

  /**
   * Fills the row of `slot` with `nbVoxels` voxels, the first of which is at the block's begin plus the offsets in
   * each dimension. Any coordinate may lie beyond the image.
   */
  template <class AnyBlock>
  Row* fetchRowInBlock(unsigned long slot, unsigned long nbVoxels, AnyBlock const& block, long colOffset,
                       long rowOffset, long planOffset, long sequenceOffset, long spectralOffset) const;

  std::vector<std::shared_ptr<Row>> rows;
  unsigned long nbRowsInUse;
  V const* const view;
  ViewInterface<typename V::VoxelType> const* const viewInterface;
  unsigned long const index;
};

/** A set of plans, each a cache of rows. */
template <class V, class A>
class PlanCacheRead : private Noncopyable {
 public:
  using Plan = RowCacheRead<V, A>;

  PlanCacheRead(V const* sourceView, unsigned long count);

  /** Fills rows 0 to `nbRows` - 1 of the plan of `slot` with rows of `nbVoxels` voxels; see fetchRowInBlock(). */
  Plan* fetchPlanInBlock(unsigned long slot, unsigned long nbVoxels, unsigned long nbRows, Block const& block,
                         long colOffset, long rowOffset, long planOffset, long sequenceOffset,
                         long spectralOffset) const;

  std::vector<std::shared_ptr<Plan>> plans;
  V const* const view;
};

}  // namespace pxl::access

#include "Core/private/Access/RowCache.impl"
