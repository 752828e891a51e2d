// Contexts of passes for the eight voxel types, compiled once for each plug-in.
#include "Core/private/Filters/RecursiveImageContext.h"

namespace pxl {

#define PXL_COMPILE(T) template class PassContext<T, T, SimdVec::arch_128_tag>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILE)
#undef PXL_COMPILE

}  // namespace pxl
