#include <gtest/gtest.h>
#include <malloc.h>

#include <set>
#include <thread>

#include "support/Folder.h"
#include "support/Images.h"
#include "support/Raised.h"

namespace {

using namespace host_test;
using pxl::FileModes;
using pxl::Image;
using pxl::ImageModel;
using pxl::ImageModelSizeProxy;

template <class T>
class ViewIdentity : public ::testing::Test {
 protected:
  std::shared_ptr<Image> image = Image::New(cTypeOf<T>, {8, 6, 4, 2, 2});
};
TEST_TYPES(ViewIdentity, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(ViewIdentity, IsOneForAllViewsOfAnImage) {
  auto const a = makeConstView<TypeParam>(this->image.get());
  auto const b = makeConstView<TypeParam>(this->image.get());
  auto const c = makeView<TypeParam>(this->image.get());
  EXPECT_NE(a.get(), b.get());
  EXPECT_EQ(a->getInterface(), b->getInterface());
  EXPECT_EQ(a->getInterface(), c->getInterface());
  auto const fixed = pxl::access::View<TypeParam>::New(
      this->image.get(), pxl::access::FixedBorderCondition<TypeParam>::New(TypeParam(1)));
  EXPECT_EQ(a->getInterface(), fixed->getInterface());
}

TEST_OF_TYPES(ViewIdentity, DiffersForEqualImages) {
  auto const other = Image::New(cTypeOf<TypeParam>, this->image->getSizes());
  EXPECT_NE(makeConstView<TypeParam>(this->image.get())->getInterface(),
            makeConstView<TypeParam>(other.get())->getInterface());
}

TEST_OF_TYPES(ViewIdentity, IsThatOfTheWindow) {
  ImageModel* const model = this->image.get();
  ImageModel const* const constModel = model;
  ImageModelSizeProxy const whole(constModel, 0, 8, 0, 6, 0, 4, 0, 2, 0, 2);
  ImageModelSizeProxy a(model, 1, 4, 2, 3, 1, 2, 0, 2, 1, 1);
  ImageModelSizeProxy const b(constModel, 1, 4, 2, 3, 1, 2, 0, 2, 1, 1);
  ImageModelSizeProxy const shifted(constModel, 2, 4, 2, 3, 1, 2, 0, 2, 1, 1);
  ImageModelSizeProxy const shorter(constModel, 1, 4, 2, 3, 1, 2, 0, 1, 1, 1);
  ImageModelSizeProxy const outer(constModel, 1, 7, 1, 5, 1, 3, 0, 2, 1, 1);
  ImageModelSizeProxy const nested(&outer, 0, 4, 1, 3, 0, 2, 0, 2, 0, 1);
  auto const view = makeConstView<TypeParam>(constModel);
  auto const viewA = makeView<TypeParam>(&a);
  EXPECT_EQ(makeConstView<TypeParam>(&whole)->getInterface(), view->getInterface());
  EXPECT_NE(viewA->getInterface(), view->getInterface());
  EXPECT_EQ(makeConstView<TypeParam>(&b)->getInterface(), viewA->getInterface());
  EXPECT_EQ(makeConstView<TypeParam>(&nested)->getInterface(), viewA->getInterface());
  EXPECT_NE(makeConstView<TypeParam>(&shifted)->getInterface(), viewA->getInterface());
  EXPECT_NE(makeConstView<TypeParam>(&shorter)->getInterface(), viewA->getInterface());
}

TEST_OF_TYPES(ViewIdentity, OfTwoImagesOverTheSameMemoryIsOne) {
  std::vector<TypeParam> memory(64);
  constexpr long cSize = sizeof(TypeParam);
  pxl::ImageStrides const strides{cSize, 8 * cSize, 0, 0, 0};
  auto const open = [&](pxl::ImageSizes const& sizes, pxl::ImageStrides const& s, std::size_t first = 0) {
    return Image::OnMemory(memory.data() + first, cTypeOf<TypeParam>, sizes, s);
  };
  auto const a = open({8, 4, 1, 1, 1}, strides);
  // The strides of dimensions of size 1 are ignored.
  auto const b = open({8, 4, 1, 1, 1}, {cSize, 8 * cSize, 99, -7, 1});
  auto const readOnly =
      Image::OnMemory(static_cast<void const*>(memory.data()), cTypeOf<TypeParam>, {8, 4, 1, 1, 1}, strides);
  auto const view = makeConstView<TypeParam>(a.get());
  auto const interfaceOf = [](Image const& other) { return makeConstView<TypeParam>(&other)->getInterface(); };
  EXPECT_EQ(interfaceOf(*b), view->getInterface());
  EXPECT_EQ(interfaceOf(*readOnly), view->getInterface());
  EXPECT_NE(interfaceOf(*open({8, 4, 1, 1, 1}, {cSize, 9 * cSize, 0, 0, 0})), view->getInterface());
  EXPECT_NE(interfaceOf(*open({7, 4, 1, 1, 1}, strides)), view->getInterface());
  EXPECT_NE(interfaceOf(*open({8, 3, 1, 1, 1}, strides)), view->getInterface());
  EXPECT_NE(interfaceOf(*open({8, 4, 1, 1, 1}, strides, 1)), view->getInterface());
  // One row of two images whose rows lie at different distances is one and the same row.
  ImageModelSizeProxy const row(static_cast<ImageModel const*>(a.get()), 0, 8, 0, 1, 0, 1, 0, 1, 0, 1);
  auto const sparse = open({8, 4, 1, 1, 1}, {cSize, 16 * cSize, 0, 0, 0});
  ImageModelSizeProxy const sameRow(static_cast<ImageModel const*>(sparse.get()), 0, 8, 0, 1, 0, 1, 0, 1, 0, 1);
  auto const rowView = makeConstView<TypeParam>(&row);
  EXPECT_EQ(makeConstView<TypeParam>(&sameRow)->getInterface(), rowView->getInterface());
  // The same bytes as another type of the same size are another image.
  for (int type = 0; type < 12; ++type) {
    auto const voxelType = static_cast<pxl::VoxelTypes>(type);
    if (!pxl::helper::isImageType(voxelType) || voxelType == cTypeOf<TypeParam> ||
        pxl::helper::getSizeOf(voxelType) != sizeof(TypeParam))
      continue;
    auto const other = Image::OnMemory(memory.data(), voxelType, {8, 4, 1, 1, 1}, strides);
    EXPECT_NE(interfaceOf(*other), view->getInterface());
  }
}

TEST_OF_TYPES(ViewIdentity, IsOneForViewsThatConvert) {
  auto const foreign = Image::New(std::is_same_v<TypeParam, double> ? pxl::cFloat : pxl::cDouble, {4, 1, 1, 1, 1});
  auto const a = makeConstView<TypeParam>(foreign.get());
  auto const b = makeView<TypeParam>(foreign.get());
  EXPECT_EQ(a->getInterface(), b->getInterface());
}

TEST(ViewIdentity, OfAFileIsOneForEqualAccessOnly) {
  Folder const folder;
  std::string const path = folder / "a";
  writeFile(path, std::string(64, 'a'));
  writeFile(folder / "b", std::string(64, 'a'));
  ASSERT_EQ(::link(path.c_str(), (folder / "hard-link").c_str()), 0);
  pxl::ImageSizes const sizes{4, 4, 1, 1, 1};
  auto const open = [&](char const* name, FileModes mode, unsigned long offset = 0) {
    return Image::OnDisk(folder / name, mode, pxl::cUnsignedInteger8, sizes, offset);
  };
  auto const image = open("a", FileModes::cReadWrite);
  auto const view = makeConstView<unsigned char>(image.get());
  auto const interfaceOf = [](Image const& other) { return makeConstView<unsigned char>(&other)->getInterface(); };
  EXPECT_EQ(interfaceOf(*open("a", FileModes::cReadWrite)), view->getInterface());
  EXPECT_EQ(interfaceOf(*open("hard-link", FileModes::cReadWrite)), view->getInterface());
  EXPECT_NE(interfaceOf(*open("a", FileModes::cReadOnly)), view->getInterface());
  EXPECT_NE(interfaceOf(*open("a", FileModes::cReadWrite, 1)), view->getInterface());
  EXPECT_NE(interfaceOf(*open("b", FileModes::cReadWrite)), view->getInterface());
  EXPECT_NE(interfaceOf(*Image::OnMappedFile(path, pxl::cUnsignedInteger8, sizes)), view->getInterface());
}

// A read-only image met the memory first; the writable one must not suffer for it.
TEST(ViewIdentity, SharedWithAReadOnlyImageStillWrites) {
  std::vector<unsigned char> memory(4, 7);
  auto const readOnly =
      Image::OnMemory(static_cast<void const*>(memory.data()), pxl::cUnsignedInteger8, {4, 1, 1, 1, 1}, {1});
  auto const writable = Image::OnMemory(memory.data(), pxl::cUnsignedInteger8, {4, 1, 1, 1, 1}, {1});
  auto const input = makeConstView<float>(readOnly.get());
  auto const output = makeView<float>(writable.get());
  ASSERT_EQ(input->getInterface(), output->getInterface());
  float const value = 42;
  EXPECT_TRUE(output->getInterface()->writeRowAt(1, &value, 2, 0, 0, 0, 0));
  EXPECT_EQ(memory[2], 42);
}

TEST_OF_TYPES(ViewIdentity, OutlivesImageAndProxy) {
  fillImage<TypeParam>(*this->image, [](Position const& at) { return static_cast<TypeParam>(at[0] + 8 * at[1]); });
  auto proxy = std::make_unique<ImageModelSizeProxy>(static_cast<ImageModel const*>(this->image.get()), 1, 2, 1, 2, 0,
                                                     1, 0, 1, 0, 1);
  auto const view = makeConstView<TypeParam>(proxy.get());
  auto const converting = makeConstView<double>(proxy.get());
  proxy.reset();
  this->image.reset();
  EXPECT_EQ(readAll(*view), (std::vector<TypeParam>{TypeParam(9), TypeParam(10), TypeParam(17), TypeParam(18)}));
  EXPECT_EQ(readAll(*converting), (std::vector<double>{9, 10, 17, 18}));
}

TEST_OF_TYPES(ViewIdentity, StaysWithTheOldVoxelsWhenTheImageGetsNewOnes) {
  fillImage<TypeParam>(*this->image, [](Position const&) { return TypeParam(3); });
  auto const old = makeConstView<TypeParam>(this->image.get());
  auto const model = Image::New(cTypeOf<TypeParam>, {2, 2, 1, 1, 1});
  this->image->enforceSameCharacteristics(model.get(), pxl::cSizes);
  auto const fresh = makeConstView<TypeParam>(this->image.get());
  EXPECT_NE(old->getInterface(), fresh->getInterface());
  EXPECT_EQ(old->nbCols, 8u);
  EXPECT_EQ(readVoxel(*old, {7, 5, 3, 1, 1}), TypeParam(3));
  EXPECT_EQ(readVoxel(*fresh, {1, 1, 0, 0, 0}), TypeParam(0));
}

// A leak would keep every image that was ever viewed.
TEST_OF_TYPES(ViewIdentity, KeepsNothingAliveAfterItsViews) {
  std::set<std::weak_ptr<int>, std::owner_less<std::weak_ptr<int>>> owners;
  TypeParam voxel{};
  for (int round = 0; round < 100; ++round) {
    auto owner = std::make_shared<int>(round);
    owners.insert(owner);
    auto const foreign =
        Image::OnMemory(&voxel, cTypeOf<TypeParam>, {1, 1, 1, 1, 1}, {sizeof(TypeParam)}, 1, std::move(owner));
    makeConstView<TypeParam>(foreign.get());
    makeConstView<double>(foreign.get());
    makeConstView<unsigned char>(foreign.get());
  }
  for (auto const& owner : owners) EXPECT_TRUE(owner.expired());
}

// Nor may it keep records of windows that are no longer viewed.
TEST(ViewIdentity, TakesNoMemoryForWindowsOfThePast) {
  auto const image = Image::New(pxl::cFloat, {200, 200, 1, 1, 1});
  auto const lookAtAllWindows = [&] {
    for (unsigned long col = 0; col < 200; ++col)
      for (unsigned long row = 0; row < 200; ++row) {
        ImageModelSizeProxy const window(static_cast<ImageModel const*>(image.get()), col, 1, row, 1, 0, 1, 0, 1, 0,
                                         1);
        makeConstView<float>(&window);
      }
  };
  auto const before = ::mallinfo2().uordblks;
  lookAtAllWindows();
  // A record of ten bytes for each would be detected.
  EXPECT_LT(::mallinfo2().uordblks, before + 400000);
}

TEST(ViewIdentity, HoldsUnderManyThreads) {
  auto const image = Image::New(pxl::cFloat, {16, 16, 1, 1, 1});
  std::vector<std::thread> threads;
  std::atomic<int> nbDifferences{0};
  for (int t = 0; t < 16; ++t)
    threads.emplace_back([&] {
      for (int round = 0; round < 500; ++round) {
        // Interfaces come and go, as no view stays.
        auto const a = makeConstView<float>(image.get());
        auto const b = makeView<float>(image.get());
        auto const c = makeConstView<short>(image.get());
        auto const d = makeConstView<short>(image.get());
        if (a->getInterface() != b->getInterface() || c->getInterface() != d->getInterface()) ++nbDifferences;
        if (readVoxel(*a, {3, 3, 0, 0, 0}) != 0) ++nbDifferences;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(nbDifferences, 0);
}

TEST(ViewRefusal, NullImageNullBorderAndModelWithoutVoxels) {
  class NoVoxels : public ImageModel {
   public:
    unsigned long getNumOf(pxl::Components const&) const override { return 1; }
    pxl::VoxelTypes getVoxelType() const override { return pxl::cFloat; }
    int getInterpretation() const override { return 1; }
  };
  NoVoxels model;
  ImageModel const* const none = nullptr;
  auto const image = Image::New(pxl::cFloat, {1, 1, 1, 1, 1});
  refusalOf([&] { makeConstView<float>(none); });
  refusalOf([&] { makeView<float>(nullptr); });
  refusalOf([&] { makeConstView<float>(&model); });
  refusalOf([&] { pxl::access::View<float>::New(static_cast<ImageModel const*>(image.get()), nullptr); });
  refusalOf([&] { pxl::access::View<float>::New(static_cast<ImageModel*>(image.get()), nullptr); });
}

}  // namespace
