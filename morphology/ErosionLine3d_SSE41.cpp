#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/MorphologyRules.h"
#include "morphology/RunOnOffsets.h"
#include "pxl/kernel/StructuringElements.h"

namespace pxl::morphology {

struct ErosionLine3dSSE41Dispatcher {
  using Functor = details::ErosionFunctor;

  template <class T>
  static void run(ErosionLine3d* algorithm) {
    unsigned int const lineSize = algorithm->lineSize;
    double const azimuth = algorithm->firstAngle;
    double const elevation = algorithm->secondAngle;
    runOnOffsets<Functor, T>(
        algorithm, kernel::generateLineOffset3DCollectionWithConstNumOfPixels(elevation, azimuth, lineSize, true));
  }
};

using ErosionLine3dSSE41Runner = SSE41OneTypeMinMaxRunner<ErosionLine3d, ErosionLine3dSSE41Dispatcher>;
struct AutoRegisterRunnableErosionLine3dSSE41Runner
    : helper::AutoRegisterRunnable<ErosionLine3d, ErosionLine3dSSE41Runner> {};
AutoRegisterRunnableErosionLine3dSSE41Runner g_autoRegisterRunnableErosionLine3dSSE41Runner;

}  // namespace pxl::morphology
