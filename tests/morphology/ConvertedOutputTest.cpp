// Passes whose output has another voxel type, narrower or without a sign: what a pass reads is what the image holds.
#include "oracle/Conversion.h"
#include "support/Kernels3d.h"

namespace morphology_test {
namespace {

template <class T>
class ConvertedOutput : public testing::Test {
 protected:
  // Conversion keeps the order of voxels, so that it may come before or after the passes.
  template <class Functor, class Tag, class Out, class Kernel>
  void expectRight(Kernel kernel, oracle::Image<T> const& passed) {
    oracle::Image<Out> expected(passed.sizes);
    for (unsigned long i = 0; i < expected.voxels.size(); ++i)
      expected.voxels[i] = oracle::convert<Out>(passed.voxels[i]);
    for (unsigned long extraMemory : {0UL, 1UL << 20}) {
      auto const output = oracle::toHost(oracle::Image<Out>(passed.sizes));
      auto const algorithm =
          makeAlgorithm(Way{cOperationOf<Functor>, 0, 0, false, extraMemory}, m_input.get(), output.get());
      m_recorder.clear();
      pxl::morphology::runRecursive<Tag, Arch, Functor, T>(algorithm.get(), kernel, cNbIterations);
      ASSERT_TRUE(areEqual(toOracle<Out>(*output, passed.sizes), expected)) << extraMemory << " bytes";
      auto const reserved = m_recorder.getTrace("reserve");
      ASSERT_EQ(reserved.size(), extraMemory == 0 ? 0U : 1U);
      if (!reserved.empty()) {
        EXPECT_EQ(reserved[0].values[0], oracle::cHostType<T>) << "between passes nothing is converted";
      }
    }
  }

  template <class Functor>
  void expectRightForOutputs() {
    auto const inPlans = oracle::applyTimes(m_image, cOperationOf<Functor>, 0, cNbIterations);
    expectRight<Functor, pxl::Filter2dTag, unsigned char>(Cross<Functor>(), inPlans);
    expectRight<Functor, pxl::Filter2dTag, short>(Cross<Functor>(), inPlans);
    expectRight<Functor, pxl::Filter2dTag, unsigned int>(Cross<Functor>(), inPlans);
    auto const inVolumes = oracle::applyVolumeTimes(m_image, cOperationOf<Functor>, 0, cNbIterations);
    expectRight<Functor, pxl::Filter3dTag, signed char>(Faces<Functor>(), inVolumes);
    expectRight<Functor, pxl::Filter3dTag, unsigned short>(Faces<Functor>(), inVolumes);
  }

  static constexpr unsigned int cNbIterations = 3;
  pxl::instrument::Recorder m_recorder;
  oracle::Random m_random{461};
  oracle::Image<T> const m_image = m_random.image<T>({2 * oracle::cLanes<T> + 3, 5, 3, 1, 1});
  std::shared_ptr<pxl::Image> const m_input = oracle::toHost(m_image);
};
TEST_TYPES(ConvertedOutput, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(ConvertedOutput, OfDilationsIsThatOfTheConvertedVoxels) {
  this->template expectRightForOutputs<DilationFunctor>();
}

TEST_OF_TYPES(ConvertedOutput, OfErosionsIsThatOfTheConvertedVoxels) {
  this->template expectRightForOutputs<ErosionFunctor>();
}

}  // namespace
}  // namespace morphology_test
