#include <array>
#include <cstring>

#include "gtest/gtest.h"
#include "pxl/PartitionerPolicy.h"
#include "pxl/access/Region.h"

namespace access_test {
namespace {

using pxl::access::Region;

TEST(Region, HoldsBeginAndEndOfRowsColumnsPlansSequenceAndSeries) {
  static_assert(sizeof(Region) == 88);
  Region const region(1, 12, 3, 24, 5, 36, 7, 48, 9, 60);
  std::array<long, 10> fields;
  std::memcpy(fields.data(), reinterpret_cast<char const*>(&region) + sizeof(void*), sizeof(fields));
  EXPECT_EQ(fields, (std::array<long, 10>{1, 12, 3, 24, 5, 36, 7, 48, 9, 60}));
  EXPECT_EQ(region.getNbRows(), 11);
  EXPECT_EQ(region.getNbCols(), 21);
  EXPECT_EQ(region.getNbPlans(), 31);
  EXPECT_EQ(region.getNbSequencePlans(), 41);
  EXPECT_EQ(region.getNbSpectralSeries(), 51);
  EXPECT_EQ(region.getNumOfVoxels(), 11UL * 21 * 31 * 41 * 51);
}

TEST(Region, HasNoVoxelsWhenADimensionIsEmpty) {
  for (int empty = 0; empty < 5; ++empty) {
    std::array<long, 5> size{2, 3, 4, 5, 6};
    size[static_cast<std::size_t>(empty)] = 0;
    Region const region(1, 1 + size[0], 1, 1 + size[1], 1, 1 + size[2], 1, 1 + size[3], 1, 1 + size[4]);
    EXPECT_EQ(region.getNumOfVoxels(), 0U) << empty;
  }
  EXPECT_EQ(Region().getNumOfVoxels(), 0U);
}

// Sizes come from the operations, which may be overridden, and multiply modulo 2^64.
TEST(Region, MultipliesWhatItsOperationsSay) {
  struct Odd : Region {
    long getNbRows() const override { return 3; }
    long getNbCols() const override { return 5; }
    long getNbPlans() const override { return 7; }
    long getNbSequencePlans() const override { return 11; }
    long getNbSpectralSeries() const override { return 13; }
  };
  EXPECT_EQ(Odd().getNumOfVoxels(), 15015U);
  struct Wrapping : Odd {
    long getNbRows() const override { return (1L << 62) + 1; }
    long getNbCols() const override { return 6; }
  };
  EXPECT_EQ(Wrapping().getNumOfVoxels(), ((1UL << 63) + 6) * 7 * 11 * 13);
}

TEST(GrainSizes, AreColumnsRowsPlans) {
  pxl::AbstractPartitionerPolicy::PartitionerGrainSizes const grains{4, 5, 6};
  static_assert(sizeof(grains) == 24);
  EXPECT_EQ(grains.cols, 4U);
  EXPECT_EQ(grains.rows, 5U);
  EXPECT_EQ(grains.plans, 6U);
}

}  // namespace
}  // namespace access_test
