#pragma once

#include <limits>
#include <vector>

#include "Core/private/Access/IteratorNeighborhood3D.h"
#include "access/support/Source.h"
#include "instrument/Recorder.h"
#include "morphology/support/MorphologyOracle.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {

using oracle::Five;
using pxl::access::Block2d;
using pxl::access::Block3d;
using Offsets = std::vector<pxl::kernel::Offset2D>;
using Offsets3d = std::vector<pxl::kernel::Offset3D>;

/** The rule of a source beyond its edge. */
template <class T>
constexpr T cBeyond = T(7);

/** Voxels that encode their coordinates, if the type can hold that many values; else random ones. */
template <class T>
oracle::Image<T> makeCoded(Five const& sizes) {
  oracle::Random random(711);
  auto image = random.image<T>(sizes);
  if (static_cast<double>(std::numeric_limits<T>::max()) < 100 + static_cast<double>(image.voxels.size()))
    return image;
  long code = 100;
  oracle::forEachPosition(sizes, [&](Five const& p) { image.at(p) = static_cast<T>(code++); });
  return image;
}

/** An image with either border, and blocks at its edges and inside. */
template <class T>
class NeighboursOf : public testing::Test {
 protected:
  static constexpr long L = oracle::cLanes<T>;
  static constexpr long cPlan = 1, cSequence = 1, cSpectral = 0;
  static constexpr Five cSizes{3 * L + 8, 9, 2, 2, 1};

  oracle::Image<T> const m_image = makeCoded<T>(cSizes);
  Source<T> m_clamped{m_image};
  Source<T> m_fixed{m_image, pxl::access::FixedBorderCondition<T>::New(cBeyond<T>)};

  static Block2d makeBlock(long col, long row, long nbCols, long nbRows) {
    return Block2d(row, row + nbRows, 1, col, col + nbCols, 1, cPlan, cSequence, cSpectral);
  }
  // In the corners, in the middle, and the whole height.
  static std::vector<Block2d> makeBlocks(long nbCols) {
    long const lastCol = cSizes[0] - nbCols;
    return {makeBlock(0, 0, nbCols, 2), makeBlock(3, 2, nbCols, 4), makeBlock(lastCol, cSizes[1] - 3, nbCols, 3),
            makeBlock(2, 4, nbCols, 1), makeBlock(1, 0, nbCols, cSizes[1])};
  }

  T voxelAt(bool isFixed, Block2d const& block, long col, long row) const {
    Five const p{block.colsBegin() + col, block.rowsBegin() + row, cPlan, cSequence, cSpectral};
    return isFixed ? oracle::fixedAt(m_image, p, cBeyond<T>) : oracle::continueAt(m_image, p);
  }

  // Whether the lanes of a pointer that lie in the block are the neighbours under an offset.
  testing::AssertionResult isNeighbour(T const* lanes, bool isFixed, Block2d const& block, long col, long row,
                                       pxl::kernel::Offset2D const& offset) const {
    for (long lane = 0; lane < L && col + lane < block.getNbCols(); ++lane)
      if (lanes[lane] != voxelAt(isFixed, block, col + lane + offset.col, row + offset.row))
        return testing::AssertionFailure() << "offset " << offset.col << ", " << offset.row << " at column " << col
                                           << " + " << lane << ", row " << row << " of " << block.getNbCols();
    return testing::AssertionSuccess();
  }
};

/** The rows that were fetched, each as the number of voxels, the column, the row and the rest of its place. */
inline std::vector<std::vector<long>> getReads(pxl::instrument::Recorder const& recorder) {
  std::vector<std::vector<long>> reads;
  for (auto const& event : recorder.getTrace("readRowAt")) reads.push_back(event.values);
  return reads;
}

/** How far a list of offsets reaches, found without the host: columns, rows, plans. */
struct Reach3d {
  std::array<long, 3> lowest, highest;

  explicit Reach3d(Offsets3d const& offsets)
      : lowest{offsets[0].col, offsets[0].row, offsets[0].plan}, highest(lowest) {
    for (auto const& offset : offsets) {
      std::array<long, 3> const steps{offset.col, offset.row, offset.plan};
      for (unsigned long d = 0; d < 3; ++d) {
        if (steps[d] < lowest[d]) lowest[d] = steps[d];
        if (steps[d] > highest[d]) highest[d] = steps[d];
      }
    }
  }
};

/** A volume with either border, and blocks at its edges and inside. */
template <class T>
class Neighbours3dOf : public testing::Test {
 protected:
  static constexpr long L = oracle::cLanes<T>;
  static constexpr long cSequence = 1, cSpectral = 0;
  static constexpr Five cSizes{2 * L + 6, 6, 5, 2, 1};
  using Reads = std::vector<std::vector<long>>;

  oracle::Image<T> const m_image = makeCoded<T>(cSizes);
  Source<T> m_clamped{m_image};
  Source<T> m_fixed{m_image, pxl::access::FixedBorderCondition<T>::New(cBeyond<T>)};

