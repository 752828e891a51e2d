#include "support/Runs.h"

namespace morphology_test {
namespace {

template <class T>
class Morphology2dValues : public PluginTest {};
TEST_TYPES(Morphology2dValues, oracle::VoxelTypes, oracle::VoxelTypeNames);

constexpr Operation cOperations[] = {Operation::cDilation, Operation::cErosion};

TEST_OF_TYPES(Morphology2dValues, EqualPlainLoopsForEveryWidthAndHeight) {
  using T = TypeParam;
  constexpr long L = oracle::cLanes<T>;
  oracle::Random random(101);
  for (Operation operation : cOperations)
    for (int neighborhood : {0, 1})
      for (long cols : {1L, L - 1, L, L + 1, 3 * L + 1, 40L})
        for (long rows : {1L, 2L, 7L}) {
          auto const image = random.image<T>({std::max(cols, 1L), rows, 2, 1, 1});
          for (bool isInPlace : {false, true}) {
            Way const way{operation, neighborhood, 2, isInPlace};
            ASSERT_TRUE(areEqual(run(way, image), oracle::applyTimes(image, operation, neighborhood, 2)))
                << cols << " x " << rows << (isInPlace ? " in place" : "");
          }
        }
}

TEST_OF_TYPES(Morphology2dValues, DontDependOnCutsThreadsAndMemory) {
  using T = TypeParam;
  oracle::Random random(102);
  auto const image = random.image<T>({37, 19, 2, 2, 1});
  pxl::instrument::Recorder recorder;
  recorder.isTracing = false;
  for (int neighborhood : {0, 1})
    for (unsigned int nbIterations : {1U, 2U, 3U, 6U}) {
      auto const expected = oracle::applyTimes(image, Operation::cDilation, neighborhood, nbIterations);
      for (auto const& grains :
           {pxl::AbstractPartitionerPolicy::PartitionerGrainSizes{1, 1, 1}, {5, 3, 1}, {99, 99, 1}})
        for (int nbThreads : {1, 2, 16})
          for (bool isInPlace : {false, true})
            for (unsigned long extraMemory : {0UL, 1UL << 30}) {
              recorder.grains = grains;
              Way const way{Operation::cDilation, neighborhood, nbIterations, isInPlace, extraMemory};
              withThreads(nbThreads, [&] {
                ASSERT_TRUE(areEqual(run(way, image), expected))
                    << nbIterations << " iterations, grains " << grains.cols << ", " << nbThreads << " threads"
                    << (isInPlace ? ", in place" : "") << (extraMemory == 0 ? ", without a temporary" : "");
              });
              if (this->HasFatalFailure()) return;
            }
    }
}

TEST_OF_TYPES(Morphology2dValues, GoThroughAllPositionsOfFiveDimensions) {
  using T = TypeParam;
  oracle::Random random(103);
  auto const image = random.image<T>({11, 6, 3, 2, 2});
  for (Operation operation : cOperations)
    for (unsigned int nbIterations : {0U, 1U, 4U, 5U, 20U}) {
      Way const way{operation, 1, nbIterations, true};
      EXPECT_TRUE(areEqual(run(way, image), oracle::applyTimes(image, operation, 1, nbIterations))) << nbIterations;
    }
}

TEST_OF_TYPES(Morphology2dValues, MakeADiamondOrASquareOfASingleVoxel) {
  using T = TypeParam;
  constexpr long cRadius = 5;
  oracle::Image<T> image({21, 21, 1, 1, 1});
  std::fill(image.voxels.begin(), image.voxels.end(), T(3));
  image.at({10, 10, 0, 0, 0}) = T(90);
  for (int neighborhood : {0, 1}) {
    auto const result = run(Way{Operation::cDilation, neighborhood, cRadius}, image);
    oracle::forEachPosition(image.sizes, [&](Five const& p) {
      long const cols = std::abs(p[0] - 10), rows = std::abs(p[1] - 10);
      bool const isInside = neighborhood == 0 ? cols + rows <= cRadius : std::max(cols, rows) <= cRadius;
      EXPECT_EQ(result.at(p), isInside ? T(90) : T(3)) << p[0] << ", " << p[1];
    });
  }
}

TEST_OF_TYPES(Morphology2dValues, OfNoIterationsLeaveTheOutputAsItIs) {
  using T = TypeParam;
  oracle::Random random(104);
  auto const image = random.image<T>({9, 5, 2, 1, 1});
  auto const before = random.image<T>({9, 5, 2, 1, 1});
  auto const input = oracle::toHost(image);
  auto const output = oracle::toHost(before);
  auto const algorithm = makeAlgorithm(Way{Operation::cErosion, 1, 0}, input.get(), output.get());
  algorithm->execute();
  EXPECT_TRUE(areEqual(toOracle<T>(*output, image.sizes), before));
  EXPECT_FALSE(algorithm->getWarning().empty());
}

TEST_OF_TYPES(Morphology2dValues, NeverComeFromBeyondTheEdge) {
  using T = TypeParam;
  // The extremes of the type, in images so small that every neighbourhood reaches beyond them.
  for (T const value : {std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max(), T(1)})
    for (Five const& sizes : {Five{1, 1, 1, 1, 1}, Five{1, 3, 1, 1, 1}, Five{3, 1, 1, 1, 1}}) {
      oracle::Image<T> image(sizes);
      std::fill(image.voxels.begin(), image.voxels.end(), value);
      for (Operation operation : cOperations)
        for (int neighborhood : {0, 1}) EXPECT_TRUE(areEqual(run(Way{operation, neighborhood, 3}, image), image));
    }
}

TEST_OF_TYPES(Morphology2dValues, TakeAnyOtherNeighborhoodForTheSquare) {
  using T = TypeParam;
  oracle::Random random(105);
  auto const image = random.image<T>({13, 9, 1, 1, 1});
  for (int neighborhood : {2, 99, -1})
    EXPECT_TRUE(areEqual(run(Way{Operation::cDilation, neighborhood, 1}, image),
                         oracle::applySquare(image, Operation::cDilation)));
}

TEST_OF_TYPES(Morphology2dValues, AreConvertedForAnOutputOfAnotherType) {
  using T = TypeParam;
  oracle::Random random(106);
  auto const image = random.imageWithin<T>({21, 8, 1, 1, 1}, 0, 100);
  auto const input = oracle::toHost(image);
  auto const expected = oracle::applyTimes(image, Operation::cDilation, 1, 3);
  for (unsigned long extraMemory : {0UL, 1UL << 30}) {
    auto const output = oracle::toHost(oracle::Image<double>(image.sizes));
    makeAlgorithm(Way{Operation::cDilation, 1, 3, false, extraMemory}, input.get(), output.get())->execute();
    auto const result = toOracle<double>(*output, image.sizes);
    for (unsigned long i = 0; i < result.voxels.size(); ++i)
      ASSERT_EQ(result.voxels[i], static_cast<double>(expected.voxels[i])) << i;
  }
}

template <class T>
class Morphology2dRealValues : public PluginTest {};
TEST_TYPES(Morphology2dRealValues, oracle::RealVoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(Morphology2dRealValues, FoldNansInfinitiesAndZerosInTheStatedOrder) {
  using T = TypeParam;
  using Limits = std::numeric_limits<T>;
  T const special[] = {
      Limits::quiet_NaN(), -Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), T(0), -T(0),
      Limits::max(),       Limits::lowest()};
  oracle::Random random(107);
  for (int round = 0; round < 20; ++round) {
    auto image = random.image<T>({17, 9, 1, 1, 1});
    for (T& voxel : image.voxels)
      if (random.number(0, 2) == 0) voxel = special[random.number(0, 7)];
    for (Operation operation : cOperations)
      for (int neighborhood : {0, 1})
        for (unsigned int nbIterations : {1U, 3U}) {
          Way const way{operation, neighborhood, nbIterations, round % 2 == 1};
          ASSERT_TRUE(areEqual(run(way, image), oracle::applyTimes(image, operation, neighborhood, nbIterations)))
              << "round " << round;
        }
  }
}

TEST_OF_TYPES(Morphology2dRealValues, LoseAnInfinityAtTheEdgeToTheFiniteValueBeyond) {
  using T = TypeParam;
  oracle::Image<T> image({3, 3, 1, 1, 1});
  std::fill(image.voxels.begin(), image.voxels.end(), -std::numeric_limits<T>::infinity());
  auto const result = run(Way{Operation::cDilation, 1, 1}, image);
  EXPECT_EQ(result.at({0, 0, 0, 0, 0}), std::numeric_limits<T>::lowest());
  EXPECT_EQ(result.at({1, 1, 0, 0, 0}), -std::numeric_limits<T>::infinity());
}

}  // namespace
}  // namespace morphology_test
