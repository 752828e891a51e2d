// The neighbourhoods of faces, and of faces and edges.
#include <stdexcept>

#include "access/support/Neighbours.h"

namespace access_test {
namespace {

template <class T>
class FixedNeighbourhood3dOf : public Neighbours3dOf<T> {
 protected:
  static constexpr long L = Neighbours3dOf<T>::L;
  using Six = pxl::access::IteratorNeighborhood3D_6<pxl::access::View<T>, L>;
  using Eighteen = pxl::access::IteratorNeighborhood3D_18<pxl::access::View<T>, L>;

  // Calls check(makeIterator, offsets), the offsets in the order of the pointers: plan by plan, row by row.
  template <class Check>
  void forBoth(Check&& check) const {
    auto const viewOf = [this](bool isFixed) { return (isFixed ? this->m_fixed : this->m_clamped).view; };
    check([&](bool isFixed = false) { return Six(viewOf(isFixed), pxl::access::NoDataType()); },
          this->toOffsets(oracle::getCubeOffsets(1)));
    check([&](bool isFixed = false) { return Eighteen(viewOf(isFixed), pxl::access::NoDataType()); },
          this->toOffsets(oracle::getCubeOffsets(2)));
  }

  // Where in the list the voxels straight before, at and behind the current one are.
  static std::array<unsigned long, 3> getAxis(Offsets3d const& offsets) {
    return offsets.size() == 7 ? std::array<unsigned long, 3>{0, 3, 6} : std::array<unsigned long, 3>{2, 9, 16};
  }
};
TEST_TYPES(FixedNeighbourhood3dOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(FixedNeighbourhood3dOf, HasSevenPointersOrNineteen) {
  std::vector<unsigned long> counts;
  this->forBoth([&](auto const& makeIterator, Offsets3d const& offsets) {
    auto const iterator = makeIterator();
    EXPECT_EQ(iterator.neighbours.size(), offsets.size());
    counts.push_back(iterator.neighbours.size());
  });
  EXPECT_EQ(counts, (std::vector<unsigned long>{7, 19}));
}

TEST_OF_TYPES(FixedNeighbourhood3dOf, PointsAtItsVoxelsAtEveryStep) {
  this->forBoth([&](auto const& makeIterator, Offsets3d const& offsets) {
    for (bool isFixed : {false, true})
      for (long nbCols = 1; nbCols <= 2 * this->L + 1; ++nbCols)
        for (Block3d const& block : this->makeBlocks(nbCols)) {
          auto iterator = makeIterator(isFixed);
          ASSERT_TRUE(this->isRightThroughout(iterator, offsets, isFixed, block));
        }
  });
}

TEST_OF_TYPES(FixedNeighbourhood3dOf, MakesOneCacheOfThreePlansAndReadsNothingYet) {
  this->forBoth([&](auto const& makeIterator, Offsets3d const&) {
    pxl::instrument::Recorder recorder;
    auto const iterator = makeIterator();
    ASSERT_EQ(recorder.count("createPlanCacheRead"), 1U);
    EXPECT_EQ(recorder.getTrace("createPlanCacheRead")[0].values, std::vector<long>{3});
    EXPECT_EQ(recorder.count("createRowCacheRead"), 0U);
    EXPECT_EQ(recorder.count("readRowAt"), 0U);
  });
}

TEST_OF_TYPES(FixedNeighbourhood3dOf, FetchesEachPlanOnceWithAMarginOnAllSides) {
  this->forBoth([&](auto const& makeIterator, Offsets3d const& offsets) {
    for (long nbCols : {1L, this->L, this->L + 1})
      for (Block3d const& block : this->makeBlocks(nbCols)) {
        pxl::instrument::Recorder recorder;
        auto iterator = makeIterator();
        ASSERT_TRUE(this->readsEachPlanOnce(recorder, iterator, offsets, block)) << nbCols << " columns";
      }
  });
}

TEST_OF_TYPES(FixedNeighbourhood3dOf, AsksForThePlanBeforeTheImage) {
  this->forBoth([&](auto const& makeIterator, Offsets3d const&) {
    pxl::instrument::Recorder recorder;
    auto iterator = makeIterator(true);
    iterator.init(this->makeBlock({2, 1, 0}, {3, 2, 2}));
    auto const reads = getReads(recorder);
    ASSERT_EQ(reads.size(), 12U);
    for (unsigned long i = 0; i < 12; ++i)
      EXPECT_EQ(reads[i], (std::vector<long>{5, 1, static_cast<long>(i % 4), static_cast<long>(i / 4) - 1, 1, 0}));
    auto const before = this->getAxis(Offsets3d(iterator.neighbours.size()))[0];
    for (long lane = 0; lane < 3 && lane < this->L; ++lane)
      EXPECT_EQ(iterator.neighbours[before][lane], cBeyond<TypeParam>);
  });
}

TEST_OF_TYPES(FixedNeighbourhood3dOf, ReadsNineRowsOfThreeForASingleVoxel) {
  this->forBoth([&](auto const& makeIterator, Offsets3d const& offsets) {
    pxl::instrument::Recorder recorder;
    Block3d const block = this->makeBlock({4, 3, 2}, {1, 1, 1});
    auto iterator = makeIterator();
    ASSERT_TRUE(this->isRightThroughout(iterator, offsets, false, block));
    auto const reads = getReads(recorder);
    ASSERT_EQ(reads.size(), 9U);
    for (auto const& read : reads) EXPECT_EQ(read[0], 3);
  });
}

// The plan before gives its buffers to the new plan after, and no voxel is copied.
TEST_OF_TYPES(FixedNeighbourhood3dOf, RollsThreePlans) {
  this->forBoth([&](auto const& makeIterator, Offsets3d const& offsets) {
    auto const [before, centre, after] = this->getAxis(offsets);
    auto iterator = makeIterator();
    iterator.init(this->makeBlock({3, 1, 0}, {this->L, 2, 5}));
    for (int plan = 0; plan < 4; ++plan) {
      auto const old = iterator.neighbours;
      iterator.advance();
      iterator.advance();
      ASSERT_EQ(iterator.plan, plan + 1);
      EXPECT_EQ(iterator.neighbours[before], old[centre]);
      EXPECT_EQ(iterator.neighbours[centre], old[after]);
      EXPECT_EQ(iterator.neighbours[after], old[before]);
    }
  });
}

TEST_OF_TYPES(FixedNeighbourhood3dOf, KeepsItsRingAfterTheLastPlan) {
  this->forBoth([&](auto const& makeIterator, Offsets3d const&) {
    for (long nbPlans : {1L, 3L}) {
      auto iterator = makeIterator();
      iterator.init(this->makeBlock({0, 2, 1}, {2, 2, nbPlans}));
      for (long row = 1; row < 2 * nbPlans; ++row) iterator.advanceRow();
      auto const neighbours = iterator.neighbours;
      pxl::instrument::Recorder recorder;
      iterator.advance();
      EXPECT_EQ(iterator.plan, nbPlans);
      EXPECT_EQ(iterator.neighbours, neighbours);
      EXPECT_EQ(recorder.count("readRowAt"), 0U);
    }
  });
}

// The functions with which kernels walk a row with their own pointers.
TEST_OF_TYPES(FixedNeighbourhood3dOf, SkipsToTheNextRowFromAnyVector) {
  this->forBoth([&](auto const& makeIterator, Offsets3d const& offsets) {
    for (long nbCols : {1L, this->L, this->L + 1, 2 * this->L + 1})
      for (long nbSkipped = 0; nbSkipped * this->L < nbCols; ++nbSkipped) {
        Block3d const block = this->makeBlock({2, 0, 1}, {nbCols, 3, 3});
        auto iterator = makeIterator();
        iterator.init(block);
        for (long row = 1; row < 9; ++row) {
          for (long i = 0; i < nbSkipped; ++i) iterator.advance();
          iterator.advanceRow();
          ASSERT_TRUE(this->isAt(iterator, offsets, false, block, {0, row % 3, row / 3})) << nbSkipped;
        }
      }
  });
}

TEST_OF_TYPES(FixedNeighbourhood3dOf, ServesOneBlockAfterTheOther) {
  this->forBoth([&](auto const& makeIterator, Offsets3d const& offsets) {
    auto iterator = makeIterator(true);
    for (long nbCols : {2 * this->L + 1, 1L, this->L + 1})
      for (Block3d const& block : this->makeBlocks(nbCols))
        ASSERT_TRUE(this->isRightThroughout(iterator, offsets, true, block));
  });
}

TEST_OF_TYPES(FixedNeighbourhood3dOf, KeepsItsOwnCopyOfTheBlock) {
  this->forBoth([&](auto const& makeIterator, Offsets3d const& offsets) {
    Block3d const expected = this->makeBlock({1, 1, 1}, {this->L, 2, 3});
    Block3d block = expected;
    auto iterator = makeIterator();
    iterator.init(block);
    block = Block3d();
    iterator.advanceRow();
    iterator.advanceRow();
    EXPECT_TRUE(this->isAt(iterator, offsets, false, expected, {0, 0, 1}));
  });
}

TEST_OF_TYPES(FixedNeighbourhood3dOf, KeepsTheViewAlive) {
  std::weak_ptr<pxl::access::View<TypeParam> const> watched;
  {
    Source<TypeParam> source(this->m_image);
    watched = source.view;
    typename TestFixture::Eighteen iterator(source.view, pxl::access::NoDataType());
    source.view.reset();
    EXPECT_FALSE(watched.expired());
    EXPECT_TRUE(this->isRightThroughout(iterator, this->toOffsets(oracle::getCubeOffsets(2)), false,
                                        this->makeBlock({0, 0, 0}, {this->L, 2, 2})));
  }
  EXPECT_TRUE(watched.expired());
}

TEST_OF_TYPES(FixedNeighbourhood3dOf, LetsTheExceptionOfAFetchThrough) {
  pxl::instrument::Recorder recorder;
  recorder.onRead = [](pxl::instrument::Event const& event) {
    if (event.values[3] == 4) throw std::runtime_error("plan 4");
  };
  this->forBoth([&](auto const& makeIterator, Offsets3d const&) {
    auto iterator = makeIterator();
    EXPECT_THROW(iterator.init(this->makeBlock({0, 3, 3}, {this->L, 1, 2})), std::runtime_error);
    iterator.init(this->makeBlock({0, 3, 2}, {this->L, 1, 2}));
    EXPECT_THROW(iterator.advanceRow(), std::runtime_error);
  });
}

}  // namespace
}  // namespace access_test
