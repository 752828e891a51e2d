// Kernels of other widths, compiled from the same headers, compute the same bits.
#include <limits>

#include "Core/private/Filters/ImageToQuantificationFilter.h"
#include "Core/private/Morphology/Neighborhood2dToValueSimd.h"
#include "Core/private/Morphology/Neighborhood3dToValueSimd.h"
#include "Core/private/Morphology/RunRecursive.h"
#include "PointOperations/src/LogicalOperationWithImageSimdGeneric.h"
#include "PointOperations/src/LogicalOperators.h"
#include "access/support/PlainVectors.h"
#include "analysis/IntensityExtremaSIMDGeneric.h"
#include "filtering/linear/FIRFilterDispatcher.h"
#include "instrument/Recorder.h"
#include "morphology/Neighborhood8ColumnsReductionSimd.h"
#include "oracle/HostImages.h"
#include "oracle/VoxelTypeTests.h"
#include "pxl/morphology/Morphology.h"

namespace access_test {
namespace {

using Narrow = pxl::SimdVec::arch_128_tag;
using Functor = pxl::morphology::details::DilationFunctor;

template <class T>
class WidthOf : public testing::Test {
 protected:
  /** The voxels of the output after work(input, output). */
  template <class Work>
  static std::vector<T> getOutput(oracle::Image<T> const& image, bool isInPlace, Work&& work) {
    auto const input = oracle::toHost(image);
    auto const output = isInPlace ? input : oracle::toHost(oracle::Image<T>(image.sizes));
    work(input.get(), output.get());
    T const* const voxels = static_cast<T const*>(output->getVoxels());
    return std::vector<T>(voxels, voxels + image.voxels.size());
  }

  /** Calls compute(arch, image, isInPlace) for vectors of 16 bytes and of others, in rows of many lengths. */
  template <class Compute>
  void expectSame(Compute&& compute) {
    expectSameAs<PlainArch<32>>(compute);
    expectSameAs<PlainArch<64>>(compute);
  }

 private:
  template <class Wide, class Compute>
  void expectSameAs(Compute&& compute) {
    constexpr long L = pxl::SimdVec::cNbLanes<T, Wide>;
    for (long nbCols : {1L, L - 1, L, L + 1, 3 * L + 1, 13 * L + 1}) {
      oracle::Image<T> const image = makeImage(nbCols);
      for (bool isInPlace : {false, true}) {
        std::vector<T> const narrow = compute(Narrow(), image, isInPlace);
        std::vector<T> const wide = compute(Wide(), image, isInPlace);
        ASSERT_EQ(wide.size(), narrow.size());
        for (unsigned long i = 0; i < wide.size(); ++i)
          ASSERT_EQ(std::memcmp(&wide[i], &narrow[i], sizeof(T)), 0)
              << "voxel " << i << " in rows of " << nbCols << " is " << +wide[i] << " and not " << +narrow[i]
              << (isInPlace ? ", in place" : "");
      }
    }
  }

  // Of real types also what depends on the order of operands.
  oracle::Image<T> makeImage(long nbCols) {
    auto image = m_random.image<T>({nbCols, 5, 3, 1, 1});
    if constexpr (std::is_floating_point_v<T>) {
      T const values[] = {T(0), -T(0), std::numeric_limits<T>::quiet_NaN(), std::numeric_limits<T>::infinity()};
      for (T& voxel : image.voxels)
        if (m_random.number(0, 3) == 0) voxel = values[m_random.number(0, 3)];
    }
    return image;
  }

