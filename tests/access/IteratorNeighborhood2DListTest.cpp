// The neighbourhood of any list of offsets.
#include <algorithm>
#include <random>

#include "access/support/Neighbours.h"

namespace access_test {
namespace {

template <class T>
class ListIteratorOf : public NeighboursOf<T> {
 protected:
  using Iterator = pxl::access::IteratorNeighborhood2D_Gen<pxl::access::View<T>, NeighboursOf<T>::L>;

  // The extent of a list, found without the host.
  struct Extent {
    long minCol, maxCol, minRow, maxRow;
  };
  static Extent getExtent(Offsets const& offsets) {
    Extent extent{offsets[0].col, offsets[0].col, offsets[0].row, offsets[0].row};
    for (auto const& offset : offsets) {
      if (offset.col < extent.minCol) extent.minCol = offset.col;
      if (offset.col > extent.maxCol) extent.maxCol = offset.col;
      if (offset.row < extent.minRow) extent.minRow = offset.row;
      if (offset.row > extent.maxRow) extent.maxRow = offset.row;
    }
    return extent;
  }

  // The origin alone; without it; all to the right; to the left and above; rows -2 and 2 alone; duplicates; a single
  // row; a single offset; the cross; wider than a block.
  std::vector<Offsets> makeLists() {
    std::vector<Offsets> lists{{{0, 0}},
                               {{-1, -1}, {1, 1}, {2, 0}},
                               {{2, 0}, {5, 1}, {3, 0}},
                               {{-4, -3}, {-1, -2}},
                               {{0, -2}, {0, 2}},
                               {{1, 0}, {1, 0}, {-1, 1}, {1, 0}, {-1, 1}},
                               {{-3, 1}, {4, 1}, {0, 1}},
                               {{2, -3}},
                               {{0, -1}, {-1, 0}, {0, 0}, {1, 0}, {0, 1}},
                               {{-60, 0}, {70, 12}}};
    oracle::Random random(721);
    for (int i = 0; i < 5; ++i) {
      Offsets list;
      for (long count = random.number(1, 12); count > 0; --count)
        list.push_back({random.number(-6, 6), random.number(-4, 4)});
      lists.push_back(list);
    }
    return lists;
  }

  testing::AssertionResult isAt(Iterator const& iterator, Offsets const& offsets, bool isFixed, Block2d const& block,
                                long col, long row) const {
    if (iterator.col != col || iterator.row != row)
      return testing::AssertionFailure() << "stands at " << iterator.col << ", " << iterator.row;
    if (iterator.neighbours.size() != offsets.size())
      return testing::AssertionFailure() << iterator.neighbours.size() << " neighbours";
    for (unsigned long i = 0; i < offsets.size(); ++i) {
      auto const result = this->isNeighbour(iterator.neighbours[i], isFixed, block, col, row, offsets[i]);
      if (!result) return result;
    }
    return testing::AssertionSuccess();
  }

