#include <stdexcept>

#include "Core/private/Access/IteratorPixelInput.h"
#include "access/support/Source.h"
#include "instrument/Recorder.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {
namespace {

using oracle::Five;
using pxl::access::Block2d;
using pxl::access::Block3d;
using pxl::access::OverlapBorder;
using pxl::instrument::Event;

template <class T>
class InputIteratorOf : public testing::Test {
 protected:
  static constexpr long L = oracle::cLanes<T>;
  using Iterator = pxl::access::IteratorPixelInput<pxl::access::View<T>, L>;

  // Five rows and four plans in the middle of a wider image.
  static constexpr long cCol = 3, cRow = 2, cPlan = 1, cSequence = 1, cSpectral = 2;
  static constexpr long cNbRows = 5, cNbPlans = 4;
  oracle::Random m_random{701};
  Source<T> m_source{m_random.image<T>({4 * L + 7, 9, 6, 2, 3})};

  Block3d makeBlock3d(long nbCols, long nbRows = cNbRows, long nbPlans = cNbPlans) {
    return Block3d(cPlan, cPlan + nbPlans, 1, cRow, cRow + nbRows, 1, cCol, cCol + nbCols, 1, cSequence, cSpectral);
  }
  Block2d makeBlock2d(long nbCols) {
    return Block2d(cRow, cRow + cNbRows, 1, cCol, cCol + nbCols, 1, cPlan, cSequence, cSpectral);
  }

  // How many voxels a fetch reads.
  static long lengthOf(long nbCols, bool isRounded) {
    long length = nbCols;
    while (isRounded && length % L != 0) ++length;
    return length;
  }

