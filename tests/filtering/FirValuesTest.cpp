// Results against plain loops, bit by bit, for every pair of voxel types.
#include "pxl/AlgoInfo.h"
#include "pxl/Runnable.h"
#include "support/Runs.h"

namespace filtering_test {
namespace {

template <class T>
class FirValues : public PluginTest {
 protected:
  FirValues() { recorder.isTracing = false; }
  template <class Check>
  static void forEachInputType(Check check) {
#define PXL_CHECK(In) check(static_cast<In>(0));
    PXL_FOR_EACH_VOXEL_TYPE(PXL_CHECK)
#undef PXL_CHECK
  }

  pxl::instrument::Recorder recorder;
  oracle::Random random{701};
};
TEST_TYPES(FirValues, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(FirValues, AreThoseOfPlainLoopsForEveryInput) {
  using Out = TypeParam;
  for (int dimension : {2, 3}) {
    auto const lists = makeTapLists(this->random, dimension);
    this->forEachInputType([&](auto voxel) {
      using In = decltype(voxel);
      SCOPED_TRACE(pxl::helper::getNameOf(oracle::cHostType<In>));
      for (Five const& sizes : {Five{13, 7, 3, 1, 1}, Five{1, 1, 1, 1, 1}, Five{2, 9, 2, 2, 2}, Five{41, 2, 1, 1, 1}})
        for (Taps const& taps : lists) {
          auto const image = this->random.template image<In>(sizes);
          auto const before = this->random.template image<Out>(sizes);
          auto const input = oracle::toHost(image), output = oracle::toHost(before);
          run(dimension, taps, input.get(), output.get());
          ASSERT_TRUE(areEqual(*output, oracle::correlate<Out>(image, taps, dimension, before)))
              << dimension << "D, " << taps.size() << " taps, " << sizes[0] << " columns";
          ASSERT_TRUE(areEqual(*input, image)) << "the input was changed";
        }
    });
  }
}

TEST_OF_TYPES(FirValues, DoNotDependOnCutsAndThreads) {
  using Out = TypeParam;
  for (int dimension : {2, 3}) {
    auto const taps = makeTaps(this->random, dimension, 11, 3);
    auto const image = this->random.template image<short>({37, 19, 6, 2, 1});
    auto const before = this->random.template image<Out>(image.sizes);
    auto const expected = oracle::correlate<Out>(image, taps, dimension, before);
    auto const input = oracle::toHost(image);
    for (Grains const& grains : {Grains{1, 1, 1}, {5, 3, 2}, {99, 99, 99}})
      for (int nbThreads : {1, 2, 16}) {
        this->recorder.grains = grains;
        auto const output = oracle::toHost(before);
        withThreads(nbThreads, [&] { run(dimension, taps, input.get(), output.get()); });
        ASSERT_TRUE(areEqual(*output, expected)) << grains.cols << " columns, " << nbThreads << " threads";
      }
  }
}

TEST_OF_TYPES(FirValues, OfAWindowStayWithinIt) {
  using Out = TypeParam;
  auto const taps = makeTaps(this->random, 3, 9, 2);
  auto const image = this->random.template image<unsigned char>({12, 9, 6, 3, 2});
  auto const target = this->random.template image<Out>(image.sizes);
  auto const input = oracle::toHost(image), output = oracle::toHost(target);
  pxl::ImageModelSizeProxy const from(static_cast<pxl::ImageModel const*>(input.get()), 3, 7, 2, 4, 1, 3, 1, 2, 1, 1);
  pxl::ImageModelSizeProxy to(static_cast<pxl::ImageModel*>(output.get()), 1, 7, 3, 4, 2, 3, 0, 2, 0, 1);
  run(3, taps, &from, &to);
  oracle::Image<unsigned char> window({7, 4, 3, 2, 1});
  oracle::forEachPosition(window.sizes, [&](Five const& p) {
    window.at(p) = image.at({p[0] + 3, p[1] + 2, p[2] + 1, p[3] + 1, p[4] + 1});
  });
  auto const result = oracle::correlate<Out>(window, taps, 3, oracle::Image<Out>(window.sizes));
  auto expected = target;
  oracle::forEachPosition(window.sizes, [&](Five const& p) {
    expected.at({p[0] + 1, p[1] + 3, p[2] + 2, p[3], p[4]}) = result.at(p);
  });
  EXPECT_TRUE(areEqual(*output, expected));
}

// Rows, columns and plans run from begin to end, sequence and spectral series from begin to count. execute() refuses
// the odd ones of these regions.
TEST_OF_TYPES(FirValues, OfARegionStayWithinIt) {
  using Out = TypeParam;
  for (int dimension : {2, 3}) {
    auto const taps = makeTaps(this->random, dimension, 9, 2);
    auto const image = this->random.template image<float>({12, 9, 4, 4, 4});
    auto const before = this->random.template image<Out>(image.sizes);
    auto const input = oracle::toHost(image), output = oracle::toHost(before);
    auto const algorithm = makeAlgorithm(dimension, taps, input.get(), output.get());
    auto const runner = algorithm->getAlgoInfo()->getRunners().front();
    algorithm->setProcessingRegion(pxl::access::Region(2, 7, 3, 12, 1, 3, 1, 4, 2, 4));
    runner->run(algorithm.get());
    auto const all = oracle::correlate<Out>(image, taps, dimension, before);
    auto expected = before;
    oracle::forEachPosition(image.sizes, [&](Five const& p) {
      bool const isPlan = dimension == 2 ? p[2] == 0 : p[2] >= 1 && p[2] < 3;
      bool const isSequence = p[3] >= 1 && p[3] < 3;  // begins at 1, counts 3
      // Begins at 2 and counts 2: none.
      bool const isSpectral = p[4] >= 2 && p[4] < 2;
      if (p[1] >= 2 && p[1] < 7 && p[0] >= 3 && isPlan && isSequence && isSpectral) expected.at(p) = all.at(p);
    });
    EXPECT_TRUE(areEqual(*output, expected));
    algorithm->setProcessingRegion(pxl::access::Region(2, 7, 3, 12, 1, 3, 1, 4, 1, 4));
    runner->run(algorithm.get());
    oracle::forEachPosition(image.sizes, [&](Five const& p) {
      bool const isPlan = dimension == 2 ? p[2] == 0 : p[2] >= 1 && p[2] < 3;
      bool const isPosition = p[3] >= 1 && p[3] < 3 && p[4] >= 1 && p[4] < 3;
      if (p[1] >= 2 && p[1] < 7 && p[0] >= 3 && isPlan && isPosition) expected.at(p) = all.at(p);
    });
    EXPECT_TRUE(areEqual(*output, expected));
  }
}

}  // namespace
}  // namespace filtering_test