  oracle::Random m_random{1301};
};
TYPED_TEST_SUITE(WidthOf, oracle::VoxelTypes, oracle::VoxelTypeNames);

/** Two passes of a kernel in small blocks, so that rows are held back in place. */
template <class Tag, class T, class Arch, class Kernel>
void runPasses(Arch, Kernel&& kernel, pxl::ImageModel const* input, pxl::ImageModel* output) {
  pxl::instrument::Recorder recorder;
  recorder.grains = {static_cast<unsigned long>(pxl::SimdVec::cNbLanes<T, Arch> + 3), 2, 2};
  pxl::morphology::Dilation3d algorithm;
  algorithm.inputImage = input;
  algorithm.outputImage = output;
  pxl::morphology::runRecursive<Tag, Arch, Functor, T>(&algorithm, kernel, 2);
}

TYPED_TEST(WidthOf, DoesNotShowInCrosses) {
  this->expectSame([](auto arch, auto const& image, bool isInPlace) {
    return TestFixture::getOutput(image, isInPlace, [&](auto const* input, auto* output) {
      runPasses<pxl::Filter2dTag, TypeParam>(arch, pxl::morphology::CrossKernel<Functor>(), input, output);
    });
  });
}

TYPED_TEST(WidthOf, DoesNotShowInSquares) {
  this->expectSame([](auto arch, auto const& image, bool isInPlace) {
    using Square = pxl::morphology::Neighborhood8ColumnsReductionSimd<Functor, TypeParam, decltype(arch)>;
    return TestFixture::getOutput(image, isInPlace, [&](auto const* input, auto* output) {
      runPasses<pxl::Filter2dTag, TypeParam>(arch, Square(), input, output);
    });
  });
}

TYPED_TEST(WidthOf, DoesNotShowInListsOfVolumes) {
  this->expectSame([](auto arch, auto const& image, bool isInPlace) {
    pxl::morphology::ListKernel3d<Functor> const list({{-2, 0, -1}, {3, 1, 0}, {0, -1, 1}, {1, 0, 0}});
    return TestFixture::getOutput(image, isInPlace, [&](auto const* input, auto* output) {
      runPasses<pxl::Filter3dTag, TypeParam>(arch, pxl::morphology::ListKernel3d<Functor>(list), input, output);
    });
  });
}

TYPED_TEST(WidthOf, DoesNotShowInExtrema) {
  this->expectSame([](auto arch, auto const& image, bool) {
    using T = TypeParam;
    using Kernel = pxl::analysis::IntensityExtremaSIMDGeneric<T>;
    using Filter = pxl::ImageToQuantificationFilter3d<T, decltype(arch), Kernel>;
    auto numbers = image;  // the result of NaN depends on how many lanes there are
    for (T& voxel : numbers.voxels)
      if (voxel != voxel) voxel = 7;
    auto const input = oracle::toHost(numbers);
    Kernel extrema;
    Filter filter(nullptr, &extrema);
    filter.setInput(Filter::ViewType::New(static_cast<pxl::ImageModel const*>(input.get()),
                                          pxl::access::ContinueBorderCondition<T>::New()));
    filter.setProcessingRegion(filter.getInput()->getLargestPossibleRegion());
    filter.run();
    return std::vector<T>{extrema.minimum, extrema.maximum};
  });
}

TYPED_TEST(WidthOf, DoesNotShowInLogicalOperations) {
  using T = TypeParam;
  if constexpr (std::is_integral_v<T>)
    this->expectSame([](auto arch, auto const& image, bool isInPlace) {
      using Kernel = pxl::point_operations::LogicalOperationWithImageSimdGeneric<pxl::BinaryLogicalOperator_XorTag>;
      auto mirrored = image;
      std::reverse(mirrored.voxels.begin(), mirrored.voxels.end());
      auto const second = oracle::toHost(mirrored);
      return TestFixture::getOutput(image, isInPlace, [&](auto const* input, auto* output) {
        Kernel kernel;
        pxl::ImagePairToImageFilter3d<T, T, T, decltype(arch), Kernel> filter(nullptr, &kernel);
        auto const border = pxl::access::FixedBorderCondition<T>::New(0);
        filter.setInput1(input, border);
        filter.setInput2(second.get(), border);
        filter.setOutput(output, border);
        filter.run();
      });
    });
}

TYPED_TEST(WidthOf, DoesNotShowInWeightedSums) {
  using T = TypeParam;
  if constexpr (std::is_floating_point_v<T>)
    this->expectSame([](auto arch, auto const& image, bool isInPlace) {
      using Kernel = pxl::filtering::linear::FIR2dToValueSimd<T>;
      return TestFixture::getOutput(image, isInPlace, [&](auto const* input, auto* output) {
        Kernel kernel{{{-1, 0}, {2, 1}, {0, -1}}, {T(0.1), T(-3), T(0.7)}};
        pxl::ImageToImageFilter2d<T, T, decltype(arch), Kernel> filter(nullptr, &kernel);
        filter.setInput(input, pxl::access::MirrorBorderCondition<T>::New());
        filter.setOutput(output, pxl::access::FixedBorderCondition<T>::New(0));
        filter.run();
      });
    });
}

}  // namespace
}  // namespace access_test
