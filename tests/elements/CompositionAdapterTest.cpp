// Compositions on images that are presented as another type.
#include "pxl/ImageModelAdapter.h"
#include "support/Compositions.h"

namespace elements_test {
namespace {

class CompositionAdapter : public ElementTest {};

// Whole numbers that every type in these tests holds.
oracle::Image<float> makeImage(unsigned long seed) {
  return oracle::Random(seed).imageWithin<float>({30, 12, 4, 2, 1}, 0, 100);
}

template <class To, class From>
oracle::Image<To> convert(oracle::Image<From> const& image) {
  oracle::Image<To> result(image.sizes);
  for (unsigned long i = 0; i < image.voxels.size(); ++i) result.voxels[i] = static_cast<To>(image.voxels[i]);
  return result;
}

/** The image, worked on as float by adapters on images of T, apart or in place. */
template <class T>
oracle::Image<T> runThroughAdapters(Way const& way, StructuringElement const& element,
                                    oracle::Image<float> const& image, bool isInPlace) {
  auto const input = oracle::toHost(convert<T>(image));
  auto const output = isInPlace ? input : oracle::toHost(oracle::Image<T>(image.sizes));
  {
    pxl::ImageModelAdapter const from(input.get(), pxl::cFloat, pxl::cRoundAndSaturate);
    pxl::ImageModelAdapter const to(output.get(), pxl::cFloat, pxl::cRoundAndSaturate);
    makeAlgorithm(way, element, from.getImageModel(), to.getImageModel())->execute();
  }
  return toOracle<T>(*output, image.sizes);
}

TEST_F(CompositionAdapter, GivesWhatTheTypeItselfGives) {
  auto const image = makeImage(71);
  for (Way const& way : cWays)
    for (char const* text : {"connectivity(8, 3)", "ball(3, fast)", "ball(2)", "box(7, 7)", "disk(0, fast)"}) {
      auto const element = StructuringElement::parse(text);
      auto const expected = run<float>(way, element, image, false);
      for (bool isInPlace : {false, true}) {
        EXPECT_TRUE(areEqual(runThroughAdapters<unsigned char>(way, element, image, isInPlace),
                             convert<unsigned char>(expected)))
            << way.name << ' ' << text << (isInPlace ? " in place" : "");
        EXPECT_TRUE(areEqual(runThroughAdapters<double>(way, element, image, isInPlace), convert<double>(expected)))
            << way.name << ' ' << text << (isInPlace ? " in place" : "");
      }
    }
}

// The difference of signed integers, into an adapter of the unsigned type on an image of a third one.
TEST_F(CompositionAdapter, TakesADifferenceOfSignedIntegers) {
  oracle::Random random(72);
  auto const image = random.image<short>({30, 12, 4, 1, 1});
  auto const element = StructuringElement::ball(1);
  for (Way const& way : cWays) {
    if (!isDifference(way)) continue;
    auto const input = oracle::toHost(convert<double>(image));
    auto const output = oracle::toHost(oracle::Image<float>(image.sizes));
    {
      pxl::ImageModelAdapter const from(input.get(), pxl::cInteger16, pxl::cRoundAndSaturate);
      pxl::ImageModelAdapter const to(output.get(), pxl::cUnsignedInteger16, pxl::cRoundAndSaturate);
      makeAlgorithm(way, element, from.getImageModel(), to.getImageModel())->execute();
    }
    EXPECT_TRUE(areEqual(toOracle<float>(*output, image.sizes),
                         convert<float>(getExpectedDifference(way, image, listOf(element)))))
        << way.name;
  }
}

// Windows are images like any other.
TEST_F(CompositionAdapter, TakesWindows) {
  oracle::Random random(73);
  auto const image = random.image<int>({30, 12, 4, 1, 1});
  auto const part = [&](auto const& whole) {
    std::decay_t<decltype(whole)> result(Five{11, 7, 2, 1, 1});
    oracle::forEachPosition(result.sizes, [&](Five const& p) {
      result.at(p) = whole.at({p[0] + 5, p[1] + 3, p[2] + 1, 0, 0});
    });
    return result;
  };
  auto const element = StructuringElement::parse("box(2, 3, 3)");
  for (Way const& way : cWays) {
    if (!isDifference(way)) continue;
    auto const input = oracle::toHost(image);
    auto const output = oracle::toHost(oracle::Image<unsigned int>(image.sizes));
    pxl::ImageModelSizeProxy const from(input.get(), 5, 11, 3, 7, 1, 2, 0, 1, 0, 1);
    pxl::ImageModelSizeProxy to(output.get(), 5, 11, 3, 7, 1, 2, 0, 1, 0, 1);
    makeAlgorithm(way, element, &from, &to)->execute();
    EXPECT_TRUE(areEqual(part(toOracle<unsigned int>(*output, image.sizes)),
                         getExpectedDifference(way, part(image), listOf(element))))
        << way.name;
    unsigned long nbOutside = 0;
    auto const written = toOracle<unsigned int>(*output, image.sizes);
    oracle::forEachPosition(image.sizes, [&](Five const& p) {
      bool const isInside = p[0] >= 5 && p[0] < 16 && p[1] >= 3 && p[1] < 10 && p[2] >= 1 && p[2] < 3;
      nbOutside += !isInside && written.at(p) != 0;
    });
    EXPECT_EQ(nbOutside, 0u) << way.name;
  }
}

}  // namespace
}  // namespace elements_test
