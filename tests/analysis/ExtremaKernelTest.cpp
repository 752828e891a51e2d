// The kernel by itself, on leaves that the test cuts and orders.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string>

#include "access/support/Source.h"
#include "analysis/IntensityExtremaSIMDGeneric.h"
#include "analysis/support/Extrema.h"
#include "oracle/VoxelTypeTests.h"

namespace analysis_test {
namespace {

using access_test::KernelInput;
using access_test::Source;
using pxl::access::Block3d;

template <class T>
using Extrema = pxl::analysis::IntensityExtremaSIMDGeneric<T>;

std::vector<Block3d> cutIntoLeaves(Block3d block) {
  if (!block.is_divisible()) return {block};
  Block3d const upper(block, tbb::split());
  std::vector<Block3d> leaves = cutIntoLeaves(block);
  for (Block3d const& leaf : cutIntoLeaves(upper)) leaves.push_back(leaf);
  return leaves;
}

Block3d makeWhole(oracle::Five const& sizes, Grains const& grains = {1L << 40, 1L << 40, 1L << 40}) {
  return Block3d(0, sizes[2], static_cast<long>(grains.plans), 0, sizes[1], static_cast<long>(grains.rows), 0,
                 sizes[0], static_cast<long>(grains.cols), 0, 0);
}

template <class T>
Extrema<T> runLeaves(Source<T> const& source, std::vector<Block3d> const& leaves) {
  Extrema<T> extrema;
  KernelInput<T> input{source.view};
  for (Block3d const& leaf : leaves) extrema.run(leaf, input);
  return extrema;
}

template <class T>
class ExtremaKernelOf : public testing::Test {};
TYPED_TEST_SUITE(ExtremaKernelOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

template <class T>
class ExtremaKernelOfReal : public testing::Test {};
TYPED_TEST_SUITE(ExtremaKernelOfReal, oracle::RealVoxelTypes, oracle::VoxelTypeNames);

struct InitialValues {
  double low, high;
};

// Written out, as numbers.
template <class T>
InitialValues getInitialValues() {
  if (std::is_same_v<T, unsigned char>) return {0, 255};
  if (std::is_same_v<T, unsigned short>) return {0, 65535};
  if (std::is_same_v<T, unsigned int>) return {0, 4294967295.0};
  if (std::is_same_v<T, signed char>) return {-128, 127};
  if (std::is_same_v<T, short>) return {-32768, 32767};
  if (std::is_same_v<T, int>) return {-2147483648.0, 2147483647};
  if (std::is_same_v<T, float>) return {-0x1.fffffep127, 0x1.fffffep127};
  return {-0x1.fffffffffffffp1023, 0x1.fffffffffffffp1023};
}

TYPED_TEST(ExtremaKernelOf, IsARecordOfFourVoxelsThatStartsInverted) {
  using E = Extrema<TypeParam>;
  static_assert(sizeof(E) == 4 * sizeof(TypeParam) && std::is_standard_layout_v<E>);
  static_assert(offsetof(E, minimum) == 0 && offsetof(E, maximum) == sizeof(TypeParam));
  static_assert(offsetof(E, lowest) == 2 * sizeof(TypeParam) && offsetof(E, highest) == 3 * sizeof(TypeParam));
  E const* const made = new E();  // as the split of a body makes it
  InitialValues const expected = getInitialValues<TypeParam>();
  EXPECT_EQ(static_cast<double>(made->minimum), expected.high);
  EXPECT_EQ(static_cast<double>(made->maximum), expected.low);
  EXPECT_EQ(static_cast<double>(made->lowest), expected.low);
  EXPECT_EQ(static_cast<double>(made->highest), expected.high);
  delete made;
}

TYPED_TEST(ExtremaKernelOf, DependsNeitherOnTheCutNorOnTheOrder) {
  oracle::Random random(1101);
  long const L = oracle::cLanes<TypeParam>;
  for (long nbCols : {1L, 2L, L - 1, L, L + 1, 2 * L, 3 * L + 1, 4 * L, 5 * L, 8 * L + 3, 13 * L - 1}) {
    if (nbCols < 1) continue;
    oracle::Five const sizes{nbCols, 5, 3, 1, 1};
    Source<TypeParam> const source(makeImage<TypeParam>(random, sizes));
    auto const expected = oracle::measureExtrema(source.expected, 0);
    for (Grains const& grains : {Grains{1, 1, 1}, Grains{3, 2, 1}, Grains{1000, 1, 1}, Grains{1000, 1000, 1000}}) {
      auto leaves = cutIntoLeaves(makeWhole(sizes, grains));
      for (int order = 0; order < 3; ++order) {
        auto const extrema = runLeaves(source, leaves);
        ASSERT_EQ(static_cast<double>(extrema.minimum), expected.minimum[0]) << nbCols << ' ' << order;
        ASSERT_EQ(static_cast<double>(extrema.maximum), expected.maximum[0]) << nbCols << ' ' << order;
        if (order == 0)
          std::reverse(leaves.begin(), leaves.end());
        else
          std::shuffle(leaves.begin(), leaves.end(), random.engine());
      }
    }
  }
}

// Each row once, as long as whole vectors; the last column's surplus is the border's.
TYPED_TEST(ExtremaKernelOf, ReadsEachRowOnceUpToWholeVectors) {
  oracle::Random random(1102);
  long const L = oracle::cLanes<TypeParam>;
  Source<TypeParam> const source(makeImage<TypeParam>(random, {2 * L + 1, 4, 3, 1, 1}));
  pxl::instrument::Recorder probe;
  runLeaves(source, {makeWhole({2 * L + 1, 4, 3, 1, 1})});
  EXPECT_EQ(probe.count("createRowCacheRead"), 1U);
  auto const reads = probe.getTrace("readRowAt");
  ASSERT_EQ(reads.size(), 12U);
  for (std::size_t i = 0; i < 12; ++i)
    EXPECT_EQ(reads[i].values,
              (std::vector<long>{3 * L, 0, static_cast<long>(i % 4), static_cast<long>(i / 4), 0, 0}));
}

// Leaves know nothing of each other: the reads of one are those of another, shifted.
TYPED_TEST(ExtremaKernelOf, ReadsAlikeInTheMiddleAndAtTheEdge) {
  oracle::Random random(1103);
  long const L = oracle::cLanes<TypeParam>;
  Source<TypeParam> const source(makeImage<TypeParam>(random, {3 * L, 9, 6, 1, 1}));
  auto const readsOf = [&source, L](long col, long row, long plan) {
    pxl::instrument::Recorder probe;
    runLeaves(source, {Block3d(plan, plan + 2, 1, row, row + 3, 1, col, col + L - 1, 1, 0, 0)});
    auto reads = probe.getTrace("readRowAt");
    std::vector<std::vector<long>> relative;
    for (auto const& read : reads)
      relative.push_back({read.values[0], read.values[1] - col, read.values[2] - row, read.values[3] - plan});
    return relative;
  };
  auto const inside = readsOf(L, 3, 2);
  EXPECT_EQ(inside.size(), 6U);
  EXPECT_EQ(readsOf(0, 0, 0), inside);
  EXPECT_EQ(readsOf(2 * L + 1, 6, 4), inside);
}

TYPED_TEST(ExtremaKernelOf, ReadsNoMoreOnceItsRangeIsFull) {
  long const L = oracle::cLanes<TypeParam>;
  oracle::Image<TypeParam> image({L, 4, 1, 1, 1});
  image.at({0, 1, 0, 0, 0}) = std::numeric_limits<TypeParam>::lowest();
  image.at({L - 1, 2, 0, 0, 0}) = std::numeric_limits<TypeParam>::max();
  Source<TypeParam> const source(image);
  auto const leaves = cutIntoLeaves(makeWhole({L, 4, 1, 1, 1}, {1L << 40, 1, 1}));
  ASSERT_EQ(leaves.size(), 4U);
  pxl::instrument::Recorder probe;
  Extrema<TypeParam> extrema;
  KernelInput<TypeParam> input{source.view};
  for (std::size_t i = 0; i < 4; ++i) extrema.run(leaves[i], input);
  EXPECT_EQ(probe.count("readRowAt"), 3U);
  EXPECT_EQ(probe.count("createRowCacheRead"), 3U);
  EXPECT_EQ(extrema.minimum, std::numeric_limits<TypeParam>::lowest());
  EXPECT_EQ(extrema.maximum, std::numeric_limits<TypeParam>::max());
  // Half a range isn't full, and another body's range says nothing.
  Extrema<TypeParam> halfFull, fresh;
  halfFull.minimum = std::numeric_limits<TypeParam>::lowest();
  probe.clear();
  halfFull.run(leaves[0], input);
  fresh.run(leaves[0], input);
  EXPECT_EQ(probe.count("readRowAt"), 2U);
}

// What one block gives, lane by lane: a new voxel comes second in each comparison, and wins unless the first is
// strictly better.
template <class T>
Extrema<T> modelOneBlock(oracle::Image<T> const& image) {
  constexpr long L = oracle::cLanes<T>;
  T low[L], high[L];
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
TYPED_TEST(ExtremaKernelOfReal, ForgetsALanesVoxelsAtANaN) {
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
  EXPECT_GT(nbForgotten, 50);  // the images do show the rule
}

// Zeros of both signs, infinities, NaN and numbers whose sums overflow, in every mixture and many lengths of rows.
TYPED_TEST(ExtremaKernelOfReal, GivesEachBitOfTheOrderedComparisons) {
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

TYPED_TEST(ExtremaKernelOfReal, KeepsTheStartingRangeOnNothingButNaN) {
  using T = TypeParam;
  oracle::Image<T> image({9, 4, 2, 1, 1});
  std::fill(image.voxels.begin(), image.voxels.end(), std::numeric_limits<T>::quiet_NaN());
  Source<T> const source(image);
  auto const extrema = runLeaves(source, {makeWhole(image.sizes)});
  EXPECT_EQ(extrema.minimum, std::numeric_limits<T>::max());
  EXPECT_EQ(extrema.maximum, std::numeric_limits<T>::lowest());
}

TYPED_TEST(ExtremaKernelOfReal, TakesInfinitiesAsTheComparisonsGive) {
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
  // A full finite range isn't looked beyond, an open one is.
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

TYPED_TEST(ExtremaKernelOfReal, KeepsTheFirstOfEqualZeros) {
  using T = TypeParam;
  for (T first : {T(0), T(-0.0)}) {
    oracle::Image<T> image({1, 2, 1, 1, 1});
    image.voxels = {first, -first};
    // Within a block the second operand comes out, between blocks the first stays.
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
