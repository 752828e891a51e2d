#include "access/support/Source.h"
#include "instrument/Recorder.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {
namespace {

using oracle::Five;

template <class T>
class PlanCacheOf : public testing::Test {
 protected:
  oracle::Random m_random{601};
  Source<T> m_source{m_random.image<T>({11, 9, 7, 2, 2})};
};
TEST_TYPES(PlanCacheOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(PlanCacheOf, StartsWithPlansInItsSlots) {
  for (unsigned long count : {0UL, 1UL, 3UL}) {
    pxl::instrument::Recorder probe;
    auto const cache = this->m_source.view->createPlanCacheRead(count);
    EXPECT_EQ(probe.getTrace("createPlanCacheRead").at(0).values, std::vector<long>{static_cast<long>(count)});
    EXPECT_EQ(probe.count("readRowAt"), 0U);
    EXPECT_EQ(cache->view, this->m_source.view.get());
    ASSERT_EQ(cache->plans.size(), count);
    for (unsigned long slot = 0; slot < count; ++slot) {
      EXPECT_EQ(cache->plans[slot]->index, slot);
      EXPECT_EQ(cache->plans[slot]->nbRowsInUse, 0U);
      for (auto const& row : cache->plans[slot]->rows) EXPECT_TRUE(!row || row->voxels.empty());
    }
  }
}

TEST_OF_TYPES(PlanCacheOf, FetchesPlansFromAnywhere) {
  auto const cache = this->m_source.view->createPlanCacheRead(2);
  for (int i = 0; i < 60; ++i) {
    Five begin, offset;
    for (unsigned long d = 0; d < 5; ++d) {
      begin[d] = this->m_random.number(0, 8);
      offset[d] = this->m_random.number(-6, 6);
    }
    TracingBlock const block(begin);
    unsigned long const slot = static_cast<unsigned long>(this->m_random.number(0, 1));
    unsigned long const nbVoxels = static_cast<unsigned long>(this->m_random.number(1, 30));
    unsigned long const nbRows = static_cast<unsigned long>(this->m_random.number(1, 12));
    auto* const plan =
        cache->fetchPlanInBlock(slot, nbVoxels, nbRows, block, offset[0], offset[1], offset[2], offset[3], offset[4]);
    ASSERT_EQ(plan, cache->plans[slot].get());
    EXPECT_EQ(plan->nbRowsInUse, nbRows);
    ASSERT_GE(plan->rows.size(), nbRows);
    for (unsigned long r = 0; r < nbRows; ++r) {
      EXPECT_EQ(plan->rows[r]->index, r);
      ASSERT_EQ(plan->rows[r]->voxels.size(), nbVoxels);
      Five at;
      for (unsigned long d = 0; d < 5; ++d) at[d] = begin[d] + offset[d];
      at[1] += static_cast<long>(r);
      for (TypeParam voxel : plan->rows[r]->voxels) {
        ASSERT_EQ(voxel, oracle::continueAt(this->m_source.expected, at));
        ++at[0];
      }
    }
  }
}

TEST_OF_TYPES(PlanCacheOf, ReadsOneRowAfterTheOther) {
  pxl::instrument::Recorder probe;
  auto const cache = this->m_source.view->createPlanCacheRead(1);
  probe.clear();
  cache->fetchPlanInBlock(0, 5, 4, TracingBlock({10, 20, 30, 40, 50}), 1, -2, 3, -4, 5);
  auto const trace = probe.getTrace();
  ASSERT_EQ(trace.size(), 4U);
  for (long i = 0; i < 4; ++i)
    EXPECT_EQ(trace[static_cast<unsigned long>(i)].values, (std::vector<long>{5, 11, 18 + i, 33, 36, 55}));
}

TEST_OF_TYPES(PlanCacheOf, KeepsSurplusRowsInPlace) {
  pxl::instrument::Recorder probe;
  auto const cache = this->m_source.view->createPlanCacheRead(1);
  TracingBlock const block({0, 0, 0, 0, 0});
  auto* const plan = cache->fetchPlanInBlock(0, 5, 6, block, 0, 0, 0, 0, 0);
  auto const rows = plan->rows;
  std::vector<TypeParam const*> data;
  for (auto const& row : rows) data.push_back(row->voxels.data());
  TypeParam const surplus = plan->rows[5]->voxels[4];
  probe.clear();
  cache->fetchPlanInBlock(0, 5, 2, block, 0, 3, 0, 0, 0);
  EXPECT_EQ(probe.count("readRowAt"), 2U);
  EXPECT_EQ(plan->nbRowsInUse, 2U);
  EXPECT_EQ(plan->rows, rows);
  EXPECT_EQ(plan->rows[5]->voxels[4], surplus);
  cache->fetchPlanInBlock(0, 5, 8, block, 0, 0, 0, 0, 0);
  EXPECT_EQ(plan->nbRowsInUse, 8U);
  ASSERT_EQ(plan->rows.size(), 8U);
  for (unsigned long r = 0; r < 6; ++r) {
    EXPECT_EQ(plan->rows[r], rows[r]);
    EXPECT_EQ(plan->rows[r]->voxels.data(), data[r]);
  }
}

TEST_OF_TYPES(PlanCacheOf, OfNoRowsAsksForNothing) {
  pxl::instrument::Recorder probe;
  auto const cache = this->m_source.view->createPlanCacheRead(1);
  TracingBlock const block({0, 0, 0, 0, 0});
  cache->fetchPlanInBlock(0, 5, 3, block, 0, 0, 0, 0, 0);
  probe.clear();
  block.log.clear();
  auto* const plan = cache->fetchPlanInBlock(0, 5, 0, block, 0, 0, 0, 0, 0);
  EXPECT_EQ(plan->nbRowsInUse, 0U);
  EXPECT_EQ(plan->rows.size(), 3U);
  EXPECT_TRUE(probe.getTrace().empty());
  EXPECT_TRUE(block.log.empty());
}

// Plans roll as rows do: a step reads the rows of the one new plan.
TEST_OF_TYPES(PlanCacheOf, RollsAsARing) {
  pxl::instrument::Recorder probe;
  auto const cache = this->m_source.view->createPlanCacheRead(3);
  TracingBlock const block({0, 0, 1, 0, 0});
  for (unsigned long s = 0; s < 3; ++s)
    cache->fetchPlanInBlock(s, 13, 11, block, -1, -1, static_cast<long>(s) - 1, 0, 0);
  auto const plans = cache->plans;
  probe.clear();
  auto* const rolled = cache->fetchPlanInBlock(plans[0]->index, 13, 11, block, -1, -1, 2, 0, 0);
  EXPECT_EQ(rolled, plans[0].get());
  EXPECT_EQ(cache->plans, plans);
  EXPECT_EQ(probe.count("readRowAt"), 11U);
  for (long position = 0; position < 3; ++position) {
    auto const& plan = *plans[static_cast<unsigned long>((position + 1) % 3)];
    for (long r = 0; r < 11; ++r)
      for (long c = 0; c < 13; ++c)
        ASSERT_EQ(plan.rows[static_cast<unsigned long>(r)]->voxels[static_cast<unsigned long>(c)],
                  oracle::continueAt(this->m_source.expected, {c - 1, r - 1, 1 + position, 0, 0}));
  }
}

}  // namespace
}  // namespace access_test
