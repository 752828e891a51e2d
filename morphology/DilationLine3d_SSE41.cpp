#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/MorphologyRules.h"
#include "morphology/RunOnOffsets.h"
#include "pxl/kernel/StructuringElements.h"

namespace pxl::morphology {

struct DilationLine3dSSE41Dispatcher {
  using Functor = details::DilationFunctor;

  template <class T>
  static void run(DilationLine3d* algorithm) {
    unsigned int const lineSize = algorithm->lineSize;
    double const azimuth = algorithm->firstAngle;
    double const elevation = algorithm->secondAngle;
    runOnOffsets<Functor, T>(
        algorithm, kernel::generateLineOffset3DCollectionWithConstNumOfPixels(elevation, azimuth, lineSize, true));
  }
};

using DilationLine3dSSE41Runner = SSE41OneTypeMinMaxRunner<DilationLine3d, DilationLine3dSSE41Dispatcher>;
struct AutoRegisterRunnableDilationLine3dSSE41Runner
    : helper::AutoRegisterRunnable<DilationLine3d, DilationLine3dSSE41Runner> {};
AutoRegisterRunnableDilationLine3dSSE41Runner g_autoRegisterRunnableDilationLine3dSSE41Runner;

}  // namespace pxl::morphology
