// Dilations and erosions with any list of offsets, which operators make for their shapes.
#include "support/Kernels2d.h"

namespace morphology_test {
namespace {

template <class T>
class GeneralList2d : public testing::Test {
 protected:
  GeneralList2d() { recorder.isTracing = false; }
  pxl::instrument::Recorder recorder;
};
TEST_TYPES(GeneralList2d, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(GeneralList2d, EqualsPlainLoopsForEveryWidth) {
  using T = TypeParam;
  constexpr long L = oracle::cLanes<T>;
  oracle::Random random(261);
  for (Offsets const& offsets : makeLists()) {
    General<DilationFunctor> dilation(offsets);
    General<ErosionFunctor> erosion(offsets);
    for (long cols : {1L, 2L, L - 1, L, L + 1, 3 * L + 1})
      for (long rows : {1L, 2L, 6L})
        for (bool isInPlace : {false, true}) {
          auto const image = random.image<T>({cols, rows, 2, 1, 1});
          Way way;
          way.isInPlace = isInPlace;
          ASSERT_TRUE(areEqual(runKernel<DilationFunctor>(way, dilation, image),
                               applyListTimes(image, Operation::cDilation, offsets, 1)))
              << cols << " x " << rows;
          ASSERT_TRUE(areEqual(runKernel<ErosionFunctor>(way, erosion, image),
                               applyListTimes(image, Operation::cErosion, offsets, 1)))
              << cols << " x " << rows;
        }
  }
}

TEST_OF_TYPES(GeneralList2d, DoesNotDependOnCutsThreadsAndMemory) {
  using T = TypeParam;
  oracle::Random random(262);
  auto const image = random.image<T>({21, 9, 2, 1, 1});
  for (Offsets const& offsets : makeLists()) {
    General<DilationFunctor> kernel(offsets);
    for (unsigned int nbIterations : {1U, 2U, 3U}) {
      auto const expected = applyListTimes(image, Operation::cDilation, offsets, nbIterations);
      for (Grains const& grains : {Grains{1, 1, 1}, {5, 3, 1}, {99, 99, 1}})
        for (int nbThreads : {1, 2, 16})
          for (bool isInPlace : {false, true})
            for (unsigned long extraMemory : {0UL, 1UL << 30}) {
              this->recorder.grains = grains;
              Way const way{Operation::cDilation, 0, nbIterations, isInPlace, extraMemory};
              withThreads(nbThreads, [&] {
                ASSERT_TRUE(areEqual(runKernel<DilationFunctor>(way, kernel, image), expected))
                    << nbIterations << " iterations, grains " << grains.cols << ", " << nbThreads << " threads"
                    << (isInPlace ? ", in place" : "") << (extraMemory == 0 ? ", without a temporary" : "");
              });
              if (this->HasFatalFailure()) return;
            }
    }
  }
}

// All offsets above or on one side, between two images.
TEST_OF_TYPES(GeneralList2d, TakesListsThatLieFarOff) {
  using T = TypeParam;
  oracle::Random random(263);
  auto const image = random.image<T>({23, 11, 1, 2, 1});
  for (Offsets const& offsets :
       {Offsets{{0, -2}}, {{-3, -5}, {4, -2}}, {{40, 0}}, {{-40, 30}, {0, 0}}, {{0, -30}, {1, -30}}})
    for (unsigned int nbIterations : {1U, 2U, 4U}) {
      General<ErosionFunctor> kernel(offsets);
      Way const way{Operation::cErosion, 0, nbIterations, false, 1UL << 30};
      EXPECT_TRUE(areEqual(runKernel<ErosionFunctor>(way, kernel, image),
                           applyListTimes(image, Operation::cErosion, offsets, nbIterations)));
    }
}

// A block of one voxel has less of an image than its list reaches over.
TEST_OF_TYPES(GeneralList2d, WorksInPlaceWithOneSidedListsWiderThanItsBlocks) {
  using T = TypeParam;
  oracle::Random random(264);
  auto const image = random.image<T>({25, 9, 1, 1, 1});
  this->recorder.grains = Grains{1, 1, 1};
  for (Offsets const& offsets : {Offsets{{9, 0}}, {{-9, 0}}, {{0, 5}}, {{3, 0}, {11, 4}}, {{-11, -1}, {-3, 4}}})
    for (int nbThreads : {1, 2, 16})
      for (unsigned int nbIterations : {1U, 3U}) {
        General<DilationFunctor> kernel(offsets);
        auto const expected = applyListTimes(image, Operation::cDilation, offsets, nbIterations);
        Way const way{Operation::cDilation, 0, nbIterations, true, 0};
        withThreads(nbThreads, [&] {
          EXPECT_TRUE(areEqual(runKernel<DilationFunctor>(way, kernel, image), expected)) << nbThreads;
        });
      }
}

// The limit that the iterator states: in one block the rows that such a list reads have been written before.
TEST_OF_TYPES(GeneralList2d, IsExactInPlaceFromTheRowBeforeOnly) {
  using T = TypeParam;
  oracle::Random random(268);
  auto const image = random.image<T>({25, 9, 1, 1, 1});
  this->recorder.grains = Grains{99, 99, 1};
  for (long highestRow : {-3L, -2L, -1L, 0L, 2L}) {
    Offsets const offsets{{1, -4}, {0, highestRow}};
    General<DilationFunctor> kernel(offsets);
    auto const expected = applyListTimes(image, Operation::cDilation, offsets, 1);
    Way way;
    EXPECT_TRUE(areEqual(runKernel<DilationFunctor>(way, kernel, image), expected)) << highestRow;
    way.isInPlace = true;
    auto const isExact = areEqual(runKernel<DilationFunctor>(way, kernel, image), expected);
    EXPECT_EQ(static_cast<bool>(isExact), highestRow >= -1) << highestRow;
  }
}

TEST_OF_TYPES(GeneralList2d, MovesTheImageByASingleOffset) {
  using T = TypeParam;
  oracle::Random random(265);
  auto const image = random.image<T>({19, 8, 2, 1, 1});
  for (auto const& offset : Offsets{{3, 2}, {-4, 0}, {0, -1}, {-5, 3}}) {
    General<DilationFunctor> kernel({offset});
    auto const result = runKernel<DilationFunctor>(Way{}, kernel, image);
    oracle::forEachPosition(image.sizes, [&](Five const& p) {
      Five const from{p[0] + offset.col, p[1] + offset.row, p[2], p[3], p[4]};
      ASSERT_EQ(result.at(p), oracle::fixedAt(image, from, std::numeric_limits<T>::lowest()));
    });
  }
}

TEST_OF_TYPES(GeneralList2d, GivesTheSameForAnyOrderAndForDuplicates) {
  using T = TypeParam;
  oracle::Random random(266);
  auto const image = random.image<T>({21, 9, 1, 1, 1});
  General<DilationFunctor> plain({{0, -1}, {2, 0}, {-1, 2}}), mixed({{-1, 2}, {2, 0}, {0, -1}, {2, 0}, {-1, 2}});
  EXPECT_TRUE(
      areEqual(runKernel<DilationFunctor>(Way{}, mixed, image), runKernel<DilationFunctor>(Way{}, plain, image)));
}

template <class T>
class GeneralList2dReals : public testing::Test {};
TEST_TYPES(GeneralList2dReals, oracle::RealVoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(GeneralList2dReals, FoldsNansInfinitiesAndZerosInTheOrderOfTheList) {
  using T = TypeParam;
  using Limits = std::numeric_limits<T>;
  T const special[] = {
      Limits::quiet_NaN(), -Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), T(0), -T(0)};
  oracle::Random random(267);
  for (int round = 0; round < 4; ++round)
    for (Offsets const& offsets : makeLists()) {
      auto image = random.image<T>({17, 9, 1, 1, 1});
      for (T& voxel : image.voxels)
        if (random.number(0, 1) == 0) voxel = special[random.number(0, 5)];
      General<DilationFunctor> dilation(offsets);
      General<ErosionFunctor> erosion(offsets);
      for (unsigned int nbIterations : {1U, 3U}) {
        Way const way{Operation::cDilation, 0, nbIterations, round % 2 == 1, 0};
        ASSERT_TRUE(areEqual(runKernel<DilationFunctor>(way, dilation, image),
                             applyListTimes(image, Operation::cDilation, offsets, nbIterations)));
        ASSERT_TRUE(areEqual(runKernel<ErosionFunctor>(way, erosion, image),
                             applyListTimes(image, Operation::cErosion, offsets, nbIterations)));
      }
    }
}

// Of two zeros, and of a NaN and a number, the later one in the list stays.
TEST_OF_TYPES(GeneralList2dReals, LetTheLaterOfTwoEqualsStay) {
  using T = TypeParam;
  T const nan = std::numeric_limits<T>::quiet_NaN();
  for (auto const& [first, second] : {std::pair<T, T>{T(0), -T(0)}, {-T(0), T(0)}, {nan, T(5)}, {T(5), nan}}) {
    oracle::Image<T> image({2, 1, 1, 1, 1});
    image.voxels = {first, second};
    General<DilationFunctor> forward({{0, 0}, {1, 0}}), backward({{1, 0}, {0, 0}});
    auto const bitsOf = [](T value) {
      oracle::Bits<T> bits;
      std::memcpy(&bits, &value, sizeof(T));
      return bits;
    };
    EXPECT_EQ(bitsOf(runKernel<DilationFunctor>(Way{}, forward, image).voxels[0]), bitsOf(second));
    EXPECT_EQ(bitsOf(runKernel<DilationFunctor>(Way{}, backward, image).voxels[0]), bitsOf(first));
  }
}

}  // namespace
}  // namespace morphology_test
