#include "Core/private/Morphology/Neighborhood2dToValueSimd.h"
#include "access/support/WidthPasses.h"
#include "morphology/Neighborhood8ColumnsReductionSimd.h"

namespace access_test {
namespace {

// Each takes a second to compile. Planes and volumes share the types out, so that each size has both widths.
using Types = testing::Types<signed char, unsigned short, unsigned int, int, float>;

template <class T>
class WidthOfPlanes : public WidthOf<T> {};
TEST_TYPES(WidthOfPlanes, Types, oracle::VoxelTypeNames);

TEST_OF_TYPES(WidthOfPlanes, DoesNotShowInCrosses) {
  this->expectSame([](auto arch, auto const& image, bool isInPlace) {
    return TestFixture::getOutput(image, isInPlace, [&](auto const* input, auto* output) {
      runPasses<pxl::Filter2dTag, TypeParam>(arch, pxl::morphology::CrossKernel<Functor>(), input, output);
    });
  });
}

TEST_OF_TYPES(WidthOfPlanes, DoesNotShowInSquares) {
  this->expectSame([](auto arch, auto const& image, bool isInPlace) {
    using Square = pxl::morphology::Neighborhood8ColumnsReductionSimd<Functor, TypeParam, decltype(arch)>;
    return TestFixture::getOutput(image, isInPlace, [&](auto const* input, auto* output) {
      runPasses<pxl::Filter2dTag, TypeParam>(arch, Square(), input, output);
    });
  });
}

}  // namespace
}  // namespace access_test
