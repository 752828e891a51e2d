#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "filtering/linear/FIRFilterDispatcher.h"
#include "filtering/linear/FIRFilterRunner.h"

namespace pxl::filtering::linear {

using FIRFilter3DSSE41Runner =
    FIRFilterSSE41Runner<FiniteImpulseResponseFilter3D, FIRFilterDispatcher<Filter3dTag, SimdVec::arch_128_tag>>;

struct AutoRegisterRunnableFIRFilter3DSSE41Runner
    : helper::AutoRegisterRunnable<FiniteImpulseResponseFilter3D, FIRFilter3DSSE41Runner> {};
AutoRegisterRunnableFIRFilter3DSSE41Runner g_autoRegisterRunnableFIRFilter3DSSE41Runner;

}  // namespace pxl::filtering::linear
