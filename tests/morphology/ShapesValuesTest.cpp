// Lines, disks and balls through the loaded plug-in.
#include "pxl/Exception.h"
#include "support/Shapes.h"

namespace morphology_test {
namespace {

template <class T>
class ShapesValues : public PluginTest {};
TEST_TYPES(ShapesValues, oracle::VoxelTypes, oracle::VoxelTypeNames);

/** One element of each shape, at angles that are none of the simple ones. */
std::vector<ShapeWay> makeWays(Operation operation) {
  return {{Shape::cLine2d, operation, 6, cExact, 33.3},
          {Shape::cLine3d, operation, 5, cExact, 200, 41.5},
          {Shape::cDisk3d, operation, 2, cExact, -77, 52},
          {Shape::cDisk2d, operation, 3},
          {Shape::cDisk2d, operation, 3, cFast},
          {Shape::cBall3d, operation, 2},
          {Shape::cBall3d, operation, 4, cFast}};
}

TEST_OF_TYPES(ShapesValues, EqualPlainLoopsForEverySize) {
  using T = TypeParam;
  constexpr long L = oracle::cLanes<T>;
  oracle::Random random(401);
  for (Operation operation : cOperations)
    for (ShapeWay const& way : makeWays(operation))
      for (long cols : {1L, L - 1, L, L + 1, 3 * L + 1})
        for (auto const& [rows, plans] : {std::pair{1L, 1L}, {7L, 1L}, {1L, 4L}, {5L, 6L}}) {
          auto const image = random.image<T>({std::max(cols, 1L), rows, plans, 1, 1});
          ASSERT_TRUE(areRightApartAndInPlace(way, image)) << cols << " x " << rows << " x " << plans;
        }
}

TEST_OF_TYPES(ShapesValues, GoThroughAllPositionsOfFiveDimensions) {
  using T = TypeParam;
  oracle::Random random(402);
  auto const image = random.image<T>({11, 6, 3, 2, 3});
  for (Operation operation : cOperations)
    for (ShapeWay const& way : makeWays(operation)) EXPECT_TRUE(areRightApartAndInPlace(way, image));
}

TEST_OF_TYPES(ShapesValues, DontDependOnCutsThreadsAndMemory) {
  using T = TypeParam;
  oracle::Random random(403);
  auto const image = random.image<T>({19, 8, 7, 1, 1});
  pxl::instrument::Recorder recorder;
  recorder.isTracing = false;
  using Grains = pxl::AbstractPartitionerPolicy::PartitionerGrainSizes;
  for (ShapeWay way : makeWays(Operation::cErosion)) {
    auto const expected = getExpected(way, image);
    for (std::optional<Grains> const& grains :
         {std::optional<Grains>{}, std::optional<Grains>({1, 1, 1}), std::optional<Grains>({5, 3, 2})})
      for (int nbThreads : {1, 2, 16})
        for (unsigned long extraMemory : {0UL, 1UL << 30}) {
          recorder.grains = grains;
          way.extraMemory = extraMemory;
          withThreads(nbThreads,
                      [&] { ASSERT_TRUE(areRightApartAndInPlace(way, image, expected)) << nbThreads << " threads"; });
          if (this->HasFatalFailure()) return;
        }
  }
}

TEST_OF_TYPES(ShapesValues, NeverComeFromBeyondTheEdge) {
  using T = TypeParam;
  for (T const value : {std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max(), T(1)})
    for (Five const& sizes : {Five{1, 1, 1, 1, 1}, Five{1, 3, 2, 1, 1}, Five{3, 1, 1, 1, 1}}) {
      oracle::Image<T> image(sizes);
      std::fill(image.voxels.begin(), image.voxels.end(), value);
      for (Operation operation : cOperations)
        for (ShapeWay const& way : makeWays(operation)) EXPECT_TRUE(areRightApartAndInPlace(way, image, image));
    }
}

TEST_OF_TYPES(ShapesValues, NeedAnOutputOfTheSameType) {
  using T = TypeParam;
  oracle::Image<T> const image({9, 4, 2, 1, 1});
  oracle::Image<std::conditional_t<std::is_same_v<T, short>, int, short>> const other(image.sizes);
  auto const input = oracle::toHost(image);
  auto const output = oracle::toHost(other);
  for (Operation operation : cOperations)
    for (ShapeWay const& way : makeWays(operation))
      EXPECT_THROW(makeAlgorithm(way, input.get(), output.get())->execute(), pxl::RuntimeError) << way;
}

template <class T>
class ShapesRealValues : public PluginTest {
 protected:
  oracle::Image<T> makeSpecialImage(Five const& sizes) {
    using Limits = std::numeric_limits<T>;
    T const special[] = {
        Limits::quiet_NaN(), -Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), T(0), -T(0)};
    auto image = m_random.image<T>(sizes);
    for (T& voxel : image.voxels)
      if (m_random.number(0, 1) == 0) voxel = special[m_random.number(0, 5)];
    return image;
  }

  oracle::Random m_random{405};
};
TEST_TYPES(ShapesRealValues, oracle::RealVoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(ShapesRealValues, FoldNansInfinitiesAndZerosInTheOrderOfTheList) {
  for (int round = 0; round < 6; ++round) {
    auto const image = this->makeSpecialImage({11, 6, 5, 1, 1});
    for (Operation operation : cOperations)
      for (ShapeWay const& way : makeWays(operation))
        if (way.shapeMode == cExact) {
          ASSERT_TRUE(areRightApartAndInPlace(way, image)) << "round " << round;
        }
  }
}

TEST_OF_TYPES(ShapesRealValues, OfFastShapesAreThoseOfTheirSteps) {
  for (unsigned int radius : {1U, 2U, 5U, 6U}) {
    auto const image = this->makeSpecialImage({13, 7, 6, 1, 1});
    for (Operation operation : cOperations) {
      auto octagon = oracle::applyTimes(image, operation, 1, radius / 2);
      octagon = oracle::applyTimes(octagon, operation, 0, radius - radius / 2);
      EXPECT_TRUE(areRightApartAndInPlace({Shape::cDisk2d, operation, radius, cFast}, image, octagon));
      auto ball = image;
      for (int i = 0; i < 3; ++i) {
        long const count = oracle::countBallSteps(radius)[static_cast<unsigned long>(i)];
        ball = oracle::applyVolumeTimes(ball, operation, i, static_cast<unsigned int>(count));
      }
      EXPECT_TRUE(areRightApartAndInPlace({Shape::cBall3d, operation, radius, cFast}, image, ball));
    }
  }
}

}  // namespace
}  // namespace morphology_test
