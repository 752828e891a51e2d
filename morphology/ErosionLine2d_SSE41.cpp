#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/MorphologyRules.h"
#include "morphology/RunOnOffsets.h"
#include "pxl/kernel/StructuringElements.h"

namespace pxl::morphology {

struct ErosionLine2dSSE41Dispatcher {
  using Functor = details::ErosionFunctor;

  template <class T>
  static void run(ErosionLine2d* algorithm) {
    unsigned int const lineSize = algorithm->lineSize;
    double const angle = algorithm->lineAngle;
    runOnOffsets<Functor, T>(algorithm,
                             kernel::generateLineOffset2DCollectionWithConstNumOfPixels(angle, lineSize, true));
  }
};

using ErosionLine2dSSE41Runner = SSE41OneTypeMinMaxRunner<ErosionLine2d, ErosionLine2dSSE41Dispatcher>;
struct AutoRegisterRunnableErosionLine2dSSE41Runner
    : helper::AutoRegisterRunnable<ErosionLine2d, ErosionLine2dSSE41Runner> {};
AutoRegisterRunnableErosionLine2dSSE41Runner g_autoRegisterRunnableErosionLine2dSSE41Runner;

}  // namespace pxl::morphology
