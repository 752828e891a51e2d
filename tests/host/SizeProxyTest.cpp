#include <gtest/gtest.h>

#include "support/Folder.h"
#include "support/Images.h"
#include "support/Raised.h"
#include "support/Random.h"

namespace {

using namespace host_test;
using pxl::Image;
using pxl::ImageModel;
using pxl::ImageModelSizeProxy;
using pxl::ImageSizes;

struct Window {
  std::array<unsigned long, 5> begin;
  ImageSizes size;
};

template <class Model>
std::unique_ptr<ImageModelSizeProxy> makeProxy(Model* image, Window const& w) {
  return std::make_unique<ImageModelSizeProxy>(image, w.begin[0], w.size[0], w.begin[1], w.size[1], w.begin[2],
                                               w.size[2], w.begin[3], w.size[3], w.begin[4], w.size[4]);
}

Window chooseWindow(Random& random, ImageSizes const& sizes) {
  Window window{};
  for (std::size_t i = 0; i < 5; ++i) {
    window.begin[i] = random.between(0UL, sizes[i] - 1);
    window.size[i] = random.between(1UL, sizes[i] - window.begin[i]);
  }
  return window;
}

template <class T>
class SizeProxy : public ::testing::Test {
 protected:
  // Each voxel encodes its position as far as the type allows.
  static T valueAt(Position const& at) {
    return static_cast<T>(at[0] + 6 * at[1] + 36 * at[2] + 101 * at[3] + 211 * at[4]);
  }
  std::shared_ptr<Image> makeImage() {
    auto image = Image::New(cTypeOf<T>, {6, 5, 4, 3, 3}, 5);
    fillImage<T>(*image, valueAt);
    return image;
  }
  static void expectWindow(ImageModel const& model, Window const& window) {
    auto const view = makeConstView<T>(&model);
    auto const region = view->getLargestPossibleRegion();
    EXPECT_EQ(region.colsBegin() + region.rowsBegin() + region.plansBegin() + region.sequenceBegin() +
                  region.spectralSeriesBegin(),
              0);
    EXPECT_EQ((ImageSizes{view->nbCols, view->nbRows, view->nbPlans, view->nbSequence, view->nbSpectralSeries}),
              window.size);
    for (int i = 0; i < 5; ++i)
      EXPECT_EQ(model.getNumOf(static_cast<pxl::Components>(i)), window.size[static_cast<std::size_t>(i)]);
    EXPECT_EQ(model.getVoxelType(), cTypeOf<T>);
    EXPECT_EQ(model.getInterpretation(), 5);
    forEachPosition(window.size, [&](Position const& at) {
      Position whole = at;
      for (std::size_t i = 0; i < 5; ++i) whole[i] += static_cast<long>(window.begin[i]);
      ASSERT_EQ(readVoxel(*view, at), valueAt(whole));
    });
  }

