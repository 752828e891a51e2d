#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "filtering/linear/FIRFilterDispatcher.h"
#include "filtering/linear/FIRFilterRunner.h"

namespace pxl::filtering::linear {

using FIRFilter2DSSE41Runner =
    FIRFilterSSE41Runner<FiniteImpulseResponseFilter2D, FIRFilterDispatcher<Filter2dTag, SimdVec::arch_128_tag>>;
PXL_REGISTER_RUNNER(FiniteImpulseResponseFilter2D, FIRFilter2DSSE41Runner)

}  // namespace pxl::filtering::linear
