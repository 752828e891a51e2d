#include <stdexcept>

#include "access/support/Neighbours.h"

namespace access_test {
namespace {

template <class T>
class CrossIteratorOf : public NeighboursOf<T> {
 protected:
  using Iterator = pxl::access::IteratorNeighborhood2D_4<pxl::access::View<T>, NeighboursOf<T>::L>;

  Iterator makeIterator(bool isFixed = false) const {
    return Iterator((isFixed ? this->m_fixed : this->m_clamped).view, pxl::access::NoDataType());
  }

  testing::AssertionResult isAt(Iterator const& iterator, bool isFixed, Block2d const& block, long col,
                                long row) const {
    if (iterator.col != col || iterator.row != row)
      return testing::AssertionFailure() << "stands at " << iterator.col << ", " << iterator.row;
    std::pair<T const*, pxl::kernel::Offset2D> const expected[] = {{iterator.above, {0, -1}},
                                                                   {iterator.left, {-1, 0}},
                                                                   {iterator.centre, {0, 0}},
                                                                   {iterator.right, {1, 0}},
                                                                   {iterator.below, {0, 1}}};
    for (auto const& [lanes, offset] : expected) {
      auto const result = this->isNeighbour(lanes, isFixed, block, col, row, offset);
      if (!result) return result;
    }
    return testing::AssertionSuccess();
  }

