#include <gtest/gtest.h>

#include <algorithm>

#include "support/Images.h"
#include "support/Raised.h"
#include "support/Random.h"

namespace {

using namespace host_test;
using pxl::Image;
using pxl::ImageSizes;
using pxl::ImageStrides;

template <class T>
class ForeignMemory : public ::testing::Test {};
TEST_TYPES(ForeignMemory, oracle::VoxelTypes, oracle::VoxelTypeNames);

// A layout of a caller: outer dimensions in any order, with gaps, backwards, repeated, at any address.
struct Layout {
  ImageSizes sizes;
  ImageStrides strides;
  long origin;
  long nbBytes;
};

Layout makeLayout(Random& random, long voxelSize, bool mayRepeat) {
  Layout layout{};
  std::array<std::size_t, 4> order{1, 2, 3, 4};
  std::shuffle(order.begin(), order.end(), std::mt19937_64(random.bits()));
  for (unsigned long& size : layout.sizes) size = random.between(1UL, 5UL);
  layout.strides[0] = voxelSize;
  long extent = static_cast<long>(layout.sizes[0]) * voxelSize;
  long first = 0;
  for (std::size_t const i : order) {
    long const stride = extent + random.between(0L, 5L);
    layout.strides[i] = stride;
    if (mayRepeat && random.between(0, 3) == 0) {
      layout.strides[i] = 0;
      continue;
    }
    extent = (static_cast<long>(layout.sizes[i]) - 1) * stride + extent;
    if (random.between(0, 1)) {
      layout.strides[i] = -stride;
      first += (static_cast<long>(layout.sizes[i]) - 1) * stride;
    }
  }
  layout.origin = first + random.between(0L, 7L);
  layout.nbBytes = layout.origin - first + extent;
  return layout;
}

TEST_OF_TYPES(ForeignMemory, IsReadThroughAnyOuterStrides) {
  Random random;
  for (int round = 0; round < 300; ++round) {
    Layout const layout = makeLayout(random, sizeof(TypeParam), true);
    std::vector<char> memory(static_cast<std::size_t>(layout.nbBytes));
    for (char& byte : memory) byte = static_cast<char>(random.between(0, 63));
    auto const image = Image::OnMemory(static_cast<void const*>(memory.data() + layout.origin), cTypeOf<TypeParam>,
                                       layout.sizes, layout.strides);
    auto const view = makeConstView<TypeParam>(image.get());
    std::vector<TypeParam> expected;
    forEachPosition(layout.sizes, [&](Position const& at) {
      expected.push_back(loadVoxel<TypeParam>(memory.data() + layout.origin, layout.strides, at));
    });
    auto const actual = readAll(*view);
    ASSERT_EQ(actual.size(), expected.size());
    ASSERT_EQ(std::memcmp(actual.data(), expected.data(), expected.size() * sizeof(TypeParam)), 0);
  }
}

TEST_OF_TYPES(ForeignMemory, IsWrittenThroughAnyOuterStridesAndNowhereElse) {
  Random random;
  for (int round = 0; round < 300; ++round) {
    Layout const layout = makeLayout(random, sizeof(TypeParam), false);
    std::vector<char> memory(static_cast<std::size_t>(layout.nbBytes));
    for (char& byte : memory) byte = static_cast<char>(random.between(0, 63));
    std::vector<char> expected = memory;
    auto const image =
        Image::OnMemory(memory.data() + layout.origin, cTypeOf<TypeParam>, layout.sizes, layout.strides);
    auto const view = makeView<TypeParam>(image.get());
    Position at{};
    for (std::size_t i = 0; i < 5; ++i) at[i] = random.between(0L, static_cast<long>(layout.sizes[i]) - 1);
    long const count = random.between(1L, static_cast<long>(layout.sizes[0]) - at[0]);
    std::vector<TypeParam> row;
    for (long i = 0; i < count; ++i) {
      row.push_back(random.voxel<TypeParam>());
      storeVoxel<TypeParam>(expected.data() + layout.origin, layout.strides, {at[0] + i, at[1], at[2], at[3], at[4]},
                            row.back());
    }
    ASSERT_TRUE(view->getInterface()->writeRowAt(count, row.data(), at[0], at[1], at[2], at[3], at[4]));
    ASSERT_EQ(memory, expected);
  }
}

TEST_OF_TYPES(ForeignMemory, IsNeverCopied) {
  std::vector<TypeParam> memory(6);
  auto const image = Image::OnMemory(memory.data(), cTypeOf<TypeParam>, {6, 1, 1, 1, 1}, {sizeof(TypeParam)});
  auto const view = makeConstView<TypeParam>(image.get());
  EXPECT_EQ(static_cast<Image const&>(*image).getVoxels(), memory.data());
  memory[3] = TypeParam(9);
  EXPECT_EQ(readVoxel(*view, {3, 0, 0, 0, 0}), TypeParam(9));
}

TEST_OF_TYPES(ForeignMemory, MustHaveItsRowsWhole) {
  std::vector<TypeParam> memory(16);
  long const size = sizeof(TypeParam);
  for (long const stride : {0L, -size, 2 * size, size + 1}) {
    refusalOf([&] { Image::OnMemory(memory.data() + 8, cTypeOf<TypeParam>, {2, 1, 1, 1, 1}, {stride, 0, 0, 0, 0}); });
    // With one column or none, no voxel of a row has a neighbour.
    for (unsigned long const nbCols : {0UL, 1UL})
      EXPECT_NO_THROW(
          Image::OnMemory(memory.data() + 8, cTypeOf<TypeParam>, {nbCols, 3, 1, 1, 1}, {stride, size, 0, 0, 0}));
  }
}

TEST(ForeignMemory, NeedsAnAddressUnlessItHasNoVoxels) {
  void* const none = nullptr;
  refusalOf([&] { Image::OnMemory(none, pxl::cFloat, {1, 1, 1, 1, 1}, {4, 4, 4, 4, 4}); });
  refusalOf([&] { Image::OnMemory(static_cast<void const*>(none), pxl::cFloat, {1, 1, 1, 1, 1}, {4, 4, 4, 4, 4}); });
  auto const empty = Image::OnMemory(none, pxl::cFloat, {0, 4, 1, 1, 1}, {4, 4, 4, 4, 4});
  EXPECT_EQ(makeConstView<float>(empty.get())->nbCols, 0u);
}

TEST(ForeignMemory, WithStridesBeyondTheAddressSpaceIsRefused) {
  char byte = 0;
  long const huge = std::numeric_limits<long>::max();
  for (std::size_t i = 1; i < 5; ++i) {
    ImageStrides strides{1, 1, 1, 1, 1};
    ImageSizes sizes{1, 3, 3, 3, 3};
    for (long const stride : {huge, -huge, huge / 2 + 1}) {
      strides[i] = stride;
      refusalOf([&] { Image::OnMemory(&byte, pxl::cUnsignedInteger8, sizes, strides); });
    }
    // In a dimension of size 1 the stride is ignored.
    sizes[i] = 1;
    ImageStrides harmless{1, 0, 0, 0, 0};
    harmless[i] = huge;
    EXPECT_NO_THROW(Image::OnMemory(&byte, pxl::cUnsignedInteger8, sizes, harmless));
  }
  // Each dimension is in bounds, but not their sum.
  refusalOf([&] {
    Image::OnMemory(&byte, pxl::cUnsignedInteger8, {1, 2, 2, 2, 1}, {1, 1L << 60, 1L << 60, 1L << 60, 0});
  });
}

TEST(ReadOnlyMemory, GivesNoWritableViewAndNoWritableAddress) {
  float const voxels[4] = {1, 2, 3, 4};
  auto const image = Image::OnMemory(static_cast<void const*>(voxels), pxl::cFloat, {4, 1, 1, 1, 1}, {4});
  EXPECT_TRUE(contains(refusalOf([&] { makeView<float>(image.get()); }), "read-only"));
  refusalOf([&] { makeView<double>(image.get()); });
  EXPECT_EQ(image->getVoxels(), nullptr);
  EXPECT_EQ(static_cast<Image const&>(*image).getVoxels(), voxels);
  EXPECT_EQ(readAll(*makeConstView<float>(image.get())), (std::vector<float>{1, 2, 3, 4}));
  pxl::ImageModelSizeProxy proxy(image.get(), 1, 2, 0, 1, 0, 1, 0, 1, 0, 1);
  refusalOf([&] { makeView<float>(&proxy); });
}

TEST(KeptAliveMemory, LivesAsLongAsTheImageOrAnyViewOnIt) {
  auto memory = std::make_shared<std::vector<int>>(std::vector<int>{5, 6, 7, 8});
  std::weak_ptr<std::vector<int>> const watch = memory;
  int* const address = memory->data();
  auto image = Image::OnMemory(address, pxl::cInteger32, {4, 1, 1, 1, 1}, {4}, pxl::cGrey, std::move(memory));
  auto view = makeConstView<int>(image.get());
  auto converting = makeConstView<double>(image.get());
  image.reset();
  EXPECT_FALSE(watch.expired());
  EXPECT_EQ(readAll(*view), (std::vector<int>{5, 6, 7, 8}));
  view.reset();
  EXPECT_EQ(readAll(*converting), (std::vector<double>{5, 6, 7, 8}));
  converting.reset();
  EXPECT_TRUE(watch.expired());
}

// The caller owns the memory of the first image; the second image keeps it alive.
TEST(KeptAliveMemory, LivesForAViewThatSharesItsInterfaceWithAnotherImage) {
  auto memory = std::make_shared<std::vector<int>>(std::vector<int>{5, 6, 7, 8});
  std::weak_ptr<std::vector<int>> const watch = memory;
  int* const address = memory->data();
  auto const bare = Image::OnMemory(address, pxl::cInteger32, {4, 1, 1, 1, 1}, {4});
  auto const bareView = makeConstView<int>(bare.get());
  auto kept = Image::OnMemory(address, pxl::cInteger32, {4, 1, 1, 1, 1}, {4}, pxl::cGrey, std::move(memory));
  auto keptView = makeConstView<int>(kept.get());
  ASSERT_EQ(keptView->getInterface(), bareView->getInterface());
  kept.reset();
  EXPECT_FALSE(watch.expired());
  keptView.reset();
  EXPECT_TRUE(watch.expired());
}

TEST(KeptAliveMemory, IsLetGoWhenTheImageIsRefused) {
  auto memory = std::make_shared<int>(1);
  std::weak_ptr<int> const watch = memory;
  void* const address = memory.get();
  refusalOf([&] {
    Image::OnMemory(address, pxl::cInteger32, {1UL << 31, 1, 1, 1, 1}, {4}, pxl::cGrey, std::move(memory));
  });
  memory.reset();
  EXPECT_TRUE(watch.expired());
}

}  // namespace
