#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/IteratedDispatcher3d.h"
#include "morphology/MorphologyRules.h"

namespace pxl::morphology {

struct Dilation3dSSE41Dispatcher : IteratedDispatcher3d<Dilation3d, details::DilationFunctor> {};
PXL_ITERATED_RUNNER(Dilation3dSSE41Runner, Dilation3d, Dilation3dSSE41Dispatcher)
PXL_REGISTER_RUNNER(Dilation3d, Dilation3dSSE41Runner)

}  // namespace pxl::morphology
