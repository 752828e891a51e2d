#include "Core/private/Helper/AutoRegisterRunnable.h"
#include "filtering/linear/FIRFilterDispatcher.h"
#include "filtering/linear/FIRFilterRunner.h"

namespace pxl::filtering::linear {

using FIRFilter3DSSE41Runner =
    FIRFilterSSE41Runner<FiniteImpulseResponseFilter3D, FIRFilterDispatcher<Filter3dTag, SimdVec::arch_128_tag>>;
PXL_REGISTER_RUNNER(FiniteImpulseResponseFilter3D, FIRFilter3DSSE41Runner)

}  // namespace pxl::filtering::linear
