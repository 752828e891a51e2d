// The allocations of reads, and reads that run out of memory.
#include <new>

#include "Core/private/Access/IteratorNeighborhood3D.h"
#include "Core/private/Access/IteratorPixelInput.h"
#include "access/memory/MallocHook.h"
#include "access/support/Source.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {
namespace {

using pxl::access::Block3d;
using pxl::access::OverlapBorder;

template <class T>
class ReadAllocationOf : public testing::Test {
 protected:
  static constexpr long L = oracle::cLanes<T>;
  using View = pxl::access::View<T>;
  using Iterator = pxl::access::IteratorPixelInput<View, L>;
  using Six = pxl::access::IteratorNeighborhood3D_6<View, L>;
  using Eighteen = pxl::access::IteratorNeighborhood3D_18<View, L>;
  using List = pxl::access::IteratorNeighborhood3D_Gen<View, L>;
  using Offsets = std::vector<pxl::kernel::Offset3D>;

  // From one plan to the next, and for another block of the same or a smaller size.
  template <class Neighbours>
  void expectPlansReused(Neighbours& iterator) {
    iterator.init(Block3d(0, 5, 1, 0, 5, 1, 0, 2 * L + 1, 1, 0, 0));
    MallocWatch watch;
    while (iterator.plan < 5) iterator.advance();
    for (long nbRows : {3, 5, 1}) {
      iterator.init(Block3d(1, 4, 1, 0, nbRows, 1, 2, 2 * L + 3, 1, 0, 0));
      while (iterator.plan < 3) iterator.advanceRow();
    }
    watch.stop();
    EXPECT_EQ(watch.nbRequests, 0);
  }

  void SetUp() override {
    if (!isMallocHooked()) GTEST_SKIP() << "the sanitizer has the allocator";
    m_source.view->getBorderCondition();  // what a view makes on its first use by a thread isn't a fetch's
  }

