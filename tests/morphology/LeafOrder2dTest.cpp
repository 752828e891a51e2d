// Passes in place, block by block in any order: no block may see what a pass has already written.
#include <algorithm>
#include <random>

#include "support/Kernels2d.h"
#include "support/WriteWatch.h"

namespace morphology_test {
namespace {

template <class T>
class LeafOrder2d : public testing::Test {
 protected:
  static constexpr long L = oracle::cLanes<T>;
  oracle::Random m_random{271};
  oracle::Image<T> const m_image = m_random.image<T>({2 * L + 7, 10, 1, 1, 1});

  // The leaves of several cuts, each in its own order, from the end, and twice at random.
  std::vector<std::vector<Block2d>> makeOrders() {
    std::vector<std::vector<Block2d>> orders;
    for (auto const& [nbCols, nbRows] : {std::pair{1L, 1L}, {5L, 3L}, {L, 1L}, {3L, 99L}, {99L, 2L}, {99L, 99L}}) {
      orders.push_back(cutPlan(m_image.sizes, nbCols, nbRows));
      orders.push_back(orders.back());
      std::reverse(orders.back().begin(), orders.back().end());
      for (int i = 0; i < 2; ++i) {
        orders.push_back(orders.back());
        std::shuffle(orders.back().begin(), orders.back().end(), m_random.engine());
      }
    }
    return orders;
  }

  template <class Functor, class Kernel>
  void expectRightInAnyOrder(Kernel const& kernel, oracle::Image<T> const& expected) {
    for (bool isInPlace : {true, false})
      for (auto const& blocks : makeOrders()) {
        HandRun<T> pass(m_image, isInPlace, Functor::template cNeutral<T>);
        WriteWatch watch(m_image.sizes);
        for (Block2d const& block : blocks) kernel.run(block, pass.context);
        if (isInPlace) {
          ASSERT_EQ(watch.countWrittenRead(), 0) << blocks.size() << " blocks";
        }
        ASSERT_GT(watch.countRead(), 0);
        // What is held back isn't written before all blocks are done, and then everything is.
        if (!isInPlace || blocks.size() == 1) {
          ASSERT_EQ(watch.countWritten(), m_image.sizes[0] * m_image.sizes[1]);
        }
        pass.context.output->writeAllTemporizedRows();
        ASSERT_EQ(watch.countWritten(), m_image.sizes[0] * m_image.sizes[1]);
        ASSERT_TRUE(areEqual(pass.getOutput(), expected)) << blocks.size() << " blocks";
      }
  }

  template <class Functor>
  void expectAllKernelsRight() {
    constexpr Operation cOperation = cOperationOf<Functor>;
    expectRightInAnyOrder<Functor>(Cross<Functor>(), oracle::applyCross(m_image, cOperation));
    expectRightInAnyOrder<Functor>(Square<Functor, T>(), oracle::applySquare(m_image, cOperation));
    for (Offsets const& offsets : makeLists())
      expectRightInAnyOrder<Functor>(General<Functor>(offsets), applyListTimes(m_image, cOperation, offsets, 1));
  }
};
TEST_TYPES(LeafOrder2d, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(LeafOrder2d, DoesNotMatterForDilations) { this->template expectAllKernelsRight<DilationFunctor>(); }

TEST_OF_TYPES(LeafOrder2d, DoesNotMatterForErosions) { this->template expectAllKernelsRight<ErosionFunctor>(); }

// Lists that lie two rows above or more: in blocks of a single row nothing of the block itself is read.
TEST_OF_TYPES(LeafOrder2d, OfSingleRowsDoesNotMatterForListsFarAbove) {
  for (Offsets const& offsets : {Offsets{{0, -2}}, {{-4, -5}, {3, -3}}, {{6, -7}}})
    for (bool isReversed : {false, true}) {
      auto blocks = cutPlan(this->m_image.sizes, 4, 1);
      if (isReversed) std::reverse(blocks.begin(), blocks.end());
      HandRun<TypeParam> pass(this->m_image, true, DilationFunctor::cNeutral<TypeParam>);
      WriteWatch watch(this->m_image.sizes);
      General<DilationFunctor> const kernel(offsets);
      for (Block2d const& block : blocks) kernel.run(block, pass.context);
      EXPECT_EQ(watch.countWrittenRead(), 0);
      pass.context.output->writeAllTemporizedRows();
      EXPECT_TRUE(areEqual(pass.getOutput(), applyListTimes(this->m_image, Operation::cDilation, offsets, 1)));
    }
}

// One voxel on each side that has a neighbour, and nothing else.
TEST_OF_TYPES(LeafOrder2d, OfCrossAndSquareHoldsBackOneVoxelTowardsEachNeighbour) {
  Five const sizes{30, 24, 1, 1, 1};
  Block2d const inner(8, 16, 1, 10, 20, 1, 0, 0, 0), corner(0, 8, 1, 0, 10, 1, 0, 0, 0);
  for (auto const& [block, nbExpected] : {std::pair{inner, 8 * 6}, {corner, 9 * 7}})
    for (bool isSquare : {false, true}) {
      HandRun<TypeParam> pass(oracle::Image<TypeParam>(sizes), true, TypeParam(0));
      WriteWatch watch(sizes);
      if (isSquare)
        Square<DilationFunctor, TypeParam>().run(block, pass.context);
      else
        Cross<DilationFunctor>().run(block, pass.context);
      EXPECT_EQ(watch.countWritten(), nbExpected) << (isSquare ? "square" : "cross");
    }
}

// How many voxels of a block lie where a neighbouring block reads.
TEST_OF_TYPES(LeafOrder2d, HoldsBackNoMoreThanNeighboursRead) {
  Five const sizes{30, 24, 1, 1, 1};
  Block2d const inner(8, 16, 1, 10, 20, 1, 0, 0, 0), corner(0, 8, 1, 0, 10, 1, 0, 0, 0);
  struct {
    Offsets offsets;
    long nbOfInner, nbOfCorner;  // written at once
  } const cases[] = {{{{0, 0}}, 80, 80},         {{{-1, -1}, {1, 1}}, 8 * 6, 9 * 7},
                     {{{3, 0}}, 7 * 8, 10 * 8},  // the block to the left reads the first three columns
                     {{{-3, 0}}, 7 * 8, 7 * 8},  // the block to the right reads the last three
                     {{{0, 2}}, 10 * 6, 10 * 8}, {{{0, -1}}, 10 * 7, 10 * 7},
                     {{{11, 0}}, 0, 80}};
  for (auto const& [offsets, nbOfInner, nbOfCorner] : cases)
    for (auto const& [block, nbExpected] : {std::pair{inner, nbOfInner}, {corner, nbOfCorner}}) {
      HandRun<TypeParam> pass(oracle::Image<TypeParam>(sizes), true, TypeParam(0));
      WriteWatch watch(sizes);
      General<DilationFunctor>(offsets).run(block, pass.context);
      EXPECT_EQ(watch.countWritten(), nbExpected) << offsets[0].col << ", " << offsets[0].row;
    }
}

}  // namespace
}  // namespace morphology_test
