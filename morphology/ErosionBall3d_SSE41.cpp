#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/Ball3dDispatcher.h"
#include "morphology/MorphologyRules.h"

namespace pxl::morphology {

struct ErosionBall3dSSE41Dispatcher : Ball3dDispatcher<ErosionBall3d, details::ErosionFunctor> {};
using ErosionBall3dSSE41Runner = SSE41OneTypeMinMaxRunner<ErosionBall3d, ErosionBall3dSSE41Dispatcher>;
PXL_REGISTER_RUNNER(ErosionBall3d, ErosionBall3dSSE41Runner)

}  // namespace pxl::morphology
