#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/FastMorphoBall3DSimd.h"
#include "morphology/MorphologyRules.h"
#include "morphology/RunOnOffsets.h"
#include "pxl/kernel/StructuringElements.h"

namespace pxl::morphology {

struct ErosionBall3dSSE41Dispatcher {
  using Functor = details::ErosionFunctor;

  template <class T>
  static void run(ErosionBall3d* algorithm) {
    if (algorithm->shapeMode == 0)
      details::FastMorphoBall3DSimd<Functor, SimdVec::arch_128_tag, T>(algorithm, algorithm->inputImage,
                                                                       algorithm->radius, algorithm->outputImage);
    else
      runOnOffsets<Functor, T>(algorithm, kernel::generateSphereOffset3DCollection(algorithm->radius.get()));
  }
};

using ErosionBall3dSSE41Runner = SSE41OneTypeMinMaxRunner<ErosionBall3d, ErosionBall3dSSE41Dispatcher>;
struct AutoRegisterRunnableErosionBall3dSSE41Runner
    : helper::AutoRegisterRunnable<ErosionBall3d, ErosionBall3dSSE41Runner> {};
AutoRegisterRunnableErosionBall3dSSE41Runner g_autoRegisterRunnableErosionBall3dSSE41Runner;

}  // namespace pxl::morphology
