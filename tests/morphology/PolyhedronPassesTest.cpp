#include <gtest/gtest.h>

#include "morphology/FastMorphoBall3DSimd.h"

namespace {

using pxl::morphology::details::PolyhedronPasses;

TEST(PolyhedronPasses, AreSixAndThreeTenthsOfTheRadiusAndTheRest) {
  for (unsigned int radius = 0; radius < 200000; ++radius) {
    PolyhedronPasses const passes(radius);
    ASSERT_EQ(passes.nbFaces, 6 * radius / 10) << radius;
    ASSERT_EQ(passes.nbEdges, 3 * radius / 10) << radius;
    ASSERT_EQ(passes.nbFaces + passes.nbEdges + passes.nbCubes, radius);
    ASSERT_TRUE(radius == 0 || passes.nbCubes >= 1) << radius;
  }
}

// The host refuses a radius above 2^31 - 1, but a runner may be called without it.
TEST(PolyhedronPasses, AddUpToTheLargestRadius) {
  for (unsigned int const radius : {1000000U, 1234567891U, 2147483647U, 3600000000U, 4294967295U}) {
    PolyhedronPasses const passes(radius);
    EXPECT_NEAR(passes.nbFaces, 0.6 * radius, 1);
    EXPECT_NEAR(passes.nbEdges, 0.3 * radius, 1);
    EXPECT_EQ(passes.nbFaces + passes.nbEdges + passes.nbCubes, radius);
  }
}

}  // namespace
