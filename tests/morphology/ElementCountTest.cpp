// How often a run asks for its structuring element. This program stands between the plug-in and the host's
// generators.
#include <dlfcn.h>

#include <cstdlib>

#include "pxl/Runnable.h"
#include "pxl/kernel/StructuringElements.h"
#include "support/Shapes.h"

namespace {

long nbGenerated = 0;

/** Counts, and gives the host's function that this program hides. */
template <class Function>
Function* findHidden(char const* mangledName) {
  ++nbGenerated;
  void* const hidden = ::dlsym(RTLD_NEXT, mangledName);
  if (!hidden) std::abort();
  return reinterpret_cast<Function*>(hidden);
}

}  // namespace

namespace pxl::kernel {

std::vector<Offset2D> generateDiskOffset2DCollection(unsigned long radius) {
  using Function = std::vector<Offset2D>(unsigned long);
  return findHidden<Function>("_ZN3pxl6kernel30generateDiskOffset2DCollectionEm")(radius);
}

std::vector<Offset3D> generateSphereOffset3DCollection(unsigned long radius) {
  using Function = std::vector<Offset3D>(unsigned long);
  return findHidden<Function>("_ZN3pxl6kernel32generateSphereOffset3DCollectionEm")(radius);
}

std::vector<Offset2D> generateLineOffset2DCollectionWithConstNumOfPixels(double angle, unsigned long lineSize,
                                                                         bool isCentred) {
  using Function = std::vector<Offset2D>(double, unsigned long, bool);
  return findHidden<Function>("_ZN3pxl6kernel50generateLineOffset2DCollectionWithConstNumOfPixelsEdmb")(
      angle, lineSize, isCentred);
}

std::vector<Offset3D> generateLineOffset3DCollectionWithConstNumOfPixels(double elevation, double azimuth,
                                                                         unsigned long lineSize, bool isCentred) {
  using Function = std::vector<Offset3D>(double, double, unsigned long, bool);
  return findHidden<Function>("_ZN3pxl6kernel50generateLineOffset3DCollectionWithConstNumOfPixelsEddmb")(
      elevation, azimuth, lineSize, isCentred);
}

std::vector<Offset3D> generateDiskOffset3DCollection(double elevation, double azimuth, unsigned long radius) {
  using Function = std::vector<Offset3D>(double, double, unsigned long);
  return findHidden<Function>("_ZN3pxl6kernel30generateDiskOffset3DCollectionEddm")(elevation, azimuth, radius);
}

}  // namespace pxl::kernel

namespace morphology_test {
namespace {

class ElementCount : public PluginTest {};

TEST_F(ElementCount, IsOneForARunWithAListAndNoneForAFastShape) {
  oracle::Random random(441);
  auto const image = random.image<unsigned char>({40, 30, 6, 1, 1});
  auto const input = oracle::toHost(image), output = oracle::toHost(image);
  for (Operation operation : cOperations)
    for (Shape shape : cShapes)
      for (int mode : {cFast, cExact}) {
        ShapeWay const way{shape, operation, 4, mode, 20, 50};
        auto const algorithm = makeAlgorithm(way, input.get(), output.get());
        pxl::Runnable const* const runner = algorithm->getAlgoInfo()->getRunners().at(0);
        nbGenerated = 0;
        runner->run(algorithm.get());
        EXPECT_EQ(nbGenerated, isRound(shape) && mode == cFast ? 0 : 1) << way;
        EXPECT_TRUE(areEqual(toOracle<unsigned char>(*output, image.sizes), getExpected(way, image))) << way;
      }
}

}  // namespace
}  // namespace morphology_test
