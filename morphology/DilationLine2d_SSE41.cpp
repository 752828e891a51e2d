#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/ListDispatchers.h"
#include "morphology/MorphologyRules.h"

namespace pxl::morphology {

struct DilationLine2dSSE41Dispatcher : Line2dDispatcher<DilationLine2d, details::DilationFunctor> {};
using DilationLine2dSSE41Runner = SSE41OneTypeMinMaxRunner<DilationLine2d, DilationLine2dSSE41Dispatcher>;
PXL_REGISTER_RUNNER(DilationLine2d, DilationLine2dSSE41Runner)

}  // namespace pxl::morphology
