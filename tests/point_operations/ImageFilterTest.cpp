// The loop of the filters that write an image, on a functor that looks at its blocks and fills them.
#include <atomic>
#include <mutex>
#include <type_traits>

#include "Core/private/Access/IteratorPixelOutput.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "Core/private/Filters/ImageToImageFilter.h"
#include "support/Runs.h"

namespace point_test {
namespace {

using pxl::access::Region;
using Byte = unsigned char;

/** Begin and end of columns, rows and plans, then sequence and spectral position. */
using Box = std::array<long, 8>;

/** Notes its blocks and fills them with 9. */
struct FillingFunctor {
  template <class AnyBlock, class Filter>
  void run(AnyBlock const& block, Filter& filter) const {
    {
      std::lock_guard<std::mutex> const lock(mutex);
      boxes.push_back({block.colsBegin(), block.colsEnd(), block.rowsBegin(), block.rowsEnd(), block.plansBegin(),
                       block.plansEnd(), block.sequenceBegin(), block.spectralSeriesBegin()});
    }
    if (onRun) onRun(filter);
    constexpr long L = pxl::SimdVec::cNbLanes<Byte, pxl::SimdVec::arch_128_tag>;
    pxl::access::IteratorPixelOutput<pxl::access::View<Byte>, L> output(filter.output, false,
                                                                        pxl::access::OverlapBorder());
    for (output.init(block); !output.atEnd(); output.advance())
      std::fill(output.current, output.current + L, Byte(9));
  }

  mutable std::mutex mutex;
  mutable std::vector<Box> boxes;
  std::function<void(pxl::BaseTbbAlgorithm&)> onRun;
};

using Arch = pxl::SimdVec::arch_128_tag;
using Filter2d = pxl::ImageToImageFilter2d<Byte, Byte, Arch, FillingFunctor>;
using Filter3d = pxl::ImageToImageFilter3d<Byte, Byte, Arch, FillingFunctor>;
using PairFilter3d = pxl::ImagePairToImageFilter3d<Byte, Byte, Byte, Arch, FillingFunctor>;
using Base =
    pxl::ImageToImageFilter<Byte, Byte, Arch, FillingFunctor, pxl::Filter3dTag, pxl::FilterWithoutReductionTag>;
using PairBase = pxl::ImagePairToImageFilter<Byte, Byte, Byte, Arch, FillingFunctor, pxl::Filter3dTag>;

static_assert(std::is_base_of_v<pxl::BaseTbbAlgorithm, Base> && std::is_base_of_v<Base, Filter3d>);
// A functor, and a view or a border for each of the others.
static_assert(sizeof(Filter3d) == sizeof(pxl::BaseTbbAlgorithm) + 8 + 3 * 16);
static_assert(sizeof(PairFilter3d) == sizeof(pxl::BaseTbbAlgorithm) + 8 + 4 * 16);

class ImageFilter : public testing::Test {
 protected:
  ImageFilter() { recorder.grains = {99, 99, 99}; }

  static std::shared_ptr<pxl::Image> makeImage(Five const& sizes) {
    return pxl::Image::New(pxl::cUnsignedInteger8, oracle::toHostSizes(sizes));
  }
  static auto makeBorder() { return pxl::access::FixedBorderCondition<Byte>::New(0); }

  template <class Filter>
  void run(Filter& filter, Region const& region, int nbThreads = 1) {
    filter.setInput(image.get(), makeBorder());
    filter.setOutput(image.get(), makeBorder());
    filter.setProcessingRegion(region);
    functor.boxes.clear();
    recorder.clear();
    withThreads(nbThreads, [&] { filter.run(); });
  }
  long countFilled() const {
    Byte const* const voxels = static_cast<Byte const*>(std::as_const(*image).getVoxels());
    return std::count(voxels, voxels + 12 * 10 * 6 * 4 * 3, Byte(9));
  }

