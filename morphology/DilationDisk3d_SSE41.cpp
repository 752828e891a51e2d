#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/MorphologyRules.h"
#include "morphology/RunOnOffsets.h"
#include "pxl/kernel/StructuringElements.h"

namespace pxl::morphology {

struct DilationDisk3dSSE41Dispatcher {
  using Functor = details::DilationFunctor;

  template <class T>
  static void run(DilationDisk3d* algorithm) {
    unsigned int const radius = algorithm->radius;
    double const azimuth = algorithm->firstAngle;
    double const elevation = algorithm->secondAngle;
    runOnOffsets<Functor, T>(algorithm, kernel::generateDiskOffset3DCollection(elevation, azimuth, radius));
  }
};

using DilationDisk3dSSE41Runner = SSE41OneTypeMinMaxRunner<DilationDisk3d, DilationDisk3dSSE41Dispatcher>;
struct AutoRegisterRunnableDilationDisk3dSSE41Runner
    : helper::AutoRegisterRunnable<DilationDisk3d, DilationDisk3dSSE41Runner> {};
AutoRegisterRunnableDilationDisk3dSSE41Runner g_autoRegisterRunnableDilationDisk3dSSE41Runner;

}  // namespace pxl::morphology
