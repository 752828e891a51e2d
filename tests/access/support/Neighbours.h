#pragma once

#include <limits>
#include <vector>

#include "Core/private/Access/IteratorNeighborhood2D.h"
#include "access/support/Source.h"
#include "instrument/Recorder.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {

using oracle::Five;
using pxl::access::Block2d;
using Offsets = std::vector<pxl::kernel::Offset2D>;

/** What a source gives beyond its edge. */
template <class T>
constexpr T cBeyond = T(7);

/** Voxels that tell their coordinates, where the type can hold that many; else random ones. */
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

}  // namespace access_test