  static std::vector<long> makeRead(Block2d const& block, Extent const& extent, long row) {
    return {block.getNbCols() - extent.minCol + extent.maxCol,
            block.colsBegin() + extent.minCol,
            block.rowsBegin() + row,
            block.plan,
            block.sequence,
            block.spectralSeries};
  }
};
TEST_TYPES(ListIteratorOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(ListIteratorOf, PointsAtEachNeighbourAtEveryStep) {
  long const nbLanes = this->L;
  for (Offsets const& offsets : this->makeLists())
    for (bool isFixed : {false, true})
      for (long nbCols : {1L, 2L, nbLanes - 1, nbLanes, nbLanes + 1, 2 * nbLanes, 3 * nbLanes + 1})
        for (Block2d const& block : this->makeBlocks(nbCols)) {
          typename TestFixture::Iterator iterator((isFixed ? this->m_fixed : this->m_clamped).view, offsets);
          iterator.init(block);
          ASSERT_EQ(iterator.lastCol, nbCols - nbLanes);
          ASSERT_EQ(iterator.lastRow, block.getNbRows() - 1);
          ASSERT_EQ(iterator.nbRows, block.getNbRows());
          for (long row = 0; row < block.getNbRows(); ++row)
            for (long col = 0; col < nbCols; col += nbLanes) {
              ASSERT_TRUE(this->isAt(iterator, offsets, isFixed, block, col, row));
              iterator.advance();
            }
          ASSERT_EQ(iterator.row, block.getNbRows());
        }
}

TEST_OF_TYPES(ListIteratorOf, FetchesEachRowOfItsSpanOnce) {
  for (Offsets const& offsets : this->makeLists()) {
    auto const extent = this->getExtent(offsets);
    for (Block2d const& block : this->makeBlocks(this->L + 1)) {
      pxl::instrument::Recorder recorder;
      typename TestFixture::Iterator iterator(this->m_clamped.view, offsets);
      ASSERT_EQ(recorder.count("createRowCacheRead"), 1U);
      EXPECT_EQ(recorder.getTrace("createRowCacheRead")[0].values,
                std::vector<long>{extent.maxRow - extent.minRow + 1});
      EXPECT_EQ(recorder.count("readRowAt"), 0U);
      iterator.init(block);
      std::vector<std::vector<long>> expected;
      for (long row = extent.minRow; row <= extent.maxRow; ++row)
        expected.push_back(this->makeRead(block, extent, row));
      ASSERT_EQ(getReads(recorder), expected);
      for (long row = 0; row < block.getNbRows(); ++row) {
        iterator.advance();
        ASSERT_EQ(getReads(recorder), expected) << "nothing within a row";
        iterator.advance();
        if (row + 1 < block.getNbRows()) expected.push_back(this->makeRead(block, extent, row + 1 + extent.maxRow));
        ASSERT_EQ(getReads(recorder), expected) << row;
      }
    }
  }
}

TEST_OF_TYPES(ListIteratorOf, HoldsAllRowsBetweenTwoFarOnes) {
  pxl::instrument::Recorder recorder;
  typename TestFixture::Iterator iterator(this->m_clamped.view, Offsets{{0, 2}, {0, -2}});
  EXPECT_EQ(recorder.getTrace("createRowCacheRead").at(0).values, std::vector<long>{5});
}

TEST_OF_TYPES(ListIteratorOf, RefillsTheOneBufferOfASingleRow) {
  typename TestFixture::Iterator iterator(this->m_clamped.view, Offsets{{3, 1}, {-2, 1}});
  iterator.init(this->makeBlock(2, 1, this->L, 4));
  auto const neighbours = iterator.neighbours;
  EXPECT_EQ(neighbours[0], neighbours[1] + 5);
  for (int row = 0; row < 3; ++row) {
    iterator.advance();
    EXPECT_EQ(iterator.neighbours, neighbours);
  }
}

TEST_OF_TYPES(ListIteratorOf, ReadsTheSameInAnyOrderOfTheOffsets) {
  oracle::Random random(722);
  Block2d const block = this->makeBlock(2, 3, this->L + 2, 4);
  for (Offsets const& offsets : this->makeLists()) {
    Offsets shuffled = offsets;
    std::shuffle(shuffled.begin(), shuffled.end(), random.engine());
    std::vector<std::vector<long>> reads[2];
    for (int i = 0; i < 2; ++i) {
      pxl::instrument::Recorder recorder;
      typename TestFixture::Iterator iterator(this->m_fixed.view, i == 0 ? offsets : shuffled);
      iterator.init(block);
      for (long row = 0; row < 4; ++row) {
        ASSERT_TRUE(this->isAt(iterator, i == 0 ? offsets : shuffled, true, block, 0, row));
        iterator.advanceRow();
      }
      reads[i] = getReads(recorder);
    }
    EXPECT_EQ(reads[0], reads[1]);
  }
}

TEST_OF_TYPES(ListIteratorOf, KeepsItsOwnCopiesOfListAndBlock) {
  Offsets const expected{{-1, 2}, {3, 0}, {0, -1}};
  Block2d const expectedBlock = this->makeBlock(1, 2, this->L, 3);
  Offsets offsets = expected;
  Block2d block = expectedBlock;
  typename TestFixture::Iterator iterator(this->m_clamped.view, offsets);
  offsets.assign({{9, 9}});
  iterator.init(block);
  block = Block2d();
  iterator.advance();
  EXPECT_TRUE(this->isAt(iterator, expected, false, expectedBlock, 0, 1));
}

TEST_OF_TYPES(ListIteratorOf, SkipsToTheNextRowFromAnyVectorAndHoldsStillAtTheEnd) {
  Offsets const offsets{{2, 1}, {-1, -1}};
  for (long nbSkipped : {0L, 1L, 2L}) {
    Block2d const block = this->makeBlock(2, 3, 2 * this->L + 1, 4);
    typename TestFixture::Iterator iterator(this->m_fixed.view, offsets);
    iterator.init(block);
    for (long row = 1; row < 4; ++row) {
      for (long i = 0; i < nbSkipped; ++i) iterator.advance();
      iterator.advanceRow();
      ASSERT_TRUE(this->isAt(iterator, offsets, true, block, 0, row)) << nbSkipped;
    }
    auto const neighbours = iterator.neighbours;
    pxl::instrument::Recorder recorder;
    iterator.advanceRow();
    EXPECT_EQ(iterator.row, 4);
    EXPECT_EQ(iterator.neighbours, neighbours);
    EXPECT_EQ(recorder.count("readRowAt"), 0U);
  }
}

TEST_OF_TYPES(ListIteratorOf, TellsHowFarItReaches) {
  struct {
    Offsets offsets;
    unsigned long extents[4];  // columns before and after, rows before and after
  } const cases[] = {{{{-2, 0}, {1, 3}}, {2, 1, 0, 3}}, {{{0, 0}}, {0, 0, 0, 0}},
                     {{{2, 1}, {5, 3}}, {0, 5, 0, 3}},  {{{-4, -3}, {-1, -2}}, {4, 0, 3, 0}},
                     {{{3, -2}}, {0, 3, 2, 0}},         {{{-7, 2}, {-1, -6}, {4, 0}}, {7, 4, 6, 2}}};
  for (auto const& [offsets, extents] : cases) {
    typename TestFixture::Iterator const iterator(this->m_clamped.view, offsets);
    auto const influence = iterator.getBorderInfluence();
    for (int direction = 0; direction < 4; ++direction)
      EXPECT_EQ(influence.getNumOfVoxels(static_cast<pxl::DirectionTypes>(direction)), extents[direction]);
    EXPECT_EQ(influence.getNumOfVoxels(pxl::cPlansBefore), 0U);
    EXPECT_EQ(influence.getNumOfVoxels(pxl::cPlansAfter), 0U);
  }
}

}  // namespace
}  // namespace access_test
