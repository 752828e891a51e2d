#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/Disk2dDispatcher.h"
#include "morphology/MorphologyRules.h"

namespace pxl::morphology {

struct ErosionDisk2dSSE41Dispatcher : Disk2dDispatcher<ErosionDisk2d, details::ErosionFunctor> {};
using ErosionDisk2dSSE41Runner = SSE41OneTypeMinMaxRunner<ErosionDisk2d, ErosionDisk2dSSE41Dispatcher>;
PXL_REGISTER_RUNNER(ErosionDisk2d, ErosionDisk2dSSE41Runner)

}  // namespace pxl::morphology
