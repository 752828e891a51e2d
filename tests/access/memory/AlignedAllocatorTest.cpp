#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

#include "Core/private/Access/Block.h"
#include "Core/private/Access/simd/AlignedAllocator.h"
#include "access/memory/MallocHook.h"
#include "oracle/VoxelTypeTests.h"

namespace access_test {
namespace {

template <class T>
using Allocator = pxl::SimdVec::AlignedAllocator<T, 16>;

template <class T>
class AlignedAllocatorOf : public testing::Test {
 protected:
  void SetUp() override {
    if (!isMallocHooked()) GTEST_SKIP() << "the sanitizer has the allocator";
  }
};
TEST_TYPES(AlignedAllocatorOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(AlignedAllocatorOf, AsksMallocForThirtyTwoBytesMore) {
  for (std::size_t count : {1UL, 2UL, 15UL, 16UL, 17UL, 1000UL}) {
    Allocator<TypeParam> allocator;
    MallocWatch watch;
    TypeParam* const block = allocator.allocate(count);
    allocator.deallocate(block, count);
    watch.stop();
    EXPECT_EQ(watch.nbRequests, 1);
    EXPECT_EQ(watch.nbDirect, 1);
    EXPECT_EQ(watch.directSizes[0], count * sizeof(TypeParam) + 32);
    EXPECT_EQ(watch.countLiving(), 0);
  }
}

TEST_OF_TYPES(AlignedAllocatorOf, AlignsAndKeepsSlackWhereverMallocPutsIt) {
  for (Placement placement : {Placement::cAtOffset0, Placement::cAtOffset8})
    for (std::size_t count : {1UL, 3UL, 16UL, 33UL}) {
      Allocator<TypeParam> allocator;
      MallocWatch watch;
      watch.placement = placement;
      watch.placedSize = count * sizeof(TypeParam) + 32;
      TypeParam* const block = allocator.allocate(count);
      char* const raw = static_cast<char*>(watch.directResults[0]);
      // The 16 bytes after the last voxel are writable.
      std::memset(static_cast<void*>(block), 0x5a, count * sizeof(TypeParam) + 16);
      void* noted = nullptr;
      std::memcpy(&noted, reinterpret_cast<char const*>(block) - 8, 8);
      allocator.deallocate(block, count);
      watch.stop();
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(raw) % 16, placement == Placement::cAtOffset0 ? 0U : 8U);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0U);
      EXPECT_EQ(reinterpret_cast<char*>(block) - raw, placement == Placement::cAtOffset0 ? 16 : 8);
      EXPECT_EQ(noted, raw);
      // After the last voxel, before the end of the malloc block.
      EXPECT_GE(raw + watch.placedSize - reinterpret_cast<char*>(block + count), 16);
      EXPECT_EQ(watch.countLiving(), 0);
    }
}

TEST_OF_TYPES(AlignedAllocatorOf, RaisesBadAllocWhenMallocHasNothing) {
  Allocator<TypeParam> allocator;
  bool isRaised = false;
  MallocWatch watch;
  watch.failAt = 0;
  try {
    allocator.allocate(5);
  } catch (std::bad_alloc const&) {
    isRaised = true;
  }
  watch.stop();
  EXPECT_TRUE(isRaised);
  EXPECT_EQ(watch.nbFailed, 1);
  EXPECT_THROW(allocator.allocate(std::numeric_limits<std::size_t>::max() / sizeof(TypeParam)), std::bad_alloc);
  EXPECT_THROW(allocator.allocate(std::numeric_limits<std::size_t>::max()), std::bad_alloc);
}

TEST_OF_TYPES(AlignedAllocatorOf, IsNotAskedForEmptyBuffers) {
  MallocWatch watch;
  std::vector<TypeParam, Allocator<TypeParam>> voxels;
  TypeParam const* const data = voxels.data();
  voxels.resize(0);
  TypeParam const* const resized = voxels.data();
  watch.stop();
  EXPECT_EQ(watch.nbRequests, 0);
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(resized, nullptr);
}

TEST_OF_TYPES(AlignedAllocatorOf, GrowsByDoublingAndShrinksWithoutFreeing) {
  std::vector<TypeParam, Allocator<TypeParam>> voxels;
  MallocWatch watch;
  voxels.resize(10);
  voxels.resize(11);
  std::size_t const doubled = voxels.capacity();
  voxels.resize(1);
  voxels.resize(20);
  watch.stop();
  EXPECT_EQ(doubled, 20U);
  EXPECT_EQ(watch.nbDirect, 2);
  EXPECT_EQ(watch.nbRequests, 2);
}

TEST_OF_TYPES(AlignedAllocatorOf, RebindsToEveryVoxelType) {
  using Traits = std::allocator_traits<Allocator<TypeParam>>;
  static_assert(std::is_same_v<typename Traits::value_type, TypeParam>);
  static_assert(std::is_same_v<typename Traits::template rebind_alloc<double>, Allocator<double>>);
  static_assert(std::is_same_v<typename Traits::template rebind_alloc<signed char>, Allocator<signed char>>);
  Allocator<TypeParam> const allocator;
  Allocator<short> const other(allocator);
  EXPECT_TRUE(allocator == other);
  EXPECT_FALSE(allocator != other);
}

TEST(BlockHalving, AllocatesNothing) {
  if (!isMallocHooked()) GTEST_SKIP() << "the sanitizer has the allocator";
  pxl::access::Block2d flat(0, 100, 1, 0, 200, 1, 0, 0, 0);
  pxl::access::Block3d deep(0, 50, 1, 0, 100, 1, 0, 200, 1, 0, 0);
  MallocWatch watch;
  long nbVoxels = 0;
  while (flat.is_divisible()) nbVoxels += pxl::access::Block2d(flat, tbb::split()).getNumOfVoxels();
  while (deep.is_divisible()) nbVoxels += pxl::access::Block3d(deep, tbb::split()).getNumOfVoxels();
  watch.stop();
  EXPECT_EQ(nbVoxels, 100 * 200 - 1 + 50 * 100 * 200 - 1);
  EXPECT_EQ(watch.nbRequests, 0);
}

}  // namespace
}  // namespace access_test
