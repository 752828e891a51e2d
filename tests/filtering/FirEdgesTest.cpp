// Single voxels whose results are known without an oracle.
#include <limits>

#include "support/Runs.h"

namespace filtering_test {
namespace {

template <class T>
class FirEdges : public PluginTest {
 protected:
  /** The result for a row of voxels. */
  static std::vector<T> runOnRow(std::vector<T> const& row, Taps const& taps, int dimension = 2) {
    oracle::Image<T> image({static_cast<long>(row.size()), 1, 1, 1, 1});
    image.voxels = row;
    auto const input = oracle::toHost(image), output = oracle::toHost(image);
    run(dimension, taps, input.get(), output.get());
    T const* const voxels = static_cast<T const*>(output->getVoxels());
    return std::vector<T>(voxels, voxels + row.size());
  }
};
TEST_TYPES(FirEdges, oracle::RealVoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(FirEdges, MirrorWithoutRepeatingTheEdgeAtAnyDistance) {
  using T = TypeParam;
  std::vector<T> const row{1, 2, 3, 4};
  EXPECT_EQ(this->runOnRow(row, {{2, 0, 0, 1.}}), (std::vector<T>{3, 4, 3, 2}));
  EXPECT_EQ(this->runOnRow(row, {{-1, 0, 0, 1.}}), (std::vector<T>{2, 1, 2, 3}));
  EXPECT_EQ(this->runOnRow(row, {{6, 0, 0, 1.}}), row);
  EXPECT_EQ(this->runOnRow(row, {{-601, 0, 0, 1.}}), (std::vector<T>{2, 1, 2, 3}));
  EXPECT_EQ(this->runOnRow({5, 7}, {{3, 0, 0, 1.}}), (std::vector<T>{7, 5}));
  EXPECT_EQ(this->runOnRow({5}, {{77, -3, 0, 1.}}), std::vector<T>{5});
  EXPECT_EQ(this->runOnRow({5}, {{77, -3, 9, 1.}}, 3), std::vector<T>{5});
}

// A sum that began with 0 would lose the sign.
TEST_OF_TYPES(FirEdges, BeginWithTheFirstProduct) {
  using T = TypeParam;
  for (int dimension : {2, 3}) {
    auto const result = this->runOnRow({T(1), T(-0.), T(0)}, {{0, 0, 0, -0.}}, dimension);
    EXPECT_TRUE(std::signbit(result[0]));
    EXPECT_FALSE(std::signbit(result[1]));
    EXPECT_TRUE(std::signbit(result[2]));
    EXPECT_TRUE(std::signbit(this->runOnRow({T(-0.)}, {{0, 0, 0, 1.}, {0, 0, 0, 2.}}, dimension)[0]));
  }
}

TEST_OF_TYPES(FirEdges, MultiplyByZeroTooWhichMakesNaNOfInfinity) {
  using T = TypeParam;
  T const inf = std::numeric_limits<T>::infinity(), nan = std::numeric_limits<T>::quiet_NaN();
  for (int dimension : {2, 3}) {
    auto const result = this->runOnRow({T(1), inf, T(2), nan, T(3), T(4), -inf, T(5), T(6)},
                                       {{0, 0, 0, 1.}, {1, 0, 0, 0.}}, dimension);
    for (unsigned long i : {0UL, 1UL, 2UL, 3UL, 5UL, 6UL}) {
      bool const isInfinity = i == 1 || i == 6;
      EXPECT_EQ(std::isnan(result[i]), !isInfinity) << i;
      EXPECT_EQ(std::isinf(result[i]), isInfinity) << i;
    }
    EXPECT_EQ(result[4], T(3));
    EXPECT_EQ(result[7], T(5));
    EXPECT_EQ(result[8], T(6));
  }
}

// Sums depend on the order: a tiny addend after a large one is lost.
TEST_OF_TYPES(FirEdges, AddInTheOrderOfTheListInTheirOwnPrecision) {
  using T = TypeParam;
  double const large = 4. / static_cast<double>(std::numeric_limits<T>::epsilon());
  EXPECT_EQ(this->runOnRow({1}, {{0, 0, 0, large}, {0, 0, 0, 1.}, {0, 0, 0, -large}}), std::vector<T>{0});
  EXPECT_EQ(this->runOnRow({1}, {{0, 0, 0, large}, {0, 0, 0, -large}, {0, 0, 0, 1.}}), std::vector<T>{1});
  // (1 + e)^2 - 1 would keep its last bit in a fused multiply-add.
  double const next = 1 + static_cast<double>(std::numeric_limits<T>::epsilon());
  EXPECT_EQ(this->runOnRow({T(next)}, {{0, 0, 0, -next}, {0, 0, 0, next}}), std::vector<T>{0});
}

TEST_F(PluginTest, CoefficientsAreRoundedToThePrecision) {
  oracle::Image<float> image({2, 1, 1, 1, 1});
  image.voxels = {1.f, -2.f};
  auto const input = oracle::toHost(image), output = oracle::toHost(image);
  run(2, {{0, 0, 0, 0.1}}, input.get(), output.get());
  EXPECT_EQ(static_cast<float*>(output->getVoxels())[1], -2.f * 0.1f);
  run(3, {{0, 0, 0, 1e300}}, input.get(), output.get());
  EXPECT_EQ(static_cast<float*>(output->getVoxels())[0], std::numeric_limits<float>::infinity());
  auto const wide = oracle::toHost(oracle::Image<double>(image.sizes));
  run(3, {{0, 0, 0, 1e300}}, input.get(), wide.get());
  EXPECT_EQ(static_cast<double*>(wide->getVoxels())[1], -2e300);
}

// Only the output type determines the precision.
TEST_F(PluginTest, InputsLosePrecisionWhereTheOutputIsNarrow) {
  oracle::Image<int> image({1, 1, 1, 1, 1});
  image.voxels = {16777217};
  auto const input = oracle::toHost(image);
  auto const narrow = oracle::toHost(oracle::Image<float>(image.sizes));
  run(2, {{0, 0, 0, 1.}}, input.get(), narrow.get());
  EXPECT_EQ(*static_cast<float*>(narrow->getVoxels()), 16777216.f);
  auto const exact = oracle::toHost(oracle::Image<unsigned int>(image.sizes));
  run(2, {{0, 0, 0, 1.}}, input.get(), exact.get());
  EXPECT_EQ(*static_cast<unsigned int*>(exact->getVoxels()), 16777217U);
}

}  // namespace
}  // namespace filtering_test
