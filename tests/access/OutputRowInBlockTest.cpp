#include "access/support/Target.h"

namespace access_test {
namespace {

using oracle::Five;
using pxl::access::Block2d;
using pxl::access::Block3d;
using pxl::access::OverlapBorder;

/** Rows of an image with room for a margin of its own width at each side of a block. */
class OutputRowInBlock : public testing::Test {
 protected:
  static constexpr long cNbCols = 40, cNbRows = 12, cNbPlans = 13;
  oracle::Random m_random{811};
  Target<unsigned short> m_target{m_random.image<unsigned short>({cNbCols, cNbRows, cNbPlans, 2, 2})};
  pxl::instrument::Recorder m_probe;
  Target<unsigned short>::Row m_row{0, m_target.view.get()};

  static Block3d makeBlock(long plansBegin, long plansEnd, long rowsBegin, long rowsEnd, long colsBegin,
                           long colsEnd) {
    return Block3d(plansBegin, plansEnd, 1, rowsBegin, rowsEnd, 1, colsBegin, colsEnd, 1, 1, 1);
  }
  static OverlapBorder makeOverlap(unsigned long margin) {
    return OverlapBorder(pxl::AlgoBorderInfluence(margin, margin, margin, 0, 0));
  }
  std::vector<std::string> namesOfRow(pxl::access::Block const& block, OverlapBorder const& overlap, Five const& at,
                                      long nbVoxels) {
    placeRow(m_row, at, nbVoxels, m_random);
    m_probe.clear();
    m_row.writeRow(block, overlap);
    return m_probe.getNames();
  }

