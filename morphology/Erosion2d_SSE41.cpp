#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/IteratedDispatcher2d.h"
#include "morphology/MorphologyRules.h"

namespace pxl::morphology {

struct Erosion2dSSE41Dispatcher : IteratedDispatcher2d<Erosion2d, details::ErosionFunctor> {};
PXL_ITERATED_RUNNER(Erosion2dSSE41Runner, Erosion2d, Erosion2dSSE41Dispatcher)
PXL_REGISTER_RUNNER(Erosion2d, Erosion2dSSE41Runner)

}  // namespace pxl::morphology
