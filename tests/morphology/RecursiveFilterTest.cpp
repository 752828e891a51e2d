// The filter that repeats a kernel: what it takes of its images, and what others find in it.
#include "pxl/algorithms/AbstractPrivateImplementation.h"
#include "support/WatchingFilter.h"

namespace morphology_test {
namespace {

using pxl::access::Region;

static_assert(std::is_base_of_v<pxl::BaseTbbAlgorithm, FilterBase>);
static_assert(std::is_base_of_v<FilterBase, WatchingFilter> && sizeof(FilterBase) == sizeof(WatchingFilter));

std::vector<long> getSizes(Region const& region) {
  return {region.getNbCols(), region.getNbRows(), region.getNbPlans(), region.getNbSequencePlans(),
          region.getNbSpectralSeries()};
}

class RecursiveFilter : public RecursiveFilterTest {};

TEST_F(RecursiveFilter, StartsWithItsKernelAndNothingElse) {
  WatchingFilter const filter(algorithm.get(), &kernel);
  EXPECT_EQ(filter.kernel, &kernel);
  EXPECT_EQ(filter.input, nullptr);
  EXPECT_EQ(filter.output, nullptr);
  EXPECT_EQ(filter.outputBorderCondition, nullptr);
  EXPECT_EQ(filter.nbIterations, 0U);
}

TEST_F(RecursiveFilter, TakesItsRegionFromEachImageThatItIsGiven) {
  setImages({5, 4, 3, 2, 1}, {9, 8, 7, 1, 2});
  WatchingFilter filter(algorithm.get(), &kernel);
  auto const border = pxl::access::FixedBorderCondition<short>::New(0);
  filter.setInput(hostInput.get(), border);
  EXPECT_EQ(getSizes(filter.m_processingRegion), (std::vector<long>{5, 4, 3, 2, 1}));
  filter.setOutput(hostOutput.get(), border);
  EXPECT_EQ(getSizes(filter.m_processingRegion), (std::vector<long>{9, 8, 7, 1, 2}));
  EXPECT_EQ(filter.outputBorderCondition, border);
  filter.setInput(hostInput.get(), border);
  EXPECT_EQ(getSizes(filter.m_processingRegion), (std::vector<long>{5, 4, 3, 2, 1})) << "the last one wins";
}

TEST_F(RecursiveFilter, LeavesAChosenRegionAlone) {
  setImages({9, 8, 2, 1, 1}, {9, 8, 2, 1, 1});
  algorithm->setProcessingRegion(Region(2, 5, 1, 8, 1, 2, 0, 1, 0, 1));
  WatchingFilter filter(algorithm.get(), &kernel);
  prepare(filter, 1);
  EXPECT_EQ(getSizes(filter.m_processingRegion), (std::vector<long>{7, 3, 1, 1, 1}));
  EXPECT_EQ(filter.m_processingRegion.rowsBegin(), 2);
  EXPECT_EQ(filter.m_processingRegion.colsBegin(), 1);
}

// The loop of a cancelled task group ends without an exception.
TEST_F(RecursiveFilter, TellsOfACancelBeforeItsFirstBlock) {
  setImages({5, 4, 3, 2, 1}, {5, 4, 3, 2, 1});
  WatchingFilter filter(algorithm.get(), &kernel);
  prepare(filter, 1);
  filter.cancelExecution();
  EXPECT_THROW(filter.run(), pxl::ExceptionCancelation);
  EXPECT_EQ(filter.m_progress, 0U);
}

TEST_F(RecursiveFilter, WorksFromZeroToTheSizesOfARegion) {
  oracle::Random random(291);
  auto const image = random.image<short>({19, 8, 3, 1, 1});
  hostInput = oracle::toHost(image);
  hostOutput = makeImage(image.sizes);
  algorithm->setProcessingRegion(Region(2, 5, 1, 18, 1, 3, 0, 1, 0, 1));
  Square<DilationFunctor, short> square;
  Filter<short, Square<DilationFunctor, short>> filter(algorithm.get(), &square);
  prepare(filter, 1);
  filter.run();
  EXPECT_EQ(filter.m_maxProgress, 3U * 17 * 2);
  EXPECT_EQ(filter.m_progress, 3U * 17 * 2);
  // Neighbours beyond the region are those of the image.
  auto const expected = oracle::applySquare(image, Operation::cDilation);
  auto const result = toOracle<short>(*hostOutput, image.sizes);
  oracle::forEachPosition(image.sizes, [&](Five const& p) {
    bool const isDone = p[0] < 17 && p[1] < 3 && p[2] < 2;
    ASSERT_EQ(result.at(p), isDone ? expected.at(p) : 0) << p[0] << ", " << p[1] << ", " << p[2];
  });
}

TEST_F(RecursiveFilter, ReservesATemporaryOfTheRegion) {
  setImages({9, 8, 3, 2, 1}, {9, 8, 3, 2, 1});
  algorithm->setProcessingRegion(Region(2, 5, 1, 8, 1, 3, 0, 2, 0, 1));
  algorithm->setMaximumExtraMemoryUsageInBytes(1 << 20);
  WatchingFilter filter(algorithm.get(), &kernel);
  prepare(filter, 2);
  filter.run();
  EXPECT_EQ(recorder.getTrace("reserve").at(0).values, (std::vector<long>{oracle::cHostType<short>, 7, 3, 2, 2, 1}));
}

TEST_F(RecursiveFilter, RunsAsTheChildOfAnotherFrame) {
  setImages({9, 8, 1, 1, 1}, {9, 8, 1, 1, 1});
  pxl::algorithms::AbstractPrivateImplementation parent(algorithm.get());
  WatchingFilter filter(nullptr, &kernel);
  prepare(filter, 2);
  parent.runChildAlgo(&filter);
  EXPECT_EQ(kernel.blocks.size(), 2U);
  EXPECT_EQ(filter.getPublicInterface(), algorithm.get());
}

struct HookedFilter : FilterBase {
  using FilterBase::RecursiveImageFilter;
  void writeTemporizedOutputs() override { ++nbCalls; }
  int nbCalls = 0;
};

// The flush after a pass is the driver's own.
TEST_F(RecursiveFilter, NeverCallsTheOperationOfOtherFilters) {
  setImages({9, 8, 1, 1, 1}, {9, 8, 1, 1, 1});
  HookedFilter hooked(algorithm.get(), &kernel);
  prepare(hooked, 3);
  hooked.run();
  EXPECT_EQ(hooked.nbCalls, 0);
  // Behind the destructors: cancelExecution, run, getBody, and the filter's own operation.
  using Slot = void (*)(void*);
  void** const slots = *reinterpret_cast<void***>(&hooked);
  reinterpret_cast<Slot>(slots[5])(&hooked);
  EXPECT_EQ(hooked.nbCalls, 1);
  reinterpret_cast<Slot>(slots[3])(&hooked);
  EXPECT_EQ(kernel.blocks.size(), 6U);
  reinterpret_cast<Slot>(slots[2])(&hooked);
  EXPECT_TRUE(hooked.m_cancelled);
}

}  // namespace
}  // namespace morphology_test
