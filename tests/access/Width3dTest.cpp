#include "Core/private/Morphology/Neighborhood3dToValueSimd.h"
#include "access/support/WidthPasses.h"

namespace access_test {
namespace {

// See Width2dTest.cpp.
using Types = testing::Types<unsigned char, short, float, double>;

template <class T>
class WidthOfVolumes : public WidthOf<T> {};
TEST_TYPES(WidthOfVolumes, Types, oracle::VoxelTypeNames);

TEST_OF_TYPES(WidthOfVolumes, DoesNotShowInListsOfVolumes) {
  this->expectSame([](auto arch, auto const& image, bool isInPlace) {
    pxl::morphology::ListKernel3d<Functor> const list({{-2, 0, -1}, {3, 1, 0}, {0, -1, 1}, {1, 0, 0}});
    return TestFixture::getOutput(image, isInPlace, [&](auto const* input, auto* output) {
      runPasses<pxl::Filter3dTag, TypeParam>(arch, pxl::morphology::ListKernel3d<Functor>(list), input, output);
    });
  });
}

}  // namespace
}  // namespace access_test
