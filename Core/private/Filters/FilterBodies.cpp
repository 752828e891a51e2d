// The loops of filters, for the eight voxel types where they depend on them, compiled once for each plug-in.
#include "Core/private/Filters/ManyToManyImageFilter.h"
#include "Core/private/Filters/RecursiveImageFilters.h"

namespace pxl {

template struct details::ManyToManyLoop<Filter2dTag>;
template struct details::ManyToManyLoop<Filter3dTag>;

#define PXL_COMPILE(T)                                                                \
  template struct details::RecursivePasses<T, T, SimdVec::arch_128_tag, Filter2dTag>; \
  template struct details::RecursivePasses<T, T, SimdVec::arch_128_tag, Filter3dTag>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILE)
#undef PXL_COMPILE

}  // namespace pxl
