// Extra images: where none is needed there is none, and it is where the rules of temporaries put it.
#include "host/support/Folder.h"
#include "pxl/Exception.h"
#include "pxl/access/View.h"
#include "pxl/io/TemporaryImage.h"
#include "support/Compositions.h"

namespace elements_test {
namespace {

using pxl::instrument::Recorder;

constexpr int cMemory = pxl::io::cInMemory, cDisk = pxl::io::cOnDisk;

class CompositionMemory : public ElementTest {
 protected:
  /** Where the temporary images of a run are kept, in the order of their making. */
  static std::vector<int> findTemporaries(Way const& way, pxl::ImageModel const* input, pxl::ImageModel* output,
                                          unsigned long extraMemory = 1UL << 30) {
    auto const algorithm = makeAlgorithm(way, StructuringElement::disk(2), input, output);
    algorithm->setMaximumExtraMemoryUsageInBytes(extraMemory);
    Recorder const recorder;
    algorithm->execute();
    std::vector<int> locations;
    for (auto const& event : recorder.getTrace("TemporaryImage::New"))
      locations.push_back(static_cast<int>(event.values.front()));
    return locations;
  }

  static std::vector<int> expect(Way const& way, bool isInPlace, int location) {
    bool const isFull = way.name == std::string("Gradient") && way.gradientMode == 0;
    return isFull || (isInPlace && isDifference(way)) ? std::vector<int>{location} : std::vector<int>{};
  }
};

// The operators that work on it make temporaries of their own beside it.
void expectOnDisk(Way const& way, bool isInPlace, std::vector<int> const& locations) {
  EXPECT_EQ(locations.empty(), !isInPlace || !isDifference(way)) << way.name;
  EXPECT_EQ(locations, std::vector<int>(locations.size(), cDisk)) << way.name;
}

TEST_F(CompositionMemory, IsOneImageForAGradientAndInPlace) {
  pxl::ImageSizes const sizes{50, 40, 3, 1, 1};
  auto const input = pxl::Image::New(pxl::cUnsignedInteger16, sizes);
  auto const output = pxl::Image::New(pxl::cUnsignedInteger16, sizes);
  for (Way const& way : cWays) {
    EXPECT_EQ(findTemporaries(way, input.get(), output.get()), expect(way, false, cMemory)) << way.name;
    EXPECT_EQ(findTemporaries(way, input.get(), input.get()), expect(way, true, cMemory)) << way.name;
    // 12000 bytes: only what is smaller than the limit is kept in memory.
    EXPECT_EQ(findTemporaries(way, input.get(), input.get(), 12001), expect(way, true, cMemory)) << way.name;
    expectOnDisk(way, true, findTemporaries(way, input.get(), input.get(), 12000));
  }
}

TEST_F(CompositionMemory, IsOnDiskWhereTheImagesAre) {
  host_test::Folder const folder;
  oracle::Random random(61);
  auto const image = random.image<short>({50, 40, 3, 1, 1});
  pxl::ImageSizes const sizes = oracle::toHostSizes(image.sizes);
  auto const input = pxl::Image::OnDisk(folder / "in", pxl::FileModes::cCreate, pxl::cInteger16, sizes);
  auto const output = pxl::Image::OnDisk(folder / "out", pxl::FileModes::cCreate, pxl::cUnsignedInteger16, sizes);
  auto const view = pxl::access::View<short>::New(static_cast<pxl::ImageModel*>(input.get()),
                                                  pxl::access::FixedBorderCondition<short>::New(0));
  for (long plan = 0; plan < 3; ++plan)
    for (long row = 0; row < 40; ++row)
      view->getInterface()->writeRowAt(50, &image.at({0, row, plan, 0, 0}), 0, row, plan, 0, 0);
  auto const result = pxl::access::View<unsigned short>::New(
      static_cast<pxl::ImageModel const*>(output.get()), pxl::access::FixedBorderCondition<unsigned short>::New(0));
  for (Way const& way : cWays) {
    if (!isDifference(way)) continue;
    // Each operator that sees an image on disk makes one of its own.
    auto const locations = findTemporaries(way, input.get(), output.get());
    EXPECT_EQ(locations, std::vector<int>(locations.size(), cDisk)) << way.name;
    EXPECT_EQ(locations.size(), (way.gradientMode == 0 ? 2u : 1u) + expect(way, false, cDisk).size()) << way.name;
    oracle::Image<unsigned short> written(image.sizes);
    for (long plan = 0; plan < 3; ++plan)
      for (long row = 0; row < 40; ++row)
        result->getInterface()->readRow(&written.at({0, row, plan, 0, 0}), 50, 0, row, plan, 0, 0);
    EXPECT_TRUE(areEqual(written, getExpectedDifference(way, image, listOf(StructuringElement::disk(2)))))
        << way.name;
  }
}

TEST_F(CompositionMemory, ThatIsMissingIsAnError) {
  auto const image = pxl::Image::New(pxl::cFloat, {50, 40, 1, 1, 1});
  auto const algorithm = makeAlgorithm({"Gradient"}, StructuringElement::disk(2), image.get(), image.get());
  Recorder recorder;
  recorder.isReserveGranted = false;
  auto const explain = [&]() -> std::string {
    try {
      algorithm->execute();
    } catch (pxl::RuleException const& refusal) {
      return refusal.what();
    }
    return "";
  };
  EXPECT_EQ(explain(), "there is no room in memory for the extra image of 8000 bytes");
  algorithm->setMaximumExtraMemoryUsageInBytes(1);
  EXPECT_EQ(explain(), "there is no room on disk for the extra image of 8000 bytes");
  recorder.isReserveGranted.reset();
  EXPECT_NO_THROW(algorithm->execute());
}

}  // namespace
}  // namespace elements_test
