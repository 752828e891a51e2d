#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/FastMorphoDisk2DSimd.h"
#include "morphology/MorphologyRules.h"
#include "morphology/RunOnOffsets.h"
#include "pxl/kernel/StructuringElements.h"

namespace pxl::morphology {

struct DilationDisk2dSSE41Dispatcher {
  using Functor = details::DilationFunctor;

  template <class T>
  static void run(DilationDisk2d* algorithm) {
    if (algorithm->shapeMode == 0)
      details::FastMorphoDisk2DSimd<Functor, SimdVec::arch_128_tag, T>(algorithm, algorithm->inputImage,
                                                                       algorithm->radius, algorithm->outputImage);
    else
      runOnOffsets<Functor, T>(algorithm, kernel::generateDiskOffset2DCollection(algorithm->radius.get()));
  }
};

using DilationDisk2dSSE41Runner = SSE41OneTypeMinMaxRunner<DilationDisk2d, DilationDisk2dSSE41Dispatcher>;
struct AutoRegisterRunnableDilationDisk2dSSE41Runner
    : helper::AutoRegisterRunnable<DilationDisk2d, DilationDisk2dSSE41Runner> {};
AutoRegisterRunnableDilationDisk2dSSE41Runner g_autoRegisterRunnableDilationDisk2dSSE41Runner;

}  // namespace pxl::morphology
