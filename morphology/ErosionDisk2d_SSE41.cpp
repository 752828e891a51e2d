#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/FastMorphoDisk2DSimd.h"
#include "morphology/MorphologyRules.h"
#include "morphology/RunOnOffsets.h"
#include "pxl/kernel/StructuringElements.h"

namespace pxl::morphology {

struct ErosionDisk2dSSE41Dispatcher {
  using Functor = details::ErosionFunctor;

  template <class T>
  static void run(ErosionDisk2d* algorithm) {
    if (algorithm->shapeMode == 0)
      details::FastMorphoDisk2DSimd<Functor, SimdVec::arch_128_tag, T>(algorithm, algorithm->inputImage,
                                                                       algorithm->radius, algorithm->outputImage);
    else
      runOnOffsets<Functor, T>(algorithm, kernel::generateDiskOffset2DCollection(algorithm->radius.get()));
  }
};

using ErosionDisk2dSSE41Runner = SSE41OneTypeMinMaxRunner<ErosionDisk2d, ErosionDisk2dSSE41Dispatcher>;
struct AutoRegisterRunnableErosionDisk2dSSE41Runner
    : helper::AutoRegisterRunnable<ErosionDisk2d, ErosionDisk2dSSE41Runner> {};
AutoRegisterRunnableErosionDisk2dSSE41Runner g_autoRegisterRunnableErosionDisk2dSSE41Runner;

}  // namespace pxl::morphology
