// Rows and their caches for the eight voxel types, compiled once for each library.
#include "Core/private/Access/RowCache.h"

namespace pxl::access {

#define PXL_COMPILE(T)                                           \
  template class InputRow<View<T>, View<T>::Allocator>;          \
  template class OuputRow<View<T>, View<T>::Allocator>;          \
  template class RowCacheRead<View<T>, View<T>::Allocator>;      \
  template class RowCacheReadWrite<View<T>, View<T>::Allocator>; \
  template class PlanCacheRead<View<T>, View<T>::Allocator>;     \
  template class PlanCacheReadWrite<View<T>, View<T>::Allocator>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILE)
#undef PXL_COMPILE

}  // namespace pxl::access
