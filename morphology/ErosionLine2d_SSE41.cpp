#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/ListDispatchers.h"
#include "morphology/MorphologyRules.h"

namespace pxl::morphology {

struct ErosionLine2dSSE41Dispatcher : Line2dDispatcher<ErosionLine2d, details::ErosionFunctor> {};
using ErosionLine2dSSE41Runner = SSE41OneTypeMinMaxRunner<ErosionLine2d, ErosionLine2dSSE41Dispatcher>;
PXL_REGISTER_RUNNER(ErosionLine2d, ErosionLine2dSSE41Runner)

}  // namespace pxl::morphology
