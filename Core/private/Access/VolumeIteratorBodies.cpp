// Iterators over the neighbourhoods of volumes in vectors of 128 bits, compiled once for each plug-in.
#include "Core/private/Access/IteratorNeighborhood3D.h"

namespace pxl::access {

#define PXL_COMPILE(T)                                                                              \
  template class PlanRing<View<T>>;                                                                 \
  template class NeighborhoodWalk3D<View<T>, cNbLanes128<T>, FixedOffsets3D<Neighborhood3D_6Tag>>;  \
  template class NeighborhoodWalk3D<View<T>, cNbLanes128<T>, FixedOffsets3D<Neighborhood3D_18Tag>>; \
  template class NeighborhoodWalk3D<View<T>, cNbLanes128<T>, ListedOffsets3D>;                      \
  template class IteratorNeighborhood3D_Gen<View<T>, cNbLanes128<T>>;
PXL_FOR_EACH_VOXEL_TYPE(PXL_COMPILE)
#undef PXL_COMPILE

}  // namespace pxl::access
