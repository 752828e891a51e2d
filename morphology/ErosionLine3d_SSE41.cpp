#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/ListDispatchers.h"
#include "morphology/MorphologyRules.h"

namespace pxl::morphology {

struct ErosionLine3dSSE41Dispatcher : Line3dDispatcher<ErosionLine3d, details::ErosionFunctor> {};
using ErosionLine3dSSE41Runner = SSE41OneTypeMinMaxRunner<ErosionLine3d, ErosionLine3dSSE41Dispatcher>;
PXL_REGISTER_RUNNER(ErosionLine3d, ErosionLine3dSSE41Runner)

}  // namespace pxl::morphology
