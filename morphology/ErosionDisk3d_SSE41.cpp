#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/ListDispatchers.h"
#include "morphology/MorphologyRules.h"

namespace pxl::morphology {

struct ErosionDisk3dSSE41Dispatcher : Disk3dDispatcher<ErosionDisk3d, details::ErosionFunctor> {};
using ErosionDisk3dSSE41Runner = SSE41OneTypeMinMaxRunner<ErosionDisk3d, ErosionDisk3dSSE41Dispatcher>;
PXL_REGISTER_RUNNER(ErosionDisk3d, ErosionDisk3dSSE41Runner)

}  // namespace pxl::morphology
