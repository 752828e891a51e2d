// The neighbourhood of any list of offsets in a volume.
#include <algorithm>
#include <random>

#include "access/support/Neighbours.h"

namespace access_test {
namespace {

template <class T>
class ListIterator3dOf : public Neighbours3dOf<T> {
 protected:
  using Iterator = pxl::access::IteratorNeighborhood3D_Gen<pxl::access::View<T>, Neighbours3dOf<T>::L>;

  // The origin alone; without it; all to the right; to the left, above and before; behind; plans -2 and 2 alone;
  // duplicates; a single plan; a single offset; the faces; wider than a block.
  std::vector<Offsets3d> makeLists() {
    std::vector<Offsets3d> lists{{{0, 0, 0}},
                                 {{-1, -1, -1}, {1, 1, 1}, {2, 0, 0}},
                                 {{2, 0, 0}, {5, 1, 1}, {3, 0, 1}},
                                 {{-4, -3, -2}, {-1, -2, -1}},
                                 {{0, 1, 3}, {1, 1, 2}},
                                 {{0, 0, -2}, {0, 0, 2}},
                                 {{1, 0, 1}, {1, 0, 1}, {-1, 1, 0}, {1, 0, 1}},
                                 {{-3, 1, 1}, {4, -1, 1}, {0, 1, 1}},
                                 {{2, -3, -4}},
                                 this->toOffsets(oracle::getCubeOffsets(1)),
                                 {{-60, 0, 9}, {70, 12, 0}}};
    oracle::Random random(741);
    for (int i = 0; i < 4; ++i) {
      Offsets3d list;
      for (long count = random.number(1, 10); count > 0; --count)
        list.push_back({random.number(-6, 6), random.number(-4, 4), random.number(-3, 3)});
      lists.push_back(list);
    }
    return lists;
  }
};
TEST_TYPES(ListIterator3dOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(ListIterator3dOf, PointsAtEachNeighbourAtEveryStep) {
  long const nbLanes = this->L;
  for (Offsets3d const& offsets : this->makeLists())
    for (bool isFixed : {false, true})
      for (long nbCols : {1L, nbLanes - 1, nbLanes, nbLanes + 1, 2 * nbLanes, 2 * nbLanes + 1})
        for (Block3d const& block : this->makeBlocks(nbCols)) {
          typename TestFixture::Iterator iterator((isFixed ? this->m_fixed : this->m_clamped).view, offsets);
          ASSERT_TRUE(this->isRightThroughout(iterator, offsets, isFixed, block));
        }
}

TEST_OF_TYPES(ListIterator3dOf, FetchesEachPlanOfItsSpanOnce) {
  for (Offsets3d const& offsets : this->makeLists()) {
    Reach3d const reach(offsets);
    for (Block3d const& block : this->makeBlocks(this->L + 1)) {
      pxl::instrument::Recorder recorder;
      typename TestFixture::Iterator iterator(this->m_clamped.view, offsets);
      ASSERT_EQ(recorder.count("createPlanCacheRead"), 1U);
      EXPECT_EQ(recorder.getTrace("createPlanCacheRead")[0].values,
                std::vector<long>{reach.highest[2] - reach.lowest[2] + 1});
      EXPECT_EQ(recorder.count("readRowAt"), 0U);
      ASSERT_TRUE(this->readsEachPlanOnce(recorder, iterator, offsets, block));
    }
  }
}

TEST_OF_TYPES(ListIterator3dOf, HoldsAllPlansBetweenTwoFarOnes) {
  pxl::instrument::Recorder recorder;
  typename TestFixture::Iterator iterator(this->m_clamped.view, Offsets3d{{0, 0, 2}, {0, 0, -2}});
  EXPECT_EQ(recorder.getTrace("createPlanCacheRead").at(0).values, std::vector<long>{5});
}

TEST_OF_TYPES(ListIterator3dOf, RefillsTheBuffersOfASinglePlan) {
  typename TestFixture::Iterator iterator(this->m_clamped.view, Offsets3d{{3, 1, 1}, {-2, 1, 1}});
  iterator.init(this->makeBlock({2, 1, 0}, {this->L, 2, 4}));
  auto const neighbours = iterator.neighbours;
  EXPECT_EQ(neighbours[0], neighbours[1] + 5);
  for (int plan = 0; plan < 3; ++plan) {
    iterator.advance();
    EXPECT_NE(iterator.neighbours, neighbours);
    iterator.advance();
    EXPECT_EQ(iterator.neighbours, neighbours);
  }
}

TEST_OF_TYPES(ListIterator3dOf, ReadsTheSameInAnyOrderOfTheOffsets) {
  oracle::Random random(742);
  Block3d const block = this->makeBlock({2, 3, 1}, {this->L + 2, 2, 3});
  for (Offsets3d const& offsets : this->makeLists()) {
    Offsets3d shuffled = offsets;
    std::shuffle(shuffled.begin(), shuffled.end(), random.engine());
    std::vector<std::vector<long>> reads[2];
    for (int i = 0; i < 2; ++i) {
      Offsets3d const& list = i == 0 ? offsets : shuffled;
      pxl::instrument::Recorder recorder;
      typename TestFixture::Iterator iterator(this->m_fixed.view, list);
      ASSERT_TRUE(this->isRightThroughout(iterator, list, true, block));
      reads[i] = getReads(recorder);
    }
    EXPECT_EQ(reads[0], reads[1]);
  }
}

TEST_OF_TYPES(ListIterator3dOf, KeepsItsOwnCopiesOfListAndBlock) {
  Offsets3d const expected{{-1, 2, 1}, {3, 0, 0}, {0, -1, -1}};
  Block3d const expectedBlock = this->makeBlock({1, 2, 1}, {this->L, 2, 3});
  Offsets3d offsets = expected;
  Block3d block = expectedBlock;
  typename TestFixture::Iterator iterator(this->m_clamped.view, offsets);
  offsets.assign({{9, 9, 9}});
  iterator.init(block);
  block = Block3d();
  iterator.advance();
  iterator.advance();
  EXPECT_TRUE(this->isAt(iterator, expected, false, expectedBlock, {0, 0, 1}));
}

TEST_OF_TYPES(ListIterator3dOf, ServesOneBlockAfterTheOther) {
  Offsets3d const offsets{{2, 1, -1}, {-1, -1, 1}};
  typename TestFixture::Iterator iterator(this->m_fixed.view, offsets);
  for (long nbCols : {2 * this->L + 1, 1L, this->L + 1})
    for (Block3d const& block : this->makeBlocks(nbCols))
      ASSERT_TRUE(this->isRightThroughout(iterator, offsets, true, block));
}

TEST_OF_TYPES(ListIterator3dOf, SkipsToTheNextRowFromAnyVectorAndHoldsStillAtTheEnd) {
  Offsets3d const offsets{{2, 1, 1}, {-1, -1, -1}};
  for (long nbSkipped : {0L, 1L, 2L}) {
    Block3d const block = this->makeBlock({2, 3, 1}, {2 * this->L + 1, 2, 3});
    typename TestFixture::Iterator iterator(this->m_fixed.view, offsets);
    iterator.init(block);
    for (long row = 1; row < 6; ++row) {
      for (long i = 0; i < nbSkipped; ++i) iterator.advance();
      iterator.advanceRow();
      ASSERT_TRUE(this->isAt(iterator, offsets, true, block, {0, row % 2, row / 2})) << nbSkipped;
    }
    auto const neighbours = iterator.neighbours;
    pxl::instrument::Recorder recorder;
    iterator.advanceRow();
    EXPECT_EQ(iterator.plan, 3);
    EXPECT_EQ(iterator.neighbours, neighbours);
    EXPECT_EQ(recorder.count("readRowAt"), 0U);
  }
}

TEST_OF_TYPES(ListIterator3dOf, TellsHowFarItReaches) {
  struct {
    Offsets3d offsets;
    unsigned long extents[6];  // columns before and after, rows before and after, plans before and after
  } const cases[] = {{{{0, 0, -1}, {0, 0, 2}}, {0, 0, 0, 0, 1, 2}},
                     {{{0, 0, 0}}, {0, 0, 0, 0, 0, 0}},
                     {{{-2, 0, 1}, {1, 3, 4}}, {2, 1, 0, 3, 0, 4}},
                     {{{-4, -3, -5}, {-1, -2, -2}}, {4, 0, 3, 0, 5, 0}},
                     {{{3, -2, 0}}, {0, 3, 2, 0, 0, 0}},
                     {{{-7, 2, 3}, {-1, -6, -8}, {4, 0, 0}}, {7, 4, 6, 2, 8, 3}}};
  pxl::DirectionTypes const directions[] = {pxl::cColumnsBefore, pxl::cColumnsAfter, pxl::cRowsBefore,
                                            pxl::cRowsAfter,     pxl::cPlansBefore,  pxl::cPlansAfter};
  for (auto const& [offsets, extents] : cases) {
    typename TestFixture::Iterator const iterator(this->m_clamped.view, offsets);
    auto const influence = iterator.getBorderInfluence();
    for (int i = 0; i < 6; ++i) EXPECT_EQ(influence.getNumOfVoxels(directions[i]), extents[i]) << i;
  }
}

}  // namespace
}  // namespace access_test