  // Walks the block and compares every vector with the oracle: L voxels, less in a last one that isn't rounded up.
  template <class AnyBlock>
  void expectWalk(Iterator& iterator, AnyBlock const& block, bool isRounded) {
    long const nbCols = block.getNbCols(), length = lengthOf(nbCols, isRounded);
    EXPECT_EQ(iterator.lastCol, nbCols - L);
    EXPECT_EQ(iterator.lastRow, block.getNbRows() - 1);
    EXPECT_EQ(iterator.lastPlan, block.getNbPlans() - 1);
    EXPECT_EQ(iterator.nbPlans, block.getNbPlans());
    for (long p = 0; p < block.getNbPlans(); ++p)
      for (long r = 0; r < block.getNbRows(); ++r)
        for (long c = 0; c < nbCols; c += L) {
          ASSERT_FALSE(iterator.atEnd());
          ASSERT_EQ((std::vector<long>{iterator.col, iterator.row, iterator.plan}), (std::vector<long>{c, r, p}));
          for (long lane = 0; lane < L && c + lane < length; ++lane)
            ASSERT_EQ(
                iterator.current[lane],
                oracle::continueAt(m_source.expected, {cCol + c + lane, cRow + r, cPlan + p, cSequence, cSpectral}));
          iterator.advance();
        }
    EXPECT_TRUE(iterator.atEnd());
  }
};
TEST_TYPES(InputIteratorOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(InputIteratorOf, WalksVolumesOfAnyWidth) {
  for (long nbCols = 1; nbCols <= 3 * this->L + 1; ++nbCols)
    for (bool isRounded : {false, true}) {
      typename TestFixture::Iterator iterator(this->m_source.view, OverlapBorder());
      iterator.init(this->makeBlock3d(nbCols), isRounded);
      this->expectWalk(iterator, this->makeBlock3d(nbCols), isRounded);
    }
}

TEST_OF_TYPES(InputIteratorOf, WalksPlansOfAnyWidth) {
  for (long nbCols = 1; nbCols <= 3 * this->L + 1; ++nbCols)
    for (bool isRounded : {false, true}) {
      typename TestFixture::Iterator iterator(this->m_source.view, OverlapBorder());
      iterator.init(this->makeBlock2d(nbCols), isRounded);
      this->expectWalk(iterator, this->makeBlock2d(nbCols), isRounded);
    }
}

// One cache of one row; each row is fetched when it is reached, all with the same length.
TEST_OF_TYPES(InputIteratorOf, FetchesEachRowOnce) {
  for (long nbCols : {1L, this->L - 1, this->L, this->L + 1, 2 * this->L, 2 * this->L + 1})
    for (bool isRounded : {false, true}) {
      pxl::instrument::Recorder probe;
      typename TestFixture::Iterator iterator(this->m_source.view, OverlapBorder());
      EXPECT_EQ(probe.getTrace("createRowCacheRead").at(0).values, std::vector<long>{1});
      EXPECT_EQ(probe.count("readRowAt"), 0U);
      iterator.init(this->makeBlock3d(nbCols), isRounded);
      EXPECT_EQ(probe.count("readRowAt"), 1U);
      while (!iterator.atEnd()) iterator.advance();
      auto const reads = probe.getTrace("readRowAt");
      ASSERT_EQ(reads.size(), static_cast<unsigned long>(this->cNbRows * this->cNbPlans));
      std::size_t i = 0;
      for (long p = 0; p < this->cNbPlans; ++p)
        for (long r = 0; r < this->cNbRows; ++r, ++i)
          EXPECT_EQ(reads[i].values, (std::vector<long>{this->lengthOf(nbCols, isRounded), this->cCol, this->cRow + r,
                                                        this->cPlan + p, this->cSequence, this->cSpectral}));
    }
}

TEST_OF_TYPES(InputIteratorOf, RoundsByLessThanAVector) {
  for (long nbCols = 1; nbCols <= 2 * this->L + 1; ++nbCols) {
    pxl::instrument::Recorder probe;
    typename TestFixture::Iterator iterator(this->m_source.view, OverlapBorder());
    iterator.init(this->makeBlock3d(nbCols), true);
    long const count = probe.getTrace("readRowAt").at(0).values.at(0);
    EXPECT_EQ(count % this->L, 0);
    EXPECT_GE(count, nbCols);
    EXPECT_LT(count, nbCols + this->L);
    EXPECT_EQ(iterator.lastCol, nbCols - this->L);
  }
}

TEST_OF_TYPES(InputIteratorOf, HoldsStillAtTheEnd) {
  pxl::instrument::Recorder probe;
  typename TestFixture::Iterator iterator(this->m_source.view, OverlapBorder());
  iterator.init(this->makeBlock3d(this->L + 1), false);
  while (!iterator.atEnd()) iterator.advance();
  auto const* const current = iterator.current;
  long const col = iterator.col, row = iterator.row;
  probe.clear();
  for (int i = 0; i < 3; ++i) iterator.advance();
  EXPECT_TRUE(iterator.atEnd());
  EXPECT_EQ(iterator.current, current);
  EXPECT_EQ(iterator.col, col);
  EXPECT_EQ(iterator.row, row);
  EXPECT_EQ(probe.count("readRowAt"), 0U);
}

TEST_OF_TYPES(InputIteratorOf, TakesNoNoticeOfTheOverlap) {
  OverlapBorder const overlap(pxl::AlgoBorderInfluence(1, 2, 3, 4, 5, 6, 0, 0, 0, 0));
  typename TestFixture::Iterator iterator(this->m_source.view, overlap);
  iterator.init(this->makeBlock3d(this->L + 2), true);
  this->expectWalk(iterator, this->makeBlock3d(this->L + 2), true);
}

TEST_OF_TYPES(InputIteratorOf, KeepsItsOwnCopyOfTheBlock) {
  typename TestFixture::Iterator iterator(this->m_source.view, OverlapBorder());
  {
    Block3d block = this->makeBlock3d(this->L + 2);
    iterator.init(block, false);
    block = Block3d();
  }
  this->expectWalk(iterator, this->makeBlock3d(this->L + 2), false);
}

TEST_OF_TYPES(InputIteratorOf, KeepsTheViewAlive) {
  std::weak_ptr<pxl::access::View<TypeParam> const> watched;
  {
    Source<TypeParam> source(this->m_source.expected);
    watched = source.view;
    typename TestFixture::Iterator iterator(source.view, OverlapBorder());
    source.view.reset();
    EXPECT_FALSE(watched.expired());
    iterator.init(this->makeBlock3d(this->L), false);
    this->expectWalk(iterator, this->makeBlock3d(this->L), false);
  }
  EXPECT_TRUE(watched.expired());
}

// The functions with which kernels walk a row with their own pointers.
TEST_OF_TYPES(InputIteratorOf, SkipsToTheNextRowFromAnyVector) {
  for (long nbCols = 1; nbCols <= 3 * this->L + 1; ++nbCols)
    for (long skipped = 0; skipped * this->L < nbCols; ++skipped) {
      typename TestFixture::Iterator iterator(this->m_source.view, OverlapBorder());
      iterator.init(this->makeBlock3d(nbCols), true);
      for (long i = 0; i < skipped; ++i) iterator.advance();
      long nbLeft = 0;
      for (long c = skipped * this->L; c < nbCols; c += this->L) ++nbLeft;
      ASSERT_EQ(iterator.countVectorsInRow(this->L), nbLeft);
      iterator.advanceRow();
      ASSERT_EQ((std::vector<long>{iterator.col, iterator.row, iterator.plan}), (std::vector<long>{0, 1, 0}));
      ASSERT_EQ(*iterator.current, this->m_source.expected.at(
                                       {this->cCol, this->cRow + 1, this->cPlan, this->cSequence, this->cSpectral}));
    }
}

TEST_OF_TYPES(InputIteratorOf, LetsTheExceptionOfAFetchThrough) {
  pxl::instrument::Recorder probe;
  int nbLeft = 3;
  probe.onRead = [&nbLeft](Event const&) {
    if (nbLeft-- == 0) throw std::runtime_error("the row is gone");
  };
  typename TestFixture::Iterator iterator(this->m_source.view, OverlapBorder());
  iterator.init(this->makeBlock3d(this->L), false);
  iterator.advance();
  iterator.advance();
  try {
    iterator.advance();
    FAIL() << "nothing was thrown";
  } catch (std::runtime_error const& error) {
    EXPECT_STREQ(error.what(), "the row is gone");
  }
  nbLeft = 0;
  typename TestFixture::Iterator second(this->m_source.view, OverlapBorder());
  EXPECT_THROW(second.init(this->makeBlock3d(this->L), false), std::runtime_error);
}

}  // namespace
}  // namespace access_test
