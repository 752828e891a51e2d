#include <stdexcept>
#include <type_traits>

#include "Core/private/Access/IteratorPixel2Inputs1Output.h"
#include "access/support/Source.h"
#include "access/support/Target.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {
namespace {

using oracle::Five;
using pxl::access::Block3d;
using pxl::access::OverlapBorder;
using pxl::access::View;
using pxl::instrument::Event;

constexpr long cCol = 3, cRow = 2, cPlan = 1, cSequence = 1, cSpectral = 1;
constexpr long cNbRows = 3, cNbPlans = 2;

Block3d makeBlock(long nbCols, long nbPlans = cNbPlans) {
  return Block3d(cPlan, cPlan + nbPlans, 1, cRow, cRow + cNbRows, 1, cCol, cCol + nbCols, 1, cSequence, cSpectral);
}

/** A view to read an image, which may be of another type. */
template <class T>
std::shared_ptr<View<T> const> viewOf(pxl::Image const& host) {
  return View<T>::New(static_cast<pxl::ImageModel const*>(&host), pxl::access::ContinueBorderCondition<T>::New());
}

/** The operator of these tests: the larger voxel of columns of even number, the smaller one of the others. */
template <class T>
T combine(T a, T b, long col) {
  return (a < b) == (col % 2 == 0) ? b : a;
}

/** Runs the operator over a block and compares the positions of the iterator. */
template <long L, class Iterator>
void runOperator(Iterator& iterator, Block3d const& block) {
  using T = std::remove_pointer_t<decltype(iterator.current)>;
  EXPECT_EQ(iterator.lastCol, block.getNbCols() - L);
  EXPECT_EQ(iterator.lastRow, block.getNbRows() - 1);
  EXPECT_EQ(iterator.lastPlan, block.getNbPlans() - 1);
  EXPECT_EQ(iterator.nbPlans, block.getNbPlans());
  for (long p = 0; p < block.getNbPlans(); ++p)
    for (long r = 0; r < block.getNbRows(); ++r)
      for (long c = 0; c < block.getNbCols(); c += L) {
        ASSERT_FALSE(iterator.atEnd());
        ASSERT_EQ((std::vector<long>{iterator.col, iterator.row, iterator.plan}), (std::vector<long>{c, r, p}));
        for (long lane = 0; lane < L && c + lane < block.getNbCols(); ++lane)
          iterator.current[lane] =
              combine(static_cast<T>(iterator.current1[lane]), static_cast<T>(iterator.current2[lane]), c + lane);
        iterator.advance();
      }
  EXPECT_TRUE(iterator.atEnd());
}

template <class T>
class PairIteratorOf : public testing::Test {
 protected:
  static constexpr long L = oracle::cLanes<T>;
  using Iterator = pxl::access::IteratorPixel2Inputs1Output<View<T>, View<T>, View<T>, L>;

  Five const m_sizes{3 * L + 7, 7, 4, 2, 2};
  oracle::Random m_random{851};
  Source<T> m_source1{m_random.image<T>(m_sizes)};
  Source<T> m_source2{m_random.image<T>(m_sizes)};
  Target<T> m_target{m_random.image<T>(m_sizes)};
  pxl::instrument::Recorder m_probe;

