#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "morphology/Disk2dDispatcher.h"
#include "morphology/MorphologyRules.h"

namespace pxl::morphology {

struct DilationDisk2dSSE41Dispatcher : Disk2dDispatcher<DilationDisk2d, details::DilationFunctor> {};
using DilationDisk2dSSE41Runner = SSE41OneTypeMinMaxRunner<DilationDisk2d, DilationDisk2dSSE41Dispatcher>;
PXL_REGISTER_RUNNER(DilationDisk2d, DilationDisk2dSSE41Runner)

}  // namespace pxl::morphology
