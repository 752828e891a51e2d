// Which elements are refused. Refusals that took time or memory in proportion to their element would not end here.
#include <cmath>
#include <functional>
#include <limits>

#include "pxl/kernel/StructuringElements.h"
#include "support/Raised.h"

namespace {

using namespace host_test;
using namespace pxl::kernel;

// Row by row, with integers only.
unsigned long countDisk(long squaredRadius) {
  unsigned long count = 0;
  long half = 0;
  while (half * half <= squaredRadius) ++half;
  for (long row = 0; row * row <= squaredRadius; ++row) {
    while (half > 0 && (half - 1) * (half - 1) + row * row > squaredRadius) --half;
    count += (row == 0 ? 1UL : 2UL) * static_cast<unsigned long>(2 * half - 1);
  }
  return count;
}

unsigned long countBall(long radius) {
  unsigned long count = 0;
  for (long plan = -radius; plan <= radius; ++plan) count += countDisk(radius * radius - plan * plan);
  return count;
}

std::string explain(std::string const& count) {
  return "a structuring element has at most 1000000 voxels, this one would need " + count;
}

TEST(StructuringElementLimits, AllowAMillionVoxels) {
  EXPECT_EQ(generateLineOffset2DCollectionWithConstNumOfPixels(33, 1000000, true).size(), 1000000u);
  EXPECT_EQ(generateLineOffset3DCollectionWithConstNumOfPixels(33, 7, 1000000, true).size(), 1000000u);
  // The largest that fit.
  EXPECT_EQ(generateDiskOffset2DCollection(564).size(), countDisk(564 * 564));
  EXPECT_EQ(generateSphereOffset3DCollection(62).size(), countBall(62));
  EXPECT_EQ(generateDiskOffset3DCollection(90, 0, 564).size(), countDisk(564 * 564));
}

TEST(StructuringElementLimits, SayHowManyVoxelsAreNeeded) {
  EXPECT_EQ(refusalOf([] { generateLineOffset2DCollectionWithConstNumOfPixels(0, 1000001, true); }),
            explain("1000001"));
  EXPECT_EQ(refusalOf([] { generateLineOffset3DCollectionWithConstNumOfPixels(45, 45, 4000000000, true); }),
            explain("4000000000"));
  for (long radius : {565, 600, 1000}) {
    auto const size = static_cast<unsigned long>(radius);
    EXPECT_EQ(refusalOf([size] { generateDiskOffset2DCollection(size); }),
              explain(std::to_string(countDisk(radius * radius))));
    EXPECT_EQ(refusalOf([size] { generateDiskOffset3DCollection(90, 12, size); }),
              explain(std::to_string(countDisk(radius * radius))));
  }
  for (long radius : {63, 64, 100})
    EXPECT_EQ(refusalOf([radius] { generateSphereOffset3DCollection(static_cast<unsigned long>(radius)); }),
              explain(std::to_string(countBall(radius))));
}

// The number behind "about", within a hundredth.
void expectAbout(std::string const& text, double expected) {
  std::string const start = explain("about ");
  ASSERT_EQ(text.rfind(start, 0), 0u) << text;
  EXPECT_NEAR(std::stod(text.substr(start.size())) / expected, 1, 0.01) << text;
}

TEST(StructuringElementLimits, OfHugeElementsAreToldInRoundNumbers) {
  double const pi = std::acos(-1.0);
  for (unsigned long radius : {4000000000UL, std::numeric_limits<unsigned long>::max()}) {
    double const real = static_cast<double>(radius);
    expectAbout(refusalOf([radius] { generateDiskOffset2DCollection(radius); }), pi * real * real);
    expectAbout(refusalOf([radius] { generateDiskOffset3DCollection(90, 0, radius); }), pi * real * real);
    expectAbout(refusalOf([radius] { generateSphereOffset3DCollection(radius); }), pi * 4 / 3 * real * real * real);
  }
  unsigned long const most = std::numeric_limits<unsigned long>::max();
  EXPECT_TRUE(contains(refusalOf([=] { generateLineOffset2DCollectionWithConstNumOfPixels(5, most, true); }),
                       "at most 1000000 voxels"));
  EXPECT_TRUE(contains(refusalOf([=] { generateLineOffset3DCollectionWithConstNumOfPixels(5, 5, most, true); }),
                       "at most 1000000 voxels"));
}

TEST(StructuringElementLimits, ForbidAnglesThatAreNotFinite) {
  using Limits = std::numeric_limits<double>;
  for (double angle : {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()})
    for (unsigned long size : {0UL, 1UL, 5UL, 4000000000UL}) {
      std::function<void()> const calls[] = {
          [=] { generateLineOffset2DCollectionWithConstNumOfPixels(angle, size, true); },
          [=] { generateLineOffset3DCollectionWithConstNumOfPixels(angle, 0, size, true); },
          [=] { generateLineOffset3DCollectionWithConstNumOfPixels(0, angle, size, false); },
          [=] { generateDiskOffset3DCollection(angle, 0, size); },
          [=] { generateDiskOffset3DCollection(0, angle, size); }};
      for (auto const& call : calls) EXPECT_TRUE(contains(refusalOf(call), "finite")) << size;
    }
  for (double angle : {Limits::max(), Limits::lowest(), Limits::denorm_min()}) {
    EXPECT_EQ(generateLineOffset2DCollectionWithConstNumOfPixels(angle, 7, true).size(), 7u);
    EXPECT_FALSE(generateDiskOffset3DCollection(angle, angle, 3).empty());
  }
}

// What may keep a normal's plane thin: the flat disk has no more voxels than the disk in a plan.
TEST(StructuringElementLimits, OfFlatDisksCountTheirOwnVoxels) {
  unsigned long const steep = generateDiskOffset3DCollection(45, 0, 600).size();
  EXPECT_LT(steep, 1000000u);
  EXPECT_GT(static_cast<double>(steep), 0.7 * static_cast<double>(countDisk(600 * 600)));
  EXPECT_LT(static_cast<double>(steep), 0.72 * static_cast<double>(countDisk(600 * 600)));
}

TEST(Extrema, AreInTheOrderColumnsRowsPlans) {
  long minCol = 9, maxCol = 9, minRow = 9, maxRow = 9, minPlan = 9, maxPlan = 9;
  computeExtrema(std::vector<Offset2D>{{3, -5}, {-2, 8}, {1, 1}}, minCol, maxCol, minRow, maxRow);
  EXPECT_EQ((std::vector<long>{minCol, maxCol, minRow, maxRow}), (std::vector<long>{-2, 3, -5, 8}));
  computeExtrema(std::vector<Offset3D>{{7, 4, 12}, {6, 5, 11}}, minCol, maxCol, minRow, maxRow, minPlan, maxPlan);
  EXPECT_EQ((std::vector<long>{minCol, maxCol, minRow, maxRow, minPlan, maxPlan}),
            (std::vector<long>{6, 7, 4, 5, 11, 12}));
  // No zero comes from elsewhere: all of a list may lie on one side.
  computeExtrema(std::vector<Offset2D>{{-3, -5}}, minCol, maxCol, minRow, maxRow);
  EXPECT_EQ((std::vector<long>{minCol, maxCol, minRow, maxRow}), (std::vector<long>{-3, -3, -5, -5}));
  computeExtrema(std::vector<Offset3D>{}, minCol, maxCol, minRow, maxRow, minPlan, maxPlan);
  EXPECT_EQ((std::vector<long>{minCol, maxCol, minRow, maxRow, minPlan, maxPlan}), std::vector<long>(6, 0));
}

}  // namespace
