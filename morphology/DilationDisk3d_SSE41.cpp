#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/ListDispatchers.h"
#include "morphology/MorphologyRules.h"

namespace pxl::morphology {

struct DilationDisk3dSSE41Dispatcher : Disk3dDispatcher<DilationDisk3d, details::DilationFunctor> {};
using DilationDisk3dSSE41Runner = SSE41OneTypeMinMaxRunner<DilationDisk3d, DilationDisk3dSSE41Dispatcher>;
PXL_REGISTER_RUNNER(DilationDisk3d, DilationDisk3dSSE41Runner)

}  // namespace pxl::morphology
