// A filter in place gives the same result as on two images, and an unfinished run leaves the image unchanged.
#include <tbb/task_group.h>

#include <atomic>

#include "support/Runs.h"

namespace filtering_test {
namespace {

template <class T>
class FirInPlace : public PluginTest {
 protected:
  FirInPlace() { recorder.isTracing = false; }
  pxl::instrument::Recorder recorder;
  oracle::Random random{711};
};
TEST_TYPES(FirInPlace, oracle::VoxelTypes, oracle::VoxelTypeNames);

/** The full box of each reach, and boxes on one side of the voxel or away from it. */
std::vector<Taps> makeReaches(oracle::Random& random, int dimension) {
  std::vector<Taps> lists;
  auto const add = [&](long low, long high) {
    Taps taps;
    for (long plan = dimension == 3 ? low : 0; plan <= (dimension == 3 ? high : 0); ++plan)
      for (long row = low; row <= high; ++row)
        for (long col = low; col <= high; ++col)
          if (random.number(0, 2) == 0 || taps.empty())
            taps.push_back({col, row, plan, static_cast<double>(random.number(-9, 9)) / 50});
    lists.push_back(taps);
  };
  for (long reach = 1; reach <= 4; ++reach) {
    add(-reach, reach);
    add(0, reach);
    add(-reach, 0);
  }
  add(-5, -2);
  add(2, 4);
  return lists;
}

TEST_OF_TYPES(FirInPlace, EqualsApartForEveryReach) {
  using T = TypeParam;
  for (int dimension : {2, 3})
    for (Taps const& taps : makeReaches(this->random, dimension)) {
      auto const image = this->random.template image<T>({21, 13, 7, 1, 2});
      auto const expected = oracle::correlate<T>(image, taps, dimension, image);
      for (Grains const& grains : {Grains{1, 1, 1}, {5, 4, 3}, {99, 99, 99}})
        for (int nbThreads : {1, 2, 16}) {
          this->recorder.grains = grains;
          auto const both = oracle::toHost(image);
          withThreads(nbThreads, [&] { run(dimension, taps, both.get(), both.get()); });
          ASSERT_TRUE(areEqual(*both, expected)) << dimension << "D, grains " << grains.cols << ", " << nbThreads;
        }
    }
}

TEST_OF_TYPES(FirInPlace, TakesTwoImagesOfOneMemory) {
  using T = TypeParam;
  for (int dimension : {2, 3}) {
    auto const taps = makeTaps(this->random, dimension, 9, 2);
    auto const image = this->random.template image<T>({18, 11, 4, 1, 1});
    this->recorder.grains = Grains{4, 3, 2};
    auto const first = oracle::toHost(image);
    auto const second =
        pxl::Image::OnMemory(first->getVoxels(), first->getVoxelType(), first->getSizes(), first->getStrides());
    withThreads(2, [&] { run(dimension, taps, first.get(), second.get()); });
    EXPECT_TRUE(areEqual(*first, oracle::correlate<T>(image, taps, dimension, image)));
  }
}

TEST_OF_TYPES(FirInPlace, GivesTheSameWithoutExtraMemory) {
  using T = TypeParam;
  auto const taps = makeTaps(this->random, 3, 9, 2);
  auto const image = this->random.template image<T>({40, 21, 6, 1, 1});
  this->recorder.isTracing = true;
  for (unsigned long extraMemory : {0UL, 1UL << 30}) {
    auto const both = oracle::toHost(image);
    auto const algorithm = makeAlgorithm(3, taps, both.get(), both.get());
    algorithm->setMaximumExtraMemoryUsageInBytes(extraMemory);
    this->recorder.clear();
    algorithm->execute();
    EXPECT_TRUE(areEqual(*both, oracle::correlate<T>(image, taps, 3, image)));
    auto const made = this->recorder.getTrace("TemporaryImage::New");
    ASSERT_EQ(made.size(), 1u);
    EXPECT_EQ(made[0].values[0], extraMemory == 0 ? 2 : 1);
    EXPECT_EQ(this->recorder.nbTemporaries(), 0);
  }
}

TEST_OF_TYPES(FirInPlace, LeavesTheImageWholeWhenItDoesNotFinish) {
  using T = TypeParam;
  auto const taps = makeTaps(this->random, 3, 9, 2);
  auto const image = this->random.template image<T>({30, 21, 6, 2, 1});
  this->recorder.grains = Grains{9, 5, 2};
  for (int end = 0; end < 3; ++end)
    for (int at : {1, 40, 300}) {
      auto const both = oracle::toHost(image);
      auto const algorithm = makeAlgorithm(3, taps, both.get(), both.get());
      std::atomic<int> nbRows{0};
      this->recorder.onRead = [&](auto const&) {
        if (++nbRows != at) return;
        if (end == 0) algorithm->cancelExecution();
        if (end == 1) throw std::range_error("a row");
      };
      this->recorder.onWrite = [&](auto const&) { return end != 2 || nbRows < at; };
      withThreads(2, [&] {
        if (end == 0) {
          EXPECT_THROW(algorithm->execute(), pxl::ExceptionCancelation);
        } else if (end == 1) {
          EXPECT_THROW(algorithm->execute(), std::range_error);
        } else {
          EXPECT_THROW(algorithm->execute(), pxl::UnexpectedError);
        }
      });
      EXPECT_TRUE(areEqual(*both, image)) << "end " << end << " at row " << at;
      EXPECT_EQ(this->recorder.nbViews(), 0);
      EXPECT_EQ(this->recorder.nbBorders(), 0);
      EXPECT_EQ(this->recorder.nbFrames(), 0);
      EXPECT_EQ(this->recorder.nbTemporaries(), 0);
      this->recorder.onRead = nullptr;
      this->recorder.onWrite = nullptr;
      algorithm->execute();
      EXPECT_TRUE(areEqual(*both, oracle::correlate<T>(image, taps, 3, image)));
    }
}

// Groups of the caller that are cancelled are no cancel of this run, neither before it nor while its result is
// stored.
TEST_F(PluginTest, InPlaceIsFinishedWithinACancelledGroup) {
  oracle::Random random(712);
  Taps const taps = makeTaps(random, 2, 9, 2);
  auto const image = random.image<short>({700, 300, 1, 1, 1});
  auto const expected = oracle::correlate<short>(image, taps, 2, image);
  for (bool isCancelledBefore : {true, false}) {
    auto const both = oracle::toHost(image);
    auto const algorithm = makeAlgorithm(2, taps, both.get(), both.get());
    algorithm->setMaximumExtraMemoryUsageInBytes(0);
    tbb::task_group group;
    // The result is stored after the last row that the filter writes: from then on the group is cancelled.
    pxl::instrument::Recorder recorder;
    recorder.isTracing = false;
    std::atomic<int> nbRows{0};
    recorder.onWrite = [&](auto const&) {
      if (++nbRows == 300) group.cancel();
      return true;
    };
    group.run_and_wait([&] {
      if (isCancelledBefore) group.cancel();
      EXPECT_NO_THROW(algorithm->execute());
    });
    EXPECT_TRUE(areEqual(*both, expected)) << isCancelledBefore;
  }
}

TEST_F(PluginTest, OfTwoPartlyCommonImagesIsRefused) {
  auto const image = pxl::Image::New(pxl::cFloat, {9, 9, 1, 1, 1});
  pxl::ImageModelSizeProxy const from(static_cast<pxl::ImageModel const*>(image.get()), 0, 8, 0, 9, 0, 1, 0, 1, 0, 1);
  pxl::ImageModelSizeProxy to(static_cast<pxl::ImageModel*>(image.get()), 1, 8, 0, 9, 0, 1, 0, 1, 0, 1);
  EXPECT_THROW(run(2, {{0, 0, 0, 1.}}, &from, &to), pxl::InvalidCall);
}

TEST_F(PluginTest, WithoutRoomInPlaceIsAnErrorBeforeAnyRow) {
  pxl::instrument::Recorder recorder;
  recorder.isReserveGranted = false;
  auto const image = pxl::Image::New(pxl::cInteger16, {9, 9, 1, 1, 1});
  EXPECT_THROW(run(2, {{0, 0, 0, 1.}}, image.get(), image.get()), pxl::RuntimeError);
  EXPECT_EQ(recorder.count("readRowAt") + recorder.count("writeRowAt"), 0u);
  EXPECT_EQ(recorder.nbFrames() + recorder.nbBorders(), 0);
}

}  // namespace
}  // namespace filtering_test
