#pragma once

#include <vector>

#include "Core/private/Access/Block.h"
#include "Core/private/Access/simd/AlignedAllocator.h"
#include "pxl/Noncopyable.h"

namespace pxl::access {

/** A private buffer for one row of voxels, aligned, with slack for a whole vector after its end. */
template <class V, class A>
class BaseRow : private Noncopyable {
 public:
  explicit BaseRow(unsigned long slot) : index(slot) {}
  virtual ~BaseRow() = default;

  unsigned long const index;  ///< the row's slot in its cache
  std::vector<typename V::VoxelType, A> voxels;
};

/** A row that was read. Its data may move when its slot is fetched again with a larger size. */
template <class V, class A>
class InputRow final : public BaseRow<V, A> {
 public:
  using BaseRow<V, A>::BaseRow;
};

/**
 * A row to be written. Its position is absolute, and each coordinate may be beyond the image; voxels beyond it are
 * never stored. A row that isn't passed to writeRow() is lost.
 */
template <class V, class A>
class OuputRow final : public BaseRow<V, A> {
 public:
  OuputRow(unsigned long slot, V* outputView) : BaseRow<V, A>(slot), view(outputView) {}

  /**
   * Stores the row, but holds back the voxels in the margins of the block until View::writeAllTemporizedRows(). A
   * side of the block on the image's edge has no margin.
   * @throws UnexpectedError the image can't be written
   */
  template <class AnyBlock>
  void writeRow(AnyBlock const& block, OverlapBorder const& overlap) const;
  /** The same without margins: a row within its block, or one voxel beyond its end, is stored at once. */
  template <class AnyBlock>
  void writeRow(AnyBlock const& block) const;
  /** Stores the voxels within the inclusive limits at once and holds back the others; else stores all at once. */
  void writeRow(bool temporize, long rowMin, long rowMax, long planMin, long planMax, long colMin, long colMax) const;

  long col = 0;  ///< of the buffer's first voxel
  long row = 0;
  long plan = 0;
  long sequence = 0;
  long spectralSeries = 0;
  V* const view;
};

}  // namespace pxl::access

#include "Core/private/Access/Rows.impl"
