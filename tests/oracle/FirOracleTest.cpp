#include "filtering/support/FirOracle.h"
#include "oracle/support/SmallImages.h"

namespace oracle {
namespace {

using Ints = std::vector<int>;
using Bytes = std::vector<unsigned char>;

/** The same type in and out; the output starts as zeros. */
template <class T>
std::vector<T> correlated(Image<T> const& image, Taps const& taps, int dimension = 2) {
  return correlate(image, taps, dimension, Image<T>(image.sizes)).voxels;
}

TEST(FirOracle, WeightsWhatItsTapsPointAt) {
  auto const row = makeRow<int>({1, 2, 3, 4});
  EXPECT_EQ(correlated(row, {{0, 0, 0, 2}}), (Ints{2, 4, 6, 8}));
  EXPECT_EQ(correlated(row, {{-1, 0, 0, 1}, {0, 0, 0, 2}, {1, 0, 0, 3}}), (Ints{10, 14, 20, 20}));
  auto const plan = makeImage<int>({3, 2, 1, 1, 1}, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(correlated(plan, {{0, -1, 0, 1}, {1, 0, 0, 10}}), (Ints{24, 35, 26, 51, 62, 53}));
}

TEST(FirOracle, MirrorsFarTapsAsOftenAsNeeded) {
  auto const row = makeRow<int>({1, 2, 3, 4});
  EXPECT_EQ(correlated(row, {{-5, 0, 0, 1}}), (Ints{2, 3, 4, 3}));
  EXPECT_EQ(correlated(row, {{4, 0, 0, 1}}), (Ints{3, 2, 1, 2}));
  EXPECT_EQ(correlated(row, {{0, 3, 0, 1}, {0, -2, 0, 1}}), (Ints{2, 4, 6, 8}));
}

TEST(FirOracle, LeavesPlansBeyondTheFirstInTwoDimensions) {
  auto const plans = makePlans<int>({1, 2, 3});
  auto const before = makePlans<int>({9, 9, 9});
  EXPECT_EQ(correlate(plans, {{0, 0, 0, 5}}, 2, before).voxels, (Ints{5, 9, 9}));
  EXPECT_EQ(correlate(plans, {{0, 0, 0, 5}}, 3, before).voxels, (Ints{5, 10, 15}));
  EXPECT_EQ(correlated(plans, {{0, 0, 1, 1}}, 3), (Ints{2, 3, 2}));
  EXPECT_EQ(correlated(plans, {{0, 0, -1, 1}, {0, 0, 0, 10}}, 3), (Ints{12, 21, 32}));
  auto const sequence = makeImage<int>({1, 1, 1, 2, 2}, {1, 2, 3, 4});
  EXPECT_EQ(correlated(sequence, {{0, 0, 0, 3}}), (Ints{3, 6, 9, 12}));
}

TEST(FirOracle, RoundsAndSaturatesTheSum) {
  EXPECT_EQ(correlated(makeRow<unsigned char>({1, 2, 3, 5}), {{0, 0, 0, 0.5}}), (Bytes{0, 1, 2, 2}));
  EXPECT_EQ(correlated(makeRow<unsigned char>({200, 100}), {{0, 0, 0, 2}}), (Bytes{255, 200}));
  EXPECT_EQ(correlated(makeRow<unsigned char>({200, 0}), {{0, 0, 0, -1}}), (Bytes{0, 0}));
  EXPECT_EQ(correlated(makeRow<unsigned char>({200}), {{0, 0, 0, 2}, {0, 0, 0, -1.5}}), (Bytes{100}));
}

/** 2^24 + 1 is no number of single precision, 2^24 + 2 is one. */
TEST(FirOracle, AddsInTheOrderOfItsTaps) {
  auto const row = makeRow<float>({16777216, 1, 1});
  Taps const largeFirst{{0, 0, 0, 1}, {1, 0, 0, 1}, {2, 0, 0, 1}};
  Taps const largeLast{{2, 0, 0, 1}, {1, 0, 0, 1}, {0, 0, 0, 1}};
  EXPECT_EQ(correlated(row, largeFirst)[0], 16777216.0f);
  EXPECT_EQ(correlated(row, largeLast)[0], 16777218.0f);
  EXPECT_EQ(correlate(row, largeFirst, 2, Image<double>(row.sizes)).voxels[0], 16777218.0);
}

TEST(FirOracle, ComputesInDoubleForOutputsOf32BitIntegersAndDouble) {
  EXPECT_TRUE((std::is_same_v<Precision<unsigned char>, float>));
  EXPECT_TRUE((std::is_same_v<Precision<short>, float>));
  EXPECT_TRUE((std::is_same_v<Precision<float>, float>));
  EXPECT_TRUE((std::is_same_v<Precision<int>, double>));
  EXPECT_TRUE((std::is_same_v<Precision<unsigned int>, double>));
  EXPECT_TRUE((std::is_same_v<Precision<double>, double>));
}

}  // namespace
}  // namespace oracle