  using Three = std::array<long, 3>;  // columns, rows, plans
  static Block3d makeBlock(Three const& begin, Three const& size) {
    return Block3d(begin[2], begin[2] + size[2], 1, begin[1], begin[1] + size[1], 1, begin[0], begin[0] + size[0], 1,
                   cSequence, cSpectral);
  }
  // In the corners, in the middle, a single row of one plan, and the whole height and depth.
  static std::vector<Block3d> makeBlocks(long nbCols) {
    return {makeBlock({0, 0, 0}, {nbCols, 2, 2}), makeBlock({3, 2, 1}, {nbCols, 3, 3}),
            makeBlock({cSizes[0] - nbCols, 3, 3}, {nbCols, 3, 2}), makeBlock({2, 4, 2}, {nbCols, 1, 1}),
            makeBlock({1, 0, 0}, {nbCols, cSizes[1], cSizes[2]})};
  }

  static Offsets3d toOffsets(std::vector<Three> const& list) {
    Offsets3d offsets;
    for (auto const& step : list) offsets.push_back({step[0], step[1], step[2]});
    return offsets;
  }

  T voxelAt(bool isFixed, Block3d const& block, long col, long row, long plan) const {
    Five const p{block.colsBegin() + col, block.rowsBegin() + row, block.plansBegin() + plan, cSequence, cSpectral};
    return isFixed ? oracle::fixedAt(m_image, p, cBeyond<T>) : oracle::continueAt(m_image, p);
  }

  // Whether an iterator is at this position, and the lanes of its pointers within the block are the neighbours.
  template <class Iterator>
  testing::AssertionResult isAt(Iterator const& iterator, Offsets3d const& offsets, bool isFixed,
                                Block3d const& block, Three const& at) const {
    if (Three{iterator.col, iterator.row, iterator.plan} != at)
      return testing::AssertionFailure()
             << "stands at " << iterator.col << ", " << iterator.row << ", " << iterator.plan;
    if (iterator.neighbours.size() != offsets.size())
      return testing::AssertionFailure() << iterator.neighbours.size() << " neighbours";
    for (unsigned long i = 0; i < offsets.size(); ++i)
      for (long lane = 0; lane < L && at[0] + lane < block.getNbCols(); ++lane)
        if (iterator.neighbours[i][lane] !=
            voxelAt(isFixed, block, at[0] + lane + offsets[i].col, at[1] + offsets[i].row, at[2] + offsets[i].plan))
          return testing::AssertionFailure()
                 << "neighbour " << i << " of column " << at[0] << " + " << lane << ", row " << at[1] << ", plan "
                 << at[2] << " of a block of " << block.getNbCols() << " columns";
    return testing::AssertionSuccess();
  }

  // The same at each step of the block, to its end.
  template <class Iterator>
  testing::AssertionResult isRightThroughout(Iterator& iterator, Offsets3d const& offsets, bool isFixed,
                                             Block3d const& block) const {
    iterator.init(block);
    if (iterator.lastCol != block.getNbCols() - L || iterator.lastRow != block.getNbRows() - 1 ||
        iterator.lastPlan != block.getNbPlans() - 1 || iterator.nbPlans != block.getNbPlans())
      return testing::AssertionFailure() << "the bounds are wrong";
    for (long plan = 0; plan < block.getNbPlans(); ++plan)
      for (long row = 0; row < block.getNbRows(); ++row)
        for (long col = 0; col < block.getNbCols(); col += L) {
          auto const result = isAt(iterator, offsets, isFixed, block, {col, row, plan});
          if (!result) return result;
          iterator.advance();
        }
    if (iterator.plan != block.getNbPlans()) return testing::AssertionFailure() << "ends at plan " << iterator.plan;
    return testing::AssertionSuccess();
  }

  // Adds the reads of the plan that is `plan` plans after the block's first, row by row.
  static void addReads(Reads& reads, Block3d const& block, Reach3d const& reach, long plan) {
    for (long row = reach.lowest[1]; row < block.getNbRows() + reach.highest[1]; ++row)
      reads.push_back({block.getNbCols() - reach.lowest[0] + reach.highest[0], block.colsBegin() + reach.lowest[0],
                       block.rowsBegin() + row, block.plansBegin() + plan, block.sequence, block.spectralSeries});
  }

  // Whether each plan is read once and whole: those of the ring at first, the next one at each step to a new plan.
  template <class Iterator>
  testing::AssertionResult readsEachPlanOnce(pxl::instrument::Recorder const& recorder, Iterator& iterator,
                                             Offsets3d const& offsets, Block3d const& block) const {
    Reach3d const reach(offsets);
    Reads expected = getReads(recorder);
    iterator.init(block);
    for (long plan = reach.lowest[2]; plan <= reach.highest[2]; ++plan) addReads(expected, block, reach, plan);
    if (getReads(recorder) != expected) return testing::AssertionFailure() << "at first";
    for (long plan = 0; plan < block.getNbPlans(); ++plan)
      for (long row = 0; row < block.getNbRows(); ++row)
        for (long col = 0; col < block.getNbCols(); col += L) {
          iterator.advance();
          // The last plan ends the block: no plan after it is needed.
          if (col + L >= block.getNbCols() && row + 1 == block.getNbRows() && plan + 1 < block.getNbPlans())
            addReads(expected, block, reach, plan + 1 + reach.highest[2]);
          if (getReads(recorder) != expected)
            return testing::AssertionFailure() << "after column " << col << ", row " << row << ", plan " << plan;
        }
    return testing::AssertionSuccess();
  }
};

}  // namespace access_test
