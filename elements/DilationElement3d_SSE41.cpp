#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "elements/ElementRunner.h"

namespace pxl::morphology {

using DilationElement3dSSE41Runner = SSE41ElementRunner<DilationElement3d, details::DilationFunctor>;
struct AutoRegisterRunnableDilationElement3dSSE41Runner
    : helper::AutoRegisterRunnable<DilationElement3d, DilationElement3dSSE41Runner> {};
AutoRegisterRunnableDilationElement3dSSE41Runner g_autoRegisterRunnableDilationElement3dSSE41Runner;

}  // namespace pxl::morphology
