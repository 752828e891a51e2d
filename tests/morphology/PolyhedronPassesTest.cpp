#include <gtest/gtest.h>

#include "morphology/FastMorphoBall3DSimd.h"

namespace {

using pxl::morphology::details::PolyhedronPasses;

TEST(PolyhedronPasses, AreSixAndThreeTenthsOfTheRadiusAndTheRest) {
  for (unsigned int radius = 0; radius < 200000; ++radius) {
    PolyhedronPasses const passes(radius);
    ASSERT_EQ(passes.nbFaces, static_cast<int>(6 * radius / 10)) << radius;
    ASSERT_EQ(passes.nbEdges, static_cast<int>(3 * radius / 10)) << radius;
    ASSERT_EQ(static_cast<unsigned int>(passes.nbFaces + passes.nbEdges) + passes.nbCubes, radius);
    ASSERT_TRUE(radius == 0 || passes.nbCubes >= 1) << radius;
  }
}

TEST(PolyhedronPasses, AddUpToTheLargestRadius) {
  for (unsigned int const radius : {1000000U, 1234567891U, 2147483647U}) {
    PolyhedronPasses const passes(radius);
    EXPECT_GT(passes.nbFaces, 0);
    EXPECT_EQ(static_cast<unsigned int>(passes.nbFaces + passes.nbEdges) + passes.nbCubes, radius);
  }
}

}  // namespace
