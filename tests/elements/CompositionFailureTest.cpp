// What compositions refuse, and how they fail.
#include "pxl/Exception.h"
#include "support/Compositions.h"

namespace elements_test {
namespace {

class CompositionFailure : public ElementTest {
 protected:
  static std::string explain(Way const& way, StructuringElement const& element, pxl::VoxelTypes from,
                             pxl::VoxelTypes to) {
    auto const input = pxl::Image::New(from, {8, 8, 2, 1, 1});
    auto const output = pxl::Image::New(to, {8, 8, 2, 1, 1});
    try {
      makeAlgorithm(way, element, input.get(), output.get())->execute();
    } catch (pxl::InvalidCall const& refusal) {
      return refusal.what();
    }
    return "";
  }
};

TEST_F(CompositionFailure, ByAnOutputTypeThatDoesNotFit) {
  auto const element = StructuringElement::disk(1);
  std::vector<pxl::VoxelTypes> types;
  for (int value = pxl::cUnsignedInteger8; value <= pxl::cDouble; ++value)
    if (pxl::helper::isImageType(static_cast<pxl::VoxelTypes>(value)))
      types.push_back(static_cast<pxl::VoxelTypes>(value));
  ASSERT_EQ(types.size(), 8u);
  for (Way const& way : cWays)
    for (pxl::VoxelTypes from : types)
      for (pxl::VoxelTypes to : types) {
        bool const isSigned = from == pxl::cInteger8 || from == pxl::cInteger16 || from == pxl::cInteger32;
        auto const wanted = isDifference(way) && isSigned ? static_cast<pxl::VoxelTypes>(from - 4) : from;
        std::string const refusal = std::string(way.name) + ": for an input of " + pxl::helper::getNameOf(from) +
                                    " the output must be " + pxl::helper::getNameOf(wanted) + ", not " +
                                    pxl::helper::getNameOf(to);
        EXPECT_EQ(explain(way, element, from, to), to == wanted ? "" : refusal);
        EXPECT_EQ(makeAlgorithm(way, element, nullptr, nullptr)->getNaturalOutputType(from), wanted);
      }
}

TEST_F(CompositionFailure, ByValuesWithoutAMeaning) {
  auto const u8 = pxl::cUnsignedInteger8;
  EXPECT_EQ(explain({"Open"}, StructuringElement(), u8, u8), "Open: element isn't set");
  for (int mode : {-1, 3, 7})
    EXPECT_EQ(explain({"Gradient", mode}, StructuringElement::disk(1), u8, u8),
              "Gradient: gradientMode must be 0 (full), 1 (outer) or 2 (inner), not " + std::to_string(mode));
  // Such a difference could be below 0.
  for (char const* text : {"box(1, 3, 0, -1)", "mask(1 0 1)"}) {
    auto const element = StructuringElement::parse(text);
    for (int mode : {1, 2})
      EXPECT_EQ(explain({"Gradient", mode}, element, u8, u8),
                "Gradient: an outer or inner gradient needs an element that contains the voxel itself");
    for (Way const& way : cWays)
      if (way.gradientMode == 0) {
        EXPECT_EQ(explain(way, element, u8, u8), "") << way.name;
      }
  }
}

TEST_F(CompositionFailure, ByARegionToProcess) {
  auto const image = pxl::Image::New(pxl::cUnsignedInteger8, {8, 8, 1, 1, 1});
  auto const algorithm = makeAlgorithm({"Open"}, StructuringElement::disk(1), image.get(), image.get());
  algorithm->setProcessingRegion(pxl::access::Region(0, 8, 0, 7, 0, 1, 0, 1, 0, 1));
  EXPECT_THROW(algorithm->execute(), pxl::InvalidCall);
}

// Writes that fail in each of the steps.
TEST_F(CompositionFailure, OfAWriteIsAnError) {
  auto const input = pxl::Image::New(pxl::cFloat, {20, 10, 3, 1, 1});
  auto const output = pxl::Image::New(pxl::cFloat, {20, 10, 3, 1, 1});
  for (Way const& way : cWays)
    for (bool isInPlace : {false, true}) {
      auto const algorithm =
          makeAlgorithm(way, StructuringElement::disk(1), input.get(), (isInPlace ? input : output).get());
      for (int last : {1, 31, 61}) {
        pxl::instrument::Recorder recorder;
        recorder.isTracing = false;
        std::atomic<int> nbWrites{0};
        bool hasFailed = false;
        recorder.onWrite = [&](auto const&) {
          hasFailed = hasFailed || ++nbWrites >= last;
          return !hasFailed;
        };
        try {
          pxl::instrument::withThreads(1, [&] { algorithm->execute(); });
          EXPECT_FALSE(hasFailed) << way.name;
        } catch (pxl::UnexpectedError const&) {
          EXPECT_TRUE(hasFailed) << way.name;
        }
        EXPECT_EQ(recorder.nbTemporaries(), 0);
        EXPECT_EQ(recorder.nbFrames(), 0);
      }
    }
}

}  // namespace
}  // namespace elements_test