  Iterator makeIterator(bool readOldValues, OverlapBorder const& overlap = OverlapBorder()) {
    return Iterator(m_source1.view, m_source2.view, m_target.view, readOldValues, overlap);
  }
  // The block holds the operator's result.
  template <class T1, class T2>
  void expectBlock(Target<T>& target, Block3d const& block, oracle::Image<T1> const& a, oracle::Image<T2> const& b) {
    for (long p = 0; p < block.getNbPlans(); ++p)
      for (long r = 0; r < cNbRows; ++r)
        for (long c = 0; c < block.getNbCols(); ++c) {
          Five const at{cCol + c, cRow + r, cPlan + p, cSequence, cSpectral};
          target.expected.at(at) = combine(static_cast<T>(a.at(at)), static_cast<T>(b.at(at)), c);
        }
  }
  // Which image each call went to.
  std::vector<std::string> getOrder() const {
    std::vector<std::string> order;
    for (Event const& event : m_probe.getTrace()) {
      std::string const image = event.object == m_source1.view->getInterface()   ? "input 1"
                                : event.object == m_source2.view->getInterface() ? "input 2"
                                                                                 : "output";
      EXPECT_TRUE(image != "output" || event.object == m_target.view->getInterface());
      order.push_back(event.name + " " + image);
    }
    return order;
  }
};
TEST_TYPES(PairIteratorOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(PairIteratorOf, HasACacheOfOneRowForEachImage) {
  auto iterator = this->makeIterator(false);
  EXPECT_EQ(this->m_probe.count("createRowCacheReadWrite"), 1U);
  EXPECT_EQ(this->m_probe.count("createRowCacheRead"), 2U);
  for (Event const& event : this->m_probe.getTrace()) EXPECT_EQ(event.values, std::vector<long>{1});
}

TEST_OF_TYPES(PairIteratorOf, CombinesBlocksOfAnyWidth) {
  for (long nbCols = 1; nbCols <= 3 * this->L + 1; ++nbCols)
    for (bool readOldValues : {false, true}) {
      auto iterator = this->makeIterator(readOldValues);
      this->m_probe.clear();
      iterator.init(makeBlock(nbCols));
      runOperator<TestFixture::L>(iterator, makeBlock(nbCols));
      this->expectBlock(this->m_target, makeBlock(nbCols), this->m_source1.expected, this->m_source2.expected);
      this->m_target.expectStored();
      EXPECT_EQ(this->m_probe.count("temporizeRowWriting"), 0U);
    }
}

// A finished row is written before anything of the next one is read: the output first, then the inputs.
TEST_OF_TYPES(PairIteratorOf, WritesARowBeforeItReadsTheNext) {
  for (bool readOldValues : {false, true})
    for (long nbCols : {1L, this->L, this->L + 1}) {
      auto iterator = this->makeIterator(readOldValues);
      this->m_probe.clear();
      iterator.init(makeBlock(nbCols));
      runOperator<TestFixture::L>(iterator, makeBlock(nbCols));
      std::vector<std::string> order;
      std::vector<std::vector<long>> places;
      for (long p = 0; p < cNbPlans; ++p)
        for (long r = 0; r < cNbRows; ++r) {
          if (readOldValues) order.emplace_back("readRowAt output");
          for (char const* call : {"readRowAt input 1", "readRowAt input 2", "writeRowAt output"})
            order.emplace_back(call);
          places.insert(places.end(), readOldValues ? 4 : 3,
                        {nbCols, cCol, cRow + r, cPlan + p, cSequence, cSpectral});
        }
      EXPECT_EQ(this->getOrder(), order);
      auto const trace = this->m_probe.getTrace();
      ASSERT_EQ(trace.size(), places.size());
      for (std::size_t i = 0; i < trace.size(); ++i) EXPECT_EQ(trace[i].values, places[i]);
    }
}

TEST_OF_TYPES(PairIteratorOf, StepsAllPointersTogether) {
  auto iterator = this->makeIterator(true);
  iterator.init(makeBlock(2 * this->L + 1));
  for (long r = 0; r < cNbRows; ++r)
    for (long c = 0; c < 2 * this->L + 1; c += this->L) {
      Five const at{cCol + c, cRow + r, cPlan, cSequence, cSpectral};
      EXPECT_EQ(*iterator.current1, this->m_source1.expected.at(at));
      EXPECT_EQ(*iterator.current2, this->m_source2.expected.at(at));
      EXPECT_EQ(*iterator.current, this->m_target.expected.at(at));
      iterator.advance();
    }
}

TEST_OF_TYPES(PairIteratorOf, NeverEntersABlockWithoutPlans) {
  auto iterator = this->makeIterator(false);
  iterator.init(makeBlock(this->L, 0));
  EXPECT_TRUE(iterator.atEnd());
  EXPECT_EQ(this->m_probe.count("writeRowAt"), 0U);
}

TEST_OF_TYPES(PairIteratorOf, SkipsToTheNextRowFromAnyVector) {
  for (long skipped : {0L, 1L, 2L}) {
    auto iterator = this->makeIterator(true);
    iterator.init(makeBlock(2 * this->L + 1));
    for (long i = 0; i < skipped; ++i) iterator.advance();
    iterator.advanceRow();
    Five const at{cCol, cRow + 1, cPlan, cSequence, cSpectral};
    EXPECT_EQ((std::vector<long>{iterator.col, iterator.row, iterator.plan}), (std::vector<long>{0, 1, 0}));
    EXPECT_EQ(*iterator.current1, this->m_source1.expected.at(at));
    EXPECT_EQ(*iterator.current2, this->m_source2.expected.at(at));
    EXPECT_EQ(*iterator.current, this->m_target.expected.at(at));
  }
  EXPECT_EQ(this->m_probe.count("writeRowAt"), 3U);
}

TEST_OF_TYPES(PairIteratorOf, WorksInPlaceOnEitherInput) {
  for (bool isFirst : {false, true})
    for (long nbCols : {1L, this->L + 1, 3 * this->L}) {
      oracle::Image<TypeParam> const before = this->m_target.expected;
      auto const inPlace = viewOf<TypeParam>(*this->m_target.host);
      typename TestFixture::Iterator iterator(isFirst ? inPlace : this->m_source1.view,
                                              isFirst ? this->m_source2.view : inPlace, this->m_target.view, false,
                                              OverlapBorder());
      iterator.init(makeBlock(nbCols));
      runOperator<TestFixture::L>(iterator, makeBlock(nbCols));
      this->expectBlock(this->m_target, makeBlock(nbCols), isFirst ? before : this->m_source1.expected,
                        isFirst ? this->m_source2.expected : before);
      this->m_target.expectStored();
    }
  EXPECT_EQ(this->m_probe.count("temporizeRowWriting"), 0U);
}

// Both as a view that converts and as one of the image's own type. The values are exact in every type.
TEST_OF_TYPES(PairIteratorOf, ReadsInputsOfOtherTypes) {
  auto const image1 = this->m_random.template imageWithin<float>(this->m_sizes, 0, 100);
  auto const image2 = this->m_random.template imageWithin<unsigned char>(this->m_sizes, 0, 100);
  auto const host1 = oracle::toHost(image1);
  auto const host2 = oracle::toHost(image2);
  constexpr long cLanes = TestFixture::L;
  for (long nbCols = 1; nbCols <= 3 * cLanes + 1; ++nbCols) {
    typename TestFixture::Iterator converting(viewOf<TypeParam>(*host1), viewOf<TypeParam>(*host2),
                                              this->m_target.view, false, OverlapBorder());
    converting.init(makeBlock(nbCols));
    runOperator<cLanes>(converting, makeBlock(nbCols));
    this->expectBlock(this->m_target, makeBlock(nbCols), image1, image2);
    this->m_target.expectStored();

    Target<TypeParam> target(this->m_random.template image<TypeParam>(this->m_sizes));
    pxl::access::IteratorPixel2Inputs1Output<View<float>, View<unsigned char>, View<TypeParam>, cLanes> mixed(
        viewOf<float>(*host1), viewOf<unsigned char>(*host2), target.view, false, OverlapBorder());
    mixed.init(makeBlock(nbCols));
    runOperator<cLanes>(mixed, makeBlock(nbCols));
    this->expectBlock(target, makeBlock(nbCols), image1, image2);
    target.expectStored();
  }
}

TEST_OF_TYPES(PairIteratorOf, HoldsBackAnOverlap) {
  OverlapBorder const overlap(pxl::AlgoBorderInfluence(1, 1, 0, 0, 0));
  Block3d const block = makeBlock(2 * this->L);
  auto iterator = this->makeIterator(false, overlap);
  iterator.init(block);
  runOperator<TestFixture::L>(iterator, block);
  oracle::Image<TypeParam> const before = this->m_target.expected;
  this->expectBlock(this->m_target, block, this->m_source1.expected, this->m_source2.expected);
  oracle::Image<TypeParam> const after = this->m_target.expected;
  oracle::forEachPosition(before.sizes, [&](Five const& p) {
    if (isInMargin(p, block, overlap, before.sizes)) this->m_target.expected.at(p) = before.at(p);
  });
  this->m_target.expectStored();
  this->m_target.view->writeAllTemporizedRows();
  this->m_target.expected = after;
  this->m_target.expectStored();
}

TEST_OF_TYPES(PairIteratorOf, LetsExceptionsThrough) {
  auto iterator = this->makeIterator(false);
  iterator.init(makeBlock(this->L));
  this->m_probe.onRead = [this](Event const& event) {
    if (event.object == this->m_source2.view->getInterface()) throw std::runtime_error("the row is gone");
  };
  EXPECT_THROW(iterator.advance(), std::runtime_error);
  this->m_probe.onRead = nullptr;
  this->m_probe.onWrite = [](Event const&) { return false; };
  auto second = this->makeIterator(false);
  second.init(makeBlock(this->L));
  EXPECT_THROW(second.advance(), pxl::UnexpectedError);
}

}  // namespace
}  // namespace access_test
