// The kernel alone, on leaves that the test splits and orders.
#include <algorithm>
#include <cstddef>
#include <limits>

#include "analysis/support/Leaves.h"
#include "oracle/VoxelTypeTests.h"

namespace analysis_test {
namespace {

template <class T>
class ExtremaKernelOf : public testing::Test {};
TEST_TYPES(ExtremaKernelOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

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

TEST_OF_TYPES(ExtremaKernelOf, IsARecordOfFourVoxelsThatStartsInverted) {
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

TEST_OF_TYPES(ExtremaKernelOf, DependsNeitherOnTheCutNorOnTheOrder) {
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
TEST_OF_TYPES(ExtremaKernelOf, ReadsEachRowOnceUpToWholeVectors) {
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

// Leaves are independent: the reads of one are those of another, shifted.
TEST_OF_TYPES(ExtremaKernelOf, ReadsAlikeInTheMiddleAndAtTheEdge) {
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

TEST_OF_TYPES(ExtremaKernelOf, ReadsNoMoreOnceItsRangeIsFull) {
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
  // Half a range isn't full, and another body's range doesn't count.
  Extrema<TypeParam> halfFull, fresh;
  halfFull.minimum = std::numeric_limits<TypeParam>::lowest();
  probe.clear();
  halfFull.run(leaves[0], input);
  fresh.run(leaves[0], input);
  EXPECT_EQ(probe.count("readRowAt"), 2U);
}

}  // namespace
}  // namespace analysis_test
