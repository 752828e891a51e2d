#include <cstdint>
#include <limits>

#include "oracle/Conversion.h"
#include "oracle/support/SmallImages.h"

namespace oracle {
namespace {

using Values = std::vector<int>;

/** What `at(column)` returns for the columns from `first` to `last`. */
template <class At>
Values collect(long first, long last, At const& at) {
  Values values;
  for (long col = first; col <= last; ++col) values.push_back(at(Five{col, 0, 0, 0, 0}));
  return values;
}

TEST(ImageOracle, ColumnsAreFastestAndSpectralSeriesSlowest) {
  auto const image =
      makeImage<int>({2, 2, 2, 2, 2}, {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,
                                       16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31});
  EXPECT_EQ(image.at({1, 0, 0, 0, 0}), 1);
  EXPECT_EQ(image.at({0, 1, 0, 0, 0}), 2);
  EXPECT_EQ(image.at({0, 0, 1, 0, 0}), 4);
  EXPECT_EQ(image.at({0, 0, 0, 1, 0}), 8);
  EXPECT_EQ(image.at({0, 0, 0, 0, 1}), 16);
  EXPECT_EQ(image.at({1, 0, 1, 1, 0}), 13);
  Values visited;
  forEachPosition(image.sizes, [&](Five const& p) { visited.push_back(image.at(p)); });
  EXPECT_EQ(visited, image.voxels);
}

TEST(ImageOracle, ColumnsAndRowsAreNotInterchanged) {
  auto const image = makeImage<int>({3, 2, 1, 1, 1}, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(image.at({2, 0, 0, 0, 0}), 3);
  EXPECT_EQ(image.at({0, 1, 0, 0, 0}), 4);
  EXPECT_DEATH(image.at({0, 2, 0, 0, 0}), "");
  EXPECT_DEATH(image.at({-1, 1, 0, 0, 0}), "");
}

TEST(BorderOracle, FixedIsOneValueBeyondEveryEdge) {
  auto const image = makeImage<int>({3, 2, 1, 1, 1}, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(collect(-2, 4, [&](Five const& p) { return fixedAt(image, p, 9); }), (Values{9, 9, 1, 2, 3, 9, 9}));
  EXPECT_EQ(fixedAt(image, {1, 1, 0, 0, 0}, 9), 5);
  EXPECT_EQ(fixedAt(image, {1, 2, 0, 0, 0}, 9), 9);
  EXPECT_EQ(fixedAt(image, {1, 1, -1, 0, 0}, 9), 9);
  EXPECT_EQ(fixedAt(image, {1, 1, 0, 1, 0}, 9), 9);
  EXPECT_EQ(fixedAt(image, {1, 1, 0, 0, 1}, 9), 9);
}

TEST(BorderOracle, ContinuedIsTheNearestVoxel) {
  auto const image = makeImage<int>({3, 2, 1, 1, 1}, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(collect(-2, 4, [&](Five const& p) { return continueAt(image, p); }), (Values{1, 1, 1, 2, 3, 3, 3}));
  EXPECT_EQ(continueAt(image, {1, 7, 0, 0, 0}), 5);
  EXPECT_EQ(continueAt(image, {-4, 7, -1, 3, 1}), 4);
}

TEST(BorderOracle, MirroredDoesNotRepeatTheEdge) {
  auto const at = [](Values const& row, long first, long last) {
    auto const image = makeRow<int>(row);
    return collect(first, last, [&](Five const& p) { return mirrorAt(image, p); });
  };
  EXPECT_EQ(at({1, 2, 3, 4}, -3, 6), (Values{4, 3, 2, 1, 2, 3, 4, 3, 2, 1}));
  EXPECT_EQ(at({1, 2, 3, 4}, -9, -4), (Values{4, 3, 2, 1, 2, 3}));
  EXPECT_EQ(at({1, 2, 3, 4}, 7, 12), (Values{2, 3, 4, 3, 2, 1}));
  EXPECT_EQ(at({1, 2}, -3, 4), (Values{2, 1, 2, 1, 2, 1, 2, 1}));
  EXPECT_EQ(at({5}, -2, 2), (Values{5, 5, 5, 5, 5}));
}

TEST(BorderOracle, MirroredInEachDirection) {
  auto const image = makeImage<int>({2, 3, 1, 1, 1}, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(mirrorAt(image, {0, -1, 0, 0, 0}), 3);
  EXPECT_EQ(mirrorAt(image, {0, -2, 0, 0, 0}), 5);
  EXPECT_EQ(mirrorAt(image, {-1, 3, 0, 0, 0}), 4);
  EXPECT_EQ(mirrorAt(makePlans<int>({1, 2, 3}), {0, 0, 3, 0, 0}), 2);
}

TEST(ConversionOracle, HalvesGoToTheEvenNumber) {
  EXPECT_EQ(convert<int>(0.5), 0);
  EXPECT_EQ(convert<int>(1.5), 2);
  EXPECT_EQ(convert<int>(2.5), 2);
  EXPECT_EQ(convert<int>(-0.5), 0);
  EXPECT_EQ(convert<int>(-1.5), -2);
  EXPECT_EQ(convert<int>(-2.5), -2);
  EXPECT_EQ(convert<int>(2.4f), 2);
  EXPECT_EQ(convert<int>(2.6f), 3);
  EXPECT_EQ(convert<int>(-2.6), -3);
  EXPECT_EQ(convert<unsigned char>(254.5), 254);
}

TEST(ConversionOracle, WhatATypeCannotHoldIsItsEnd) {
  EXPECT_EQ(convert<unsigned char>(300), 255);
  EXPECT_EQ(convert<unsigned char>(255.5), 255);
  EXPECT_EQ(convert<unsigned char>(-3), 0);
  EXPECT_EQ(convert<signed char>(-129.0), -128);
  EXPECT_EQ(convert<signed char>(static_cast<unsigned char>(200)), 127);
  EXPECT_EQ(convert<short>(40000), 32767);
  EXPECT_EQ(convert<int>(4294967295U), 2147483647);
  EXPECT_EQ(convert<unsigned int>(-1), 0U);
  EXPECT_EQ(convert<unsigned int>(5e9), 4294967295U);
  EXPECT_EQ(convert<int>(std::numeric_limits<double>::infinity()), 2147483647);
  EXPECT_EQ(convert<int>(-std::numeric_limits<double>::infinity()), -2147483647 - 1);
  EXPECT_EQ(convert<int>(std::numeric_limits<float>::quiet_NaN()), 0);
}

TEST(ConversionOracle, RealsKeepTheNearestNumber) {
  EXPECT_EQ(convert<float>(16777217), 16777216.0f);
  EXPECT_EQ(convert<float>(16777219), 16777220.0f);
  EXPECT_EQ(convert<double>(4294967295U), 4294967295.0);
  EXPECT_EQ(convert<double>(0.25f), 0.25);
}

/** Two plans of two columns, at two sequence positions, in two spectral series. */
TEST(ExtremaOracle, CellsAreThoseOfTheMask) {
  auto const image = makeImage<int>({2, 1, 2, 2, 2}, {5, 3, 7, 1, 4, 9, 6, 2, 8, 0, 12, 11, 10, 13, 15, 14});
  using Cells = std::array<long, 3>;
  using Numbers = std::vector<double>;
  struct Case {
    int mask;
    Cells cells;
    Numbers minimum;
    Numbers maximum;
  };
  for (Case const& expected :
       {Case{0, {1, 1, 1}, {0}, {15}}, Case{1, {2, 1, 1}, {0, 1}, {13, 15}}, Case{4, {1, 2, 1}, {0, 2}, {12, 15}},
        Case{2, {1, 1, 2}, {1, 0}, {9, 15}}, Case{5, {2, 2, 1}, {0, 1, 4, 2}, {8, 12, 13, 15}},
        Case{7, {2, 2, 2}, {3, 1, 4, 2, 0, 11, 10, 14}, {5, 7, 9, 6, 8, 12, 13, 15}}}) {
    Extrema const found = measureExtrema(image, expected.mask);
    EXPECT_EQ(found.cells, expected.cells) << expected.mask;
    EXPECT_EQ(found.minimum, expected.minimum) << expected.mask;
    EXPECT_EQ(found.maximum, expected.maximum) << expected.mask;
  }
}

TEST(ExtremaOracle, ReachesTheEndsOfTypes) {
  Extrema const bytes = measureExtrema(makeRow<signed char>({5, -128, 127}), 0);
  EXPECT_EQ(bytes.minimum, std::vector<double>{-128});
  EXPECT_EQ(bytes.maximum, std::vector<double>{127});
  Extrema const words = measureExtrema(makeRow<unsigned int>({4294967295U, 7}), 0);
  EXPECT_EQ(words.minimum, std::vector<double>{7});
  EXPECT_EQ(words.maximum, std::vector<double>{4294967295.0});
  Extrema const reals = measureExtrema(makeRow<float>({0.25f, -0.5f}), 0);
  EXPECT_EQ(reals.minimum, std::vector<double>{-0.5});
  EXPECT_EQ(reals.maximum, std::vector<double>{0.25});
}

}  // namespace
}  // namespace oracle
