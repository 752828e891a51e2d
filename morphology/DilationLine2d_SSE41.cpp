#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/MorphologyRules.h"
#include "morphology/RunOnOffsets.h"
#include "pxl/kernel/StructuringElements.h"

namespace pxl::morphology {

struct DilationLine2dSSE41Dispatcher {
  using Functor = details::DilationFunctor;

  template <class T>
  static void run(DilationLine2d* algorithm) {
    unsigned int const lineSize = algorithm->lineSize;
    double const angle = algorithm->lineAngle;
    runOnOffsets<Functor, T>(algorithm,
                             kernel::generateLineOffset2DCollectionWithConstNumOfPixels(angle, lineSize, true));
  }
};

using DilationLine2dSSE41Runner = SSE41OneTypeMinMaxRunner<DilationLine2d, DilationLine2dSSE41Dispatcher>;
struct AutoRegisterRunnableDilationLine2dSSE41Runner
    : helper::AutoRegisterRunnable<DilationLine2d, DilationLine2dSSE41Runner> {};
AutoRegisterRunnableDilationLine2dSSE41Runner g_autoRegisterRunnableDilationLine2dSSE41Runner;

}  // namespace pxl::morphology