  Random random;
};
TEST_TYPES(SizeProxy, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(SizeProxy, ReadsTheSubImage) {
  auto const image = this->makeImage();
  Window const whole{{0, 0, 0, 0, 0}, image->getSizes()};
  this->expectWindow(*makeProxy<ImageModel const>(image.get(), whole), whole);
  for (int round = 0; round < 60; ++round) {
    Window const window = chooseWindow(this->random, image->getSizes());
    this->expectWindow(*makeProxy<ImageModel const>(image.get(), window), window);
  }
}

TEST_OF_TYPES(SizeProxy, NestsToAnyDepth) {
  auto const image = this->makeImage();
  for (int round = 0; round < 60; ++round) {
    Window const outer = chooseWindow(this->random, image->getSizes());
    auto const first = makeProxy<ImageModel const>(image.get(), outer);
    Window const middle = chooseWindow(this->random, outer.size);
    auto const second = makeProxy<ImageModel const>(first.get(), middle);
    Window const inner = chooseWindow(this->random, middle.size);
    auto const third = makeProxy<ImageModel const>(second.get(), inner);
    Window window = inner;
    for (std::size_t i = 0; i < 5; ++i) window.begin[i] += outer.begin[i] + middle.begin[i];
    this->expectWindow(*third, window);
  }
}

TEST_OF_TYPES(SizeProxy, IsWindowOfAFileToo) {
  auto const image = this->makeImage();
  Folder const folder;
  std::string const path = folder / "image.raw";
  writeFile(path, std::string(static_cast<char const*>(image->getVoxels()),
                              countVoxels(image->getSizes()) * sizeof(TypeParam)));
  auto const file = Image::OnDisk(path, pxl::FileModes::cReadOnly, cTypeOf<TypeParam>, image->getSizes(), 0, 5);
  for (int round = 0; round < 20; ++round) {
    Window const window = chooseWindow(this->random, image->getSizes());
    this->expectWindow(*makeProxy<ImageModel const>(file.get(), window), window);
  }
}

TEST_OF_TYPES(SizeProxy, WritesOnlyItsWindow) {
  auto const image = this->makeImage();
  Window const window{{1, 2, 1, 0, 2}, {4, 2, 2, 2, 1}};
  auto const proxy = makeProxy<ImageModel>(image.get(), window);
  auto const view = makeView<TypeParam>(proxy.get());
  std::vector<TypeParam> const row(window.size[0], TypeParam(99));
  forEachPosition({1, 2, 2, 2, 1}, [&](Position const& at) {
    EXPECT_TRUE(view->getInterface()->writeRowAt(4, row.data(), 0, at[1], at[2], at[3], at[4]));
  });
  auto const whole = makeConstView<TypeParam>(image.get());
  forEachPosition(image->getSizes(), [&](Position const& at) {
    bool isInside = true;
    for (std::size_t i = 0; i < 5; ++i)
      isInside = isInside && at[i] >= static_cast<long>(window.begin[i]) &&
                 at[i] < static_cast<long>(window.begin[i] + window.size[i]);
    ASSERT_EQ(readVoxel(*whole, at), isInside ? TypeParam(99) : this->valueAt(at));
  });
}

TEST(SizeProxy, IsWritableOnlyThroughAWritableChain) {
  auto const image = Image::New(pxl::cFloat, {4, 4, 1, 1, 1});
  Window const all{{0, 0, 0, 0, 0}, {4, 4, 1, 1, 1}};
  auto const writable = makeProxy<ImageModel>(image.get(), all);
  auto const readOnly = makeProxy<ImageModel const>(image.get(), all);
  auto const onReadOnly = makeProxy<ImageModel>(readOnly.get(), all);
  auto const onWritable = makeProxy<ImageModel>(writable.get(), all);
  EXPECT_NO_THROW(makeView<float>(writable.get()));
  EXPECT_NO_THROW(makeView<float>(onWritable.get()));
  refusalOf([&] { makeView<float>(readOnly.get()); });
  refusalOf([&] { makeView<float>(onReadOnly.get()); });
  EXPECT_NO_THROW(makeConstView<float>(onReadOnly.get()));
}

TEST(SizeProxy, StaysInsideItsImage) {
  auto const image = Image::New(pxl::cUnsignedInteger8, {4, 5, 6, 7, 8});
  for (std::size_t i = 0; i < 5; ++i) {
    unsigned long const size = image->getSizes()[i];
    Window window{{0, 0, 0, 0, 0}, {1, 1, 1, 1, 1}};
    auto const attempt = [&](unsigned long begin, unsigned long count) {
      window.begin[i] = begin;
      window.size[i] = count;
      return makeProxy<ImageModel const>(image.get(), window);
    };
    EXPECT_NO_THROW(attempt(0, size));
    EXPECT_NO_THROW(attempt(size - 1, 1));
    EXPECT_NO_THROW(attempt(size, 0));
    refusalOf([&] { attempt(0, size + 1); });
    refusalOf([&] { attempt(1, size); });
    refusalOf([&] { attempt(size, 1); });
    refusalOf([&] { attempt(size + 1, 0); });
    // The sum of both would overflow to something small.
    refusalOf([&] { attempt(~0UL, 2); });
    refusalOf([&] { attempt(2, ~0UL); });
  }
  ImageModel const* const none = nullptr;
  refusalOf([&] { makeProxy<ImageModel const>(none, {}); });
}

TEST(SizeProxy, OfAnImageThatShrankIsRefused) {
  auto const image = Image::New(pxl::cUnsignedInteger8, {64, 64, 1, 1, 1});
  auto const proxy = makeProxy<ImageModel>(image.get(), {{32, 32, 0, 0, 0}, {32, 32, 1, 1, 1}});
  auto const small = Image::New(pxl::cUnsignedInteger8, {2, 2, 1, 1, 1});
  image->enforceSameCharacteristics(small.get(), pxl::cSizes);
  refusalOf([&] { makeConstView<unsigned char>(proxy.get()); });
}

TEST(SizeProxy, MayBeEmpty) {
  auto const image = Image::New(pxl::cUnsignedInteger8, {4, 4, 1, 1, 1});
  auto const proxy = makeProxy<ImageModel const>(image.get(), {{4, 0, 0, 0, 0}, {0, 4, 1, 1, 1}});
  EXPECT_EQ(makeConstView<unsigned char>(proxy.get())->getLargestPossibleRegion().getNumOfVoxels(), 0u);
}

}  // namespace
