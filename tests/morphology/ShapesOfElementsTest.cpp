// The elements of lines, disks and balls, of every size and angle.
#include "support/Shapes.h"

namespace morphology_test {
namespace {

class ShapesOfElements : public PluginTest {
 protected:
  static constexpr Five cSizes{19, 11, 9, 1, 1};

  // On an image of random voxels, and on one so large that the whole element shows around a single voxel.
  template <class T>
  void expectRight(ShapeWay const& way) {
    ASSERT_TRUE(areRightApartAndInPlace(way, m_random.image<T>(cSizes)));
  }

  static void expectWholeElement(ShapeWay const& way) {
    auto const element = getElement(way);
    Offset reach{};
    for (Offset const& offset : element)
      for (unsigned long d = 0; d < 3; ++d) reach[d] = std::max(reach[d], std::abs(offset[d]));
    oracle::Image<unsigned char> image({2 * reach[0] + 3, 2 * reach[1] + 3, 2 * reach[2] + 3, 1, 1});
    auto expected = image;
    image.at({reach[0] + 1, reach[1] + 1, reach[2] + 1, 0, 0}) = 1;
    for (Offset const& o : element)
      expected.at({reach[0] + 1 - o[0], reach[1] + 1 - o[1], reach[2] + 1 - o[2], 0, 0}) = 1;
    if (way.operation == Operation::cErosion)
      for (auto* one : {&image, &expected})
        for (unsigned char& voxel : one->voxels) voxel ^= 1;
    ASSERT_TRUE(areRightApartAndInPlace(way, image, expected));
  }

  using Offset = oracle::Offset;
  oracle::Random m_random{411};
};

TEST_F(ShapesOfElements, ExactDisksAndBallsReachTheirRadius) {
  for (Operation operation : cOperations)
    for (Shape shape : {Shape::cDisk2d, Shape::cBall3d})
      for (unsigned int radius = 0; radius <= 12; ++radius) expectWholeElement({shape, operation, radius});
  for (Shape shape : {Shape::cDisk2d, Shape::cBall3d})
    for (unsigned int radius = 0; radius <= 5; ++radius) expectRight<int>({shape, Operation::cDilation, radius});
}

TEST_F(ShapesOfElements, FastDisksAndBallsAreSumsOfTheirSteps) {
  for (Operation operation : cOperations)
    for (Shape shape : {Shape::cDisk2d, Shape::cBall3d})
      for (unsigned int radius : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 20U})
        expectWholeElement({shape, operation, radius, cFast});
  for (Shape shape : {Shape::cDisk2d, Shape::cBall3d})
    for (unsigned int radius : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 10U})
      expectRight<short>({shape, Operation::cErosion, radius, cFast});
}

TEST_F(ShapesOfElements, FastShapesHaveTheStatedReach) {
  auto const contains = [](oracle::OffsetList const& list, Offset const& offset) {
    return std::find(list.begin(), list.end(), offset) != list.end();
  };
  EXPECT_EQ(oracle::makeOctagon(1).size(), 5u);
  EXPECT_EQ(oracle::makeOctagon(2).size(), 21u) << "five by five without the corners";
  EXPECT_EQ(oracle::makePolyhedron(1).size(), 27u);
  for (long radius = 1; radius <= 10; ++radius) {
    auto const octagon = oracle::makeOctagon(radius);
    long const diagonal = radius / 2 + (radius - radius / 2) / 2;
    EXPECT_TRUE(contains(octagon, {radius, 0, 0}) && contains(octagon, {diagonal, -diagonal, 0}));
    EXPECT_FALSE(contains(octagon, {radius + 1, 0, 0}) || contains(octagon, {diagonal + 1, diagonal + 1, 0}));
    auto const ball = oracle::makePolyhedron(radius);
    auto const counts = oracle::countBallSteps(radius);
    long const face = counts[1] + counts[2] + counts[0] / 2, body = counts[2] + (counts[0] + 2 * counts[1]) / 3;
    EXPECT_TRUE(contains(ball, {0, 0, radius}) && contains(ball, {0, face, -face}) &&
                contains(ball, {body, body, body}));
    EXPECT_FALSE(contains(ball, {0, 0, radius + 1}) || contains(ball, {face + 1, face + 1, 0}) ||
                 contains(ball, {body + 1, body + 1, body + 1}));
  }
}

TEST_F(ShapesOfElements, AnyModeButZeroIsExact) {
  for (Shape shape : {Shape::cDisk2d, Shape::cBall3d}) {
    auto const image = m_random.image<short>(cSizes);
    ShapeWay way{shape, Operation::cDilation, 4};
    auto const expected = getExpected(way, image);
    for (int mode : {1, 2, 99, -1, std::numeric_limits<int>::min()}) {
      way.shapeMode = mode;
      EXPECT_TRUE(areRightApartAndInPlace(way, image, expected)) << mode;
    }
  }
}

TEST_F(ShapesOfElements, LinesOfEverySize) {
  for (unsigned int size = 0; size <= 41; ++size)
    for (double angle : {0.0, 30.0, 45.0, 90.0, 123.4, 180.0, -61.0}) {
      expectRight<unsigned char>({Shape::cLine2d, Operation::cDilation, size, cExact, angle});
      expectRight<float>({Shape::cLine3d, Operation::cErosion, size, cExact, angle, 35});
    }
  for (unsigned int size : {2U, 5U, 40U})
    for (double angle : {0.0, 90.0, 17.0, 300.0}) {
      expectWholeElement({Shape::cLine2d, Operation::cErosion, size, cExact, angle});
      expectWholeElement({Shape::cLine3d, Operation::cDilation, size, cExact, angle, 90});
      expectWholeElement({Shape::cLine3d, Operation::cDilation, size, cExact, angle, -20});
    }
}

// The two angles aren't the same thing: exchanged they give another element.
TEST_F(ShapesOfElements, TheFirstAngleIsTheAzimuth) {
  for (Shape shape : {Shape::cLine3d, Shape::cDisk3d})
    for (auto const& [azimuth, elevation] : {std::pair{0.0, 90.0}, {90.0, 0.0}, {20.0, 70.0}, {-45.0, 10.0}})
      for (Operation operation : cOperations) {
        ShapeWay const way{shape, operation, 6, cExact, azimuth, elevation};
        ShapeWay const exchanged{shape, operation, 6, cExact, elevation, azimuth};
        EXPECT_NE(getElement(way), getElement(exchanged));
        expectWholeElement(way);
        expectRight<double>(way);
      }
}

TEST_F(ShapesOfElements, FlatDisksOfSeveralOrientations) {
  for (unsigned int radius : {0U, 1U, 4U, 9U})
    for (double azimuth : {0.0, 45.0, 200.0})
      for (double elevation : {0.0, 45.0, 63.0, 90.0}) {
        expectWholeElement({Shape::cDisk3d, Operation::cErosion, radius, cExact, azimuth, elevation});
        expectRight<unsigned short>(
            {Shape::cDisk3d, Operation::cDilation, std::min(radius, 4U), cExact, azimuth, elevation});
      }
}

}  // namespace
}  // namespace morphology_test
