#include <gtest/gtest.h>

#include <cstdint>

#include "support/Images.h"
#include "support/Raised.h"

namespace {

using namespace host_test;
using pxl::Image;
using pxl::ImageSizes;

template <class T>
class ImageInMemory : public ::testing::Test {};
TEST_TYPES(ImageInMemory, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(ImageInMemory, IsZeroFilledAnd64ByteAligned) {
  // Below and above the size from which whole pages are taken.
  for (ImageSizes const& sizes : {ImageSizes{1, 1, 1, 1, 1}, ImageSizes{3, 5, 2, 3, 2}, ImageSizes{63, 1, 1, 1, 1},
                                  ImageSizes{1025, 1024, 1, 1, 2}}) {
    // Memory that was used before comes back dirty, unless the host cleans it.
    for (int round = 0; round < 2; ++round) {
      auto const image = Image::New(cTypeOf<TypeParam>, sizes);
      auto* const bytes = static_cast<unsigned char*>(image->getVoxels());
      ASSERT_NE(bytes, nullptr);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(bytes) % 64, 0u);
      unsigned long const nbBytes = countVoxels(sizes) * sizeof(TypeParam);
      for (unsigned long i = 0; i < nbBytes; ++i) {
        ASSERT_EQ(bytes[i], 0);
        bytes[i] = 0xAB;
      }
    }
  }
}

TEST_OF_TYPES(ImageInMemory, TellsItsCharacteristicsAndIsPackedInCOrder) {
  auto const image = Image::New(cTypeOf<TypeParam>, {2, 3, 5, 7, 11}, pxl::cBinary);
  long expected = sizeof(TypeParam);
  for (unsigned long i = 0; i < 5; ++i) {
    EXPECT_EQ(image->getNumOf(static_cast<pxl::Components>(i)), (ImageSizes{2, 3, 5, 7, 11}[i]));
    EXPECT_EQ(image->getStrides()[i], expected);
    expected *= static_cast<long>(image->getSizes()[i]);
  }
  EXPECT_EQ(image->getVoxelType(), cTypeOf<TypeParam>);
  EXPECT_EQ(image->getInterpretation(), 0);
  image->setInterpretation(7);
  EXPECT_EQ(image->getInterpretation(), 7);
  EXPECT_EQ(Image::New(cTypeOf<TypeParam>, {1, 1, 1, 1, 1})->getInterpretation(), pxl::cGrey);
}

TEST(ImageInMemory, MayHaveNoVoxels) {
  for (std::size_t empty = 0; empty < 5; ++empty) {
    ImageSizes sizes{3, 3, 3, 3, 3};
    sizes[empty] = 0;
    auto const image = Image::New(pxl::cUnsignedInteger16, sizes);
    EXPECT_EQ(image->getSizes(), sizes);
    auto const view = makeConstView<unsigned short>(image.get());
    EXPECT_EQ(view->getLargestPossibleRegion().getNumOfVoxels(), 0u);
  }
}

// The product of the four large sizes is far beyond 64 bits.
TEST(ImageInMemory, WithoutVoxelsMayHaveLargeSizes) {
  unsigned long const largest = (1UL << 31) - 1;
  for (std::size_t empty = 0; empty < 5; ++empty) {
    ImageSizes sizes{largest, largest, largest, largest, largest};
    sizes[empty] = 0;
    EXPECT_EQ(Image::New(pxl::cDouble, sizes)->getSizes(), sizes);
  }
}

TEST(ImageLimits, AreCheckedBeforeAnythingIsAllocated) {
  unsigned long const tooLong = 1UL << 31;
  for (std::size_t i = 0; i < 5; ++i) {
    ImageSizes sizes{1, 1, 1, 1, 1};
    sizes[i] = tooLong;
    EXPECT_TRUE(contains(refusalOf([&] { Image::New(pxl::cUnsignedInteger8, sizes); }), "2147483647"));
    sizes[i] = ~0UL;
    refusalOf([&] { Image::New(pxl::cUnsignedInteger8, sizes); });
    sizes[(i + 1) % 5] = 0;
    refusalOf([&] { Image::New(pxl::cUnsignedInteger8, sizes); });
  }
  // 2^40 and a few voxels, and products that overflow 64 bits, to 0 among others.
  unsigned long const m = (1UL << 31) - 1;
  for (ImageSizes const& sizes :
       {ImageSizes{1UL << 20, (1UL << 20) + 1, 1, 1, 1}, ImageSizes{1, 1, 1UL << 30, 1UL << 11, 1},
        ImageSizes{m, m, m, m, m}, ImageSizes{1UL << 16, 1UL << 16, 1UL << 16, 1UL << 16, 1},
        ImageSizes{1UL << 30, 1UL << 30, 1, 1, 16}, ImageSizes{1UL << 20, 1UL << 20, 1UL << 24, 1, 1}})
    EXPECT_TRUE(contains(refusalOf([&] { Image::New(pxl::cDouble, sizes); }), "2^40"));
}

TEST(ImageLimits, Allow2To40VoxelsAndNoMore) {
  // One row that stands for all: nothing of this size need exist.
  std::vector<unsigned char> row(1UL << 20);
  for (std::size_t i = 0; i < row.size(); ++i) row[i] = static_cast<unsigned char>(i * 7);
  pxl::ImageStrides const strides{1, 0, 0, 0, 0};
  auto const open = [&](ImageSizes const& sizes) {
    return Image::OnMemory(static_cast<void const*>(row.data()), pxl::cUnsignedInteger8, sizes, strides);
  };
  auto const image = open({1UL << 20, 1UL << 10, 1UL << 10, 1, 1});
  auto const view = makeConstView<unsigned char>(image.get());
  EXPECT_EQ(view->getLargestPossibleRegion().getNumOfVoxels(), 1UL << 40);
  EXPECT_EQ(readVoxel(*view, {(1 << 20) - 1, 1023, 1023, 0, 0}), row.back());
  refusalOf([&] { open({1UL << 20, 1UL << 10, (1UL << 10) + 1, 1, 1}); });
}

TEST(ImageLimits, RefuseVoxelTypesThatNoImageHas) {
  char memory[64] = {};
  for (int const type : {3, 7, 10, 11, 12, 100, -1}) {
    auto const voxelType = static_cast<pxl::VoxelTypes>(type);
    refusalOf([&] { Image::New(voxelType, {1, 1, 1, 1, 1}); });
    refusalOf([&] { Image::New(voxelType, {0, 1, 1, 1, 1}); });
    refusalOf([&] { Image::OnMemory(memory, voxelType, {1, 1, 1, 1, 1}, {}); });
    refusalOf([&] { Image::OnDisk("/nowhere", pxl::FileModes::cReadOnly, voxelType, {1, 1, 1, 1, 1}); });
    refusalOf([&] { Image::OnMappedFile("/nowhere", voxelType, {1, 1, 1, 1, 1}); });
  }
}

/** A storage that says to have these voxels. */
class PretendedStorage final : public pxl::access::VoxelStorage {
 public:
  PretendedStorage(pxl::VoxelTypes type, unsigned long const (&sizes)[5]) : VoxelStorage(type, sizes) {}
  bool isOnDisk() const override { return false; }
  bool isWritable() const override { return false; }
  long const* getStrides() const override { return m_key.strides; }
  pxl::access::StorageKey getKey() const override { return m_key; }
  void readRun(void*, unsigned long, unsigned long const (&)[5]) const override {}
  bool writeRun(void const*, unsigned long, unsigned long const (&)[5]) override { return false; }

