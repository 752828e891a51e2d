#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/IteratedDispatcher3d.h"
#include "morphology/MorphologyRules.h"

namespace pxl::morphology {

struct Erosion3dSSE41Dispatcher : IteratedDispatcher3d<Erosion3d, details::ErosionFunctor> {};
PXL_ITERATED_RUNNER(Erosion3dSSE41Runner, Erosion3d, Erosion3dSSE41Dispatcher)
PXL_REGISTER_RUNNER(Erosion3d, Erosion3dSSE41Runner)

}  // namespace pxl::morphology
