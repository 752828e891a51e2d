#include <tbb/parallel_for.h>
#include <tbb/parallel_reduce.h>

#include <array>
#include <atomic>
#include <cstring>
#include <type_traits>

#include "Core/private/Access/Block.h"
#include "oracle/Oracle.h"

namespace access_test {
namespace {

using pxl::access::Block;
using pxl::access::Block2d;
using pxl::access::Block3d;
using pxl::access::OverlapBorder;

static_assert(sizeof(Block) == sizeof(void*) && std::is_abstract_v<Block>);
static_assert(sizeof(Block2d) == 80 && sizeof(Block3d) == 96);
static_assert(std::is_constructible_v<Block2d, Block2d&, tbb::split>);
static_assert(std::is_constructible_v<Block3d, Block3d&, tbb::split>);
static_assert(std::is_copy_constructible_v<Block2d> && std::is_copy_assignable_v<Block2d>);
static_assert(std::is_copy_constructible_v<Block3d> && std::is_copy_assignable_v<Block3d>);

// The fields of a block after the pointer to its virtual table.
template <class AnyBlock>
auto readFields(AnyBlock const& block) {
  std::array<long, sizeof(AnyBlock) / sizeof(long) - 1> fields;
  std::memcpy(fields.data(), reinterpret_cast<char const*>(&block) + sizeof(void*), sizeof(fields));
  return fields;
}

// The virtual functions in the order of their slots, after the two destructors, called as compiled code calls them.
std::array<long, 15> callSlots(Block const& block) {
  using Slot = long (*)(Block const*);
  void** const slots = *reinterpret_cast<void** const*>(&block);
  std::array<long, 15> results;
  for (std::size_t i = 0; i < 15; ++i) results[i] = reinterpret_cast<Slot>(slots[2 + i])(&block);
  return results;
}

TEST(Block2d, HoldsItsFieldsInTheOrderOfTheContract) {
  Block2d const block(10, 17, 2, 30, 61, 4, 5, 6, 7);
  EXPECT_EQ(readFields(block), (std::array<long, 9>{17, 10, 2, 61, 30, 4, 5, 6, 7}));
  EXPECT_EQ(callSlots(block), (std::array<long, 15>{7, 10, 17, 31, 30, 61, 1, 5, 6, 1, 6, 7, 1, 7, 8}));
  EXPECT_EQ(block.getNumOfVoxels(), 7 * 31);
}

TEST(Block3d, HoldsItsFieldsInTheOrderOfTheContract) {
  Block3d const block(100, 113, 9, 10, 17, 2, 30, 61, 4, 6, 7);
  EXPECT_EQ(readFields(block), (std::array<long, 11>{113, 100, 9, 17, 10, 2, 61, 30, 4, 6, 7}));
  EXPECT_EQ(callSlots(block), (std::array<long, 15>{7, 10, 17, 31, 30, 61, 13, 100, 113, 1, 6, 7, 1, 7, 8}));
  EXPECT_EQ(block.getNumOfVoxels(), 7 * 31 * 13);
}

TEST(Block3d, CountsPastTheRangeOfInt) {
  EXPECT_EQ(Block3d(0, 2000, 1, 0, 2000, 1, 0, 2000, 1, 0, 0).getNumOfVoxels(), 8000000000L);
  EXPECT_EQ(Block2d(0, 3000000000L, 1, 0, 3, 1, 0, 0, 0).getNumOfVoxels(), 9000000000L);
}

TEST(Blocks, StartEmptyWithGrainsOfOne) {
  EXPECT_EQ(readFields(Block2d()), (std::array<long, 9>{0, 0, 1, 0, 0, 1, 0, 0, 0}));
  EXPECT_EQ(readFields(Block3d()), (std::array<long, 11>{0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0}));
  EXPECT_TRUE(Block2d().empty());
  EXPECT_TRUE(Block3d().empty());
  EXPECT_FALSE(Block2d().is_divisible());
  EXPECT_FALSE(Block3d().is_divisible());
}

TEST(Blocks, AreEmptyWhenAnyRangeIs) {
  for (int empty = 0; empty < 8; ++empty) {
    long const plans = empty & 1 ? 0 : 2, rows = empty & 2 ? 0 : 3, cols = empty & 4 ? 0 : 4;
    EXPECT_EQ(Block3d(5, 5 + plans, 1, 6, 6 + rows, 1, 7, 7 + cols, 1, 0, 0).empty(), empty != 0);
    EXPECT_EQ(Block2d(6, 6 + rows, 1, 7, 7 + cols, 1, 0, 0, 0).empty(), (empty & 6) != 0);
  }
}

TEST(Blocks, CopyEveryField) {
  Block2d const flat(10, 17, 2, 30, 61, 4, 5, 6, 7);
  Block2d flatCopy;
  flatCopy = flat;
  EXPECT_EQ(readFields(flatCopy), readFields(flat));
  EXPECT_EQ(readFields(Block2d(flat)), readFields(flat));
  Block3d const deep(100, 113, 9, 10, 17, 2, 30, 61, 4, 6, 7);
  Block3d deepCopy;
  deepCopy = deep;
  EXPECT_EQ(readFields(deepCopy), readFields(deep));
  EXPECT_EQ(readFields(Block3d(deep)), readFields(deep));
}

TEST(OverlapBorder, TakesTheInfluenceCrossed) {
  static_assert(sizeof(OverlapBorder) == 48);
  pxl::AlgoBorderInfluence const influence(10, 11, 12, 13, 14, 15, 0, 0, 0, 0);
  OverlapBorder const overlap(influence);
  std::array<unsigned long, 6> fields;
  std::memcpy(fields.data(), &overlap, sizeof(fields));
  // Rows, columns, plans; of each the low side, which holds back what is read towards higher indices, then the high.
  EXPECT_EQ(fields, (std::array<unsigned long, 6>{13, 12, 11, 10, 15, 14}));
  EXPECT_EQ(overlap.rowsBegin, 13U);
  EXPECT_EQ(overlap.rowsEnd, 12U);
  EXPECT_EQ(overlap.colsBegin, 11U);
  EXPECT_EQ(overlap.colsEnd, 10U);
  EXPECT_EQ(overlap.plansBegin, 15U);
  EXPECT_EQ(overlap.plansEnd, 14U);
}

TEST(OverlapBorder, HoldsNothingBackByDefault) {
  OverlapBorder const overlap;
  std::array<unsigned long, 6> fields;
  std::memcpy(fields.data(), &overlap, sizeof(fields));
  EXPECT_EQ(fields, (std::array<unsigned long, 6>{}));
}

// Every voxel of the block is in exactly one leaf, and with the simple partitioner no leaf is larger than its grains.
template <class Partitioner>
void expectTiling(Block3d const& block, bool isCutToGrains) {
  oracle::Five const sizes{block.getNbCols(), block.getNbRows(), block.getNbPlans(), 1, 1};
  std::vector<std::atomic<int>> visits(static_cast<unsigned long>(block.getNumOfVoxels()));
  std::atomic<int> nbDivisible{0}, nbForeign{0};
  auto const visit = [&](Block3d const& leaf) {
    if (leaf.is_divisible()) ++nbDivisible;
    if (leaf.sequence != block.sequence || leaf.spectralSeries != block.spectralSeries) ++nbForeign;
    for (long p = leaf.plansBegin(); p < leaf.plansEnd(); ++p)
      for (long r = leaf.rowsBegin(); r < leaf.rowsEnd(); ++r)
        for (long c = leaf.colsBegin(); c < leaf.colsEnd(); ++c)
          ++visits.at(static_cast<unsigned long>(
              ((p - block.plansBegin()) * sizes[1] + r - block.rowsBegin()) * sizes[0] + c - block.colsBegin()));
  };
  tbb::parallel_for(block, visit, Partitioner());
  for (auto const& count : visits) ASSERT_EQ(count, 1);
  EXPECT_EQ(nbForeign, 0);
  EXPECT_TRUE(nbDivisible == 0 || !isCutToGrains) << nbDivisible;
}

TEST(Blocks, TileTheRegionInAParallelLoop) {
  oracle::Random random(101);
  for (int i = 0; i < 60; ++i) {
    auto const any = [&random](long highest) { return random.number(1, highest); };
    long const p = random.number(-9, 9), r = random.number(-9, 9), c = random.number(-9, 9);
    Block3d const block(p, p + any(9), any(4), r, r + any(30), any(7), c, c + any(70), any(33), 3, 4);
    expectTiling<tbb::simple_partitioner>(block, true);
    expectTiling<tbb::auto_partitioner>(block, false);
  }
}

TEST(Blocks, CoverAPlanInAParallelReduction) {
  struct Sum {
    Sum() = default;
    Sum(Sum&, tbb::split) {}
    void operator()(Block2d const& leaf) {
      for (long r = leaf.rowsBegin(); r < leaf.rowsEnd(); ++r)
        for (long c = leaf.colsBegin(); c < leaf.colsEnd(); ++c) value += r * 1000 + c;
    }
    void join(Sum const& right) { value += right.value; }
    long value = 0;
  };
  Sum sum;
  tbb::parallel_reduce(Block2d(3, 60, 2, 5, 90, 3, 0, 0, 0), sum);
  long expected = 0;
  for (long r = 3; r < 60; ++r)
    for (long c = 5; c < 90; ++c) expected += r * 1000 + c;
  EXPECT_EQ(sum.value, expected);
}

}  // namespace
}  // namespace access_test
