#include <limits>

#include "oracle/support/SmallImages.h"
#include "point_operations/support/LogicalOracle.h"

namespace oracle {
namespace {

TEST(LogicalOracle, HasTheKnownPatterns) {
  unsigned char const expected[] = {0xC0, 0xFC, 0x3C, 0x3F, 0x03, 0xC3, 0x30};
  for (int operation = 0; operation < 7; ++operation)
    EXPECT_EQ(combine<unsigned char>(operation, 0xF0, 0xCC), expected[operation]);
}

TEST(LogicalOracle, CombinesEveryByte) {
  EXPECT_EQ((combine<unsigned short>(2, 0x0F0F, 0x00FF)), 0x0FF0);
  EXPECT_EQ((combine<unsigned int>(0, 0x12345678U, 0xFF00FF00U)), 0x12005600U);
  EXPECT_EQ((combine<unsigned int>(4, 0x12345678U, 0xFF00FF00U)), 0x00CB0087U);
  EXPECT_EQ((combine<int>(3, 0x7FFFFFFF, -1)), -0x7FFFFFFF - 1);
  EXPECT_EQ((combine<signed char>(6, -1, 0x0F)), -16);
}

/** 1 is 0x3F800000, 2 is 0x40000000, 3 is 0x40400000. */
TEST(LogicalOracle, CombinesTheBitsOfReals) {
  EXPECT_EQ(combine(0, 1.0f, 3.0f), 0.0f);
  EXPECT_EQ(combine(1, 1.0f, 2.0f), std::numeric_limits<float>::infinity());
  EXPECT_EQ(combine(6, 3.0f, 2.0f), 5.87747175411143753984e-39f);
  EXPECT_EQ(combine(2, -5.5, 5.5), -0.0);
}

TEST(LogicalOracle, CombinesVoxelWithVoxelOrOneValue) {
  using Words = std::vector<unsigned short>;
  auto const a = makeRow<unsigned short>({0x0F0F, 0xFFFF, 0x0000});
  auto const b = makeRow<unsigned short>({0x00FF, 0x1234, 0x5678});
  EXPECT_EQ(combine(0, a, b).voxels, (Words{0x000F, 0x1234, 0x0000}));
  EXPECT_EQ(combine(6, a, b).voxels, (Words{0x0F00, 0xEDCB, 0x0000}));
  EXPECT_EQ(combine(0, a, 0x123400FFU).voxels, (Words{0x000F, 0x00FF, 0x0000}));
  EXPECT_EQ(combine(1, a, 0x123400FFU).voxels, (Words{0x0FFF, 0xFFFF, 0x00FF}));
  EXPECT_EQ(combine(2, makeRow<unsigned char>({0x0F}), 0x1F0U).voxels, (std::vector<unsigned char>{0xFF}));
}

}  // namespace
}  // namespace oracle
