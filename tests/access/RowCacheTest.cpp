#include <algorithm>
#include <type_traits>

#include "access/support/Source.h"
#include "instrument/Recorder.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {
namespace {

using oracle::Five;
using pxl::instrument::Event;
using Names = std::vector<std::string>;

template <class T>
using Allocator = pxl::SimdVec::AlignedAllocator<T, 16>;
template <class T>
using Row = pxl::access::InputRow<pxl::access::View<T>, Allocator<T>>;
template <class T>
using BaseRow = pxl::access::BaseRow<pxl::access::View<T>, Allocator<T>>;

template <class T>
class RowCacheOf : public testing::Test {};
TEST_TYPES(RowCacheOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(RowCacheOf, RowsAreABufferBehindTheirSlotNumber) {
  static_assert(std::is_base_of_v<BaseRow<TypeParam>, Row<TypeParam>>);
  static_assert(sizeof(Row<TypeParam>) == sizeof(BaseRow<TypeParam>));
  static_assert(std::has_virtual_destructor_v<BaseRow<TypeParam>>);
  static_assert(!std::is_copy_constructible_v<Row<TypeParam>> && !std::is_copy_assignable_v<Row<TypeParam>>);
  static_assert(std::is_same_v<decltype(Row<TypeParam>::voxels), std::vector<TypeParam, Allocator<TypeParam>>>);
  Row<TypeParam> const row(5);
  EXPECT_EQ(row.index, 5U);
  EXPECT_EQ(reinterpret_cast<char const*>(&row.index) - reinterpret_cast<char const*>(&row), 8);
  EXPECT_EQ(reinterpret_cast<char const*>(&row.voxels) - reinterpret_cast<char const*>(&row), 16);
}

TEST_OF_TYPES(RowCacheOf, StartsWithEmptyRowsInItsSlots) {
  oracle::Random random(501);
  Source<TypeParam> const source(random.image<TypeParam>({5, 4, 1, 1, 1}));
  for (unsigned long count : {0UL, 1UL, 3UL, 17UL}) {
    auto const cache = source.view->createRowCacheRead(count);
    ASSERT_EQ(cache->rows.size(), count);
    EXPECT_EQ(cache->view, source.view.get());
    EXPECT_EQ(cache->viewInterface, source.view->getInterface());
    for (unsigned long slot = 0; slot < count; ++slot) {
      EXPECT_EQ(cache->rows[slot]->index, slot);
      EXPECT_TRUE(cache->rows[slot]->voxels.empty());
      EXPECT_EQ(cache->rows[slot]->voxels.data(), nullptr);
    }
    // The fields in their order.
    EXPECT_LT(static_cast<void const*>(&cache->rows), static_cast<void const*>(&cache->nbRowsInUse));
    EXPECT_LT(static_cast<void const*>(&cache->nbRowsInUse), static_cast<void const*>(&cache->view));
    EXPECT_LT(static_cast<void const*>(&cache->view), static_cast<void const*>(&cache->viewInterface));
    EXPECT_LT(static_cast<void const*>(&cache->viewInterface), static_cast<void const*>(&cache->index));
  }
}

TEST_OF_TYPES(RowCacheOf, FetchesRowsFromAnywhere) {
  oracle::Random random(502);
  for (int i = 0; i < 30; ++i) {
    Five sizes;
    for (long& size : sizes) size = random.number(1, 7);
    sizes[0] = random.number(1, 60);
    Source<TypeParam> const source(random.image<TypeParam>(sizes));
    auto const cache = source.view->createRowCacheRead(3);
    for (int j = 0; j < 20; ++j) {
      Five begin, offset;
      for (unsigned long d = 0; d < 5; ++d) {
        begin[d] = random.number(0, sizes[d]);
        offset[d] = random.number(-5, 5);
      }
      TracingBlock const block(begin);
      unsigned long const slot = static_cast<unsigned long>(random.number(0, 2));
      unsigned long const nbVoxels = static_cast<unsigned long>(random.number(1, 80));
      auto* const row =
          cache->fetchRowInBlock(slot, nbVoxels, block, offset[0], offset[1], offset[2], offset[3], offset[4]);
      ASSERT_EQ(row, cache->rows[slot].get());
      ASSERT_EQ(row->voxels.size(), nbVoxels);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(row->voxels.data()) % 16, 0U);
      Five at;
      for (unsigned long d = 0; d < 5; ++d) at[d] = begin[d] + offset[d];
      for (TypeParam voxel : row->voxels) {
        ASSERT_EQ(voxel, oracle::continueAt(source.expected, at));
        ++at[0];
      }
    }
  }
}

// A probe that records where the host is about to write a row.
class BufferProbe : public pxl::instrument::Recorder {
 public:
  std::vector<void const*> buffers;
  std::vector<unsigned char> lastBytes;
  unsigned long voxelSize = 1;

