// All members of the family of filters on plans, without the plug-in.
#include "support/Kernels2d.h"

namespace morphology_test {
namespace {

template <class T>
class RecursiveFamily : public testing::Test {
 protected:
  RecursiveFamily() {
    recorder.isTracing = false;
    recorder.grains = {6, 3, 1};
  }

  // Runs a filter, and runs it again; `expect` gives what so many passes make of the image.
  template <class Functor, class Kernel, class Expect>
  void expectRightTwice(Kernel kernel, Expect&& expect) {
    for (bool isInPlace : {false, true})
      for (unsigned long nbIterations : {1UL, 2UL, 3UL})
        for (unsigned long extraMemory : {0UL, 1UL << 30}) {
          auto const input = oracle::toHost(m_image);
          auto const output = isInPlace ? input : oracle::toHost(oracle::Image<T>(m_image.sizes));
          auto const algorithm =
              makeAlgorithm(Way{cOperationOf<Functor>, 0, 0, isInPlace, extraMemory}, input.get(), output.get());
          pxl::RecursiveImageFilter2d<T, T, Arch, Kernel> filter(algorithm.get(), &kernel);
          auto const border = pxl::access::FixedBorderCondition<T>::New(Functor::template cNeutral<T>);
          filter.setInput(input.get(), border);
          filter.setOutput(output.get(), border);
          filter.setNbIterations(nbIterations);
          auto const nbVoxels = nbIterations * m_image.voxels.size();
          for (unsigned long run = 1; run <= 2; ++run) {
            filter.run();
            EXPECT_EQ(filter.m_progress, nbVoxels);
            EXPECT_EQ(filter.m_maxProgress, nbVoxels);
            ASSERT_TRUE(areEqual(toOracle<T>(*output, m_image.sizes), expect((isInPlace ? run : 1) * nbIterations)))
                << nbIterations << " iterations, run " << run << (isInPlace ? ", in place" : "");
          }
        }
  }

  template <class Functor>
  void expectAllKernelsRight() {
    constexpr Operation cOperation = cOperationOf<Functor>;
    auto const times = [&](int neighborhood) {
      return [&, neighborhood](unsigned long count) {
        return oracle::applyTimes(m_image, cOperation, neighborhood, static_cast<unsigned int>(count));
      };
    };
    expectRightTwice<Functor>(Cross<Functor>(), times(0));
    expectRightTwice<Functor>(Square<Functor, T>(), times(1));
    Offsets const offsets{{-2, 1}, {3, -1}, {0, 2}};
    expectRightTwice<Functor>(General<Functor>(offsets), [&](unsigned long count) {
      return applyListTimes(m_image, cOperation, offsets, count);
    });
  }

  pxl::instrument::Recorder recorder;
  oracle::Random m_random{295};
  oracle::Image<T> const m_image = m_random.image<T>({2 * oracle::cLanes<T> + 3, 9, 2, 1, 2});
};
TEST_TYPES(RecursiveFamily, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(RecursiveFamily, DilatesAndDilatesAgain) { this->template expectAllKernelsRight<DilationFunctor>(); }

TEST_OF_TYPES(RecursiveFamily, ErodesAndErodesAgain) { this->template expectAllKernelsRight<ErosionFunctor>(); }

}  // namespace
}  // namespace morphology_test
