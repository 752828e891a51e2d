#include "support/Runs.h"

namespace morphology_test {
namespace {

template <class T>
class Morphology3dValues : public PluginTest {
 protected:
  static Way makeWay(Operation operation, int neighborhood, unsigned int nbIterations, bool isInPlace = false,
                     unsigned long extraMemory = 1UL << 30) {
    return {operation, neighborhood, nbIterations, isInPlace, extraMemory, 3};
  }
};
TEST_TYPES(Morphology3dValues, oracle::VoxelTypes, oracle::VoxelTypeNames);

constexpr Operation cOperations[] = {Operation::cDilation, Operation::cErosion};
constexpr int cNeighborhoods[] = {0, 1, 2};

TEST_OF_TYPES(Morphology3dValues, EqualPlainLoopsForEverySize) {
  using T = TypeParam;
  constexpr long L = oracle::cLanes<T>;
  oracle::Random random(301);
  for (int neighborhood : cNeighborhoods)
    for (long cols : {1L, L - 1, L, L + 1, 3 * L + 1})
      for (long rows : {1L, 2L, 5L})
        for (long plans : {1L, 2L, 4L}) {
          auto const image = random.image<T>({std::max(cols, 1L), rows, plans, 1, 1});
          for (bool isInPlace : {false, true})
            for (Operation operation : cOperations) {
              Way const way = this->makeWay(operation, neighborhood, 2, isInPlace);
              ASSERT_TRUE(areEqual(run(way, image), getExpected(way, image)))
                  << neighborhood << ": " << cols << " x " << rows << " x " << plans
                  << (isInPlace ? " in place" : "");
            }
        }
}

TEST_OF_TYPES(Morphology3dValues, DontDependOnCutsThreadsAndMemory) {
  using T = TypeParam;
  oracle::Random random(302);
  auto const image = random.image<T>({19, 8, 7, 2, 1});
  pxl::instrument::Recorder recorder;
  recorder.isTracing = false;
  for (int neighborhood : cNeighborhoods)
    for (unsigned int nbIterations : {1U, 2U, 5U}) {
      auto const expected = oracle::applyVolumeTimes(image, Operation::cErosion, neighborhood, nbIterations);
      for (auto const& grains :
           {pxl::AbstractPartitionerPolicy::PartitionerGrainSizes{1, 1, 1}, {5, 3, 2}, {99, 99, 99}})
        for (int nbThreads : {1, 2, 16})
          for (bool isInPlace : {false, true})
            for (unsigned long extraMemory : {0UL, 1UL << 30}) {
              recorder.grains = grains;
              Way const way = this->makeWay(Operation::cErosion, neighborhood, nbIterations, isInPlace, extraMemory);
              withThreads(nbThreads, [&] {
                ASSERT_TRUE(areEqual(run(way, image), expected))
                    << neighborhood << ", " << nbIterations << " iterations, grains " << grains.cols << ", "
                    << nbThreads << " threads" << (isInPlace ? ", in place" : "")
                    << (extraMemory == 0 ? ", without a temporary" : "");
              });
              if (this->HasFatalFailure()) return;
            }
    }
}

TEST_OF_TYPES(Morphology3dValues, GoThroughAllPositionsOfFiveDimensions) {
  using T = TypeParam;
  oracle::Random random(303);
  auto const image = random.image<T>({7, 5, 4, 2, 3});
  for (int neighborhood : cNeighborhoods)
    for (unsigned int nbIterations : {0U, 1U, 4U, 20U}) {
      Way const way = this->makeWay(Operation::cDilation, neighborhood, nbIterations, true);
      EXPECT_TRUE(areEqual(run(way, image), getExpected(way, image))) << neighborhood << ", " << nbIterations;
    }
}

TEST_OF_TYPES(Morphology3dValues, MakeAnOctahedronOrACubeOfASingleVoxel) {
  using T = TypeParam;
  constexpr long cRadius = 3;
  oracle::Image<T> image({9, 9, 9, 1, 1});
  std::fill(image.voxels.begin(), image.voxels.end(), T(3));
  image.at({4, 4, 4, 0, 0}) = T(90);
  for (int neighborhood : {0, 2}) {
    auto const result = run(this->makeWay(Operation::cDilation, neighborhood, cRadius), image);
    oracle::forEachPosition(image.sizes, [&](Five const& p) {
      long const cols = std::abs(p[0] - 4), rows = std::abs(p[1] - 4), plans = std::abs(p[2] - 4);
      bool const isInside =
          neighborhood == 0 ? cols + rows + plans <= cRadius : std::max({cols, rows, plans}) <= cRadius;
      EXPECT_EQ(result.at(p), isInside ? T(90) : T(3)) << p[0] << ", " << p[1] << ", " << p[2];
    });
  }
}

TEST_OF_TYPES(Morphology3dValues, OfOnePlanAreThoseInThePlan) {
  using T = TypeParam;
  oracle::Random random(304);
  auto const image = random.image<T>({23, 9, 1, 1, 1});
  for (Operation operation : cOperations)
    for (unsigned int nbIterations : {1U, 3U})
      for (auto const& [neighborhood, inPlane] : {std::pair{0, 0}, {2, 1}})
        EXPECT_TRUE(areEqual(run(this->makeWay(operation, neighborhood, nbIterations), image),
                             oracle::applyTimes(image, operation, inPlane, nbIterations)));
}

TEST_OF_TYPES(Morphology3dValues, TakeAnyOtherNeighborhoodForTheCube) {
  using T = TypeParam;
  oracle::Random random(305);
  auto const image = random.image<T>({9, 5, 4, 1, 1});
  for (int neighborhood : {3, 99, -1})
    EXPECT_TRUE(areEqual(run(this->makeWay(Operation::cDilation, neighborhood, 1), image),
                         oracle::applyCube(image, Operation::cDilation)));
}

template <class T>
class Morphology3dRealValues : public PluginTest {};
TEST_TYPES(Morphology3dRealValues, oracle::RealVoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(Morphology3dRealValues, FoldNansInfinitiesAndZerosInTheStatedOrder) {
  using T = TypeParam;
  using Limits = std::numeric_limits<T>;
  T const special[] = {
      Limits::quiet_NaN(), -Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), T(0), -T(0),
      Limits::max(),       Limits::lowest()};
  oracle::Random random(306);
  for (int round = 0; round < 12; ++round) {
    auto image = random.image<T>({11, 6, 5, 1, 1});
    for (T& voxel : image.voxels)
      if (random.number(0, 2) == 0) voxel = special[random.number(0, 7)];
    for (Operation operation : cOperations)
      for (int neighborhood : cNeighborhoods)
        for (unsigned int nbIterations : {1U, 3U}) {
          Way const way{operation, neighborhood, nbIterations, round % 2 == 1, 1UL << 30, 3};
          ASSERT_TRUE(areEqual(run(way, image), getExpected(way, image))) << neighborhood << ", round " << round;
        }
  }
}

}  // namespace
}  // namespace morphology_test