  void onReadRow(void const* viewInterface, void const* voxels, long count, long col, long row, long plan,
                 long sequence, long spectralSeries) override {
    buffers.push_back(voxels);
    auto const* const bytes = static_cast<unsigned char const*>(voxels);
    lastBytes.assign(bytes, bytes + static_cast<unsigned long>(count) * voxelSize);
    Recorder::onReadRow(viewInterface, voxels, count, col, row, plan, sequence, spectralSeries);
  }
};

TEST_OF_TYPES(RowCacheOf, AsksForAbsolutePositionsAsTheyStand) {
  oracle::Random random(503);
  Source<TypeParam> const source(random.image<TypeParam>({5, 4, 3, 2, 2}));
  BufferProbe probe;
  auto const cache = source.view->createRowCacheRead(1);
  probe.clear();
  TracingBlock const block({100, 20, 3, 4, 5});
  auto* const row = cache->fetchRowInBlock(0, 11, block, -200, 7, -9, -40, 50);
  auto const trace = probe.getTrace();
  ASSERT_EQ(trace.size(), 1U);
  EXPECT_EQ(trace[0].name, "readRowAt");
  EXPECT_EQ(trace[0].object, source.view->getInterface());
  EXPECT_EQ(trace[0].values, (std::vector<long>{11, -100, 27, -6, -36, 55}));
  EXPECT_EQ(probe.buffers.at(0), row->voxels.data());
}

// The begins in their order, the border condition held while they are asked and while the row is read.
TEST_OF_TYPES(RowCacheOf, HoldsTheBorderConditionThroughAFetch) {
  oracle::Random random(504);
  Source<TypeParam> const source(random.image<TypeParam>({5, 4, 1, 1, 1}));
  pxl::instrument::Recorder probe;
  auto const cache = source.view->createRowCacheRead(1);
  static thread_local std::vector<long> counts;
  counts.clear();
  auto const& view = *source.view;
  long const before = view.getBorderCondition().use_count();
  TracingBlock block({0, 0, 0, 0, 0});
  block.context = &view;
  block.onCall = [](TracingBlock const& traced) {
    counts.push_back(
        static_cast<pxl::access::View<TypeParam> const*>(traced.context)->getBorderCondition().use_count());
  };
  probe.onRead = [&view, &block](Event const&) {
    block.log.emplace_back("readRowAt");
    counts.push_back(view.getBorderCondition().use_count());
  };
  cache->fetchRowInBlock(0, 5, block, 0, 0, 0, 0, 0);
  EXPECT_EQ(block.log,
            (Names{"spectralSeriesBegin", "sequenceBegin", "plansBegin", "rowsBegin", "colsBegin", "readRowAt"}));
  EXPECT_EQ(counts, std::vector<long>(6, before + 1));
  EXPECT_EQ(view.getBorderCondition().use_count(), before);
}

TEST_OF_TYPES(RowCacheOf, GrowsWithZerosAndShrinksInPlace) {
  oracle::Image<TypeParam> image({9, 1, 1, 1, 1});
  for (TypeParam& voxel : image.voxels) voxel = TypeParam(7);
  Source<TypeParam> const source(image);
  BufferProbe probe;
  probe.voxelSize = sizeof(TypeParam);
  auto const cache = source.view->createRowCacheRead(1);
  TracingBlock const block({0, 0, 0, 0, 0});
  auto const valuesBeforeRead = [&probe] {
    std::vector<TypeParam> values(probe.lastBytes.size() / sizeof(TypeParam));
    std::copy(probe.lastBytes.begin(), probe.lastBytes.end(), reinterpret_cast<unsigned char*>(values.data()));
    return values;
  };
  auto* const row = cache->fetchRowInBlock(0, 4, block, 0, 0, 0, 0, 0);
  EXPECT_EQ(valuesBeforeRead(), std::vector<TypeParam>(4, TypeParam(0)));
  cache->fetchRowInBlock(0, 6, block, 0, 0, 0, 0, 0);
  EXPECT_EQ(valuesBeforeRead(), (std::vector<TypeParam>{7, 7, 7, 7, 0, 0}));
  unsigned long const capacity = row->voxels.capacity();
  EXPECT_EQ(capacity, 8U);  // twice what it was
  TypeParam const* const data = row->voxels.data();
  cache->fetchRowInBlock(0, 2, block, 0, 0, 0, 0, 0);
  EXPECT_EQ(row->voxels.size(), 2U);
  EXPECT_EQ(row->voxels.capacity(), capacity);
  cache->fetchRowInBlock(0, 6, block, 0, 0, 0, 0, 0);
  EXPECT_EQ(valuesBeforeRead(), (std::vector<TypeParam>{7, 7, 0, 0, 0, 0}));
  EXPECT_EQ(row->voxels.data(), data);
}

TEST_OF_TYPES(RowCacheOf, AlwaysReadsAgain) {
  oracle::Random random(505);
  Source<TypeParam> const source(random.image<TypeParam>({5, 4, 1, 1, 1}));
  pxl::instrument::Recorder probe;
  auto const cache = source.view->createRowCacheRead(2);
  TracingBlock const block({0, 0, 0, 0, 0});
  for (int i = 0; i < 5; ++i) cache->fetchRowInBlock(1, 5, block, 0, 2, 0, 0, 0);
  EXPECT_EQ(probe.count("readRowAt"), 5U);
  EXPECT_TRUE(cache->rows[0]->voxels.empty());
}

TEST_OF_TYPES(RowCacheOf, LetsTheExceptionOfAReadThrough) {
  oracle::Random random(506);
  Source<TypeParam> const source(random.image<TypeParam>({5, 4, 1, 1, 1}));
  pxl::instrument::Recorder probe;
  probe.onRead = [](Event const&) { throw std::runtime_error("the disk is on fire"); };
  auto const cache = source.view->createRowCacheRead(1);
  long const before = source.view->getBorderCondition().use_count();
  EXPECT_THROW(cache->fetchRowInBlock(0, 5, TracingBlock({0, 0, 0, 0, 0}), 0, 0, 0, 0, 0), std::runtime_error);
  EXPECT_EQ(source.view->getBorderCondition().use_count(), before);
}

// The smallest block with four neighbours: three rows of three voxels, most of them border.
TEST_OF_TYPES(RowCacheOf, ServesABlockOfOneVoxel) {
  oracle::Random random(507);
  Source<TypeParam> const source(random.image<TypeParam>({1, 1, 1, 1, 1}),
                                 pxl::access::FixedBorderCondition<TypeParam>::New(TypeParam(9)));
  auto const cache = source.view->createRowCacheRead(3);
  TracingBlock const block({0, 0, 0, 0, 0});
  for (long r = -1; r <= 1; ++r) {
    auto* const row = cache->fetchRowInBlock(static_cast<unsigned long>(r + 1), 3, block, -1, r, 0, 0, 0);
    TypeParam const centre = r == 0 ? source.expected.voxels[0] : TypeParam(9);
    EXPECT_EQ(std::vector<TypeParam>(row->voxels.begin(), row->voxels.end()), (std::vector<TypeParam>{9, centre, 9}));
  }
}

// The protocol of all neighbourhoods: the slot of the oldest row gets the new one, and the others are kept.
TEST_OF_TYPES(RowCacheOf, RollsAsARingWithoutMovingRows) {
  oracle::Random random(508);
  Source<TypeParam> const source(random.image<TypeParam>({21, 12, 1, 1, 1}));
  BufferProbe probe;
  auto const cache = source.view->createRowCacheRead(3);
  TracingBlock const block({2, 3, 0, 0, 0});
  std::vector<Row<TypeParam>*> ring;
  for (long s = 0; s < 3; ++s)
    ring.push_back(cache->fetchRowInBlock(static_cast<unsigned long>(s), 19, block, -1, s - 1, 0, 0, 0));
  std::vector<TypeParam const*> data;
  for (auto const* row : ring) data.push_back(row->voxels.data());
  for (long current = 0; current < 6; ++current) {
    for (long position = 0; position < 3; ++position)
      for (long c = 0; c < 19; ++c)
        ASSERT_EQ(ring[static_cast<unsigned long>(position)]->voxels[static_cast<unsigned long>(c)],
                  oracle::continueAt(source.expected, {1 + c, 3 + current + position - 1, 0, 0, 0}));
    probe.clear();
    auto* const fetched = cache->fetchRowInBlock(ring[0]->index, 19, block, -1, current + 2, 0, 0, 0);
    EXPECT_EQ(fetched, ring[0]);
    EXPECT_EQ(probe.count("readRowAt"), 1U);
    std::rotate(ring.begin(), ring.begin() + 1, ring.end());
    for (auto const* row : ring) EXPECT_EQ(row->voxels.data(), data[row->index]);
  }
}

}  // namespace
}  // namespace access_test
