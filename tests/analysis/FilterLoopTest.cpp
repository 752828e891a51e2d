// The loop of the filters with reduction, on a functor that only records its blocks.
#include <type_traits>

#include "analysis/support/Extrema.h"
#include "analysis/support/RecordingFilter.h"
#include "pxl/Exception.h"

namespace analysis_test {
namespace {

using pxl::access::Block3d;
using pxl::access::Region;

static_assert(std::is_base_of_v<pxl::BaseTbbAlgorithm, RecordingFilterBase>);
static_assert(std::is_base_of_v<RecordingFilterBase, RecordingFilter>);
static_assert(sizeof(RecordingFilterBase) == sizeof(pxl::BaseTbbAlgorithm) + 8 + 16);

class FilterLoop : public testing::Test {
 protected:
  FilterLoop() { probe.grains = {1, 1, 1}; }

  // Region(rows, cols, plans, sequence, spectral).
  void run(Region const& region, int nbThreads = 1) {
    filter.setProcessingRegion(region);
    withThreads(nbThreads, [this] { filter.run(); });
  }

  pxl::instrument::Recorder probe;
  FunctorLog log;
  RecordingFunctor functor;
  RecordingFilter filter{nullptr, &functor};
};

TEST_F(FilterLoop, DeclaresItsWorkThenAsksForGrainsOnce) {
  run(Region(1, 3, 2, 5, 3, 7, 0, 2, 0, 3));
  EXPECT_EQ(probe.getNames(), (std::vector<std::string>{"setMaxProgress", "getPartitionerGrainSizes"}));
  EXPECT_EQ(probe.getTrace("setMaxProgress").at(0).values, std::vector<long>{2 * 3 * 4 * 2 * 3});
  EXPECT_EQ(filter.m_maxProgress, 144U);
  EXPECT_EQ(filter.m_progress, 144U);
}

TEST_F(FilterLoop, GivesEachDimensionItsIntervalAndGrain) {
  probe.grains = {100, 200, 300};
  run(Region(1, 3, 2, 5, 3, 7, 0, 1, 0, 1));
  auto const blocks = log.getBlocks();
  ASSERT_EQ(blocks.size(), 1U);
  Block3d const& block = blocks[0];
  EXPECT_EQ((std::vector<long>{block.rows.begin, block.rows.end, block.rows.grain}), (std::vector<long>{1, 3, 200}));
  EXPECT_EQ((std::vector<long>{block.cols.begin, block.cols.end, block.cols.grain}), (std::vector<long>{2, 5, 100}));
  EXPECT_EQ((std::vector<long>{block.plans.begin, block.plans.end, block.plans.grain}),
            (std::vector<long>{3, 7, 300}));
}

// 2^40 + 2^20 voxels: in 32 bits that would be 2^20.
TEST_F(FilterLoop, CountsMoreVoxelsThan32BitsHold) {
  probe.grains = {1UL << 40, 1UL << 40, 1UL << 40};
  run(Region(0, 1L << 20, 0, (1L << 20) + 1, 0, 1, 0, 1, 0, 1));
  EXPECT_EQ(filter.m_maxProgress, (1UL << 40) + (1UL << 20));
  EXPECT_EQ(filter.m_progress, (1UL << 40) + (1UL << 20));
}

// From the begin to the count, not to the end.
TEST_F(FilterLoop, VisitsPositionsFromBeginToCount) {
  probe.grains = {9, 9, 9};
  run(Region(0, 1, 0, 1, 0, 1, 2, 5, 1, 4));  // counts 3 and 3
  std::vector<std::pair<long, long>> positions;
  for (Block3d const& block : log.getBlocks()) positions.emplace_back(block.sequence, block.spectralSeries);
  EXPECT_EQ(positions, (std::vector<std::pair<long, long>>{{2, 1}, {2, 2}}));
}

TEST_F(FilterLoop, RunsThroughTheSeriesFasterThanThroughTheSequence) {
  probe.grains = {9, 9, 9};
  run(Region(0, 1, 0, 1, 0, 1, 0, 2, 0, 3));
  std::vector<std::pair<long, long>> positions;
  for (Block3d const& block : log.getBlocks()) positions.emplace_back(block.sequence, block.spectralSeries);
  EXPECT_EQ(positions, (std::vector<std::pair<long, long>>{{0, 0}, {0, 1}, {0, 2}, {1, 0}, {1, 1}, {1, 2}}));
}

TEST_F(FilterLoop, CollectsAllPositionsInTheCallersFunctor) {
  for (int nbThreads : {1, 2, 16}) {
    functor.nbVoxels = 0;
    run(Region(0, 7, 0, 9, 0, 3, 0, 2, 0, 4), nbThreads);
    EXPECT_EQ(functor.nbVoxels, 7 * 9 * 3 * 2 * 4) << nbThreads;
    EXPECT_EQ(filter.m_progress, 7U * 9 * 3 * 2 * 4) << nbThreads;
  }
}

TEST_F(FilterLoop, StartsNothingOnAnEmptyRegion) {
  Region const regions[] = {Region(1, 1, 0, 9, 0, 3, 0, 2, 0, 4), Region(0, 7, 4, 4, 0, 3, 0, 2, 0, 4),
                            Region(0, 7, 0, 9, 2, 2, 0, 2, 0, 4)};
  for (Region const& region : regions) {
    run(region, 2);
    EXPECT_EQ(log.nbRuns, 0);
    EXPECT_EQ(functor.nbVoxels, 0);
    EXPECT_EQ(filter.m_maxProgress, 0U);
  }
  // The flag is still tested.
  filter.m_cancelled = true;
  for (Region const& region : regions) EXPECT_THROW(run(region), pxl::ExceptionCancelation);
  // Without any position it isn't tested.
  EXPECT_NO_THROW(run(Region(0, 1, 0, 1, 0, 1, 0, 0, 0, 1)));
}

TEST_F(FilterLoop, RunsInTheCallersThreadAloneWithoutSplitting) {
  run(Region(0, 40, 0, 50, 0, 6, 0, 1, 0, 1), 1);
  EXPECT_EQ(functor.nbVoxels, 40 * 50 * 6);
  EXPECT_EQ(log.nbMade, 1);
  EXPECT_EQ(log.nbMerges, 0);
  EXPECT_GT(log.nbRuns, 1);
}

class HookedFilter : public RecordingFilterBase {
 public:
  using RecordingFilterBase::RecordingFilterBase;
  void writeTemporizedOutputs() override { ++nbCalls, nbRunsBefore.push_back(FunctorLog::active->nbRuns); }
  int nbCalls = 0;
  std::vector<long> nbRunsBefore;
};

TEST_F(FilterLoop, EndsEachPositionWithAnOperationThatDoesNothingHere) {
  probe.grains = {9, 9, 9};
  HookedFilter hooked(nullptr, &functor);
  hooked.setProcessingRegion(Region(0, 1, 0, 1, 0, 1, 0, 2, 0, 3));
  hooked.run();
  EXPECT_EQ(hooked.nbCalls, 6);
  EXPECT_EQ(hooked.nbRunsBefore, (std::vector<long>{1, 2, 3, 4, 5, 6}));
  hooked.nbCalls = 0;
  hooked.m_cancelled = true;
  EXPECT_THROW(hooked.run(), pxl::ExceptionCancelation);
  EXPECT_EQ(hooked.nbCalls, 0);
  filter.writeTemporizedOutputs();
  EXPECT_EQ(log.nbRuns, 7);
}

// After the destructors: cancelExecution, run, getBody, and the filter's own operation.
TEST_F(FilterLoop, HasItsOperationsInTheOrderOfTheContract) {
  using Slot = void (*)(void*);
  HookedFilter hooked(nullptr, &functor);
  void** const slots = *reinterpret_cast<void***>(&hooked);
  reinterpret_cast<Slot>(slots[5])(&hooked);
  EXPECT_EQ(hooked.nbCalls, 1);
  hooked.setProcessingRegion(Region(0, 1, 0, 1, 0, 1, 0, 1, 0, 1));
  reinterpret_cast<Slot>(slots[3])(&hooked);
  EXPECT_EQ(log.nbRuns, 1);
  reinterpret_cast<Slot>(slots[2])(&hooked);
  EXPECT_TRUE(hooked.m_cancelled);
}

TEST_F(FilterLoop, NeverAsksForABody) {
  struct Bodiless : RecordingFilterBase {
    using RecordingFilterBase::RecordingFilterBase;
    void* getBody() override { throw std::logic_error("getBody() was called"); }
  };
  Bodiless bodiless(nullptr, &functor);
  bodiless.setProcessingRegion(Region(0, 5, 0, 5, 0, 2, 0, 1, 0, 1));
  EXPECT_NO_THROW(bodiless.run());
}

}  // namespace
}  // namespace analysis_test
