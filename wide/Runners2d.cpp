#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "pxl/morphology/Morphology.h"
#include "wide/MorphologyRunner.h"

namespace pxl::wide {
namespace {

// The ordered program has nodes for each iteration.
constexpr unsigned int cMaxNbIterationsOfReals = 256;

String explainIterations(unsigned int nbIterations, PlanImage const& image) {
  if (!image.isReal() || nbIterations <= cMaxNbIterationsOfReals) return String();
  return "the runner wide takes at most 256 iterations of reals";
}

struct Iterated2d {
  using Algo = morphology::IteratedMorphology;

  static bool isIdle(Algo const* algorithm) { return algorithm->numberOfIterations == 0; }
  static String explain(Algo const* algorithm, PlanImage const& image) {
    return explainIterations(algorithm->numberOfIterations, image);
  }
  static ElementPrograms makePrograms(Algo const* algorithm, PlanImage const& image) {
    unsigned int const count = algorithm->numberOfIterations;
    bool const isCross = algorithm->neighborhood == morphology::cCross;
    return makeOctagon(image, isCross ? 0 : count, isCross ? count : 0);
  }
};

template <class Algo, class Element, Polarities polarity>
using AutoRegister = helper::AutoRegisterRunnable<Algo, WideRunner<Algo, Element, polarity>>;

AutoRegister<morphology::Dilation2d, Iterated2d, Polarities::cDilation> g_autoRegisterRunnableDilation2dWide;
AutoRegister<morphology::Erosion2d, Iterated2d, Polarities::cErosion> g_autoRegisterRunnableErosion2dWide;

}  // namespace
}  // namespace pxl::wide
