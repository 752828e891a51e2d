#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/Ball3dDispatcher.h"
#include "morphology/MorphologyRules.h"

namespace pxl::morphology {

struct DilationBall3dSSE41Dispatcher : Ball3dDispatcher<DilationBall3d, details::DilationFunctor> {};
using DilationBall3dSSE41Runner = SSE41OneTypeMinMaxRunner<DilationBall3d, DilationBall3dSSE41Dispatcher>;
PXL_REGISTER_RUNNER(DilationBall3d, DilationBall3dSSE41Runner)

}  // namespace pxl::morphology
