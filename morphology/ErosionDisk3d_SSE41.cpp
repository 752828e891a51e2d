#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/MorphologyRules.h"
#include "morphology/RunOnOffsets.h"
#include "pxl/kernel/StructuringElements.h"

namespace pxl::morphology {

struct ErosionDisk3dSSE41Dispatcher {
  using Functor = details::ErosionFunctor;

  template <class T>
  static void run(ErosionDisk3d* algorithm) {
    unsigned int const radius = algorithm->radius;
    double const azimuth = algorithm->firstAngle;
    double const elevation = algorithm->secondAngle;
    runOnOffsets<Functor, T>(algorithm, kernel::generateDiskOffset3DCollection(elevation, azimuth, radius));
  }
};

using ErosionDisk3dSSE41Runner = SSE41OneTypeMinMaxRunner<ErosionDisk3d, ErosionDisk3dSSE41Dispatcher>;
struct AutoRegisterRunnableErosionDisk3dSSE41Runner
    : helper::AutoRegisterRunnable<ErosionDisk3d, ErosionDisk3dSSE41Runner> {};
AutoRegisterRunnableErosionDisk3dSSE41Runner g_autoRegisterRunnableErosionDisk3dSSE41Runner;

}  // namespace pxl::morphology
