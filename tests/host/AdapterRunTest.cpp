#include "instrument/Recorder.h"
#include "pxl/ImageModelAdapter.h"
#include "pxl/io/TemporaryImage.h"
#include "support/Images.h"
#include "support/Raised.h"
#include "support/Running.h"

namespace {

using namespace host_test;
using pxl::Image;
using pxl::ImageModelAdapter;

/** Zeros that can't be changed. */
class StubbornStorage final : public pxl::access::VoxelStorage {
 public:
  explicit StubbornStorage(unsigned long const (&sizes)[5]) : VoxelStorage(pxl::cUnsignedInteger8, sizes) {}
  bool isOnDisk() const override { return false; }
  bool isWritable() const override { return true; }
  long const* getStrides() const override { return m_key.strides; }
  pxl::access::StorageKey getKey() const override { return m_key; }
  void readRun(void* voxels, unsigned long count, unsigned long const (&)[5]) const override {
    std::memset(voxels, 0, count);
  }
  bool writeRun(void const*, unsigned long, unsigned long const (&)[5]) override { return false; }

 private:
  pxl::access::StorageKey m_key{{reinterpret_cast<unsigned long>(this), 0}, {}, 0, 0, {1, 4, 0, 0, 0}};
};

/** Adapters within the run of an algorithm. */
class AdapterRun : public RunningTest {
 protected:
  // Writes a voxel through an adapter that is read from as well.
  static void writeInPlace(pxl::ImageModel* target, bool isCommitting = false) {
    ImageModelAdapter adapter(target, pxl::cFloat, pxl::cRoundAndSaturate);
    auto const reader = makeConstView<float>(adapter.getImageModel());
    auto const writer = makeView<float>(adapter.getImageModel());
    float const voxel = 5;
    EXPECT_TRUE(writer->getInterface()->writeRowAt(1, &voxel, 1, 2, 0, 0, 0));
    if (isCommitting) adapter.commit();
  }
  void usePlaceThatFails() {
    unsigned long const sizes[] = {4, 4, 1, 1, 1};
    stubborn = Image::OnStorage(std::make_shared<StubbornStorage>(sizes));
    algorithm.inputImage = stubborn.get();
    algorithm.outputImage = stubborn.get();
  }

  std::shared_ptr<Image> stubborn;
  pxl::instrument::Recorder recorder;
};

TEST_F(AdapterRun, CollectsWhereTheAlgorithmHasRoom) {
  for (unsigned long const room : {17UL, 16UL, 0UL}) {
    recorder.clear();
    algorithm.setMaximumExtraMemoryUsageInBytes(room);
    execute([this](pxl::BaseAlgorithm*) { writeInPlace(image.get()); });
    EXPECT_EQ(recorder.getTrace("TemporaryImage::New").at(0).values.at(0),
              room == 17 ? pxl::io::cInMemory : pxl::io::cOnDisk)
        << room;
    EXPECT_EQ(static_cast<unsigned char*>(image->getVoxels())[9], 5);
  }
}

TEST_F(AdapterRun, RaisesWhatCouldNotBeStored) {
  usePlaceThatFails();
  bool isAtEnd = false;
  auto const text = raisedBy<pxl::RuntimeError>([&] {
    execute([&](pxl::BaseAlgorithm*) {
      writeInPlace(stubborn.get());
      isAtEnd = true;
    });
  });
  EXPECT_TRUE(contains(text, "stored")) << text;
  EXPECT_TRUE(isAtEnd);
  // The next run starts without a failure.
  execute([](pxl::BaseAlgorithm*) {});
}

TEST_F(AdapterRun, LetsTheRunnersOwnExceptionPass) {
  usePlaceThatFails();
  raisedBy<std::range_error>([&] {
    execute([&](pxl::BaseAlgorithm*) {
      writeInPlace(stubborn.get());
      throw std::range_error("first");
    });
  });
}

TEST_F(AdapterRun, OfAnInnerAlgorithmRaisesThere) {
  usePlaceThatFails();
  VolumeOperator inner;
  inner.inputImage = stubborn.get();
  inner.outputImage = stubborn.get();
  int depth = 0;
  execute([&](pxl::BaseAlgorithm*) {
    if (depth++ > 0) return writeInPlace(stubborn.get());
    raisedBy<pxl::RuntimeError>([&] { inner.execute(); });
  });
}

// The destructor stores only what wasn't committed.
TEST_F(AdapterRun, CommitRaisesWhereItIsCalled) {
  usePlaceThatFails();
  auto const text = raisedBy<pxl::RuntimeError>([&] { writeInPlace(stubborn.get(), true); });
  EXPECT_TRUE(contains(text, "stored")) << text;
  bool isCaught = false;
  // Within a run no failure remains for its end.
  execute([&](pxl::BaseAlgorithm*) {
    raisedBy<pxl::RuntimeError>([&] { writeInPlace(stubborn.get(), true); });
    isCaught = true;
  });
  EXPECT_TRUE(isCaught);
}

TEST_F(AdapterRun, OutsideIsNeededByNobody) {
  usePlaceThatFails();
  EXPECT_NO_THROW(writeInPlace(stubborn.get()));
}

}  // namespace
