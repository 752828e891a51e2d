#pragma once

#include <memory>
#include <vector>

#include "Core/private/Access/BlockWalk.h"
#include "Core/private/Access/RowCache.h"
#include "pxl/kernel/Offsets.h"

namespace pxl::access {

/** A voxel and its four neighbours. */
struct Neighborhood2D_4Tag {};
/** Any list of offsets. */
struct Neighborhood2D_GenTag {};
/** For neighbourhoods that need no data. */
struct NoDataType {};

/** The position of a neighbourhood iterator in its block, see BlockWalk. */
struct NeighborhoodWalk2D {
  long col = 0;
  long row = 0;
  long lastCol = 0;
  long lastRow = 0;
  long nbRows = 0;

  void start(Block2d const& block, long nbLanes) {
    col = 0;
    row = 0;
    lastCol = block.getNbCols() - nbLanes;
    lastRow = block.getNbRows() - 1;
    nbRows = block.getNbRows();
  }
};

/**
 * Five pointers to the current vector and its neighbours, into a ring of three rows. The rows are one voxel wider
 * than the block on each side, and each source row is read once.
 */
template <class V, long L>
class IteratorNeighborhood2D_4 : public NeighborhoodWalk2D, private Noncopyable {
 public:
  static_assert(cHasSlack<V, L>, "the rows have too little slack for the last vector");
  static constexpr long cNbLanes = L;

  IteratorNeighborhood2D_4(std::shared_ptr<V const> inputView, NoDataType);
  ~IteratorNeighborhood2D_4();

  void init(Block2d const& block);

  void advance() {
    if (col < lastCol) {
      col += L;
      above += L;
      left += L;
      centre += L;
      right += L;
      below += L;
    } else {
      advanceRow();
    }
  }

  /** Goes to the next row, from any vector of a row; fetches nothing after the last one. */
  void advanceRow();

  typename V::VoxelType const* above = nullptr;
  typename V::VoxelType const* left = nullptr;
  typename V::VoxelType const* centre = nullptr;
  typename V::VoxelType const* right = nullptr;
  typename V::VoxelType const* below = nullptr;

 private:
  using Row = InputRow<V, typename V::Allocator>;

  Row* fetch(unsigned long slot, long rowOffset);
  void pointToRowStart();

  std::shared_ptr<V const> m_view;
  std::shared_ptr<RowCacheRead<V, typename V::Allocator>> m_cache;
  Block2d m_block;
  Row* m_rowAbove = nullptr;
  Row* m_rowCentre = nullptr;
  Row* m_rowBelow = nullptr;
};

/**
 * One pointer for each offset of a list, in the list's order, into a ring of as many rows as the list spans.
 *
 * In place, a block is written row by row while it is read. The list then needs an offset in the row above the voxel
 * (-1) or in a later one. Otherwise rows are fetched after the block has written them, and nothing detects that.
 */
template <class V, long L>
class IteratorNeighborhood2D_Gen : public NeighborhoodWalk2D, private Noncopyable {
 public:
  static_assert(cHasSlack<V, L>, "the rows have too little slack for the last vector");
  static constexpr long cNbLanes = L;

  /** The list must not be empty. */
  IteratorNeighborhood2D_Gen(std::shared_ptr<V const> inputView, std::vector<kernel::Offset2D> offsetList);
  ~IteratorNeighborhood2D_Gen();

  void init(Block2d const& block);

  void advance() {
    if (col < lastCol) {
      col += L;
      for (auto& neighbour : neighbours) neighbour += L;
    } else {
      advanceRow();
    }
  }
  void advanceRow();

  /** How far the list reaches in each direction; 0 in a direction without offsets. */
  AlgoBorderInfluence getBorderInfluence() const;

  std::vector<typename V::VoxelType const*> neighbours;

 private:
  using Row = InputRow<V, typename V::Allocator>;

  Row* fetch(unsigned long slot, long rowOffset);
  void pointToRowStart();

  std::shared_ptr<V const> m_view;
  std::vector<kernel::Offset2D> m_offsets;
  long m_minCol = 0;
  long m_maxCol = 0;
  long m_minRow = 0;
  long m_maxRow = 0;
  std::shared_ptr<RowCacheRead<V, typename V::Allocator>> m_cache;
  Block2d m_block;
  unsigned long m_rowLength = 0;
  std::vector<Row*> m_ring;  ///< lowest row first
};

}  // namespace pxl::access

#include "Core/private/Access/IteratorNeighborhood2D.impl"