  pxl::instrument::Recorder recorder;
  FillingFunctor functor;
  std::shared_ptr<pxl::Image> image = makeImage({12, 10, 6, 4, 3});
};

TEST_F(ImageFilter, DeclaresItsWorkThenAsksForGrainsOnce) {
  Filter3d filter(nullptr, &functor);
  run(filter, Region(1, 3, 2, 5, 3, 6, 0, 2, 0, 3));
  auto const names = recorder.getNames({"readRowAt", "writeRowAt", "createRowCacheReadWrite"});
  EXPECT_EQ(names[0], "setMaxProgress");
  EXPECT_EQ(names[1], "getPartitionerGrainSizes");
  EXPECT_EQ(recorder.getTrace("setMaxProgress").at(0).values, std::vector<long>{2 * 3 * 3 * 2 * 3});
  EXPECT_EQ(recorder.count("getPartitionerGrainSizes"), 1u);
  EXPECT_EQ(filter.m_progress, 108u);
  EXPECT_EQ(countFilled(), 108);
}

TEST_F(ImageFilter, RunsEachPositionByItselfAndStoresAfterIt) {
  Filter3d filter(nullptr, &functor);
  run(filter, Region(0, 1, 0, 2, 0, 1, 0, 3, 0, 2));
  std::vector<std::pair<long, long>> positions;
  for (Box const& box : functor.boxes) positions.emplace_back(box[6], box[7]);
  EXPECT_EQ(positions, (std::vector<std::pair<long, long>>{{0, 0}, {0, 1}, {1, 0}, {1, 1}, {2, 0}, {2, 1}}));
  std::vector<std::string> expected;
  for (int i = 0; i < 6; ++i) expected.insert(expected.end(), {"writeRowAt", "writeAllTemporizedRows"});
  EXPECT_EQ(recorder.getNames({"setMaxProgress", "getPartitionerGrainSizes", "createRowCacheReadWrite"}), expected);
}

// From the begin to the count, not to the end.
TEST_F(ImageFilter, VisitsPositionsFromBeginToCount) {
  Filter3d filter(nullptr, &functor);
  run(filter, Region(0, 1, 0, 1, 0, 1, 1, 4, 1, 3));  // counts 3 and 2
  std::vector<std::pair<long, long>> positions;
  for (Box const& box : functor.boxes) positions.emplace_back(box[6], box[7]);
  EXPECT_EQ(positions, (std::vector<std::pair<long, long>>{{1, 1}, {2, 1}}));
}

TEST_F(ImageFilter, Of3dCoversTheIntervalsOfTheRegion) {
  Filter3d filter(nullptr, &functor);
  run(filter, Region(1, 3, 2, 5, 3, 6, 0, 1, 0, 1));
  EXPECT_EQ(functor.boxes, (std::vector<Box>{{2, 5, 1, 3, 3, 6, 0, 0}}));
}

TEST_F(ImageFilter, Of2dProcessesPlan0AloneAndStopsShort) {
  Filter2d filter(nullptr, &functor);
  run(filter, Region(1, 3, 2, 5, 2, 6, 0, 2, 0, 1));
  EXPECT_EQ(functor.boxes, (std::vector<Box>{{2, 5, 1, 3, 0, 1, 0, 0}, {2, 5, 1, 3, 0, 1, 1, 0}}));
  EXPECT_EQ(filter.m_maxProgress, 48u);
  EXPECT_EQ(filter.m_progress, 12u);
  EXPECT_EQ(countFilled(), 12);
}

TEST_F(ImageFilter, CutsByTheGrainsOnAnyNumberOfThreads) {
  for (int nbThreads : {1, 2, 16}) {
    recorder.grains = {3, 2, 1};
    Filter3d volume(nullptr, &functor);
    run(volume, Region(0, 10, 0, 12, 0, 6, 0, 4, 0, 3), nbThreads);
    EXPECT_EQ(volume.m_progress, 12u * 10 * 6 * 4 * 3);
    EXPECT_EQ(countFilled(), 12 * 10 * 6 * 4 * 3);
    EXPECT_EQ(recorder.count("writeAllTemporizedRows"), 12u);
  }
}

/** Leaves the images alone. */
struct IdleFunctor {
  template <class AnyBlock, class Filter>
  void run(AnyBlock const&, Filter&) const {}
};

// 2^40 + 2^20 voxels at two positions: in 32 bits that would be 2^21.
TEST_F(ImageFilter, CountsMoreVoxelsThan32BitsHold) {
  recorder.grains = {1UL << 40, 1UL << 40, 1UL << 40};
  constexpr unsigned long cNbVoxels = 2 * ((1UL << 40) + (1UL << 20));
  IdleFunctor idle;
  auto const check = [&](auto& filter) {
    run(filter, Region(0, 1L << 20, 0, (1L << 20) + 1, 0, 1, 0, 2, 0, 1));
    EXPECT_EQ(filter.m_maxProgress, cNbVoxels);
    EXPECT_EQ(filter.m_progress, cNbVoxels);
  };
  pxl::ImageToImageFilter2d<Byte, Byte, Arch, IdleFunctor> plan(nullptr, &idle);
  pxl::ImageToImageFilter3d<Byte, Byte, Arch, IdleFunctor> volume(nullptr, &idle);
  check(plan);
  check(volume);
}

TEST_F(ImageFilter, LaunchesNothingOnAnEmptyRegionButEndsEachPosition) {
  for (Region const& region : {Region(1, 1, 0, 9, 0, 3, 0, 2, 0, 2), Region(0, 7, 4, 4, 0, 3, 0, 2, 0, 2),
                               Region(0, 7, 0, 9, 2, 2, 0, 2, 0, 2)}) {
    Filter3d filter(nullptr, &functor);
    run(filter, region);
    EXPECT_TRUE(functor.boxes.empty());
    EXPECT_EQ(recorder.count("writeAllTemporizedRows"), 4u);
    filter.m_cancelled = true;
    EXPECT_THROW(run(filter, region), pxl::ExceptionCancelation);
    EXPECT_EQ(recorder.count("writeAllTemporizedRows"), 0u);
  }
  // In 2D the plans of the region play no part.
  Filter2d plan(nullptr, &functor);
  run(plan, Region(0, 7, 0, 9, 2, 2, 0, 1, 0, 1));
  EXPECT_EQ(functor.boxes.size(), 1u);
}

TEST_F(ImageFilter, RunsItsBlocksInItsOwnTaskGroup) {
  Filter3d filter(nullptr, &functor);
  functor.onRun = [](pxl::BaseTbbAlgorithm& running) {
    EXPECT_FALSE(tbb::is_current_task_group_canceling());
    running.m_taskGroupContext.cancel_group_execution();
    EXPECT_TRUE(tbb::is_current_task_group_canceling());
  };
  // Cancelled by the group alone: the loop ends as if all were done, as the flag says nothing.
  run(filter, Region(0, 5, 0, 5, 0, 2, 0, 1, 0, 1));
  EXPECT_EQ(functor.boxes.size(), 1u);
}

TEST_F(ImageFilter, TellsOfACancelThatTheTasksSwallowed) {
  recorder.grains = {1, 1, 1};
  for (int nbThreads : {1, 2}) {
    Filter3d filter(nullptr, &functor);
    std::atomic<int> nbRuns{0};
    functor.onRun = [&](pxl::BaseTbbAlgorithm& running) {
      if (++nbRuns == 20) running.cancelExecution();
    };
    EXPECT_THROW(run(filter, Region(0, 10, 0, 12, 0, 6, 0, 2, 0, 1), nbThreads), pxl::ExceptionCancelation);
    EXPECT_LT(nbRuns, 20 + 100);
    EXPECT_EQ(recorder.count("writeAllTemporizedRows"), 0u);
  }
}

TEST_F(ImageFilter, LetsExceptionsOfTheFunctorThrough) {
  Filter3d filter(nullptr, &functor);
  functor.onRun = [](pxl::BaseTbbAlgorithm&) { throw std::range_error("from the functor"); };
  EXPECT_THROW(run(filter, Region(0, 5, 0, 5, 0, 2, 0, 1, 0, 1), 2), std::range_error);
  EXPECT_EQ(recorder.count("writeAllTemporizedRows"), 0u);
}

TEST_F(ImageFilter, TakesTheRegionOfTheLastImageUnlessTheCallerChoseOne) {
  auto const small = makeImage({3, 2, 1, 1, 1}), wide = makeImage({8, 1, 1, 1, 1});
  PairFilter3d filter(nullptr, &functor);
  filter.setInput1(small.get(), makeBorder());
  EXPECT_EQ(filter.m_processingRegion.getNbCols(), 3);
  filter.setInput2(image.get(), makeBorder());
  EXPECT_EQ(filter.m_processingRegion.getNbCols(), 12);
  filter.setOutput(wide.get(), makeBorder());
  EXPECT_EQ(filter.m_processingRegion.getNbCols(), 8);
  LogicalOperationWithImage algorithm;
  algorithm.setProcessingRegion(Region(0, 1, 0, 2, 0, 1, 0, 1, 0, 1));
  PairFilter3d chosen(&algorithm, &functor);
  chosen.setInput1(small.get(), makeBorder());
  chosen.setInput2(image.get(), makeBorder());
  chosen.setOutput(wide.get(), makeBorder());
  EXPECT_EQ(chosen.m_processingRegion.getNbCols(), 2);
}

// Behind the destructors: cancelExecution, run, getBody, and the filter's own operation.
template <class Filter>
void expectSlots(Filter& filter, pxl::instrument::Recorder& recorder, FillingFunctor const& functor) {
  using Slot = void (*)(void*);
  void** const slots = *reinterpret_cast<void***>(&filter);
  recorder.clear();
  reinterpret_cast<Slot>(slots[5])(&filter);
  EXPECT_EQ(recorder.count("writeAllTemporizedRows"), 1u);
  reinterpret_cast<Slot>(slots[3])(&filter);
  EXPECT_FALSE(functor.boxes.empty());
  reinterpret_cast<Slot>(slots[2])(&filter);
  EXPECT_TRUE(filter.m_cancelled);
}

TEST_F(ImageFilter, HasItsOperationsInTheOrderOfTheContract) {
  Filter2d plan(nullptr, &functor);
  plan.setOutput(image.get(), makeBorder());
  expectSlots(plan, recorder, functor);
  functor.boxes.clear();
  PairFilter3d pair(nullptr, &functor);
  pair.setOutput(image.get(), makeBorder());
  expectSlots(pair, recorder, functor);
}

}  // namespace
}  // namespace point_test
