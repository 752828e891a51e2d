#include "Core/private/Filters/ImageToQuantificationFilter.h"
#include "PointOperations/src/LogicalOperationWithImageSimdGeneric.h"
#include "PointOperations/src/LogicalOperators.h"
#include "access/support/Width.h"
#include "analysis/IntensityExtremaSIMDGeneric.h"
#include "filtering/linear/FIRFilterDispatcher.h"

namespace access_test {
namespace {

template <class T>
class WidthOfOthers : public WidthOf<T> {};
TEST_TYPES(WidthOfOthers, oracle::VoxelTypes, oracle::VoxelTypeNames);

TEST_OF_TYPES(WidthOfOthers, DoesNotShowInExtrema) {
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

TEST_OF_TYPES(WidthOfOthers, DoesNotShowInLogicalOperations) {
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

TEST_OF_TYPES(WidthOfOthers, DoesNotShowInWeightedSums) {
  using T = TypeParam;
  if constexpr (std::is_floating_point_v<T>)
    this->expectSame([](auto arch, auto const& image, bool isInPlace) {
      using Kernel = pxl::filtering::linear::FIR2dToValueSimd<T>;
      auto result = TestFixture::getOutput(image, isInPlace, [&](auto const* input, auto* output) {
        Kernel kernel{{{-1, 0}, {2, 1}, {0, -1}}, {T(0.1), T(-3), T(0.7)}};
        pxl::ImageToImageFilter2d<T, T, decltype(arch), Kernel> filter(nullptr, &kernel);
        filter.setInput(input, pxl::access::MirrorBorderCondition<T>::New());
        filter.setOutput(output, pxl::access::FixedBorderCondition<T>::New(0));
        filter.run();
      });
      // Which NaN of two a sum in plain C++ keeps is left to the compiler.
      for (T& voxel : result)
        if (voxel != voxel) voxel = std::numeric_limits<T>::quiet_NaN();
      return result;
    });
}

}  // namespace
}  // namespace access_test
