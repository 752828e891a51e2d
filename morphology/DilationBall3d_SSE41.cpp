#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/FastMorphoBall3DSimd.h"
#include "morphology/MorphologyRules.h"
#include "morphology/RunOnOffsets.h"
#include "pxl/kernel/StructuringElements.h"

namespace pxl::morphology {

struct DilationBall3dSSE41Dispatcher {
  using Functor = details::DilationFunctor;

  template <class T>
  static void run(DilationBall3d* algorithm) {
    if (algorithm->shapeMode == 0)
      details::FastMorphoBall3DSimd<Functor, SimdVec::arch_128_tag, T>(algorithm, algorithm->inputImage,
                                                                       algorithm->radius, algorithm->outputImage);
    else
      runOnOffsets<Functor, T>(algorithm, kernel::generateSphereOffset3DCollection(algorithm->radius.get()));
  }
};

using DilationBall3dSSE41Runner = SSE41OneTypeMinMaxRunner<DilationBall3d, DilationBall3dSSE41Dispatcher>;
struct AutoRegisterRunnableDilationBall3dSSE41Runner
    : helper::AutoRegisterRunnable<DilationBall3d, DilationBall3dSSE41Runner> {};
AutoRegisterRunnableDilationBall3dSSE41Runner g_autoRegisterRunnableDilationBall3dSSE41Runner;

}  // namespace pxl::morphology
