#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "elements/ElementRunner.h"

namespace pxl::morphology {

using DilationElement3dSSE41Runner = SSE41ElementRunner<DilationElement3d, details::DilationFunctor>;
PXL_REGISTER_RUNNER(DilationElement3d, DilationElement3dSSE41Runner)

}  // namespace pxl::morphology
