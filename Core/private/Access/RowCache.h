#pragma once

#include <memory>
#include <vector>

#include "Core/private/Access/Block.h"
#include "Core/private/Access/Rows.h"
#include "pxl/access/View.h"

/**
 * Sets of private row buffers. The caller chooses the slot of each row: a fetch always reads, and nothing is evicted
 * or looked up. A cache is used by one thread at a time and must not outlive its view.
 *
 * `slot` is the index of the buffer and `nbVoxels` its new length. Offsets are relative to the block's begin in their
 * dimension, and the resulting coordinates may be beyond the image.
 */
namespace pxl::access {

/** Rows that are read, through the border condition of the view. */
template <class V, class A>
class RowCacheRead : private Noncopyable {
 public:
  using Row = InputRow<V, A>;

  /** `count` slots with empty buffers; `planSlot` is the slot of this cache in a plan cache. */
  RowCacheRead(V const* sourceView, unsigned long count, unsigned long planSlot);
  ~RowCacheRead();

  /** Replaces the row of a slot by an empty one, as the constructor made it. */
  void makeRow(unsigned long slot);

  /** Fills the row of a slot with the voxels at that place. */
  template <class AnyBlock>
  Row* fetchRowInBlock(unsigned long slot, unsigned long nbVoxels, AnyBlock const& block, long colOffset,
                       long rowOffset, long planOffset, long sequenceOffset, long spectralOffset) const;

  /** The addresses of the first voxels of all rows in use, in one array: the rows are scattered in memory. */
  template <class Pointer>
  void listRowStarts(std::vector<Pointer>& starts) const;

  std::vector<std::shared_ptr<Row>> rows;
  unsigned long nbRowsInUse;
  V const* const view;
  ViewInterface<typename V::VoxelType> const* const viewInterface;
  unsigned long const index;
};

/** Rows that are written, see RowCacheRead. */
template <class V, class A>
class RowCacheReadWrite : private Noncopyable {
 public:
  using Row = OuputRow<V, A>;

  RowCacheReadWrite(V* targetView, unsigned long count, unsigned long planSlot);
  ~RowCacheReadWrite();

  void makeRow(unsigned long slot);

  /** Sets the position of the row of a slot; its voxels are undefined. */
  template <class AnyBlock>
  Row* getRowInBlock(unsigned long slot, unsigned long nbVoxels, AnyBlock const& block, long colOffset,
                     long rowOffset, long planOffset, long sequenceOffset, long spectralOffset) const;
  /** Sets the position of the row of a slot and reads the image's present voxels into it. */
  template <class AnyBlock>
  Row* fetchRowInBlock(unsigned long slot, unsigned long nbVoxels, AnyBlock const& block, long colOffset,
                       long rowOffset, long planOffset, long sequenceOffset, long spectralOffset) const;

  std::vector<std::shared_ptr<Row>> rows;
  unsigned long nbRowsInUse;
  V* const view;
  ViewInterface<typename V::VoxelType> const* const viewInterface;
  unsigned long const index;
};

/** Plans that are read, each a cache of rows made on demand. */
template <class V, class A>
class PlanCacheRead : private Noncopyable {
 public:
  using Plan = RowCacheRead<V, A>;

  PlanCacheRead(V const* sourceView, unsigned long count);
  ~PlanCacheRead();

  /** Fills rows 0 to `nbRows` - 1 of the plan of a slot; row i is at `rowOffset` + i. */
  template <class AnyBlock>
  Plan* fetchPlanInBlock(unsigned long slot, unsigned long nbVoxels, unsigned long nbRows, AnyBlock const& block,
                         long colOffset, long rowOffset, long planOffset, long sequenceOffset,
                         long spectralOffset) const;

  std::vector<std::shared_ptr<Plan>> plans;
  V const* const view;
};

/** Plans that are written, see PlanCacheRead. */
template <class V, class A>
class PlanCacheReadWrite : private Noncopyable {
 public:
  using Plan = RowCacheReadWrite<V, A>;

  PlanCacheReadWrite(V* targetView, unsigned long count);
  ~PlanCacheReadWrite();

  /** Sets the positions of rows 0 to `nbRows` - 1 of the plan of a slot; nothing is read. */
  template <class AnyBlock>
  Plan* getPlanInBlock(unsigned long slot, unsigned long nbVoxels, unsigned long nbRows, AnyBlock const& block,
                       long colOffset, long rowOffset, long planOffset, long sequenceOffset,
                       long spectralOffset) const;

  std::vector<std::shared_ptr<Plan>> plans;
  V* const view;
};

}  // namespace pxl::access

#include "Core/private/Access/RowCache.impl"
