#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/ListDispatchers.h"
#include "morphology/MorphologyRules.h"

namespace pxl::morphology {

struct DilationLine3dSSE41Dispatcher : Line3dDispatcher<DilationLine3d, details::DilationFunctor> {};
using DilationLine3dSSE41Runner = SSE41OneTypeMinMaxRunner<DilationLine3d, DilationLine3dSSE41Dispatcher>;
PXL_REGISTER_RUNNER(DilationLine3d, DilationLine3dSSE41Runner)

}  // namespace pxl::morphology
