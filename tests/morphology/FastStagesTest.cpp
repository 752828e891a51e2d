// The stages of the fast shapes and a region that was chosen on their algorithm, without the host's own checks.
#include "morphology/FastMorphoBall3DSimd.h"
#include "morphology/FastMorphoDisk2DSimd.h"
#include "support/Shapes.h"

namespace morphology_test {
namespace {

using pxl::access::Region;
using pxl::morphology::details::DilationFunctor;

TEST(FastStages, WorkOnWholeImagesWhateverRegionIsChosen) {
  using namespace pxl::morphology::details;
  using Arch = pxl::SimdVec::arch_128_tag;
  oracle::Random random(451);
  auto const image = random.image<short>({11, 9, 7, 2, 1});
  auto const input = oracle::toHost(image);
  for (Region const& region : {Region(0, 4, 0, 7, 0, 3, 0, 1, 0, 1), Region(2, 5, 1, 7, 1, 3, 1, 2, 0, 1)})
    for (Shape shape : {Shape::cDisk2d, Shape::cBall3d})
      for (unsigned long extraMemory : {0UL, 1UL << 20}) {
        ShapeWay way{shape, Operation::cDilation, 4, cFast};
        way.extraMemory = extraMemory;
        auto const output = oracle::toHost(oracle::Image<short>(image.sizes));
        auto const algorithm = makeAlgorithm(way, input.get(), output.get());
        algorithm->setProcessingRegion(region);
        if (shape == Shape::cDisk2d)
          FastMorphoDisk2DSimd<DilationFunctor, Arch, short>(algorithm.get(), input.get(), way.size, output.get());
        else
          FastMorphoBall3DSimd<DilationFunctor, Arch, short>(algorithm.get(), input.get(), way.size, output.get());
        EXPECT_TRUE(areEqual(toOracle<short>(*output, image.sizes), getExpected(way, image))) << way;
      }
}

}  // namespace
}  // namespace morphology_test
