#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "pxl/morphology/Morphology.h"
#include "wide/MorphologyRunner.h"
#include "wide/Plans3d.h"

namespace pxl::wide {
namespace {

using morphology::IteratedMorphology;

struct Iterated2d {
  static bool isIdle(IteratedMorphology const* algorithm) { return algorithm->numberOfIterations == 0; }
  static PlanCache::Key getKey(IteratedMorphology const* algorithm) {
    return {algorithm->neighborhood, algorithm->numberOfIterations};
  }
  static Stages makeStages(IteratedMorphology const* algorithm, PlanImage const& image) {
    unsigned int const count = algorithm->numberOfIterations;
    bool const isCross = algorithm->neighborhood == morphology::cCross;
    return makeOctagon(image, isCross ? 0 : count, isCross ? count : 0);
  }
};

struct Iterated3d : Iterated2d {
  static Stages makeStages(IteratedMorphology const* algorithm, PlanImage const& image) {
    unsigned int const count = algorithm->numberOfIterations;
    int const neighborhood = algorithm->neighborhood;
    if (neighborhood == morphology::cFaces) return makePolyhedron(image, count, 0, 0);
    if (neighborhood == morphology::cEdges) return makePolyhedron(image, 0, count, 0);
    return makePolyhedron(image, 0, 0, count);
  }
};

template <class Algo, class Element, Polarities polarity>
using AutoRegister = helper::AutoRegisterRunnable<Algo, WideRunner<Algo, Element, polarity>>;

AutoRegister<morphology::Dilation2d, Iterated2d, Polarities::cDilation> g_autoRegisterRunnableDilation2dWide;
AutoRegister<morphology::Dilation3d, Iterated3d, Polarities::cDilation> g_autoRegisterRunnableDilation3dWide;
AutoRegister<morphology::Erosion2d, Iterated2d, Polarities::cErosion> g_autoRegisterRunnableErosion2dWide;
AutoRegister<morphology::Erosion3d, Iterated3d, Polarities::cErosion> g_autoRegisterRunnableErosion3dWide;

}  // namespace
}  // namespace pxl::wide