  oracle::Random m_random{801};
  Source<T> m_source{m_random.image<T>({4 * L + 3, 6, 5, 1, 1})};
};
TEST_TYPES(ReadAllocationOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(ReadAllocationOf, OfASlotHappensOnceForOneSize) {
  auto const cache = this->m_source.view->createRowCacheRead(2);
  Block3d const block(0, 5, 1, 0, 6, 1, 0, 10, 1, 0, 0);
  MallocWatch watch;
  for (long r = 0; r < 6; ++r) cache->fetchRowInBlock(0, 10, block, -1, r, 0, 0, 0);
  long const nbOfOneSize = watch.nbRequests;
  for (long r = 0; r < 6; ++r) cache->fetchRowInBlock(0, 3, block, -1, r, 0, 0, 0);
  for (long r = 0; r < 6; ++r) cache->fetchRowInBlock(0, 10, block, -1, r, 0, 0, 0);
  long const nbAfterShrinking = watch.nbRequests;
  cache->fetchRowInBlock(0, 11, block, -1, 0, 0, 0, 0);
  watch.stop();
  EXPECT_EQ(nbOfOneSize, 1);
  EXPECT_EQ(watch.directSizes[0], 10 * sizeof(TypeParam) + 32);
  EXPECT_EQ(nbAfterShrinking, 1);
  EXPECT_EQ(watch.nbRequests, 2);
  EXPECT_EQ(watch.directSizes[1], 20 * sizeof(TypeParam) + 32);
}

TEST_OF_TYPES(ReadAllocationOf, OfAnIteratorIsOneRowForTheWholeBlock) {
  typename TestFixture::Iterator iterator(this->m_source.view, OverlapBorder());
  Block3d const block(0, 5, 1, 0, 6, 1, 0, 2 * this->L + 1, 1, 0, 0);
  MallocWatch watch;
  iterator.init(block, true);
  long const nbForFirstRow = watch.nbRequests;
  while (!iterator.atEnd()) iterator.advance();
  watch.stop();
  EXPECT_EQ(nbForFirstRow, 1);
  EXPECT_EQ(watch.nbRequests, 1);
  EXPECT_EQ(watch.directSizes[0], 3 * 16 + 32U);
}

TEST_OF_TYPES(ReadAllocationOf, OfAPlanIsReused) {
  auto const cache = this->m_source.view->createPlanCacheRead(1);
  Block3d const block(0, 5, 1, 0, 6, 1, 0, 10, 1, 0, 0);
  cache->fetchPlanInBlock(0, 10, 6, block, 0, 0, 0, 0, 0);
  MallocWatch watch;
  for (long p = 1; p < 5; ++p) cache->fetchPlanInBlock(0, 10, 6, block, 0, 0, p, 0, 0);
  cache->fetchPlanInBlock(0, 10, 2, block, 0, 0, 0, 0, 0);
  cache->fetchPlanInBlock(0, 10, 6, block, 0, 0, 0, 0, 0);
  watch.stop();
  EXPECT_EQ(watch.nbRequests, 0);
}

TEST_OF_TYPES(ReadAllocationOf, OfNeighbourhoodsOfVolumesIsTheirFirstPlans) {
  typename TestFixture::Six six(this->m_source.view, pxl::access::NoDataType());
  this->expectPlansReused(six);
  typename TestFixture::Eighteen eighteen(this->m_source.view, pxl::access::NoDataType());
  this->expectPlansReused(eighteen);
  for (auto const& offsets : {typename TestFixture::Offsets{{0, 0, -2}, {1, 0, 1}}, {{3, -1, 2}}}) {
    typename TestFixture::List list(this->m_source.view, offsets);
    this->expectPlansReused(list);
  }
}

// Runs `work` with the 1st, 2nd, 3rd ... allocation failing, until none fails any more. Each time it throws
// std::bad_alloc and leaks nothing.
template <class Work>
void failEachAllocation(long nbExpectedAtLeast, Work&& work) {
  long k = 0;
  for (;; ++k) {
    bool isBadAlloc = false, isOther = false;
    MallocWatch watch;
    watch.failAt = k;
    try {
      work();
    } catch (std::bad_alloc const&) {
      isBadAlloc = true;
    } catch (...) {
      isOther = true;
    }
    watch.stop();
    ASSERT_FALSE(isOther) << k;
    ASSERT_EQ(isBadAlloc, watch.nbFailed == 1) << k;
    ASSERT_EQ(watch.countLiving(), 0) << k;
    if (watch.nbFailed == 0) break;
  }
  EXPECT_GE(k, nbExpectedAtLeast);
}

TEST_OF_TYPES(ReadAllocationOf, FailuresOfARowCacheLeaveNothingBehind) {
  Block3d const block(0, 5, 1, 0, 6, 1, 0, 10, 1, 0, 0);
  // The cache, its slots, three rows, two buffers.
  failEachAllocation(7, [&] {
    auto const cache = this->m_source.view->createRowCacheRead(3);
    cache->fetchRowInBlock(0, 10, block, 0, 0, 0, 0, 0);
    cache->fetchRowInBlock(2, 20, block, 0, 0, 0, 0, 0);
  });
}

TEST_OF_TYPES(ReadAllocationOf, FailuresOfAPlanCacheLeaveNothingBehind) {
  Block3d const block(0, 5, 1, 0, 6, 1, 0, 10, 1, 0, 0);
  // The cache, its slots, two plans, and for each plan the rows with their buffers.
  failEachAllocation(4 + 2 * 7, [&] {
    auto const cache = this->m_source.view->createPlanCacheRead(2);
    cache->fetchPlanInBlock(0, 10, 3, block, 0, 0, 0, 0, 0);
    cache->fetchPlanInBlock(1, 10, 3, block, 0, 0, 0, 0, 0);
  });
}

TEST_OF_TYPES(ReadAllocationOf, FailuresOfAnIteratorLeaveNothingBehind) {
  Block3d const block(0, 5, 1, 0, 6, 1, 0, 10, 1, 0, 0);
  failEachAllocation(3, [&] {
    typename TestFixture::Iterator iterator(this->m_source.view, OverlapBorder());
    iterator.init(block, true);
    while (!iterator.atEnd()) iterator.advance();
  });
}

TEST_OF_TYPES(ReadAllocationOf, FailuresOfNeighbourhoodsOfVolumesLeaveNothingBehind) {
  Block3d const block(0, 2, 1, 0, 3, 1, 0, 10, 1, 0, 0);
  // The cache, its slots, the ring, and of three plans each the five rows with their buffers.
  failEachAllocation(3 + 3 * 11, [&] {
    typename TestFixture::Eighteen iterator(this->m_source.view, pxl::access::NoDataType());
    iterator.init(block);
    while (iterator.plan < 2) iterator.advance();
  });
  failEachAllocation(3 + 2 * 7, [&] {
    typename TestFixture::List iterator(this->m_source.view, typename TestFixture::Offsets{{2, 0, 1}, {1, 0, 0}});
    iterator.init(block);
    while (iterator.plan < 2) iterator.advance();
  });
}

}  // namespace
}  // namespace access_test