 private:
  pxl::access::StorageKey m_key{};
};

TEST(ImageLimits, HoldForAStorageOfAnyKind) {
  auto const open = [](pxl::VoxelTypes type, unsigned long columns, unsigned long rows) {
    unsigned long const sizes[] = {columns, rows, 1, 1, 1};
    return Image::OnStorage(std::make_shared<PretendedStorage>(type, sizes));
  };
  EXPECT_EQ(open(pxl::cDouble, 1UL << 20, 1UL << 20)->getNumOf(pxl::cRows), 1UL << 20);
  EXPECT_EQ(open(pxl::cDouble, 0, (1UL << 31) - 1)->getNumOf(pxl::cColumns), 0u);
  EXPECT_TRUE(contains(refusalOf([&] { open(pxl::cUnsignedInteger8, 1UL << 31, 1); }), "2147483647"));
  EXPECT_TRUE(contains(refusalOf([&] { open(pxl::cUnsignedInteger8, 1UL << 31, 0); }), "2147483647"));
  EXPECT_TRUE(contains(refusalOf([&] { open(pxl::cUnsignedInteger8, 1UL << 20, (1UL << 20) + 1); }), "2^40"));
  EXPECT_TRUE(contains(refusalOf([&] { open(static_cast<pxl::VoxelTypes>(7), 1, 1); }), "no images of type"));
  EXPECT_TRUE(contains(refusalOf([&] { Image::OnStorage(nullptr); }), "needs a storage"));
}

TEST_OF_TYPES(ImageInMemory, TakesOnTheCharacteristicsOfAnother) {
  auto const image = Image::New(cTypeOf<TypeParam>, {2, 2, 1, 1, 1});
  auto const model = Image::New(pxl::cInteger16, {4, 3, 2, 1, 5}, pxl::cBinary);
  fillImage<TypeParam>(*image, [](Position const&) { return TypeParam(1); });
  image->enforceSameCharacteristics(model.get(), pxl::cSizes);
  EXPECT_EQ(image->getSizes(), model->getSizes());
  EXPECT_EQ(image->getVoxelType(), cTypeOf<TypeParam>);
  EXPECT_EQ(image->getInterpretation(), pxl::cGrey);
  for (TypeParam const voxel : readAll(*makeConstView<TypeParam>(image.get()))) ASSERT_EQ(voxel, TypeParam(0));

  fillImage<TypeParam>(*image, [](Position const&) { return TypeParam(1); });
  image->enforceSameCharacteristics(model.get(), pxl::cInterpretation);
  EXPECT_EQ(image->getInterpretation(), pxl::cBinary);
  // Nothing but the interpretation was asked for, so the voxels stay.
  for (TypeParam const voxel : readAll(*makeConstView<TypeParam>(image.get()))) ASSERT_EQ(voxel, TypeParam(1));

  int const all = pxl::cAllCharacteristics;
  static_cast<pxl::ImageModel*>(image.get())->enforceSameCharacteristics(model.get(), all);
  EXPECT_EQ(image->getVoxelType(), pxl::cInteger16);
}

TEST(FixedImages, OnlyCheckTheCharacteristicsOfAnother) {
  unsigned char memory[12] = {};
  auto const fixed = Image::OnMemory(memory, pxl::cUnsignedInteger8, {4, 3, 1, 1, 1}, {1, 4, 12, 12, 12});
  pxl::ImageModelSizeProxy proxy(fixed.get(), 0, 4, 0, 3, 0, 1, 0, 1, 0, 1);
  auto const same = Image::New(pxl::cUnsignedInteger8, {4, 3, 1, 1, 1});
  auto const otherSize = Image::New(pxl::cUnsignedInteger8, {4, 3, 1, 1, 2});
  auto const otherType = Image::New(pxl::cInteger8, {4, 3, 1, 1, 1});
  auto const binary = Image::New(pxl::cUnsignedInteger8, {4, 3, 1, 1, 1}, pxl::cBinary);
  for (pxl::ImageModel* image : {static_cast<pxl::ImageModel*>(fixed.get()), static_cast<pxl::ImageModel*>(&proxy)}) {
    EXPECT_NO_THROW(image->enforceSameCharacteristics(same.get(), pxl::cAllCharacteristics));
    refusalOf([&] { image->enforceSameCharacteristics(otherSize.get(), pxl::cSizes); });
    EXPECT_NO_THROW(image->enforceSameCharacteristics(otherSize.get(), pxl::cVoxelType));
    refusalOf([&] { image->enforceSameCharacteristics(otherType.get(), pxl::cVoxelType); });
    EXPECT_NO_THROW(image->enforceSameCharacteristics(otherType.get(), pxl::cSizes));
    refusalOf([&] { image->enforceSameCharacteristics(nullptr, pxl::cAllCharacteristics); });
  }
  refusalOf([&] { proxy.enforceSameCharacteristics(binary.get(), pxl::cInterpretation); });
  refusalOf([&] { same->enforceSameCharacteristics(nullptr, pxl::cSizes); });
}

TEST(ImageInMemory, KeepsItsVoxelsWhenTheNewCharacteristicsAreRefused) {
  auto const image = Image::New(pxl::cUnsignedInteger8, {2, 1, 1, 1, 1});
  *static_cast<unsigned char*>(image->getVoxels()) = 42;
  unsigned char byte = 0;
  auto const huge = Image::OnMemory(&byte, pxl::cUnsignedInteger8, {1, 1UL << 20, 1UL << 20, 1, 1}, {1, 0, 0, 0, 0});
  EXPECT_ANY_THROW(image->enforceSameCharacteristics(huge.get(), pxl::cAllCharacteristics));
  EXPECT_EQ(image->getSizes(), (ImageSizes{2, 1, 1, 1, 1}));
  EXPECT_EQ(*static_cast<unsigned char*>(image->getVoxels()), 42);
}

}  // namespace
