// IntensityExtrema on the shipped plug-in against the oracle.
#include <climits>

#include "analysis/support/Extrema.h"
#include "oracle/VoxelTypeTests.h"

namespace analysis_test {
namespace {

template <class T>
class ExtremaValuesOf : public ExtremaTest {
 protected:
  // Images of all widths and masks, cut as finely as possible, as the host likes, and not at all.
  void compareOnThreads(int nbThreads) {
    oracle::Random random(1200 + static_cast<unsigned long>(nbThreads));
    long const L = oracle::cLanes<T>;
    for (long nbCols : {1L, 2L, L - 1, L, L + 1, 3 * L + 1}) {
      if (nbCols < 1) continue;
      oracle::Five const sizes{nbCols, 5, 4, 3, 2};
      auto const image = makeImage<T>(random, sizes);
      auto const host = oracle::toHost(image);
      for (int mask : {0, 1, 2, 3, 4, 5, 6, 7, 8, 13, -1, INT_MIN, INT_MAX}) {
        auto const expected = oracle::measureExtrema(image, mask);
        for (int cut = 0; cut < 3; ++cut) {
          if (cut == 0) probe.grains = {1, 1, 1};
          if (cut == 1) probe.grains.reset();
          if (cut == 2) probe.grains = {1UL << 40, 1UL << 40, 1UL << 40};
          measureImage(*host, mask, nbThreads);
          expectMeasured(expected, std::to_string(nbCols) + " columns, mask " + std::to_string(mask) + ", cut " +
                                       std::to_string(cut));
          if (testing::Test::HasFatalFailure()) return;
        }
      }
    }
    expectNothingAlive();
  }
};
TEST_TYPES(ExtremaValuesOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(ExtremaValuesOf, AreTheOraclesOnOneThread) { this->compareOnThreads(1); }
TEST_OF_TYPES(ExtremaValuesOf, AreTheOraclesOnTwoThreads) { this->compareOnThreads(2); }
TEST_OF_TYPES(ExtremaValuesOf, AreTheOraclesOnSixteenThreads) { this->compareOnThreads(16); }

TEST_OF_TYPES(ExtremaValuesOf, AreTheOraclesOnRandomImages) {
  oracle::Random random(1230);
  for (int i = 0; i < 150; ++i) {
    oracle::Five sizes{random.number(1, 70), random.number(1, 20), random.number(1, 6), random.number(1, 4),
                       random.number(1, 4)};
    // Any voxels, the ends of the range among them.
    auto const image = random.number(0, 1) ? random.image<TypeParam>(sizes) : makeImage<TypeParam>(random, sizes);
    auto const grain = [&random] { return static_cast<unsigned long>(random.number(1, 30)); };
    this->probe.grains = {grain(), grain(), grain()};
    int const mask = static_cast<int>(random.number(0, 7));
    this->measureImage(*oracle::toHost(image), mask, static_cast<int>(random.number(1, 4)));
    this->expectMeasured(oracle::measureExtrema(image, mask), "image " + std::to_string(i));
    if (testing::Test::HasFatalFailure()) return;
  }
}

// One large volume as the host cuts it.
TEST_OF_TYPES(ExtremaValuesOf, AreTheOraclesOnALargeImage) {
  oracle::Random random(1240);
  auto const image = makeImage<TypeParam>(random, {517, 301, 5, 1, 1});
  auto const host = oracle::toHost(image);
  for (int mask : {0, 1}) {
    this->measureImage(*host, mask, 2);
    this->expectMeasured(oracle::measureExtrema(image, mask));
  }
}

TEST_OF_TYPES(ExtremaValuesOf, ConvertExactly) {
  using Limits = std::numeric_limits<TypeParam>;
  std::vector<TypeParam> values{Limits::lowest(), TypeParam(Limits::lowest() / 2), TypeParam(0),
                                TypeParam(1),     TypeParam(Limits::max() / 2),    TypeParam(Limits::max() / 2 + 1),
                                Limits::max()};
  if (std::is_same_v<TypeParam, unsigned int>) values.push_back(static_cast<TypeParam>(2147483649U));
  for (TypeParam value : values) {
    oracle::Image<TypeParam> image({5, 2, 1, 1, 1});
    for (TypeParam& voxel : image.voxels) voxel = value;
    this->measureImage(*oracle::toHost(image), 0);
    EXPECT_EQ(this->measure.minimum.getValue(0, 0, 0), static_cast<double>(value));
    EXPECT_EQ(this->measure.maximum.getValue(0, 0, 0), static_cast<double>(value));
  }
}

// Five plans, one of them the only one with a certain voxel: a row of results, each of one plan.
TEST_OF_TYPES(ExtremaValuesOf, AreApartForEachPlan) {
  oracle::Image<TypeParam> image({3, 2, 5, 1, 1});
  for (long p = 0; p < 5; ++p)
    for (long r = 0; r < 2; ++r)
      for (long c = 0; c < 3; ++c) image.at({c, r, p, 0, 0}) = static_cast<TypeParam>(10 * p + 3 * r + c);
  this->measureImage(*oracle::toHost(image), 1);
  ASSERT_EQ(this->measure.minimum.getSize(0), 5U);
  for (unsigned long p = 0; p < 5; ++p) {
    EXPECT_EQ(this->measure.minimum.getValue(p, 0, 0), 10 * static_cast<double>(p));
    EXPECT_EQ(this->measure.maximum.getValue(p, 0, 0), 10 * static_cast<double>(p) + 5);
  }
}

// Each row has both ends of the range: the block that comes first is read, and no other.
TEST_OF_TYPES(ExtremaValuesOf, NeedOneBlockOfASaturatedImage) {
  oracle::Image<TypeParam> image({20, 6, 3, 1, 1});
  for (long p = 0; p < 3; ++p)
    for (long r = 0; r < 6; ++r) {
      image.at({r, r, p, 0, 0}) = std::numeric_limits<TypeParam>::lowest();
      image.at({19 - r, r, p, 0, 0}) = std::numeric_limits<TypeParam>::max();
    }
  auto const host = oracle::toHost(image);
  this->probe.grains = {1000, 1, 1};
  this->probe.isTracing = true;
  for (int mask : {0, 1}) {
    this->probe.clear();
    this->measureImage(*host, mask, 1);
    EXPECT_EQ(this->probe.count("createRowCacheRead"), mask ? 3U : 1U);
    EXPECT_LT(this->probe.count("readRowAt"), 18U);
    this->expectMeasured(oracle::measureExtrema(image, mask));
  }
}

TEST_OF_TYPES(ExtremaValuesOf, OfAnEmptyImageAreTheStartingRange) {
  using Limits = std::numeric_limits<TypeParam>;
  for (unsigned long d = 0; d < 5; ++d) {
    pxl::ImageSizes sizes{4, 3, 2, 2, 2};
    sizes[d] = 0;
    auto const image = pxl::Image::New(oracle::cHostType<TypeParam>, sizes);
    this->measureImage(*image, 0);
    EXPECT_EQ(this->measure.minimum.getValue(0, 0, 0), static_cast<double>(Limits::max())) << d;
    EXPECT_EQ(this->measure.maximum.getValue(0, 0, 0), static_cast<double>(Limits::lowest())) << d;
  }
  // No plans, no cells.
  auto const image = pxl::Image::New(oracle::cHostType<TypeParam>, {4, 3, 0, 2, 2});
  this->measureImage(*image, 7);
  EXPECT_EQ(this->measure.minimum.getSize(0), 0U);
  EXPECT_EQ(this->measure.minimum.getSize(1), 2U);
}

}  // namespace
}  // namespace analysis_test
