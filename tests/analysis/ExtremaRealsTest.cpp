// NaN, infinities and signed zeros in the kernel of the extrema.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "analysis/support/Leaves.h"
#include "oracle/VoxelTypeTests.h"

namespace analysis_test {
namespace {

template <class T>
class ExtremaKernelOfReal : public testing::Test {};
TEST_TYPES(ExtremaKernelOfReal, oracle::RealVoxelTypes, oracle::VoxelTypeNames);

// What one block gives, lane by lane: a new voxel comes second in each comparison, and wins unless the first is
// strictly better.
template <class T>
Extrema<T> modelOneBlock(oracle::Image<T> const& image) {
  constexpr long L = oracle::cLanes<T>;
  T low[oracle::cLanes<T>], high[oracle::cLanes<T>];
  bool isFirst = true;
  for (long p = 0; p < image.sizes[2]; ++p)
    for (long r = 0; r < image.sizes[1]; ++r)
      for (long c = 0; c < image.sizes[0]; c += L) {
        for (long lane = 0; lane < L; ++lane) {
          T const voxel = oracle::continueAt(image, {c + lane, r, p, 0, 0});
          low[lane] = !isFirst && low[lane] < voxel ? low[lane] : voxel;
          high[lane] = !isFirst && high[lane] > voxel ? high[lane] : voxel;
        }
        isFirst = false;
      }
  Extrema<T> result;
  for (long lane = 0; lane < L; ++lane) {
    if (low[lane] < result.minimum) result.minimum = low[lane];
    if (high[lane] > result.maximum) result.maximum = high[lane];
  }
  return result;
}

template <class T>
void expectSameBits(Extrema<T> const& extrema, Extrema<T> const& expected, std::string const& what) {
  ASSERT_EQ(std::memcmp(&extrema.minimum, &expected.minimum, sizeof(T)), 0)
      << what << ": minimum " << extrema.minimum << " instead of " << expected.minimum;
  ASSERT_EQ(std::memcmp(&extrema.maximum, &expected.maximum, sizeof(T)), 0)
      << what << ": maximum " << extrema.maximum << " instead of " << expected.maximum;
}

// Rare and frequent NaN, in rows of any length.
TEST_OF_TYPES(ExtremaKernelOfReal, ForgetsALanesVoxelsAtANaN) {
  using T = TypeParam;
  oracle::Random random(1104);
  long nbForgotten = 0;
  for (int i = 0; i < 600; ++i) {
    oracle::Five const sizes{random.number(1, i % 2 ? 20 : 300), random.number(1, 5), random.number(1, 3), 1, 1};
    long const rarity = i % 3 == 0 ? 2 : i % 3 == 1 ? 30 : 500;
    oracle::Image<T> image = random.image<T>(sizes);
    oracle::Image<T> clean = image;
    for (std::size_t v = 0; v < image.voxels.size(); ++v)
      if (random.number(0, rarity) == 0) {
        image.voxels[v] = std::numeric_limits<T>::quiet_NaN();
        clean.voxels[v] = T(0);
      }
    Source<T> const source(image);
    auto const expected = modelOneBlock(image);
    expectSameBits(runLeaves(source, {makeWhole(sizes)}), expected, "image " + std::to_string(i));
    if (this->HasFatalFailure()) return;
    nbForgotten += static_cast<double>(expected.minimum) != oracle::measureExtrema(clean, 0).minimum[0];
  }
  EXPECT_GT(nbForgotten, 50);  // the images exercise the rule
}

// Zeros of both signs, infinities, NaN and numbers whose sums overflow, in every mixture and many lengths of rows.
TEST_OF_TYPES(ExtremaKernelOfReal, GivesEachBitOfTheOrderedComparisons) {
  using T = TypeParam;
  using Limits = std::numeric_limits<T>;
  oracle::Random random(1105);
  T const values[] = {T(0),
                      T(-0.0),
                      Limits::infinity(),
                      -Limits::infinity(),
                      Limits::max(),
                      Limits::lowest(),
                      Limits::denorm_min(),
                      -Limits::denorm_min(),
                      T(1),
                      T(-1),
                      Limits::quiet_NaN()};
  for (int i = 0; i < 3000; ++i) {
    oracle::Five const sizes{random.number(1, i % 2 ? 24 : 160), random.number(1, 3), random.number(1, 2), 1, 1};
    std::vector<T> chosen;
    for (long count = random.number(1, 4); count > 0; --count) chosen.push_back(values[random.number(0, 10)]);
    oracle::Image<T> image(sizes);
    for (T& voxel : image.voxels)
      voxel = chosen[static_cast<std::size_t>(random.number(0, static_cast<long>(chosen.size()) - 1))];
    Source<T> const source(image);
    expectSameBits(runLeaves(source, {makeWhole(sizes)}), modelOneBlock(image), "image " + std::to_string(i));
    if (this->HasFatalFailure()) return;
  }
}

TEST_OF_TYPES(ExtremaKernelOfReal, KeepsTheStartingRangeOnNothingButNaN) {
  using T = TypeParam;
  oracle::Image<T> image({9, 4, 2, 1, 1});
  std::fill(image.voxels.begin(), image.voxels.end(), std::numeric_limits<T>::quiet_NaN());
  Source<T> const source(image);
  auto const extrema = runLeaves(source, {makeWhole(image.sizes)});
  EXPECT_EQ(extrema.minimum, std::numeric_limits<T>::max());
  EXPECT_EQ(extrema.maximum, std::numeric_limits<T>::lowest());
}

TEST_OF_TYPES(ExtremaKernelOfReal, TakesInfinitiesAsTheComparisonsGive) {
  using T = TypeParam;
  T const infinity = std::numeric_limits<T>::infinity(), largest = std::numeric_limits<T>::max();
  struct Case {
    std::vector<T> voxels;
    T low, high;
  };
  for (Case const& c :
       {Case{{infinity, infinity}, largest, infinity}, Case{{-infinity, -infinity}, -infinity, -largest},
        Case{{infinity, -infinity}, -infinity, infinity}, Case{{infinity, T(3)}, T(3), infinity},
        Case{{-infinity, T(3)}, -infinity, T(3)}}) {
    oracle::Image<T> image({2, 1, 1, 1, 1});
    image.voxels = c.voxels;
    auto const extrema = runLeaves(Source<T>(image), {makeWhole(image.sizes)});
    EXPECT_EQ(extrema.minimum, c.low);
    EXPECT_EQ(extrema.maximum, c.high);
  }
  // Nothing is read after a full finite range; an open one continues.
  oracle::Image<T> image({2, 2, 1, 1, 1});
  image.voxels = {-largest, largest, -infinity, infinity};
  auto const leaves = cutIntoLeaves(makeWhole(image.sizes, {2, 1, 1}));
  ASSERT_EQ(leaves.size(), 2U);
  auto const fullFirst = runLeaves(Source<T>(image), leaves);
  EXPECT_EQ(fullFirst.minimum, -largest);
  EXPECT_EQ(fullFirst.maximum, largest);
  auto const infiniteFirst = runLeaves(Source<T>(image), {leaves[1], leaves[0]});
  EXPECT_EQ(infiniteFirst.minimum, -infinity);
  EXPECT_EQ(infiniteFirst.maximum, infinity);
}

// Two zeros of opposite signs, anywhere in a lane of a row: the one that comes later is the result, in every bit.
TEST_OF_TYPES(ExtremaKernelOfReal, TakesTheLaterOfEqualZerosWithinABlock) {
  using T = TypeParam;
  long const L = oracle::cLanes<T>;
  for (long nbVectors = 2; nbVectors <= 13; ++nbVectors)
    for (long first = 0; first < nbVectors; ++first)
      for (long later = first + 1; later < nbVectors; ++later)
        for (T sign : {T(1), T(-1)}) {
          oracle::Image<T> high({nbVectors * L, 1, 1, 1, 1}), low(high.sizes);
          std::fill(high.voxels.begin(), high.voxels.end(), T(1));
          std::fill(low.voxels.begin(), low.voxels.end(), T(-1));
          for (auto* image : {&high, &low}) {
            image->voxels[static_cast<std::size_t>(first * L)] = -sign * T(0);
            image->voxels[static_cast<std::size_t>(later * L)] = sign * T(0);
          }
          ASSERT_EQ(std::signbit(runLeaves(Source<T>(high), {makeWhole(high.sizes)}).minimum), sign < 0)
              << first << ' ' << later << " of " << nbVectors;
          ASSERT_EQ(std::signbit(runLeaves(Source<T>(low), {makeWhole(low.sizes)}).maximum), sign < 0)
              << first << ' ' << later << " of " << nbVectors;
        }
}

TEST_OF_TYPES(ExtremaKernelOfReal, KeepsTheFirstOfEqualZeros) {
  using T = TypeParam;
  for (T first : {T(0), T(-0.0)}) {
    oracle::Image<T> image({1, 2, 1, 1, 1});
    image.voxels = {first, -first};
    // Within a block the second operand wins, between blocks the first.
    auto const ofBlock = runLeaves(Source<T>(image), {makeWhole(image.sizes)});
    EXPECT_EQ(std::signbit(ofBlock.minimum), std::signbit(-first));
    EXPECT_EQ(std::signbit(ofBlock.maximum), std::signbit(-first));
    auto const ofLeaves = runLeaves(Source<T>(image), cutIntoLeaves(makeWhole(image.sizes, {1, 1, 1})));
    EXPECT_EQ(std::signbit(ofLeaves.minimum), std::signbit(first));
    EXPECT_EQ(std::signbit(ofLeaves.maximum), std::signbit(first));
  }
}

}  // namespace
}  // namespace analysis_test
