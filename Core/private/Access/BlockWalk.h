#pragma once

#include "Core/private/Access/Block.h"

namespace pxl::access {

/** The voxels in 128 bits. Iterators of this width are compiled once for each plug-in, see *IteratorBodies.cpp. */
template <class T>
inline constexpr long cNbLanes128 = 16 / static_cast<long>(sizeof(T));

/** Whether the rows of a view have enough slack for a vector of `L` voxels that starts with the last voxel. */
template <class V, long L>
inline constexpr bool cHasSlack = L * sizeof(typename V::VoxelType) <= V::Allocator::cSlack;

/** The position of an iterator in its block. Coordinates are relative to the block's first voxel. */
template <class T>
struct BlockWalk {
  long col = 0;  ///< a multiple of the number of lanes
  long row = 0;
  long plan = 0;
  long lastCol = 0;  ///< a vector that starts here or later is the last of its row; negative in a narrow block
  long lastRow = 0;
  long lastPlan = 0;
  long nbPlans = 0;
  T* current = nullptr;

  bool atEnd() const { return plan >= nbPlans; }

  /** Starts at the first voxel of a block. */
  void start(Block const& block, long nbLanes, T* voxels) {
    col = 0;
    row = 0;
    plan = 0;
    lastCol = block.getNbCols() - nbLanes;
    lastRow = block.getNbRows() - 1;
    lastPlan = block.getNbPlans() - 1;
    nbPlans = block.getNbPlans();
    current = voxels;
  }

  /** The number of vectors from the current one to the end of the row, at least 1. */
  long countVectorsInRow(long nbLanes) const {
    return col < lastCol ? (lastCol - col + nbLanes - 1) / nbLanes + 1 : 1;
  }
};

/** The block of an iterator, in two or three dimensions. */
class BlockCopy {
 public:
  BlockCopy() = default;
  BlockCopy(BlockCopy const&) = delete;
  BlockCopy& operator=(BlockCopy const&) = delete;

  void init(Block2d const& block) {
    m_block2d = block;
    m_block = &m_block2d;
  }
  void init(Block3d const& block) {
    m_block3d = block;
    m_block = &m_block3d;
  }
  /** Calls function(block) with the block's concrete class, so that its calls on the block aren't virtual. */
  template <class Function>
  decltype(auto) visit(Function&& function) const {
    return m_block == &m_block3d ? function(m_block3d) : function(m_block2d);
  }

 private:
  Block2d m_block2d;
  Block3d m_block3d;
  Block const* m_block = &m_block3d;
};

}  // namespace pxl::access
