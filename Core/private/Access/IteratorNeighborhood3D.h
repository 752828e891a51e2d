#pragma once

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "Core/private/Access/IteratorNeighborhood2D.h"

namespace pxl::access {

/** A voxel and its six neighbours across a face. */
struct Neighborhood3D_6Tag {
  /** Plan before; up, left, centre, right, down; plan after. */
  static constexpr std::array<kernel::Offset3D, 7> cOffsets{
      {{0, 0, -1}, {0, -1, 0}, {-1, 0, 0}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
};
/** A voxel and its 18 neighbours across a face or an edge. */
struct Neighborhood3D_18Tag {
  static constexpr std::array<kernel::Offset3D, 19> cOffsets{{{0, -1, -1},
                                                              {-1, 0, -1},
                                                              {0, 0, -1},
                                                              {1, 0, -1},
                                                              {0, 1, -1},
                                                              {-1, -1, 0},
                                                              {0, -1, 0},
                                                              {1, -1, 0},
                                                              {-1, 0, 0},
                                                              {0, 0, 0},
                                                              {1, 0, 0},
                                                              {-1, 1, 0},
                                                              {0, 1, 0},
                                                              {1, 1, 0},
                                                              {0, -1, 1},
                                                              {-1, 0, 1},
                                                              {0, 0, 1},
                                                              {1, 0, 1},
                                                              {0, 1, 1}}};
};
/** Any list of offsets. */
struct Neighborhood3D_GenTag {};

/** How far a neighbourhood reaches, relative to the voxel. */
struct NeighborhoodReach3D {
  long minCol = -1, maxCol = 1, minRow = -1, maxRow = 1, minPlan = -1, maxPlan = 1;
};

/** The offsets of a tag, as compile-time constants. */
template <class Tag>
struct FixedOffsets3D {
  template <class T>
  using Pointers = std::array<T const*, Tag::cOffsets.size()>;
  static constexpr auto const& get() { return Tag::cOffsets; }
  static constexpr NeighborhoodReach3D getReach() { return {}; }
};

/** A list of offsets. */
struct ListedOffsets3D {
  template <class T>
  using Pointers = std::vector<T const*>;
  std::vector<kernel::Offset3D> const& get() const { return list; }
  NeighborhoodReach3D getReach() const;
  std::vector<kernel::Offset3D> list;
};

/** The plans that a walk has read, lowest first. */
template <class V>
class PlanRing {
 public:
  PlanRing(std::shared_ptr<V const> inputView, NeighborhoodReach3D const& reach);
  ~PlanRing();

  /** Reads all plans around the block's first one. */
  void init(Block3d const& block);
  /** Replaces the lowest plan by the one after the highest; `plan` is the walk's next one. */
  void advance(long plan);

  /** The starts of the rows of a plan; both are counted from the first one that was read. */
  typename V::VoxelType const* const* getRows(long plan) const { return m_plans.data()[plan].rows.data(); }

 private:
  /** A plan that was read; `rows` caches the starts of its rows, from which the pointers of each row are computed. */
  struct RingPlan {
    unsigned long slot;
    std::vector<typename V::VoxelType const*> rows;
  };

  void fetch(RingPlan& plan, long planOffset) const;

  NeighborhoodReach3D m_reach;
  std::shared_ptr<V const> m_view;
  std::shared_ptr<PlanCacheRead<V, typename V::Allocator>> m_cache;
  Block3d m_block;
  std::vector<RingPlan> m_plans;
};

/**
 * One pointer for each offset of a neighbourhood, in its order, to the current vector and its neighbours. They lead
 * into a ring of as many plans as the neighbourhood spans, each larger than the block by the margins. So a step to
 * the next row reads nothing, and each source plan is read once.
 */
template <class V, long L, class Offsets>
class NeighborhoodWalk3D : private Noncopyable {
 public:
  static_assert(cHasSlack<V, L>, "the rows have too little slack for the last vector");
  static constexpr long cNbLanes = L;

  ~NeighborhoodWalk3D();

  void init(Block3d const& block);

  void advance() {
    if (col < lastCol) {
      col += L;
      for (auto& neighbour : neighbours) neighbour += L;
    } else {
      advanceRow();
    }
  }
  /** Goes to the next row, from any vector of a row; fetches nothing after the last plan. */
  void advanceRow();

  long col = 0;
  long row = 0;
  long plan = 0;
  long lastCol = 0;
  long lastRow = 0;
  long lastPlan = 0;
  long nbPlans = 0;
  typename Offsets::template Pointers<typename V::VoxelType> neighbours{};

 protected:
  NeighborhoodWalk3D(std::shared_ptr<V const> inputView, Offsets offsetList);

  Offsets m_offsets;
  NeighborhoodReach3D m_reach;

 private:
  void pointToRowStart();

  PlanRing<V> m_ring;
};

template <class V, long L, class Tag>
class FixedNeighborhood3D : public NeighborhoodWalk3D<V, L, FixedOffsets3D<Tag>> {
 public:
  FixedNeighborhood3D(std::shared_ptr<V const> inputView, NoDataType)
      : FixedNeighborhood3D::NeighborhoodWalk3D(std::move(inputView), {}) {}
};

template <class V, long L>
using IteratorNeighborhood3D_6 = FixedNeighborhood3D<V, L, Neighborhood3D_6Tag>;
template <class V, long L>
using IteratorNeighborhood3D_18 = FixedNeighborhood3D<V, L, Neighborhood3D_18Tag>;

/**
 * The walk with any list. In place, the list needs an offset in the voxel's own plan or in a later one. Otherwise
 * plans are fetched after the block has written them, and nothing detects that.
 */
template <class V, long L>
class IteratorNeighborhood3D_Gen : public NeighborhoodWalk3D<V, L, ListedOffsets3D> {
 public:
  /** The list must not be empty. */
  IteratorNeighborhood3D_Gen(std::shared_ptr<V const> inputView, std::vector<kernel::Offset3D> offsetList)
      : IteratorNeighborhood3D_Gen::NeighborhoodWalk3D(std::move(inputView), ListedOffsets3D{std::move(offsetList)}) {
  }

  /** How far the list reaches in each direction; 0 in a direction without offsets. */
  AlgoBorderInfluence getBorderInfluence() const;
};

}  // namespace pxl::access

#include "Core/private/Access/IteratorNeighborhood3D.impl"
