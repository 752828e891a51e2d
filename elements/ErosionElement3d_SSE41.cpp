#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "elements/ElementRunner.h"

namespace pxl::morphology {

using ErosionElement3dSSE41Runner = SSE41ElementRunner<ErosionElement3d, details::ErosionFunctor>;
PXL_REGISTER_RUNNER(ErosionElement3d, ErosionElement3dSSE41Runner)

}  // namespace pxl::morphology
