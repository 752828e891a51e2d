// Dilations and erosions of volumes with any list of offsets, which operators make for their shapes.
#include "support/Kernels3d.h"

namespace morphology_test {
namespace {

Way makeWay(Operation operation, unsigned int nbIterations = 1, bool isInPlace = false,
            unsigned long extraMemory = 1UL << 30) {
  return {operation, 0, nbIterations, isInPlace, extraMemory, 3};
}

template <class T>
class GeneralList3d : public testing::Test {
 protected:
  GeneralList3d() { recorder.isTracing = false; }
  pxl::instrument::Recorder recorder;
};
TEST_TYPES(GeneralList3d, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(GeneralList3d, EqualsPlainLoopsForEveryWidth) {
  using T = TypeParam;
  constexpr long L = oracle::cLanes<T>;
  oracle::Random random(331);
  for (Offsets3d const& offsets : makeVolumeLists()) {
    General3d<DilationFunctor> dilation(offsets);
    General3d<ErosionFunctor> erosion(offsets);
    for (long cols : {1L, 2L, L - 1, L, L + 1, 3 * L + 1})
      for (auto const& [rows, plans] : {std::pair{1L, 1L}, {4L, 1L}, {1L, 4L}, {4L, 3L}})
        for (bool isInPlace : {false, true}) {
          auto const image = random.image<T>({cols, rows, plans, 2, 1});
          ASSERT_TRUE(
              areEqual(runKernel3d<DilationFunctor>(makeWay(Operation::cDilation, 1, isInPlace), dilation, image),
                       applyListTimes(image, Operation::cDilation, offsets, 1)))
              << cols << " x " << rows << " x " << plans;
          ASSERT_TRUE(
              areEqual(runKernel3d<ErosionFunctor>(makeWay(Operation::cErosion, 1, isInPlace), erosion, image),
                       applyListTimes(image, Operation::cErosion, offsets, 1)))
              << cols << " x " << rows << " x " << plans;
        }
  }
}

TEST_OF_TYPES(GeneralList3d, DoesNotDependOnCutsThreadsAndMemory) {
  using T = TypeParam;
  oracle::Random random(332);
  auto const image = random.image<T>({13, 5, 5, 1, 1});
  for (Offsets3d const& offsets : makeVolumeLists()) {
    General3d<DilationFunctor> kernel(offsets);
    for (unsigned int nbIterations : {1U, 3U}) {
      auto const expected = applyListTimes(image, Operation::cDilation, offsets, nbIterations);
      for (Grains const& grains : {Grains{2, 1, 1}, {5, 3, 2}, {99, 99, 99}})
        for (int nbThreads : {1, 4})
          for (bool isInPlace : {false, true})
            for (unsigned long extraMemory : {0UL, 1UL << 30}) {
              this->recorder.grains = grains;
              Way const way = makeWay(Operation::cDilation, nbIterations, isInPlace, extraMemory);
              withThreads(nbThreads, [&] {
                ASSERT_TRUE(areEqual(runKernel3d<DilationFunctor>(way, kernel, image), expected))
                    << nbIterations << " iterations, grains " << grains.cols << ", " << nbThreads << " threads"
                    << (isInPlace ? ", in place" : "") << (extraMemory == 0 ? ", without a temporary" : "");
              });
              if (this->HasFatalFailure()) return;
            }
    }
  }
}

// The limit that the iterator states: in one block the plans that such a list reads have been written before.
TEST_OF_TYPES(GeneralList3d, IsExactInPlaceFromItsPlanOnly) {
  using T = TypeParam;
  oracle::Random random(334);
  auto const image = random.image<T>({13, 5, 7, 1, 1});
  this->recorder.grains = Grains{99, 99, 99};
  for (long highestPlan : {-2L, -1L, 0L, 1L}) {
    Offsets3d const offsets{{1, 2, -3}, {0, -1, highestPlan}};
    General3d<DilationFunctor> kernel(offsets);
    auto const expected = applyListTimes(image, Operation::cDilation, offsets, 1);
    auto const isExact = [&](bool isInPlace) {
      auto const result = runKernel3d<DilationFunctor>(makeWay(Operation::cDilation, 1, isInPlace), kernel, image);
      return static_cast<bool>(areEqual(result, expected));
    };
    EXPECT_TRUE(isExact(false)) << highestPlan;
    EXPECT_EQ(isExact(true), highestPlan >= 0) << highestPlan;
  }
}

// All offsets before, above or on one side, between two images.
TEST_OF_TYPES(GeneralList3d, TakesListsThatLieFarOff) {
  using T = TypeParam;
  oracle::Random random(333);
  auto const image = random.image<T>({17, 5, 6, 1, 2});
  for (Offsets3d const& offsets : {Offsets3d{{0, 0, -1}},
                                   {{-3, 2, -5}, {4, 0, -2}},
                                   {{40, 0, 0}},
                                   {{-40, 30, 0}, {0, 0, 0}},
                                   {{0, 0, -30}, {1, 0, -30}},
                                   {{0, -9, 20}, {0, 0, -1}}})
    for (unsigned int nbIterations : {1U, 2U, 4U}) {
      General3d<ErosionFunctor> kernel(offsets);
      EXPECT_TRUE(areEqual(runKernel3d<ErosionFunctor>(makeWay(Operation::cErosion, nbIterations), kernel, image),
                           applyListTimes(image, Operation::cErosion, offsets, nbIterations)));
    }
}

// A block of one voxel has less of an image than its list reaches over.
TEST_OF_TYPES(GeneralList3d, WorksInPlaceWithOneSidedListsWiderThanItsBlocks) {
  using T = TypeParam;
  oracle::Random random(334);
  auto const image = random.image<T>({13, 5, 6, 1, 1});
  this->recorder.grains = Grains{1, 1, 1};
  for (Offsets3d const& offsets : {Offsets3d{{9, 0, 0}},
                                   {{-9, 0, 0}},
                                   {{0, 3, 0}},
                                   {{0, 0, 4}},
                                   {{0, 0, -4}},
                                   {{3, 0, 2}, {7, 2, 5}},
                                   {{-7, -1, -3}, {-3, 2, -1}}})
    for (int nbThreads : {1, 4})
      for (unsigned int nbIterations : {1U, 3U}) {
        General3d<DilationFunctor> kernel(offsets);
        auto const expected = applyListTimes(image, Operation::cDilation, offsets, nbIterations);
        Way const way = makeWay(Operation::cDilation, nbIterations, true, 0);
        withThreads(nbThreads, [&] {
          EXPECT_TRUE(areEqual(runKernel3d<DilationFunctor>(way, kernel, image), expected)) << nbThreads;
        });
      }
}

TEST_OF_TYPES(GeneralList3d, MovesTheImageByASingleOffset) {
  using T = TypeParam;
  oracle::Random random(335);
  auto const image = random.image<T>({19, 6, 5, 2, 1});
  for (auto const& offset : Offsets3d{{3, 2, 1}, {-4, 0, 2}, {0, -1, -1}, {-5, 3, -2}}) {
    General3d<DilationFunctor> kernel({offset});
    auto const result = runKernel3d<DilationFunctor>(makeWay(Operation::cDilation), kernel, image);
    oracle::forEachPosition(image.sizes, [&](Five const& p) {
      Five const from{p[0] + offset.col, p[1] + offset.row, p[2] + offset.plan, p[3], p[4]};
      ASSERT_EQ(result.at(p), oracle::fixedAt(image, from, std::numeric_limits<T>::lowest()));
    });
  }
}

TEST_OF_TYPES(GeneralList3d, GivesTheSameForAnyOrderAndForDuplicates) {
  using T = TypeParam;
  oracle::Random random(336);
  auto const image = random.image<T>({21, 5, 4, 1, 1});
  General3d<DilationFunctor> plain({{0, -1, 1}, {2, 0, 0}, {-1, 2, -1}});
  General3d<DilationFunctor> mixed({{-1, 2, -1}, {2, 0, 0}, {0, -1, 1}, {2, 0, 0}, {-1, 2, -1}});
  Way const way = makeWay(Operation::cDilation);
  EXPECT_TRUE(
      areEqual(runKernel3d<DilationFunctor>(way, mixed, image), runKernel3d<DilationFunctor>(way, plain, image)));
}

template <class T>
class GeneralList3dReals : public testing::Test {};
TEST_TYPES(GeneralList3dReals, oracle::RealVoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(GeneralList3dReals, FoldsNansInfinitiesAndZerosInTheOrderOfTheList) {
  using T = TypeParam;
  using Limits = std::numeric_limits<T>;
  T const special[] = {
      Limits::quiet_NaN(), -Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), T(0), -T(0)};
  oracle::Random random(337);
  for (int round = 0; round < 4; ++round)
    for (Offsets3d const& offsets : makeVolumeLists()) {
      auto image = random.image<T>({11, 5, 4, 1, 1});
      for (T& voxel : image.voxels)
        if (random.number(0, 1) == 0) voxel = special[random.number(0, 5)];
      General3d<DilationFunctor> dilation(offsets);
      General3d<ErosionFunctor> erosion(offsets);
      for (unsigned int nbIterations : {1U, 3U}) {
        Way const way = makeWay(Operation::cDilation, nbIterations, round % 2 == 1, 0);
        ASSERT_TRUE(areEqual(runKernel3d<DilationFunctor>(way, dilation, image),
                             applyListTimes(image, Operation::cDilation, offsets, nbIterations)));
        ASSERT_TRUE(areEqual(runKernel3d<ErosionFunctor>(way, erosion, image),
                             applyListTimes(image, Operation::cErosion, offsets, nbIterations)));
      }
    }
}

}  // namespace
}  // namespace morphology_test
