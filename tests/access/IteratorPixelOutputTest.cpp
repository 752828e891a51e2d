#include <stdexcept>

#include "Core/private/Access/IteratorPixelOutput.h"
#include "access/support/Target.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {
namespace {

using oracle::Five;
using pxl::access::Block2d;
using pxl::access::Block3d;
using pxl::access::OverlapBorder;
using pxl::instrument::Event;

template <class T>
class OutputIteratorOf : public testing::Test {
 protected:
  static constexpr long L = oracle::cLanes<T>;
  using Iterator = pxl::access::IteratorPixelOutput<pxl::access::View<T>, L>;

  // Five rows and four plans in the middle of a wider image.
  static constexpr long cCol = 3, cRow = 2, cPlan = 1, cSequence = 1, cSpectral = 2;
  static constexpr long cNbRows = 5, cNbPlans = 4;
  oracle::Random m_random{841};
  Target<T> m_target{m_random.image<T>({4 * L + 7, 9, 6, 2, 3})};
  pxl::instrument::Recorder m_probe;

  Block3d makeBlock3d(long nbCols, long nbRows = cNbRows, long nbPlans = cNbPlans) {
    return Block3d(cPlan, cPlan + nbPlans, 1, cRow, cRow + nbRows, 1, cCol, cCol + nbCols, 1, cSequence, cSpectral);
  }
  Block2d makeBlock2d(long nbCols) {
    return Block2d(cRow, cRow + cNbRows, 1, cCol, cCol + nbCols, 1, cPlan, cSequence, cSpectral);
  }

  // Fills the block with the voxels of `made`, L at a time, those of the last vector reaching beyond the row.
  template <class AnyBlock>
  void walk(Iterator& iterator, AnyBlock const& block, oracle::Image<T> const& made) {
    long const nbCols = block.getNbCols();
    EXPECT_EQ(iterator.lastCol, nbCols - L);
    EXPECT_EQ(iterator.lastRow, block.getNbRows() - 1);
    EXPECT_EQ(iterator.lastPlan, block.getNbPlans() - 1);
    EXPECT_EQ(iterator.nbPlans, block.getNbPlans());
    for (long p = 0; p < block.getNbPlans(); ++p)
      for (long r = 0; r < block.getNbRows(); ++r)
        for (long c = 0; c < nbCols; c += L) {
          ASSERT_FALSE(iterator.atEnd());
          ASSERT_EQ((std::vector<long>{iterator.col, iterator.row, iterator.plan}), (std::vector<long>{c, r, p}));
          for (long lane = 0; lane < L; ++lane) iterator.current[lane] = voxelOf(made, block, {c + lane, r, p});
          iterator.advance();
        }
    EXPECT_TRUE(iterator.atEnd());
  }
  static T voxelOf(oracle::Image<T> const& made, pxl::access::Block const& block, std::array<long, 3> const& p) {
    return oracle::continueAt(made, {block.colsBegin() + p[0], block.rowsBegin() + p[1], block.plansBegin() + p[2],
                                     block.sequenceBegin(), block.spectralSeriesBegin()});
  }
  void expectBlock(pxl::access::Block const& block, oracle::Image<T> const& made) {
    for (long p = block.plansBegin(); p < block.plansEnd(); ++p)
      for (long r = block.rowsBegin(); r < block.rowsEnd(); ++r)
        for (long c = block.colsBegin(); c < block.colsEnd(); ++c) {
          Five const at{c, r, p, block.sequenceBegin(), block.spectralSeriesBegin()};
          m_target.expected.at(at) = made.at(at);
        }
  }
  // The calls of the host for each row of a block in turn.
  static Calls callsOf(pxl::access::Block const& block, std::vector<std::string> const& names) {
    Calls calls;
    for (long p = block.plansBegin(); p < block.plansEnd(); ++p)
      for (long r = block.rowsBegin(); r < block.rowsEnd(); ++r)
        for (std::string const& name : names)
          calls.push_back({name, {block.getNbCols(), cCol, r, p, cSequence, cSpectral}});
    return calls;
  }

