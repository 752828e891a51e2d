#include <array>
#include <climits>

#include "Core/private/Access/Block.h"
#include "oracle/Oracle.h"

namespace access_test {
namespace {

using pxl::access::Block2d;
using pxl::access::Block3d;

struct Interval {
  long begin, end, grain;
};
bool operator==(Interval const& a, Interval const& b) {
  return a.begin == b.begin && a.end == b.end && a.grain == b.grain;
}

// Plans, rows, columns: from the slowest to the fastest.
using Box = std::array<Interval, 3>;

Block3d makeBlock3d(Box const& b) {
  return Block3d(b[0].begin, b[0].end, b[0].grain, b[1].begin, b[1].end, b[1].grain, b[2].begin, b[2].end, b[2].grain,
                 8, 9);
}
Block2d makeBlock2d(Box const& b) {
  return Block2d(b[1].begin, b[1].end, b[1].grain, b[2].begin, b[2].end, b[2].grain, 7, 8, 9);
}
template <class T>
Interval toInterval(T const& range) {
  return {range.begin, range.end, range.grain};
}

// The dimension that is longest in grains, the slowest of equals; in exact whole numbers.
std::size_t chooseDimension(Box const& box, std::size_t slowest) {
  std::size_t best = slowest;
  for (std::size_t d = slowest + 1; d < 3; ++d) {
    __extension__ using Wide = __int128;
    Wide const size = box[d].end - box[d].begin, bestSize = box[best].end - box[best].begin;
    if (size * box[best].grain > bestSize * box[d].grain) best = d;
  }
  return best;
}

struct Halves {
  Box low, high;
};

Halves halve(Box const& box, std::size_t slowest) {
  Halves halves{box, box};
  std::size_t const d = chooseDimension(box, slowest);
  // The low part gets one for each two.
  long middle = box[d].begin;
  for (long left = box[d].end - box[d].begin; left >= 2; left -= 2) ++middle;
  halves.low[d].end = middle;
  halves.high[d].begin = middle;
  return halves;
}

void expectHalves3d(Box const& box) {
  Halves const expected = halve(box, 0);
  Block3d source = makeBlock3d(box);
  Block3d const upper(source, tbb::split());
  Block3d const* const blocks[] = {&source, &upper};
  for (int i = 0; i < 2; ++i) {
    Box const& part = i == 0 ? expected.low : expected.high;
    EXPECT_EQ(toInterval(blocks[i]->plans), part[0]) << i;
    EXPECT_EQ(toInterval(blocks[i]->rows), part[1]) << i;
    EXPECT_EQ(toInterval(blocks[i]->cols), part[2]) << i;
    EXPECT_EQ(blocks[i]->sequence, 8);
    EXPECT_EQ(blocks[i]->spectralSeries, 9);
  }
}

void expectHalves2d(Box const& box) {
  Halves const expected = halve(box, 1);
  Block2d source = makeBlock2d(box);
  Block2d const upper(source, tbb::split());
  Block2d const* const blocks[] = {&source, &upper};
  for (int i = 0; i < 2; ++i) {
    Box const& part = i == 0 ? expected.low : expected.high;
    EXPECT_EQ(toInterval(blocks[i]->rows), part[1]) << i;
    EXPECT_EQ(toInterval(blocks[i]->cols), part[2]) << i;
    EXPECT_EQ(blocks[i]->plan, 7);
    EXPECT_EQ(blocks[i]->sequence, 8);
    EXPECT_EQ(blocks[i]->spectralSeries, 9);
  }
}

// Small numbers, so that ties between dimensions are common.
Box makeRandomBox(oracle::Random& random, long highestSize, long highestGrain) {
  Box box;
  for (Interval& range : box) {
    long const begin = random.number(-20, 20);
    range = {begin, begin + random.number(1, highestSize), random.number(1, highestGrain)};
  }
  return box;
}

TEST(BlockHalving, TakesTheLongestDimensionInGrains) {
  oracle::Random random(201);
  for (int i = 0; i < 20000 && !testing::Test::HasFailure(); ++i) {
    Box const box = i % 2 ? makeRandomBox(random, 6, 3) : makeRandomBox(random, 500, 40);
    expectHalves3d(box);
    expectHalves2d(box);
  }
}

TEST(BlockHalving, GivesTiesToTheSlowerDimension) {
  Block2d flat(0, 8, 2, 0, 12, 3, 0, 0, 0);
  Block2d const flatUpper(flat, tbb::split());
  EXPECT_EQ(flat.getNbRows(), 4);
  EXPECT_EQ(flat.getNbCols(), 12);
  EXPECT_EQ(flatUpper.rowsBegin(), 4);
  Block3d deep(0, 4, 1, 0, 8, 2, 0, 12, 3, 0, 0);
  Block3d const deepUpper(deep, tbb::split());
  EXPECT_EQ(deep.getNbPlans(), 2);
  EXPECT_EQ(deepUpper.plansBegin(), 2);
  Block3d rowsAndCols(0, 3, 1, 0, 8, 2, 0, 12, 3, 0, 0);
  Block3d const rowsUpper(rowsAndCols, tbb::split());
  EXPECT_EQ(rowsAndCols.getNbRows(), 4);
  EXPECT_EQ(rowsUpper.getNbCols(), 12);
}

TEST(BlockHalving, CutsThreeIntoOneAndTwo) {
  Block2d block(10, 11, 1, 20, 23, 1, 0, 0, 0);
  Block2d const upper(block, tbb::split());
  EXPECT_EQ(block.colsBegin(), 20);
  EXPECT_EQ(block.colsEnd(), 21);
  EXPECT_EQ(upper.colsBegin(), 21);
  EXPECT_EQ(upper.colsEnd(), 23);
}

TEST(BlockHalving, NarrowBlocksAreCutAlongTheirOnlyLength) {
  for (long length = 2; length < 40; ++length) {
    Block2d wide(0, 1, 1, 0, length, 1, 0, 0, 0), tall(0, length, 1, 0, 1, 1, 0, 0, 0);
    Block2d const wideUpper(wide, tbb::split()), tallUpper(tall, tbb::split());
    EXPECT_EQ(wide.getNbCols(), length / 2);
    EXPECT_EQ(wideUpper.getNbCols(), length - length / 2);
    EXPECT_EQ(wideUpper.getNbRows(), 1);
    EXPECT_EQ(tall.getNbRows(), length / 2);
    EXPECT_EQ(tallUpper.getNbRows(), length - length / 2);
    EXPECT_EQ(tallUpper.getNbCols(), 1);
  }
}

TEST(BlockHalving, DividesWhileAnyDimensionExceedsItsGrain) {
  oracle::Random random(202);
  for (int i = 0; i < 20000 && !testing::Test::HasFailure(); ++i) {
    Box const box = makeRandomBox(random, 12, 12);
    auto const exceeds = [&box](std::size_t d) { return box[d].end - box[d].begin > box[d].grain; };
    EXPECT_EQ(makeBlock3d(box).is_divisible(), exceeds(0) || exceeds(1) || exceeds(2));
    EXPECT_EQ(makeBlock2d(box).is_divisible(), exceeds(1) || exceeds(2));
    if (!exceeds(0) && !exceeds(1) && !exceeds(2)) continue;
    // A dimension at its grain size isn't split as long as another one can be.
    Block3d source = makeBlock3d(box);
    Block3d const upper(source, tbb::split());
    EXPECT_TRUE(exceeds(0) || source.getNbPlans() == box[0].end - box[0].begin);
    EXPECT_TRUE(exceeds(1) || source.getNbRows() == box[1].end - box[1].begin);
    EXPECT_TRUE(exceeds(2) || source.getNbCols() == box[2].end - box[2].begin);
    EXPECT_EQ(source.getNumOfVoxels() + upper.getNumOfVoxels(), makeBlock3d(box).getNumOfVoxels());
  }
}

TEST(BlockHalving, RoundsTheMiddleToNothing) {
  // 16 lanes of bytes or not: 37 columns are cut at 18.
  Block2d block(0, 1, 1, 5, 42, 16, 0, 0, 0);
  Block2d const upper(block, tbb::split());
  EXPECT_EQ(block.colsEnd(), 23);
  EXPECT_EQ(upper.colsBegin(), 23);
  EXPECT_EQ(upper.cols.grain, 16);
  EXPECT_EQ(block.cols.grain, 16);
}

// Sizes that differ only beyond the 53 bits of a double are equal, and equal sizes cut the slower dimension.
TEST(BlockHalving, ComparesInDouble) {
  constexpr long cLarge = 1L << 53;
  Block2d flat(0, cLarge, 1, 0, cLarge + 1, 1, 0, 0, 0);
  Block2d const flatUpper(flat, tbb::split());
  EXPECT_EQ(flat.getNbRows(), cLarge / 2);
  EXPECT_EQ(flatUpper.getNbCols(), cLarge + 1);
  Block3d deep(0, cLarge, 1, 0, cLarge + 1, 1, 0, 1, 1, 0, 0);
  Block3d const deepUpper(deep, tbb::split());
  EXPECT_EQ(deep.getNbPlans(), cLarge / 2);
  EXPECT_EQ(deepUpper.getNbRows(), cLarge + 1);
  // The products are computed in double, too: in 64 bits they would wrap to 0 and 16.
  Block2d product(0, 1L << 40, 1L << 4, 0, 1L << 60, 1L << 10, 0, 0, 0);
  Block2d const productUpper(product, tbb::split());
  EXPECT_EQ(product.getNbCols(), 1L << 59);
  EXPECT_EQ(productUpper.getNbRows(), 1L << 40);
}

TEST(BlockHalving, TakesSizesAndGrainsAsUnsigned) {
  // A size of 2^63.
  Block2d huge(0, 10, 1, 0, LONG_MIN, 1, 0, 0, 0);
  EXPECT_TRUE(huge.is_divisible());
  Block2d const upper(huge, tbb::split());
  EXPECT_EQ(huge.colsEnd(), 1L << 62);
  EXPECT_EQ(upper.colsBegin(), 1L << 62);
  EXPECT_EQ(upper.colsEnd(), LONG_MIN);
  EXPECT_EQ(huge.getNbRows(), 10);
  // A grain of 2^64 - 1.
  Block3d coarse(0, 10, -1, 0, 5, -1, 0, 3, 1, 0, 0);
  EXPECT_TRUE(coarse.is_divisible());
  Block3d const coarseUpper(coarse, tbb::split());
  EXPECT_EQ(coarse.getNbCols(), 1);
  EXPECT_EQ(coarseUpper.getNbPlans(), 10);
  EXPECT_FALSE(Block3d(0, 10, -1, 0, 5, -1, 0, 3, -1, 0, 0).is_divisible());
}

}  // namespace
}  // namespace access_test
