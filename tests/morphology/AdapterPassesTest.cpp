// Operators of several passes and stages on images that an adapter presents as another type: each pass reads what the
// last one left.
#include <optional>

#include "oracle/Conversion.h"
#include "pxl/ImageModelAdapter.h"
#include "support/Runs.h"
#include "support/Shapes.h"

namespace morphology_test {
namespace {

using pxl::ImageModel;
using pxl::ImageModelAdapter;

enum class Arrangement { cApart, cApartAfterARead, cApartWhileAViewReads, cOneAdapter, cTwoAdapters, cTwice };
constexpr int cNbArrangements = 6;

template <class To, class From>
oracle::Image<To> convert(oracle::Image<From> const& image) {
  oracle::Image<To> result(image.sizes);
  for (unsigned long i = 0; i < image.voxels.size(); ++i) result.voxels[i] = oracle::convert<To>(image.voxels[i]);
  return result;
}

template <class T>
std::shared_ptr<pxl::access::View<T> const> makeReader(ImageModel const* image) {
  return pxl::access::View<T>::New(image, pxl::access::FixedBorderCondition<T>::New(0));
}

template <class T>
oracle::Image<T> readThrough(ImageModel const* image, Five const& sizes) {
  auto const view = makeReader<T>(image);
  oracle::Image<T> result(sizes);
  for (long i = 0; i < static_cast<long>(result.voxels.size()) / sizes[0]; ++i) {
    long const row = i % sizes[1], plan = i / sizes[1] % sizes[2], sequence = i / sizes[1] / sizes[2] % sizes[3];
    view->getInterface()->readRow(&result.voxels[static_cast<unsigned long>(i * sizes[0])], sizes[0], 0, row, plan,
                                  sequence, i / sizes[1] / sizes[2] / sizes[3]);
  }
  return result;
}

class AdapterPasses : public PluginTest {
 protected:
  template <class Stored, class Shown>
  void compare(int nbRounds) {
    for (int round = 0; round < nbRounds && !HasFatalFailure(); ++round) runOnce<Stored, Shown>();
  }

 private:
  template <class Stored, class Shown>
  void runOnce() {
    Five const sizes{random.number(1, 40), random.number(1, 12), random.number(1, 5), random.number(1, 2),
                     random.number(1, 2)};
    auto const image = random.image<Stored>(sizes);
    auto const arrangement = static_cast<Arrangement>(random.number(0, cNbArrangements - 1));
    probe.grains = {static_cast<unsigned long>(random.number(1, 50)), static_cast<unsigned long>(random.number(1, 9)),
                    static_cast<unsigned long>(random.number(1, 4))};
    unsigned long const extraMemory = random.number(0, 2) == 0 ? 0 : 1UL << 30;
    Operation const operation = cOperations[random.number(0, 1)];
    int const nbThreads = 1 << (4 * random.number(0, 1));
    if (random.number(0, 1) == 0) {
      Way way{operation, static_cast<int>(random.number(0, 2)), static_cast<unsigned int>(random.number(1, 6))};
      way.dimension = static_cast<int>(random.number(2, 3));
      way.extraMemory = extraMemory;
      SCOPED_TRACE("N " + std::to_string(way.nbIterations) + " neighborhood " + std::to_string(way.neighborhood));
      withThreads(nbThreads, [&] { runWay<Stored, Shown>(way, image, arrangement); });
    } else {
      ShapeWay way{cShapes[random.number(0, 4)], operation, static_cast<unsigned int>(random.number(1, 9)),
                   static_cast<int>(random.number(0, 1))};
      if (isLine(way.shape)) way.firstAngle = static_cast<double>(random.number(0, 180));
      way.extraMemory = extraMemory;
      SCOPED_TRACE(testing::Message() << way);
      withThreads(nbThreads, [&] { runWay<Stored, Shown>(way, image, arrangement); });
    }
  }

  template <class Stored, class Shown, class AnyWay>
  void runWay(AnyWay const& way, oracle::Image<Stored> const& image, Arrangement arrangement) {
    SCOPED_TRACE("arrangement " + std::to_string(static_cast<int>(arrangement)) + ", columns " +
                 std::to_string(image.sizes[0]) + " rows " + std::to_string(image.sizes[1]) + " plans " +
                 std::to_string(image.sizes[2]));
    auto expected = getExpected(way, convert<Shown>(image));
    auto const input = oracle::toHost(image);
    bool const isApart = arrangement <= Arrangement::cApartWhileAViewReads;
    auto const output = isApart ? oracle::toHost(random.image<Stored>(image.sizes)) : input;
    {
      ImageModelAdapter const source(input.get(), oracle::cHostType<Shown>, pxl::cRoundAndSaturate);
      std::optional<ImageModelAdapter> other;
      if (isApart || arrangement == Arrangement::cTwoAdapters)
        other.emplace(output.get(), oracle::cHostType<Shown>, pxl::cRoundAndSaturate);
      ImageModel* const target = other ? other->getImageModel() : source.getImageModel();
      std::shared_ptr<void const> reader;
      if (arrangement == Arrangement::cApartAfterARead) readThrough<Shown>(target, image.sizes);
      if (arrangement == Arrangement::cApartWhileAViewReads) reader = makeReader<Shown>(target);
      makeAlgorithm(way, source.getImageModel(), target)->execute();
      if (arrangement == Arrangement::cTwice) {
        makeAlgorithm(way, target, target)->execute();
        expected = getExpected(way, expected);
      }
      // What has been written is there for those who look through the adapter.
      ASSERT_TRUE(areEqual(readThrough<Shown>(target, image.sizes), convert<Shown>(convert<Stored>(expected))));
    }
    ASSERT_TRUE(areEqual(toOracle<Stored>(*output, image.sizes), convert<Stored>(expected)));
  }

 protected:
  oracle::Random random{20251};
  pxl::instrument::Recorder probe;
};

TEST_F(AdapterPasses, BytesAsReals) { compare<unsigned char, float>(150); }
TEST_F(AdapterPasses, BytesAsBytes) { compare<unsigned char, unsigned char>(100); }
TEST_F(AdapterPasses, RealsAsBytes) { compare<float, unsigned char>(150); }
TEST_F(AdapterPasses, SignedAsUnsigned) { compare<short, unsigned short>(100); }
TEST_F(AdapterPasses, WideAsNarrow) { compare<double, signed char>(100); }
TEST_F(AdapterPasses, IntegersAsReals) { compare<int, float>(100); }

}  // namespace
}  // namespace morphology_test
