#include <tbb/parallel_for.h>

#include <cmath>

#include "instrument/Recorder.h"
#include "pxl/ImageModelAdapter.h"
#include "pxl/io/TemporaryImage.h"
#include "support/Folder.h"
#include "support/Images.h"
#include "support/Raised.h"
#include "support/Running.h"

namespace {

using namespace host_test;
using pxl::Image;
using pxl::ImageModel;
using pxl::ImageModelAdapter;

auto adapt(ImageModel* image, pxl::VoxelTypes type) {
  return std::make_unique<ImageModelAdapter>(image, type, pxl::cRoundAndSaturate);
}

class Adapter : public ::testing::Test {
 protected:
  Adapter() {
    fillImage<unsigned char>(
        *image, [](Position const& at) { return static_cast<unsigned char>(at[0] + 10 * at[1] + 50 * at[2]); });
  }
  unsigned char voxelOf(Position const& at) const {
    return loadVoxel<unsigned char>(std::as_const(*image).getVoxels(), image->getStrides(), at);
  }
  static bool write(pxl::access::View<float>& view, Position const& at, std::vector<float> const& row) {
    return view.getInterface()->writeRowAt(static_cast<long>(row.size()), row.data(), at[0], at[1], at[2], at[3],
                                           at[4]);
  }
  static ImageModel const* constOf(ImageModelAdapter const& adapter) { return adapter.getImageModel(); }

