#include <algorithm>
#include <stdexcept>
#include <type_traits>

#include "access/support/Source.h"
#include "access/support/Target.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {
namespace {

using oracle::Five;

template <class T>
class ReadWriteCacheOf : public testing::Test {
 protected:
  oracle::Random m_random{831};
  Target<T> m_target{m_random.image<T>({17, 9, 7, 3, 2})};
  pxl::instrument::Recorder m_probe;

  // Of a block and offsets from it, both anywhere around the image, and their sum.
  struct Place {
    Five begin, offset, sum;
  };
  Place makePlace() {
    Place place;
    for (unsigned long d = 0; d < 5; ++d) {
      place.begin[d] = m_random.number(0, 15);
      place.offset[d] = m_random.number(-20, 10);
      place.sum[d] = place.begin[d] + place.offset[d];
    }
    return place;
  }
  template <class Row>
  static Five positionOf(Row const& row) {
    return {row.col, row.row, row.plan, row.sequence, row.spectralSeries};
  }
};
TEST_TYPES(ReadWriteCacheOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(ReadWriteCacheOf, StartsWithEmptyRowsInItsSlots) {
  using Row = typename Target<TypeParam>::Row;
  using View = pxl::access::View<TypeParam>;
  static_assert(std::is_base_of_v<pxl::access::BaseRow<View, typename View::Allocator>, Row>);
  static_assert(!std::is_copy_constructible_v<Row> && !std::is_copy_assignable_v<Row>);
  for (unsigned long count : {0UL, 1UL, 3UL, 17UL}) {
    auto const cache = this->m_target.view->createRowCacheReadWrite(count);
    ASSERT_EQ(cache->rows.size(), count);
    EXPECT_EQ(cache->view, this->m_target.view.get());
    EXPECT_EQ(cache->viewInterface, this->m_target.view->getInterface());
    for (unsigned long slot = 0; slot < count; ++slot) {
      EXPECT_EQ(cache->rows[slot]->index, slot);
      EXPECT_EQ(cache->rows[slot]->view, this->m_target.view.get());
      EXPECT_TRUE(cache->rows[slot]->voxels.empty());
    }
    EXPECT_EQ(this->m_probe.getTrace().back().name, "createRowCacheReadWrite");
    EXPECT_EQ(this->m_probe.getTrace().back().values, std::vector<long>{static_cast<long>(count)});
  }
  EXPECT_EQ(this->m_probe.count("readRowAt"), 0U);
}

TEST_OF_TYPES(ReadWriteCacheOf, PlacesRowsAnywhere) {
  auto const cache = this->m_target.view->createRowCacheReadWrite(3);
  for (int i = 0; i < 100; ++i) {
    auto const place = this->makePlace();
    Five const& offset = place.offset;
    unsigned long const slot = static_cast<unsigned long>(this->m_random.number(0, 2));
    unsigned long const nbVoxels = static_cast<unsigned long>(this->m_random.number(1, 40));
    auto* const row = cache->getRowInBlock(slot, nbVoxels, TracingBlock(place.begin), offset[0], offset[1], offset[2],
                                           offset[3], offset[4]);
    ASSERT_EQ(row, cache->rows[slot].get());
    EXPECT_EQ(row->index, slot);
    EXPECT_EQ(row->voxels.size(), nbVoxels);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(row->voxels.data()) % 16, 0U);
    EXPECT_EQ(this->positionOf(*row), place.sum);
  }
  EXPECT_EQ(this->m_probe.count("readRowAt"), 0U);
  EXPECT_EQ(this->m_probe.count("writeRowAt"), 0U);
  this->m_target.expectStored();
}

// Existing voxels are kept; new ones are zero.
TEST_OF_TYPES(ReadWriteCacheOf, LeavesTheVoxelsOfAPlacedRow) {
  auto const cache = this->m_target.view->createRowCacheReadWrite(2);
  TracingBlock const block({1, 2, 3, 1, 1});
  auto* const row = cache->getRowInBlock(1, 12, block, 0, 0, 0, 0, 0);
  EXPECT_EQ(std::count(row->voxels.begin(), row->voxels.end(), TypeParam(0)), 12);
  std::vector<TypeParam> content;
  for (TypeParam& voxel : row->voxels) {
    voxel = this->m_random.template voxel<TypeParam>();
    content.push_back(voxel);
  }
  auto const* const data = row->voxels.data();
  for (unsigned long nbVoxels : {12UL, 7UL, 12UL, 30UL}) {
    content.resize(nbVoxels);
    cache->getRowInBlock(1, nbVoxels, block, 3, 1, 0, 0, 0);
    EXPECT_EQ(std::vector<TypeParam>(row->voxels.begin(), row->voxels.end()), content);
    EXPECT_TRUE(nbVoxels > 12 || row->voxels.data() == data);
  }
  EXPECT_TRUE(cache->rows[0]->voxels.empty());
}

TEST_OF_TYPES(ReadWriteCacheOf, FetchesThePresentVoxelsThroughTheBorder) {
  auto const cache = this->m_target.view->createRowCacheReadWrite(3);
  for (int i = 0; i < 200; ++i) {
    auto const place = this->makePlace();
    Five const& offset = place.offset;
    unsigned long const slot = static_cast<unsigned long>(this->m_random.number(0, 2));
    unsigned long const nbVoxels = static_cast<unsigned long>(this->m_random.number(1, 40));
    this->m_probe.clear();
    auto* const row = cache->fetchRowInBlock(slot, nbVoxels, TracingBlock(place.begin), offset[0], offset[1],
                                             offset[2], offset[3], offset[4]);
    ASSERT_EQ(row, cache->rows[slot].get());
    ASSERT_EQ(row->voxels.size(), nbVoxels);
    EXPECT_EQ(this->positionOf(*row), place.sum);
    Five at = place.sum;
    EXPECT_EQ(getCalls(this->m_probe),
              (Calls{{"readRowAt", {static_cast<long>(nbVoxels), at[0], at[1], at[2], at[3], at[4]}}}));
    for (TypeParam voxel : row->voxels) {
      ASSERT_EQ(voxel, oracle::continueAt(this->m_target.expected, at));
      ++at[0];
    }
  }
}

// But not those that another row provides later.
TEST_OF_TYPES(ReadWriteCacheOf, FetchesWhatIsInTheImageByNow) {
  auto const cache = this->m_target.view->createRowCacheReadWrite(2);
  TracingBlock const block({0, 4, 3, 1, 1});
  auto* const row = cache->fetchRowInBlock(0, 17, block, 0, 0, 0, 0, 0);
  for (long c = 0; c < 17; ++c) {
    TypeParam& voxel = row->voxels[static_cast<unsigned long>(c)];
    voxel = static_cast<TypeParam>(voxel / 2 + 1);
    if (5 <= c && c <= 11) this->m_target.expected.at({c, 4, 3, 1, 1}) = voxel;
  }
  row->writeRow(true, 0, 8, 0, 6, 5, 11);
  auto* const second = cache->fetchRowInBlock(1, 17, block, 0, 0, 0, 0, 0);
  for (long c = 0; c < 17; ++c)
    EXPECT_EQ(second->voxels[static_cast<unsigned long>(c)], this->m_target.expected.at({c, 4, 3, 1, 1}));
}

TEST_OF_TYPES(ReadWriteCacheOf, LetsTheExceptionOfAReadThrough) {
  this->m_probe.onRead = [](pxl::instrument::Event const&) { throw std::runtime_error("the row is gone"); };
  auto const cache = this->m_target.view->createRowCacheReadWrite(1);
  TracingBlock const block({0, 0, 0, 0, 0});
  EXPECT_NO_THROW(cache->getRowInBlock(0, 5, block, 0, 0, 0, 0, 0));
  EXPECT_THROW(cache->fetchRowInBlock(0, 5, block, 0, 0, 0, 0, 0), std::runtime_error);
}

TEST_OF_TYPES(ReadWriteCacheOf, StartsWithPlansInItsSlots) {
  for (unsigned long count : {0UL, 1UL, 4UL}) {
    auto const cache = this->m_target.view->createPlanCacheReadWrite(count);
    EXPECT_EQ(this->m_probe.getTrace().back().name, "createPlanCacheReadWrite");
    EXPECT_EQ(this->m_probe.getTrace().back().values, std::vector<long>{static_cast<long>(count)});
    EXPECT_EQ(cache->view, this->m_target.view.get());
    ASSERT_EQ(cache->plans.size(), count);
    for (unsigned long slot = 0; slot < count; ++slot) {
      EXPECT_EQ(cache->plans[slot]->index, slot);
      EXPECT_EQ(cache->plans[slot]->view, this->m_target.view.get());
    }
  }
}

TEST_OF_TYPES(ReadWriteCacheOf, PlacesPlansAnywhere) {
  auto const cache = this->m_target.view->createPlanCacheReadWrite(2);
  this->m_probe.clear();
  for (int i = 0; i < 60; ++i) {
    auto const place = this->makePlace();
    Five const& offset = place.offset;
    unsigned long const slot = static_cast<unsigned long>(this->m_random.number(0, 1));
    unsigned long const nbVoxels = static_cast<unsigned long>(this->m_random.number(1, 30));
    unsigned long const nbRows = static_cast<unsigned long>(this->m_random.number(0, 12));
    auto* const plan = cache->getPlanInBlock(slot, nbVoxels, nbRows, TracingBlock(place.begin), offset[0], offset[1],
                                             offset[2], offset[3], offset[4]);
    ASSERT_EQ(plan, cache->plans[slot].get());
    EXPECT_EQ(plan->nbRowsInUse, nbRows);
    ASSERT_GE(plan->rows.size(), nbRows);
    for (unsigned long r = 0; r < nbRows; ++r) {
      Five at = place.sum;
      at[1] += static_cast<long>(r);
      EXPECT_EQ(plan->rows[r]->index, r);
      EXPECT_EQ(plan->rows[r]->view, this->m_target.view.get());
      EXPECT_EQ(plan->rows[r]->voxels.size(), nbVoxels);
      EXPECT_EQ(this->positionOf(*plan->rows[r]), at);
    }
  }
  EXPECT_TRUE(this->m_probe.getTrace().empty());
}

// The surplus keeps its rows, with their places and voxels, until more are asked for.
TEST_OF_TYPES(ReadWriteCacheOf, KeepsSurplusRowsInPlace) {
  auto const cache = this->m_target.view->createPlanCacheReadWrite(1);
  TracingBlock const block({2, 1, 3, 1, 0});
  auto* const plan = cache->getPlanInBlock(0, 5, 6, block, 0, 0, 0, 0, 0);
  for (auto const& row : plan->rows)
    for (TypeParam& voxel : row->voxels) voxel = static_cast<TypeParam>(row->index + 1);
  auto const rows = plan->rows;
  for (unsigned long nbRows : {2UL, 0UL}) {
    cache->getPlanInBlock(0, 4, nbRows, block, 1, 7, 0, 0, 0);
    EXPECT_EQ(plan->nbRowsInUse, nbRows);
    EXPECT_EQ(plan->rows, rows);
    EXPECT_EQ(this->positionOf(*plan->rows[5]), (Five{2, 6, 3, 1, 0}));
    EXPECT_EQ(plan->rows[5]->voxels.size(), 5U);
    EXPECT_EQ(plan->rows[5]->voxels[4], TypeParam(6));
    EXPECT_EQ(plan->rows[1]->voxels[3], TypeParam(2));
    EXPECT_EQ(this->positionOf(*plan->rows[1]), (Five{3, 9, 3, 1, 0}));
  }
  cache->getPlanInBlock(0, 5, 8, block, 0, 0, 0, 0, 0);
  EXPECT_EQ(plan->nbRowsInUse, 8U);
  ASSERT_EQ(plan->rows.size(), 8U);
  for (unsigned long r = 0; r < 6; ++r) EXPECT_EQ(plan->rows[r], rows[r]);
}

// How reduction kernels write the results of a plan.
TEST_OF_TYPES(ReadWriteCacheOf, RowsOfAPlanAreWrittenOneByOne) {
  auto const cache = this->m_target.view->createPlanCacheReadWrite(1);
  pxl::access::Block3d const block(2, 5, 1, 1, 6, 1, 3, 12, 1, 1, 0);
  for (long p = 0; p < 3; ++p) {
    auto* const plan = cache->getPlanInBlock(0, 9, 5, block, 0, 0, p, 0, 0);
    for (auto const& row : plan->rows) {
      Five at{3, 1 + static_cast<long>(row->index), 2 + p, 1, 0};
      for (TypeParam& voxel : row->voxels) {
        voxel = this->m_random.template voxel<TypeParam>();
        this->m_target.expected.at(at) = voxel;
        ++at[0];
      }
      row->writeRow(block);
    }
  }
  this->m_target.expectStored();
}

}  // namespace
}  // namespace access_test
