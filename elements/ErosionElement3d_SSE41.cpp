#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "elements/ElementRunner.h"

namespace pxl::morphology {

using ErosionElement3dSSE41Runner = SSE41ElementRunner<ErosionElement3d, details::ErosionFunctor>;
struct AutoRegisterRunnableErosionElement3dSSE41Runner
    : helper::AutoRegisterRunnable<ErosionElement3d, ErosionElement3dSSE41Runner> {};
AutoRegisterRunnableErosionElement3dSSE41Runner g_autoRegisterRunnableErosionElement3dSSE41Runner;

}  // namespace pxl::morphology