  std::shared_ptr<Image> image = Image::New(pxl::cUnsignedInteger8, {9, 5, 3, 2, 1}, pxl::cBinary);
  pxl::instrument::Recorder recorder;
};

TEST_F(Adapter, PresentsTheImageAsItsType) {
  auto const adapter = adapt(image.get(), pxl::cFloat);
  ImageModel const& model = *adapter->getImageModel();
  EXPECT_EQ(model.getVoxelType(), pxl::cFloat);
  EXPECT_EQ(model.getInterpretation(), pxl::cBinary);
  pxl::Components const components[] = {pxl::cColumns, pxl::cRows, pxl::cPlans, pxl::cSequence, pxl::cSpectralSeries};
  for (auto const component : components) EXPECT_EQ(model.getNumOf(component), image->getNumOf(component));
  auto const source = model.getSource();
  EXPECT_EQ(source.storage->getVoxelType(), pxl::cFloat);
  EXPECT_EQ(source.storage->getMemory(), nullptr);
  EXPECT_FALSE(source.storage->isOnDisk());
  EXPECT_TRUE(source.isWritable);
}

TEST_F(Adapter, RefusesWhatItCantPresent) {
  refusalOf([] { adapt(nullptr, pxl::cFloat); });
  refusalOf([this] { adapt(image.get(), pxl::cInteger64); });
  refusalOf([this] { ImageModelAdapter(image.get(), pxl::cFloat, static_cast<pxl::DataConvertionTypes>(1)); });
}

TEST_F(Adapter, OfAReadOnlyImageGivesViewsToRead) {
  auto const readOnly = Image::OnMemory(std::as_const(*image).getVoxels(), pxl::cUnsignedInteger8, {9, 5, 3, 2, 1},
                                        image->getStrides());
  auto const adapter = adapt(readOnly.get(), pxl::cFloat);
  EXPECT_EQ(readVoxel(*makeConstView<float>(adapter->getImageModel()), {8, 4, 1, 0, 0}), 98.f);
  refusalOf([&] { makeView<float>(adapter->getImageModel()); });
}

TEST_F(Adapter, WritesAtOnceWhenNothingIsRead) {
  {
    auto const adapter = adapt(image.get(), pxl::cFloat);
    auto const view = makeView<float>(adapter->getImageModel());
    ASSERT_TRUE(write(*view, {2, 3, 1, 1, 0}, {1.5f, -7.f, 1000.f, NAN}));
    EXPECT_EQ(voxelOf({2, 3, 1, 1, 0}), 2);
    EXPECT_EQ(voxelOf({3, 3, 1, 1, 0}), 0);
    EXPECT_EQ(voxelOf({4, 3, 1, 1, 0}), 255);
    EXPECT_EQ(voxelOf({5, 3, 1, 1, 0}), 0);
    // Reading later doesn't change that.
    auto const reader = makeConstView<float>(constOf(*adapter));
    ASSERT_TRUE(write(*view, {0, 0, 0, 0, 0}, {77.f}));
    EXPECT_EQ(readVoxel(*reader, {0, 0, 0, 0, 0}), 77.f);
  }
  EXPECT_EQ(recorder.count("reserve"), 0u);
}

TEST_F(Adapter, KeepsWritesApartFromReadsUntilItGoes) {
  for (pxl::VoxelTypes const type : {pxl::cFloat, pxl::cDouble, pxl::cUnsignedInteger8}) {
    auto const before = voxelOf({2, 3, 1, 1, 0});
    auto adapter = adapt(image.get(), type);
    auto const reader = makeConstView<float>(constOf(*adapter));
    auto const writer = makeView<float>(adapter->getImageModel());
    EXPECT_EQ(static_cast<void*>(reader->getInterface()), writer->getInterface());
    float const value = static_cast<float>(before) + 1;
    ASSERT_TRUE(write(*writer, {2, 3, 1, 1, 0}, {value, value}));
    EXPECT_EQ(readVoxel(*reader, {2, 3, 1, 1, 0}), static_cast<float>(before));
    EXPECT_EQ(readVoxel(*writer, {2, 3, 1, 1, 0}), static_cast<float>(before));
    EXPECT_EQ(voxelOf({2, 3, 1, 1, 0}), before);
    adapter.reset();
    EXPECT_EQ(voxelOf({2, 3, 1, 1, 0}), before + 1);
    EXPECT_EQ(voxelOf({3, 3, 1, 1, 0}), before + 1);
    // The views still exist, and write directly from now on.
    EXPECT_EQ(readVoxel(*reader, {2, 3, 1, 1, 0}), value);
    ASSERT_TRUE(write(*writer, {0, 0, 0, 0, 0}, {value}));
    EXPECT_EQ(readVoxel(*reader, {0, 0, 0, 0, 0}), value);
  }
  // The write buffer has the image's type.
  for (auto const& event : recorder.getTrace("reserve")) EXPECT_EQ(event.values[0], pxl::cUnsignedInteger8);
  EXPECT_EQ(recorder.count("reserve"), 3u);
  EXPECT_EQ(recorder.nbTemporaries(), 0);
}

TEST_F(Adapter, ShowsWhatWasCollectedToViewsThatComeAfterTheFilter) {
  auto const adapter = adapt(image.get(), pxl::cFloat);
  auto const reader = makeConstView<float>(constOf(*adapter));
  auto writer = makeView<float>(adapter->getImageModel());
  ASSERT_TRUE(write(*writer, {0, 1, 0, 0, 0}, {99.f}));
  // During the filter all readers see the original image.
  auto const early = makeConstView<float>(constOf(*adapter));
  EXPECT_EQ(readVoxel(*early, {0, 1, 0, 0, 0}), 10.f);
  EXPECT_EQ(voxelOf({0, 1, 0, 0, 0}), 10);
  writer.reset();
  EXPECT_EQ(readVoxel(*early, {0, 1, 0, 0, 0}), 10.f);
  auto const late = makeConstView<float>(constOf(*adapter));
  EXPECT_EQ(readVoxel(*late, {0, 1, 0, 0, 0}), 99.f);
  EXPECT_EQ(voxelOf({0, 1, 0, 0, 0}), 99);
}

TEST_F(Adapter, WritesAtOnceWhenNobodyReadsAnyMore) {
  auto const adapter = adapt(image.get(), pxl::cFloat);
  for (int i = 0; i < 2; ++i) makeConstView<float>(constOf(*adapter)).reset();
  auto const writer = makeView<float>(adapter->getImageModel());
  ASSERT_TRUE(write(*writer, {0, 1, 0, 0, 0}, {99.f}));
  EXPECT_EQ(voxelOf({0, 1, 0, 0, 0}), 99);
  EXPECT_EQ(recorder.count("reserve"), 0u);
}

// A write buffer is stored when a read view is made; when its adapter is destroyed, another one may have begun.
TEST_F(Adapter, StoresNothingThatWasBegunThroughAnotherOne) {
  auto first = adapt(image.get(), pxl::cFloat), second = adapt(image.get(), pxl::cFloat);
  auto const reader = makeConstView<float>(constOf(*first));
  auto writer = makeView<float>(first->getImageModel());
  ASSERT_TRUE(write(*writer, {0, 1, 0, 0, 0}, {99.f}));
  writer.reset();
  auto const next = makeConstView<float>(constOf(*second));
  EXPECT_EQ(voxelOf({0, 1, 0, 0, 0}), 99);
  writer = makeView<float>(second->getImageModel());
  ASSERT_TRUE(write(*writer, {1, 1, 0, 0, 0}, {98.f}));
  first.reset();
  EXPECT_EQ(voxelOf({1, 1, 0, 0, 0}), 11);
  second.reset();
  EXPECT_EQ(voxelOf({1, 1, 0, 0, 0}), 98);
}

TEST_F(Adapter, StoresWhatItCollectedWhenItIsCommitted) {
  auto const before = voxelOf({2, 3, 1, 1, 0});
  auto adapter = adapt(image.get(), pxl::cFloat);
  adapter->commit();  // nothing is collected yet
  auto const reader = makeConstView<float>(constOf(*adapter));
  auto const writer = makeView<float>(adapter->getImageModel());
  ASSERT_TRUE(write(*writer, {2, 3, 1, 1, 0}, {200.f}));
  EXPECT_EQ(voxelOf({2, 3, 1, 1, 0}), before);
  adapter->commit();
  EXPECT_EQ(voxelOf({2, 3, 1, 1, 0}), 200);
  EXPECT_EQ(readVoxel(*reader, {2, 3, 1, 1, 0}), 200);
  // Later writes go directly to the image, and what was stored is not stored again.
  ASSERT_TRUE(write(*writer, {2, 3, 1, 1, 0}, {7.f}));
  EXPECT_EQ(voxelOf({2, 3, 1, 1, 0}), 7);
  adapter->commit();
  adapter.reset();
  EXPECT_EQ(voxelOf({2, 3, 1, 1, 0}), 7);
}

TEST_F(Adapter, DropsWhatItCollectedWhenAnExceptionUnwinds) {
  auto const before = voxelOf({2, 3, 1, 1, 0});
  EXPECT_THROW(
      {
        auto const adapter = adapt(image.get(), pxl::cFloat);
        auto const reader = makeConstView<float>(constOf(*adapter));
        auto const writer = makeView<float>(adapter->getImageModel());
        write(*writer, {2, 3, 1, 1, 0}, {200.f});
        throw std::range_error("unwinds");
      },
      std::range_error);
  EXPECT_EQ(voxelOf({2, 3, 1, 1, 0}), before);
  // Within a handler that is already unwinding nothing new unwinds.
  struct Storing {
    ~Storing() {
      auto const adapter = adapt(target, pxl::cFloat);
      auto const reader = makeConstView<float>(constOf(*adapter));
      auto const writer = makeView<float>(adapter->getImageModel());
      write(*writer, {2, 3, 1, 1, 0}, {201.f});
    }
    ImageModel* target;
  };
  EXPECT_THROW(
      {
        Storing const storing{image.get()};
        throw std::range_error("unwinds");
      },
      std::range_error);
  EXPECT_EQ(voxelOf({2, 3, 1, 1, 0}), 201);
}

TEST_F(Adapter, SharesTheInterfaceWithAdaptersOfTheSamePlaceAlone) {
  auto const other =
      Image::OnMemory(image->getVoxels(), pxl::cUnsignedInteger8, {9, 5, 3, 2, 1}, image->getStrides());
  auto const asSigned = Image::OnMemory(image->getVoxels(), pxl::cInteger8, {9, 5, 3, 2, 1}, image->getStrides());
  pxl::ImageModelSizeProxy whole(static_cast<ImageModel*>(image.get()), 0, 9, 0, 5, 0, 3, 0, 2, 0, 1);
  pxl::ImageModelSizeProxy part(static_cast<ImageModel*>(image.get()), 1, 8, 0, 5, 0, 3, 0, 2, 0, 1);
  std::vector<std::unique_ptr<ImageModelAdapter>> adapters;
  std::vector<std::shared_ptr<pxl::access::View<float> const>> views;
  for (ImageModel* const model : {static_cast<ImageModel*>(image.get()), static_cast<ImageModel*>(other.get()),
                                  static_cast<ImageModel*>(&whole), static_cast<ImageModel*>(asSigned.get()),
                                  static_cast<ImageModel*>(&part)}) {
    adapters.push_back(adapt(model, pxl::cFloat));
    views.push_back(makeConstView<float>(constOf(*adapters.back())));
  }
  EXPECT_EQ(views[1]->getInterface(), views[0]->getInterface());
  EXPECT_EQ(views[2]->getInterface(), views[0]->getInterface());
  EXPECT_NE(views[3]->getInterface(), views[0]->getInterface());
  EXPECT_NE(views[4]->getInterface(), views[0]->getInterface());
  EXPECT_EQ(readVoxel(*views[4], {0, 2, 1, 0, 0}), 71.f);
  auto const plain = makeConstView<float>(image.get());
  EXPECT_NE(plain->getInterface(), views[0]->getInterface());
  auto const asDouble = adapt(image.get(), pxl::cDouble);
  EXPECT_NE(makeConstView<float>(constOf(*asDouble))->getInterface(), views[0]->getInterface());
}

TEST_F(Adapter, OfAWindowIsApartFromThoseOfItsSizeElsewhere) {
  pxl::ImageModelSizeProxy lower(static_cast<ImageModel*>(image.get()), 0, 9, 0, 5, 0, 1, 0, 2, 0, 1);
  pxl::ImageModelSizeProxy upper(static_cast<ImageModel*>(image.get()), 0, 9, 0, 5, 1, 1, 0, 2, 0, 1);
  auto const ofLower = adapt(&lower, pxl::cFloat), ofUpper = adapt(&upper, pxl::cFloat);
  auto const lowerView = makeConstView<float>(constOf(*ofLower)), upperView = makeConstView<float>(constOf(*ofUpper));
  EXPECT_NE(lowerView->getInterface(), upperView->getInterface());
  EXPECT_EQ(readVoxel(*lowerView, {1, 2, 0, 0, 0}), 21.f);
  EXPECT_EQ(readVoxel(*upperView, {1, 2, 0, 0, 0}), 71.f);
}

TEST_F(Adapter, OfTheWriterStoresAlsoWhenAnotherOneReads) {
  auto const other =
      Image::OnMemory(image->getVoxels(), pxl::cUnsignedInteger8, {9, 5, 3, 2, 1}, image->getStrides());
  auto input = adapt(image.get(), pxl::cFloat), output = adapt(other.get(), pxl::cFloat);
  auto const reader = makeConstView<float>(constOf(*input));
  auto const writer = makeView<float>(output->getImageModel());
  ASSERT_TRUE(write(*writer, {0, 1, 0, 0, 0}, {99.f}));
  EXPECT_EQ(readVoxel(*reader, {0, 1, 0, 0, 0}), 10.f);
  input.reset();
  EXPECT_EQ(voxelOf({0, 1, 0, 0, 0}), 10);
  output.reset();
  EXPECT_EQ(voxelOf({0, 1, 0, 0, 0}), 99);
}

TEST_F(Adapter, OfAWindowStoresInTheWindow) {
  pxl::ImageModelSizeProxy window(static_cast<ImageModel*>(image.get()), 2, 5, 1, 3, 1, 2, 1, 1, 0, 1);
  {
    auto const adapter = adapt(&window, pxl::cFloat);
    // And a window of what the adapter presents.
    pxl::ImageModelSizeProxy inner(adapter->getImageModel(), 1, 4, 0, 3, 0, 2, 0, 1, 0, 1);
    auto const reader = makeConstView<float>(&std::as_const(inner));
    auto const writer = makeView<float>(&inner);
    ASSERT_TRUE(write(*writer, {0, 2, 1, 0, 0}, {7.f, 8.f, 9.f, 10.f}));
    EXPECT_EQ(readVoxel(*reader, {0, 2, 1, 0, 0}), static_cast<float>(voxelOf({3, 3, 2, 1, 0})));
  }
  EXPECT_EQ(voxelOf({2, 3, 2, 1, 0}), 132);
  for (long col = 3; col < 7; ++col) EXPECT_EQ(voxelOf({col, 3, 2, 1, 0}), col + 4);
  EXPECT_EQ(voxelOf({7, 3, 2, 1, 0}), 137);
  EXPECT_EQ(recorder.getTrace("reserve").at(0).values, (std::vector<long>{pxl::cUnsignedInteger8, 5, 3, 2, 1, 1}));
}

// Rows, pieces of rows and single voxels, from many threads: all are written, and nothing else.
TEST_F(Adapter, StoresWhateverWasWritten) {
  auto const large = Image::New(pxl::cInteger16, {301, 97, 2, 1, 1});
  {
    auto const adapter = adapt(large.get(), pxl::cFloat);
    auto const reader = makeConstView<float>(constOf(*adapter));
    auto const writer = makeView<float>(adapter->getImageModel());
    tbb::parallel_for(0L, 97L, [&](long row) {
      for (long plan = 0; plan < 2; ++plan)
        for (long col = 0; col < 301; col += 1 + (row * 7) % 23) {
          long const count = std::min(301 - col, 1 + (row * 7) % 23);
          std::vector<float> voxels;
          for (long i = 0; i < count; ++i) voxels.push_back(static_cast<float>(row * 300 + col + i + plan));
          if ((row + plan) % 5 != 4) write(*writer, {col, row, plan, 0, 0}, voxels);
        }
    });
  }
  forEachPosition(large->getSizes(), [&](Position const& at) {
    short const expected = (at[1] + at[2]) % 5 == 4 ? short(0) : static_cast<short>(at[1] * 300 + at[0] + at[2]);
    ASSERT_EQ(loadVoxel<short>(large->getVoxels(), large->getStrides(), at), expected);
  });
}

TEST_F(Adapter, CollectsOnDiskWhenTheImageIsThere) {
  Folder const folder;
  auto const file = Image::OnDisk(folder / "image", pxl::FileModes::cCreate, pxl::cInteger16, {9, 5, 1, 1, 1});
  {
    auto const adapter = adapt(file.get(), pxl::cFloat);
    EXPECT_TRUE(adapter->getImageModel()->getSource().storage->isOnDisk());
    auto const reader = makeConstView<float>(constOf(*adapter));
    auto const writer = makeView<float>(adapter->getImageModel());
    ASSERT_TRUE(write(*writer, {3, 2, 0, 0, 0}, {-40000.f, 2.5f}));
    EXPECT_EQ(readVoxel(*reader, {3, 2, 0, 0, 0}), 0.f);
  }
  EXPECT_EQ(recorder.getTrace("TemporaryImage::New").at(0).values.at(0), pxl::io::cOnDisk);
  auto const view = makeConstView<short>(file.get());
  EXPECT_EQ(readVoxel(*view, {3, 2, 0, 0, 0}), -32768);
  EXPECT_EQ(readVoxel(*view, {4, 2, 0, 0, 0}), 2);
}

TEST_F(Adapter, WithoutRoomRaisesBeforeAnythingIsWritten) {
  recorder.isReserveGranted = false;
  auto const adapter = adapt(image.get(), pxl::cFloat);
  auto const reader = makeConstView<float>(constOf(*adapter));
  raisedBy<pxl::RuntimeError>([&] { makeView<float>(adapter->getImageModel()); });
  EXPECT_EQ(recorder.count("reserve"), 2u);
  recorder.isReserveGranted.reset();
  EXPECT_NE(makeView<float>(adapter->getImageModel()), nullptr);
}

}  // namespace