  // The walk with both ways of getting rows: written as soon as it is finished, before the next one is read.
  template <class AnyBlock>
  void expectWalk(AnyBlock const& block) {
    for (bool readOldValues : {false, true}) {
      auto const made = m_random.image<T>(m_target.expected.sizes);
      Iterator iterator(m_target.view, readOldValues, OverlapBorder());
      m_probe.clear();
      iterator.init(block);
      walk(iterator, block, made);
      Calls const expected =
          readOldValues ? callsOf(block, {"readRowAt", "writeRowAt"}) : callsOf(block, {"writeRowAt"});
      EXPECT_EQ(getCalls(m_probe), expected);
      expectBlock(block, made);
      m_target.expectStored();
    }
  }
};
TEST_TYPES(OutputIteratorOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(OutputIteratorOf, WritesVolumesOfAnyWidth) {
  for (long nbCols = 1; nbCols <= 3 * this->L + 1; ++nbCols) this->expectWalk(this->makeBlock3d(nbCols));
}

TEST_OF_TYPES(OutputIteratorOf, WritesPlansOfAnyWidth) {
  for (long nbCols = 1; nbCols <= 3 * this->L + 1; ++nbCols) this->expectWalk(this->makeBlock2d(nbCols));
}

TEST_OF_TYPES(OutputIteratorOf, HasACacheOfOneRow) {
  typename TestFixture::Iterator iterator(this->m_target.view, true, OverlapBorder());
  EXPECT_EQ(getCalls(this->m_probe), (Calls{{"createRowCacheReadWrite", {1}}}));
}

// The image's present voxels, beyond the edge as the border condition says.
TEST_OF_TYPES(OutputIteratorOf, StartsRowsWithTheOldValues) {
  Five const sizes = this->m_target.expected.sizes;
  for (long col : {-2L, 3L, sizes[0] - this->L - 3}) {
    Block3d const block(2, 6, 1, 4, 10, 1, col, col + this->L + 5, 1, 1, 2);
    typename TestFixture::Iterator iterator(this->m_target.view, true, OverlapBorder());
    iterator.init(block);
    while (!iterator.atEnd()) {
      for (long lane = 0; lane < this->L && iterator.col + lane < this->L + 5; ++lane) {
        Five const p{col + iterator.col + lane, 4 + iterator.row, 2 + iterator.plan, 1, 2};
        ASSERT_EQ(iterator.current[lane], oracle::continueAt(this->m_target.expected, p));
      }
      iterator.advance();
    }
    this->m_target.expectStored();
  }
}

TEST_OF_TYPES(OutputIteratorOf, NeverEntersABlockWithoutPlans) {
  for (bool readOldValues : {false, true}) {
    typename TestFixture::Iterator iterator(this->m_target.view, readOldValues, OverlapBorder());
    iterator.init(this->makeBlock3d(this->L, this->cNbRows, 0));
    EXPECT_TRUE(iterator.atEnd());
  }
  EXPECT_EQ(this->m_probe.count("writeRowAt"), 0U);
}

TEST_OF_TYPES(OutputIteratorOf, WritesTheLastRowWithTheLastStep) {
  typename TestFixture::Iterator iterator(this->m_target.view, true, OverlapBorder());
  iterator.init(this->makeBlock3d(this->L + 1));
  for (long i = 0; i < 2 * this->cNbRows * this->cNbPlans - 1; ++i) iterator.advance();
  EXPECT_FALSE(iterator.atEnd());
  this->m_probe.clear();
  iterator.advance();
  EXPECT_TRUE(iterator.atEnd());
  // Nothing more is fetched.
  EXPECT_EQ(getCalls(this->m_probe), (Calls{{"writeRowAt",
                                             {this->L + 1, this->cCol, this->cRow + this->cNbRows - 1,
                                              this->cPlan + this->cNbPlans - 1, this->cSequence, this->cSpectral}}}));
}

// The functions with which kernels fill a row with their own pointers.
TEST_OF_TYPES(OutputIteratorOf, SkipsToTheNextRowFromAnyVector) {
  for (long nbCols = 1; nbCols <= 3 * this->L + 1; ++nbCols)
    for (long skipped = 0; skipped * this->L < nbCols; ++skipped) {
      Block3d const block = this->makeBlock3d(nbCols, 2, 2);
      auto const made = this->m_random.template image<TypeParam>(this->m_target.expected.sizes);
      typename TestFixture::Iterator iterator(this->m_target.view, false, OverlapBorder());
      iterator.init(block);
      this->m_probe.clear();
      for (long p = 0; p < 2; ++p)
        for (long r = 0; r < 2; ++r) {
          ASSERT_EQ((std::vector<long>{iterator.col, iterator.row, iterator.plan}), (std::vector<long>{0, r, p}));
          auto* const voxels = iterator.current;
          for (long c = 0; c < nbCols; ++c) voxels[c] = this->voxelOf(made, block, {c, r, p});
          for (long i = 0; i < skipped; ++i) iterator.advance();
          ASSERT_EQ(iterator.current, voxels + skipped * this->L);
          iterator.advanceRow();
        }
      EXPECT_TRUE(iterator.atEnd());
      EXPECT_EQ(getCalls(this->m_probe), this->callsOf(block, {"writeRowAt"}));
      this->expectBlock(block, made);
      this->m_target.expectStored();
    }
}

TEST_OF_TYPES(OutputIteratorOf, HoldsBackTheOverlap) {
  OverlapBorder const overlap(pxl::AlgoBorderInfluence(2, 1, 1, 2, 1, 1, 0, 0, 0, 0));
  oracle::Image<TypeParam> const before = this->m_target.expected;
  auto const made = this->m_random.template image<TypeParam>(before.sizes);
  for (long nbCols = 1; nbCols <= 2 * this->L + 1; ++nbCols) {
    Target<TypeParam> target(before);
    Block3d const block = this->makeBlock3d(nbCols);
    typename TestFixture::Iterator iterator(target.view, false, overlap);
    iterator.init(block);
    this->walk(iterator, block, made);
    this->m_target.expected = before;
    this->expectBlock(block, made);
    auto const after = this->m_target.expected;
    oracle::forEachPosition(before.sizes, [&](Five const& p) {
      target.expected.at(p) = isInMargin(p, block, overlap, before.sizes) ? before.at(p) : after.at(p);
    });
    target.expectStored();
    target.view->writeAllTemporizedRows();
    target.expected = after;
    target.expectStored();
  }
}

TEST_OF_TYPES(OutputIteratorOf, KeepsItsOwnCopyOfTheBlock) {
  auto const made = this->m_random.template image<TypeParam>(this->m_target.expected.sizes);
  typename TestFixture::Iterator iterator(this->m_target.view, false, OverlapBorder());
  {
    Block3d block = this->makeBlock3d(this->L + 2);
    iterator.init(block);
    block = Block3d();
  }
  this->walk(iterator, this->makeBlock3d(this->L + 2), made);
  this->expectBlock(this->makeBlock3d(this->L + 2), made);
  this->m_target.expectStored();
}

TEST_OF_TYPES(OutputIteratorOf, KeepsTheViewAlive) {
  std::weak_ptr<pxl::access::View<TypeParam>> watched;
  {
    auto view = Target<TypeParam>::View::New(static_cast<pxl::ImageModel*>(this->m_target.host.get()),
                                             pxl::access::ContinueBorderCondition<TypeParam>::New());
    watched = view;
    typename TestFixture::Iterator iterator(std::move(view), false, OverlapBorder());
    ASSERT_FALSE(watched.expired());
    auto const made = this->m_random.template image<TypeParam>(this->m_target.expected.sizes);
    iterator.init(this->makeBlock3d(this->L));
    this->walk(iterator, this->makeBlock3d(this->L), made);
    this->expectBlock(this->makeBlock3d(this->L), made);
  }
  EXPECT_TRUE(watched.expired());
  this->m_target.expectStored();
}

TEST_OF_TYPES(OutputIteratorOf, LetsTheExceptionOfAWriteThrough) {
  int nbLeft = 2;
  this->m_probe.onWrite = [&nbLeft](Event const&) { return nbLeft-- > 0; };
  typename TestFixture::Iterator iterator(this->m_target.view, false, OverlapBorder());
  iterator.init(this->makeBlock3d(this->L));
  iterator.advance();
  iterator.advance();
  EXPECT_THROW(iterator.advance(), pxl::UnexpectedError);
}

TEST_OF_TYPES(OutputIteratorOf, LetsTheExceptionOfAFetchThrough) {
  int nbLeft = 2;
  this->m_probe.onRead = [&nbLeft](Event const&) {
    if (nbLeft-- == 0) throw std::runtime_error("the row is gone");
  };
  typename TestFixture::Iterator iterator(this->m_target.view, true, OverlapBorder());
  iterator.init(this->makeBlock3d(this->L));
  iterator.advance();
  EXPECT_THROW(iterator.advance(), std::runtime_error);
  // The finished row had been written.
  EXPECT_EQ(this->m_probe.count("writeRowAt"), 2U);
}

}  // namespace
}  // namespace access_test
