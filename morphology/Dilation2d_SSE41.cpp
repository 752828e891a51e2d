#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/IteratedDispatcher2d.h"
#include "morphology/MorphologyRules.h"

namespace pxl::morphology {

struct Dilation2dSSE41Dispatcher : IteratedDispatcher2d<Dilation2d, details::DilationFunctor> {};
PXL_ITERATED_RUNNER(Dilation2dSSE41Runner, Dilation2d, Dilation2dSSE41Dispatcher)
PXL_REGISTER_RUNNER(Dilation2d, Dilation2dSSE41Runner)

}  // namespace pxl::morphology