  // Writes rows of the block, two voxels longer than it on either side, and compares the image before and after the
  // flush.
  void expectMargins(pxl::access::Block const& block, OverlapBorder const& overlap) {
    struct Voxel {
      Five at;
      unsigned short value;
    };
    std::vector<Voxel> late;
    m_probe.clear();
    long nbInside = 0;
    for (long p = block.plansBegin(); p < block.plansEnd(); ++p)
      for (long r = block.rowsBegin(); r < block.rowsEnd(); ++r) {
        Five at{block.colsBegin() - 2, r, p, block.sequenceBegin(), block.spectralSeriesBegin()};
        placeRow(m_row, at, block.getNbCols() + 4, m_random);
        m_row.writeRow(block, overlap);
        for (unsigned short value : m_row.voxels) {
          if (0 <= at[0] && at[0] < cNbCols) {
            ++nbInside;
            if (isInMargin(at, block, overlap, m_target.expected.sizes))
              late.push_back({at, value});
            else
              m_target.expected.at(at) = value;
          }
          ++at[0];
        }
      }
    long nbWritten = 0;
    for (auto const& event : m_probe.getTrace("writeRowAt")) nbWritten += event.values[0];
    EXPECT_EQ(nbWritten, nbInside - static_cast<long>(late.size()));
    m_target.expectStored();
    for (Voxel const& voxel : late) m_target.expected.at(voxel.at) = voxel.value;
    m_target.view->writeAllTemporizedRows();
    m_target.expectStored();
  }
};

// A side of the block on the image's edge has no margin; every choice of such sides.
TEST_F(OutputRowInBlock, HasMarginsWhereTheBlockHasNeighbours) {
  OverlapBorder overlap;
  overlap.colsBegin = 5;
  overlap.colsEnd = 6;
  overlap.rowsBegin = 1;
  overlap.rowsEnd = 3;
  overlap.plansBegin = 2;
  overlap.plansEnd = 4;
  for (int sides = 0; sides < 64; ++sides) {
    auto const isOnEdge = [sides](int side) { return (sides >> side & 1) != 0; };
    expectMargins(
        makeBlock(isOnEdge(0) ? 0 : 2, isOnEdge(1) ? cNbPlans : cNbPlans - 1, isOnEdge(2) ? 0 : 1,
                  isOnEdge(3) ? cNbRows : cNbRows - 2, isOnEdge(4) ? 0 : 7, isOnEdge(5) ? cNbCols : cNbCols - 3),
        overlap);
    ASSERT_FALSE(HasFailure()) << "sides " << sides;
  }
}

TEST_F(OutputRowInBlock, OfOnePlanHasNoNeighbourInAnImageOfOnePlan) {
  Target<short> target(m_random.image<short>({20, 9, 1, 1, 1}));
  Target<short>::Row row(0, target.view.get());
  placeRow(row, {5, 4, 0, 0, 0}, 10, m_random);
  m_probe.clear();
  row.writeRow(Block2d(3, 6, 1, 5, 15, 1, 0, 0, 0), makeOverlap(1));
  EXPECT_EQ(getCalls(m_probe), (Calls{{"temporizeRowWriting", {1, 5, 4, 0, 0, 0}},
                                      {"temporizeRowWriting", {1, 14, 4, 0, 0, 0}},
                                      {"writeRowAt", {8, 6, 4, 0, 0, 0}}}));
}

TEST_F(OutputRowInBlock, WithoutOverlapIsWrittenByOneCall) {
  Block3d const block = makeBlock(3, 6, 2, 5, 10, 20);
  for (long p = 3; p < 6; ++p)
    for (long r = 2; r < 5; ++r) {
      EXPECT_EQ(namesOfRow(block, OverlapBorder(), {10, r, p, 1, 1}, 10), std::vector<std::string>{"writeRowAt"});
      EXPECT_EQ(m_probe.getTrace().at(0).values, (std::vector<long>{10, 10, r, p, 1, 1}));
    }
}

TEST_F(OutputRowInBlock, OfASingleRowIsHeldBackWhole) {
  OverlapBorder overlap;
  overlap.rowsBegin = overlap.rowsEnd = 1;
  EXPECT_EQ(namesOfRow(makeBlock(3, 6, 4, 5, 10, 20), overlap, {10, 4, 4, 1, 1}, 10),
            std::vector<std::string>{"temporizeRowWriting"});
}

TEST_F(OutputRowInBlock, NarrowerThanItsMarginsWritesNothingAtOnce) {
  OverlapBorder overlap;
  overlap.colsBegin = 7;
  overlap.colsEnd = 8;
  placeRow(m_row, {10, 4, 4, 1, 1}, 10, m_random);
  m_row.writeRow(makeBlock(3, 6, 2, 6, 10, 20), overlap);
  EXPECT_EQ(getCalls(m_probe),
            (Calls{{"temporizeRowWriting", {7, 10, 4, 4, 1, 1}}, {"temporizeRowWriting", {10, 10, 4, 4, 1, 1}}}));
  m_target.expectStored();
  expectMargins(makeBlock(3, 6, 2, 6, 10, 20), overlap);
}

TEST_F(OutputRowInBlock, KnowsMarginsFarLargerThanTheBlock) {
  for (unsigned long margin : {1000UL, 1000000UL, 1000000000000UL}) {
    expectMargins(makeBlock(3, 6, 2, 6, 10, 20), makeOverlap(margin));
    expectMargins(makeBlock(0, 6, 0, 6, 0, 20), makeOverlap(margin));
    expectMargins(makeBlock(3, cNbPlans, 2, cNbRows, 10, cNbCols), makeOverlap(margin));
    expectMargins(makeBlock(0, cNbPlans, 0, cNbRows, 0, cNbCols), makeOverlap(margin));
  }
}

// The ends of the block serve as the last row, plan and column that are written at once, each one beyond the block.
TEST_F(OutputRowInBlock, ReachesOneVoxelBeyondItWithoutMargins) {
  Block3d const block = makeBlock(3, 6, 2, 5, 10, 20);
  for (long p = 1; p < 9; ++p)
    for (long r = 0; r < 8; ++r) {
      placeRow(m_row, {8, r, p, 1, 1}, 14, m_random);
      m_probe.clear();
      m_row.writeRow(block);
      if (2 <= r && r <= 5 && 3 <= p && p <= 6)
        EXPECT_EQ(getCalls(m_probe), (Calls{{"temporizeRowWriting", {2, 8, r, p, 1, 1}},
                                            {"temporizeRowWriting", {1, 21, r, p, 1, 1}},
                                            {"writeRowAt", {11, 10, r, p, 1, 1}}}));
      else
        EXPECT_EQ(getCalls(m_probe), (Calls{{"temporizeRowWriting", {14, 8, r, p, 1, 1}}}));
    }
  placeRow(m_row, {10, 2, 3, 1, 1}, 11, m_random);
  m_probe.clear();
  m_row.writeRow(block);
  EXPECT_EQ(getCalls(m_probe), (Calls{{"writeRowAt", {11, 10, 2, 3, 1, 1}}}));
}

}  // namespace
}  // namespace access_test