  // The read of the row that is `row` rows below the block's first.
  static std::vector<long> makeRead(Block2d const& block, long row) {
    return {block.getNbCols() + 2, block.colsBegin() - 1, block.rowsBegin() + row, block.plan,
            block.sequence,        block.spectralSeries};
  }
};
TEST_TYPES(CrossIteratorOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(CrossIteratorOf, PointsAtTheFiveVoxelsAtEveryStep) {
  for (bool isFixed : {false, true})
    for (long nbCols = 1; nbCols <= 3 * this->L + 1; ++nbCols)
      for (Block2d const& block : this->makeBlocks(nbCols)) {
        auto iterator = this->makeIterator(isFixed);
        iterator.init(block);
        ASSERT_EQ(iterator.lastCol, nbCols - this->L);
        ASSERT_EQ(iterator.lastRow, block.getNbRows() - 1);
        ASSERT_EQ(iterator.nbRows, block.getNbRows());
        for (long row = 0; row < block.getNbRows(); ++row)
          for (long col = 0; col < nbCols; col += this->L) {
            ASSERT_TRUE(this->isAt(iterator, isFixed, block, col, row));
            iterator.advance();
          }
        ASSERT_EQ(iterator.row, block.getNbRows());
      }
}

TEST_OF_TYPES(CrossIteratorOf, MakesOneCacheOfThreeRowsAndReadsNothingYet) {
  pxl::instrument::Recorder recorder;
  auto const iterator = this->makeIterator();
  ASSERT_EQ(recorder.count("createRowCacheRead"), 1U);
  EXPECT_EQ(recorder.getTrace("createRowCacheRead")[0].values, std::vector<long>{3});
  EXPECT_EQ(recorder.count("readRowAt"), 0U);
}

TEST_OF_TYPES(CrossIteratorOf, FetchesEachRowOnceWithAColumnOnEachSide) {
  for (long nbCols : {1L, this->L - 1, this->L, this->L + 1, 3 * this->L + 1})
    for (Block2d const& block : this->makeBlocks(nbCols)) {
      pxl::instrument::Recorder recorder;
      auto iterator = this->makeIterator();
      iterator.init(block);
      std::vector<std::vector<long>> expected;
      for (long row : {-1, 0, 1}) expected.push_back(this->makeRead(block, row));
      ASSERT_EQ(getReads(recorder), expected);
      for (long row = 0; row < block.getNbRows(); ++row) {
        for (long col = 0; col < nbCols; col += this->L) {
          ASSERT_EQ(getReads(recorder), expected) << "nothing within a row";
          iterator.advance();
        }
        // The last row ends the block: no row below it is needed.
        if (row + 1 < block.getNbRows()) expected.push_back(this->makeRead(block, row + 2));
        ASSERT_EQ(getReads(recorder), expected) << row;
      }
    }
}

// The row above gives its buffer to the new row below, and no voxel is copied.
TEST_OF_TYPES(CrossIteratorOf, RollsThreeBuffers) {
  auto iterator = this->makeIterator();
  iterator.init(this->makeBlock(3, 1, this->L, 7));
  for (int row = 0; row < 6; ++row) {
    EXPECT_EQ(iterator.centre, iterator.left + 1);
    EXPECT_EQ(iterator.right, iterator.left + 2);
    auto const *const above = iterator.above, *const centre = iterator.centre, *const below = iterator.below;
    iterator.advance();
    EXPECT_EQ(iterator.above, centre);
    EXPECT_EQ(iterator.centre, below);
    EXPECT_EQ(iterator.below, above);
  }
}

TEST_OF_TYPES(CrossIteratorOf, KeepsItsRingAfterTheLastRow) {
  for (long nbRows : {1L, 3L}) {
    Block2d const block = this->makeBlock(0, 2, 2, nbRows);
    auto iterator = this->makeIterator();
    iterator.init(block);
    for (long row = 1; row < nbRows; ++row) iterator.advance();
    auto const *const above = iterator.above, *const left = iterator.left, *const below = iterator.below;
    pxl::instrument::Recorder recorder;
    iterator.advance();
    EXPECT_EQ(iterator.row, nbRows);
    EXPECT_EQ(iterator.above, above);
    EXPECT_EQ(iterator.left, left);
    EXPECT_EQ(iterator.below, below);
    EXPECT_EQ(recorder.count("readRowAt"), 0U);
  }
}

// The functions with which kernels walk a row with their own pointers.
TEST_OF_TYPES(CrossIteratorOf, SkipsToTheNextRowFromAnyVector) {
  for (long nbCols : {1L, this->L, this->L + 1, 3 * this->L + 1})
    for (long nbSkipped = 0; nbSkipped * this->L < nbCols; ++nbSkipped) {
      Block2d const block = this->makeBlock(2, 0, nbCols, 4);
      auto iterator = this->makeIterator();
      iterator.init(block);
      for (long row = 1; row < 4; ++row) {
        for (long i = 0; i < nbSkipped; ++i) iterator.advance();
        iterator.advanceRow();
        ASSERT_TRUE(this->isAt(iterator, false, block, 0, row)) << nbSkipped;
      }
    }
}

TEST_OF_TYPES(CrossIteratorOf, ServesOneBlockAfterTheOther) {
  auto iterator = this->makeIterator(true);
  for (long nbCols : {3 * this->L + 1, 1L, this->L + 1})
    for (Block2d const& block : this->makeBlocks(nbCols)) {
      iterator.init(block);
      ASSERT_TRUE(this->isAt(iterator, true, block, 0, 0));
      for (long row = 1; row < block.getNbRows(); ++row) {
        iterator.advanceRow();
        ASSERT_TRUE(this->isAt(iterator, true, block, 0, row));
      }
    }
}

TEST_OF_TYPES(CrossIteratorOf, KeepsItsOwnCopyOfTheBlock) {
  Block2d const expected = this->makeBlock(1, 1, this->L, 3);
  Block2d block = expected;
  auto iterator = this->makeIterator();
  iterator.init(block);
  block = Block2d();
  iterator.advanceRow();
  EXPECT_TRUE(this->isAt(iterator, false, expected, 0, 1));
}

TEST_OF_TYPES(CrossIteratorOf, KeepsTheViewAlive) {
  std::weak_ptr<pxl::access::View<TypeParam> const> watched;
  {
    Source<TypeParam> source(this->m_image);
    watched = source.view;
    typename TestFixture::Iterator iterator(source.view, pxl::access::NoDataType());
    source.view.reset();
    EXPECT_FALSE(watched.expired());
    Block2d const block = this->makeBlock(0, 0, this->L, 2);
    iterator.init(block);
    EXPECT_TRUE(this->isAt(iterator, false, block, 0, 0));
  }
  EXPECT_TRUE(watched.expired());
}

TEST_OF_TYPES(CrossIteratorOf, LetsTheExceptionOfAFetchThrough) {
  pxl::instrument::Recorder recorder;
  recorder.onRead = [](pxl::instrument::Event const& event) {
    if (event.values[2] == 4) throw std::runtime_error("row 4");
  };
  auto iterator = this->makeIterator();
  EXPECT_THROW(iterator.init(this->makeBlock(0, 3, this->L, 2)), std::runtime_error);
  iterator.init(this->makeBlock(0, 2, this->L, 2));
  EXPECT_THROW(iterator.advanceRow(), std::runtime_error);
}

}  // namespace
}  // namespace access_test
